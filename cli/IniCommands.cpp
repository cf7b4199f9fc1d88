#include "cli/Arguments.h"
#include "cli/CommandContext.h"
#include "cli/Commands.h"

#include <QFileInfo>
#include <QJsonArray>

namespace {

const ArgumentSpec kFile{"FILE", "Settings file", ArgumentKind::Text, true};
const ArgumentSpec kSection{"SECTION", "Section without brackets", ArgumentKind::Text, true};
const ArgumentSpec kKey{"KEY", "Key", ArgumentKind::Text, true};

/// A file that is there but cannot be read answers as an empty one; people should know.
void ShowProblem(CommandContext& context, const QString& file)
{
    if (const QString problem = context.Profiles.Problem(file); !problem.isEmpty())
        context.Messages.Show(problem);
}

struct Place {
    explicit Place(const Arguments& arguments)
        : File(QFileInfo(arguments.Text(QStringLiteral("file"))).absoluteFilePath()),
          Section(arguments.Text(QStringLiteral("section"))), Key(arguments.Text(QStringLiteral("key")))
    {
    }
    QString File;
    QString Section;
    QString Key;
};

Outcome Get(CommandContext& context, const Arguments& arguments)
{
    const Place place(arguments);
    ShowProblem(context, place.File);
    const QString fallback = arguments.Text(QStringLiteral("default"));
    const bool found = context.Profiles.File(place.File).HasKey(place.Section, place.Key);
    Outcome outcome;
    QJsonValue value;
    if (arguments.On(QStringLiteral("int"))) {
        std::int64_t number = 0;
        if (!fallback.isEmpty() && !ParseNumber(fallback, number))
            return WrongUsage(
                QStringLiteral("--default must be a whole number together with --int, not \"%1\"")
                    .arg(fallback));
        if (number < std::numeric_limits<std::int32_t>::min()
            || number > std::numeric_limits<std::int32_t>::max())
            return WrongUsage(QStringLiteral("--default %1 does not fit 32 bits").arg(fallback));
        value = context.Profiles.Integer(place.File, place.Section, place.Key,
                                         static_cast<std::int32_t>(number));
        outcome.Text = QString::number(value.toInt());
    } else {
        outcome.Text = context.Profiles.String(place.File, place.Section, place.Key, fallback);
        value = outcome.Text;
    }
    outcome.Json = {{QStringLiteral("value"), value}, {QStringLiteral("found"), found}};
    return outcome;
}

Outcome List(CommandContext& context, const Arguments& arguments)
{
    const Place place(arguments);
    ShowProblem(context, place.File);
    const QStringList lines = context.Profiles.File(place.File).SectionLines(place.Section);
    Outcome outcome;
    outcome.Json = {{QStringLiteral("lines"), QJsonArray::fromStringList(lines)}};
    outcome.Text = lines.join(QLatin1Char('\n'));
    return outcome;
}

Outcome Set(CommandContext& context, const Arguments& arguments)
{
    const Place place(arguments);
    const QString problem = context.Profiles.Write(place.File, place.Section, place.Key,
                                                   arguments.Text(QStringLiteral("value")));
    if (!problem.isEmpty())
        return Refused(problem);
    Outcome outcome;
    outcome.Json
        = {{QStringLiteral("value"), context.Profiles.String(place.File, place.Section, place.Key)},
           {QStringLiteral("found"), context.Profiles.File(place.File).HasKey(place.Section, place.Key)}};
    return outcome;
}

Outcome Unset(CommandContext& context, const Arguments& arguments)
{
    const Place place(arguments);
    const bool found = place.Key.isEmpty()
        ? !context.Profiles.File(place.File).SectionLines(place.Section).isEmpty()
        : context.Profiles.File(place.File).HasKey(place.Section, place.Key);
    const QString problem = context.Profiles.Remove(place.File, place.Section, place.Key);
    if (!problem.isEmpty())
        return Refused(problem);
    Outcome outcome;
    outcome.Json = {{QStringLiteral("found"), found}};
    return outcome;
}

} // namespace

std::vector<CommandSpec> IniCommands()
{
    ArgumentSpec optionalKey = kKey;
    optionalKey.Help = "Key; without it the whole section goes";
    optionalKey.Required = false;
    return {
        {.Path = "ini", .Summary = "Read and change settings files"},
        {.Path = "ini get",
         .Summary = "Show the value of one key",
         .Arguments = {kFile,
                       kSection,
                       kKey,
                       {"--default", "Answer when the key is not there"},
                       {"--int", "Read as a whole number", ArgumentKind::Switch}},
         .Examples = {"tarnlo-cli ini get tarnlo.ini Communication TargetAddress --int --default 22",
                      "echo '{\"file\":\"tarnlo.ini\",\"section\":\"GUI\",\"key\":\"Skin\"}' | "
                      "tarnlo-cli ini get --batch -"},
         .Batch = BatchForm::Lines,
         .Run = Get},
        {.Path = "ini list",
         .Summary = "Show the lines of a section, comments left out",
         .Arguments = {kFile, kSection},
         .Examples = {"tarnlo-cli ini list tarnlo.ini Targets"},
         .Run = List},
        {.Path = "ini set",
         .Summary = "Change one key; comments, order and all other bytes stay",
         .Arguments = {kFile, kSection, kKey, {"VALUE", "New value", ArgumentKind::Text, true}},
         .Examples = {"tarnlo-cli ini set tarnlo.ini Simulator Speed 60",
                      "tarnlo-cli ini set Config.ini Limits Low -- -5"},
         .Run = Set},
        {.Path = "ini unset",
         .Summary = "Remove one key or a whole section",
         .Arguments = {kFile, kSection, optionalKey},
         .Examples = {"tarnlo-cli ini unset tarnlo.ini Default Target"},
         .Run = Unset},
    };
}
