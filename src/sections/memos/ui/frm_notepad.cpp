#include "sections/memos/ui/frm_notepad.h"

#include "base/messages.h"
#include "sections/memos/memo.h"
#include "sections/memos/ui/frm_edit_notepad.h"
#include "sections/memos/ui/memo_dates.h"
#include "sections/ui/category_filter.h"
#include "shell/session.h"
#include "shell/show_result.h"
#include "shell/ui/apply_captions.h"
#include "shell/ui/modal.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTime>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QVBoxLayout>

frmNotepad::frmNotepad(Session& session, QWidget* parent)
    : RecordListForm(session, SectionId::Memos, tr("New Memo"), parent) {
    padFrame = new QFrame(this);
    padFrame->setObjectName(QStringLiteral("padFrame"));
    txtSubject = new QLineEdit(padFrame);
    txtSubject->setObjectName(QStringLiteral("txtSubject"));
    txtSubject->setReadOnly(true);
    ctlPrivate = new QCheckBox(padFrame);
    ctlPrivate->setObjectName(QStringLiteral("ctlPrivate"));
    ctlPrivate->setEnabled(false);
    cboCategory = new QComboBox(padFrame);
    cboCategory->setObjectName(QStringLiteral("cboCategory"));
    cboCategory->setEnabled(false);
    ctlDateCreated = new QLabel(padFrame);
    ctlDateCreated->setObjectName(QStringLiteral("ctlDateCreated"));
    ctlLastModified = new QLabel(padFrame);
    ctlLastModified->setObjectName(QStringLiteral("ctlLastModified"));
    // The memo is read here and edited in the dialog; the view wraps its lines to the pane.
    txtInput = new QPlainTextEdit(padFrame);
    txtInput->setObjectName(QStringLiteral("txtInput"));
    txtInput->setReadOnly(true);
    txtInput->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    txtInput->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);

    auto* head = new QHBoxLayout;
    head->addWidget(txtSubject, 1);
    head->addWidget(cboCategory);
    head->addWidget(ctlPrivate);
    auto* pane = new QVBoxLayout(padFrame);
    pane->addLayout(head);
    pane->addWidget(txtInput, 1);
    pane->addWidget(ctlDateCreated);
    pane->addWidget(ctlLastModified);

    mnuMemoDeleteCategory = new QAction(this);
    mnuMemoDeleteCategory->setObjectName(QStringLiteral("mnuMemoDeleteCategory"));
    connect(mnuMemoDeleteCategory, &QAction::triggered, this, [this] { DeleteAll(true); });
    mnuMemoDeleteAll = new QAction(this);
    mnuMemoDeleteAll->setObjectName(QStringLiteral("mnuMemoDeleteAll"));
    connect(mnuMemoDeleteAll, &QAction::triggered, this, [this] { DeleteAll(false); });

    ApplyCaptions(this);
    setPane(padFrame);
}

QList<QAction*> frmNotepad::menuActions() {
    return {mnuMemoDeleteCategory, mnuMemoDeleteAll};
}

void frmNotepad::showRecord(std::int32_t key) {
    const std::optional<memos::Memo> memo = key != 0 ? memos::LoadMemo(m_session.store(), key) : std::nullopt;
    if (key != 0 && !memo) {
        // A memo that does not read leaves the display as it was.
        return;
    }
    padFrame->setVisible(memo.has_value());
    txtSubject->setText(memo ? memo->subject : QString());
    ctlPrivate->setChecked(memo && memo->isPrivate);
    txtInput->setPlainText(memo ? memo->text : QString());
    txtInput->setProperty("Tag", memo ? QString::number(memo->key) : QString());
    ctlDateCreated->setText(memo ? memo_dates::Created(*memo) : QString());
    ctlLastModified->setText(memo ? memo_dates::Modified(*memo) : QString());
    cboCategory->clear();
    if (memo) {
        cboCategory->addItem(m_filter->nameOf(memo->category));
    }
}

void frmNotepad::cmdAdd_Click() {
    const int category = newRecordCategory();
    const QString subject = m_session.store().prompter.input(MsgText(361), MsgText(360), QString());
    if (subject.isEmpty()) {
        return;
    }
    editMemo(memos::NewMemo(m_session.store().user.level, category, subject, QDateTime::currentDateTime()));
}

void frmNotepad::cmdEdit_Click() {
    const std::int32_t key = selectedKey();
    if (key == 0) {
        return;
    }
    Result result;
    const std::optional<memos::Memo> memo = memos::LoadMemo(m_session.store(), key, &result);
    if (!memo) {
        ShowResult(m_session.store().prompter, result);
        return;
    }
    editMemo(*memo);
}

void frmNotepad::editMemo(const memos::Memo& memo) {
    const modal::Scoped<frmEditNotepad> dialog(m_session.store(), memo, this);
    dialog.exec();
    if (dialog.get() != nullptr && !dialog->cancelled()) {
        ShowStored(dialog->memo().key, dialog->memo().category);
    }
}
