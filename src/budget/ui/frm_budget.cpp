#include "budget/ui/frm_budget.h"

#include "base/messages.h"
#include "budget/amounts.h"
#include "budget/ui/frm_budget_charts.h"
#include "budget/ui/frm_edit_budget.h"
#include "budget/ui/frm_edit_budget_names.h"
#include "budget/ui/frm_edit_budget_paymode.h"
#include "sections/categories/categories.h"
#include "sections/categories/ui/frm_edit_categories.h"
#include "shell/catalogue/captions.h"
#include "shell/session.h"
#include "shell/shell_state.h"
#include "shell/show_result.h"
#include "shell/ui/apply_captions.h"
#include "shell/ui/list_controls.h"
#include "shell/ui/modal.h"
#include "shell/ui/named_control.h"
#include "store/keys.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QTabWidget>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

// Column widths of the list in twips, as the list was laid out; hidden sort keys have none.
constexpr std::array<int, budget::kListColumns> kListWidths = {1080, 2400, 945,  945, 900, 570,
                                                               1200, 570,  1200, 0,   0,   0};
constexpr int kTwipsPerPixel = 10;

} // namespace

frmBudget::frmBudget(Session& session, QWidget* parent)
    : SectionForm(parent)
    , m_session(session) {
    setObjectName(QStringLiteral("frmBudget"));
    m_newTool = toolAction("tbrNew", "kiNewRecord", tr("New Transaction"));
    connect(m_newTool, &QAction::triggered, this, [this] { addTransaction(0); });
    auto* layout = new QVBoxLayout(this);
    buildFilters();
    tbsOptions = Named<QTabWidget>(this, QStringLiteral("tbsOptions"));
    buildListTab();
    buildBalanceTab();
    auto* chartsPage = new QWidget;
    auto* chartsLayout = new QVBoxLayout(chartsPage);
    chartsLayout->setContentsMargins(0, 0, 0, 0);
    picCharts = new frmBudgetCharts(m_session, chartsPage);
    chartsLayout->addWidget(picCharts);
    tbsOptions->addTab(chartsPage, QString());
    layout->addWidget(tbsOptions, 1);
    buildMenus();
    connect(tbsOptions, &QTabWidget::currentChanged, this, &frmBudget::tbsOptions_Click);
    ApplyCaptions(this);

    const QDate today = QDate::currentDate();
    for (int m = 1; m <= 12; ++m) {
        lstMonth->addItem(QLocale().monthName(m, QLocale::LongFormat));
    }
    for (int y = 1900; y <= today.year() + 20; ++y) {
        lstYear->addItem(QString::number(y));
    }
    m_month = today;
    lblYear->setText(QString::number(today.year()));
    lblMonth->setText(QLocale().monthName(today.month(), QLocale::LongFormat));
    for (int i = 0; i < budget::kPeriodCount; ++i) {
        cPeriod[static_cast<std::size_t>(i)]->setText(budget::PeriodCaption(i, today));
    }
    for (QDateEdit* edit : {ctlFrom, ctlTo}) {
        edit->setDateRange(budget::PeriodMinDate(), budget::PeriodMaxDate());
    }
    m_period.from = QDate(today.year(), 1, 1);
    m_period.to = today;
    m_period.yearText = QString::number(today.year());
    m_period.weekText = budget::WeekText(today, m_session.store().preferences.FirstDayOfWeek);
    showPeriodState();
    fillPayments(budget::kPayModeAll);
    FillBudgetCombo(m_session.store().lastBudget);
}

frmBudget::~frmBudget() = default;

void frmBudget::buildFilters() {
    auto* bar = new QHBoxLayout;
    cboBudget = Named<QComboBox>(this, QStringLiteral("cboBudget"));
    cboBudget->setMinimumContentsLength(16);
    cmdEditBudget = Named<QToolButton>(this, QStringLiteral("cmdEditBudget"));
    cmdEditBudget->setText(QStringLiteral("..."));
    cboCategories = Named<QComboBox>(this, QStringLiteral("cboCategories"));
    cboCategories->setMinimumContentsLength(16);
    cmdEditCat = Named<QToolButton>(this, QStringLiteral("cmdEditCat"));
    cmdEditCat->setText(QStringLiteral("..."));
    bar->addWidget(Named<QLabel>(this, QStringLiteral("lblBudget")));
    bar->addWidget(cboBudget);
    bar->addWidget(cmdEditBudget);
    bar->addSpacing(16);
    bar->addWidget(Named<QLabel>(this, QStringLiteral("lblCategory")));
    bar->addWidget(cboCategories);
    bar->addWidget(cmdEditCat);
    bar->addSpacing(16);
    showBWframe = Named<QFrame>(this, QStringLiteral("showBWframe"));
    auto* privacy = new QHBoxLayout(showBWframe);
    privacy->setContentsMargins(0, 0, 0, 0);
    for (int i = 0; i < 4; ++i) {
        showCDBW[static_cast<std::size_t>(i)] =
            Named<QCheckBox>(i < 2 ? this : static_cast<QWidget*>(showBWframe), ArrayElementName("showCDBW", i));
        connect(showCDBW[static_cast<std::size_t>(i)], &QCheckBox::clicked, this, [this, i] { showCDBW_Click(i); });
        if (i < 2) {
            bar->addWidget(showCDBW[static_cast<std::size_t>(i)]);
        } else {
            privacy->addWidget(showCDBW[static_cast<std::size_t>(i)]);
        }
    }
    bar->addWidget(showBWframe);
    bar->addStretch();
    static_cast<QVBoxLayout*>(layout())->addLayout(bar);

    connect(cboBudget, qOverload<int>(&QComboBox::activated), this, &frmBudget::cboBudget_Click);
    connect(cmdEditBudget, &QToolButton::clicked, this, &frmBudget::mnuBudgetBudgets);
    connect(cboCategories, qOverload<int>(&QComboBox::activated), this, &frmBudget::cboCategories_Click);
    connect(cmdEditCat, &QToolButton::clicked, this, &frmBudget::cmdEditCat_Click);
}

void frmBudget::buildListTab() {
    auto* page = new QWidget;
    auto* pageLayout = new QVBoxLayout(page);
    pageLayout->setContentsMargins(0, 0, 0, 0);
    picOptions[0] = Named<QWidget>(page, QStringLiteral("picOptions_0"));
    pageLayout->addWidget(picOptions[0]);
    auto* layout = new QVBoxLayout(picOptions[0]);

    picDate = Named<QFrame>(picOptions[0], QStringLiteral("picDate"));
    auto* dateBar = new QHBoxLayout(picDate);
    dateBar->setContentsMargins(0, 0, 0, 0);
    for (int i = 0; i < 2; ++i) {
        cmdDateMove[static_cast<std::size_t>(i)] = Named<QToolButton>(picDate, ArrayElementName("cmdDateMove", i));
        cmdDateMove[static_cast<std::size_t>(i)]->setArrowType(i == 0 ? Qt::LeftArrow : Qt::RightArrow);
        connect(cmdDateMove[static_cast<std::size_t>(i)], &QToolButton::clicked, this,
                [this, i] { cmdDateMove_Click(i); });
    }
    lblMonth = Named<QPushButton>(picDate, QStringLiteral("lblMonth"));
    lblYear = Named<QPushButton>(picDate, QStringLiteral("lblYear"));
    for (QPushButton* label : {lblMonth, lblYear}) {
        label->setFlat(true);
        QFont font = label->font();
        font.setBold(true);
        font.setPointSizeF(font.pointSizeF() * 1.3);
        label->setFont(font);
    }
    lblMonth->setMinimumWidth(140);
    connect(lblMonth, &QPushButton::clicked, this, &frmBudget::lblMonth_Click);
    connect(lblYear, &QPushButton::clicked, this, &frmBudget::lblYear_Click);
    dateBar->addWidget(cmdDateMove[0]);
    dateBar->addWidget(lblMonth);
    dateBar->addWidget(lblYear);
    dateBar->addWidget(cmdDateMove[1]);
    dateBar->addStretch();
    layout->addWidget(picDate);

    LV1 = Named<QTreeWidget>(picOptions[0], QStringLiteral("LV1"));
    LV1->setRootIsDecorated(false);
    LV1->setAllColumnsShowFocus(true);
    LV1->setUniformRowHeights(true);
    LV1->setColumnCount(budget::kListColumns);
    QStringList headers;
    for (int i = 0; i < budget::kListColumns; ++i) {
        headers << MsgText(340 + std::min(i, 9));
        LV1->setColumnWidth(i, kListWidths[static_cast<std::size_t>(i)] / kTwipsPerPixel);
    }
    LV1->setHeaderLabels(headers);
    for (int i = budget::colDateKey; i < budget::kListColumns; ++i) {
        LV1->setColumnHidden(i, true);
    }
    LV1->headerItem()->setTextAlignment(budget::colCredit, Qt::AlignRight);
    LV1->headerItem()->setTextAlignment(budget::colDebit, Qt::AlignRight);
    LV1->header()->setSectionsClickable(true);
    LV1->header()->setStretchLastSection(false);
    LV1->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(LV1->header(), &QHeaderView::sectionClicked, this, &frmBudget::LV1_ColumnClick);
    connect(LV1->header(), &QHeaderView::sectionResized, this, &frmBudget::ColumnsResize2);
    connect(LV1, &QTreeWidget::itemDoubleClicked, this, [this] { cmdEdit_Click(); });
    connect(LV1, &QTreeWidget::customContextMenuRequested, this,
            [this](const QPoint& at) { mnuBudgetItemlistRC->popup(LV1->viewport()->mapToGlobal(at)); });
    layout->addWidget(LV1, 1);

    auto* sums = new QWidget(picOptions[0]);
    sums->setObjectName(QStringLiteral("picSums"));
    sums->setMinimumHeight(fontMetrics().height() + 8);
    for (int i = 0; i < 2; ++i) {
        lblSollHaben[static_cast<std::size_t>(i)] = Named<QLabel>(sums, ArrayElementName("lblSollHaben", i));
        lblSollHaben[static_cast<std::size_t>(i)]->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        lblSollHaben[static_cast<std::size_t>(i)]->setFrameShape(QFrame::Panel);
        lblSollHaben[static_cast<std::size_t>(i)]->setFrameShadow(QFrame::Sunken);
    }
    layout->addWidget(sums);

    auto* buttons = new QHBoxLayout;
    for (int i = 0; i < 2; ++i) {
        cmdAdd[static_cast<std::size_t>(i)] = Named<QPushButton>(picOptions[0], ArrayElementName("cmdAdd", i));
        connect(cmdAdd[static_cast<std::size_t>(i)], &QPushButton::clicked, this, [this, i] { addTransaction(i + 1); });
        buttons->addWidget(cmdAdd[static_cast<std::size_t>(i)]);
    }
    cmdEdit = Named<QPushButton>(picOptions[0], QStringLiteral("cmdEdit"));
    cmdDelete = Named<QPushButton>(picOptions[0], QStringLiteral("cmdDelete"));
    connect(cmdEdit, &QPushButton::clicked, this, &frmBudget::cmdEdit_Click);
    connect(cmdDelete, &QPushButton::clicked, this, &frmBudget::cmdDelete_Click);
    buttons->addWidget(cmdEdit);
    buttons->addWidget(cmdDelete);
    buttons->addStretch();
    layout->addLayout(buttons);

    lstMonth = Named<QListWidget>(this, QStringLiteral("lstMonth"));
    lstYear = Named<QListWidget>(this, QStringLiteral("lstYear"));
    for (QListWidget* list : {lstMonth, lstYear}) {
        list->hide();
        list->installEventFilter(this);
        list->setFixedSize(160, 220);
    }
    connect(lstMonth, &QListWidget::itemClicked, this, &frmBudget::lstMonth_Click);
    connect(lstYear, &QListWidget::itemClicked, this, &frmBudget::lstYear_Click);
    tbsOptions->addTab(page, QString());
}

void frmBudget::buildMenus() {
    mnuBudgetItemlistRC = Named<QMenu>(this, QStringLiteral("mnuBudgetItemlistRC"));
    for (int i = 0; i < 7; ++i) {
        if (i == 1 || i == 5) {
            mnuBudgetItemlistRC->addSeparator();
            continue;
        }
        QAction* entry = mnuBudgetItemlistRC->addAction(QString());
        entry->setObjectName(ArrayElementName("mnuListitemRC", i));
        connect(entry, &QAction::triggered, this, [this, i] { mnuListitemRC(i); });
    }

    const auto action = [this](const QString& name, auto slot) {
        auto* a = new QAction(this);
        a->setObjectName(name);
        connect(a, &QAction::triggered, this, slot);
        m_frameActions.append(a);
        return a;
    };
    mnuBudgetAdd = action(QStringLiteral("mnuBudgetAdd"), [this] { addTransaction(0); });
    mnuBudgetAdd->setShortcut(QKeySequence::New);
    action(QStringLiteral("mnuBudgetBudgets"), [this] { mnuBudgetBudgets(); });
    action(QStringLiteral("mnuBudgetPayment"), [this] { mnuBudgetPayment(); });
    action(QStringLiteral("mnuBudgetImport"), [this] { mnuBudgetImport(); });
    action(QStringLiteral("mnuBudgetRules"), [this] { mnuBudgetRules(); });
    mnuBudgetShowPrivate = action(QStringLiteral("mnuBudgetShowPrivate"), [this] { ShowPrivateBudget(); });
    mnuBudgetShowPrivate->setText(MsgText(272));
}

QList<QAction*> frmBudget::toolActions() {
    return {m_newTool};
}

QList<QAction*> frmBudget::menuActions() {
    QList<QAction*> actions;
    for (QAction* a : m_frameActions) {
        actions.append(a);
        if (a->objectName() == QLatin1String("mnuBudgetPayment") || a == mnuBudgetShowPrivate) {
            actions.append(nullptr);
        }
    }
    actions.append(mnuBudgetShowBudget.begin(), mnuBudgetShowBudget.end());
    return actions;
}

void frmBudget::privateSwitched() {
    HideShow();
}

void frmBudget::FillBudgetCombo(int id) {
    std::optional<budget::BudgetList> budgets = budget::LoadBudgets(m_session.store());
    if (!budgets || budgets->count() == 0) {
        return;
    }
    m_budgets = *budgets;
    cboBudget->clear();
    for (int i = 0; i < m_budgets.count(); ++i) {
        cboBudget->addItem(m_budgets.names[i], static_cast<int>(m_budgets.ids[i]));
    }
    if (!list_controls::SelectByItemData(cboBudget, id)) {
        cboBudget->setCurrentIndex(0);
    }
    cboBudget_Click();
}

void frmBudget::cboBudget_Click() {
    Store& store = m_session.store();
    if (cboBudget->currentIndex() < 0) {
        cboBudget->setCurrentIndex(0);
    }
    m_budget = list_controls::GetSelectedId(cboBudget);
    const int index = m_budgets.indexOf(m_budget);
    const bool privateBudget = index >= 0 && m_budgets.showPrivate[index];
    list_controls::SetTag(cboBudget, privateBudget ? QStringLiteral("1") : QStringLiteral("0"));
    store.lastBudget = m_budget;

    if (index >= 0 && m_budgets.requestPin[index]) {
        const auto slot = static_cast<std::size_t>(m_budget & 255);
        if (!store.budgetPinGiven[slot] || store.user.options.PinEveryAccess) {
            if (CheckPIN(m_session) == 1) {
                store.budgetPinGiven.set(slot);
            } else {
                m_pinRefused = true;
                tbsOptions_Click();
                return;
            }
        }
    }
    m_pinRefused = false;
    fillCategoryFilter(categories::kAll);
    m_month = QDate::currentDate();

    m_filterInProgress = true;
    for (int i = 0; i < 3; ++i) {
        showCDBW[static_cast<std::size_t>(i)]->setChecked(true);
    }
    showCDBW[3]->setChecked(privateBudget);
    m_filterInProgress = false;
    showBWframe->setVisible(showCDBW[3]->isChecked() && m_session.ShowPrivate);
    mnuBudgetShowPrivate->setText(MsgText(showBWframe->isVisibleTo(this) ? 273 : 272));

    showBudgetEntries();
    mnuBudgetShowPrivate->setEnabled(privateBudget);

    ChangePeriod(m_month);
    buildLV2Headers();
    tbsOptions_Click();
    m_busy = true;
    ctlPayment->setCurrentIndex(0);
    m_busy = false;
    cPeriod_Click(budget::kPeriodYearToDate);
}

void frmBudget::showBudgetEntries() {
    // One entry for each budget there is now, so that a deleted one goes and a new one comes.
    qDeleteAll(mnuBudgetShowBudget);
    mnuBudgetShowBudget.clear();
    for (int i = 0; i < m_budgets.count(); ++i) {
        const int id = m_budgets.ids[i];
        auto* entry = new QAction(this);
        entry->setObjectName(ArrayElementName("mnuBudgetShowBudget", i));
        entry->setText(i < 9 ? QStringLiteral("&%1 %2").arg(i + 1).arg(m_budgets.names[i]) : m_budgets.names[i]);
        entry->setCheckable(true);
        entry->setChecked(id == m_budget);
        entry->setEnabled(id != m_budget);
        connect(entry, &QAction::triggered, this, [this, id] { FillBudgetCombo(id); });
        mnuBudgetShowBudget.append(entry);
    }
    Q_EMIT menuChanged();
}

void frmBudget::fillCategoryFilter(int select) {
    cboCategories->clear();
    ListEntries entries;
    list_controls::SetTag(cboCategories,
                          categories::FillCategoryEntries(m_session.store(), entries, categories::kBudgetSection,
                                                          {.addAll = true, .addUnfiled = true}, m_budget));
    list_controls::AddEntries(cboCategories, entries);
    if (!list_controls::SelectByItemData(cboCategories, select)) {
        cboCategories->setCurrentIndex(0);
    }
}

void frmBudget::fillPayments(int select) {
    const std::optional<budget::PayModes> modes = budget::LoadPayModes(m_session.store());
    m_busy = true;
    ctlPayment->clear();
    list_controls::AddEntries(ctlPayment, budget::PayModeEntries(modes.value_or(budget::PayModes{}), true));
    if (!list_controls::SelectByItemData(ctlPayment, select)) {
        ctlPayment->setCurrentIndex(0);
    }
    m_busy = false;
}

budget::ListContext frmBudget::listContext() const {
    return {list_controls::Entries(cboCategories), list_controls::Entries(ctlPayment), m_session.ShowPrivate,
            QLocale()};
}

void frmBudget::ReloadList() {
    if (m_pinRefused) {
        return;
    }
    budget::ListFilter filter;
    filter.budget = m_budget;
    filter.category = list_controls::GetSelectedId(cboCategories);
    filter.month = m_month;
    filter.credit = showCDBW[0]->isChecked();
    filter.debit = showCDBW[1]->isChecked();
    // With the private boxes hidden (the Budget's own Hide Private) only public rows are listed; the boxes keep
    // their state for when they show again.
    const bool privateBoxes = showBWframe->isVisibleTo(this);
    filter.showPublic = !privateBoxes || showCDBW[2]->isChecked();
    filter.showPrivate = privateBoxes && showCDBW[3]->isChecked();
    const budget::TransactionList list = budget::ReloadList(m_session.store(), filter, listContext());
    cmdEdit->setEnabled(list.queryHadRows);
    cmdDelete->setEnabled(list.queryHadRows);
    LV1->setColumnHidden(budget::colPrivate, !m_session.ShowPrivate);
    LV1->clear();
    if (!list.queryHadRows) {
        return;
    }
    QList<QTreeWidgetItem*> items;
    for (const budget::ListRow& row : list.rows) {
        auto* item = new QTreeWidgetItem(row.texts);
        item->setData(0, Qt::UserRole, row.transaction.key);
        for (int column : {budget::colCredit, budget::colDebit}) {
            item->setTextAlignment(column, Qt::AlignRight | Qt::AlignVCenter);
        }
        for (int column : {budget::colPrivate, budget::colNote}) {
            item->setTextAlignment(column, Qt::AlignCenter);
        }
        items.append(item);
    }
    LV1->addTopLevelItems(items);
    if (m_sort.key >= 0) {
        LV1->sortItems(m_sort.key, m_sort.descending ? Qt::DescendingOrder : Qt::AscendingOrder);
    }
    Recalc1();
}

void frmBudget::Recalc1() {
    QVector<budget::AmountTexts> texts;
    for (int i = 0; i < LV1->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* item = LV1->topLevelItem(i);
        texts.append({item->text(budget::colCredit), item->text(budget::colDebit)});
    }
    const std::optional<budget::ListSums> sums = budget::Recalc1(texts);
    if (!sums) {
        m_session.prompter.message(0, tr("The sums are too large to be shown."), Prompter::Buttons::Ok,
                                   Prompter::Icon::Warning);
        return;
    }
    lblSollHaben[0]->setText(u' ' + budget::FormatAmount(sums->credit, false));
    lblSollHaben[1]->setText(u' ' + budget::FormatAmount(sums->debit, false));
}

void frmBudget::showCDBW_Click(int index) {
    if (m_filterInProgress) {
        return;
    }
    if (index < 2 && !showCDBW[0]->isChecked() && !showCDBW[1]->isChecked()) {
        showCDBW[static_cast<std::size_t>(1 - index)]->setChecked(true);
    } else if (index >= 2 && !showCDBW[2]->isChecked() && !showCDBW[3]->isChecked()) {
        showCDBW[static_cast<std::size_t>(5 - index)]->setChecked(true);
    }
    ReloadList();
}

void frmBudget::cboCategories_Click() {
    ReloadList();
}

void frmBudget::cmdEditCat_Click() {
    if (cboCategories->currentIndex() < 0) {
        cboCategories->setCurrentIndex(0);
    }
    const int selected = list_controls::GetSelectedId(cboCategories);
    const modal::Scoped<frmEditCategories> dialog(m_session.store(), categories::kBudgetSection, m_budget, this);
    dialog.exec();
    fillCategoryFilter(!dialog->cancelled() && dialog->lastNewId() != 0 ? dialog->lastNewId() : selected);
    ReloadList();
    RefreshTotals();
}

void frmBudget::mnuBudgetBudgets() {
    if (!keys::ConfirmPassphrase(m_session.store(), false)) {
        return;
    }
    const int previous = m_budget;
    modal::Scoped<frmEditBudgetNames>(m_session.store(), this).exec();
    FillBudgetCombo(previous);
}

void frmBudget::mnuBudgetPayment() {
    const int previous = list_controls::GetSelectedId(ctlPayment);
    modal::Scoped<frmEditBudgetPaymode>(m_session.store(), this).exec();
    fillPayments(previous);
    ReloadList();
}

void frmBudget::ShowPrivateBudget() {
    if (showBWframe->isVisibleTo(this)) {
        showBWframe->hide();
        mnuBudgetShowPrivate->setText(MsgText(272));
    } else {
        if (!keys::ConfirmPassphrase(m_session.store(), false)) {
            return;
        }
        showBWframe->show();
        mnuBudgetShowPrivate->setText(MsgText(273));
    }
    ReloadList();
    RefreshLV2();
}

void frmBudget::HideShow() {
    const bool shown = list_controls::Tag(cboBudget) == QLatin1String("1") && m_session.ShowPrivate;
    if (shown != showBWframe->isVisibleTo(this)) {
        showBWframe->setVisible(shown);
        mnuBudgetShowPrivate->setText(MsgText(shown ? 273 : 272));
    }
    // Private rows leave or join the list with the switch, whatever the budget's own filter shows.
    ReloadList();
    RefreshLV2();
}

void frmBudget::mnuListitemRC(int index) {
    switch (index) {
    case 0:
        cmdEdit_Click();
        break;
    case 2:
    case 3:
    case 4:
        addTransaction(index - 2);
        break;
    case 6:
        cmdDelete_Click();
        break;
    default:
        break;
    }
}

bool frmBudget::editTransaction(budget::Transaction& t, int kind) {
    const modal::Scoped<frmEditBudget> editor(m_session.store(), m_budget, list_controls::Entries(ctlPayment), this);
    connect(editor.get(), &frmEditBudget::listsChanged, this, [this] {
        fillCategoryFilter(list_controls::GetSelectedId(cboCategories));
        fillPayments(list_controls::GetSelectedId(ctlPayment));
    });
    editor->TransactionToEditor(t, kind);
    if (editor.exec() != QDialog::Accepted || editor->cancelled()) {
        return false;
    }
    t = editor->stored();
    return true;
}

void frmBudget::addTransaction(int kind) {
    if (m_pinRefused) {
        return;
    }
    budget::Transaction t = budget::ClearTransaction(m_session.store().user.level,
                                                     list_controls::GetSelectedId(cboCategories), QDate::currentDate());
    if (editTransaction(t, kind)) {
        storeAndShow(t, false);
    }
}

void frmBudget::cmdEdit_Click() {
    if (LV1->topLevelItemCount() == 0) {
        return;
    }
    QTreeWidgetItem* item = LV1->currentItem();
    if (item == nullptr) {
        m_session.prompter.message(100, MsgText(100), Prompter::Buttons::Ok, Prompter::Icon::Information);
        return;
    }
    std::optional<budget::Transaction> t =
        budget::LoadTransaction(m_session.store(), item->data(0, Qt::UserRole).toInt());
    if (!t) {
        addTransaction(0);
        return;
    }
    if (editTransaction(*t, -1)) {
        storeAndShow(*t, true);
    }
}

void frmBudget::storeAndShow(budget::Transaction& t, bool reselectAlways) {
    // A record of the month in view (by its month alone) brings the view to its own date.
    if (t.datePaid.month() == m_month.month()) {
        m_month = t.datePaid;
    }
    ChangePeriod(m_month);
    if (reselectAlways || !(t.isPrivate && !m_session.ShowPrivate)) {
        QTreeWidgetItem* found = listedRow(t.key);
        if (found == nullptr && LV1->topLevelItemCount() > 0) {
            found = LV1->topLevelItem(0);
        }
        LV1->setCurrentItem(found);
    }
    RefreshTotals();
    cmdEdit->setEnabled(LV1->topLevelItemCount() > 0);
    cmdDelete->setEnabled(LV1->topLevelItemCount() > 0);
}

QTreeWidgetItem* frmBudget::listedRow(std::int32_t key) const {
    for (int i = 0; i < LV1->topLevelItemCount(); ++i) {
        if (LV1->topLevelItem(i)->data(0, Qt::UserRole).toInt() == key) {
            return LV1->topLevelItem(i);
        }
    }
    return nullptr;
}

void frmBudget::showFound(const FoundRecord& found) {
    if (found.budget != m_budget) {
        if (!list_controls::SelectByItemData(cboBudget, found.budget)) {
            return;
        }
        cboBudget_Click();
    }
    if (m_pinRefused) {
        return;
    }
    showCDBW[3]->setChecked(showCDBW[3]->isChecked() || m_session.ShowPrivate);
    ChangePeriod(found.date);
    if (listedRow(found.key) == nullptr) {
        list_controls::SelectByItemData(cboCategories, categories::kAll);
        for (int i = 0; i < 3; ++i) {
            showCDBW[static_cast<std::size_t>(i)]->setChecked(true);
        }
        ReloadList();
    }
    LV1->setCurrentItem(listedRow(found.key));
}

void frmBudget::cmdDelete_Click() {
    QTreeWidgetItem* item = LV1->currentItem();
    if (LV1->topLevelItemCount() == 0 || item == nullptr) {
        return;
    }
    const QString text = MsgText(25) + QStringLiteral("\n\n   ") + item->text(budget::colItem) + QStringLiteral(" (") +
                         item->text(budget::colDate) + u')';
    if (m_session.prompter.message(25, text, Prompter::Buttons::OkCancel, Prompter::Icon::Warning) !=
        Prompter::Reply::Ok) {
        return;
    }
    if (const Result r = budget::DeleteTransaction(m_session.store(), item->data(0, Qt::UserRole).toInt()); !r.ok()) {
        ShowResult(m_session.prompter, r);
        return;
    }
    delete item;
    // The balance keeps its figures until the next period or payment change.
    Recalc1();
    cmdEdit->setEnabled(LV1->topLevelItemCount() > 0);
    cmdDelete->setEnabled(LV1->topLevelItemCount() > 0);
}

void frmBudget::ChangePeriod(const QDate& date) {
    if (date.isValid()) {
        m_month = date;
    }
    lblYear->setText(QString::number(m_month.year()));
    lblMonth->setText(QLocale().monthName(m_month.month(), QLocale::LongFormat));
    picDate->hide();
    ReloadList();
    picDate->show();
}

void frmBudget::cmdDateMove_Click(int index) {
    ChangePeriod(m_month.addMonths(index == 0 ? -1 : 1));
}

void frmBudget::lblMonth_Click() {
    lstYear->hide();
    if (lstMonth->isVisible()) {
        lstMonth->hide();
        return;
    }
    lstMonth->move(mapFromGlobal(lblMonth->mapToGlobal(QPoint(0, lblMonth->height()))));
    lstMonth->setCurrentRow(m_month.month() - 1);
    lstMonth->show();
    lstMonth->raise();
    lstMonth->setFocus();
}

void frmBudget::lblYear_Click() {
    lstMonth->hide();
    if (lstYear->isVisible()) {
        lstYear->hide();
        return;
    }
    lstYear->move(mapFromGlobal(lblYear->mapToGlobal(QPoint(0, lblYear->height()))));
    lstYear->setCurrentRow(m_month.year() - 1900);
    lstYear->scrollToItem(lstYear->currentItem(), QAbstractItemView::PositionAtCenter);
    lstYear->show();
    lstYear->raise();
    lstYear->setFocus();
}

void frmBudget::lstMonth_Click() {
    lstMonth->hide();
    ChangePeriod(QDate(m_month.year(), lstMonth->currentRow() + 1, 1));
}

void frmBudget::lstYear_Click() {
    lstYear->hide();
    ChangePeriod(QDate(1900 + lstYear->currentRow(), m_month.month(), 1));
}

void frmBudget::LV1_ColumnClick(int column) {
    m_sort = budget::SortAfterClick(m_sort, column);
    if (m_sort.key >= 0) {
        LV1->sortItems(m_sort.key, m_sort.descending ? Qt::DescendingOrder : Qt::AscendingOrder);
    }
}

void frmBudget::tbsOptions_Click() {
    QTimer::singleShot(0, this, [this] {
        fitLV2Columns();
        ColumnsResize2();
    });
    for (int i = 0; i < 2; ++i) {
        picOptions[static_cast<std::size_t>(i)]->setVisible(!m_pinRefused && tbsOptions->currentIndex() == i);
    }
    // Hidden, the charts wait: they are added up when they come into view.
    picCharts->setVisible(!m_pinRefused && tbsOptions->currentWidget() == picCharts->parentWidget());
    const bool listCommands = !m_pinRefused && tbsOptions->currentIndex() == 0;
    mnuBudgetAdd->setEnabled(listCommands);
}

bool frmBudget::eventFilter(QObject* watched, QEvent* event) {
    if ((watched == lstMonth || watched == lstYear) && event->type() == QEvent::FocusOut) {
        static_cast<QWidget*>(watched)->hide();
    }
    return QWidget::eventFilter(watched, event);
}

void frmBudget::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    // The children are laid out once this event is through.
    QTimer::singleShot(0, this, [this] {
        fitLV2Columns();
        ColumnsResize2();
    });
}
