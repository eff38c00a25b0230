#pragma once

#include "store/store.h"

#include <functional>
#include <vector>

// Which program version last wrote a file, and the steps that bring an older file to the current schema.
namespace version {

// The running program's version.
VersionInfo ProgramVersion();

// The blob of the version record: major, minor and revision as fields 17, 18 and 19.
QByteArray VersionBlob(const VersionInfo& v);

// The version record (its own row) holds the version of the program that last saved the file.
int SaveVersionRecord(Store& store);
// Reads the version record into DbVersion; a missing or unreadable one is written afresh with the program's
// version. Returns 0 or an engine error.
int LoadVersionRecord(Store& store);

// One schema step: applied to files whose schema is below `below` (a version text), in list order.
struct SchemaStep {
    QString below;
    std::function<sqlite::Error(Store&)> apply;
};

// The steps of this program. Adding a schema change is adding one entry.
const std::vector<SchemaStep>& SchemaSteps();

// The oldest schema this program can still open.
QString OldestSupportedSchema();
// Whether the open file's schema is one this program can open; read before anything is asked or written, so that
// a refused file stays exactly as it was.
bool SchemaSupported(sqlite::Connection& connection);
// The notice for a file whose schema is too old to convert.
void TellSchemaUnsupported(Prompter& prompter);

// Brings the open file to the current schema. Refuses a file from a newer program (message 94) and schemas too
// old to convert before touching it, keeps the file as it was at this opening beside it as ".bak", runs the
// steps that apply, and stamps the file. A failed step renames the file to ".FFF" and returns ConversionFailed;
// a step refused for a lock leaves the file in place and returns 3734. Returns 0, Fatal, ConversionFailed or
// 3734.
int DbVersionUpdate(Store& store, const std::vector<SchemaStep>& steps = SchemaSteps());

} // namespace version
