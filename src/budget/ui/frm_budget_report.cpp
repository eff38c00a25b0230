// The Budget's report: printed after a preview, or written as a PDF file.

#include "budget/budget_report.h"
#include "budget/ui/frm_budget.h"
#include "shell/session.h"
#include "shell/ui/list_controls.h"
#include "shell/ui/modal.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QFrame>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>

std::optional<budget::ReportData> frmBudget::reportData() {
    if (m_pinRefused) {
        return std::nullopt;
    }
    // What the lists show: private rows only while the private boxes show and ask for them.
    const bool privateColumns = withPrivateColumns();
    const bool privateCells = privateColumns && showCDBW[3]->isChecked();
    const budget::ReportRequest request{
        .budget = m_budget,
        .budgetName = cboBudget->currentText(),
        .from = m_period.from,
        .to = m_period.to,
        .payment = ctlPayment->currentIndex() < 0 ? budget::kPayModeAll : list_controls::GetSelectedId(ctlPayment),
        .categories = list_controls::Entries(cboCategories),
        .payments = list_controls::Entries(ctlPayment),
        .privateRecords = privateCells,
        .privateColumns = privateColumns,
        .privateCells = privateCells,
        .locale = QLocale(),
        .printed = QDateTime::currentDateTime()};
    std::optional<budget::ReportData> data = budget::GatherReport(m_session.store(), request);
    if (!data) {
        m_session.prompter.message(0, tr("The sums of this period are too large to be shown."), Prompter::Buttons::Ok,
                                   Prompter::Icon::Warning);
    }
    return data;
}

void frmBudget::printReport() {
    const std::optional<budget::ReportData> data = reportData();
    if (!data) {
        return;
    }
    QPrinter printer(QPrinter::HighResolution);
    budget::SetUpReportPage(printer);
    const modal::Scoped<QPrintPreviewDialog> preview(&printer, this);
    preview->setObjectName(QStringLiteral("dlgPrintPreview"));
    preview->setWindowTitle(tr("Print Preview"));
    connect(preview.get(), &QPrintPreviewDialog::paintRequested, this,
            [&data](QPrinter* target) { budget::PaintReport(*target, *data); });
    // The preview's own Print offers to print into a file that anyone might read: here it only closes the
    // preview, and the printing follows through a print dialog without that choice.
    bool printWanted = false;
    for (QAction* a : preview->findChildren<QAction*>()) {
        if (QObject::disconnect(a, SIGNAL(triggered(bool)), preview.get(), SLOT(_q_print()))) {
            connect(a, &QAction::triggered, preview.get(), [&printWanted, dialog = preview.get()] {
                printWanted = true;
                dialog->accept();
            });
        }
    }
    if (preview.exec() != QDialog::Accepted || !printWanted) {
        return;
    }
    const modal::Scoped<QPrintDialog> dialog(&printer, this);
    dialog->setObjectName(QStringLiteral("dlgPrint"));
    dialog->setOption(QAbstractPrintDialog::PrintToFile, false);
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    if (printer.outputFormat() != QPrinter::NativeFormat || !printer.outputFileName().isEmpty()) {
        m_session.prompter.message(0,
                                   tr("No printer was chosen. Export as PDF writes the report into a file that only "
                                      "your user account may open."),
                                   Prompter::Buttons::Ok, Prompter::Icon::Information);
        return;
    }
    budget::PaintReport(printer, *data);
}

void frmBudget::exportReportPdf() {
    Store& store = m_session.store();
    if (m_pinRefused) {
        return;
    }
    QString path = store.prompter.chooseNewFile(tr("Export as PDF"), tr("PDF files (*.pdf)"));
    if (path.isEmpty()) {
        return;
    }
    if (QFileInfo(path).suffix().isEmpty()) {
        path += QStringLiteral(".pdf");
    }
    const std::optional<budget::ReportData> data = reportData();
    if (!data) {
        return;
    }
    if (const QString failure = budget::WriteReportPdf(path, *data); !failure.isEmpty()) {
        store.prompter.message(0, tr("The file %1 could not be written: %2").arg(path, failure), Prompter::Buttons::Ok,
                               Prompter::Icon::Critical);
        return;
    }
    store.prompter.message(0, budget::ReportNotice(path), Prompter::Buttons::Ok, Prompter::Icon::Information);
}
