#pragma once

#include "cli/Arguments.h"
#include "cli/Command.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <vector>

/// The options that every command takes, before or after its name.
struct GlobalOptions {
    bool Json = false;
    bool Yes = false;
    bool No = false;
    QString Home;
    QString Target;
    QString Adapter;
    QString Trace;
    std::optional<std::int16_t> Address;
};

/// What the command line asks for: a command with its arguments, or a text to print before leaving.
struct ParsedLine {
    const CommandSpec* Command = nullptr;
    ::Arguments Arguments;
    GlobalOptions Globals;
    QString BatchFile; ///< null when --batch was not given
    QString Text; ///< help or version
    QString Error; ///< wrong usage, with what to do about it
};

/// @param words  everything after the program's own name
[[nodiscard]] ParsedLine ParseWords(const std::vector<CommandSpec>& commands, const QStringList& words);
