#include "sections/find/find_commands.h"

#include "app/cli/command_line.h"
#include "sections/find/find_sections.h"
#include "shell/session.h"
#include "store/store.h"

#include <mutex>

namespace find {

namespace {

constexpr const char* kUsage = "find FILE TEXT [--sections 11,12,...] [--case-sensitive] [--show-private]";

// The sections of --sections, or every section Find searches; absent, with a message, for one it does not.
std::optional<QList<int>> ChosenSections(const cli::CommandLine& line) {
    QList<int> chosen;
    if (!line.isSet(QStringLiteral("sections"))) {
        for (const SearchableSection& section : SearchableSections()) {
            chosen.append(section.section);
        }
        return chosen;
    }
    for (const QString& word : line.value(QStringLiteral("sections")).split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        bool number = false;
        const int section = word.trimmed().toInt(&number);
        if (!number || SearchableSectionOf(section) == nullptr) {
            line.fail(QStringLiteral("Find searches the sections 11 to 17, not '%1'").arg(word.trimmed()));
            return std::nullopt;
        }
        chosen.append(section);
    }
    return chosen;
}

} // namespace

int FindCommand(const QStringList& args, cli::Streams io) {
    cli::CommandLine line(
        io, QString::fromLatin1(kUsage),
        {cli::ValueOption("sections", "the sections to search, by number, separated by commas"),
         QCommandLineOption(QStringLiteral("case-sensitive"), QStringLiteral("small and capital letters differ")),
         QCommandLineOption(QStringLiteral("show-private"), QStringLiteral("private records are searched too"))});
    if (!line.parse(args, 2)) {
        return cli::kExitUsage;
    }
    const std::optional<QList<int>> sections = ChosenSections(line);
    if (!sections) {
        return cli::kExitUsage;
    }
    Query query;
    query.text = line.words()[1];
    query.sections = *sections;
    query.caseSensitive = line.isSet(QStringLiteral("case-sensitive"));
    query.showPrivate = line.isSet(QStringLiteral("show-private"));
    if (!SearchableText(query.text)) {
        return line.fail(QStringLiteral("Search string must contain a minimum of 2 characters!"));
    }
    return cli::WithOpenFile(io, line.words()[0], [&](Session& session) {
        Store& store = session.store();
        query.owner = store.user.level;
        QVector<Hit> hits;
        const std::atomic<bool> stop = false;
        const Outcome outcome =
            Search(store, query, SearchableSections(), stop, [&](QVector<Hit>&& found) { hits += found; });
        if (outcome.failed) {
            return line.fail(QStringLiteral("the file could not be read to the end"));
        }
        SortHits(hits, query.sections);
        for (const Hit& hit : hits) {
            io.out << hit.section << '\t' << hit.key << '\t' << cli::OneLine(hit.item) << '\t'
                   << cli::OneLine(hit.detail) << '\n';
        }
        return hits.isEmpty() ? cli::kExitFailed : cli::kExitOk;
    });
}

} // namespace find
