#include "sections/vault/ui/frm_classified.h"

#include "base/messages.h"
#include "sections/categories/categories.h"
#include "sections/vault/ui/frm_edit_confidential.h"
#include "sections/vault/ui/frm_weak_passwords.h"
#include "shell/catalogue/captions.h"
#include "shell/dates.h"
#include "shell/session.h"
#include "shell/show_result.h"
#include "shell/ui/apply_captions.h"
#include "shell/ui/modal.h"
#include "shell/ui/named_control.h"
#include "store/keys.h"
#include "store/store.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QClipboard>
#include <QDateTime>
#include <QFormLayout>
#include <QFrame>
#include <QGridLayout>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QSplitter>
#include <QVBoxLayout>

frmClassified::frmClassified(Session& session, QWidget* parent)
    : SectionForm(parent)
    , m_session(session) {
    setObjectName(QStringLiteral("frmClassified"));

    auto* choices = new QGridLayout;
    auto* group = new QButtonGroup(this);
    std::array<int, vault::kMainCategoryCount> rows{};
    for (int g = 0; g < vault::kMainCategoryCount; ++g) {
        QLabel*& heading = lblMainCategory[static_cast<std::size_t>(g)];
        heading = Named<QLabel>(this, ArrayElementName("lblMainCategory", g));
        heading->setText(vault::MainCategoryCaption(g));
        QFont bold = heading->font();
        bold.setBold(true);
        heading->setFont(bold);
        choices->addWidget(heading, 0, g);
    }
    cat[0] = Named<QRadioButton>(this, ArrayElementName("cat", 0));
    cat[0]->setText(QStringLiteral("default"));
    cat[0]->hide();
    group->addButton(cat[0], 0);
    for (const vault::SubCategory& sub : vault::SubCategories()) {
        QRadioButton*& option = cat[static_cast<std::size_t>(sub.number)];
        option = Named<QRadioButton>(this, ArrayElementName("cat", sub.number));
        option->setText(QLatin1String(sub.caption));
        option->setToolTip(QLatin1String(sub.tip));
        option->setAutoFillBackground(true);
        group->addButton(option, sub.number);
        choices->addWidget(option, ++rows[static_cast<std::size_t>(sub.mainCategory)], sub.mainCategory);
    }
    connect(group, &QButtonGroup::idClicked, this, [this](int index) { cat_Click(index); });

    lblCategory = Named<QLabel>(this, QStringLiteral("lblCategory"));
    ListSelect = Named<QListWidget>(this, QStringLiteral("ListSelect"));
    ListSelect->installEventFilter(this);
    connect(ListSelect, &QListWidget::itemSelectionChanged, this, [this] {
        showRecord(selectedKey());
        updateCommands();
    });
    connect(ListSelect, &QListWidget::itemDoubleClicked, this, &frmClassified::cmdEdit_Click);
    const RecordButtons buttons = recordButtons(tr("New record"));
    cmdAdd = buttons.add;
    cmdEdit = buttons.edit;
    cmdDelete = buttons.remove;
    m_newTool = buttons.newTool;
    connect(cmdAdd, &QPushButton::clicked, this, &frmClassified::cmdAdd_Click);
    connect(cmdEdit, &QPushButton::clicked, this, &frmClassified::cmdEdit_Click);
    connect(cmdDelete, &QPushButton::clicked, this, &frmClassified::cmdDelete_Click);
    tbrWeakPasswords = toolAction("tbrWeakPasswords", "kiWeakPasswords", tr("Weak or reused passwords"));
    connect(tbrWeakPasswords, &QAction::triggered, this, &frmClassified::ShowWeakPasswords);

    padFrame = Named<QFrame>(this, QStringLiteral("padFrame"));
    auto* fields = new QFormLayout;
    for (int i = 0; i < vault::kValueCount; ++i) {
        QLabel*& label = lblTxt[static_cast<std::size_t>(i)];
        QLineEdit*& value = txtCtl[static_cast<std::size_t>(i)];
        label = Named<QLabel>(padFrame, ArrayElementName("lblTxt", i));
        value = Named<QLineEdit>(padFrame, ArrayElementName("txtCtl", i));
        value->setReadOnly(true);
        // The field's own menu would copy around the guard and show nothing of a masked value; ours does both.
        value->setContextMenuPolicy(Qt::CustomContextMenu);
        connect(value, &QLineEdit::customContextMenuRequested, this,
                [this, i](const QPoint& at) { showCopyMenu(i, at); });
        fields->addRow(label, value);
    }
    chkPlainPW = Named<QCheckBox>(padFrame, QStringLiteral("chkPlainPW"));
    connect(chkPlainPW, &QCheckBox::clicked, this, &frmClassified::chkPlainPW_Click);
    ctlPrivate = Named<QCheckBox>(padFrame, QStringLiteral("ctlPrivate"));
    ctlPrivate->setEnabled(false);
    lblNotes = Named<QLabel>(padFrame, QStringLiteral("lblNotes"));
    txtNotes = Named<QPlainTextEdit>(padFrame, QStringLiteral("txtNotes"));
    txtNotes->setReadOnly(true);
    lblLastModified = Named<QLabel>(padFrame, QStringLiteral("lblLastModified"));
    auto* marks = new QHBoxLayout;
    marks->addWidget(chkPlainPW);
    marks->addStretch();
    marks->addWidget(ctlPrivate);
    auto* pane = new QVBoxLayout(padFrame);
    pane->addLayout(fields);
    pane->addLayout(marks);
    pane->addWidget(lblNotes);
    pane->addWidget(txtNotes, 1);
    pane->addWidget(lblLastModified);

    auto* listSide = new QWidget(this);
    auto* left = new QVBoxLayout(listSide);
    left->setContentsMargins(0, 0, 0, 0);
    left->addWidget(lblCategory);
    left->addWidget(ListSelect, 1);
    // Before a choice the list is hidden and the buttons stay at the foot.
    left->addStretch();
    left->addLayout(buttons.row);
    // The pane keeps its place while no record is shown, so the list does not jump in width.
    auto* paneSide = new QWidget(this);
    auto* right = new QVBoxLayout(paneSide);
    right->setContentsMargins(0, 0, 0, 0);
    right->addWidget(padFrame);
    auto* splitter = new QSplitter(this);
    splitter->addWidget(listSide);
    splitter->addWidget(paneSide);
    splitter->setStretchFactor(1, 2);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(choices);
    layout->addSpacing(8);
    layout->addWidget(splitter, 1);

    ApplyCaptions(this);
    cat[0]->setChecked(true);
    cat_Click(0);
}

QList<QAction*> frmClassified::toolActions() {
    return {m_newTool, tbrWeakPasswords};
}

void frmClassified::cat_Click(int index, std::int32_t key) {
    m_subCategory = vault::FindSubCategory(index) != nullptr ? index : 0;
    for (std::size_t i = 1; i < cat.size(); ++i) {
        QRadioButton* option = cat[i];
        const bool chosen = static_cast<int>(i) == m_subCategory;
        option->setBackgroundRole(chosen ? QPalette::Highlight : QPalette::Window);
        option->setForegroundRole(chosen ? QPalette::HighlightedText : QPalette::WindowText);
        if (chosen) {
            option->setChecked(true);
        }
    }
    lblNotes->setText(vault::NotesLabel(m_subCategory));
    const QStringList labels = vault::Labels(m_subCategory);
    for (int i = 0; i < vault::kValueCount; ++i) {
        const bool used = i < labels.size();
        lblTxt[static_cast<std::size_t>(i)]->setText(used ? labels[i] : QString());
        lblTxt[static_cast<std::size_t>(i)]->setVisible(used);
        txtCtl[static_cast<std::size_t>(i)]->setVisible(used);
    }
    chkPlainPW->setVisible(vault::HasPasswordLabel(m_subCategory));
    applyMasks();
    const vault::SubCategory* sub = vault::FindSubCategory(m_subCategory);
    lblCategory->setText(sub != nullptr
                             ? MsgText(262) + QStringLiteral(":  ") + QString::fromLatin1(sub->caption).toUpper()
                             : tr("Choose a kind of record above."));
    ListSelect->setVisible(sub != nullptr);
    listSelect_Initialize(key);
    if (sub != nullptr) {
        cat[static_cast<std::size_t>(m_subCategory)]->setFocus();
    }
}

void frmClassified::applyMasks() {
    const QStringList labels = vault::Labels(m_subCategory);
    for (int i = 0; i < vault::kValueCount; ++i) {
        const bool masked = i < labels.size() && vault::IsPasswordLabel(labels[i]) && !chkPlainPW->isChecked();
        txtCtl[static_cast<std::size_t>(i)]->setEchoMode(masked ? QLineEdit::Password : QLineEdit::Normal);
    }
}

void frmClassified::listSelect_Initialize(std::int32_t key) {
    {
        const QSignalBlocker quiet(ListSelect);
        ListSelect->clear();
        if (m_subCategory != 0) {
            for (const records::ListedTitle& row : vault::ListEntries(m_session.store(), m_subCategory)) {
                auto* item = new QListWidgetItem(row.title, ListSelect);
                item->setData(Qt::UserRole, row.key);
            }
            ListSelect->sortItems();
        }
        ListSelect->setCurrentRow(-1);
        for (int i = 0; i < ListSelect->count() && key != 0; ++i) {
            if (ListSelect->item(i)->data(Qt::UserRole).toInt() == key) {
                ListSelect->setCurrentRow(i);
            }
        }
    }
    showRecord(selectedKey());
    updateCommands();
    m_session.frame.ShowStatusComment(
        QStringLiteral("%1: %2").arg(sections::Name(vault::kVaultSection)).arg(ListSelect->count()));
}

std::int32_t frmClassified::selectedKey() const {
    const QList<QListWidgetItem*> selected = ListSelect->selectedItems();
    return selected.isEmpty() ? 0 : selected.first()->data(Qt::UserRole).toInt();
}

void frmClassified::clearPad() {
    for (QLineEdit* value : txtCtl) {
        value->clear();
    }
    txtNotes->clear();
    txtNotes->setProperty("Tag", QString());
    lblLastModified->clear();
    ctlPrivate->setChecked(false);
    padFrame->hide();
    m_shownKey = 0;
}

void frmClassified::showRecord(std::int32_t key) {
    if (key == 0) {
        clearPad();
        return;
    }
    std::optional<vault::Entry> entry = vault::LoadEntry(m_session.store(), key);
    if (!entry) {
        // A record that does not read leaves the pane as it was.
        return;
    }
    clearPad();
    // Another person's record shows nothing of itself.
    if (entry->owner == m_session.store().user.level) {
        for (int i = 0; i < vault::kValueCount; ++i) {
            txtCtl[static_cast<std::size_t>(i)]->setText(entry->values[static_cast<std::size_t>(i)]);
        }
        txtNotes->setPlainText(entry->notes);
        ctlPrivate->setChecked(entry->isPrivate);
        lblLastModified->setText(MsgText(263) + QStringLiteral(": ") + dates::ShortDateTime(entry->modified));
    }
    txtNotes->setProperty("Tag", QString::number(key));
    m_shownKey = key;
    vault::Wipe(*entry);
    padFrame->show();
}

void frmClassified::updateCommands() {
    cmdAdd->setEnabled(m_subCategory != 0);
    m_newTool->setEnabled(m_subCategory != 0);
    cmdEdit->setEnabled(padFrame->isVisible() && m_shownKey != 0);
    cmdDelete->setEnabled(padFrame->isVisible() && m_shownKey != 0);
}

void frmClassified::privateSwitched() {
    // Hiding means the person may be away: no value stays in the pane and the passwords are masked again.
    const bool hiding = m_session.store().hidePrivate;
    if (hiding) {
        chkPlainPW->setChecked(false);
        applyMasks();
    }
    listSelect_Initialize(hiding ? 0 : m_shownKey);
}

void frmClassified::showFound(const FoundRecord& found) {
    cat_Click(categories::GetRecordCategory(m_session.store(), found.key), found.key);
}

void frmClassified::chkPlainPW_Click(bool on) {
    if (on) {
        // Someone passing by must not see every password with one click.
        const QSignalBlocker quiet(chkPlainPW);
        chkPlainPW->setChecked(false);
        if (keys::ConfirmPassphrase(m_session.store(), false)) {
            chkPlainPW->setChecked(true);
        }
    }
    applyMasks();
}

void frmClassified::showCopyMenu(int field, const QPoint& at) {
    QLineEdit* value = txtCtl[static_cast<std::size_t>(field)];
    if (value->text().isEmpty()) {
        return;
    }
    auto* menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("mnuCopy"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QAction* copy = menu->addAction(QString());
    copy->setObjectName(QStringLiteral("mnuCopyValue"));
    copy->setText(tr("&Copy"));
    // The frame's clipboard guard marks what this program puts there as secret and wipes it after 30 seconds.
    connect(copy, &QAction::triggered, this, [value] { QGuiApplication::clipboard()->setText(value->text()); });
    menu->popup(value->mapToGlobal(at));
}

bool frmClassified::eventFilter(QObject* watched, QEvent* event) {
    if (watched == ListSelect && event->type() == QEvent::KeyPress && ListSelect->selectedItems().isEmpty() &&
        ListSelect->count() > 0) {
        switch (static_cast<QKeyEvent*>(event)->key()) {
        case Qt::Key_Down:
        case Qt::Key_Right:
        case Qt::Key_Tab:
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_PageDown:
            ListSelect->setCurrentRow(0);
            return true;
        default:
            break;
        }
    }
    return SectionForm::eventFilter(watched, event);
}

void frmClassified::cmdAdd_Click() {
    if (m_subCategory == 0) {
        return;
    }
    editEntry(vault::NewEntry(m_session.store().user.level, m_subCategory));
}

void frmClassified::cmdEdit_Click() {
    if (m_shownKey == 0) {
        return;
    }
    Result result;
    std::optional<vault::Entry> entry = vault::LoadEntry(m_session.store(), m_shownKey, &result);
    if (!entry) {
        ShowResult(m_session.store().prompter, result);
        return;
    }
    editEntry(*entry);
    vault::Wipe(*entry);
}

void frmClassified::editEntry(const vault::Entry& entry) {
    const modal::Scoped<frmEditConfidential> dialog(m_session.store(), entry, chkPlainPW->isChecked(), this);
    dialog->move(padFrame->mapToGlobal(QPoint(0, 0)));
    dialog.exec();
    if (dialog.get() != nullptr && !dialog->cancelled()) {
        const std::int32_t stored = dialog->storedKey();
        listSelect_Initialize(stored);
        // A new record starts private, so while private records are hidden it would vanish without a word.
        if (stored > 0 && m_shownKey != stored) {
            m_session.store().prompter.message(
                0, tr("The record is stored. It is private, and private records are hidden: show them to see it."),
                Prompter::Buttons::Ok, Prompter::Icon::Information);
        }
    }
}

void frmClassified::cmdDelete_Click() {
    if (m_shownKey == 0 || ListSelect->count() == 0) {
        return;
    }
    Prompter& prompter = m_session.store().prompter;
    if (prompter.message(79, MsgText(79) + QStringLiteral("\n\n   ") + txtCtl[0]->text(), Prompter::Buttons::OkCancel,
                         Prompter::Icon::Warning) != Prompter::Reply::Ok) {
        return;
    }
    ShowResult(prompter, vault::DeleteEntry(m_session.store(), m_shownKey));
    clearPad();
    listSelect_Initialize();
    if (ListSelect->count() > 0) {
        ListSelect->setCurrentRow(0);
    }
}

void frmClassified::ShowWeakPasswords() {
    const modal::Scoped<frmWeakPasswords> dialog(vault::WeakOrReusedPasswords(m_session.store()), this);
    if (dialog.exec() == QDialog::Accepted && dialog.get() != nullptr && dialog->chosenKey() != 0) {
        cat_Click(dialog->chosenSubCategory(), dialog->chosenKey());
    }
}
