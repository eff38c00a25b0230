#pragma once

#include "sections/memos/memo.h"
#include "sections/ui/record_list_form.h"

class QAction;
class QCheckBox;
class QComboBox;
class QFrame;
class QLabel;
class QLineEdit;
class QPlainTextEdit;

// The Memos section: the subjects of a category, and the selected memo beside them.
class frmNotepad : public RecordListForm {
    Q_OBJECT
public:
    explicit frmNotepad(Session& session, QWidget* parent = nullptr);

    QList<QAction*> menuActions() override;
    void cmdAdd_Click() override;
    void cmdEdit_Click() override;

    QFrame* padFrame = nullptr;
    QLineEdit* txtSubject = nullptr;
    QCheckBox* ctlPrivate = nullptr;
    QComboBox* cboCategory = nullptr;
    QLabel* ctlDateCreated = nullptr;
    QLabel* ctlLastModified = nullptr;
    QPlainTextEdit* txtInput = nullptr;
    QAction* mnuMemoDeleteCategory = nullptr;
    QAction* mnuMemoDeleteAll = nullptr;

protected:
    void showRecord(std::int32_t key) override;
    int deleteMessage() const override { return 27; }

private:
    // Runs the editor on `memo`; the stored memo is shown afterwards.
    void editMemo(const memos::Memo& memo);
};
