#pragma once

#include "base/result.h"
#include "sections/find/record_search.h"
#include "shell/section_table.h"

#include <QDate>
#include <QString>
#include <QVector>

#include <cstdint>
#include <optional>

class Store;

// A task: a subject, a note, a priority, a due date, whether and when it was done, a category. The plain columns
// carry what the list sorts and filters on; the texts are in the enciphered blob, the subject also in the title.
namespace tasks {

constexpr int kTaskSection = sections::Number(SectionId::Tasks);
// The bases of the day numbers of the due date (fR3) and of the completion date (fR2).
constexpr int kDueDayBase = 32626;
constexpr int kDoneDayBase = 35509;
// What sorts after every real date.
inline const QString kNoDateSort = QStringLiteral("1999999");

enum Priority { High = 0, Normal = 1, Low = 2 };
enum TaskField { Owner, Private, Subject, Memo };

QString TaskDescriptor();

struct Task {
    std::int32_t key = -1;
    int owner = 0;
    bool isPrivate = false;
    QString subject;
    QString memo;
    int priority = Normal;
    QDate due; // invalid: no due date
    bool completed = false;
    QDate done; // the completion day; invalid while open
    int category = 0;
};

QByteArray TaskBlob(const Task& task);
// The fields of a deciphered blob into `task`; false, with `task` untouched, for an empty blob.
bool DecodeTaskBlob(const QByteArray& blob, Task& task);

// The hidden sort texts of the list: by due date, by completion date, and the composite order (open before
// completed, overdue before the rest, by due date, by priority).
QString DueSort(const Task& task);
QString DoneSort(const Task& task);
QString CompositeSort(const Task& task, const QDate& today);
bool IsOverdue(const Task& task, const QDate& today);

// The columns of the task list; the last three are hidden and carry the sort texts.
enum Column { kTask, kDue, kPriority, kPrivate, kNote, kCat, kExec, kSort, kDateDue, kDateExec, kColumnCount };

struct TodoSort {
    int column = kSort;
    bool descending = false;
};
// The order after a click on a header: the Task header steps through the composite order, the task text
// ascending and descending; the Due and Exec Date headers both sort by due date; another click on the column in
// use flips its order, else each column starts in its own direction.
TodoSort SortAfterClick(const TodoSort& last, int clicked);

// "X X X" for high, "X X" for normal, "X" for low.
QString PriorityMark(int priority);

// The last day a due date can be kept on: its day number has 16 bits.
QDate LatestDueDate();

// A due date as the person sets it: refused for a completed task (message 23) and past the last day it can be
// kept on (`problem` says so), today for a day in the past (message 24, a warning); no date and other days as
// they are.
struct DueDateCheck {
    QDate date;
    int message = 0;
    bool refused = false;
    QString problem;
};
DueDateCheck CheckDueDate(bool completed, const QDate& wanted, const QDate& today);

struct DueCounts {
    int overdue = 0;
    int dueToday = 0;
};
DueCounts CountDue(const QVector<Task>& tasks, const QDate& today);

// The task `key`; absent when there is none, it is not a task (`result` says message 16) or it does not decode.
std::optional<Task> LoadTask(Store& store, std::int32_t key, Result* result = nullptr);
Result StoreTask(Store& store, Task& task);

struct ListFilter {
    int category = -1; // records::kAllCategories for all
    bool showCompleted = true;
};
// The tasks the list shows, in key order: private ones left out while hidden, rows that do not decode dropped.
QVector<Task> ListTasks(Store& store, const ListFilter& filter);

// Done or open again: a task done today, or with its completion day cleared; `stored`, if given, gets the task
// as stored.
Result SetCompleted(Store& store, std::int32_t key, bool completed, const QDate& today, Task* stored = nullptr);
Result SetPriority(Store& store, std::int32_t key, int priority);

Result DeleteTask(Store& store, std::int32_t key);
Result DeleteCompletedTasks(Store& store);
// Every task and the section's category rows.
Result DeleteAllTasks(Store& store);

// How Find searches the section's records and lists a hit.
find::SearchableSection Searchable();

} // namespace tasks
