#pragma once

#include "app/cli/commands.h"

namespace CALENDAR {
// noctaria-cli calendar add|occurrences|show|delete FILE ...
int CalendarCommand(const QStringList& args, cli::Streams io);
} // namespace CALENDAR
