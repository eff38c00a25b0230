#pragma once

#include "sections/memos/memo.h"
#include "shell/ui/editor_dialog.h"

class CategoryPicker;
class Store;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QToolButton;

// Edits one memo and stores it on OK; a store that fails keeps the dialog open with everything typed.
class frmEditNotepad : public EditorDialog {
    Q_OBJECT
public:
    frmEditNotepad(Store& store, const memos::Memo& memo, QWidget* parent = nullptr);

    // The memo as stored by OK.
    const memos::Memo& memo() const { return m_memo; }

    QLineEdit* ctlSubject = nullptr;
    QPlainTextEdit* ctlNote = nullptr;
    QCheckBox* ctlPrivate = nullptr;
    QComboBox* ctlCategory = nullptr;
    QToolButton* cmdEditCat = nullptr;
    QLabel* ctlDateCreated = nullptr;
    QLabel* ctlLastModified = nullptr;

protected:
    QVariantList values() const override;
    bool accepted() override;

private:
    Store& m_store;
    memos::Memo m_memo;
    CategoryPicker* m_category = nullptr;
};
