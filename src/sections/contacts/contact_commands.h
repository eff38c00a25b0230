#pragma once

#include "app/cli/commands.h"

namespace contacts {
// noctaria-cli contact list|show|add|delete|export FILE ...
int ContactCommand(const QStringList& args, cli::Streams io);
} // namespace contacts
