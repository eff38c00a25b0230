#include "base/password_strength.h"
#include "support/cli_runner.h"
#include "support/test_main.h"

#include <algorithm>
#include <memory>

namespace {

const QString kVectors = QStringLiteral(NCT_TEST_DATA_DIR "/store-vectors.json");
const QString kBasic = QStringLiteral("correct horse 1");

QByteArray Line(const QString& passphrase) {
    return passphrase.toUtf8() + '\n';
}

// The dump's records of one section; each line of a dump must be a JSON object.
QList<QJsonObject> InSection(const QString& out, int section) {
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

// The command-line program as a person or a script runs it. Every test has a folder of its own holding a copy of
// basic.nct, where the program runs.
class TestCli : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_basic;

    CliResult cli(const QStringList& args, const QByteArray& input = {}) const {
        return RunCli(args, input, m_dir->path());
    }
    QString path(const QString& name) const { return m_dir->filePath(name); }

private Q_SLOTS:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        m_basic = CopyOracle(*m_dir, QStringLiteral("basic.nct"));
        QVERIFY(!m_basic.isEmpty());
    }

    void oracleFilesCheck_data() {
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

    void oracleFilesCheck() {
        QFETCH(QString, file);
        QFETCH(QString, passphrase);
        const CliResult run = cli({"check", CopyOracle(*m_dir, file)}, Line(passphrase));
        QVERIFY2(run.exitCode == 0, qPrintable(run.out + run.err));
        const QRegularExpressionMatch summary =
            QRegularExpression(QStringLiteral("^(\\d+) records checked, 0 unreadable$"),
                               QRegularExpression::MultilineOption)
                .match(run.out);
        QVERIFY2(summary.hasMatch() && summary.captured(1).toInt() >= 6, qPrintable(run.out));
    }

    void dumpShowsRecords() {
        const CliResult run = cli({"dump", m_basic}, Line(kBasic));
        QCOMPARE(run.exitCode, 0);
        QVERIFY2(run.err.isEmpty(), qPrintable(run.err));
        const QList<QJsonObject> budget = InSection(run.out, 17);
        QCOMPARE(budget.size(), 1);
        const QJsonObject debit = budget.first().value(QLatin1String("fields")).toObject();
        QCOMPARE(debit.value(QLatin1String("2")).toString(), QStringLiteral("Groceries"));
        QCOMPARE(debit.value(QLatin1String("5")).toString(), QStringLiteral("12.34"));
        const QList<QJsonObject> memos = InSection(run.out, 14);
        QCOMPARE(memos.size(), 2);
        QVERIFY(std::any_of(memos.begin(), memos.end(), [](const QJsonObject& memo) {
            return memo.value(QLatin1String("title")).toString() == QLatin1String("Sample memo");
        }));
        // Key material and the user's rows hold secrets; they are never printed.
        QVERIFY(InSection(run.out, 2).isEmpty());
        QCOMPARE(InSection(run.out, 1).size(), 1);
        QCOMPARE(InSection(run.out, 1).first().value(QLatin1String("fSub")).toInt(), 3);

        const CliResult memosOnly = cli({"dump", "--section", "14", m_basic}, Line(kBasic));
        QCOMPARE(memosOnly.exitCode, 0);
        QCOMPARE(InSection(memosOnly.out, 14).size(), 2);
        QCOMPARE(memosOnly.out.count(u'\n'), 2);
    }

    // Looking is not opening, and a wrong passphrase opens nothing: no copy, no change.
    void infoAndAWrongPassphraseChangeNothing() {
        const QByteArray before = FileBytes(m_basic);
        const CliResult run = cli({"info", m_basic});
        QCOMPARE(run.exitCode, 0);
        QVERIFY2(run.out.contains(QLatin1String("schema: 002.005.0000")), qPrintable(run.out));
        QVERIFY2(run.out.contains(QLatin1String("rows: 11\n")), qPrintable(run.out));
        const CliResult wrong = cli({"dump", m_basic}, Line(QStringLiteral("Correct horse 1")));
        QCOMPARE(wrong.exitCode, 1);
        QVERIFY2(wrong.err.contains(QLatin1String("Password not correct!")), qPrintable(wrong.err));
        QVERIFY(wrong.out.isEmpty());
        QCOMPARE(FileBytes(m_basic), before);
        QCOMPARE(FilesIn(m_dir->path()), QStringList{QStringLiteral("basic.nct")});
    }

    void createRefusesExistingFile() {
        const QString file = path(QStringLiteral("notes.nct"));
        QVERIFY(WriteFile(file, "my notes"));
        const CliResult run = cli({"create", file}, Line(QStringLiteral("a new passphrase 1")));
        QCOMPARE(run.exitCode, 1);
        QVERIFY(run.err.contains(QLatin1String("already exists")));
        QCOMPARE(FileBytes(file), QByteArray("my notes"));
        QCOMPARE(FilesIn(m_dir->path()).size(), 2);
    }

    void createThenChangePassphrase() {
        const QString file = path(QStringLiteral("new.nct"));
        const QByteArray first = Line(QStringLiteral("first passphrase 1"));
        const QByteArray second = Line(QStringLiteral("second passphrase 2"));
        const CliResult created = cli({"create", "new.nct"}, first);
        QVERIFY2(created.exitCode == 0, qPrintable(created.err));
        const CliResult changed = cli({"passwd", file}, first + second);
        QVERIFY2(changed.exitCode == 0, qPrintable(changed.err));
        QVERIFY2(changed.err.contains(password_strength::Describe(password_strength::Rate("second passphrase 2"))),
                 qPrintable(changed.err));
        const CliResult withNew = cli({"check", file}, second);
        QVERIFY2(withNew.exitCode == 0, qPrintable(withNew.err));
        const CliResult withOld = cli({"check", file}, first);
        QCOMPARE(withOld.exitCode, 1);
        QVERIFY(withOld.err.contains(QLatin1String("Password not correct!")));
    }

    // The estimate is advice: a weak new passphrase is warned of, not refused, and never echoed.
    void createTellsTheStrength_data() {
        QTest::addColumn<QString>("passphrase");
        QTest::addColumn<bool>("weak");
        QTest::newRow("weak") << "password1" << true;
        QTest::newRow("strong") << "a new passphrase 1" << false;
    }

    void createTellsTheStrength() {
        QFETCH(QString, passphrase);
        QFETCH(bool, weak);
        const CliResult created = cli({"create", "new.nct"}, Line(passphrase));
        QVERIFY2(created.exitCode == 0, qPrintable(created.err));
        QVERIFY2(created.err.contains(password_strength::Describe(password_strength::Rate(passphrase))),
                 qPrintable(created.err));
        QCOMPARE(created.err.contains(QLatin1String("warning: this passphrase is easy to guess")), weak);
        QVERIFY(!created.err.contains(passphrase) && !created.out.contains(passphrase));
        QCOMPARE(cli({"check", "new.nct"}, Line(passphrase)).exitCode, 0);
    }

    void backupThenRestore() {
        const CliResult original = cli({"dump", m_basic}, Line(kBasic));
        QCOMPARE(original.exitCode, 0);
        const QString backups = path(QStringLiteral("backups"));
        const CliResult made = cli({"backup", m_basic, backups});
        QVERIFY2(made.exitCode == 0, qPrintable(made.err));
        const QStringList names = FilesIn(backups);
        QCOMPARE(names.size(), 1);
        QVERIFY2(QRegularExpression(QStringLiteral("^basic\\d{12}\\.ncz$")).match(names.first()).hasMatch(),
                 qPrintable(names.first()));

        const QString target = path(QStringLiteral("restored"));
        QVERIFY(QDir().mkpath(target));
        const CliResult restored = cli({"restore", QDir(backups).filePath(names.first()), target});
        QVERIFY2(restored.exitCode == 0, qPrintable(restored.err));
        QCOMPARE(FilesIn(target), QStringList{QStringLiteral("basic.nct")});
        const QString file = QDir(target).filePath(QStringLiteral("basic.nct"));
        const CliResult check = cli({"check", file}, Line(kBasic));
        QVERIFY2(check.exitCode == 0, qPrintable(check.out + check.err));
        QCOMPARE(cli({"dump", file}, Line(kBasic)).out, original.out);
    }

    void badUsage_data() {
        QTest::addColumn<QStringList>("args");
        QTest::newRow("nothing") << QStringList();
        QTest::newRow("unknown command") << QStringList{"open", "x.nct"};
        QTest::newRow("check of two files") << QStringList{"check", "a", "b"};
        QTest::newRow("backup without folder") << QStringList{"backup", "a.nct"};
        QTest::newRow("section not a number") << QStringList{"dump", "a.nct", "--section", "memos"};
        QTest::newRow("credit and debit at once")
            << QStringList{"budget",   "add", "a.nct",   "--budget", "0",      "--date", "2024-03-20",
                           "--credit", "1",   "--debit", "1",        "--item", "x"};
    }

    void badUsage() {
        QFETCH(QStringList, args);
        const CliResult run = cli(args, Line(kBasic));
        QCOMPARE(run.exitCode, 2);
        QVERIFY2(run.err.contains(QLatin1String("usage")), qPrintable(run.err));
        QCOMPARE(FilesIn(m_dir->path()), QStringList{QStringLiteral("basic.nct")});
    }

    void budgetOfAnotherWriter() {
        const CliResult listed = cli({"budget", "list", m_basic, "--month", "2024-03"}, Line(kBasic));
        QVERIFY2(listed.exitCode == 0, qPrintable(listed.err));
        QCOMPARE(listed.out,
                 QStringLiteral("2024-03-15\tGroceries\t-12.34\tCash\tFood\tCorner shop\tpublic\tPaid cash\n"));
    }

    void budgetAddTotalsExport() {
        const auto add = [this](const QStringList& more) {
            return cli(QStringList{"budget", "add", m_basic, "--budget", "0", "--date", "2024-03-20"} + more,
                       Line(kBasic));
        };
        QCOMPARE(add({"--credit", "1000.50", "--item", "Salary", "--category", "rent", "--payment", "bank transfer"})
                     .exitCode,
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

        const QStringList totals{"budget", "totals",     m_basic, "--budget",  "0",
                                 "--from", "2024-03-01", "--to",  "2024-03-31"};
        const CliResult shown = cli(totals, Line(kBasic));
        QVERIFY2(shown.exitCode == 0, qPrintable(shown.err));
        QVERIFY(shown.out.contains(QLatin1String("public credit: 1000.50\n")));
        QVERIFY(shown.out.contains(QLatin1String("private debit: 7.25\n")));
        QVERIFY(shown.out.contains(QLatin1String("total balance: 980.91\n")));
        QVERIFY(cli(totals + QStringList{"--hide-private"}, Line(kBasic)).out.contains("private debit: \n"));

        const QString csv = path(QStringLiteral("march.csv"));
        QStringList exporting = totals + QStringList{csv};
        exporting[1] = QStringLiteral("export");
        const CliResult exported = cli(exporting, Line(kBasic));
        QVERIFY2(exported.exitCode == 0, qPrintable(exported.err));
        const QString text = QString::fromUtf8(FileBytes(csv));
        QVERIFY(text.contains(QLatin1String("Rent,1000.50,0.00,1000.50,0.00,0.00,0.00,1000.50,0.00,1000.50\r\n")));
        QVERIFY(text.contains(QLatin1String("2024-03-20,Salary,1000.50,,Bank Transfer,Rent,,,\r\n")));
    }

    void selftestPassesEveryKnownAnswer() {
        const CliResult plain = cli({"selftest"});
        QCOMPARE(plain.exitCode, 0);
        QVERIFY(plain.out.trimmed().endsWith(QLatin1String("passed, 0 failed")));

        const CliResult run = cli({"selftest", "--vectors", kVectors});
        QCOMPARE(run.exitCode, 0);
        const QStringList lines = run.out.trimmed().split(u'\n');
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.last().contains(QLatin1String(" passed, 0 failed")), qPrintable(run.out));
        QVERIFY(lines.last().split(u' ').first().toInt() > 80);
    }

    void selftestNamesAFailingCase() {
        QByteArray json = FileBytes(kVectors);
        // Change the expected bytes of one cipher case.
        const QByteArray expected = "9c4011121314151617184483358c9d7c24e1";
        QVERIFY(json.contains(expected));
        json.replace(expected, "9c4011121314151617184483358c9d7c24e2");
        const QString changed = path(QStringLiteral("vectors.json"));
        QVERIFY(WriteFile(changed, json));
        const CliResult run = cli({"selftest", "--vectors", changed});
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.out.contains(QLatin1String("cipher[0]:")), qPrintable(run.out));
        QVERIFY(run.out.trimmed().split(u'\n').last().contains(QLatin1String(" passed, 1 failed")));
    }

    void refusals() {
        QCOMPARE(cli({"selftest", "--vectors"}).exitCode, 2);
        const CliResult missing = cli({"selftest", "--vectors", "/nonexistent"});
        QCOMPARE(missing.exitCode, 1);
        QVERIFY(missing.err.contains(QLatin1String("/nonexistent")));
    }
};

NCT_TEST_MAIN(TestCli)
#include "tst_cli.moc"
