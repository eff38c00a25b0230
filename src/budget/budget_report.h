#pragma once

#include "budget/budget_lists.h"
#include "shell/list_entry.h"

#include <QDate>
#include <QDateTime>
#include <QLocale>
#include <QString>
#include <QStringList>
#include <QVector>

#include <optional>

class QPagedPaintDevice;
class Store;

// The printed report of a budget over a period: its transactions as the month list reads them and its balance
// as the Balance tab shows it. The same painting serves the printer, its preview and the PDF file, so the three
// never disagree; its texts are made before, by whoever asks for it.
namespace budget {

struct ReportRequest {
    int budget = 0;
    QString budgetName;
    QDate from;
    QDate to;
    int payment = kPayModeAll;
    ListEntries categories;      // the category filter's entries
    ListEntries payments;        // the payment entries, "All" and "N.S." first
    bool privateRecords = false; // private transactions and their mark are printed
    bool privateColumns = false; // the balance has its private and total columns
    bool privateCells = false;   // ... and its category rows fill them
    QLocale locale;
    QDateTime printed;
};

struct ReportColumnGroup {
    QString text;
    int first = 0;
    int count = 0;
};

struct ReportTable {
    QString title;
    QStringList headers;
    QVector<ReportColumnGroup> groups; // a heading row above `headers`, for columns that belong together
    QVector<int> alignments;           // Qt::Alignment of each column
    QVector<bool> wraps;               // columns whose texts may take more lines rather than their full width
    int stretch = 0;                   // the column that takes the width the others leave
    QVector<QStringList> rows;
    QStringList totals; // a last line in bold; none when empty
    QString emptyText;  // said instead of rows when there are none
};

struct ReportData {
    QString title;
    QStringList heading; // the lines under the title: period, payment mode, date printed
    QString footer;      // beside the page number on every page
    ReportTable transactions;
    ReportTable balance;
};

// The report's texts from the file; absent when the balance's sums overflow.
std::optional<ReportData> GatherReport(Store& store, const ReportRequest& request);

// The page the report is laid out for: landscape, so that every column of the balance fits.
void SetUpReportPage(QPagedPaintDevice& device);
// Paints the report onto `device`, one page after another; every page numbered "Page k of n", a table's column
// headings again on each page it continues on. Returns the number of pages.
int PaintReport(QPagedPaintDevice& device, const ReportData& data);
// Writes the report as a PDF file readable by its owner alone; empty, or why it could not be written.
QString WriteReportPdf(const QString& path, const ReportData& data);
// What the person is told after the PDF was written.
QString ReportNotice(const QString& path);

} // namespace budget
