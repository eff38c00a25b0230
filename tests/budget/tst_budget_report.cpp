#include "budget/budget_lists.h"
#include "budget/transaction.h"
#include "sections/all_sections.h"
#include "sections/categories/categories.h"
#include "shell/ui/frm_mdi.h"
#include "support/cli_runner.h"
#include "support/gui.h"

#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrintPreviewWidget>

#include <memory>

namespace {

const QString kPass = QStringLiteral("report pass 7");
constexpr int kDailyRows = 180;

void Add(Store& store, const QDate& day, qint64 cents, bool debit, const QString& item, int category,
         bool isPrivate = false) {
    budget::Transaction t = budget::ClearTransaction(0, category, day);
    t.description = item;
    t.amount = Currency{cents * 100};
    t.isPrivate = isPrivate;
    t.dcwb = (debit ? budget::kDebitBit : 0) + (isPrivate ? budget::kPrivateBit : 0);
    QVERIFY(budget::StoreTransaction(store, 0, t).ok());
}

// A few transactions in March 2024, one of them private, and a debit every other day of 2023.
void Seed(Store& store) {
    QVERIFY(budget::LoadBudgets(store).has_value());
    QCOMPARE(categories::SaveCategoryText(store, QStringLiteral("Food;1;Rent;2"), 17, 0), 0);
    Add(store, QDate(2024, 3, 5), 123456, false, QStringLiteral("Salary March"), 2);
    Add(store, QDate(2024, 3, 10), 1234, true, QStringLiteral("Corner shop"), 1);
    Add(store, QDate(2024, 3, 15), 725, true, QStringLiteral("Secret gift"), 1, true);
    for (int i = 0; i < kDailyRows; ++i) {
        Add(store, QDate(2023, 1, 1).addDays(2 * i), 100 + i, true, QStringLiteral("Daily bread %1").arg(i + 1), 1);
    }
    Add(store, QDate::currentDate(), 4200, false, QStringLiteral("Found coins"), 0);
}

QString Run(const QString& program, const QStringList& args) {
    QProcess process;
    process.start(program, args);
    process.waitForFinished(60000);
    return QString::fromUtf8(process.readAllStandardOutput());
}

int PageCount(const QString& pdf) {
    const QRegularExpressionMatch pages =
        QRegularExpression(QStringLiteral("^Pages:\\s+(\\d+)$"), QRegularExpression::MultilineOption)
            .match(Run(QStringLiteral("pdfinfo"), {pdf}));
    return pages.hasMatch() ? pages.captured(1).toInt() : 0;
}

// The text of page `page`, or of all pages with 0.
QString PdfText(const QString& pdf, int page = 0) {
    QStringList args;
    if (page > 0) {
        args << QStringLiteral("-f") << QString::number(page) << QStringLiteral("-l") << QString::number(page);
    }
    return Run(QStringLiteral("pdftotext"), args << pdf << QStringLiteral("-"));
}

bool OwnerOnly(const QString& path) {
    return QFileInfo(path).permissions() == (QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser);
}

} // namespace

// The budget's PDF report as the command line writes it and as the frame's File menu writes it.
class TestBudgetReport : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_file;

    CliResult report(const QString& from, const QString& to, const QString& out, const QStringList& more = {}) const {
        return RunCli(QStringList{"budget", "report", m_file, "--budget", "0", "--from", from, "--to", to} + more +
                          QStringList{out},
                      kPass.toUtf8() + '\n', m_dir.path());
    }

private Q_SLOTS:
    void initTestCase() {
        // The command line writes dates and amounts in the locale it finds.
        qputenv("LC_ALL", "en_US.UTF-8");
        m_file = MadeDatabase(m_dir.filePath(QStringLiteral("report.nct")), kPass, Seed);
        QVERIFY(!m_file.isEmpty());
    }

    void shortPeriod_data() {
        QTest::addColumn<bool>("showPrivate");
        QTest::newRow("private hidden") << false;
        QTest::newRow("private shown") << true;
    }

    void shortPeriod() {
        QFETCH(bool, showPrivate);
        const QString out = m_dir.filePath(QStringLiteral("march.pdf"));
        const CliResult run = report(QStringLiteral("2024-03-01"), QStringLiteral("2024-03-31"), out,
                                     showPrivate ? QStringList{"--show-private"} : QStringList());
        QVERIFY2(run.exitCode == 0, qPrintable(run.err));
        QVERIFY(run.err.contains(QLatin1String("not encrypted")));
        QVERIFY(OwnerOnly(out));
        QCOMPARE(PageCount(out), 1);
        const QString text = PdfText(out);
        for (const char* expected : {"Budget 1", "3/1/2024", "3/31/2024", "Salary March", "1,234.56", "Corner shop",
                                     "12.34", "Rent", "Page 1 of 1"}) {
            QVERIFY2(text.contains(QLatin1String(expected)), expected);
        }
        QVERIFY(!text.contains(QLatin1String("Daily bread")));
        QCOMPARE(text.contains(QLatin1String("Secret gift")), showPrivate);
        QCOMPARE(text.contains(QLatin1String("7.25")), showPrivate);
        // The balance as the tab shows it: public sums alone, or public, private and total.
        QVERIFY(text.contains(showPrivate ? QLatin1String("1214.97") : QLatin1String("1222.22")));
    }

    void longPeriodRepeatsItsHeadings() {
        const QString out = m_dir.filePath(QStringLiteral("2023.pdf"));
        const CliResult run = report(QStringLiteral("2023-01-01"), QStringLiteral("2023-12-31"), out);
        QVERIFY2(run.exitCode == 0, qPrintable(run.err));
        const int pages = PageCount(out);
        QVERIFY2(pages >= 3, qPrintable(QString::number(pages)));
        for (int k = 1; k <= pages; ++k) {
            const QString text = PdfText(out, k);
            QVERIFY2(text.contains(QStringLiteral("Page %1 of %2").arg(k).arg(pages)), qPrintable(text));
            if (text.contains(QLatin1String("Daily bread"))) {
                QVERIFY2(text.contains(QLatin1String("Biz-Partner")) && text.contains(QLatin1String("Credit")),
                         qPrintable(QString::number(k)));
            }
        }
        // Every row once, none lost or doubled at a page break, and the year's debits summed to the cent.
        const QString all = PdfText(out);
        QCOMPARE(all.count(QRegularExpression(QStringLiteral("Daily bread \\d+\\b"))), kDailyRows);
        QVERIFY(all.contains(QLatin1String("Daily bread 180")));
        const qint64 cents = kDailyRows * 100 + kDailyRows * (kDailyRows - 1) / 2;
        QVERIFY(all.contains(QStringLiteral("%1.%2").arg(cents / 100).arg(cents % 100, 2, 10, QLatin1Char('0'))));
    }

    void refusals_data() {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QString>("message");
        QTest::newRow("no such day") << QStringList{"--budget", "0", "--from", "2024-02-30", "--to", "2024-03-31"}
                                     << "--from takes a date as YYYY-MM-DD";
        QTest::newRow("not a date") << QStringList{"--budget", "0", "--from", "2024-03-01", "--to", "31.03.2024"}
                                    << "--to takes a date as YYYY-MM-DD";
        QTest::newRow("from after to") << QStringList{"--budget", "0", "--from", "2024-04-01", "--to", "2024-03-31"}
                                       << "after its end";
        QTest::newRow("unknown budget") << QStringList{"--budget", "9", "--from", "2024-03-01", "--to", "2024-03-31"}
                                        << "there is no budget 9";
        QTest::newRow("unknown payment mode")
            << QStringList{"--budget", "0", "--from", "2024-03-01", "--to", "2024-03-31", "--payment", "Gold"}
            << "no payment mode \"Gold\"";
    }

    void refusals() {
        QFETCH(QStringList, args);
        QFETCH(QString, message);
        const QString out = m_dir.filePath(QStringLiteral("refused.pdf"));
        const CliResult run =
            RunCli(QStringList{"budget", "report", m_file} + args + QStringList{out}, kPass.toUtf8() + '\n');
        QVERIFY(run.exitCode != 0);
        QVERIFY2(run.err.contains(message), qPrintable(run.err));
        QVERIFY(!QFileInfo::exists(out));
    }

    // The frame's entries stand ready with the Budget only; the PDF goes where the save dialog said, and the preview
    // shows the same pages.
    void exportAndPrintFromTheFileMenu() {
        QSettings settings(QStringLiteral("Marrowline"), QStringLiteral("Noctaria"));
        settings.setValue(QStringLiteral("Startup/ShowTipsAtStartup"), QStringLiteral("0"));
        settings.setValue(QStringLiteral("MostRecentFiles/1"), m_file);
        ScriptedPrompter prompter;
        Session session{prompter};
        frmMDI::Options options;
        options.sectionList = QStringLiteral("0");
        options.sectionForms = AllSectionForms();
        options.instanceLockPath = m_dir.filePath(QStringLiteral("instance.lock"));
        auto frame = std::make_unique<frmMDI>(session, prompter, options);
        session.setFrame(frame.get());
        prompter.passphrases << kPass;
        QVERIFY(frame->Load() && session.DbIsOpen);
        auto* exportPdf = frame->findChild<QAction*>(QStringLiteral("mnuFileExportPdf"));
        auto* print = frame->findChild<QAction*>(QStringLiteral("mnuFilePrint"));
        QVERIFY(!exportPdf->isEnabled() && !print->isEnabled());
        frame->GotoSection(14);
        QVERIFY(!exportPdf->isEnabled());
        QVERIFY(frame->GotoSection(17));
        QVERIFY(exportPdf->isEnabled() && print->isEnabled());

        const QString path = m_dir.filePath(QStringLiteral("from-menu"));
        prompter.newFile = path;
        exportPdf->trigger();
        const QString pdf = path + QStringLiteral(".pdf");
        QVERIFY(OwnerOnly(pdf));
        QVERIFY(prompter.shown.last().text.contains(QLatin1String("not encrypted")));
        QVERIFY(PdfText(pdf).contains(QLatin1String("Found coins")));

        // The preview pages as the file does; its Print goes on to a print dialog that offers no file.
        int previewPages = 0;
        bool printToFile = true;
        WhenModal<QPrintPreviewDialog>([&](QPrintPreviewDialog* preview) {
            previewPages = preview->findChild<QPrintPreviewWidget*>()->pageCount();
            WhenModal<QPrintDialog>([&printToFile](QPrintDialog* dialog) {
                printToFile = dialog->testOption(QAbstractPrintDialog::PrintToFile);
                dialog->reject();
            });
            for (QAction* a : preview->findChildren<QAction*>()) {
                if (a->text() == QLatin1String("Print")) {
                    a->trigger();
                }
            }
        });
        print->trigger();
        ForgetModalWaits();
        QCOMPARE(previewPages, PageCount(pdf));
        QVERIFY(!printToFile);

        frame->GotoSection(0);
        QVERIFY(!exportPdf->isEnabled() && !print->isEnabled());
        session.setFrame(nullptr);
        frame.reset();
    }
};

NCT_GUI_TEST_MAIN(TestBudgetReport)
#include "tst_budget_report.moc"
