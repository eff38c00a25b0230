#include "budget/ui/frm_edit_budget_paymode.h"

#include "base/messages.h"
#include "budget/budget_lists.h"
#include "shell/catalogue/captions.h"
#include "shell/ui/list_controls.h"
#include "store/store.h"

#include <QListWidget>
#include <QPushButton>

#include <algorithm>

namespace {

// An entry that stands for no mode the person may rename.
constexpr int kFixedModeId = 32000;

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
    : EntryListDialog(store, QStringLiteral("frmEditBudgetPaymode"), {budget::NameFitsList, budget::NameRefusal},
                      {.fromRename = kFixedModeId}, parent,
                      {ArrayElementName("cmdMove", 0), ArrayElementName("cmdMove", 1)}) {
    CatList->setMinimumSize(220, 240);
    for (int i = 0; i < 2; ++i) {
        cmdMove[i] = m_more[i];
        connect(cmdMove[i], &QPushButton::clicked, this, [this, i] { cmdMove_Click(i == 0 ? -1 : 1); });
    }
    if (const std::optional<budget::PayModes> modes = budget::LoadPayModes(m_store)) {
        list_controls::AddEntries(CatList, budget::PayModeEntries(*modes, false));
    }
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

void frmEditBudgetPaymode::cmdMove_Click(int direction) {
    const int row = CatList->currentRow();
    const int target = row + direction;
    if (row < 0 || target < 0 || target >= CatList->count()) {
        return;
    }
    SwapEntries(CatList, row, target);
    CatList->setCurrentRow(target);
}

void frmEditBudgetPaymode::deleting(int id) {
    // At once, so that leaving with Esc cannot bring the references back.
    budget::RepairPayMode(m_store, id);
}

int frmEditBudgetPaymode::save() {
    budget::PayModes modes;
    for (const ListEntry& entry : list_controls::Entries(CatList)) {
        modes.ids.append(static_cast<std::int16_t>(entry.itemData));
        modes.names.append(entry.text);
    }
    return budget::SavePayModes(m_store, modes);
}
