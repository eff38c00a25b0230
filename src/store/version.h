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

// Brings the open file to the current schema. Refuses a file from a newer program (message 94) before touching
// it, keeps the file as it was at this opening beside it as ".bak", refuses schemas too old to convert, runs
// the steps that apply, and stamps the file. A failed step renames the file to ".FFF" and returns
// ConversionFailed. Returns 0, Fatal or ConversionFailed.
int DbVersionUpdate(Store& store, const std::vector<SchemaStep>& steps = SchemaSteps());

} // namespace version
