#pragma once

#include "app/cli/commands.h"
#include "shell/list_entry.h"

#include <QCommandLineParser>
#include <QDate>
#include <QString>

#include <functional>
#include <optional>

class Session;
class Store;
class Result;

// What every command of a section shares: its options parsed by QCommandLineParser, the file opened through
// the full open sequence with one passphrase attempt, and the exit codes.
namespace cli {

class CommandLine {
public:
    // `usage` is the command's line as `noctaria-cli` prints it on a mistake.
    CommandLine(Streams io, QString usage, const QList<QCommandLineOption>& options);

    // Parses the arguments after the command's words; false, with the usage printed, on an unknown option, a
    // missing value or a count of words other than `words`.
    bool parse(const QStringList& args, qsizetype words);
    const QStringList& words() const { return m_words; }
    bool isSet(const QString& name) const { return m_parser.isSet(name); }
    QString value(const QString& name) const { return m_parser.value(name); }
    // An ISO date option; an invalid date, with a message, when it is not one.
    QDate date(const QString& name) const;
    // The text of --text T or of --text-file F, exactly one of them; absent, with a message, otherwise.
    std::optional<QString> text() const;
    // A key given as a word; 0, with a message, when it is not a positive number.
    std::int32_t key(qsizetype word) const;

    int usage() const;
    int fail(const QString& why) const;
    Streams io() const { return m_io; }

private:
    Streams m_io;
    QString m_usage;
    QCommandLineParser m_parser;
    QStringList m_words;
};

// An option that takes a value.
QCommandLineOption ValueOption(const char* name, const char* what);

// Runs the verb that `args` begin with; the usage for a missing or unknown verb.
using Verb = std::pair<const char*, int (*)(const QStringList&, Streams)>;
int RunVerb(const QStringList& args, Streams io, const char* usage, std::initializer_list<Verb> verbs);

// Opens `path` as every command opens a file and runs `body` on the open session; the file is held for the
// whole run and closed after. Returns `body`'s exit code or the open's.
int WithOpenFile(Streams io, const QString& path, const std::function<int(Session&)>& body);

// An entry's name as a person types it: blanks around and the brackets of "< All >" taken off.
QString EntryName(const ListEntry& entry);
// The entry named `name` in a drop-down list, compared without case and blanks around, brackets taken off;
// entries before `from` are passed over.
std::optional<int> EntryNamed(const ListEntries& entries, const QString& name, qsizetype from = 0);

// A text on one output line: line breaks and tabs written as \n and \t, a backslash doubled.
QString OneLine(const QString& text);

// A section's categories as its records are filed: "Unfiled" and the named ones.
ListEntries CategoryEntries(Store& store, int section);
// The name of category `id` among `entries`; empty when there is none.
QString CategoryName(const ListEntries& entries, int id);
// The category named by --category: without the option all categories (`allWithout`) or "Unfiled"; absent,
// with a message, for a name the section does not have.
std::optional<int> ChosenCategory(const CommandLine& line, Store& store, int section, bool allWithout);
// Why record `key` could not be read as one of `what` (the result of reading it).
QString NoRecord(std::int32_t key, const Result& r, const char* what);
// Exit code of a store's result, with its message on failure.
int Report(const CommandLine& line, const Result& r);
// Runs a list verb that takes FILE and --category (besides `options`): opens the file with private records shown,
// since whoever gives the passphrase here may see them, and runs `body` on the category named, or all.
using CategoryBody = std::function<int(const CommandLine& line, Store& store, int category)>;
int WithCategoryList(const QStringList& args, Streams io, const char* usage, QList<QCommandLineOption> options,
                     int section, const CategoryBody& body);
// Runs a verb that takes FILE KEY: parses `args` with `options`, opens the file, and runs `body` on the record
// `key` once it is known to be one of `section` (called `what` in the refusal).
using RecordBody = std::function<int(const CommandLine& line, Store& store, std::int32_t key)>;
int WithRecord(const QStringList& args, Streams io, const char* usage, const QList<QCommandLineOption>& options,
               int section, const char* what, const RecordBody& body);

} // namespace cli
