#include "sections/tasks/task.h"

#include "base/messages.h"
#include "sections/record_store.h"
#include "shell/dates.h"
#include "store/field_codec.h"
#include "store/record_get.h"
#include "store/record_put.h"
#include "store/store.h"

#include <array>

namespace tasks {

namespace {

constexpr int kFieldCount = 4;

const records::RecordKind kKind{.section = kTaskSection,
                                .freeColumns = {.onT2 = true, .onT3 = true, .onR1 = true, .onR4 = true}};

// A day number at or below 1 stands for no date.
QDate DayOf(std::int64_t dayNumber, int base) {
    return dayNumber > 1 ? records::DateOfDayNumber(static_cast<int>(dayNumber), base) : QDate();
}

QString DateSort(const QDate& date) {
    return date.isValid() ? QStringLiteral("0%1").arg(records::OleDay(date), 6, 10, QLatin1Char('0')) : kNoDateSort;
}

// The row's plain columns into `task`.
void ReadColumns(const Row& row, Task& task) {
    task.key = static_cast<std::int32_t>(row.integer(Col::fPK));
    task.priority = static_cast<int>(row.integer(Col::fSub));
    task.category = static_cast<int>(row.integer(Col::fG1));
    task.completed = row.integer(Col::fF3) != 0;
    task.due = row.integer(Col::fF1) != 0 ? DayOf(row.integer(Col::fR3), kDueDayBase) : QDate();
    task.done = DayOf(row.integer(Col::fR2), kDoneDayBase);
}

Result Changed(Store& store, std::int32_t key, Task* stored, const std::function<void(Task&)>& change) {
    Result result;
    std::optional<Task> task = LoadTask(store, key, &result);
    if (!task) {
        return result.ok() ? Result::Message(18) : result;
    }
    change(*task);
    result = StoreTask(store, *task);
    if (result.ok() && stored != nullptr) {
        *stored = *task;
    }
    return result;
}

} // namespace

QString TaskDescriptor() {
    return QLatin1String(sections::Info(SectionId::Tasks).descriptor);
}

QByteArray TaskBlob(const Task& task) {
    using Record_Put::PutField;
    return PutField(task.owner, FieldType::Byte, Owner) + PutField(task.isPrivate, FieldType::Boolean, Private) +
           PutField(task.subject, FieldType::Text, Subject) + PutField(task.memo, FieldType::LongText, Memo);
}

bool DecodeTaskBlob(const QByteArray& blob, Task& task) {
    if (blob.isEmpty()) {
        return false;
    }
    FieldValues values(kFieldCount);
    Record_Get::GetRecord(values, blob);
    task.owner = values[Owner].toInt();
    task.isPrivate = values[Private].toBool();
    task.subject = values[Subject].toString();
    task.memo = values[Memo].toString();
    return true;
}

QString DueSort(const Task& task) {
    return DateSort(task.due);
}

QString DoneSort(const Task& task) {
    return task.completed ? DateSort(task.done) : kNoDateSort;
}

bool IsOverdue(const Task& task, const QDate& today) {
    return !task.completed && task.due.isValid() && task.due < today;
}

QString CompositeSort(const Task& task, const QDate& today) {
    return QLatin1String(task.completed ? "1" : "0") +
           QLatin1String(task.due.isValid() && task.due < today ? "0" : "1") + DueSort(task) +
           QString::number(task.priority);
}

TodoSort SortAfterClick(const TodoSort& last, int clicked) {
    if (clicked == kTask) {
        if (last.column == kSort) {
            return {kTask, false};
        }
        return last.column == kTask && !last.descending ? TodoSort{kTask, true} : TodoSort{kSort, false};
    }
    constexpr std::array<bool, kColumnCount> kStartsDescending = {false, false, true,  true,  true,
                                                                  false, true,  false, false, false};
    const int column = clicked == kDue || clicked == kExec ? kDateDue : clicked;
    if (column < 0 || column >= kColumnCount) {
        return last;
    }
    if (last.column == column) {
        return {column, !last.descending};
    }
    return {column, kStartsDescending[static_cast<std::size_t>(column)]};
}

QString PriorityMark(int priority) {
    switch (priority) {
    case High:
        return QStringLiteral("X X X");
    case Normal:
        return QStringLiteral("X X");
    default:
        return QStringLiteral("X");
    }
}

QDate LatestDueDate() {
    return records::DateOfDayNumber(32767, kDueDayBase);
}

DueDateCheck CheckDueDate(bool completed, const QDate& wanted, const QDate& today) {
    if (completed) {
        return {.message = 23, .refused = true};
    }
    if (wanted.isValid() && wanted > LatestDueDate()) {
        return {.refused = true,
                .problem = QStringLiteral("A due date can be at most %1.").arg(LatestDueDate().toString(Qt::ISODate))};
    }
    if (wanted.isValid() && wanted < today) {
        return {.date = today, .message = 24};
    }
    return {.date = wanted};
}

DueCounts CountDue(const QVector<Task>& tasks, const QDate& today) {
    DueCounts counts;
    for (const Task& task : tasks) {
        counts.overdue += IsOverdue(task, today) ? 1 : 0;
        counts.dueToday += !task.completed && task.due == today ? 1 : 0;
    }
    return counts;
}

std::optional<Task> LoadTask(Store& store, std::int32_t key, Result* result) {
    const std::optional<Row> row = records::LoadRow(store, kTaskSection, key, result);
    Task task;
    if (!row || !DecodeTaskBlob(records::RowBlob(store, *row), task)) {
        return std::nullopt;
    }
    ReadColumns(*row, task);
    return task;
}

Result StoreTask(Store& store, Task& task) {
    records::RecordData data;
    data.blob = TaskBlob(task);
    data.title = records::Title{task.subject, task.isPrivate};
    data.columns = [&](std::int32_t, RowValues& row) {
        row.set(Col::fSub, task.priority);
        // A task without a category number keeps the one it was filed under.
        if (task.category >= 0) {
            row.set(Col::fG1, task.category);
        }
        row.set(Col::fR2, task.completed ? records::DayNumber(task.done, kDoneDayBase) : 0);
        row.set(Col::fR3, records::DayNumber(task.due, kDueDayBase));
        row.set(Col::fF1, task.due.isValid() ? 1 : 0);
        row.set(Col::fF2, task.memo.isEmpty() ? 0 : 1);
        row.set(Col::fF3, task.completed ? 1 : 0);
        return true;
    };
    return records::SaveRecord(store, kKind, task.key, data);
}

QVector<Task> ListTasks(Store& store, const ListFilter& filter) {
    // Only what a row of the list needs: the blob and the plain columns it is sorted and marked by.
    sqlite::Statement select = store.connection().prepare(
        "SELECT fPK, fEtx, fSub, fG1, fR2, fR3, fF1, fF3 FROM tt WHERE fSec=?1 AND (?2 < 0 OR fG1=?2) "
        "AND (?3 OR fF3=0) ORDER BY fPK");
    select.bind(1, static_cast<std::int64_t>(kTaskSection));
    select.bind(2, static_cast<std::int64_t>(filter.category));
    select.bind(3, static_cast<std::int64_t>(filter.showCompleted ? 1 : 0));
    const bool hidePrivate = store.hidePrivate;
    return records::OpenRows<Task>(store.cry.KeyPool(), select, [&](CRY& cry, const Row& row) -> std::optional<Task> {
        Task task;
        const auto key = static_cast<std::int32_t>(row.integer(Col::fPK));
        if (!DecodeTaskBlob(cry.Cipher(key, 2, row.bytes(Col::fEtx)), task) || (task.isPrivate && hidePrivate)) {
            return std::nullopt;
        }
        ReadColumns(row, task);
        return task;
    });
}

Result SetCompleted(Store& store, std::int32_t key, bool completed, const QDate& today, Task* stored) {
    return Changed(store, key, stored, [&](Task& task) {
        task.completed = completed;
        task.done = completed ? today : QDate();
    });
}

Result SetPriority(Store& store, std::int32_t key, int priority) {
    return Changed(store, key, nullptr, [&](Task& task) { task.priority = priority; });
}

Result DeleteTask(Store& store, std::int32_t key) {
    return records::DeleteRecord(store, kTaskSection, key);
}

Result DeleteCompletedTasks(Store& store) {
    return records::Delete(store, "DELETE FROM tt WHERE fSec=? AND fF3<>0", {kTaskSection});
}

Result DeleteAllTasks(Store& store) {
    return records::DeleteRecords(store, kTaskSection, records::kAllCategories);
}

find::SearchableSection Searchable() {
    return find::ListedByTitle(kTaskSection, [](CRY&, const Row& row, const QString&) {
        if (row.integer(Col::fF3) != 0) {
            return MsgText(123);
        }
        // Without a due date the column holds no date, so nothing is said of one.
        return row.integer(Col::fF1) == 0
                   ? QString()
                   : MsgText(122) + QLatin1Char(' ') + dates::ShortDate(DayOf(row.integer(Col::fR3), kDueDayBase));
    });
}

} // namespace tasks
