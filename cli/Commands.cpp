#include "cli/Commands.h"

std::vector<CommandSpec> AllCommands()
{
    std::vector<CommandSpec> commands;
    for (const auto group :
         {ScanCommands, LogCommands, CycleCommands, AdapterCommands, RegisterCommands, BusCommands,
          SequenceCommands, IniCommands, ConvertCommands, DataFlashConvertCommands, TableCommands,
          SettingsCommands, TargetCommands, SkinCommands}) {
        const std::vector<CommandSpec> more = group();
        commands.insert(commands.end(), more.begin(), more.end());
    }
    return commands;
}
