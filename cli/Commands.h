#pragma once

#include "cli/Command.h"

#include <vector>

/// Every command of the program, in the order of the help.
[[nodiscard]] std::vector<CommandSpec> AllCommands();

// the groups, a file each
[[nodiscard]] std::vector<CommandSpec> AdapterCommands();
[[nodiscard]] std::vector<CommandSpec> ScanCommands();
[[nodiscard]] std::vector<CommandSpec> LogCommands();
[[nodiscard]] std::vector<CommandSpec> CycleCommands();
[[nodiscard]] std::vector<CommandSpec> RegisterCommands();
[[nodiscard]] std::vector<CommandSpec> BusCommands();
[[nodiscard]] std::vector<CommandSpec> SequenceCommands();
[[nodiscard]] std::vector<CommandSpec> IniCommands();
[[nodiscard]] std::vector<CommandSpec> ConvertCommands();
[[nodiscard]] std::vector<CommandSpec> DataFlashCommands();
[[nodiscard]] std::vector<CommandSpec> DataFlashConvertCommands();
[[nodiscard]] std::vector<CommandSpec> TableCommands();
[[nodiscard]] std::vector<CommandSpec> SettingsCommands();
[[nodiscard]] std::vector<CommandSpec> TargetCommands();
[[nodiscard]] std::vector<CommandSpec> SkinCommands();
[[nodiscard]] std::vector<CommandSpec> DataFlashFileCommands();
[[nodiscard]] std::vector<CommandSpec> DataFlashImportCommands();
[[nodiscard]] std::vector<CommandSpec> SrecCommands();
[[nodiscard]] std::vector<CommandSpec> FlashCommands();
[[nodiscard]] std::vector<CommandSpec> CalibrationCommands();
