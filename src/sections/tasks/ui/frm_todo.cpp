#include "sections/tasks/ui/frm_todo.h"

#include "base/messages.h"
#include "sections/categories/categories.h"
#include "sections/record_store.h"
#include "sections/tasks/ui/frm_edit_todo.h"
#include "sections/ui/category_filter.h"
#include "shell/catalogue/captions.h"
#include "shell/dates.h"
#include "shell/session.h"
#include "shell/show_result.h"
#include "shell/ui/apply_captions.h"
#include "shell/ui/date_prompt.h"
#include "shell/ui/modal.h"
#include "shell/ui/named_control.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QMenu>
#include <QPushButton>
#include <QSignalBlocker>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

using tasks::Column;

// Widths in twips, as the list was laid out; the hidden sort columns have none. At 15 twips a pixel every
// visible column fits a window of the frame's first size.
constexpr std::array<int, tasks::kColumnCount> kWidths = {4200, 1200, 690, 600, 600, 1800, 1200, 0, 0, 0};
constexpr int kTwipsPerPixel = 15;
constexpr int kFirstCaption = 289;

} // namespace

frmTodo::frmTodo(Session& session, QWidget* parent)
    : SectionForm(parent)
    , m_session(session)
    , m_filter(new CategoryFilter(session, tasks::kTaskSection, this)) {
    setObjectName(QStringLiteral("frmTodo"));
    cboCategories = m_filter->combo;
    cmdEditCat = m_filter->editButton;
    ShowCompleted = Named<QCheckBox>(this, QStringLiteral("ShowCompleted"));
    TodoList = Named<QTreeWidget>(this, QStringLiteral("TodoList"));
    TodoList->setRootIsDecorated(false);
    TodoList->setAllColumnsShowFocus(true);
    TodoList->setUniformRowHeights(true);
    TodoList->setColumnCount(tasks::kColumnCount);
    QStringList headers;
    for (int i = 0; i < tasks::kColumnCount; ++i) {
        headers << (i < tasks::kSort ? MsgText(kFirstCaption + i) : QString());
        TodoList->setColumnWidth(i, kWidths[static_cast<std::size_t>(i)] / kTwipsPerPixel);
    }
    TodoList->setHeaderLabels(headers);
    for (int i = tasks::kSort; i < tasks::kColumnCount; ++i) {
        TodoList->setColumnHidden(i, true);
    }
    TodoList->header()->setSectionsClickable(true);
    TodoList->setContextMenuPolicy(Qt::CustomContextMenu);
    const RecordButtons buttons = recordButtons(tr("New Task"));
    cmdAdd = buttons.add;
    cmdEdit = buttons.edit;
    cmdDelete = buttons.remove;
    m_newTool = buttons.newTool;
    buildMenus();

    auto* filter = new QHBoxLayout;
    filter->addWidget(cboCategories, 1);
    filter->addWidget(cmdEditCat);
    filter->addSpacing(12);
    filter->addWidget(ShowCompleted);
    buttons.row->addStretch();
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(filter);
    layout->addWidget(TodoList, 1);
    layout->addLayout(buttons.row);
    ApplyCaptions(this);

    connect(m_filter, &CategoryFilter::changed, this, [this] { ShowListItems(selectedKey()); });
    connect(ShowCompleted, &QCheckBox::toggled, this, [this] { ShowListItems(selectedKey()); });
    connect(TodoList->header(), &QHeaderView::sectionClicked, this, &frmTodo::TodoList_ColumnClick);
    connect(TodoList, &QTreeWidget::itemChanged, this, &frmTodo::rowChecked);
    connect(TodoList, &QTreeWidget::itemDoubleClicked, this, [this] { cmdEdit_Click(); });
    connect(TodoList, &QTreeWidget::currentItemChanged, this, [this] { updateCommands(); });
    connect(TodoList, &QTreeWidget::customContextMenuRequested, this, [this](const QPoint& at) {
        if (selectedKey() != 0) {
            mnuTodoRC->popup(TodoList->viewport()->mapToGlobal(at));
        }
    });
    connect(cmdAdd, &QPushButton::clicked, this, &frmTodo::cmdAdd_Click);
    connect(cmdEdit, &QPushButton::clicked, this, &frmTodo::cmdEdit_Click);
    connect(cmdDelete, &QPushButton::clicked, this, &frmTodo::cmdDelete_Click);

    {
        const QSignalBlocker quiet(ShowCompleted);
        ShowCompleted->setChecked(m_session.store().preferences.TodoShowCompleted != 0);
    }
    m_filter->restore();
    ShowListItems();
    TodoList->setFocus();
}

void frmTodo::buildMenus() {
    const auto action = [this](const char* name, auto slot) {
        auto* a = new QAction(this);
        a->setObjectName(QLatin1String(name));
        connect(a, &QAction::triggered, this, slot);
        return a;
    };
    mnuTodoEdit = action("mnuTodoEdit", [this] { cmdEdit_Click(); });
    mnuTodoDeleteItem = action("mnuTodoDeleteItem", [this] { cmdDelete_Click(); });
    mnuTodoDeleteCompleted = action("mnuTodoDeleteCompleted", [this] { DeleteCompleted(); });
    mnuTodoDeleteAll = action("mnuTodoDeleteAll", [this] { DeleteAll(); });
    mnuCompleted = action("mnuCompleted", [this] { ToggleCompleted(); });
    mnuTodoPriorityMenu = Named<QMenu>(this, QStringLiteral("mnuTodoPriorities"));
    for (int i = 0; i < 3; ++i) {
        mnuTodoPriority[static_cast<std::size_t>(i)] = mnuTodoPriorityMenu->addAction(QString());
        mnuTodoPriority[static_cast<std::size_t>(i)]->setObjectName(ArrayElementName("mnuTodoPriority", i));
        connect(mnuTodoPriority[static_cast<std::size_t>(i)], &QAction::triggered, this, [this, i] { SetPriority(i); });
    }
    mnuTodoRCDueDate = Named<QMenu>(this, QStringLiteral("mnuTodoRCDueDate"));
    mnuTodoRCDueDateChooseDate = mnuTodoRCDueDate->addAction(QString());
    mnuTodoRCDueDateChooseDate->setObjectName(QStringLiteral("mnuTodoRCDueDateChooseDate"));
    connect(mnuTodoRCDueDateChooseDate, &QAction::triggered, this, [this] { SetDueDate(false); });
    mnuTodoRCDueDateNoDate = mnuTodoRCDueDate->addAction(QString());
    mnuTodoRCDueDateNoDate->setObjectName(QStringLiteral("mnuTodoRCDueDateNoDate"));
    connect(mnuTodoRCDueDateNoDate, &QAction::triggered, this, [this] { SetDueDate(true); });
    mnuTodoRC = Named<QMenu>(this, QStringLiteral("mnuTodoRC"));
    mnuTodoRC->addAction(mnuTodoEdit);
    mnuTodoRC->addAction(mnuCompleted);
    mnuTodoRC->addMenu(mnuTodoPriorityMenu);
    mnuTodoRC->addMenu(mnuTodoRCDueDate);
    mnuTodoRC->addSeparator();
    mnuTodoRC->addAction(mnuTodoDeleteItem);
}

QList<QAction*> frmTodo::menuActions() {
    return {mnuTodoEdit,
            mnuCompleted,
            mnuTodoPriorityMenu->menuAction(),
            mnuTodoRCDueDate->menuAction(),
            nullptr,
            mnuTodoDeleteItem,
            mnuTodoDeleteCompleted,
            mnuTodoDeleteAll};
}

QList<QAction*> frmTodo::toolActions() {
    return {m_newTool};
}

void frmTodo::privateSwitched() {
    ShowListItems(selectedKey());
}

void frmTodo::showFound(const FoundRecord& found) {
    Store& store = m_session.store();
    m_filter->fill(categories::GetRecordCategory(store, found.key));
    if (!ShowCompleted->isChecked()) {
        const std::optional<tasks::Task> task = tasks::LoadTask(store, found.key);
        const QSignalBlocker quiet(ShowCompleted);
        ShowCompleted->setChecked(task && task->completed);
    }
    ShowListItems(found.key);
}

std::int32_t frmTodo::selectedKey() const {
    const QTreeWidgetItem* item = TodoList->currentItem();
    return item != nullptr ? item->data(tasks::kTask, Qt::UserRole).toInt() : 0;
}

QString frmTodo::categoryName(int number) const {
    const QString name = number > 0 ? m_filter->nameOf(number) : QString();
    return name.isEmpty() ? QStringLiteral("Unfiled") : name;
}

void frmTodo::fillRow(QTreeWidgetItem* item, const tasks::Task& task, const QDate& today) {
    item->setData(tasks::kTask, Qt::UserRole, task.key);
    item->setText(tasks::kTask, task.subject);
    item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
    item->setCheckState(tasks::kTask, task.completed ? Qt::Checked : Qt::Unchecked);
    item->setIcon(tasks::kTask,
                  tasks::IsOverdue(task, today) ? QIcon(QStringLiteral(":/icons/kiOverdue.svg")) : QIcon());
    item->setText(tasks::kDue, task.due.isValid() ? dates::ShortDate(task.due) : QString());
    item->setText(tasks::kPriority, tasks::PriorityMark(task.priority));
    item->setText(tasks::kPrivate, task.isPrivate ? QStringLiteral("P") : QString());
    item->setText(tasks::kNote, task.memo.isEmpty() ? QString() : QStringLiteral("  N"));
    item->setText(tasks::kCat, categoryName(task.category));
    item->setText(tasks::kExec, task.completed && task.done.isValid() ? dates::ShortDate(task.done) : QString());
    item->setText(tasks::kSort, tasks::CompositeSort(task, today));
    item->setText(tasks::kDateDue, tasks::DueSort(task));
    item->setText(tasks::kDateExec, tasks::DoneSort(task));
}

void frmTodo::ShowListItems(std::int32_t key) {
    m_filter->remember();
    const QDate today = QDate::currentDate();
    const QVector<tasks::Task> shown =
        tasks::ListTasks(m_session.store(), {m_filter->selected(), ShowCompleted->isChecked()});
    m_filling = true;
    {
        const QSignalBlocker quiet(TodoList);
        TodoList->clear();
        QTreeWidgetItem* selected = nullptr;
        for (const tasks::Task& task : shown) {
            auto* item = new QTreeWidgetItem(TodoList);
            fillRow(item, task, today);
            if (task.key == key) {
                selected = item;
            }
        }
        TodoList->sortItems(m_sort.column, m_sort.descending ? Qt::DescendingOrder : Qt::AscendingOrder);
        TodoList->setCurrentItem(selected != nullptr ? selected : TodoList->topLevelItem(0));
    }
    m_filling = false;
    updateCommands();
    const tasks::DueCounts counts = tasks::CountDue(shown, today);
    m_session.frame.ShowStatusComment(
        tr("Tasks: %1, overdue: %2, due today: %3").arg(shown.size()).arg(counts.overdue).arg(counts.dueToday));
}

void frmTodo::updateCommands() {
    const bool chosen = selectedKey() != 0;
    for (QAction* a : {mnuTodoEdit, mnuTodoDeleteItem, mnuCompleted}) {
        a->setEnabled(chosen);
    }
    mnuTodoPriorityMenu->setEnabled(chosen);
    mnuTodoRCDueDate->setEnabled(chosen);
    cmdEdit->setEnabled(chosen);
    cmdDelete->setEnabled(chosen);
}

void frmTodo::TodoList_ColumnClick(int column) {
    m_sort = tasks::SortAfterClick(m_sort, column);
    TodoList->sortItems(m_sort.column, m_sort.descending ? Qt::DescendingOrder : Qt::AscendingOrder);
}

void frmTodo::rowChecked(QTreeWidgetItem* item, int column) {
    if (m_filling || column != tasks::kTask) {
        return;
    }
    const std::int32_t key = item->data(tasks::kTask, Qt::UserRole).toInt();
    const bool checked = item->checkState(tasks::kTask) == Qt::Checked;
    const QDate today = QDate::currentDate();
    tasks::Task task;
    const Result result = tasks::SetCompleted(m_session.store(), key, checked, today, &task);
    ShowResult(m_session.prompter, result);
    if (!result.ok() || !ShowCompleted->isChecked()) {
        // A task done leaves a list without completed ones; the list reads again what the file now holds.
        QMetaObject::invokeMethod(
            this, [this, key] { ShowListItems(key); }, Qt::QueuedConnection);
        return;
    }
    m_filling = true;
    fillRow(item, task, today);
    m_filling = false;
}

void frmTodo::cmdAdd_Click() {
    tasks::Task task;
    task.owner = m_session.store().user.level;
    task.category = m_filter->forNewRecord();
    edit(task);
}

void frmTodo::cmdEdit_Click() {
    const std::int32_t key = selectedKey();
    if (key == 0) {
        m_session.prompter.message(18, MsgText(18), Prompter::Buttons::Ok, Prompter::Icon::Information);
        return;
    }
    Result result;
    const std::optional<tasks::Task> task = tasks::LoadTask(m_session.store(), key, &result);
    if (!task) {
        if (!result.ok()) {
            ShowResult(m_session.prompter, result);
            return;
        }
        // The task is gone meanwhile: a new one takes its place.
        cmdAdd_Click();
        return;
    }
    edit(*task);
}

void frmTodo::edit(const tasks::Task& task) {
    const modal::Scoped<frmEditTodo> dialog(m_session.store(), task, this);
    dialog.exec();
    if (dialog.get() != nullptr && !dialog->cancelled()) {
        const int inView = m_filter->selected();
        m_filter->fill(inView == categories::kAll ? inView : dialog->task().category);
        ShowListItems(dialog->task().key);
    }
}

void frmTodo::cmdDelete_Click() {
    const QTreeWidgetItem* item = TodoList->currentItem();
    Prompter& prompter = m_session.prompter;
    if (item == nullptr) {
        prompter.message(18, MsgText(18), Prompter::Buttons::Ok, Prompter::Icon::Information);
        return;
    }
    if (prompter.message(29, MsgText(29) + QStringLiteral("\n   ") + item->text(tasks::kTask),
                         Prompter::Buttons::OkCancel, Prompter::Icon::Warning) != Prompter::Reply::Ok) {
        return;
    }
    ShowResult(prompter, tasks::DeleteTask(m_session.store(), selectedKey()));
    ShowListItems();
}

void frmTodo::DeleteCompleted() {
    Prompter& prompter = m_session.prompter;
    if (prompter.message(82, MsgText(82), Prompter::Buttons::OkCancel, Prompter::Icon::Warning) !=
        Prompter::Reply::Ok) {
        return;
    }
    ShowResult(prompter, tasks::DeleteCompletedTasks(m_session.store()));
    ShowListItems(selectedKey());
}

void frmTodo::DeleteAll() {
    Prompter& prompter = m_session.prompter;
    if (prompter.message(80, MsgText(80), Prompter::Buttons::OkCancel, Prompter::Icon::Warning) !=
            Prompter::Reply::Ok ||
        prompter.message(81, MsgText(81), Prompter::Buttons::OkCancel, Prompter::Icon::Warning) !=
            Prompter::Reply::Ok) {
        return;
    }
    ShowResult(prompter, tasks::DeleteAllTasks(m_session.store()));
    m_filter->fill(categories::kAll);
    ShowListItems();
}

void frmTodo::SetPriority(int level) {
    const std::int32_t key = selectedKey();
    if (key == 0) {
        return;
    }
    ShowResult(m_session.prompter, tasks::SetPriority(m_session.store(), key, level));
    ShowListItems(key);
}

void frmTodo::ToggleCompleted() {
    QTreeWidgetItem* item = TodoList->currentItem();
    if (item != nullptr) {
        item->setCheckState(tasks::kTask, item->checkState(tasks::kTask) == Qt::Checked ? Qt::Unchecked : Qt::Checked);
    }
}

void frmTodo::SetDueDate(bool none) {
    const std::int32_t key = selectedKey();
    std::optional<tasks::Task> task = key != 0 ? tasks::LoadTask(m_session.store(), key) : std::nullopt;
    if (!task) {
        return;
    }
    QDate wanted;
    if (!none) {
        const modal::Scoped<DatePrompt> prompt(MsgText(290), task->due, this);
        if (prompt.exec() != QDialog::Accepted || prompt.get() == nullptr) {
            return;
        }
        wanted = prompt->date();
    }
    const tasks::DueDateCheck check = tasks::CheckDueDate(task->completed, wanted, QDate::currentDate());
    if (check.message != 0 || !check.problem.isEmpty()) {
        m_session.prompter.message(check.message, check.message != 0 ? MsgText(check.message) : check.problem,
                                   Prompter::Buttons::Ok,
                                   check.refused ? Prompter::Icon::Information : Prompter::Icon::Warning);
    }
    if (check.refused) {
        return;
    }
    task->due = check.date;
    ShowResult(m_session.prompter, tasks::StoreTask(m_session.store(), *task));
    ShowListItems(key);
}
