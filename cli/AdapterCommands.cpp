#include "cli/Arguments.h"
#include "cli/CommandContext.h"
#include "cli/Commands.h"
#include "cli/TextTable.h"
#include "comm/GaugeIdentity.h"
#include "comm/GaugeLink.h"
#include "settings/TargetSettings.h"

#include <QJsonArray>

namespace {

Outcome ShowAdapters(CommandContext& context, const Arguments&)
{
    Outcome failed;
    const StartupState* startup = context.Startup(failed);
    if (!startup)
        return failed;
    const AdapterSettings settings
        = ResolveAdapter(context.Profiles, *startup, context.Globals.Adapter, context.Globals.Trace);
    if (!settings.Error.isEmpty())
        return context.Globals.Adapter.isEmpty() ? Refused(settings.Error) : WrongUsage(settings.Error);
    const std::unique_ptr<TimeSource> time = MakeTime(settings.Kind, context.Profiles, *startup);

    TextTable text({QStringLiteral("Name"), QStringLiteral("Kind"), QStringLiteral("Free"),
                    QStringLiteral("Functions"), QStringLiteral("Remark")});
    QJsonArray adapters;
    for (const AdapterFacts& facts : ListAdapters(settings, context.Profiles, *startup, *time)) {
        QJsonObject adapter{{QStringLiteral("name"), facts.Name},
                            {QStringLiteral("kind"), facts.Kind},
                            {QStringLiteral("free"), facts.Free},
                            {QStringLiteral("functions"), QJsonArray::fromStringList(facts.Functions)}};
        if (!facts.Problem.isEmpty())
            adapter[QStringLiteral("problem")] = facts.Problem;
        adapters << adapter;
        text.AddRow({facts.Name, facts.Kind, facts.Free ? QStringLiteral("yes") : QStringLiteral("no"),
                     facts.Functions.join(QLatin1String(", ")), facts.Problem});
    }
    Outcome outcome;
    outcome.Json = {{QStringLiteral("adapters"), adapters}};
    outcome.Text = adapters.isEmpty() ? QStringLiteral("No adapter; --adapter sim offers the simulated pack.")
                                      : text.Text();
    return outcome;
}

Outcome Detect(CommandContext& context, const Arguments&)
{
    Outcome failed;
    GaugeSession* gauge = context.Gauge(failed);
    if (!gauge)
        return failed;
    const StartupState& startup = *context.Startup(failed);
    const IdentityRequest request = ReadIdentityRequest(context.Profiles, startup);
    if (!request.Problem.isEmpty())
        context.Messages.Show(request.Problem);
    if (!request.Allowed)
        return Refused(QStringLiteral("%1 says Identity=0: this target is never asked who it is")
                           .arg(startup.TargetConfigPath));
    const ExclusiveAccess access(gauge->Access(), QStringLiteral("tarnlo-cli detect"));
    if (!access)
        return NoAnswer(ErrorCode::BusBusy);
    const Detection found = DetectTarget(gauge->Usb(), context.Profiles, startup);
    if (Failed(found.Code))
        return NoAnswer(found.Code);
    Outcome outcome;
    outcome.Json = {{QStringLiteral("identity"), found.Identity},
                    {QStringLiteral("device_key"), found.DeviceKey},
                    {QStringLiteral("targets_key"), found.TargetsKey},
                    {QStringLiteral("target"), found.Target}};
    outcome.Text
        = QStringLiteral("Identity     %1\nDevice key   %2\nTargets key  %3\nTarget       %4")
              .arg(found.Identity, found.DeviceKey, found.TargetsKey,
                   found.Target.isEmpty() ? QStringLiteral("not in the list of targets") : found.Target);
    return outcome;
}

} // namespace

std::vector<CommandSpec> AdapterCommands()
{
    return {
        {.Path = "adapters",
         .Summary = "List the adapters that could be opened",
         .Examples = {"tarnlo-cli adapters", "tarnlo-cli adapters --adapter real --json"},
         .Run = ShowAdapters},
        {.Path = "detect",
         .Summary = "Ask the gauge who it is and look up its target",
         .Examples = {"tarnlo-cli detect", "tarnlo-cli detect --adapter i2c:/dev/i2c-3 --json"},
         .Run = Detect},
    };
}
