#include "sections/vault/password_generator.h"
#include "support/cli_runner.h"
#include "support/test_main.h"

#include <memory>

namespace {

const QString kPassphrase = QStringLiteral("correct horse 1");

} // namespace

// The memo, diary and task commands as a script runs them, on a copy of basic.nct in a folder of its own.
class TestCliSections : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_file;

    CliResult cli(const QStringList& args) const { return RunCli(args, kPassphrase.toUtf8() + '\n', m_dir->path()); }
    // The key a command printed, or 0 when it failed.
    int keyOf(const QStringList& args) const {
        const CliResult run = cli(args);
        return run.exitCode == 0 ? run.out.trimmed().toInt() : 0;
    }

private Q_SLOTS:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        m_file = CopyOracle(*m_dir, QStringLiteral("basic.nct"));
        QVERIFY(!m_file.isEmpty());
    }

    void memoRoundTrip() {
        const QString text = QStringLiteral("Caf\u00e9 \u03a9mega\n\tindented line\n");
        QVERIFY(WriteFile(m_dir->filePath(QStringLiteral("memo.txt")), text.toUtf8()));
        const int shopping =
            keyOf({"memo", "add", m_file, "--subject", "Shopping", "--category", "ideas", "--text-file", "memo.txt"});
        const int secret = keyOf({"memo", "add", m_file, "--subject", "Secret plan", "--private", "--text", "hush"});
        QVERIFY(shopping > 0 && secret > shopping);

        const CliResult listed = cli({"memo", "list", m_file});
        QCOMPARE(listed.exitCode, 0);
        const QStringList lines = listed.out.split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 4);
        QVERIFY(lines.contains(QStringLiteral("%1\tIdeas\tShopping").arg(shopping)));
        QCOMPARE(lines.last(), QStringLiteral("%1\tUnfiled\tSecret plan").arg(secret));
        const CliResult ideas = cli({"memo", "list", m_file, "--category", "Ideas"});
        QCOMPARE(ideas.out.count(u'\n'), 2);
        QVERIFY(!ideas.out.contains(QLatin1String("Secret plan")));

        const CliResult shown = cli({"memo", "show", m_file, QString::number(shopping)});
        QCOMPARE(shown.exitCode, 0);
        const QStringList head = shown.out.section(u'\n', 0, 0).split(u'\t');
        QCOMPARE(head.size(), 6);
        QCOMPARE(head.mid(0, 3), (QStringList{QString::number(shopping), "Ideas", "public"}));
        QCOMPARE(head[5], QStringLiteral("Shopping"));
        QCOMPARE(shown.out.section(u'\n', 1), text + u'\n');
        QVERIFY(cli({"memo", "show", m_file, QString::number(secret)}).out.contains(QLatin1String("\tprivate\t")));

        QCOMPARE(cli({"memo", "delete", m_file, QString::number(shopping)}).exitCode, 0);
        QVERIFY(!cli({"memo", "list", m_file}).out.contains(QLatin1String("Shopping")));
    }

    void diarySetAndList() {
        const int day = keyOf({"diary", "set", m_file, "--date", "2024-03-12", "--text", "Went walking"});
        QVERIFY(day > 0);
        QVERIFY(WriteFile(m_dir->filePath(QStringLiteral("day.txt")), "Went walking\nin the rain"));
        QCOMPARE(keyOf({"diary", "set", m_file, "--date", "2024-03-12", "--text-file", "day.txt"}), day);
        const int later = keyOf({"diary", "set", m_file, "--date", "2024-03-20", "--text", ""});
        QVERIFY(later > day);
        const CliResult march = cli({"diary", "list", m_file, "--from", "2024-03-01", "--to", "2024-03-31"});
        QCOMPARE(march.exitCode, 0);
        QCOMPARE(march.out,
                 QStringLiteral("%1\t2024-03-12\tWent walking\\nin the rain\n%2\t2024-03-20\t\n").arg(day).arg(later));
        QCOMPARE(cli({"diary", "list", m_file, "--from", "2024-03-13", "--to", "2024-03-19"}).out, QString());
    }

    // Tasks in the list's order: open before done, overdue first, by due date, by priority.
    void taskRoundTrip() {
        const QString tomorrow = QDate::currentDate().addDays(1).toString(Qt::ISODate);
        const int later = keyOf({"task", "add", m_file, "--subject", "File the taxes", "--due", "2079-01-13"});
        const int soon = keyOf({"task", "add", m_file, "--subject", "Call\tmum", "--due", tomorrow, "--priority",
                                "high", "--private", "--note", "birthday"});
        const int undated = keyOf({"task", "add", m_file, "--subject", "Paint the fence", "--priority", "LOW"});
        QVERIFY(later > 0 && soon > later && undated > soon);
        QCOMPARE(cli({"task", "list", m_file}).out,
                 QStringLiteral("%1\tUnfiled\thigh\t%2\topen\tprivate\tCall\\tmum\n"
                                "%3\tUnfiled\tnormal\t2079-01-13\topen\tpublic\tFile the taxes\n"
                                "%4\tUnfiled\tlow\t\topen\tpublic\tPaint the fence\n")
                     .arg(soon)
                     .arg(tomorrow)
                     .arg(later)
                     .arg(undated));
        QCOMPARE(cli({"task", "done", m_file, QString::number(soon)}).exitCode, 0);
        const QStringList lines = cli({"task", "list", m_file}).out.split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.last().section(u'\t', 4, 4), QDate::currentDate().toString(Qt::ISODate));
        QVERIFY(!cli({"task", "list", m_file, "--open"}).out.contains(QLatin1String("mum")));
        QCOMPARE(cli({"task", "done", m_file, QString::number(soon), "--undo"}).exitCode, 0);
        QVERIFY(cli({"task", "list", m_file, "--open"}).out.contains(QLatin1String("mum")));
        QCOMPARE(cli({"task", "delete", m_file, QString::number(undated)}).exitCode, 0);
        QVERIFY(!cli({"task", "list", m_file}).out.contains(QLatin1String("fence")));
        // A day gone by is due today, and the person is told.
        const CliResult past = cli({"task", "add", m_file, "--subject", "Late", "--due", "2001-01-01"});
        QCOMPARE(past.exitCode, 0);
        QVERIFY(past.err.contains(QLatin1String("Date in the past!")));
        QVERIFY(cli({"task", "list", m_file}).out.contains(QDate::currentDate().toString(Qt::ISODate) + "\topen"));
    }

    // A password comes in the way the passphrase does, is masked unless revealed, and a weak or shared one is
    // reported without being shown.
    void vaultRoundTrip() {
        const auto add = [this](const QStringList& args, const QByteArray& secret) {
            const CliResult run = RunCli(QStringList{"vault", "add", m_file} + args,
                                         kPassphrase.toUtf8() + '\n' + secret + '\n', m_dir->path());
            return run.exitCode == 0 ? run.out.trimmed().toInt() : 0;
        };
        const int mail = add({"--sub-category", "1", "--field0", "Mail", "--field2", "anouk", "--field3", "-", "--note",
                              "two-factor on"},
                             "sunshine");
        const int shop = add({"--sub-category", "16", "--field0", "Shop", "--field3", "-", "--public"}, "sunshine");
        const int bank = add({"--sub-category", "5", "--field0", "Harbour Bank", "--field4", "0042 7731"}, {});
        QVERIFY(mail > 0 && shop > mail && bank > shop);

        QCOMPARE(cli({"vault", "list", m_file, "--sub-category", "1"}).out,
                 QStringLiteral("%1\t1\tWeb Login\tMail\n").arg(mail));
        QCOMPARE(cli({"vault", "list", m_file}).out.count(u'\n'), 3);
        const CliResult masked = cli({"vault", "show", m_file, QString::number(mail)});
        QCOMPARE(masked.exitCode, 0);
        QVERIFY(masked.out.contains(QLatin1String("\tprivate\t")));
        QVERIFY(masked.out.contains(QLatin1String("Password:\t********\n")));
        QVERIFY(!masked.out.contains(QLatin1String("sunshine")));
        QVERIFY(masked.out.endsWith(QLatin1String("Note:\ntwo-factor on\n")));
        QVERIFY(cli({"vault", "show", m_file, QString::number(mail), "--reveal"})
                    .out.contains(QLatin1String("Password:\tsunshine\n")));
        QVERIFY(cli({"vault", "show", m_file, QString::number(bank)})
                    .out.contains(QLatin1String("Account Number:\t0042 7731\n")));

        const CliResult weak = cli({"vault", "weak", m_file});
        QCOMPARE(weak.exitCode, 0);
        const QStringList lines = weak.out.split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 2);
        QVERIFY(lines[0].startsWith(QStringLiteral("%1\tWeb Login\tMail\tPassword\tweak").arg(mail)));
        QVERIFY(lines[1].endsWith(QLatin1String("shared with 1")));
        QVERIFY(!weak.out.contains(QLatin1String("sunshine")));
    }

    // What the views would show, line by line; a series given as bytes is stored as given.
    void calendarRoundTrip() {
        // Every 2 weeks on Mondays and Thursdays from Monday 4 March 2024, until 28 March 2024.
        const int choir = keyOf({"calendar", "add", m_file, "--start", "2024-03-04 18:30", "--end", "2024-03-04 19:30",
                                 "--subject", "Choir", "--recurrence-hex", "11240276268e26"});
        const int dentist = keyOf({"calendar", "add", m_file, "--start", "2024-03-14 18:30", "--end",
                                   "2024-03-14 19:00", "--subject", "Dentist", "--private", "--location", "Town"});
        const int holiday = keyOf({"calendar", "add", m_file, "--start", "2024-03-15 10:00", "--end",
                                   "2024-03-15 11:00", "--subject", "Holiday", "--all-day"});
        QVERIFY(choir > 0 && dentist > choir && holiday > dentist);
        const CliResult listed =
            cli({"calendar", "occurrences", m_file, "--from", "2024-03-01", "--to", "2024-03-31", "--first-day", "2"});
        QCOMPARE(listed.exitCode, 0);
        QCOMPARE(listed.out, QStringLiteral("2024-03-04 18:30\t%1\tChoir\n"
                                            "2024-03-07 18:30\t%1\tChoir\n"
                                            "2024-03-14 18:30\t%2\tDentist\n"
                                            "2024-03-15 00:00\t%3\tHoliday\n"
                                            "2024-03-18 18:30\t%1\tChoir\n"
                                            "2024-03-21 18:30\t%1\tChoir\n")
                                 .arg(choir)
                                 .arg(dentist)
                                 .arg(holiday));
        const CliResult shown = cli({"calendar", "show", m_file, QString::number(choir)});
        QVERIFY(shown.out.contains(QLatin1String("\nrecurrence-hex\t11240276268e26\n")));
        const CliResult day = cli({"calendar", "show", m_file, QString::number(holiday)});
        QVERIFY(day.out.contains(QLatin1String("start\t2024-03-15 00:00\nend\t2024-03-16 00:00\nall-day\tyes\n")));
        QCOMPARE(cli({"calendar", "delete", m_file, QString::number(dentist)}).exitCode, 0);
        QVERIFY(!cli({"calendar", "occurrences", m_file, "--from", "2024-03-14", "--to", "2024-03-14"})
                     .out.contains(QLatin1String("Dentist")));
    }

    // A contact as its list row and pane show it, filed, private or not, and gone after delete; the export
    // writes every one of them for the owner's eyes alone.
    void contactRoundTrip() {
        const int anna =
            keyOf({"contact", "add", m_file, "--first", "Anna", "--last", "Berg", "--mobile", "0171 555 12 34",
                   "--email", "anna@berg.example", "--birthday", "1980-03-14", "--private"});
        const int firm = keyOf({"contact", "add", m_file, "--company", "Harbour\tWorks", "--email", "info@hw.example"});
        const int solo = keyOf({"contact", "add", m_file, "--last", "Zeller"});
        QVERIFY(anna > 0 && firm > anna && solo > firm);
        QCOMPARE(cli({"contact", "list", m_file}).out, QStringLiteral("%1\tBerg, Anna\t0171 555 12 34  [Mobile]\n"
                                                                      "%2\tHarbour\\tWorks\tinfo@hw.example  [E-Mail]\n"
                                                                      "%3\tZeller\t\n")
                                                           .arg(anna)
                                                           .arg(firm)
                                                           .arg(solo));
        QCOMPARE(cli({"contact", "list", m_file, "--category", "Unfiled"}).out.count(u'\n'), 3);

        const CliResult shown = cli({"contact", "show", m_file, QString::number(anna)});
        QCOMPARE(shown.exitCode, 0);
        QVERIFY2(shown.out.startsWith(QStringLiteral("%1\tBerg, Anna\n").arg(anna)), qPrintable(shown.out));
        QVERIFY(shown.out.contains(QLatin1String("Mobile:\t0171 555 12 34\n")));
        QVERIFY(shown.out.contains(QLatin1String("E-Mail:\tanna@berg.example\n")));
        QVERIFY(shown.out.contains(QLatin1String("Birthday:\t")));
        QVERIFY(shown.out.endsWith(QLatin1String("Unfiled\n")));

        const QString out = m_dir->filePath(QStringLiteral("contacts.txt"));
        const CliResult exported = cli({"contact", "export", m_file, out, "--tab"});
        QCOMPARE(exported.exitCode, 0);
        QVERIFY(exported.err.startsWith(QStringLiteral("3 contacts were exported to %1.").arg(out)));
        QVERIFY(exported.err.contains(QLatin1String("not encrypted")));
        QFile file(out);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll().count("\r\n"), 4);
        QCOMPARE(file.permissions() & ~(QFile::ReadUser | QFile::WriteUser), QFile::ReadOwner | QFile::WriteOwner);

        // The cards come back in as new contacts, private ones included, with their names and numbers.
        const QString cards = m_dir->filePath(QStringLiteral("contacts.vcf"));
        QCOMPARE(cli({"contact", "export", m_file, cards, "--vcard"}).exitCode, 0);
        QCOMPARE(QFile(cards).permissions() & ~(QFile::ReadUser | QFile::WriteUser),
                 QFile::ReadOwner | QFile::WriteOwner);
        QCOMPARE(cli({"contact", "import", m_file, cards}).out,
                 QStringLiteral("3 contacts imported, 0 parts left out\n"));
        QCOMPARE(cli({"contact", "list", m_file}).out.count(QLatin1String("\tBerg, Anna\t0171 555 12 34  [Mobile]\n")),
                 2);

        QCOMPARE(cli({"contact", "delete", m_file, QString::number(anna)}).exitCode, 0);
        QCOMPARE(cli({"contact", "list", m_file}).out.count(QLatin1String("Anna")), 1);
        QCOMPARE(cli({"contact", "show", m_file, QString::number(anna)}).exitCode, 1);
    }

    void findAcrossSections() {
        const int memo = keyOf({"memo", "add", m_file, "--subject", "Harbour tour", "--text", "ferry at nine"});
        const int task = keyOf({"task", "add", m_file, "--subject", "Book the FERRY", "--due", "2030-05-02"});
        const int secret = keyOf({"memo", "add", m_file, "--subject", "Secret", "--private", "--text", "ferry"});
        QVERIFY(memo > 0 && task > 0 && secret > 0);
        const CliResult found = cli({"find", m_file, "Ferry"});
        QCOMPARE(found.exitCode, 0);
        const QStringList lines = found.out.split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 2);
        QCOMPARE(lines[0], QStringLiteral("14\t%1\tHarbour tour\t").arg(memo));
        QVERIFY2(lines[1].startsWith(QStringLiteral("15\t%1\tBook the FERRY\tDue ").arg(task)) &&
                     lines[1].contains(QLatin1String("2030")),
                 qPrintable(lines[1]));
        QCOMPARE(cli({"find", m_file, "ferry", "--show-private"}).out.count(u'\n'), 3);
        QCOMPARE(cli({"find", m_file, "Ferry", "--case-sensitive"}).exitCode, 1);
        QCOMPARE(cli({"find", m_file, "ferry", "--sections", "15"}).out.count(u'\n'), 1);
        const CliResult none = cli({"find", m_file, "nowhere"});
        QCOMPARE(none.exitCode, 1);
        QVERIFY(none.out.isEmpty());
    }

    // A statement read in twice comes in once; the rules file its bookings and are kept in the file.
    void budgetImport() {
        const QString data = QStringLiteral(NCT_TEST_DATA_DIR "/statements/");
        QCOMPARE(cli({"budget", "rules", m_file, "--budget", "0", "--add", "miete", "--category", "unfiled"}).out,
                 QStringLiteral("miete\tUnfiled\n"));
        const CliResult csv = cli({"budget", "import", m_file, "--budget", "0", data + "german_bank.csv", "--csv"});
        QCOMPARE(csv.exitCode, 0);
        QVERIFY2(csv.out.startsWith(QStringLiteral("3 bookings imported, 0 left out as duplicates, 1 refused.\nline ")),
                 qPrintable(csv.out));
        const QStringList ofx = {"budget", "import", m_file, "--budget", "0", data + "checking_v1.ofx", "--ofx"};
        QVERIFY(cli(ofx).out.startsWith(QStringLiteral("3 bookings imported, 0 left out")));
        const QString before = cli({"dump", m_file, "--section", "17"}).out;
        QVERIFY(cli(ofx).out.startsWith(QStringLiteral("0 bookings imported, 3 left out as duplicates")));
        QCOMPARE(cli({"dump", m_file, "--section", "17"}).out, before);
        QCOMPARE(cli({"budget", "rules", m_file, "--budget", "0", "--remove", "MIETE"}).out, QString());
        QCOMPARE(cli({"budget", "rules", m_file, "--budget", "0", "--remove", "miete"}).exitCode, 1);
    }

    // Refused with words that say why, and nothing changed; FILE and DIARY stand for the file and a diary key, OUT
    // and NOWHERE for a file to write and one in a folder that does not exist.
    void refusals_data() {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("said");
        const QString notAMemo = QStringLiteral("record DIARY is not a memo");
        const QString badDate = QStringLiteral("takes a date as YYYY-MM-DD");
        QTest::newRow("show a diary entry") << QStringList{"memo", "show", "FILE", "DIARY"} << 1 << notAMemo;
        QTest::newRow("delete a diary entry") << QStringList{"memo", "delete", "FILE", "DIARY"} << 1 << notAMemo;
        QTest::newRow("show a missing record")
            << QStringList{"memo", "show", "FILE", "99999"} << 1 << "there is no record 99999";
        QTest::newRow("delete no number")
            << QStringList{"memo", "delete", "FILE", "seven"} << 2 << "'seven' is not a record key";
        QTest::newRow("no such day") << QStringList{"diary", "set", "FILE", "--date", "2024-02-30", "--text", "x"} << 2
                                     << badDate;
        QTest::newRow("local date form") << QStringList{"diary",      "list", "FILE",      "--from",
                                                        "12.03.2024", "--to", "2024-03-31"}
                                         << 2 << badDate;
        QTest::newRow("no last day") << QStringList{"diary", "list", "FILE", "--from", "2024-03-01"} << 2 << badDate;
        QTest::newRow("a diary entry is no task")
            << QStringList{"task", "done", "FILE", "DIARY"} << 1 << "record DIARY is not a task";
        QTest::newRow("task without subject")
            << QStringList{"task", "add", "FILE", "--subject", " "} << 1 << "Task description missing!";
        QTest::newRow("due past the last day kept")
            << QStringList{"task", "add", "FILE", "--subject", "x", "--due", "2079-01-14"} << 1
            << "A due date can be at most 2079-01-13.";
        QTest::newRow("unknown priority")
            << QStringList{"task", "add", "FILE", "--subject", "x", "--priority", "urgent"} << 1 << "not 'urgent'";
        QTest::newRow("a diary entry is no vault record")
            << QStringList{"vault", "show", "FILE", "DIARY"} << 1 << "record DIARY is not a vault record";
        QTest::newRow("password on the command line")
            << QStringList{"vault", "add", "FILE", "--sub-category", "1", "--field0", "Mail", "--field3", "hunter2"}
            << 1 << "Password is not taken from the command line";
        QTest::newRow("vault record without title")
            << QStringList{"vault", "add", "FILE", "--sub-category", "9", "--field1", "x"} << 1
            << "Missing: Product Name";
        QTest::newRow("fifth field of a web login")
            << QStringList{"vault", "add", "FILE", "--sub-category", "1", "--field0", "x", "--field4", "y"} << 1
            << "Web Login has no field 4";
        QTest::newRow("no such sub-category")
            << QStringList{"vault", "list", "FILE", "--sub-category", "17"} << 2 << "not '17'";
        QTest::newRow("a recurrence of even length")
            << QStringList{"calendar",         "add",       "FILE", "--start",          "2024-03-04 18:30", "--end",
                           "2024-03-04 19:30", "--subject", "x",    "--recurrence-hex", "0200010000000000"}
            << 2 << "--recurrence-hex is no recurrence";
        QTest::newRow("a start the calendar cannot show")
            << QStringList{"calendar",         "add",       "FILE", "--start", "2077-01-01 10:00", "--end",
                           "2077-01-01 11:00", "--subject", "x"}
            << 2 << "Upper range limit for dates is 2076-03-31";
        QTest::newRow("an end before the start")
            << QStringList{"calendar",         "add",       "FILE", "--start", "2024-03-04 18:30", "--end",
                           "2024-03-04 18:00", "--subject", "x"}
            << 1 << "the end lies before the start";
        QTest::newRow("a diary entry is no appointment")
            << QStringList{"calendar", "delete", "FILE", "DIARY"} << 1 << "record DIARY is not an appointment";
        QTest::newRow("unknown task category")
            << QStringList{"task", "add", "FILE", "--subject", "x", "--category", "Nowhere"} << 1
            << "there is no such category: 'Nowhere'";
        QTest::newRow("a diary entry is no contact")
            << QStringList{"contact", "show", "FILE", "DIARY"} << 1 << "record DIARY is not a contact";
        QTest::newRow("delete a diary entry as a contact")
            << QStringList{"contact", "delete", "FILE", "DIARY"} << 1 << "record DIARY is not a contact";
        QTest::newRow("contact without a name") << QStringList{"contact", "add", "FILE", "--mobile", "0171 555"} << 1
                                                << "Either LAST NAME, FIRST NAME or COMPANY have to be specified.";
        QTest::newRow("birthday of no day")
            << QStringList{"contact", "add", "FILE", "--last", "x", "--birthday", "1980-02-30"} << 2 << badDate;
        QTest::newRow("birthday on the blank date")
            << QStringList{"contact", "add", "FILE", "--last", "x", "--birthday", "4501-01-01"} << 1
            << "a birthday lies before 4501-01-01";
        QTest::newRow("unknown contact category") << QStringList{"contact", "list", "FILE", "--category", "Nowhere"}
                                                  << 1 << "there is no such category: 'Nowhere'";
        QTest::newRow("export without a form") << QStringList{"contact", "export", "FILE", "OUT"} << 2 << "--tab";
        QTest::newRow("export in two forms")
            << QStringList{"contact", "export", "FILE", "OUT", "--tab", "--vcard"} << 2 << "--vcard";
        QTest::newRow("import of no cards")
            << QStringList{"contact", "import", "FILE", "FILE"} << 1 << "it is not a vCard file";
        QTest::newRow("find one character") << QStringList{"find", "FILE", "x"} << 1 << "minimum of 2 characters";
        QTest::newRow("find in no section")
            << QStringList{"find", "FILE", "kept", "--sections", "11,18"} << 2 << "not '18'";
        QTest::newRow("import in two formats")
            << QStringList{"budget", "import", "FILE", "--budget", "0", "FILE", "--csv", "--qif"} << 2 << "usage";
        QTest::newRow("import of unknown columns")
            << QStringList{"budget", "import", "FILE", "--budget", "0", "FILE", "--csv", "--mapping", "note=1"} << 1
            << "name them with --mapping";
        QTest::newRow("rule without category")
            << QStringList{"budget", "rules", "FILE", "--budget", "0", "--add", "rent"} << 2 << "usage";
        QTest::newRow("export into no folder")
            << QStringList{"contact", "export", "FILE", "NOWHERE", "--tab"} << 1 << "could not be written";
    }
    void refusals() {
        QFETCH(QStringList, args);
        QFETCH(int, exitCode);
        QFETCH(QString, said);
        const QString entry =
            QString::number(keyOf({"diary", "set", m_file, "--date", "2024-03-12", "--text", "kept"}));
        const QString before = cli({"dump", m_file}).out;
        QVERIFY(before.contains(QStringLiteral("\"fSec\":13")));
        args.replaceInStrings(QStringLiteral("FILE"), m_file).replaceInStrings(QStringLiteral("DIARY"), entry);
        for (QString& arg : args) {
            if (arg == QLatin1String("OUT") || arg == QLatin1String("NOWHERE")) {
                arg = m_dir->filePath(arg == QLatin1String("OUT") ? QStringLiteral("out.txt")
                                                                  : QStringLiteral("missing/out.txt"));
            }
        }
        const CliResult run = cli(args);
        QCOMPARE(run.exitCode, exitCode);
        QVERIFY2(run.err.contains(said.replace(QStringLiteral("DIARY"), entry)), qPrintable(run.err));
        QVERIFY(run.out.isEmpty());
        QCOMPARE(cli({"dump", m_file}).out, before);
    }

    void generate_data() {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("length");
        QTest::addColumn<int>("words");
        QTest::newRow("as it comes") << QStringList{} << 20 << 0;
        QTest::newRow("shortest") << QStringList{"--length", "4"} << 4 << 0;
        QTest::newRow("longest") << QStringList{"--length", "128"} << 128 << 0;
        QTest::newRow("no symbols") << QStringList{"--no-symbols", "--length", "64"} << 64 << 0;
        QTest::newRow("no look-alikes") << QStringList{"--avoid-look-alike", "--length", "64"} << 64 << 0;
        QTest::newRow("fewest words") << QStringList{"--words", "3"} << 0 << 3;
        QTest::newRow("most words") << QStringList{"--words", "12"} << 0 << 12;
    }

    // One value on standard output and nothing else; no file and no passphrase are asked for.
    void generate() {
        QFETCH(QStringList, args);
        QFETCH(int, length);
        QFETCH(int, words);
        const CliResult run = RunCli(QStringList{"generate"} + args);
        QCOMPARE(run.exitCode, 0);
        QVERIFY2(run.err.isEmpty(), qPrintable(run.err));
        QVERIFY(run.out.endsWith(u'\n'));
        const QString value = run.out.chopped(1);
        QVERIFY(!value.contains(u'\n'));
        if (words > 0) {
            const QStringList parts = value.split(QLatin1Char(password_generator::kWordSeparator));
            QCOMPARE(parts.size(), words);
            QSet<QString> known;
            for (const std::string_view w : password_generator::Words()) {
                known.insert(QString::fromLatin1(w.data(), static_cast<qsizetype>(w.size())));
            }
            for (const QString& part : parts) {
                QVERIFY2(known.contains(part), qPrintable(value));
            }
        } else {
            QCOMPARE(value.size(), length);
            const bool symbols = !args.contains(QLatin1String("--no-symbols"));
            QCOMPARE(std::any_of(value.begin(), value.end(), [](QChar c) { return !c.isLetterOrNumber(); }), symbols);
            if (args.contains(QLatin1String("--avoid-look-alike"))) {
                QVERIFY2(std::none_of(value.begin(), value.end(),
                                      [](QChar c) {
                                          return password_generator::kLookAlike.find(c.unicode()) !=
                                                 std::u16string_view::npos;
                                      }),
                         qPrintable(value));
            }
        }
        QVERIFY(RunCli(QStringList{"generate"} + args).out != run.out);
    }

    void generateRefusals_data() {
        QTest::addColumn<QStringList>("args");
        QTest::newRow("too short") << QStringList{"--length", "3"};
        QTest::newRow("too long") << QStringList{"--length", "129"};
        QTest::newRow("length not a number") << QStringList{"--length", "twenty"};
        QTest::newRow("too many words") << QStringList{"--words", "13"};
        QTest::newRow("words not a number") << QStringList{"--words", "5x"};
        QTest::newRow("words and length") << QStringList{"--words", "5", "--length", "20"};
        QTest::newRow("words without symbols") << QStringList{"--words", "5", "--no-symbols"};
        QTest::newRow("a file") << QStringList{"vault.nct"};
    }

    void generateRefusals() {
        QFETCH(QStringList, args);
        const CliResult run = RunCli(QStringList{"generate"} + args);
        QCOMPARE(run.exitCode, 2);
        QVERIFY(run.out.isEmpty());
        QVERIFY2(run.err.contains(QLatin1String("usage: noctaria-cli generate")), qPrintable(run.err));
    }
};

NCT_TEST_MAIN(TestCliSections)
#include "tst_cli_sections.moc"
