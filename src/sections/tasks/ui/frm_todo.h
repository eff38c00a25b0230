#pragma once

#include "sections/tasks/task.h"
#include "shell/ui/section_form.h"

#include <array>
#include <cstdint>

class CategoryFilter;
class QCheckBox;
class QComboBox;
class QMenu;
class QPushButton;
class QToolButton;
class QTreeWidget;
class QTreeWidgetItem;
class Session;

// The Tasks section: one list of tasks with priority, due date, completion and category.
class frmTodo : public SectionForm {
    Q_OBJECT
public:
    explicit frmTodo(Session& session, QWidget* parent = nullptr);

    QList<QAction*> menuActions() override;
    QList<QAction*> toolActions() override;
    void privateSwitched() override;
    // The filter takes the task's category; a completed task brings the completed ones into the list.
    void showFound(const FoundRecord& found) override;

    // Reads the list again and selects `key` (or the first row).
    void ShowListItems(std::int32_t key = 0);
    std::int32_t selectedKey() const;
    void TodoList_ColumnClick(int column);
    tasks::TodoSort sort() const { return m_sort; }

    void cmdAdd_Click();
    void cmdEdit_Click();
    void cmdDelete_Click();
    void DeleteCompleted();
    void DeleteAll();
    void SetPriority(int level);
    void ToggleCompleted();
    // Asks for a due date; with `none` the due date is cleared.
    void SetDueDate(bool none);

    QComboBox* cboCategories = nullptr;
    QToolButton* cmdEditCat = nullptr;
    QCheckBox* ShowCompleted = nullptr;
    QTreeWidget* TodoList = nullptr;
    QPushButton* cmdAdd = nullptr;
    QPushButton* cmdEdit = nullptr;
    QPushButton* cmdDelete = nullptr;
    QAction* mnuTodoEdit = nullptr;
    QAction* mnuTodoDeleteItem = nullptr;
    QAction* mnuTodoDeleteCompleted = nullptr;
    QAction* mnuTodoDeleteAll = nullptr;
    QAction* mnuCompleted = nullptr;
    QMenu* mnuTodoPriorityMenu = nullptr;
    std::array<QAction*, 3> mnuTodoPriority{};
    QMenu* mnuTodoRCDueDate = nullptr;
    QAction* mnuTodoRCDueDateChooseDate = nullptr;
    QAction* mnuTodoRCDueDateNoDate = nullptr;
    QMenu* mnuTodoRC = nullptr;

private:
    void buildMenus();
    void edit(const tasks::Task& task);
    void rowChecked(QTreeWidgetItem* item, int column);
    void fillRow(QTreeWidgetItem* item, const tasks::Task& task, const QDate& today);
    QString categoryName(int number) const;
    void updateCommands();

    Session& m_session;
    CategoryFilter* m_filter;
    tasks::TodoSort m_sort;
    bool m_filling = false;
    QAction* m_newTool = nullptr;
};
