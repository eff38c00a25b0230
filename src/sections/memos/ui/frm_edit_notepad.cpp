#include "sections/memos/ui/frm_edit_notepad.h"

#include "base/messages.h"
#include "sections/memos/ui/memo_dates.h"
#include "sections/ui/category_filter.h"
#include "shell/ui/apply_captions.h"
#include "store/store.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateTime>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QToolButton>
#include <QVBoxLayout>

frmEditNotepad::frmEditNotepad(Store& store, const memos::Memo& memo, QWidget* parent)
    : EditorDialog(store.prompter, parent)
    , m_store(store)
    , m_memo(memo) {
    setObjectName(QStringLiteral("frmEditNotepad"));
    ctlSubject = new QLineEdit(this);
    ctlSubject->setObjectName(QStringLiteral("ctlSubject"));
    ctlNote = new QPlainTextEdit(this);
    ctlNote->setObjectName(QStringLiteral("ctlNote"));
    ctlNote->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    ctlPrivate = new QCheckBox(this);
    ctlPrivate->setObjectName(QStringLiteral("ctlPrivate"));
    m_category = new CategoryPicker(store, memos::kMemoSection, QStringLiteral("ctlCategory"), this);
    ctlCategory = m_category->combo;
    cmdEditCat = m_category->editButton;
    ctlDateCreated = new QLabel(this);
    ctlDateCreated->setObjectName(QStringLiteral("ctlDateCreated"));
    ctlLastModified = new QLabel(this);
    ctlLastModified->setObjectName(QStringLiteral("ctlLastModified"));

    auto* category = new QHBoxLayout;
    category->addWidget(ctlCategory, 1);
    category->addWidget(cmdEditCat);
    category->addWidget(ctlPrivate);
    auto* form = new QFormLayout;
    auto* subjectLabel = new QLabel(this);
    subjectLabel->setObjectName(QStringLiteral("lblSubject"));
    auto* categoryLabel = new QLabel(this);
    categoryLabel->setObjectName(QStringLiteral("lblCategory"));
    form->addRow(subjectLabel, ctlSubject);
    form->addRow(categoryLabel, category);
    auto* dates = new QHBoxLayout;
    dates->addWidget(ctlDateCreated);
    dates->addStretch();
    dates->addWidget(ctlLastModified);
    body()->addLayout(form);
    body()->addWidget(ctlNote, 1);
    body()->addLayout(dates);
    ApplyCaptions(this);

    m_category->fill(memo.category);
    ctlSubject->setText(memo.subject);
    ctlNote->setPlainText(memo.text);
    ctlPrivate->setChecked(memo.isPrivate);
    ctlDateCreated->setText(memo_dates::Created(memo));
    ctlLastModified->setText(memo_dates::Modified(memo));
    markLoaded();
    resize(560, 480);
    ctlNote->setFocus();
}

QVariantList frmEditNotepad::values() const {
    return {ctlSubject->text(), ctlNote->toPlainText(), ctlPrivate->isChecked(), m_category->selected()};
}

bool frmEditNotepad::accepted() {
    memos::Memo typed = m_memo;
    typed.subject = ctlSubject->text();
    typed.text = ctlNote->toPlainText();
    typed.isPrivate = ctlPrivate->isChecked();
    typed.category = m_category->selected();
    if (!agreesToCut(QStringLiteral("subject"), typed.subject) || !agreesToCut(QStringLiteral("memo"), typed.text)) {
        return false;
    }
    const Result result = memos::StoreMemo(m_store, typed, QDateTime::currentDateTime());
    if (!result.ok()) {
        reportFailure(result);
        return false;
    }
    m_memo = typed;
    return true;
}
