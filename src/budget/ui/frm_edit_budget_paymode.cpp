#include "budget/ui/frm_edit_budget_paymode.h"

#include "base/messages.h"
#include "budget/budget_lists.h"
#include "shell/catalogue/captions.h"
#include "shell/ui/apply_captions.h"
#include "shell/ui/list_controls.h"
#include "shell/ui/named_control.h"
#include "store/store.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {

// An entry that stands for no mode the person may rename.
constexpr int kFixedModeId = 32000;

QPushButton* Button(QWidget* parent, const QString& name) {
    auto* button = Named<QPushButton>(parent, name);
    // Enter with Ctrl belongs to the form, whichever button has the focus.
    button->setAutoDefault(false);
    return button;
}

void SwapEntries(QListWidget* list, int a, int b) {
    QListWidgetItem* first = list->item(a);
    QListWidgetItem* second = list->item(b);
    const QString text = first->text();
    const QVariant data = first->data(Qt::UserRole);
    first->setText(second->text());
    first->setData(Qt::UserRole, second->data(Qt::UserRole));
    second->setText(text);
    second->setData(Qt::UserRole, data);
}

} // namespace

frmEditBudgetPaymode::frmEditBudgetPaymode(Store& store, QWidget* parent)
    : QDialog(parent)
    , m_store(store) {
    setObjectName(QStringLiteral("frmEditBudgetPaymode"));
    setModal(true);

    CatList = new QListWidget(this);
    CatList->setObjectName(QStringLiteral("CatList"));
    CatList->setMinimumSize(220, 240);
    cmdNew = Button(this, QStringLiteral("cmdNew"));
    cmdRename = Button(this, QStringLiteral("cmdRename"));
    cmdDelete = Button(this, QStringLiteral("cmdDelete"));
    for (int i = 0; i < 2; ++i) {
        cmdMove[i] = Button(this, ArrayElementName("cmdMove", i));
    }
    cmdOK = Button(this, QStringLiteral("cmdOK"));
    cmdEsc = Button(this, QStringLiteral("cmdEsc"));

    auto* buttons = new QVBoxLayout;
    buttons->addWidget(cmdNew);
    buttons->addWidget(cmdRename);
    buttons->addWidget(cmdDelete);
    buttons->addSpacing(12);
    buttons->addWidget(cmdMove[0]);
    buttons->addWidget(cmdMove[1]);
    buttons->addStretch();
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdEsc);
    auto* layout = new QHBoxLayout(this);
    layout->addWidget(CatList, 1);
    layout->addLayout(buttons);

    connect(cmdNew, &QPushButton::clicked, this, &frmEditBudgetPaymode::cmdNew_Click);
    connect(cmdRename, &QPushButton::clicked, this, &frmEditBudgetPaymode::cmdRename_Click);
    connect(cmdDelete, &QPushButton::clicked, this, &frmEditBudgetPaymode::cmdDelete_Click);
    connect(cmdMove[0], &QPushButton::clicked, this, [this] { cmdMove_Click(-1); });
    connect(cmdMove[1], &QPushButton::clicked, this, [this] { cmdMove_Click(1); });
    connect(cmdOK, &QPushButton::clicked, this, &frmEditBudgetPaymode::cmdOK_Click);
    connect(cmdEsc, &QPushButton::clicked, this, &QDialog::reject);

    ApplyCaptions(this);
    if (const std::optional<budget::PayModes> modes = budget::LoadPayModes(m_store)) {
        list_controls::AddEntries(CatList, budget::PayModeEntries(*modes, false));
    }
}

void frmEditBudgetPaymode::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    m_lastNewId = 0;
    cmdNew->setFocus();
}

QString frmEditBudgetPaymode::askName(int title, const QString& current) {
    const QString name = m_store.prompter.input(MsgText(title), MsgText(title), current);
    if (name.isEmpty()) {
        return {};
    }
    if (!budget::NameFitsList(name)) {
        m_store.prompter.message(0, budget::NameRefusal(), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return {};
    }
    return name;
}

void frmEditBudgetPaymode::cmdNew_Click() {
    const QString name = askName(355, QString());
    if (name.isNull()) {
        return;
    }
    int greatest = 0;
    for (int i = 0; i < CatList->count(); ++i) {
        greatest = std::max(greatest, list_controls::ItemData(CatList, i));
    }
    if (greatest >= budget::kMaxPayModeId) {
        m_store.prompter.message(381, MsgText(381), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return;
    }
    const int id = greatest + 1;
    list_controls::AddEntries(CatList, {{name, id}});
    CatList->setCurrentRow(CatList->count() - 1);
    m_lastNewId = id;
}

void frmEditBudgetPaymode::cmdRename_Click() {
    QListWidgetItem* entry = CatList->currentItem();
    if (entry == nullptr) {
        m_store.prompter.message(18, MsgText(18), Prompter::Buttons::Ok, Prompter::Icon::Information);
        return;
    }
    const int id = entry->data(Qt::UserRole).toInt();
    if (id < 1 || id == kFixedModeId) {
        return;
    }
    const QString name = askName(356, entry->text());
    if (!name.isNull()) {
        entry->setText(name);
    }
}

void frmEditBudgetPaymode::cmdMove_Click(int direction) {
    const int row = CatList->currentRow();
    const int target = row + direction;
    if (row < 0 || target < 0 || target >= CatList->count()) {
        return;
    }
    SwapEntries(CatList, row, target);
    CatList->setCurrentRow(target);
}

void frmEditBudgetPaymode::cmdDelete_Click() {
    const int row = CatList->currentRow();
    if (row < 0) {
        return;
    }
    const int id = list_controls::ItemData(CatList, row);
    if (id < 1) {
        return;
    }
    if (m_store.prompter.message(19, MsgText(19), Prompter::Buttons::OkCancel, Prompter::Icon::Warning) !=
        Prompter::Reply::Ok) {
        return;
    }
    // At once, so that leaving with Esc cannot bring the references back.
    budget::RepairPayMode(m_store, id);
    delete CatList->takeItem(row);
}

void frmEditBudgetPaymode::cmdOK_Click() {
    budget::PayModes modes;
    for (const ListEntry& entry : list_controls::Entries(CatList)) {
        modes.ids.append(static_cast<std::int16_t>(entry.itemData));
        modes.names.append(entry.text);
    }
    if (const int error = budget::SavePayModes(m_store, modes)) {
        m_store.prompter.message(0, ListSaveFailure(error), Prompter::Buttons::Ok, Prompter::Icon::Critical);
        return;
    }
    m_cancelled = false;
    accept();
}

void frmEditBudgetPaymode::keyPressEvent(QKeyEvent* event) {
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (enter && event->modifiers().testFlag(Qt::ControlModifier)) {
        cmdOK_Click();
        return;
    }
    QDialog::keyPressEvent(event);
}
