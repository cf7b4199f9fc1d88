#pragma once

#include "platform/ProfileFile.h"
#include "platform/UserMessages.h"
#include "settings/StartupState.h"

#include <QString>

/// The state at the very start: folder and settings file are known, nothing has been read.
[[nodiscard]] StartupState InitialState(const QString& programFolder);

/// Takes the options "d" (auto-detection mode) and "t" (target file) from the command line, which is
/// everything behind the program's own name. It is split at every "-" and blanks are removed from each piece,
/// so a target path can hold neither; what is no option is ignored. Numbers out of range are held at the end
/// of the range.
void ParseCommandLine(const QString& commandLine, StartupState& state);

/// @param name  relative to the program folder, kept as written; one that begins with "/" stands for itself
void SetTargetConfigPath(StartupState& state, const QString& name);

/// Takes [Communication] TargetAddress of that file; where it is absent the address stays. A value outside 16
/// bits is a message that names file, section and key, and the address stays too.
void ReadTargetAddress(ProfileStore& profiles, UserMessages& messages, const QString& file,
                       StartupState& state);
