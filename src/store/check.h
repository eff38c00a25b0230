#pragma once

#include "store/store.h"

// Upkeep of the file: the silent removal of copied rows, repair, and compaction.
namespace check {

// Two rows of a record section with equal fT1 are copies of one row (titles are enciphered under a fresh key
// each time, so equal cipher texts never arise by chance). Of such copies the first stays; a section's very
// first row is never counted. Sections up to 10 are never examined. Returns how many rows went.
int RemoveDuplicates(sqlite::Connection& db);

// The engine's repair of `path`, then the check again. Returns the check's error number.
int RepairDatabaseFile(const QString& path);

// Compacts the held file into `tmp`, then puts the copy in the file's place in one step, where the hold moves
// with it; the old file is replaced only once the complete new one exists. A stale `tmp` is removed first. The
// file must not be open. Returns 0 or an error number.
int CompactAndReplace(db::FileHold& hold, const QString& tmp);

} // namespace check
