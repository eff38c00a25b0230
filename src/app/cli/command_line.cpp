#include "app/cli/command_line.h"

#include "app/cli/cli_prompter.h"
#include "app/cli/records.h"
#include "base/result.h"
#include "sections/categories/categories.h"
#include "sections/record_store.h"
#include "shell/open_sequence.h"
#include "shell/session.h"

#include <QFile>

namespace cli {

CommandLine::CommandLine(Streams io, QString usage, const QList<QCommandLineOption>& options)
    : m_io(io)
    , m_usage(std::move(usage)) {
    m_parser.addOptions(options);
}

bool CommandLine::parse(const QStringList& args, qsizetype words) {
    if (!m_parser.parse(QStringList{QStringLiteral("noctaria-cli")} + args)) {
        m_io.err << "noctaria-cli: " << m_parser.errorText() << '\n';
        usage();
        return false;
    }
    m_words = m_parser.positionalArguments();
    if (m_words.size() != words) {
        usage();
        return false;
    }
    return true;
}

QDate CommandLine::date(const QString& name) const {
    const QDate d = QDate::fromString(value(name), Qt::ISODate);
    if (!d.isValid()) {
        m_io.err << "noctaria-cli: --" << name << " takes a date as YYYY-MM-DD\n";
    }
    return d;
}

std::optional<QString> CommandLine::text() const {
    const bool inline_ = isSet(QStringLiteral("text"));
    const bool file = isSet(QStringLiteral("text-file"));
    if (inline_ == file) {
        m_io.err << "noctaria-cli: give the text with either --text or --text-file\n";
        return std::nullopt;
    }
    if (inline_) {
        return value(QStringLiteral("text"));
    }
    QFile in(value(QStringLiteral("text-file")));
    if (!in.open(QIODevice::ReadOnly)) {
        m_io.err << "noctaria-cli: " << in.fileName() << " cannot be read: " << in.errorString() << '\n';
        return std::nullopt;
    }
    return QString::fromUtf8(in.readAll());
}

std::int32_t CommandLine::key(qsizetype word) const {
    bool ok = false;
    const int key = m_words.value(word).toInt(&ok);
    if (!ok || key <= 0) {
        m_io.err << "noctaria-cli: '" << m_words.value(word) << "' is not a record key\n";
        return 0;
    }
    return key;
}

int CommandLine::usage() const {
    return Usage(m_io, m_usage.toUtf8().constData());
}

int CommandLine::fail(const QString& why) const {
    return Fail(m_io, why);
}

QCommandLineOption ValueOption(const char* name, const char* what) {
    return {QString::fromLatin1(name), QString::fromLatin1(what), QStringLiteral("value")};
}

int RunVerb(const QStringList& args, Streams io, const char* usage, std::initializer_list<Verb> verbs) {
    for (const auto& [name, run] : verbs) {
        if (!args.isEmpty() && args[0] == QLatin1String(name)) {
            return run(args.mid(1), io);
        }
    }
    return Usage(io, usage);
}

int WithOpenFile(Streams io, const QString& path, const std::function<int(Session&)>& body) {
    CliPrompter prompter(io.err);
    Session session(prompter);
    if (const int code = OpenChecked(io, path, session)) {
        return code;
    }
    const int code = body(session);
    open_sequence::CloseDatabase(session);
    return code;
}

QString EntryName(const ListEntry& entry) {
    const QString text = entry.text.trimmed();
    return text.startsWith(u'<') && text.endsWith(u'>') ? text.mid(1, text.size() - 2).trimmed() : text;
}

std::optional<int> EntryNamed(const ListEntries& entries, const QString& name, qsizetype from) {
    for (qsizetype i = from; i < entries.size(); ++i) {
        if (EntryName(entries[i]).compare(name.trimmed(), Qt::CaseInsensitive) == 0) {
            return entries[i].itemData;
        }
    }
    return std::nullopt;
}

QString OneLine(const QString& text) {
    QString line;
    line.reserve(text.size());
    for (const QChar c : text) {
        if (c == u'\\') {
            line += QStringLiteral("\\\\");
        } else if (c == u'\n') {
            line += QStringLiteral("\\n");
        } else if (c == u'\t') {
            line += QStringLiteral("\\t");
        } else if (c != u'\r') {
            line += c;
        }
    }
    return line;
}

ListEntries CategoryEntries(Store& store, int section) {
    ListEntries entries;
    categories::FillCategoryEntries(store, entries, section, {.addUnfiled = true});
    return entries;
}

QString CategoryName(const ListEntries& entries, int id) {
    for (const ListEntry& e : entries) {
        if (e.itemData == id) {
            return EntryName(e);
        }
    }
    return {};
}

std::optional<int> ChosenCategory(const CommandLine& line, Store& store, int section, bool allWithout) {
    if (!line.isSet(QStringLiteral("category"))) {
        return allWithout ? records::kAllCategories : categories::kUnfiled;
    }
    const QString name = line.value(QStringLiteral("category"));
    const std::optional<int> id = EntryNamed(CategoryEntries(store, section), name);
    if (!id) {
        line.fail(QStringLiteral("there is no such category: '%1'").arg(name));
    }
    return id;
}

QString NoRecord(std::int32_t key, const Result& r, const char* what) {
    if (r.kind() == Result::Kind::Engine) {
        return r.text();
    }
    return r.ok()
               ? QStringLiteral("there is no record %1").arg(key)
               : QStringLiteral("record %1 is not %2 %3")
                     .arg(key)
                     .arg(QLatin1String(QByteArrayView("aeiou").contains(what[0]) ? "an" : "a"), QLatin1String(what));
}

int Report(const CommandLine& line, const Result& r) {
    return r.ok() ? kExitOk : line.fail(r.text());
}

int WithRecord(const QStringList& args, Streams io, const char* usage, const QList<QCommandLineOption>& options,
               int section, const char* what, const RecordBody& body) {
    CommandLine line(io, QString::fromLatin1(usage), options);
    const std::int32_t key = line.parse(args, 2) ? line.key(1) : 0;
    if (key == 0) {
        return kExitUsage;
    }
    return WithOpenFile(io, line.words()[0], [&](Session& session) {
        Result r;
        if (!records::LoadRow(session.store(), section, key, &r)) {
            return line.fail(NoRecord(key, r, what));
        }
        return body(line, session.store(), key);
    });
}

int WithCategoryList(const QStringList& args, Streams io, const char* usage, QList<QCommandLineOption> options,
                     int section, const CategoryBody& body) {
    options.prepend(ValueOption("category", "the category's name"));
    CommandLine line(io, QString::fromLatin1(usage), options);
    if (!line.parse(args, 1)) {
        return kExitUsage;
    }
    return WithOpenFile(io, line.words()[0], [&](Session& session) {
        Store& store = session.store();
        const std::optional<int> category = ChosenCategory(line, store, section, true);
        if (!category) {
            return kExitFailed;
        }
        store.hidePrivate = false;
        return body(line, store, *category);
    });
}

} // namespace cli
