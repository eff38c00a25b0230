#include "sections/diary/diary_commands.h"

#include "app/cli/command_line.h"
#include "sections/diary/diary.h"
#include "shell/session.h"
#include "store/store.h"

namespace diary {

namespace {

using cli::CommandLine;

constexpr const char* kUsage = "diary list FILE --from DATE --to DATE\n"
                               "       noctaria-cli diary set FILE --date DATE (--text T | --text-file F)";

int List(const QStringList& args, cli::Streams io) {
    CommandLine line(io, kUsage, {cli::ValueOption("from", "the first day"), cli::ValueOption("to", "the last day")});
    if (!line.parse(args, 1)) {
        return cli::kExitUsage;
    }
    const QDate from = line.date(QStringLiteral("from"));
    const QDate to = line.date(QStringLiteral("to"));
    if (!from.isValid() || !to.isValid()) {
        return cli::kExitUsage;
    }
    return cli::WithOpenFile(io, line.words()[0], [&](Session& session) {
        for (const DiaryEntry& e : LoadEntries(session.store(), from, to)) {
            io.out << e.key << '\t' << e.date.toString(Qt::ISODate) << '\t' << cli::OneLine(e.text) << '\n';
        }
        return cli::kExitOk;
    });
}

int Set(const QStringList& args, cli::Streams io) {
    CommandLine line(io, kUsage,
                     {cli::ValueOption("date", "the day"), cli::ValueOption("text", "the entry"),
                      cli::ValueOption("text-file", "a file holding the entry")});
    if (!line.parse(args, 1)) {
        return cli::kExitUsage;
    }
    const QDate date = line.date(QStringLiteral("date"));
    const std::optional<QString> text = line.text();
    if (!date.isValid() || !text) {
        return cli::kExitUsage;
    }
    return cli::WithOpenFile(io, line.words()[0], [&](Session& session) {
        Store& store = session.store();
        const QVector<DiaryEntry> existing = LoadEntries(store, date, date);
        DiaryEntry entry =
            existing.isEmpty() ? DiaryEntry{.owner = store.user.level, .date = date, .text = {}} : existing[0];
        entry.text = *text;
        const Result r = StoreDiaryDay(store, entry);
        if (!r.ok()) {
            return line.fail(r.text());
        }
        io.out << entry.key << '\n';
        return cli::kExitOk;
    });
}

} // namespace

int DiaryCommand(const QStringList& args, cli::Streams io) {
    return cli::RunVerb(args, io, kUsage, {{"list", List}, {"set", Set}});
}

} // namespace diary
