#pragma once

#include "sections/tasks/task.h"
#include "shell/ui/editor_dialog.h"

#include <array>

class CategoryPicker;
class OptionalDateEdit;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QPlainTextEdit;
class QRadioButton;
class QToolButton;
class Store;

// Edits one task and stores it on OK; a store that fails keeps the dialog open with everything typed.
class frmEditTodo : public EditorDialog {
    Q_OBJECT
public:
    frmEditTodo(Store& store, const tasks::Task& task, QWidget* parent = nullptr);

    // The task as stored by OK.
    const tasks::Task& task() const { return m_task; }

    QLineEdit* ctlTask = nullptr;
    QPlainTextEdit* ctlNote = nullptr;
    std::array<QRadioButton*, 3> ctlPri{};
    QCheckBox* ctlPrivate = nullptr;
    QComboBox* cboCategory = nullptr;
    QToolButton* cmdEditCat = nullptr;
    OptionalDateEdit* ctlDateDue = nullptr;
    OptionalDateEdit* ctlDateCompleted = nullptr;

public Q_SLOTS:
    // With changes, asks whether to store them; no leads to the question whether to drop them.
    void reject() override;

protected:
    QVariantList values() const override;
    bool accepted() override;

private:
    void ctlDateDue_Change(const QDate& date, const QDate& before);
    void ctlDateCompleted_Change(const QDate& date, const QDate& before);
    int priority() const;

    Store& m_store;
    tasks::Task m_task;
    CategoryPicker* m_category = nullptr;
};
