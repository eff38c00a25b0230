#pragma once

#include "app/cli/commands.h"

namespace tasks {
// noctaria-cli task list|add|done|delete FILE ...
int TaskCommand(const QStringList& args, cli::Streams io);
} // namespace tasks
