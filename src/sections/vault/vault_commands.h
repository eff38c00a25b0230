#pragma once

#include "app/cli/commands.h"

namespace vault {
// noctaria-cli vault list|add|show|weak FILE ...
int VaultCommand(const QStringList& args, cli::Streams io);
} // namespace vault
