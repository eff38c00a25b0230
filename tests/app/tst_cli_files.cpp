#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

#include "store/sqlite.h"
#include "support/cli_runner.h"
#include "support/test_databases.h"

namespace {

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeFile(const QString& path, const QByteArray& data) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(data) == data.size();
}

QStringList filesIn(const QString& folder) {
    return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

QByteArray line(const QString& passphrase) {
    return passphrase.toUtf8() + '\n';
}

// Every line of a dump as a JSON object; an empty list when a line is no object.
QList<QJsonObject> records(const QString& out) {
    QList<QJsonObject> result;
    for (const QString& text : out.split(u'\n', Qt::SkipEmptyParts)) {
        QJsonParseError error{};
        const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &error);
        if (error.error != QJsonParseError::NoError || !document.isObject()) {
            qWarning("not a JSON object: %s", qPrintable(text));
            return {};
        }
        result << document.object();
    }
    return result;
}

QList<QJsonObject> inSection(const QList<QJsonObject>& all, int section) {
    QList<QJsonObject> result;
    for (const QJsonObject& record : all) {
        if (record.value(QLatin1String("fSec")).toInt() == section) {
            result << record;
        }
    }
    return result;
}

bool hasTitle(const QList<QJsonObject>& all, const QString& title) {
    for (const QJsonObject& record : all) {
        if (record.value(QLatin1String("title")).toString() == title) {
            return true;
        }
    }
    return false;
}

QByteArray poolRow(const QString& path) {
    sqlite::Connection connection;
    if (connection.open(path, sqlite::Connection::Mode::ReadOnly)) {
        return "<no file>";
    }
    sqlite::Statement select = connection.prepare("SELECT fEtx FROM tt WHERE fSec=1 AND fSub=1");
    return select.step() ? select.bytes(0) : QByteArray("<no row>");
}

const QString kBasic = QStringLiteral("correct horse 1");

} // namespace

class TestCliFiles : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();

    void oracleFilesCheck_data();
    void oracleFilesCheck();
    void dumpShowsRecords();
    void dumpOfOneSection_data();
    void dumpOfOneSection();
    void dumpPerUser();
    void damagedPoolHeals_data();
    void damagedPoolHeals();
    void infoWithoutPassphrase();
    void wrongPassphrase_data();
    void wrongPassphrase();
    void createRefusesExistingFile_data();
    void createRefusesExistingFile();
    void createThenChangePassphrase();
    void passphraseTooShortKeepsOld();
    void compactKeepsRecords();
    void backupThenRestore();
    void refusesWhatIsNotOurs_data();
    void refusesWhatIsNotOurs();
    void badUsage_data();
    void badUsage();

private:
    // Runs the program in the test's folder (or `workDir`), with a settings store of its own.
    CliResult cli(const QStringList& args, const QByteArray& input = {}, const QString& workDir = {}) const;
    QString path(const QString& name) const { return m_dir->filePath(name); }

    QTemporaryDir m_config;
    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestCliFiles::initTestCase() {
    QVERIFY(m_config.isValid());
}

void TestCliFiles::init() {
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

CliResult TestCliFiles::cli(const QStringList& args, const QByteArray& input, const QString& workDir) const {
    return RunCli(args, input, workDir.isEmpty() ? m_dir->path() : workDir, m_config.path());
}

void TestCliFiles::oracleFilesCheck_data() {
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("passphrase");
    QTest::newRow("basic") << "basic.nct" << kBasic;
    QTest::newRow("two users, first") << "two-users.nct"
                                      << "first user pass 1";
    QTest::newRow("two users, second") << "two-users.nct"
                                       << "second user pass 2";
    QTest::newRow("pool damaged") << "pool-damaged.nct" << QStringLiteral("P\u00e4ssw\u00f6rd\u20ac1 long");
    QTest::newRow("pool row gone") << "pool-row-gone.nct" << kBasic;
}

void TestCliFiles::oracleFilesCheck() {
    QFETCH(QString, file);
    QFETCH(QString, passphrase);
    const QString copy = CopyOracle(*m_dir, file);
    QVERIFY(!copy.isEmpty());
    const CliResult run = cli({QStringLiteral("check"), copy}, line(passphrase));
    QVERIFY2(run.exitCode == 0, qPrintable(run.out + run.err));
    const QRegularExpressionMatch summary = QRegularExpression(QStringLiteral("^(\\d+) records checked, 0 unreadable$"),
                                                               QRegularExpression::MultilineOption)
                                                .match(run.out);
    QVERIFY2(summary.hasMatch(), qPrintable(run.out));
    QVERIFY(summary.captured(1).toInt() >= 6);
}

void TestCliFiles::dumpShowsRecords() {
    const QString copy = CopyOracle(*m_dir, QStringLiteral("basic.nct"));
    QVERIFY(!copy.isEmpty());
    const QString work = path(QStringLiteral("work"));
    QVERIFY(QDir().mkpath(work));
    const QStringList before = filesIn(m_dir->path());

    const CliResult run = cli({QStringLiteral("dump"), copy}, line(kBasic), work);
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.err.isEmpty(), qPrintable(run.err));
    const QList<QJsonObject> all = records(run.out);
    QVERIFY(!all.isEmpty());

    const QList<QJsonObject> budget = inSection(all, 17);
    QCOMPARE(budget.size(), 1);
    const QJsonObject debit = budget.first().value(QLatin1String("fields")).toObject();
    QCOMPARE(debit.value(QLatin1String("2")).toString(), QStringLiteral("Groceries"));
    QCOMPARE(debit.value(QLatin1String("5")).toString(), QStringLiteral("12.34"));
    QCOMPARE(debit.value(QLatin1String("8")).toString(), QStringLiteral("Paid cash"));

    const QList<QJsonObject> memos = inSection(all, 14);
    QCOMPARE(memos.size(), 2);
    QVERIFY(hasTitle(memos, QStringLiteral("Sample memo")));
    bool privateSeen = false;
    for (const QJsonObject& memo : memos) {
        const QJsonObject fields = memo.value(QLatin1String("fields")).toObject();
        if (fields.value(QLatin1String("4")).toString() == QLatin1String("Private memo")) {
            privateSeen = true;
            QCOMPARE(fields.value(QLatin1String("1")).toBool(), true);
            QCOMPARE(fields.value(QLatin1String("5")).toString().size(), 300);
        }
    }
    QVERIFY(privateSeen);
    // Key material and the user's row hold secrets; they are never printed.
    for (const QJsonObject& record : all) {
        const int section = record.value(QLatin1String("fSec")).toInt();
        QVERIFY(section != 2);
        QVERIFY(section != 1 || record.value(QLatin1String("fSub")).toInt() == 3);
    }

    // Nothing but the copy of the file as opened lands on the disk.
    QVERIFY(filesIn(work).isEmpty());
    QStringList expected = before;
    expected << QStringLiteral("basic.nct.bak");
    expected.sort();
    QCOMPARE(filesIn(m_dir->path()), expected);
}

void TestCliFiles::dumpOfOneSection_data() {
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<int>("section");
    QTest::addColumn<int>("count");
    QTest::newRow("memos") << QStringList{QStringLiteral("--section"), QStringLiteral("14")} << 14 << 2;
    QTest::newRow("budget") << QStringList{QStringLiteral("--section"), QStringLiteral("17")} << 17 << 1;
    QTest::newRow("empty section") << QStringList{QStringLiteral("--section"), QStringLiteral("12")} << 12 << 0;
    QTest::newRow("user rows stay hidden") << QStringList{QStringLiteral("--section"), QStringLiteral("2")} << 2 << 0;
}

void TestCliFiles::dumpOfOneSection() {
    QFETCH(QStringList, args);
    QFETCH(int, section);
    QFETCH(int, count);
    const QString copy = CopyOracle(*m_dir, QStringLiteral("basic.nct"));
    QVERIFY(!copy.isEmpty());
    for (const bool fileFirst : {true, false}) {
        const QStringList all = fileFirst ? QStringList{QStringLiteral("dump"), copy} + args
                                          : QStringList{QStringLiteral("dump")} + args + QStringList{copy};
        const CliResult run = cli(all, line(kBasic));
        QCOMPARE(run.exitCode, 0);
        const QList<QJsonObject> found = records(run.out);
        QCOMPARE(found.size(), count);
        QCOMPARE(inSection(found, section).size(), count);
    }
}

void TestCliFiles::dumpPerUser() {
    const QString copy = CopyOracle(*m_dir, QStringLiteral("two-users.nct"));
    QVERIFY(!copy.isEmpty());
    const CliResult first = cli({QStringLiteral("dump"), copy, QStringLiteral("--section"), QStringLiteral("14")},
                                line(QStringLiteral("first user pass 1")));
    QCOMPARE(first.exitCode, 0);
    QVERIFY(hasTitle(records(first.out), QStringLiteral("Sample memo")));
    const CliResult second = cli({QStringLiteral("dump"), copy, QStringLiteral("--section"), QStringLiteral("14")},
                                 line(QStringLiteral("second user pass 2")));
    QCOMPARE(second.exitCode, 0);
    QVERIFY(hasTitle(records(second.out), QStringLiteral("Second user memo")));
    // Each reads titles under its own name only.
    QVERIFY(!hasTitle(records(second.out), QStringLiteral("Sample memo")));
}

void TestCliFiles::damagedPoolHeals_data() {
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("passphrase");
    QTest::newRow("pool damaged") << "pool-damaged.nct" << QStringLiteral("P\u00e4ssw\u00f6rd\u20ac1 long");
    QTest::newRow("pool row gone") << "pool-row-gone.nct" << kBasic;
}

void TestCliFiles::damagedPoolHeals() {
    QFETCH(QString, file);
    QFETCH(QString, passphrase);
    const QString copy = CopyOracle(*m_dir, file);
    QVERIFY(!copy.isEmpty());
    const QByteArray damaged = poolRow(copy);

    const CliResult first = cli({QStringLiteral("check"), copy}, line(passphrase));
    QVERIFY2(first.exitCode == 0, qPrintable(first.out + first.err));
    const QByteArray healed = poolRow(copy);
    QVERIFY(healed != damaged);
    QVERIFY(healed.size() > 100);

    // Healed for good: the next opening finds the row as it was left and needs no healing.
    const CliResult second = cli({QStringLiteral("check"), copy}, line(passphrase));
    QVERIFY2(second.exitCode == 0, qPrintable(second.out + second.err));
    QCOMPARE(poolRow(copy), healed);
    QCOMPARE(second.out, first.out);
}

void TestCliFiles::infoWithoutPassphrase() {
    const QString copy = CopyOracle(*m_dir, QStringLiteral("basic.nct"));
    QVERIFY(!copy.isEmpty());
    const QByteArray before = readFile(copy);
    const CliResult run = cli({QStringLiteral("info"), copy});
    QCOMPARE(run.exitCode, 0);
    QVERIFY(run.out.contains(QLatin1String("schema: 002.005.0000")));

    sqlite::Connection connection;
    QCOMPARE(connection.open(copy, sqlite::Connection::Mode::ReadOnly).number, 0);
    sqlite::Statement counts = connection.prepare("SELECT fSec, count(*) FROM tt GROUP BY fSec");
    std::int64_t total = 0;
    while (counts.step()) {
        const QRegularExpression row(
            QStringLiteral("^section %1 \\(.*\\): %2 rows$").arg(counts.int64(0)).arg(counts.int64(1)),
            QRegularExpression::MultilineOption);
        QVERIFY2(row.match(run.out).hasMatch(), qPrintable(run.out));
        total += counts.int64(1);
    }
    QVERIFY(run.out.contains(QStringLiteral("rows: %1\n").arg(total)));
    QCOMPARE(total, 11);
    // Looking is not opening: no copy, no change.
    QCOMPARE(readFile(copy), before);
    QCOMPARE(filesIn(m_dir->path()), QStringList{QStringLiteral("basic.nct")});
}

void TestCliFiles::wrongPassphrase_data() {
    QTest::addColumn<QString>("command");
    QTest::addColumn<QByteArray>("input");
    QTest::newRow("check") << "check" << line(QStringLiteral("correct horse 2"));
    QTest::newRow("dump") << "dump" << line(QStringLiteral("Correct horse 1"));
    QTest::newRow("passwd") << "passwd" << line(QStringLiteral("correct horse")) + line(QStringLiteral("new one 123"));
}

void TestCliFiles::wrongPassphrase() {
    QFETCH(QString, command);
    QFETCH(QByteArray, input);
    const QString copy = CopyOracle(*m_dir, QStringLiteral("basic.nct"));
    QVERIFY(!copy.isEmpty());
    const QByteArray before = readFile(copy);
    const CliResult run = cli({command, copy}, input);
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.err.contains(QLatin1String("Password not correct!")), qPrintable(run.err));
    QVERIFY(run.out.isEmpty());
    QCOMPARE(readFile(copy), before);
    // The file still opens with its own passphrase.
    QCOMPARE(cli({QStringLiteral("check"), copy}, line(kBasic)).exitCode, 0);
}

void TestCliFiles::createRefusesExistingFile_data() {
    QTest::addColumn<bool>("database");
    QTest::newRow("a database") << true;
    QTest::newRow("some other file") << false;
}

void TestCliFiles::createRefusesExistingFile() {
    QFETCH(bool, database);
    const QString file = database ? CopyOracle(*m_dir, QStringLiteral("basic.nct")) : path(QStringLiteral("notes.nct"));
    QVERIFY(!file.isEmpty());
    if (!database) {
        QVERIFY(writeFile(file, "my notes"));
    }
    const QByteArray before = readFile(file);
    const CliResult run = cli({QStringLiteral("create"), file}, line(QStringLiteral("a new passphrase 1")));
    QCOMPARE(run.exitCode, 1);
    QVERIFY(run.err.contains(QLatin1String("already exists")));
    QCOMPARE(readFile(file), before);
    QCOMPARE(filesIn(m_dir->path()).size(), 1);
}

void TestCliFiles::createThenChangePassphrase() {
    const QString file = path(QStringLiteral("new.nct"));
    const QString first = QStringLiteral("first passphrase 1");
    const QString second = QStringLiteral("second passphrase 2");
    const CliResult created = cli({QStringLiteral("create"), QStringLiteral("new.nct")}, line(first));
    QVERIFY2(created.exitCode == 0, qPrintable(created.err));
    QVERIFY(QFileInfo::exists(file));
    QCOMPARE(cli({QStringLiteral("check"), file}, line(first)).exitCode, 0);

    const CliResult changed = cli({QStringLiteral("passwd"), file}, line(first) + line(second));
    QVERIFY2(changed.exitCode == 0, qPrintable(changed.err));
    QVERIFY(changed.out.contains(QLatin1String("passphrase changed")));

    const CliResult withNew = cli({QStringLiteral("check"), file}, line(second));
    QVERIFY2(withNew.exitCode == 0, qPrintable(withNew.err));
    const CliResult withOld = cli({QStringLiteral("check"), file}, line(first));
    QCOMPARE(withOld.exitCode, 1);
    QVERIFY(withOld.err.contains(QLatin1String("Password not correct!")));
}

void TestCliFiles::passphraseTooShortKeepsOld() {
    const QString copy = CopyOracle(*m_dir, QStringLiteral("basic.nct"));
    QVERIFY(!copy.isEmpty());
    const CliResult run = cli({QStringLiteral("passwd"), copy}, line(kBasic) + line(QStringLiteral("short")));
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(cli({QStringLiteral("check"), copy}, line(kBasic)).exitCode, 0);
    QCOMPARE(cli({QStringLiteral("check"), copy}, line(QStringLiteral("short"))).exitCode, 1);
}

void TestCliFiles::compactKeepsRecords() {
    const QString copy = CopyOracle(*m_dir, QStringLiteral("basic.nct"));
    QVERIFY(!copy.isEmpty());
    const CliResult before = cli({QStringLiteral("dump"), copy}, line(kBasic));
    QCOMPARE(before.exitCode, 0);
    QVERIFY(!records(before.out).isEmpty());
    QVERIFY(writeFile(path(QStringLiteral("basic.tmp")), "left by a compaction that never finished"));

    const CliResult run = cli({QStringLiteral("compact"), copy});
    QVERIFY2(run.exitCode == 0, qPrintable(run.err));
    QVERIFY(run.out.startsWith(QLatin1String("compacted ")));
    QVERIFY(!QFileInfo::exists(path(QStringLiteral("basic.tmp"))));
    const CliResult after = cli({QStringLiteral("dump"), copy}, line(kBasic));
    QCOMPARE(after.exitCode, 0);
    QCOMPARE(after.out, before.out);
}

void TestCliFiles::backupThenRestore() {
    const QString copy = CopyOracle(*m_dir, QStringLiteral("basic.nct"));
    QVERIFY(!copy.isEmpty());
    const CliResult original = cli({QStringLiteral("dump"), copy}, line(kBasic));
    QCOMPARE(original.exitCode, 0);
    const QString backups = path(QStringLiteral("backups/nested"));

    const CliResult made = cli({QStringLiteral("backup"), copy, backups});
    QVERIFY2(made.exitCode == 0, qPrintable(made.err));
    const QStringList names = filesIn(backups);
    QCOMPARE(names.size(), 1);
    QVERIFY2(QRegularExpression(QStringLiteral("^basic\\d{12}\\.ncz$")).match(names.first()).hasMatch(),
             qPrintable(names.first()));
    const QString packed = QDir(backups).filePath(names.first());
    QVERIFY(made.out.contains(packed));

    const QString target = path(QStringLiteral("restored"));
    QVERIFY(QDir().mkpath(target));
    const CliResult restored = cli({QStringLiteral("restore"), packed, target});
    QVERIFY2(restored.exitCode == 0, qPrintable(restored.err));
    QCOMPARE(filesIn(target), QStringList{QStringLiteral("basic.nct")});
    const QString file = QDir(target).filePath(QStringLiteral("basic.nct"));
    const CliResult check = cli({QStringLiteral("check"), file}, line(kBasic));
    QVERIFY2(check.exitCode == 0, qPrintable(check.out + check.err));
    const CliResult dump = cli({QStringLiteral("dump"), file}, line(kBasic));
    QCOMPARE(dump.exitCode, 0);
    QCOMPARE(dump.out, original.out);

    // Restoring over a file keeps the former one beside it.
    const QByteArray former = readFile(file);
    const CliResult again = cli({QStringLiteral("restore"), packed, target});
    QVERIFY2(again.exitCode == 0, qPrintable(again.err));
    QVERIFY(again.out.contains(QLatin1String(".ncb")));
    QCOMPARE(readFile(QDir(target).filePath(QStringLiteral("basic.ncb"))), former);
    QCOMPARE(cli({QStringLiteral("check"), file}, line(kBasic)).exitCode, 0);
}

void TestCliFiles::refusesWhatIsNotOurs_data() {
    QTest::addColumn<QStringList>("args"); // FILE stands for a plain text file, FOLDER for an empty folder
    QTest::newRow("check") << QStringList{QStringLiteral("check"), QStringLiteral("FILE")};
    QTest::newRow("dump") << QStringList{QStringLiteral("dump"), QStringLiteral("FILE")};
    QTest::newRow("info") << QStringList{QStringLiteral("info"), QStringLiteral("FILE")};
    QTest::newRow("compact") << QStringList{QStringLiteral("compact"), QStringLiteral("FILE")};
    QTest::newRow("backup") << QStringList{QStringLiteral("backup"), QStringLiteral("FILE"), QStringLiteral("FOLDER")};
    QTest::newRow("restore") << QStringList{QStringLiteral("restore"), QStringLiteral("FILE"),
                                            QStringLiteral("FOLDER")};
    QTest::newRow("missing file") << QStringList{QStringLiteral("check"), QStringLiteral("gone.nct")};
}

void TestCliFiles::refusesWhatIsNotOurs() {
    QFETCH(QStringList, args);
    const QString file = path(QStringLiteral("notes.nct"));
    QVERIFY(writeFile(file, "plain words, no database\x03"));
    const QString folder = path(QStringLiteral("folder"));
    QVERIFY(QDir().mkpath(folder));
    args.replaceInStrings(QStringLiteral("FILE"), file);
    args.replaceInStrings(QStringLiteral("FOLDER"), folder);

    const CliResult run = cli(args, line(kBasic));
    QCOMPARE(run.exitCode, 1);
    QVERIFY(!run.err.isEmpty());
    QCOMPARE(readFile(file), QByteArray("plain words, no database\x03"));
    QVERIFY(filesIn(folder).isEmpty());
    QCOMPARE(filesIn(m_dir->path()), QStringList{QStringLiteral("notes.nct")});
}

void TestCliFiles::badUsage_data() {
    QTest::addColumn<QStringList>("args");
    QTest::newRow("nothing") << QStringList();
    QTest::newRow("unknown command") << QStringList{QStringLiteral("open"), QStringLiteral("x.nct")};
    QTest::newRow("check without file") << QStringList{QStringLiteral("check")};
    QTest::newRow("check of two files") << QStringList{QStringLiteral("check"), QStringLiteral("a"),
                                                       QStringLiteral("b")};
    QTest::newRow("info without file") << QStringList{QStringLiteral("info")};
    QTest::newRow("create without file") << QStringList{QStringLiteral("create")};
    QTest::newRow("passwd of two files") << QStringList{QStringLiteral("passwd"), QStringLiteral("a"),
                                                        QStringLiteral("b")};
    QTest::newRow("compact without file") << QStringList{QStringLiteral("compact")};
    QTest::newRow("backup without folder") << QStringList{QStringLiteral("backup"), QStringLiteral("a.nct")};
    QTest::newRow("restore without folder") << QStringList{QStringLiteral("restore"), QStringLiteral("a.ncz")};
    QTest::newRow("dump without file") << QStringList{QStringLiteral("dump")};
    QTest::newRow("dump of two files") << QStringList{QStringLiteral("dump"), QStringLiteral("a"), QStringLiteral("b")};
    QTest::newRow("section not a number") << QStringList{QStringLiteral("dump"), QStringLiteral("a.nct"),
                                                         QStringLiteral("--section"), QStringLiteral("memos")};
    QTest::newRow("section without number")
        << QStringList{QStringLiteral("dump"), QStringLiteral("a.nct"), QStringLiteral("--section")};
}

void TestCliFiles::badUsage() {
    QFETCH(QStringList, args);
    const CliResult run = cli(args, line(kBasic));
    QCOMPARE(run.exitCode, 2);
    QVERIFY2(run.err.contains(QLatin1String("usage")), qPrintable(run.err));
    QVERIFY(run.out.isEmpty());
    QVERIFY(filesIn(m_dir->path()).isEmpty());
}

QTEST_GUILESS_MAIN(TestCliFiles)
#include "tst_cli_files.moc"
