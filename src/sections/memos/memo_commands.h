#pragma once

#include "app/cli/commands.h"

namespace memos {
// noctaria-cli memo list|add|show|delete FILE ...
int MemoCommand(const QStringList& args, cli::Streams io);
} // namespace memos
