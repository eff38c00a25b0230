#include "sections/ui/list_editor_dialog.h"

#include "base/messages.h"
#include "shell/list_entry.h"
#include "shell/ui/apply_captions.h"
#include "shell/ui/named_control.h"
#include "store/store.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

ListEditorDialog::ListEditorDialog(Store& store, const QString& name, NameRule rule, QWidget* parent)
    : QDialog(parent)
    , m_store(store)
    , m_rule(rule) {
    setObjectName(name);
    setModal(true);
    // The Esc button, the key, the window's close button and the idle watch all leave the same way.
    connect(this, &QDialog::rejected, this, [this] { m_cancelled = true; });
}

QList<QPushButton*> ListEditorDialog::makeCommands(QWidget* parent, QBoxLayout* box, const QString& second,
                                                   const QStringList& more) {
    const auto make = [&](const QString& name) {
        auto* button = Named<QPushButton>(parent, name);
        // Enter with Ctrl belongs to the dialog, whichever button has the focus.
        button->setAutoDefault(false);
        box->addWidget(button);
        return button;
    };
    cmdNew = make(QStringLiteral("cmdNew"));
    QList<QPushButton*> own{make(second)};
    cmdDelete = make(QStringLiteral("cmdDelete"));
    if (!more.isEmpty()) {
        box->addSpacing(12);
    }
    for (const QString& name : more) {
        own.append(make(name));
    }
    box->addStretch();
    cmdOK = make(QStringLiteral("cmdOK"));
    cmdEsc = make(QStringLiteral("cmdEsc"));
    connect(cmdNew, &QPushButton::clicked, this, &ListEditorDialog::cmdNew_Click);
    connect(cmdDelete, &QPushButton::clicked, this, &ListEditorDialog::cmdDelete_Click);
    connect(cmdOK, &QPushButton::clicked, this, &ListEditorDialog::cmdOK_Click);
    connect(cmdEsc, &QPushButton::clicked, this, &QDialog::reject);
    return own;
}

void ListEditorDialog::keyPressEvent(QKeyEvent* event) {
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (enter && event->modifiers().testFlag(Qt::ControlModifier)) {
        ctrlEnter();
    } else if (event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier) {
        escape();
    } else {
        QDialog::keyPressEvent(event);
    }
}

void ListEditorDialog::cmdOK_Click() {
    if (const int error = save()) {
        m_store.prompter.message(0, ListSaveFailure(error), Prompter::Buttons::Ok, Prompter::Icon::Critical);
        return;
    }
    m_cancelled = false;
    accept();
}

bool ListEditorDialog::fitsList(const QString& name) {
    if (m_rule.fits(name)) {
        return true;
    }
    m_store.prompter.message(0, m_rule.refusal(), Prompter::Buttons::Ok, Prompter::Icon::Warning);
    return false;
}

QString ListEditorDialog::askName(int title, const QString& current) {
    const QString name = m_store.prompter.input(MsgText(title), MsgText(title), current);
    return name.isEmpty() || !fitsList(name) ? QString() : name;
}

EntryListDialog::EntryListDialog(Store& store, const QString& name, NameRule rule, Kept kept, QWidget* parent,
                                 const QStringList& more)
    : ListEditorDialog(store, name, rule, parent)
    , m_kept(kept) {
    CatList = Named<QListWidget>(this, QStringLiteral("CatList"));
    auto* commands = new QVBoxLayout;
    m_more = makeCommands(this, commands, QStringLiteral("cmdRename"), more);
    cmdRename = m_more.takeFirst();
    auto* layout = new QHBoxLayout(this);
    layout->addWidget(CatList, 1);
    layout->addLayout(commands);
    connect(cmdRename, &QPushButton::clicked, this, &EntryListDialog::cmdRename_Click);
    ApplyCaptions(this);
}

void EntryListDialog::showEvent(QShowEvent* event) {
    ListEditorDialog::showEvent(event);
    m_lastNewId = 0;
    cmdNew->setFocus();
}

QListWidgetItem* EntryListDialog::selectedEntry() const {
    QListWidgetItem* item = CatList->currentItem();
    return item != nullptr && item->isSelected() ? item : nullptr;
}

void EntryListDialog::cmdRename_Click() {
    QListWidgetItem* item = selectedEntry();
    if (item == nullptr) {
        m_store.prompter.message(18, MsgText(18));
        return;
    }
    const int id = item->data(Qt::UserRole).toInt();
    if (id < 1 || id == m_kept.fromRename) {
        return;
    }
    const QString name = askName(356, item->text());
    if (!name.isNull()) {
        item->setText(name);
    }
}

void EntryListDialog::cmdDelete_Click() {
    QListWidgetItem* item = selectedEntry();
    if (item == nullptr) {
        return;
    }
    const int id = item->data(Qt::UserRole).toInt();
    if (id < 1 || id == m_kept.fromDelete) {
        return;
    }
    if (m_store.prompter.message(19, MsgText(19), Prompter::Buttons::OkCancel, Prompter::Icon::Warning) !=
        Prompter::Reply::Ok) {
        return;
    }
    deleting(id);
    delete item;
}
