#include "sections/find/ui/frm_find.h"

#include "base/messages.h"
#include "budget/budget_lists.h"
#include "sections/find/find_sections.h"
#include "shell/session.h"
#include "shell/ui/apply_captions.h"
#include "shell/ui/modal.h"
#include "shell/ui/named_control.h"
#include "store/cry.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int kFirstSection = 11;
constexpr int kFirstName = 112;
constexpr int kItemsFound = 111;
constexpr int kTooShort = 213;
constexpr int kBoxColumns = 4;
const char* const kSection = "section";

enum Column { colSection, colItem, colSpec, colWhere, kColumns };
enum Role { KeyRole = Qt::UserRole, BudgetRole, DateRole, SectionRole };

} // namespace

frmFind::frmFind(Session& session, const SectionList& sections, QWidget* parent)
    : QDialog(parent)
    , m_session(session) {
    setObjectName(QStringLiteral("frmFind"));
    setSizeGripEnabled(true);
    m_body = new QWidget(this);

    auto* lblFind = Named<QLabel>(m_body, QStringLiteral("lblFind"));
    txtFind = Named<QLineEdit>(m_body, QStringLiteral("txtFind"));
    lblFind->setBuddy(txtFind);
    cmdFind = Named<QPushButton>(m_body, QStringLiteral("cmdFind"));
    cmdFind->setDefault(true);
    cmdFind->setEnabled(false);
    chkCaseSensitive = Named<QCheckBox>(m_body, QStringLiteral("chkCaseSensitive"));
    auto* findRow = new QGridLayout;
    findRow->addWidget(lblFind, 0, 0);
    findRow->addWidget(txtFind, 0, 1);
    findRow->addWidget(cmdFind, 0, 2);
    findRow->addWidget(chkCaseSensitive, 1, 1);

    auto* fraSections = Named<QGroupBox>(m_body, QStringLiteral("fraSections"));
    auto* boxes = new QGridLayout(fraSections);
    for (int i = 0; i < static_cast<int>(PinApp.size()); ++i) {
        const int section = kFirstSection + i;
        QCheckBox*& box = PinApp[static_cast<std::size_t>(i)];
        box = Named<QCheckBox>(fraSections, QStringLiteral("PinApp%1").arg(i));
        box->setText(MsgText(kFirstName + i));
        box->setProperty(kSection, section);
        // A box for a section this build leaves out, or one Find cannot read, stays off.
        const bool offered = sections.contains(section) && find::SearchableSectionOf(section) != nullptr;
        box->setEnabled(offered);
        box->setChecked(offered);
        boxes->addWidget(box, i / kBoxColumns, i % kBoxColumns);
        connect(box, &QCheckBox::clicked, this, &frmFind::updateFind);
    }
    cmdSelectAll = Named<QPushButton>(fraSections, QStringLiteral("cmdSelectAll"));
    cmdDeselect = Named<QPushButton>(fraSections, QStringLiteral("cmdDeselect"));
    auto* choice = new QHBoxLayout;
    choice->addStretch();
    choice->addWidget(cmdSelectAll);
    choice->addWidget(cmdDeselect);
    boxes->addLayout(choice, 2, 0, 1, kBoxColumns);

    LV = Named<QTreeWidget>(m_body, QStringLiteral("LV"));
    LV->setColumnCount(kColumns);
    LV->setHeaderLabels({tr("Section"), tr("Item"), tr("Spec"), QString()});
    LV->setColumnHidden(colWhere, true);
    LV->setRootIsDecorated(false);
    LV->setUniformRowHeights(true);
    LV->setAllColumnsShowFocus(true);
    LV->header()->setStretchLastSection(false);
    LV->header()->setSectionResizeMode(colItem, QHeaderView::Stretch);
    LV->setColumnWidth(colSection, 130);
    LV->setColumnWidth(colSpec, 210);

    auto* body = new QVBoxLayout(m_body);
    body->setContentsMargins(0, 0, 0, 0);
    body->addLayout(findRow);
    body->addWidget(fraSections);
    body->addWidget(LV, 1);

    lblSummary = Named<QLabel>(this, QStringLiteral("lblSummary"));
    cmdGoto = Named<QPushButton>(this, QStringLiteral("cmdGoto"));
    cmdGoto->setEnabled(false);
    cmdGoto->setAutoDefault(false);
    cmdCancel = Named<QPushButton>(this, QStringLiteral("cmdCancel"));
    cmdCancel->setAutoDefault(false);
    // Cancel is what acts while the search runs, so the pointer over it says it can be pressed.
    cmdCancel->setCursor(Qt::ArrowCursor);
    auto* foot = new QHBoxLayout;
    foot->addWidget(lblSummary, 1);
    foot->addWidget(cmdGoto);
    foot->addWidget(cmdCancel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_body, 1);
    layout->addLayout(foot);

    connect(txtFind, &QLineEdit::textChanged, this, &frmFind::updateFind);
    // Enter reaches the default button only while it is enabled; a text too short gets its answer all the same.
    connect(txtFind, &QLineEdit::returnPressed, this, [this] {
        if (!cmdFind->isEnabled() && !m_searching) {
            cmdFind_Click();
        }
    });
    connect(cmdFind, &QPushButton::clicked, this, &frmFind::cmdFind_Click);
    connect(cmdSelectAll, &QPushButton::clicked, this, [this] { setAllBoxes(true); });
    connect(cmdDeselect, &QPushButton::clicked, this, [this] { setAllBoxes(false); });
    connect(cmdCancel, &QPushButton::clicked, this, &frmFind::cmdCancel_Click);
    connect(cmdGoto, &QPushButton::clicked, this, &frmFind::cmdGoto_Click);
    connect(LV, &QTreeWidget::itemDoubleClicked, this, &frmFind::cmdGoto_Click);

    ApplyCaptions(this);
    resize(720, 500);
    txtFind->setFocus();
}

frmFind::~frmFind() {
    stopSearch();
    wipeList();
}

std::optional<FoundRecord> frmFind::Run(Session& session, const SectionList& sections, QWidget* parent) {
    const modal::Scoped<frmFind> dialog(session, sections, parent);
    if (dialog.exec() != QDialog::Accepted || dialog.get() == nullptr) {
        return std::nullopt;
    }
    return dialog->chosen();
}

void frmFind::done(int result) {
    stopSearch();
    QDialog::done(result);
}

void frmFind::updateFind() {
    const bool anySet =
        std::any_of(PinApp.begin(), PinApp.end(), [](const QCheckBox* box) { return box->isChecked(); });
    cmdFind->setEnabled(find::SearchableText(txtFind->text()) && anySet);
}

void frmFind::setAllBoxes(bool checked) {
    for (QCheckBox* box : PinApp) {
        if (box->isEnabled()) {
            box->setChecked(checked);
        }
    }
    updateFind();
}

void frmFind::cmdFind_Click() {
    if (!find::SearchableText(txtFind->text())) {
        m_session.prompter.message(kTooShort, MsgText(kTooShort), Prompter::Buttons::Ok, Prompter::Icon::Information);
        return;
    }
    Store& store = m_session.store();
    find::Query query{txtFind->text(), {}, chkCaseSensitive->isChecked(), m_session.ShowPrivate, store.user.level};
    for (const QCheckBox* box : PinApp) {
        if (box->isChecked()) {
            query.sections.append(box->property(kSection).toInt());
        }
    }
    if (query.sections.isEmpty()) {
        return;
    }
    wipeList();
    // The names are read here: once the search runs, the store's connection is the search's.
    if (query.sections.contains(budget::kBudgetSection)) {
        if (const std::optional<budget::BudgetList> budgets = budget::LoadBudgets(store)) {
            for (int i = 0; i < budgets->count(); ++i) {
                m_budgetNames.insert(budgets->ids[i], budgets->names[i]);
            }
        }
    }
    m_order = query.sections;
    lblSummary->clear();
    m_stop = false;
    setSearching(true);
    m_search = std::thread([this, &store, query] {
        const find::Outcome outcome =
            find::Search(store, query, find::SearchableSections(), m_stop, [this](QVector<find::Hit>&& hits) {
                QMetaObject::invokeMethod(
                    this, [this, batch = std::move(hits)]() mutable { addHits(std::move(batch)); },
                    Qt::QueuedConnection);
            });
        QMetaObject::invokeMethod(
            this, [this, outcome] { searchEnded(outcome); }, Qt::QueuedConnection);
    });
}

void frmFind::addHits(QVector<find::Hit> hits) {
    for (find::Hit& hit : hits) {
        LV->addTopLevelItem(newRow(hit));
        m_hits.append(std::move(hit));
    }
    LV->scrollToBottom();
    showSummary();
}

void frmFind::searchEnded(const find::Outcome& outcome) {
    m_search.join();
    find::SortHits(m_hits, m_order);
    LV->clear();
    QList<QTreeWidgetItem*> rows;
    for (const find::Hit& hit : std::as_const(m_hits)) {
        rows.append(newRow(hit));
    }
    LV->addTopLevelItems(rows);
    showSummary();
    setSearching(false);
    if (!rows.isEmpty()) {
        LV->setCurrentItem(rows.first());
        LV->setFocus();
    } else {
        txtFind->setFocus();
    }
    if (outcome.failed) {
        m_session.prompter.message(
            0,
            tr("The file could not be read completely. The list holds what was found before the error; other "
               "records may hold the text too."),
            Prompter::Buttons::Ok, Prompter::Icon::Warning);
    }
}

void frmFind::stopSearch() {
    if (!m_search.joinable()) {
        return;
    }
    m_stop = true;
    m_search.join();
    // What the search left in the queue would land on a form that is going.
    QCoreApplication::removePostedEvents(this, QEvent::MetaCall);
    setSearching(false);
}

void frmFind::setSearching(bool on) {
    m_searching = on;
    m_body->setEnabled(!on);
    cmdGoto->setEnabled(!on && LV->topLevelItemCount() > 0);
    if (on) {
        setCursor(Qt::BusyCursor);
    } else {
        unsetCursor();
    }
}

void frmFind::showSummary() {
    lblSummary->setText(QString::number(m_hits.size()) + MsgText(kItemsFound));
}

QTreeWidgetItem* frmFind::newRow(const find::Hit& hit) const {
    const bool transaction = hit.section == budget::kBudgetSection;
    auto* row = new QTreeWidgetItem({transaction ? QStringLiteral("$ ") + m_budgetNames.value(hit.budget)
                                                 : MsgText(kFirstName + hit.section - kFirstSection),
                                     hit.item, hit.detail,
                                     transaction ? u'$' + QString::number(hit.budget) : QString::number(hit.section)});
    row->setData(colSection, KeyRole, hit.key);
    row->setData(colSection, BudgetRole, hit.budget);
    row->setData(colSection, DateRole, hit.date);
    row->setData(colSection, SectionRole, hit.section);
    return row;
}

void frmFind::cmdCancel_Click() {
    if (m_searching) {
        m_stop = true;
        return;
    }
    reject();
}

void frmFind::cmdGoto_Click() {
    const QTreeWidgetItem* row = LV->currentItem();
    if (m_searching || row == nullptr) {
        return;
    }
    m_chosen = FoundRecord{row->data(colSection, SectionRole).toInt(), row->data(colSection, KeyRole).toInt(),
                           row->data(colSection, BudgetRole).toInt(), row->data(colSection, DateRole).toDate()};
    accept();
}

void frmFind::wipeList() {
    // The rows share the texts; once they are gone the texts are ours alone and are overwritten in place.
    LV->clear();
    for (find::Hit& hit : m_hits) {
        CRY::WipeText(hit.item);
        CRY::WipeText(hit.detail);
    }
    m_hits.clear();
    for (QString& name : m_budgetNames) {
        CRY::WipeText(name);
    }
    m_budgetNames.clear();
}
