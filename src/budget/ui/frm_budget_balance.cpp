// The Balance tab of the Budget section: the period bar, the time frame and the sums by category.

#include "base/messages.h"
#include "budget/amounts.h"
#include "budget/balance_export.h"
#include "budget/ui/frm_budget.h"
#include "budget/ui/frm_budget_charts.h"
#include "shell/catalogue/captions.h"
#include "shell/dates.h"
#include "shell/export_file.h"
#include "shell/session.h"
#include "shell/ui/list_controls.h"
#include "shell/ui/named_control.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTabWidget>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace {

// Above this many rows the balance is added up behind a progress window.
constexpr int kRowsForProgress = 2000;
constexpr int kSumColumnWidth = 72;

// How far right of `to`'s left edge `from`'s left edge stands.
int OffsetBetween(const QWidget* from, const QWidget* to) {
    return from->mapToGlobal(QPoint(0, 0)).x() - to->mapToGlobal(QPoint(0, 0)).x();
}

} // namespace

void frmBudget::buildBalanceTab() {
    auto* page = new QWidget;
    auto* pageLayout = new QVBoxLayout(page);
    pageLayout->setContentsMargins(0, 0, 0, 0);
    picOptions[1] = Named<QWidget>(page, QStringLiteral("picOptions_1"));
    pageLayout->addWidget(picOptions[1]);
    auto* layout = new QVBoxLayout(picOptions[1]);

    auto* bar = new QWidget(picOptions[1]);
    bar->setObjectName(QStringLiteral("picPeriods"));
    auto* barLayout = new QHBoxLayout(bar);
    barLayout->setContentsMargins(0, 0, 0, 0);
    barLayout->setSpacing(1);
    // The chosen label shows as checked; Pointer only keeps which one it is.
    Pointer = Named<QFrame>(bar, QStringLiteral("Pointer"));
    Pointer->hide();
    for (int i = 0; i < budget::kPeriodCount; ++i) {
        auto* label = Named<QPushButton>(bar, ArrayElementName("cPeriod", i));
        label->setFlat(true);
        label->setCheckable(true);
        label->setCursor(Qt::PointingHandCursor);
        label->setStyleSheet(QStringLiteral("QPushButton { padding: 2px 4px; border: none; }"
                                            "QPushButton:checked { background: palette(highlight);"
                                            " color: palette(highlighted-text); }"));
        // A label is never narrower than its text: the bar makes the window wider rather than cut a caption.
        label->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
        connect(label, &QPushButton::clicked, this, [this, i] { cPeriod_Click(i); });
        cPeriod[static_cast<std::size_t>(i)] = label;
        barLayout->addWidget(label);
    }
    barLayout->addStretch();
    layout->addWidget(bar);

    auto* range = new QHBoxLayout;
    for (int i = 0; i < 3; ++i) {
        cmdDown[static_cast<std::size_t>(i)] = Named<QToolButton>(picOptions[1], ArrayElementName("cmdDown", i));
        cmdUp[static_cast<std::size_t>(i)] = Named<QToolButton>(picOptions[1], ArrayElementName("cmdUp", i));
        cmdDown[static_cast<std::size_t>(i)]->setArrowType(Qt::LeftArrow);
        cmdUp[static_cast<std::size_t>(i)]->setArrowType(Qt::RightArrow);
        connect(cmdDown[static_cast<std::size_t>(i)], &QToolButton::clicked, this, [this, i] { cmdDown_Click(i); });
        connect(cmdUp[static_cast<std::size_t>(i)], &QToolButton::clicked, this, [this, i] { cmdUp_Click(i); });
    }
    for (int i = 0; i < 2; ++i) {
        cTimeRange[static_cast<std::size_t>(i)] = Named<QLabel>(picOptions[1], ArrayElementName("cTimeRange", i));
        cTimeRange[static_cast<std::size_t>(i)]->setMinimumWidth(48);
        cTimeRange[static_cast<std::size_t>(i)]->setAlignment(Qt::AlignCenter);
        range->addWidget(cmdDown[static_cast<std::size_t>(i)]);
        range->addWidget(cTimeRange[static_cast<std::size_t>(i)]);
        range->addWidget(cmdUp[static_cast<std::size_t>(i)]);
        range->addSpacing(12);
    }
    ctlFrom = Named<QDateEdit>(picOptions[1], QStringLiteral("ctlFrom"));
    ctlTo = Named<QDateEdit>(picOptions[1], QStringLiteral("ctlTo"));
    lblFromTo = Named<QLabel>(picOptions[1], QStringLiteral("lblFromTo"));
    for (QDateEdit* edit : {ctlFrom, ctlTo}) {
        edit->setCalendarPopup(true);
        edit->setDisplayFormat(dates::ShortDateFormat());
    }
    range->addWidget(cmdDown[2]);
    range->addWidget(ctlFrom);
    range->addWidget(lblFromTo);
    range->addWidget(ctlTo);
    range->addWidget(cmdUp[2]);
    range->addSpacing(12);
    range->addWidget(Named<QLabel>(picOptions[1], QStringLiteral("lblPayment")));
    ctlPayment = Named<QComboBox>(picOptions[1], QStringLiteral("ctlPayment"));
    range->addWidget(ctlPayment);
    range->addStretch();
    cmdExport = Named<QPushButton>(picOptions[1], QStringLiteral("cmdExport"));
    connect(cmdExport, &QPushButton::clicked, this, &frmBudget::cmdExport_Click);
    range->addWidget(cmdExport);
    layout->addLayout(range);

    // A date typed by hand counts once the typing pauses, so that each keystroke doesn't add up the period.
    auto* fromTimer = new QTimer(this);
    auto* toTimer = new QTimer(this);
    for (QTimer* timer : {fromTimer, toTimer}) {
        timer->setSingleShot(true);
        timer->setInterval(300);
    }
    connect(ctlFrom, &QDateEdit::dateChanged, fromTimer, qOverload<>(&QTimer::start));
    connect(ctlTo, &QDateEdit::dateChanged, toTimer, qOverload<>(&QTimer::start));
    connect(fromTimer, &QTimer::timeout, this, &frmBudget::ctlFrom_Change);
    connect(toTimer, &QTimer::timeout, this, &frmBudget::ctlTo_Change);
    connect(ctlPayment, qOverload<int>(&QComboBox::currentIndexChanged), this, &frmBudget::ctlPayment_Click);

    auto* groups = new QWidget(picOptions[1]);
    groups->setObjectName(QStringLiteral("picGridHeader"));
    groups->setMinimumHeight(fontMetrics().height() + 6);
    for (int i = 0; i < 3; ++i) {
        gridHeader[static_cast<std::size_t>(i)] = Named<QLabel>(groups, ArrayElementName("gridHeader", i));
        gridHeader[static_cast<std::size_t>(i)]->setAlignment(Qt::AlignCenter);
        gridHeader[static_cast<std::size_t>(i)]->setFrameShape(QFrame::Panel);
    }
    layout->addWidget(groups);

    LV2 = Named<QTreeWidget>(picOptions[1], QStringLiteral("LV2"));
    LV2->setRootIsDecorated(false);
    LV2->setColumnCount(10);
    LV2->header()->setStretchLastSection(false);
    LV2->header()->setSectionsClickable(false);
    connect(LV2->header(), &QHeaderView::sectionResized, this, &frmBudget::ColumnsResize2);
    layout->addWidget(LV2, 1);

    auto* totals = new QWidget(picOptions[1]);
    totals->setObjectName(QStringLiteral("picResult"));
    totals->setMinimumHeight(fontMetrics().height() + 8);
    const std::array<QString, 9> colours = {QStringLiteral("background: white; color: black;"),
                                            QStringLiteral("background: white; color: black;"),
                                            QStringLiteral("background: rgb(0, 192, 0); color: white;"),
                                            QStringLiteral("background: white; color: black;"),
                                            QStringLiteral("background: white; color: black;"),
                                            QStringLiteral("background: rgb(255, 0, 0); color: white;"),
                                            QStringLiteral("background: white; color: black;"),
                                            QStringLiteral("background: white; color: black;"),
                                            QStringLiteral("background: rgb(255, 255, 0); color: black;")};
    for (int i = 0; i < 9; ++i) {
        result[static_cast<std::size_t>(i)] = Named<QLabel>(totals, ArrayElementName("result", i));
        result[static_cast<std::size_t>(i)]->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        result[static_cast<std::size_t>(i)]->setStyleSheet(colours[static_cast<std::size_t>(i)]);
    }
    layout->addWidget(totals);
    tbsOptions->addTab(page, QString());
}

bool frmBudget::withPrivateColumns() const {
    // The private boxes show for a budget with private transactions while private records show, and go with the
    // Budget's own Hide Private: the private sums go with them.
    return showBWframe->isVisibleTo(this);
}

void frmBudget::showPeriodState() {
    for (QDateEdit* edit : {ctlFrom, ctlTo}) {
        edit->blockSignals(true);
    }
    ctlFrom->setDate(m_period.from);
    ctlTo->setDate(m_period.to);
    for (QDateEdit* edit : {ctlFrom, ctlTo}) {
        edit->blockSignals(false);
    }
    cTimeRange[0]->setText(m_period.yearText);
    cTimeRange[1]->setText(m_period.weekText);
    const budget::PeriodControls controls = budget::ControlsFor(m_period.pointer);
    for (QWidget* w : std::initializer_list<QWidget*>{cTimeRange[0], cmdUp[0], cmdDown[0]}) {
        w->setVisible(controls.yearControls);
    }
    for (QWidget* w : std::initializer_list<QWidget*>{cTimeRange[1], cmdUp[1], cmdDown[1]}) {
        w->setVisible(controls.weekControls);
    }
    ctlTo->setVisible(controls.toDate);
    lblFromTo->setVisible(controls.toDate);
    Pointer->setProperty("Tag", m_period.pointer);
    for (int i = 0; i < budget::kPeriodCount; ++i) {
        cPeriod[static_cast<std::size_t>(i)]->setChecked(controls.pointer && i == m_period.pointer);
    }
}

void frmBudget::cPeriod_Click(int index) {
    budget::SelectPeriod(m_period, index, QDate::currentDate(), m_session.store().preferences.FirstDayOfWeek);
    showPeriodState();
    RefreshTotals();
}

void frmBudget::cmdUp_Click(int unit) {
    budget::MovePeriod(m_period, unit, true, m_session.store().preferences.FirstDayOfWeek);
    showPeriodState();
    RefreshTotals();
}

void frmBudget::cmdDown_Click(int unit) {
    budget::MovePeriod(m_period, unit, false, m_session.store().preferences.FirstDayOfWeek);
    showPeriodState();
    RefreshTotals();
}

void frmBudget::ctlFrom_Change() {
    if (ctlFrom->date() == m_period.from) {
        return;
    }
    budget::SetFromByHand(m_period, ctlFrom->date());
    showPeriodState();
    RefreshTotals();
}

void frmBudget::ctlTo_Change() {
    if (ctlTo->date() == m_period.to) {
        return;
    }
    budget::SetToByHand(m_period, ctlTo->date());
    showPeriodState();
    RefreshTotals();
}

void frmBudget::ctlPayment_Click() {
    if (m_busy) {
        return;
    }
    RefreshTotals();
    LV2->setFocus();
}

void frmBudget::buildLV2Headers() {
    const bool withPrivate = withPrivateColumns();
    LV2->setHeaderLabels(budget::BalanceHeaders(withPrivate));
    const QVector<int> visible = budget::VisibleBalanceColumns(withPrivate);
    for (int c = 1; c < 10; ++c) {
        LV2->setColumnHidden(c, !visible.contains(c));
        LV2->headerItem()->setTextAlignment(c, Qt::AlignRight | Qt::AlignVCenter);
    }
    fitLV2Columns();
}

void frmBudget::fitLV2Columns() {
    // The sums take what they need; the category name gets the rest of the width.
    const int sums = static_cast<int>(budget::VisibleBalanceColumns(withPrivateColumns()).size()) - 1;
    const int sumWidth = std::max(kSumColumnWidth, fontMetrics().horizontalAdvance(QStringLiteral("-0000000.00")));
    LV2->setColumnWidth(0, std::max(sumWidth + 24, LV2->viewport()->width() - sums * sumWidth - 2));
    for (int c = 1; c < 10; ++c) {
        LV2->setColumnWidth(c, sumWidth);
    }
}

void frmBudget::RefreshLV2() {
    buildLV2Headers();
    RefreshTotals();
}

void frmBudget::RefreshTotals() {
    if (m_pinRefused) {
        return;
    }
    Store& store = m_session.store();
    if (ctlPayment->currentIndex() < 0 && ctlPayment->count() > 0) {
        m_busy = true;
        ctlPayment->setCurrentIndex(0);
        m_busy = false;
    }
    const budget::BalanceQuery query{m_budget, m_period.from, m_period.to,
                                     ctlPayment->currentIndex() < 0 ? budget::kPayModeAll
                                                                    : list_controls::GetSelectedId(ctlPayment)};
    const ListEntries categories = budget::BalanceCategories(list_controls::Entries(cboCategories));
    const QVector<budget::SealedRow> rows = budget::ReadBalanceRows(store, query);
    QVector<budget::BalanceItem> items;
    const auto decode = [&] {
        items = budget::DecodeBalanceRows(store.cry.KeyPool(), rows);
        return 0;
    };
    if (rows.size() > kRowsForProgress) {
        store.prompter.busy(tr("Adding up %1 transactions...").arg(rows.size()), decode);
    } else {
        decode();
    }
    m_balance = budget::SumBalance(items, query.payment, categories);

    LV2->clear();
    for (QLabel* label : result) {
        label->clear();
    }
    const bool cells = showBWframe->isVisibleTo(this) && showCDBW[3]->isChecked();
    QList<QTreeWidgetItem*> lines;
    for (int p = 0; p < m_balance.categories.size(); ++p) {
        const std::optional<QStringList> texts = budget::BalanceRowTexts(m_balance, p, cells);
        if (!texts) {
            m_balance.overflow = true;
            break;
        }
        auto* line = new QTreeWidgetItem(*texts);
        for (int c = 1; c < 10; ++c) {
            line->setTextAlignment(c, Qt::AlignRight | Qt::AlignVCenter);
        }
        lines.append(line);
    }
    const std::optional<QStringList> totals = budget::ResultTexts(m_balance, withPrivateColumns());
    m_balance.overflow = m_balance.overflow || !totals;
    picCharts->showBalance(m_balance, query, cells);
    if (m_balance.overflow || !totals) {
        qDeleteAll(lines);
        store.prompter.message(0, tr("The sums of this period are too large to be shown."), Prompter::Buttons::Ok,
                               Prompter::Icon::Warning);
        return;
    }
    LV2->addTopLevelItems(lines);
    for (int i = 0; i < 9; ++i) {
        result[static_cast<std::size_t>(i)]->setText((*totals)[i]);
    }
    ColumnsResize2();
}

void frmBudget::ColumnsResize2() {
    // The sums stand under their columns: the list's credit and debit, the balance's nine.
    if (LV1 != nullptr && lblSollHaben[0] != nullptr) {
        const QHeaderView* header = LV1->header();
        const int offset = OffsetBetween(LV1->viewport(), lblSollHaben[0]->parentWidget());
        for (int i = 0; i < 2; ++i) {
            const int column = i == 0 ? budget::colCredit : budget::colDebit;
            lblSollHaben[static_cast<std::size_t>(i)]->setGeometry(offset + header->sectionViewportPosition(column), 2,
                                                                   header->sectionSize(column) - 1,
                                                                   lblSollHaben[0]->parentWidget()->height() - 4);
        }
    }
    if (LV2 == nullptr || result[0] == nullptr) {
        return;
    }
    const QHeaderView* header = LV2->header();
    const int offset = OffsetBetween(LV2->viewport(), result[0]->parentWidget());
    for (int i = 0; i < 9; ++i) {
        QLabel* label = result[static_cast<std::size_t>(i)];
        label->setVisible(!header->isSectionHidden(i + 1));
        label->setGeometry(offset + header->sectionViewportPosition(i + 1), 2, header->sectionSize(i + 1) - 1,
                           label->parentWidget()->height() - 4);
    }
    const bool withPrivate = withPrivateColumns();
    for (int g = 0; g < 3; ++g) {
        const int first = 1 + 3 * g;
        const int width =
            withPrivate ? header->sectionSize(first) + header->sectionSize(first + 1) + header->sectionSize(first + 2)
                        : header->sectionSize(first);
        gridHeader[static_cast<std::size_t>(g)]->setGeometry(offset + header->sectionViewportPosition(first), 0,
                                                             width - 1, gridHeader[0]->parentWidget()->height());
    }
}

void frmBudget::cmdExport_Click() {
    Store& store = m_session.store();
    QString path = store.prompter.chooseNewFile(tr("Export"), tr("CSV files (*.csv)"));
    if (path.isEmpty()) {
        return;
    }
    if (QFileInfo(path).suffix().isEmpty()) {
        path += QStringLiteral(".csv");
    }
    // The balance is summed again first, so that the file's sums and its transactions come from the same rows.
    RefreshTotals();
    const budget::BalanceQuery query{m_budget, m_period.from, m_period.to, list_controls::GetSelectedId(ctlPayment)};
    QVector<budget::SealedRow> rows = budget::ReadBalanceRows(store, query);
    QVector<budget::Transaction> transactions;
    const auto decode = [&] {
        transactions = budget::DecodeTransactions(store.cry.KeyPool(), rows);
        return 0;
    };
    if (rows.size() > kRowsForProgress) {
        store.prompter.busy(tr("Reading %1 transactions...").arg(rows.size()), decode);
    } else {
        decode();
    }
    budget::BalanceExport data;
    data.balance = m_balance;
    data.privateColumns = withPrivateColumns();
    data.privateCells = showBWframe->isVisibleTo(this) && showCDBW[3]->isChecked();
    data.showPrivate = m_session.ShowPrivate;
    data.categories = list_controls::Entries(cboCategories);
    data.payments = list_controls::Entries(ctlPayment);
    for (const budget::Transaction& t : transactions) {
        if (query.payment == budget::kPayModeAll || t.payMode == query.payment) {
            data.transactions.append(t);
        }
    }
    const std::optional<QByteArray> csv = budget::BalanceCsv(data);
    const QString failure = csv ? exports::WriteExportFile(path, *csv) : tr("The sums are too large.");
    if (!failure.isEmpty()) {
        store.prompter.message(0, tr("The file %1 could not be written: %2").arg(path, failure), Prompter::Buttons::Ok,
                               Prompter::Icon::Critical);
        return;
    }
    store.prompter.message(0, exports::ExportNotice(tr("The balance was"), QDir::toNativeSeparators(path)),
                           Prompter::Buttons::Ok, Prompter::Icon::Information);
}
