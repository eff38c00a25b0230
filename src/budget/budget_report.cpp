#include "budget/budget_report.h"

#include "base/messages.h"
#include "budget/totals.h"
#include "budget/transaction_list.h"
#include "shell/dates.h"
#include "shell/export_file.h"
#include "store/store.h"

#include <QBuffer>
#include <QDir>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPageLayout>
#include <QPainter>
#include <QPdfWriter>

#include <algorithm>
#include <numeric>

namespace budget {

namespace {

constexpr int kLeft = Qt::AlignLeft;
constexpr int kRight = Qt::AlignRight;
constexpr int kCentre = Qt::AlignHCenter;

ReportTable TransactionTable(Store& store, const ReportRequest& request, const BalanceQuery& query) {
    ReportTable table;
    table.title = QStringLiteral("Transactions");
    table.emptyText = QStringLiteral("No transactions in this period.");
    QVector<int> columns;
    for (int c = colDate; c <= colCategory; ++c) {
        if (c == colPrivate && !request.privateRecords) {
            continue;
        }
        columns << c;
        table.headers << MsgText(340 + c);
        table.alignments << (c == colCredit || c == colDebit   ? kRight
                             : c == colPrivate || c == colNote ? kCentre
                                                               : kLeft);
        table.wraps << (c == colItem || c == colPartner || c == colCategory || c == colPayment);
    }
    table.stretch = static_cast<int>(columns.indexOf(colItem));
    const ListContext context{request.categories, request.payments, request.privateRecords, request.locale};
    for (const Transaction& t : DecodeTransactions(store.cry.KeyPool(), ReadBalanceRows(store, query))) {
        if ((query.payment != kPayModeAll && t.payMode != query.payment) || (t.isPrivate && !request.privateRecords)) {
            continue;
        }
        // A category deleted since reads as "Unfiled", as the list shows it; the report changes nothing.
        const QString category = CategoryText(request.categories, t.category)
                                     .value_or(CategoryText(request.categories, 0).value_or(MsgText(66)));
        const QStringList texts = ListRowTexts(t, category, context);
        QStringList row;
        for (const int c : columns) {
            row << texts[c].trimmed();
        }
        table.rows << row;
    }
    return table;
}

std::optional<ReportTable> BalanceTable(Store& store, const ReportRequest& request, const BalanceQuery& query) {
    const Balance balance = RefreshTotals(store, query, BalanceCategories(request.categories));
    const std::optional<QStringList> totals = ResultTexts(balance, request.privateColumns, request.locale);
    if (!totals) {
        return std::nullopt;
    }
    ReportTable table;
    table.title = QStringLiteral("Balance");
    const QVector<int> visible = VisibleBalanceColumns(request.privateColumns);
    const QStringList headers = BalanceHeaders(request.privateColumns);
    for (const int c : visible) {
        table.headers << headers[c];
        table.alignments << (c == 0 ? kLeft : kRight);
        table.wraps << (c == 0);
    }
    if (request.privateColumns) {
        table.groups = {{MsgText(350), 1, 3}, {MsgText(351), 4, 3}, {MsgText(352), 7, 3}};
    }
    for (int p = 0; p < balance.categories.size(); ++p) {
        const std::optional<QStringList> texts = BalanceRowTexts(balance, p, request.privateCells, request.locale);
        if (!texts) {
            return std::nullopt;
        }
        QStringList row;
        for (const int c : visible) {
            row << (*texts)[c];
        }
        table.rows << row;
    }
    table.totals << MsgText(270);
    for (const int c : visible.mid(1)) {
        table.totals << (*totals)[c - 1].trimmed();
    }
    return table;
}

// Lays the report out page by page. Without a painter it only measures, which gives the page count that the
// painting pass writes under every page.
class Layout {
public:
    Layout(QPagedPaintDevice& device, const ReportData& data, QPainter* painter, int pages)
        : m_device(device)
        , m_data(data)
        , m_painter(painter)
        , m_pages(pages)
        , m_body(Font(9, false))
        , m_bold(Font(9, true))
        , m_footerFont(Font(8, false))
        , m_width(device.width())
        , m_bottom(device.height() - QFontMetricsF(m_footerFont, &device).height() - mm(3)) {}

    int run() {
        heading();
        table(m_data.transactions);
        table(m_data.balance);
        footer();
        return m_page;
    }

private:
    static QFont Font(double points, bool bold) {
        QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
        font.setPointSizeF(points);
        font.setBold(bold);
        return font;
    }
    double mm(double length) const { return length * m_device.logicalDpiY() / 25.4; }
    double lineHeight(const QFont& font) const { return QFontMetricsF(font, &m_device).height(); }
    double advance(const QFont& font, const QString& text) const {
        return QFontMetricsF(font, &m_device).horizontalAdvance(text);
    }

    void newPage() {
        footer();
        if (m_painter != nullptr) {
            m_device.newPage();
        }
        ++m_page;
        m_y = 0;
    }

    void footer() {
        if (m_painter == nullptr) {
            return;
        }
        const QFontMetricsF metrics(m_footerFont, &m_device);
        const QRectF line(0, m_device.height() - metrics.height(), m_width, metrics.height());
        m_painter->setFont(m_footerFont);
        m_painter->setPen(Qt::darkGray);
        m_painter->drawLine(line.topLeft() - QPointF(0, mm(1)), line.topRight() - QPointF(0, mm(1)));
        const QString number = QStringLiteral("Page %1 of %2").arg(m_page).arg(m_pages);
        m_painter->drawText(line, Qt::AlignRight | Qt::AlignVCenter, number);
        const double room = m_width - metrics.horizontalAdvance(number) - mm(10);
        m_painter->drawText(line, Qt::AlignLeft | Qt::AlignVCenter,
                            metrics.elidedText(m_data.footer, Qt::ElideRight, room));
        m_painter->setPen(Qt::black);
    }

    void text(const QString& line, const QFont& font, double after = 0) {
        const QFontMetricsF metrics(font, &m_device);
        const QRectF bounds =
            metrics.boundingRect(QRectF(0, 0, m_width, m_bottom), Qt::AlignLeft | Qt::TextWordWrap, line);
        if (m_y + bounds.height() > m_bottom) {
            newPage();
        }
        if (m_painter != nullptr) {
            m_painter->setFont(font);
            m_painter->drawText(QRectF(0, m_y, m_width, bounds.height()), Qt::AlignLeft | Qt::TextWordWrap, line);
        }
        m_y += bounds.height() + after;
    }

    void heading() {
        text(m_data.title, Font(15, true), mm(1));
        for (const QString& line : m_data.heading) {
            text(line, m_body);
        }
        m_y += mm(2);
        if (m_painter != nullptr) {
            m_painter->setPen(QPen(Qt::black, mm(0.3)));
            m_painter->drawLine(QPointF(0, m_y), QPointF(m_width, m_y));
            m_painter->setPen(Qt::black);
        }
        m_y += mm(3);
    }

    // Every column as wide as its widest text; the stretching column takes what is left over. When that is too
    // wide, only the columns whose texts wrap give way, the narrow ones keeping their width; amounts never wrap.
    QVector<double> widths(const ReportTable& t) const {
        const int count = static_cast<int>(t.headers.size());
        QVector<double> natural(count);
        for (int c = 0; c < count; ++c) {
            double widest = advance(m_bold, t.headers[c]);
            for (const QStringList& row : t.rows) {
                widest = std::max(widest, advance(m_body, row[c]));
            }
            if (c < t.totals.size()) {
                widest = std::max(widest, advance(m_bold, t.totals[c]));
            }
            // Amounts take the room of a large one, so that the columns of both tables line up alike.
            if (t.alignments[c] == kRight) {
                widest = std::max(widest, advance(m_body, QStringLiteral("-0,000,000.00")));
            }
            // A hair more than the text, so that measuring again inside the cell never breaks it.
            natural[c] = widest + 2 * pad() + mm(0.5);
        }
        QVector<double> result = natural;
        const double total = std::accumulate(natural.begin(), natural.end(), 0.0);
        if (total <= m_width) {
            result[t.stretch] += m_width - total;
            return result;
        }
        QVector<int> giving;
        double room = m_width;
        for (int c = 0; c < count; ++c) {
            if (t.wraps[c]) {
                giving << c;
            } else {
                room -= natural[c];
            }
        }
        std::sort(giving.begin(), giving.end(), [&](int a, int b) { return natural[a] < natural[b]; });
        for (qsizetype i = 0; i < giving.size(); ++i) {
            const double share = std::max(room / static_cast<double>(giving.size() - i), mm(12));
            result[giving[i]] = std::min(natural[giving[i]], share);
            room -= result[giving[i]];
        }
        return result;
    }

    double pad() const { return mm(1.2); }

    double rowHeight(const ReportTable& t, const QStringList& row, const QVector<double>& w, const QFont& font) const {
        const QFontMetricsF metrics(font, &m_device);
        double height = metrics.height();
        for (int c = 0; c < row.size(); ++c) {
            if (t.wraps[c]) {
                const QRectF cell(0, 0, w[c] - 2 * pad(), m_bottom);
                height =
                    std::max(height, metrics.boundingRect(cell, Qt::TextWordWrap | t.alignments[c], row[c]).height());
            }
        }
        return height + pad();
    }

    void row(const ReportTable& t, const QStringList& cells, const QVector<double>& w, const QFont& font,
             double height) {
        if (m_painter == nullptr) {
            return;
        }
        m_painter->setFont(font);
        double x = 0;
        for (int c = 0; c < cells.size(); ++c) {
            const int flags = t.alignments[c] | Qt::AlignTop | (t.wraps[c] ? Qt::TextWordWrap : 0);
            m_painter->drawText(QRectF(x + pad(), m_y + pad() / 2, w[c] - 2 * pad(), height - pad()), flags, cells[c]);
            x += w[c];
        }
    }

    void rule(const QColor& colour) {
        if (m_painter != nullptr) {
            m_painter->setPen(QPen(colour, mm(0.15)));
            m_painter->drawLine(QPointF(0, m_y), QPointF(m_width, m_y));
            m_painter->setPen(Qt::black);
        }
    }

    double headerHeight(const ReportTable& t, const QVector<double>& w) const {
        return (t.groups.isEmpty() ? 0 : lineHeight(m_bold) + pad()) + rowHeight(t, t.headers, w, m_bold);
    }

    void header(const ReportTable& t, const QVector<double>& w) {
        if (m_painter != nullptr) {
            m_painter->fillRect(QRectF(0, m_y, m_width, headerHeight(t, w)), QColor(228, 228, 228));
        }
        if (!t.groups.isEmpty()) {
            const double groupHeight = lineHeight(m_bold) + pad();
            for (const ReportColumnGroup& group : t.groups) {
                const double x = std::accumulate(w.begin(), w.begin() + group.first, 0.0);
                const double span =
                    std::accumulate(w.begin() + group.first, w.begin() + group.first + group.count, 0.0);
                if (m_painter != nullptr) {
                    m_painter->setFont(m_bold);
                    m_painter->drawText(QRectF(x, m_y, span, groupHeight), Qt::AlignCenter, group.text);
                    m_painter->setPen(QPen(Qt::darkGray, mm(0.15)));
                    m_painter->drawLine(QPointF(x + pad(), m_y + groupHeight),
                                        QPointF(x + span - pad(), m_y + groupHeight));
                    m_painter->setPen(Qt::black);
                }
            }
            m_y += groupHeight;
        }
        const double height = rowHeight(t, t.headers, w, m_bold);
        row(t, t.headers, w, m_bold, height);
        m_y += height;
        rule(Qt::black);
    }

    void table(const ReportTable& t) {
        m_y += mm(4);
        const QVector<double> w = widths(t);
        const QFont titleFont = Font(11.5, true);
        const double title = lineHeight(titleFont) + mm(1.5);
        const double first = t.rows.isEmpty() ? lineHeight(m_body) : rowHeight(t, t.rows.first(), w, m_body);
        // A table's title and headings never stand alone at the foot of a page.
        if (m_y > 0 && m_y + title + headerHeight(t, w) + first > m_bottom) {
            newPage();
        }
        text(t.title, titleFont, mm(1.5));
        header(t, w);
        if (t.rows.isEmpty()) {
            m_y += pad();
            text(t.emptyText, m_body);
        }
        for (qsizetype i = 0; i < t.rows.size(); ++i) {
            const double height = rowHeight(t, t.rows[i], w, m_body);
            if (m_y + height > m_bottom) {
                newPage();
                header(t, w);
            }
            row(t, t.rows[i], w, m_body, height);
            m_y += height;
            rule(QColor(200, 200, 200));
        }
        if (!t.totals.isEmpty()) {
            const double height = rowHeight(t, t.totals, w, m_bold);
            if (m_y + height > m_bottom) {
                newPage();
                header(t, w);
            }
            rule(Qt::black);
            row(t, t.totals, w, m_bold, height);
            m_y += height;
        }
    }

    QPagedPaintDevice& m_device;
    const ReportData& m_data;
    QPainter* m_painter;
    int m_pages;
    QFont m_body;
    QFont m_bold;
    QFont m_footerFont;
    double m_width;
    double m_bottom;
    int m_page = 1;
    double m_y = 0;
};

} // namespace

std::optional<ReportData> GatherReport(Store& store, const ReportRequest& request) {
    ReportData data;
    const QString period =
        QStringLiteral("%1 \u2013 %2")
            .arg(dates::ShortDate(request.from, request.locale), dates::ShortDate(request.to, request.locale));
    data.title = request.budgetName;
    data.heading << QStringLiteral("Period: %1").arg(period);
    if (const int payment = IndexOfItemData(request.payments, request.payment);
        request.payment != kPayModeAll && payment >= 0) {
        data.heading << QStringLiteral("Payment: %1").arg(request.payments[payment].text.trimmed());
    }
    data.heading << QStringLiteral("Printed: %1").arg(dates::ShortDateTime(request.printed, request.locale));
    data.footer = QStringLiteral("%1 \u00b7 %2").arg(request.budgetName, period);
    const BalanceQuery query{request.budget, request.from, request.to, request.payment};
    data.transactions = TransactionTable(store, request, query);
    std::optional<ReportTable> balance = BalanceTable(store, request, query);
    if (!balance) {
        return std::nullopt;
    }
    data.balance = *balance;
    return data;
}

void SetUpReportPage(QPagedPaintDevice& device) {
    device.setPageOrientation(QPageLayout::Landscape);
    device.setPageMargins(QMarginsF(12, 12, 12, 10), QPageLayout::Millimeter);
}

int PaintReport(QPagedPaintDevice& device, const ReportData& data) {
    const int pages = Layout(device, data, nullptr, 0).run();
    QPainter painter;
    if (!painter.begin(&device)) {
        return 0;
    }
    Layout(device, data, &painter, pages).run();
    painter.end();
    return pages;
}

QString WriteReportPdf(const QString& path, const ReportData& data) {
    // The pages are made in memory and written in one go, so that the file is the owner's from its first byte.
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    {
        QPdfWriter writer(&buffer);
        writer.setTitle(data.title);
        writer.setCreator(QStringLiteral("Noctaria"));
        SetUpReportPage(writer);
        if (PaintReport(writer, data) == 0) {
            return QStringLiteral("the pages could not be made");
        }
    }
    return exports::WriteExportFile(path, buffer.data());
}

QString ReportNotice(const QString& path) {
    return exports::ExportNotice(QStringLiteral("The report was"), QDir::toNativeSeparators(path));
}

} // namespace budget
