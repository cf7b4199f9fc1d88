#include "cli/Commands.h"

std::vector<CommandSpec> AllCommands()
{
    std::vector<CommandSpec> commands;
    for (const auto group : {ScanCommands, AdapterCommands, RegisterCommands, BusCommands, IniCommands,
                             ConvertCommands, TableCommands, SettingsCommands, TargetCommands}) {
        const std::vector<CommandSpec> more = group();
        commands.insert(commands.end(), more.begin(), more.end());
    }
    return commands;
}
