#pragma once

#include <QStringList>

// What every executable does before it touches a database: no core dump may carry a key or a record out of the
// process, and the cipher layer must give its known answers.
namespace process_guard {

// Switches off core dumps (and, on Linux, marks the process as not dumpable).
void DisableCoreDumps();

// DisableCoreDumps and the cipher self-tests; returns the failing checks.
QStringList PrepareProcess();

} // namespace process_guard
