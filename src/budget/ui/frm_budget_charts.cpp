#include "budget/ui/frm_budget_charts.h"

#include "base/messages.h"
#include "budget/amounts.h"
#include "shell/dates.h"
#include "shell/session.h"
#include "shell/ui/named_control.h"

#include <QBarCategoryAxis>
#include <QBarSeries>
#include <QBarSet>
#include <QChart>
#include <QChartView>
#include <QComboBox>
#include <QCoreApplication>
#include <QCursor>
#include <QEvent>
#include <QHBoxLayout>
#include <QHorizontalBarSeries>
#include <QLabel>
#include <QLegend>
#include <QLineSeries>
#include <QPieSeries>
#include <QPieSlice>
#include <QToolTip>
#include <QVBoxLayout>
#include <QValueAxis>

#include <algorithm>
#include <array>

namespace {

// Each of these stands out at least 3:1 against a white and against a near-black background, so the charts read
// the same in a light and a dark theme.
constexpr QRgb kCredit = 0x2E9E48;
constexpr QRgb kDebit = 0xD9453B;
constexpr QRgb kBalance = 0x3A7BD5;
constexpr std::array<QRgb, 10> kSliceColours = {0x3E7FC1, 0xE07B00, 0xE15759, 0x1F9E89, 0x59A14F,
                                                0xB8860B, 0xB07AA1, 0x9C755F, 0x8E6BBF, 0x808080};
// Beyond this many months the month names stand upright so that they do not run into each other.
constexpr qsizetype kLevelMonthLabels = 12;

// Whole numbers on the axis unless its steps are smaller than one.
void NiceAmountLabels(QValueAxis* axis) {
    axis->applyNiceNumbers();
    const double step = (axis->max() - axis->min()) / std::max(1, axis->tickCount() - 1);
    axis->setLabelFormat(step >= 1 ? QStringLiteral("%.0f") : QStringLiteral("%.2f"));
}

void ResetChart(QChart* chart) {
    chart->removeAllSeries();
    for (QAbstractAxis* axis : chart->axes()) {
        chart->removeAxis(axis);
        delete axis;
    }
}

QChartView* NewChartView(QWidget* parent, const QString& name) {
    auto* view = Named<QChartView>(parent, name);
    view->setRenderHint(QPainter::Antialiasing);
    view->chart()->setLocalizeNumbers(true);
    view->chart()->setBackgroundRoundness(0);
    return view;
}

bool HasAmounts(const budget::MonthSums& m) {
    return m.credit.units != 0 || m.debit.units != 0;
}

QString MonthTip(const budget::MonthSums& m) {
    return QStringLiteral("%1\n%2 %3\n%4 %5\n%6 %7")
        .arg(QLocale().toString(m.month, QStringLiteral("MMMM yyyy")), MsgText(350),
             budget::FormatAmount(m.credit, false), MsgText(351), budget::FormatAmount(m.debit, false), MsgText(352),
             budget::FormatAmount(m.balance, false));
}

} // namespace

frmBudgetCharts::frmBudgetCharts(Session& session, QWidget* parent)
    : QWidget(parent)
    , m_session(session) {
    setObjectName(QStringLiteral("picCharts"));
    auto* layout = new QVBoxLayout(this);
    auto* bar = new QHBoxLayout;
    lblChartKind = Named<QLabel>(this, QStringLiteral("lblChartKind"));
    cboChartKind = Named<QComboBox>(this, QStringLiteral("cboChartKind"));
    cboChartKind->addItem(tr("Bars"), Bars);
    cboChartKind->addItem(tr("Pie"), Pie);
    bar->addWidget(lblChartKind);
    bar->addWidget(cboChartKind);
    bar->addStretch();
    lblChartPeriod = Named<QLabel>(this, QStringLiteral("lblChartPeriod"));
    bar->addWidget(lblChartPeriod);
    layout->addLayout(bar);

    picChartViews = Named<QWidget>(this, QStringLiteral("picChartViews"));
    auto* views = new QHBoxLayout(picChartViews);
    views->setContentsMargins(0, 0, 0, 0);
    chtCategories = NewChartView(picChartViews, QStringLiteral("chtCategories"));
    chtMonths = NewChartView(picChartViews, QStringLiteral("chtMonths"));
    views->addWidget(chtCategories, 2);
    views->addWidget(chtMonths, 3);
    layout->addWidget(picChartViews, 1);

    lblNoData = Named<QLabel>(this, QStringLiteral("lblNoData"));
    lblNoData->setAlignment(Qt::AlignCenter);
    lblNoData->hide();
    layout->addWidget(lblNoData, 1);

    connect(cboChartKind, qOverload<int>(&QComboBox::currentIndexChanged), this, [this] {
        if (!m_stale && !picChartViews->isHidden()) {
            drawCategories();
        }
    });
}

void frmBudgetCharts::showBalance(const budget::Balance& balance, const budget::BalanceQuery& query, bool withPrivate) {
    m_balance = balance;
    m_query = query;
    m_withPrivate = withPrivate;
    lblChartPeriod->setText(QStringLiteral("%1 - %2").arg(dates::ShortDate(query.from), dates::ShortDate(query.to)));
    // The former figures go at once: they may hold private sums that are no longer to be shown.
    m_debits = {};
    m_months = {};
    clearCharts();
    m_stale = true;
    if (isVisible()) {
        refresh();
    }
}

void frmBudgetCharts::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (m_stale) {
        refresh();
    }
}

void frmBudgetCharts::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && !m_stale) {
        draw();
    }
}

void frmBudgetCharts::refresh() {
    m_stale = false;
    m_debits = budget::DebitsByCategory(m_balance, m_withPrivate);
    m_months = m_debits.overflow
                   ? budget::MonthlySums{{}, true}
                   : budget::MonthlyBalance(m_session.store(), m_query, m_balance.categories, m_withPrivate);
    draw();
}

void frmBudgetCharts::draw() {
    const bool overflow = m_debits.overflow || m_months.overflow;
    if (overflow || m_months.empty()) {
        clearCharts();
        lblNoData->setText(
            overflow ? QCoreApplication::translate("frmBudget", "The sums of this period are too large to be shown.")
                     : tr("No transactions in this period"));
        picChartViews->hide();
        lblNoData->show();
        return;
    }
    lblNoData->hide();
    picChartViews->show();
    drawCategories();
    drawMonths();
}

void frmBudgetCharts::clearCharts() {
    for (QChartView* view : {chtCategories, chtMonths}) {
        ResetChart(view->chart());
    }
}

void frmBudgetCharts::drawCategories() {
    QChart* chart = chtCategories->chart();
    ResetChart(chart);
    const QVector<budget::CategoryDebit>& debits = m_debits.categories;
    chart->setTitle(debits.isEmpty() ? tr("No debits in this period") : tr("Debits by category"));
    QStringList tips;
    for (const budget::CategoryDebit& c : debits) {
        tips << QStringLiteral("%1\n%2").arg(c.name, budget::FormatAmount(c.amount, false));
    }
    if (cboChartKind->currentData().toInt() == Pie) {
        auto* series = new QPieSeries;
        for (qsizetype i = 0; i < debits.size(); ++i) {
            QPieSlice* slice = series->append(debits[i].name, debits[i].amount.toDouble());
            connect(slice, &QPieSlice::hovered, this, [this, slice, tip = tips[i]](bool shown) {
                slice->setExploded(shown);
                showTip(shown, tip);
            });
        }
        chart->addSeries(series);
        for (qsizetype i = 0; i < debits.size(); ++i) {
            QPieSlice* slice = series->slices().at(i);
            slice->setColor(QColor(kSliceColours[static_cast<std::size_t>(i) % kSliceColours.size()]));
            slice->setBorderColor(palette().color(QPalette::Base));
        }
        chart->legend()->setAlignment(Qt::AlignRight);
        chart->legend()->show();
    } else {
        // Horizontal bars leave room for long category names; the axis counts upwards, so the list goes in
        // backwards to read from the top.
        auto* set = new QBarSet(MsgText(351));
        QStringList names;
        for (qsizetype i = debits.size() - 1; i >= 0; --i) {
            *set << debits[i].amount.toDouble();
            names << debits[i].name;
        }
        connect(set, &QBarSet::hovered, this,
                [this, tips](bool shown, int index) { showTip(shown, tips.value(tips.size() - 1 - index)); });
        auto* series = new QHorizontalBarSeries;
        series->append(set);
        chart->addSeries(series);
        set->setColor(QColor(kDebit));
        set->setBorderColor(QColor(kDebit));
        auto* categoryAxis = new QBarCategoryAxis;
        categoryAxis->append(names);
        auto* valueAxis = new QValueAxis;
        chart->addAxis(categoryAxis, Qt::AlignLeft);
        chart->addAxis(valueAxis, Qt::AlignBottom);
        series->attachAxis(categoryAxis);
        series->attachAxis(valueAxis);
        NiceAmountLabels(valueAxis);
        chart->legend()->hide();
    }
    styleChart(chart);
}

void frmBudgetCharts::drawMonths() {
    QChart* chart = chtMonths->chart();
    ResetChart(chart);
    chart->setTitle(tr("Month by month"));
    // Empty months at either end of a long period would only squeeze the months that tell something.
    const QVector<budget::MonthSums>& all = m_months.months;
    const auto first = std::find_if(all.begin(), all.end(), HasAmounts);
    const auto last = std::find_if(all.rbegin(), all.rend(), HasAmounts).base();
    const QVector<budget::MonthSums> months(first, last);
    // Within one year the month names alone; the tips name the year.
    const QString labelFormat =
        months.first().month.year() == months.last().month.year() ? QStringLiteral("MMM") : QStringLiteral("MMM yy");

    auto* credit = new QBarSet(MsgText(350));
    auto* debit = new QBarSet(MsgText(351));
    auto* balance = new QLineSeries;
    balance->setName(MsgText(352));
    balance->setPointsVisible(true);
    QStringList labels;
    QStringList tips;
    double low = 0;
    double high = 0;
    for (qsizetype i = 0; i < months.size(); ++i) {
        const budget::MonthSums& m = months[i];
        *credit << m.credit.toDouble();
        *debit << m.debit.toDouble();
        balance->append(static_cast<double>(i), m.balance.toDouble());
        labels << QLocale().toString(m.month, labelFormat);
        tips << MonthTip(m);
        low = std::min({low, m.credit.toDouble(), m.debit.toDouble(), m.balance.toDouble()});
        high = std::max({high, m.credit.toDouble(), m.debit.toDouble(), m.balance.toDouble()});
    }
    const auto tip = [this, tips](bool shown, int index) { showTip(shown, tips.value(index)); };
    connect(credit, &QBarSet::hovered, this, tip);
    connect(debit, &QBarSet::hovered, this, tip);
    connect(balance, &QLineSeries::hovered, this,
            [tip](const QPointF& point, bool shown) { tip(shown, qRound(point.x())); });

    auto* bars = new QBarSeries;
    bars->append(credit);
    bars->append(debit);
    chart->addSeries(bars);
    chart->addSeries(balance);
    credit->setColor(QColor(kCredit));
    credit->setBorderColor(QColor(kCredit));
    debit->setColor(QColor(kDebit));
    debit->setBorderColor(QColor(kDebit));
    balance->setPen(QPen(QColor(kBalance), 2));
    balance->setColor(QColor(kBalance));

    auto* monthAxis = new QBarCategoryAxis;
    monthAxis->append(labels);
    if (labels.size() > kLevelMonthLabels) {
        monthAxis->setLabelsAngle(-90);
    }
    auto* valueAxis = new QValueAxis;
    chart->addAxis(monthAxis, Qt::AlignBottom);
    chart->addAxis(valueAxis, Qt::AlignLeft);
    for (QAbstractSeries* series : std::initializer_list<QAbstractSeries*>{bars, balance}) {
        series->attachAxis(monthAxis);
        series->attachAxis(valueAxis);
    }
    valueAxis->setRange(low, high > low ? high : low + 1);
    NiceAmountLabels(valueAxis);
    chart->legend()->setAlignment(Qt::AlignBottom);
    chart->legend()->show();
    styleChart(chart);
}

void frmBudgetCharts::styleChart(QChart* chart) const {
    const QColor text = palette().color(QPalette::Text);
    QColor grid = text;
    grid.setAlpha(48);
    chart->setBackgroundBrush(palette().color(QPalette::Base));
    chart->setBackgroundPen(QPen(palette().color(QPalette::Mid)));
    chart->setTitleBrush(text);
    chart->legend()->setLabelColor(text);
    for (QAbstractAxis* axis : chart->axes()) {
        axis->setLabelsColor(text);
        axis->setLinePenColor(text);
        axis->setGridLineColor(grid);
    }
}

void frmBudgetCharts::showTip(bool shown, const QString& text) {
    if (shown) {
        QToolTip::showText(QCursor::pos(), text, this);
    } else {
        QToolTip::hideText();
    }
}
