#include "cli/Arguments.h"
#include "cli/CommandContext.h"
#include "cli/Commands.h"
#include "settings/ProgramSettings.h"

namespace {

/// The window program's own start, as far as settings decide it: no adapter is opened, nothing is asked.
Outcome Startup(CommandContext& context, const Arguments& arguments)
{
    Outcome failed;
    const StartupState* common = context.Startup(failed);
    if (!common)
        return failed;
    StartupState state = InitialState(common->ProgramFolder);
    ParseCommandLine(arguments.List(QStringLiteral("args")).join(QLatin1Char(' ')), state);
    ReadTargetAddress(context.Profiles, context.Messages, state.ProgramSettingsFile, state);
    if (!state.TargetConfigPath.isEmpty())
        ReadTargetAddress(context.Profiles, context.Messages, state.TargetConfigPath, state);
    Outcome outcome;
    outcome.Json = {{QStringLiteral("AutoDetectMode"), state.AutoDetectMode},
                    {QStringLiteral("TargetConfigPath"), state.TargetConfigPath},
                    {QStringLiteral("TargetAddress"), state.TargetAddress}};
    outcome.Text = QStringLiteral("AutoDetectMode    %1\nTargetConfigPath  %2\nTargetAddress     %3")
                       .arg(state.AutoDetectMode)
                       .arg(state.TargetConfigPath)
                       .arg(state.TargetAddress);
    return outcome;
}

} // namespace

std::vector<CommandSpec> TargetCommands()
{
    return {
        {.Path = "startup",
         .Summary = "Show what the window program would take from a command line and these settings",
         .Arguments = {{"ARGS", "The window program's arguments, after --", ArgumentKind::List}},
         .Examples = {"tarnlo-cli startup -- -d0 -t sim4s/Config.ini"},
         .Run = Startup},
    };
}
