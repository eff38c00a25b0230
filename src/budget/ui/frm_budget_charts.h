#pragma once

#include "budget/chart_data.h"
#include "budget/totals.h"

#include <QWidget>

class Session;
class QChart;
class QChartView;
class QComboBox;
class QLabel;

// The Charts tab of the Budget section: the debits of the balance by category and its period month by month,
// drawn from the sums the Balance tab shows and only while the tab is in view.
class frmBudgetCharts : public QWidget {
    Q_OBJECT
public:
    enum ChartKind { Bars, Pie };

    explicit frmBudgetCharts(Session& session, QWidget* parent = nullptr);

    // The balance just added up, the query it was added up by and whether its private sums show. Drawn at once
    // while the tab is in view, else when it comes into view; nothing of a former balance stays drawn meanwhile.
    void showBalance(const budget::Balance& balance, const budget::BalanceQuery& query, bool withPrivate);

    const budget::CategoryDebits& categoryDebits() const { return m_debits; }

    QLabel* lblChartKind = nullptr;
    QComboBox* cboChartKind = nullptr;
    QLabel* lblChartPeriod = nullptr;
    QWidget* picChartViews = nullptr;
    QChartView* chtCategories = nullptr;
    QChartView* chtMonths = nullptr;
    QLabel* lblNoData = nullptr;

protected:
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void refresh();
    void draw();
    void drawCategories();
    void drawMonths();
    void clearCharts();
    void styleChart(QChart* chart) const;
    void showTip(bool shown, const QString& text);

    Session& m_session;
    budget::Balance m_balance;
    budget::BalanceQuery m_query;
    bool m_withPrivate = false;
    bool m_stale = false;
    budget::CategoryDebits m_debits;
    budget::MonthlySums m_months;
};
