#pragma once

#include "app/cli/commands.h"

namespace budget {
// noctaria-cli budget list|add|totals|export|report|import|rules FILE ...
int BudgetCommand(const QStringList& args, cli::Streams io);
} // namespace budget
