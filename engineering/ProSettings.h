#pragma once

#include "engineering/Sequence.h"
#include "platform/ProfileFile.h"
#include "settings/StartupState.h"

#include <vector>

/// A named command of the target: what is sent stands in the target's configuration file.
struct AccessCommand {
    QString Name;
    QString Written; ///< as in the file, steps separated by ";"
    Sequence Steps;
    QString Problem; ///< why it cannot be sent, with file, section and key; empty when it can
};

/// What the pro view needs to know of a target, from the target's configuration file; docs/pro-mode.md lists
/// the keys.
struct ProSettings {
    std::optional<MemoryCommands> Memory; ///< [Pro] MemoryAddressCmd, MemoryDataCmd, MemoryBlock
    std::vector<AccessCommand> Access; ///< [Access] 1 to 50
    QString Problem; ///< of [Pro], in plain words; empty when there is none
};

[[nodiscard]] ProSettings ReadProSettings(ProfileStore& profiles, const StartupState& state);
