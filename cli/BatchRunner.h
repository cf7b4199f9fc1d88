#pragma once

#include "cli/Command.h"
#include "cli/CommandContext.h"

#include <QString>

#include <vector>

/// Runs a command once for every line of a file ("-": standard input): one JSON object a line in, one a line
/// out, each answered before the next is read. A bad line answers an error and the rest goes on.
/// @return what the program ends with: done when any line was done or there was none, else the last line's
/// status
[[nodiscard]] Outcome RunBatch(CommandContext& context, const std::vector<CommandSpec>& commands,
                               const CommandSpec& command, const QString& file);
