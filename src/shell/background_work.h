#pragma once

#include "store/prompter.h"

#include <QString>

#include <functional>

// File work that may take a while and may have to ask the person something on its way (the expansion of a
// backup asks where to put the file). It asks only through the prompter it is handed.
using FileWork = std::function<void(Prompter& prompter)>;

// Runs `work` through `prompter.busy`, which in the GUI puts it on a worker thread behind a busy window. The
// work's questions are put to `prompter` on this thread, so a prompter that shows dialogs never runs on the
// worker. An exception the work throws is thrown again here.
void RunBusy(Prompter& prompter, const QString& label, const FileWork& work);
