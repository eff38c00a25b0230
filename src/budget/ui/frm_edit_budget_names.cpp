#include "budget/ui/frm_edit_budget_names.h"

#include "base/messages.h"
#include "budget/budget_lists.h"
#include "shell/ui/apply_captions.h"
#include "shell/ui/named_control.h"
#include "store/store.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>
#include <QSet>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

constexpr int kCheckColumn = 0;
constexpr int kNameColumn = 1;
constexpr int kPinColumn = 2;
const QString kPrimaryKey = QStringLiteral("k000");

QString RowKey(int id) {
    return QStringLiteral("k%1").arg(id, 3, 10, QLatin1Char('0'));
}

QString KeyOf(const QTreeWidgetItem* row) {
    return row->data(kCheckColumn, Qt::UserRole).toString();
}

} // namespace

frmEditBudgetNames::frmEditBudgetNames(Store& store, QWidget* parent)
    : ListEditorDialog(store, QStringLiteral("frmEditBudgetNames"), {budget::NameFitsList, budget::NameRefusal},
                       parent) {
    LV1 = Named<QTreeWidget>(this, QStringLiteral("LV1"));
    LV1->setColumnCount(3);
    LV1->setHeaderLabels({QStringLiteral("Show Priv"), QStringLiteral(" Budget Name"), QStringLiteral("PIN")});
    LV1->setRootIsDecorated(false);
    LV1->setContextMenuPolicy(Qt::NoContextMenu);
    LV1->header()->setSectionsMovable(false);
    LV1->header()->setStretchLastSection(false);
    LV1->header()->setSectionResizeMode(kNameColumn, QHeaderView::Stretch);
    LV1->setMinimumSize(360, 220);

    picEdit = Named<QWidget>(this, QStringLiteral("picEdit"));
    txtBudgetName = Named<QLineEdit>(picEdit, QStringLiteral("txtBudgetName"));
    chkShowPrivate = Named<QCheckBox>(picEdit, QStringLiteral("chkShowPrivate"));
    chkRequestPIN = Named<QCheckBox>(picEdit, QStringLiteral("chkRequestPIN"));
    cmdOK_Edit = Named<QPushButton>(picEdit, QStringLiteral("cmdOK_Edit"));
    cmdEsc_Edit = Named<QPushButton>(picEdit, QStringLiteral("cmdEsc_Edit"));
    auto* editLayout = new QVBoxLayout(picEdit);
    editLayout->setContentsMargins(0, 0, 0, 0);
    editLayout->addWidget(txtBudgetName);
    auto* editRow = new QHBoxLayout;
    editRow->addWidget(chkShowPrivate);
    editRow->addWidget(chkRequestPIN);
    editRow->addStretch();
    editRow->addWidget(cmdOK_Edit);
    editRow->addWidget(cmdEsc_Edit);
    editLayout->addLayout(editRow);
    picEdit->hide();

    picButtons = Named<QWidget>(this, QStringLiteral("picButtons"));
    auto* buttonRow = new QHBoxLayout(picButtons);
    buttonRow->setContentsMargins(0, 0, 0, 0);
    cmdEdit = makeCommands(picButtons, buttonRow, QStringLiteral("cmdEdit")).first();

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(LV1);
    layout->addWidget(picEdit);
    layout->addWidget(picButtons);

    connect(cmdEdit, &QPushButton::clicked, this, &frmEditBudgetNames::cmdEdit_Click);
    connect(cmdOK_Edit, &QPushButton::clicked, this, &frmEditBudgetNames::cmdOK_Edit_Click);
    connect(cmdEsc_Edit, &QPushButton::clicked, this, &frmEditBudgetNames::closeEdit);
    // Enter with Ctrl belongs to the form, whichever button has the focus.
    cmdOK_Edit->setAutoDefault(false);
    cmdEsc_Edit->setAutoDefault(false);

    ApplyCaptions(this);
    loadBudgets();
}

void frmEditBudgetNames::loadBudgets() {
    const std::optional<budget::BudgetList> list = budget::LoadBudgets(m_store);
    if (!list) {
        return;
    }
    for (int i = 0; i < list->count(); ++i) {
        addRow(list->ids[i], list->names.value(i), list->showPrivate.value(i), list->requestPin.value(i));
    }
    if (LV1->topLevelItemCount() > 0) {
        LV1->setCurrentItem(LV1->topLevelItem(0));
    }
}

QTreeWidgetItem* frmEditBudgetNames::addRow(int id, const QString& name, bool showPrivate, bool requestPin) {
    auto* row = new QTreeWidgetItem(LV1);
    row->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
    row->setData(kCheckColumn, Qt::UserRole, RowKey(id));
    row->setCheckState(kCheckColumn, showPrivate ? Qt::Checked : Qt::Unchecked);
    row->setText(kNameColumn, name);
    row->setText(kPinColumn, requestPin ? QStringLiteral("X") : QString());
    return row;
}

void frmEditBudgetNames::openEdit(QTreeWidgetItem* row) {
    m_editRow = row;
    picEdit->show();
    picButtons->hide();
    // A hidden panel keeps its buttons enabled; the keys ask whether cmdOK can be used, so the panel says no.
    picButtons->setEnabled(false);
    LV1->setEnabled(false);
    txtBudgetName->setFocus();
}

void frmEditBudgetNames::closeEdit() {
    m_editRow = nullptr;
    picEdit->hide();
    picButtons->setEnabled(true);
    picButtons->show();
    LV1->setEnabled(true);
    LV1->setFocus();
}

void frmEditBudgetNames::cmdNew_Click() {
    if (LV1->topLevelItemCount() >= budget::kMaxBudgets) {
        m_store.prompter.message(368, MsgText(368), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return;
    }
    txtBudgetName->clear();
    chkShowPrivate->setChecked(true);
    chkRequestPIN->setChecked(false);
    openEdit(nullptr);
}

void frmEditBudgetNames::cmdEdit_Click() {
    QTreeWidgetItem* row = LV1->currentItem();
    if (row == nullptr) {
        return;
    }
    txtBudgetName->setText(row->text(kNameColumn));
    chkShowPrivate->setChecked(row->checkState(kCheckColumn) == Qt::Checked);
    chkRequestPIN->setChecked(row->text(kPinColumn) == QLatin1String("X"));
    openEdit(row);
}

void frmEditBudgetNames::cmdOK_Edit_Click() {
    const QString name = txtBudgetName->text();
    if (name.isEmpty()) {
        closeEdit();
        return;
    }
    if (!fitsList(name)) {
        txtBudgetName->setFocus();
        return;
    }
    QTreeWidgetItem* row = m_editRow;
    if (row == nullptr) {
        QSet<QString> held;
        for (int i = 0; i < LV1->topLevelItemCount(); ++i) {
            held.insert(KeyOf(LV1->topLevelItem(i)));
        }
        int id = 0;
        while (held.contains(RowKey(id))) {
            ++id;
        }
        row = addRow(id, name, false, false);
    }
    row->setText(kNameColumn, name);
    row->setText(kPinColumn, chkRequestPIN->isChecked() ? QStringLiteral("X") : QString());
    row->setCheckState(kCheckColumn, chkShowPrivate->isChecked() ? Qt::Checked : Qt::Unchecked);
    closeEdit();
    LV1->setCurrentItem(row);
}

void frmEditBudgetNames::cmdDelete_Click() {
    QTreeWidgetItem* row = LV1->currentItem();
    if (row == nullptr) {
        return;
    }
    Prompter& prompter = m_store.prompter;
    if (KeyOf(row) == kPrimaryKey) {
        prompter.message(367, MsgText(367), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return;
    }
    if (prompter.message(365, MsgText(365), Prompter::Buttons::YesNo, Prompter::Icon::Warning) !=
            Prompter::Reply::Yes ||
        prompter.message(366, MsgText(366), Prompter::Buttons::YesNo, Prompter::Icon::Question) !=
            Prompter::Reply::Yes) {
        return;
    }
    delete row;
    cmdOK_Click();
}

int frmEditBudgetNames::save() {
    budget::BudgetList list;
    for (int i = 0; i < LV1->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* row = LV1->topLevelItem(i);
        list.append(static_cast<std::uint8_t>(KeyOf(row).mid(1).toInt()), row->text(kNameColumn),
                    row->checkState(kCheckColumn) == Qt::Checked, row->text(kPinColumn) == QLatin1String("X"));
    }
    return budget::SaveBudgets(m_store, list);
}

void frmEditBudgetNames::ctrlEnter() {
    if (cmdOK->isEnabled()) {
        cmdOK_Click();
    } else {
        cmdOK_Edit_Click();
    }
}

void frmEditBudgetNames::escape() {
    if (cmdOK->isEnabled()) {
        reject();
    } else {
        closeEdit();
    }
}
