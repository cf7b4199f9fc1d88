#include "cli/Arguments.h"
#include "cli/CommandContext.h"
#include "cli/Commands.h"
#include "cli/TextTable.h"
#include "platform/ProgramFolder.h"
#include "settings/ProgramSettings.h"
#include "settings/TargetInfo.h"
#include "settings/TargetList.h"

#include <QFileInfo>
#include <QJsonArray>

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

Outcome List(CommandContext& context, const Arguments&)
{
    Outcome outcome;
    const StartupState* startup = context.Startup(outcome);
    if (!startup)
        return outcome;
    TargetList targets(context.Profiles, context.Messages, *startup);
    targets.Load();
    QStringList lines;
    QJsonArray entries;
    for (const TargetEntry& entry : targets.Entries()) {
        lines << entry.line;
        entries << QJsonArray{entry.key, entry.file};
    }
    outcome.Json = {{QStringLiteral("lines"), QJsonArray::fromStringList(lines)},
                    {QStringLiteral("entries"), entries}};
    outcome.Text = lines.join(QLatin1Char('\n'));
    return outcome;
}

Outcome Choose(CommandContext& context, const Arguments& arguments)
{
    Outcome outcome;
    const StartupState* startup = context.Startup(outcome);
    if (!startup)
        return outcome;
    TargetList targets(context.Profiles, context.Messages, *startup);
    const QString file = targets.Choose(arguments.Text(QStringLiteral("line")));
    if (file.isEmpty())
        return Refused(
            QStringLiteral("no target of this list was chosen; \"tarnlo-cli targets list\" shows the lines"));
    outcome.Json = {{QStringLiteral("target"), file}};
    outcome.Text = file;
    return outcome;
}

/// Remembers a line, or tells which text is remembered and which line of the list that selects.
Outcome Default(CommandContext& context, const Arguments& arguments)
{
    Outcome outcome;
    const StartupState* startup = context.Startup(outcome);
    if (!startup)
        return outcome;
    TargetList targets(context.Profiles, context.Messages, *startup);
    targets.Load();
    if (arguments.Has(QStringLiteral("line")))
        if (const QString problem = targets.SetDefault(arguments.Text(QStringLiteral("line")));
            !problem.isEmpty())
            return Refused(problem);
    const QString remembered = context.Profiles.String(startup->ProgramSettingsFile, u"Default", u"Target");
    const std::optional<QString> line = targets.DefaultLine();
    outcome.Json = {{QStringLiteral("target"), remembered},
                    {QStringLiteral("line"), line ? QJsonValue(*line) : QJsonValue()}};
    outcome.Text = remembered.isEmpty() ? QStringLiteral("no default target") : remembered;
    return outcome;
}

Outcome Show(CommandContext& context, const Arguments& arguments)
{
    Outcome outcome;
    const StartupState* common = context.Startup(outcome);
    if (!common)
        return outcome;
    StartupState state = *common;
    const QString file = ResolvePath(state.ProgramFolder, arguments.Text(QStringLiteral("file")));
    if (!QFileInfo(file).isFile())
        return Refused(QStringLiteral("there is no target file %1").arg(file));
    ReadTargetAddress(context.Profiles, context.Messages, file, state);
    const QString title = TargetTitle(context.Profiles, file);
    const QString name = context.Profiles.String(file, u"Device", u"Name");
    QJsonArray buttons;
    TextTable text({QStringLiteral("View"), QStringLiteral("Button")});
    for (const ViewButton& button : TargetButtons(context.Profiles, file)) {
        buttons << QJsonArray{button.Key, button.Caption};
        text.AddRow({button.Key, button.Caption});
    }
    outcome.Json = {{QStringLiteral("title"), title},
                    {QStringLiteral("name"), name},
                    {QStringLiteral("address"), state.TargetAddress},
                    {QStringLiteral("buttons"), buttons}};
    outcome.Text
        = QStringLiteral("Name     %1\nAddress  %2\n").arg(name).arg(state.TargetAddress) + text.Text();
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
        {.Path = "targets", .Summary = "The targets that the program settings know"},
        {.Path = "targets list",
         .Summary = "Show the lines of the target list",
         .Examples = {"tarnlo-cli targets list"},
         .Run = List},
        {.Path = "targets choose",
         .Summary = "Show the target file that a line of the list stands for",
         .Arguments = {{"LINE", "Line of the list", ArgumentKind::Text, true}},
         .Examples = {"tarnlo-cli targets choose \"Simulated 4-cell pack (Dev:800,Ver:1.02) -800_1_02\""},
         .Run = Choose},
        {.Path = "targets default",
         .Summary = "Show or remember the line that is selected at first",
         .Arguments = {{"LINE", "Line to remember"}},
         .Examples = {"tarnlo-cli targets default", "tarnlo-cli targets default \"Generic Smart Battery\""},
         .Run = Default},
        {.Path = "target", .Summary = "One target"},
        {.Path = "target show",
         .Summary = "Show what the window takes from a target file",
         .Arguments = {{"FILE", "Target file, relative to the program folder", ArgumentKind::Text, true}},
         .Examples = {"tarnlo-cli target show sim4s/Config.ini"},
         .Run = Show},
    };
}
