#pragma once

#include "app/cli/commands.h"

namespace diary {
// noctaria-cli diary list|set FILE ...
int DiaryCommand(const QStringList& args, cli::Streams io);
} // namespace diary
