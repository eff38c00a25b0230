#pragma once

#include "app/cli/commands.h"

namespace find {
// noctaria-cli find FILE TEXT [--sections 11,12,...] [--case-sensitive] [--show-private]
int FindCommand(const QStringList& args, cli::Streams io);
} // namespace find
