#pragma once

#include "budget/budget_lists.h"
#include "budget/periods.h"
#include "budget/totals.h"
#include "budget/transaction.h"
#include "budget/transaction_list.h"
#include "shell/ui/section_form.h"

#include <QWidget>

#include <array>
#include <optional>

class Session;
class frmBudgetCharts;
class QAction;
class QCheckBox;
class QComboBox;
class QDateEdit;
class QFrame;
class QLabel;
class QListWidget;
class QMenu;
class QPushButton;
class QTabWidget;
class QToolButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace budget {
struct ReportData;
}

// The Budget section: one budget at a time, its month list of transactions and its balance over a time frame.
class frmBudget : public SectionForm {
    Q_OBJECT
public:
    frmBudget(Session& session, QWidget* parent = nullptr);
    ~frmBudget() override;

    QList<QAction*> menuActions() override;
    QList<QAction*> toolActions() override;
    void privateSwitched() override;
    // Shows the transaction's budget and month and selects its row, opening the list's filters if they hide it.
    void showFound(const FoundRecord& found) override;
    // The report of the budget over the Balance tab's period, private records as the lists show them.
    bool hasReport() const override { return true; }
    void printReport() override;
    void exportReportPdf() override;

    // Commands the main frame's menu and the list's context menu forward to.
    void addTransaction(int kind);
    void cmdEdit_Click();
    void cmdDelete_Click();
    void mnuBudgetBudgets();
    void mnuBudgetPayment();
    // A bank statement into the budget shown, and the rules that file its bookings.
    void mnuBudgetImport();
    void mnuBudgetRules();
    void ShowPrivateBudget();
    // The frame's private switch changed: the private filter follows it without asking again.
    void HideShow();
    void mnuListitemRC(int index);
    void ChangePeriod(const QDate& date = {});
    void cPeriod_Click(int index);
    void cmdUp_Click(int unit);
    void cmdDown_Click(int unit);
    void RefreshTotals();
    void RefreshLV2();
    // Selects the budget `id` (the first one when it is not there) and shows it.
    void FillBudgetCombo(int id);

    int currentBudget() const { return m_budget; }
    QDate monthInView() const { return m_month; }
    const budget::PeriodState& period() const { return m_period; }

    QComboBox* cboBudget = nullptr;
    QToolButton* cmdEditBudget = nullptr;
    QComboBox* cboCategories = nullptr;
    QToolButton* cmdEditCat = nullptr;
    std::array<QCheckBox*, 4> showCDBW{};
    QFrame* showBWframe = nullptr;
    QTabWidget* tbsOptions = nullptr;
    std::array<QWidget*, 2> picOptions{};
    QFrame* picDate = nullptr;
    std::array<QToolButton*, 2> cmdDateMove{};
    QPushButton* lblMonth = nullptr;
    QPushButton* lblYear = nullptr;
    QListWidget* lstMonth = nullptr;
    QListWidget* lstYear = nullptr;
    QTreeWidget* LV1 = nullptr;
    std::array<QPushButton*, 2> cmdAdd{};
    QPushButton* cmdEdit = nullptr;
    QPushButton* cmdDelete = nullptr;
    std::array<QLabel*, 2> lblSollHaben{};
    std::array<QPushButton*, budget::kPeriodCount> cPeriod{};
    QFrame* Pointer = nullptr;
    std::array<QLabel*, 2> cTimeRange{};
    std::array<QToolButton*, 3> cmdUp{};
    std::array<QToolButton*, 3> cmdDown{};
    QDateEdit* ctlFrom = nullptr;
    QDateEdit* ctlTo = nullptr;
    QLabel* lblFromTo = nullptr;
    QComboBox* ctlPayment = nullptr;
    QPushButton* cmdExport = nullptr;
    std::array<QLabel*, 3> gridHeader{};
    QTreeWidget* LV2 = nullptr;
    std::array<QLabel*, 9> result{};
    frmBudgetCharts* picCharts = nullptr;
    QMenu* mnuBudgetItemlistRC = nullptr;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void buildFilters();
    void buildListTab();
    void buildBalanceTab();
    void buildMenus();
    void cboBudget_Click();
    void showCDBW_Click(int index);
    void cboCategories_Click();
    void cmdEditCat_Click();
    void cmdDateMove_Click(int index);
    void lblMonth_Click();
    void lblYear_Click();
    void lstMonth_Click();
    void lstYear_Click();
    void LV1_ColumnClick(int column);
    void ctlFrom_Change();
    void ctlTo_Change();
    void ctlPayment_Click();
    void cmdExport_Click();
    void tbsOptions_Click();
    void ReloadList();
    void Recalc1();
    void fillCategoryFilter(int select);
    void fillPayments(int select);
    void storeAndShow(budget::Transaction& t, bool reselectAlways);
    // Shows the editor on `t`; true, with `t` as stored, once OK has stored it.
    bool editTransaction(budget::Transaction& t, int kind);
    void ColumnsResize2();
    void buildLV2Headers();
    void fitLV2Columns();
    void showPeriodState();
    bool withPrivateColumns() const;
    budget::ListContext listContext() const;
    void showBudgetEntries();
    QTreeWidgetItem* listedRow(std::int32_t key) const;
    // The report's texts, or nothing with the person told why.
    std::optional<budget::ReportData> reportData();

    Session& m_session;
    budget::BudgetList m_budgets;
    int m_budget = 0;
    QDate m_month;
    bool m_pinRefused = false;
    bool m_filterInProgress = false;
    bool m_busy = false;
    budget::ListSort m_sort;
    budget::PeriodState m_period;
    budget::Balance m_balance;
    QVector<QAction*> m_frameActions;
    QAction* m_newTool = nullptr;
    QVector<QAction*> mnuBudgetShowBudget;
    QAction* mnuBudgetShowPrivate = nullptr;
    QAction* mnuBudgetAdd = nullptr;
};
