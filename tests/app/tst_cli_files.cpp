#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <memory>

#include "support/cli_runner.h"
#include "support/test_databases.h"

namespace {

const QString kBasic = QStringLiteral("correct horse 1");

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList filesIn(const QString& folder) {
    return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

QByteArray line(const QString& passphrase) {
    return passphrase.toUtf8() + '\n';
}

// The dump's records of one section; each line of a dump must be a JSON object.
QList<QJsonObject> inSection(const QString& out, int section) {
    QList<QJsonObject> result;
    for (const QString& text : out.split(u'\n', Qt::SkipEmptyParts)) {
        const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
        if (!document.isObject()) {
            qWarning("not a JSON object: %s", qPrintable(text));
            return {};
        }
        if (document.object().value(QLatin1String("fSec")).toInt() == section) {
            result << document.object();
        }
    }
    return result;
}

} // namespace

class TestCliFiles : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void oracleFilesCheck_data();
    void oracleFilesCheck();
    void dumpShowsRecords();
    void dumpOfOneSection();
    void infoWithoutPassphrase();
    void wrongPassphrase();
    void createRefusesExistingFile();
    void createThenChangePassphrase();
    void backupThenRestore();
    void badUsage_data();
    void badUsage();
    void budgetOfAnotherWriter();
    void budgetAddTotalsExport();

private:
    // Runs the program in the test's folder, with a settings store of its own.
    CliResult cli(const QStringList& args, const QByteArray& input = {}) const {
        return RunCli(args, input, m_dir->path(), m_config.path());
    }
    QString path(const QString& name) const { return m_dir->filePath(name); }

    QTemporaryDir m_config;
    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestCliFiles::init() {
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_config.isValid() && m_dir->isValid());
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
    QVERIFY2(summary.hasMatch() && summary.captured(1).toInt() >= 6, qPrintable(run.out));
}

void TestCliFiles::dumpShowsRecords() {
    const QString copy = CopyOracle(*m_dir, QStringLiteral("basic.nct"));
    QVERIFY(!copy.isEmpty());
    const CliResult run = cli({QStringLiteral("dump"), copy}, line(kBasic));
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.err.isEmpty(), qPrintable(run.err));

    const QList<QJsonObject> budget = inSection(run.out, 17);
    QCOMPARE(budget.size(), 1);
    const QJsonObject debit = budget.first().value(QLatin1String("fields")).toObject();
    QCOMPARE(debit.value(QLatin1String("2")).toString(), QStringLiteral("Groceries"));
    QCOMPARE(debit.value(QLatin1String("5")).toString(), QStringLiteral("12.34"));
    const QList<QJsonObject> memos = inSection(run.out, 14);
    QCOMPARE(memos.size(), 2);
    QVERIFY(std::any_of(memos.begin(), memos.end(), [](const QJsonObject& memo) {
        return memo.value(QLatin1String("title")).toString() == QLatin1String("Sample memo");
    }));
    // Key material and the user's rows hold secrets; they are never printed.
    QVERIFY(inSection(run.out, 2).isEmpty());
    QCOMPARE(inSection(run.out, 1).size(), 1);
    QCOMPARE(inSection(run.out, 1).first().value(QLatin1String("fSub")).toInt(), 3);
}

void TestCliFiles::dumpOfOneSection() {
    const QString copy = CopyOracle(*m_dir, QStringLiteral("basic.nct"));
    QVERIFY(!copy.isEmpty());
    const CliResult run =
        cli({QStringLiteral("dump"), QStringLiteral("--section"), QStringLiteral("14"), copy}, line(kBasic));
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(inSection(run.out, 14).size(), 2);
    QCOMPARE(run.out.count(u'\n'), 2);
}

void TestCliFiles::infoWithoutPassphrase() {
    const QString copy = CopyOracle(*m_dir, QStringLiteral("basic.nct"));
    QVERIFY(!copy.isEmpty());
    const QByteArray before = readFile(copy);
    const CliResult run = cli({QStringLiteral("info"), copy});
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.out.contains(QLatin1String("schema: 002.005.0000")), qPrintable(run.out));
    QVERIFY2(run.out.contains(QLatin1String("rows: 11\n")), qPrintable(run.out));
    // Looking is not opening: no copy, no change.
    QCOMPARE(readFile(copy), before);
    QCOMPARE(filesIn(m_dir->path()), QStringList{QStringLiteral("basic.nct")});
}

void TestCliFiles::wrongPassphrase() {
    const QString copy = CopyOracle(*m_dir, QStringLiteral("basic.nct"));
    QVERIFY(!copy.isEmpty());
    const QByteArray before = readFile(copy);
    const CliResult run = cli({QStringLiteral("dump"), copy}, line(QStringLiteral("Correct horse 1")));
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.err.contains(QLatin1String("Password not correct!")), qPrintable(run.err));
    QVERIFY(run.out.isEmpty());
    QCOMPARE(readFile(copy), before);
}

void TestCliFiles::createRefusesExistingFile() {
    const QString file = path(QStringLiteral("notes.nct"));
    QFile notes(file);
    QVERIFY(notes.open(QIODevice::WriteOnly) && notes.write("my notes") == 8);
    notes.close();
    const CliResult run = cli({QStringLiteral("create"), file}, line(QStringLiteral("a new passphrase 1")));
    QCOMPARE(run.exitCode, 1);
    QVERIFY(run.err.contains(QLatin1String("already exists")));
    QCOMPARE(readFile(file), QByteArray("my notes"));
    QCOMPARE(filesIn(m_dir->path()).size(), 1);
}

void TestCliFiles::createThenChangePassphrase() {
    const QString file = path(QStringLiteral("new.nct"));
    const QString first = QStringLiteral("first passphrase 1");
    const QString second = QStringLiteral("second passphrase 2");
    const CliResult created = cli({QStringLiteral("create"), QStringLiteral("new.nct")}, line(first));
    QVERIFY2(created.exitCode == 0, qPrintable(created.err));
    const CliResult changed = cli({QStringLiteral("passwd"), file}, line(first) + line(second));
    QVERIFY2(changed.exitCode == 0, qPrintable(changed.err));

    const CliResult withNew = cli({QStringLiteral("check"), file}, line(second));
    QVERIFY2(withNew.exitCode == 0, qPrintable(withNew.err));
    const CliResult withOld = cli({QStringLiteral("check"), file}, line(first));
    QCOMPARE(withOld.exitCode, 1);
    QVERIFY(withOld.err.contains(QLatin1String("Password not correct!")));
}

void TestCliFiles::backupThenRestore() {
    const QString copy = CopyOracle(*m_dir, QStringLiteral("basic.nct"));
    QVERIFY(!copy.isEmpty());
    const CliResult original = cli({QStringLiteral("dump"), copy}, line(kBasic));
    QCOMPARE(original.exitCode, 0);
    const QString backups = path(QStringLiteral("backups"));

    const CliResult made = cli({QStringLiteral("backup"), copy, backups});
    QVERIFY2(made.exitCode == 0, qPrintable(made.err));
    const QStringList names = filesIn(backups);
    QCOMPARE(names.size(), 1);
    QVERIFY2(QRegularExpression(QStringLiteral("^basic\\d{12}\\.ncz$")).match(names.first()).hasMatch(),
             qPrintable(names.first()));

    const QString target = path(QStringLiteral("restored"));
    QVERIFY(QDir().mkpath(target));
    const CliResult restored = cli({QStringLiteral("restore"), QDir(backups).filePath(names.first()), target});
    QVERIFY2(restored.exitCode == 0, qPrintable(restored.err));
    QCOMPARE(filesIn(target), QStringList{QStringLiteral("basic.nct")});
    const QString file = QDir(target).filePath(QStringLiteral("basic.nct"));
    const CliResult check = cli({QStringLiteral("check"), file}, line(kBasic));
    QVERIFY2(check.exitCode == 0, qPrintable(check.out + check.err));
    QCOMPARE(cli({QStringLiteral("dump"), file}, line(kBasic)).out, original.out);
}

void TestCliFiles::badUsage_data() {
    QTest::addColumn<QStringList>("args");
    QTest::newRow("nothing") << QStringList();
    QTest::newRow("unknown command") << QStringList{QStringLiteral("open"), QStringLiteral("x.nct")};
    QTest::newRow("check of two files") << QStringList{QStringLiteral("check"), QStringLiteral("a"),
                                                       QStringLiteral("b")};
    QTest::newRow("backup without folder") << QStringList{QStringLiteral("backup"), QStringLiteral("a.nct")};
    QTest::newRow("section not a number") << QStringList{QStringLiteral("dump"), QStringLiteral("a.nct"),
                                                         QStringLiteral("--section"), QStringLiteral("memos")};
}

void TestCliFiles::badUsage() {
    QFETCH(QStringList, args);
    const CliResult run = cli(args, line(kBasic));
    QCOMPARE(run.exitCode, 2);
    QVERIFY2(run.err.contains(QLatin1String("usage")), qPrintable(run.err));
    QVERIFY(filesIn(m_dir->path()).isEmpty());
}

QTEST_GUILESS_MAIN(TestCliFiles)
#include "tst_cli_files.moc"

void TestCliFiles::budgetOfAnotherWriter() {
    const QString file = CopyOracle(*m_dir, QStringLiteral("basic.nct"));
    const CliResult listed = cli(
        {QStringLiteral("budget"), QStringLiteral("list"), file, QStringLiteral("--month"), QStringLiteral("2024-03")},
        line(kBasic));
    QVERIFY2(listed.exitCode == 0, qPrintable(listed.err));
    QCOMPARE(listed.out, QStringLiteral("2024-03-15\tGroceries\t-12.34\tCash\tFood\tCorner shop\tpublic\tPaid cash\n"));
}

void TestCliFiles::budgetAddTotalsExport() {
    const QString file = CopyOracle(*m_dir, QStringLiteral("basic.nct"));
    const auto add = [&](const QStringList& more) {
        return cli(QStringList{QStringLiteral("budget"), QStringLiteral("add"), file, QStringLiteral("--budget"),
                               QStringLiteral("0"), QStringLiteral("--date"), QStringLiteral("2024-03-20")} +
                       more,
                   line(kBasic));
    };
    QCOMPARE(
        add({"--credit", "1000.50", "--item", "Salary", "--category", "rent", "--payment", "bank transfer"}).exitCode,
        0);
    // The comma some write for the decimal point is one here too; an amount with two readings is refused.
    QCOMPARE(add({"--debit", "7,25", "--item", "Secret", "--private"}).exitCode, 0);
    const CliResult ambiguous = add({"--debit", "1,250", "--item", "x"});
    QCOMPARE(ambiguous.exitCode, 1);
    QVERIFY2(ambiguous.err.contains(QLatin1String("1,250.00 or as 1.25")), qPrintable(ambiguous.err));
    const CliResult unknown = add({"--debit", "1", "--item", "x", "--category", "Travel"});
    QCOMPARE(unknown.exitCode, 1);
    QVERIFY(unknown.err.contains(QLatin1String("Travel")));
    QCOMPARE(add({"--debit", "1e3", "--item", "x"}).exitCode, 1);
    QCOMPARE(add({"--credit", "1", "--debit", "1", "--item", "x"}).exitCode, 2);

    const QStringList period{QStringLiteral("--budget"),   QStringLiteral("0"),    QStringLiteral("--from"),
                             QStringLiteral("2024-03-01"), QStringLiteral("--to"), QStringLiteral("2024-03-31")};
    const CliResult totals =
        cli(QStringList{QStringLiteral("budget"), QStringLiteral("totals"), file} + period, line(kBasic));
    QVERIFY2(totals.exitCode == 0, qPrintable(totals.err));
    QVERIFY(totals.out.contains(QLatin1String("public credit: 1000.50\n")));
    QVERIFY(totals.out.contains(QLatin1String("private debit: 7.25\n")));
    QVERIFY(totals.out.contains(QLatin1String("total balance: 980.91\n")));
    const CliResult hidden = cli(QStringList{QStringLiteral("budget"), QStringLiteral("totals"), file} + period +
                                     QStringList{"--hide-private"},
                                 line(kBasic));
    QVERIFY(hidden.out.contains(QLatin1String("private debit: \n")));

    const QString csv = path(QStringLiteral("march.csv"));
    const CliResult exported =
        cli(QStringList{QStringLiteral("budget"), QStringLiteral("export"), file} + period + QStringList{csv},
            line(kBasic));
    QVERIFY2(exported.exitCode == 0, qPrintable(exported.err));
    const QString text = QString::fromUtf8(readFile(csv));
    QVERIFY(text.contains(QLatin1String("Rent,1000.50,0.00,1000.50,0.00,0.00,0.00,1000.50,0.00,1000.50\r\n")));
    QVERIFY(text.contains(QLatin1String("2024-03-20,Salary,1000.50,,Bank Transfer,Rent,,,\r\n")));
}
