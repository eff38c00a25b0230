#pragma once

#include "app/cli/commands.h"
#include "shell/session.h"
#include "store/field_codec.h"

#include <QString>

#include <functional>

// Reading a file's records for the command line: opening it, walking its records, and their JSON form.
namespace cli {

// The section's name, for listings.
QString SectionName(int section);

// Opens `path` with one passphrase attempt, as a script cannot retry.
int OpenForCommand(Session& session, const QString& path);

// Words for an error number of the store; the empty text when the person has been told already.
QString ErrorText(int error);

// The usage line of a command, and the exit code for it.
int Usage(Streams io, const char* usage);
// A failure's message, and the exit code for it.
int Fail(Streams io, const QString& why);
// Checks the file and opens it with one passphrase attempt; 0 when it is open, else the exit code.
int OpenChecked(Streams io, const QString& path, Session& session);

struct RecordView {
    std::int64_t fPK = 0;
    int fSec = 0;
    int fSub = 0;
    bool readable = false;
    QString title; // empty when the row has no title this user may read
    FieldValues fields;
    QString text; // rows of lists and categories hold a plain text instead of fields
};

// Every record of `section` (every section for -1), in key order. Key material and user rows hold secrets of
// their own and are passed over.
void ForEachRecord(Store& store, int section, const std::function<void(const RecordView&)>& visit);

// One JSON object on one line: fPK, fSec, fSub, the title where there is one, and the fields by index (or
// the text of a list row).
QByteArray RecordJson(const RecordView& record);

} // namespace cli
