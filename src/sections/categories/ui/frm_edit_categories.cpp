#include "sections/categories/ui/frm_edit_categories.h"

#include "base/messages.h"
#include "sections/categories/categories.h"
#include "shell/ui/apply_captions.h"
#include "shell/ui/list_controls.h"
#include "shell/ui/named_control.h"
#include "store/store.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QListWidget>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

namespace {

// The entry the person has selected; the current one does not count once it is deselected.
QListWidgetItem* SelectedItem(const QListWidget* list) {
    QListWidgetItem* item = list->currentItem();
    return item != nullptr && item->isSelected() ? item : nullptr;
}

} // namespace

frmEditCategories::frmEditCategories(Store& store, int section, int budget, QWidget* parent)
    : QDialog(parent)
    , m_store(store)
    , m_section(section)
    , m_budget(budget) {
    setObjectName(QStringLiteral("frmEditCategories"));
    setModal(true);
    CatList = new QListWidget(this);
    CatList->setObjectName(QStringLiteral("CatList"));
    cmdNew = Named<QPushButton>(this, QStringLiteral("cmdNew"));
    cmdRename = Named<QPushButton>(this, QStringLiteral("cmdRename"));
    cmdDelete = Named<QPushButton>(this, QStringLiteral("cmdDelete"));
    cmdOK = Named<QPushButton>(this, QStringLiteral("cmdOK"));
    cmdEsc = Named<QPushButton>(this, QStringLiteral("cmdEsc"));

    auto* buttons = new QVBoxLayout;
    for (QPushButton* button : {cmdNew, cmdRename, cmdDelete}) {
        buttons->addWidget(button);
    }
    buttons->addStretch();
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdEsc);
    auto* layout = new QHBoxLayout(this);
    layout->addWidget(CatList, 1);
    layout->addLayout(buttons);

    connect(cmdNew, &QPushButton::clicked, this, &frmEditCategories::cmdNew_Click);
    connect(cmdRename, &QPushButton::clicked, this, &frmEditCategories::cmdRename_Click);
    connect(cmdDelete, &QPushButton::clicked, this, &frmEditCategories::cmdDelete_Click);
    connect(cmdOK, &QPushButton::clicked, this, &frmEditCategories::cmdOK_Click);
    connect(cmdEsc, &QPushButton::clicked, this, &frmEditCategories::cmdEsc_Click);
    // The Esc button, the key and the window's close button all leave the same way: nothing kept, nothing deleted.
    connect(this, &QDialog::rejected, this, [this] {
        m_cancelled = true;
        m_categoryDeleted = false;
    });
    // A shortcut, not a key handler: a focused push button would take Ctrl+Enter as its own click.
    for (const QKeyCombination keys : {Qt::CTRL | Qt::Key_Return, Qt::CTRL | Qt::Key_Enter}) {
        connect(new QShortcut(QKeySequence(keys), this), &QShortcut::activated, this, &frmEditCategories::cmdOK_Click);
    }
    ApplyCaptions(this);

    ListEntries entries;
    categories::FillCategoryEntries(m_store, entries, m_section, {},
                                    m_section == categories::kBudgetSection ? std::optional<int>(m_budget)
                                                                            : std::nullopt);
    list_controls::AddEntries(CatList, entries);
    if (CatList->count() > 0) {
        CatList->setCurrentRow(0);
    }
    cmdNew->setFocus();
}

void frmEditCategories::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        cmdEsc_Click();
        return;
    }
    QDialog::keyPressEvent(event);
}

void frmEditCategories::cmdNew_Click() {
    const QString name = m_store.prompter.input(MsgText(355), MsgText(355), QString());
    if (name.isEmpty() || !fitsList(name)) {
        return;
    }
    const int id = categories::NewCategoryId(list_controls::Entries(CatList));
    auto* item = new QListWidgetItem(name);
    item->setData(Qt::UserRole, id);
    const int row = categories::SortedPosition(list_controls::Entries(CatList), name);
    CatList->insertItem(row, item);
    CatList->setCurrentRow(row);
    m_lastNewId = id;
}

void frmEditCategories::cmdRename_Click() {
    QListWidgetItem* item = SelectedItem(CatList);
    if (item == nullptr) {
        m_store.prompter.message(18, MsgText(18));
        return;
    }
    const int id = item->data(Qt::UserRole).toInt();
    if (id < 1 || id == categories::kEditCommand) {
        return;
    }
    const QString name = m_store.prompter.input(MsgText(356), MsgText(356), item->text());
    if (!name.isEmpty() && fitsList(name)) {
        item->setText(name);
    }
}

bool frmEditCategories::fitsList(const QString& name) {
    if (categories::NameFitsList(name)) {
        return true;
    }
    m_store.prompter.message(0, categories::NameRefusal(), Prompter::Buttons::Ok, Prompter::Icon::Warning);
    return false;
}

void frmEditCategories::cmdDelete_Click() {
    QListWidgetItem* item = SelectedItem(CatList);
    if (item == nullptr) {
        return;
    }
    const int id = item->data(Qt::UserRole).toInt();
    // 255 has always been kept from deletion here, beside the built-in ids.
    if (id < 1 || id == 255) {
        return;
    }
    if (m_store.prompter.message(19, MsgText(19), Prompter::Buttons::OkCancel, Prompter::Icon::Warning) !=
        Prompter::Reply::Ok) {
        return;
    }
    delete item;
    m_categoryDeleted = true;
}

void frmEditCategories::cmdOK_Click() {
    if (const int error = categories::SaveCategoryList(m_store, list_controls::Entries(CatList), m_section, m_budget)) {
        m_store.prompter.message(0, ListSaveFailure(error), Prompter::Buttons::Ok, Prompter::Icon::Critical);
        return;
    }
    m_cancelled = false;
    accept();
}

void frmEditCategories::cmdEsc_Click() {
    reject();
}
