#pragma once

#include "shell/session.h"

// From the start of the program to a chosen file that is one of ours.
namespace file_choice {

// Tests session.DbPath: -1 for an empty path, else 0 or the engine's error. A file another program holds is
// reported with the engine's words and the path; a damaged one is offered for repair (message 46), and checked
// again after it. On any remaining error the path is cleared.
int CheckDatabaseFile(Session& session);

// The open dialog; the chosen file is checked (message 51 when it is not usable). Clears the attempt counter on
// success. Returns 0, the dialog's cancel error, or the check's error.
int SelectDatabase(Session& session);

// The folder a first run offers: the documents folder and "Noctaria".
QString DefaultFolder();
// A first run: no last file and no default folder yet.
bool IsFirstRun(const Session& session);
// The first-run offer (message 160): on Yes, the folder is made and a new database created at the default path
// with only the new passphrase asked. Returns 0 when a file is open afterwards.
int FirstRunOffer(Session& session);

} // namespace file_choice
