#include "cli/Commands.h"

std::vector<CommandSpec> AllCommands()
{
    std::vector<CommandSpec> commands;
    for (const auto group : {ScanCommands,
                             LogCommands,
                             CycleCommands,
                             AdapterCommands,
                             RegisterCommands,
                             BusCommands,
                             SequenceCommands,
                             IniCommands,
                             ConvertCommands,
                             DataFlashCommands,
                             DataFlashConvertCommands,
                             DataFlashFileCommands,
                             DataFlashImportCommands,
                             CalibrationCommands,
                             TableCommands,
                             SettingsCommands,
                             TargetCommands,
                             SkinCommands,
                             SrecCommands,
                             FlashCommands}) {
        const std::vector<CommandSpec> more = group();
        commands.insert(commands.end(), more.begin(), more.end());
    }
    return commands;
}
