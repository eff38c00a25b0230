#include "sections/memos/memo_commands.h"

#include "app/cli/command_line.h"
#include "sections/categories/categories.h"
#include "sections/memos/memo.h"
#include "shell/session.h"
#include "store/store.h"

#include <QDateTime>

namespace memos {

namespace {

using cli::CommandLine;

constexpr const char* kUsage = "memo list FILE [--category NAME]\n"
                               "       noctaria-cli memo add FILE --subject S [--category NAME] [--private]\n"
                               "                    [--text T | --text-file F]\n"
                               "       noctaria-cli memo show FILE KEY\n"
                               "       noctaria-cli memo delete FILE KEY";

int List(const QStringList& args, cli::Streams io) {
    return cli::WithCategoryList(args, io, kUsage, {}, kMemoSection,
                                 [io](const CommandLine&, Store& store, int category) {
                                     const ListEntries entries = cli::CategoryEntries(store, kMemoSection);
                                     for (const records::ListedTitle& t : ListMemos(store, category)) {
                                         io.out << t.key << '\t' << cli::CategoryName(entries, t.category) << '\t'
                                                << cli::OneLine(t.title) << '\n';
                                     }
                                     return cli::kExitOk;
                                 });
}

int Add(const QStringList& args, cli::Streams io) {
    CommandLine line(io, kUsage,
                     {cli::ValueOption("subject", "the subject"), cli::ValueOption("category", "the category's name"),
                      QCommandLineOption(QStringLiteral("private"), QStringLiteral("a private memo")),
                      cli::ValueOption("text", "the memo"), cli::ValueOption("text-file", "a file holding the memo")});
    if (!line.parse(args, 1)) {
        return cli::kExitUsage;
    }
    const QString subject = line.value(QStringLiteral("subject"));
    if (subject.trimmed().isEmpty()) {
        return line.fail(QStringLiteral("a memo needs a subject (--subject)"));
    }
    std::optional<QString> text = QString();
    if (line.isSet(QStringLiteral("text")) || line.isSet(QStringLiteral("text-file"))) {
        text = line.text();
    }
    if (!text) {
        return cli::kExitUsage;
    }
    return cli::WithOpenFile(io, line.words()[0], [&](Session& session) {
        Store& store = session.store();
        const std::optional<int> category = cli::ChosenCategory(line, store, kMemoSection, false);
        if (!category) {
            return cli::kExitFailed;
        }
        const QDateTime now = QDateTime::currentDateTime();
        Memo memo = NewMemo(store.user.level, *category, subject, now);
        memo.isPrivate = line.isSet(QStringLiteral("private"));
        memo.text = *text;
        const Result r = StoreMemo(store, memo, now);
        if (r.ok()) {
            io.out << memo.key << '\n';
        }
        return cli::Report(line, r);
    });
}

int Show(const QStringList& args, cli::Streams io) {
    return cli::WithRecord(
        args, io, kUsage, {}, kMemoSection, "memo", [io](const CommandLine& line, Store& store, std::int32_t key) {
            const std::optional<Memo> memo = LoadMemo(store, key);
            if (!memo) {
                return line.fail(QStringLiteral("memo %1 cannot be read").arg(key));
            }
            io.out << memo->key << '\t' << cli::CategoryName(cli::CategoryEntries(store, kMemoSection), memo->category)
                   << '\t' << (memo->isPrivate ? "private" : "public") << '\t'
                   << memo->created.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")) << '\t'
                   << memo->modified.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")) << '\t'
                   << cli::OneLine(memo->subject) << '\n'
                   << memo->text << '\n';
            return cli::kExitOk;
        });
}

int Delete(const QStringList& args, cli::Streams io) {
    return cli::WithRecord(args, io, kUsage, {}, kMemoSection, "memo",
                           [](const CommandLine& line, Store& store, std::int32_t key) {
                               return cli::Report(line, DeleteMemo(store, key));
                           });
}

} // namespace

int MemoCommand(const QStringList& args, cli::Streams io) {
    return cli::RunVerb(args, io, kUsage, {{"list", List}, {"add", Add}, {"show", Show}, {"delete", Delete}});
}

} // namespace memos
