#include "sections/tasks/task_commands.h"

#include "app/cli/command_line.h"
#include "base/messages.h"
#include "sections/record_store.h"
#include "sections/tasks/task.h"
#include "shell/session.h"
#include "store/store.h"

#include <algorithm>
#include <array>

namespace tasks {

namespace {

using cli::CommandLine;

constexpr const char* kUsage =
    "task list FILE [--category NAME] [--open]\n"
    "       noctaria-cli task add FILE --subject S [--due DATE] [--priority high|normal|low] [--category NAME]\n"
    "                    [--private] [--note T]\n"
    "       noctaria-cli task done FILE KEY [--undo]\n"
    "       noctaria-cli task delete FILE KEY";

constexpr std::array<const char*, 3> kPriorities = {"high", "normal", "low"};

QString IsoDate(const QDate& date) {
    return date.isValid() ? date.toString(Qt::ISODate) : QString();
}

int List(const QStringList& args, cli::Streams io) {
    return cli::WithCategoryList(
        args, io, kUsage, {QCommandLineOption(QStringLiteral("open"), QStringLiteral("only tasks not yet done"))},
        kTaskSection, [io](const CommandLine& line, Store& store, int category) {
            const ListEntries entries = cli::CategoryEntries(store, kTaskSection);
            const QDate today = QDate::currentDate();
            QVector<Task> listed = ListTasks(store, {category, !line.isSet(QStringLiteral("open"))});
            std::stable_sort(listed.begin(), listed.end(), [&](const Task& a, const Task& b) {
                return CompositeSort(a, today) < CompositeSort(b, today);
            });
            for (const Task& t : listed) {
                io.out << t.key << '\t' << cli::CategoryName(entries, t.category) << '\t'
                       << kPriorities[static_cast<std::size_t>(std::clamp(t.priority, 0, 2))] << '\t' << IsoDate(t.due)
                       << '\t' << (t.completed ? IsoDate(t.done) : QStringLiteral("open")) << '\t'
                       << (t.isPrivate ? "private" : "public") << '\t' << cli::OneLine(t.subject) << '\n';
            }
            return cli::kExitOk;
        });
}

int Add(const QStringList& args, cli::Streams io) {
    CommandLine line(io, kUsage,
                     {cli::ValueOption("subject", "the task"), cli::ValueOption("due", "the due date"),
                      cli::ValueOption("priority", "high, normal or low"),
                      cli::ValueOption("category", "the category's name"),
                      QCommandLineOption(QStringLiteral("private"), QStringLiteral("a private task")),
                      cli::ValueOption("note", "the note")});
    if (!line.parse(args, 1)) {
        return cli::kExitUsage;
    }
    Task task;
    task.subject = line.value(QStringLiteral("subject"));
    if (task.subject.trimmed().isEmpty()) {
        return line.fail(MsgText(297));
    }
    const QString priority = line.isSet(QStringLiteral("priority")) ? line.value(QStringLiteral("priority")).toLower()
                                                                    : QStringLiteral("normal");
    const auto level = std::find(kPriorities.begin(), kPriorities.end(), priority.toStdString());
    if (level == kPriorities.end()) {
        return line.fail(QStringLiteral("the priority is high, normal or low, not '%1'").arg(priority));
    }
    task.priority = static_cast<int>(level - kPriorities.begin());
    if (line.isSet(QStringLiteral("due"))) {
        task.due = line.date(QStringLiteral("due"));
        if (!task.due.isValid()) {
            return cli::kExitUsage;
        }
    }
    const DueDateCheck check = CheckDueDate(false, task.due, QDate::currentDate());
    if (check.refused) {
        return line.fail(check.problem);
    }
    if (check.message != 0) {
        io.err << "noctaria-cli: " << MsgText(check.message) << " The task is due today.\n";
    }
    task.due = check.date;
    task.isPrivate = line.isSet(QStringLiteral("private"));
    task.memo = line.value(QStringLiteral("note"));
    return cli::WithOpenFile(io, line.words()[0], [&](Session& session) {
        Store& store = session.store();
        const std::optional<int> category = cli::ChosenCategory(line, store, kTaskSection, false);
        if (!category) {
            return cli::kExitFailed;
        }
        task.owner = store.user.level;
        task.category = *category;
        const Result r = StoreTask(store, task);
        if (r.ok()) {
            io.out << task.key << '\n';
        }
        return cli::Report(line, r);
    });
}

int Done(const QStringList& args, cli::Streams io) {
    return cli::WithRecord(args, io, kUsage,
                           {QCommandLineOption(QStringLiteral("undo"), QStringLiteral("open the task again"))},
                           kTaskSection, "task", [](const CommandLine& line, Store& store, std::int32_t key) {
                               return cli::Report(line, SetCompleted(store, key, !line.isSet(QStringLiteral("undo")),
                                                                     QDate::currentDate()));
                           });
}

int Delete(const QStringList& args, cli::Streams io) {
    return cli::WithRecord(args, io, kUsage, {}, kTaskSection, "task",
                           [](const CommandLine& line, Store& store, std::int32_t key) {
                               return cli::Report(line, DeleteTask(store, key));
                           });
}

} // namespace

int TaskCommand(const QStringList& args, cli::Streams io) {
    return cli::RunVerb(args, io, kUsage, {{"list", List}, {"add", Add}, {"done", Done}, {"delete", Delete}});
}

} // namespace tasks
