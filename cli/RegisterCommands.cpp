#include "cli/Arguments.h"
#include "cli/CommandContext.h"
#include "cli/Commands.h"
#include "cli/RegisterSession.h"
#include "cli/TextTable.h"
#include "sbs/StaticData.h"

namespace {

constexpr std::uint8_t kSpecificationInfo = 0x1A;

Outcome WriteRow(CommandContext& context, const Arguments& arguments)
{
    Outcome outcome;
    GaugeSession* gauge = context.Gauge(outcome);
    if (!gauge)
        return outcome;
    RegisterSession registers(context, *gauge, *context.Startup(outcome));
    if (const QString problem = registers.Load(); !problem.isEmpty())
        return Refused(problem);
    const std::int64_t row = arguments.Number(QStringLiteral("row"));
    if (row >= registers.Scan().RowCount())
        return Refused(QStringLiteral("the register table has rows 0 to %1; there is no row %2")
                           .arg(registers.Scan().RowCount() - 1)
                           .arg(row));
    const WriteReport report = registers.Scan().WriteSBSValueFromGrid(
        static_cast<int>(row), arguments.Text(QStringLiteral("value")));
    if (!report.Sent)
        return Refused(report.Reason);
    outcome.Status = Failed(report.Code) ? ExitStatus::kNoAnswer : ExitStatus::kDone;
    outcome.Json = {{QStringLiteral("row"), static_cast<int>(row)},
                    {QStringLiteral("raw"), report.Raw},
                    {QStringLiteral("code"), Number(report.Code)}};
    if (report.Ok())
        outcome.Text = QStringLiteral("Row %1 set to raw %2").arg(row).arg(report.Raw);
    else
        outcome.Error = report.Reason.isEmpty() ? ErrorCodeToText(report.Code) : report.Reason;
    return outcome;
}

Outcome Static(CommandContext& context, const Arguments&)
{
    Outcome outcome;
    GaugeSession* gauge = context.Gauge(outcome);
    if (!gauge)
        return outcome;
    QJsonObject values;
    TextTable text({QStringLiteral("Item"), QStringLiteral("Value")});
    bool any = false;
    for (const StaticItem& item :
         ReadStaticData(gauge->Usb(), gauge->Access(), context.Startup(outcome)->TargetAddress)) {
        const bool read = item.Error.isEmpty();
        any = any || read;
        values[item.Caption] = read ? QJsonValue(item.Text) : QJsonValue();
        text.AddRow({item.Caption, read ? item.Text : QStringLiteral("! ") + item.Error});
    }
    outcome.Json = {{QStringLiteral("static"), values}};
    outcome.Text = text.Text();
    if (!any) { // the items carry reasons in words only; one more try gives the code
        ErrorCode code = ErrorCode::Ok;
        std::int16_t word = 0;
        gauge->Usb().ReadSMBusWord_(kSpecificationInfo, word, context.Startup(outcome)->TargetAddress, code);
        const QJsonObject answer = outcome.Json;
        outcome = NoAnswer(Failed(code) ? code : ErrorCode::Unknown);
        outcome.Json[QStringLiteral("static")] = answer.value(QLatin1String("static"));
    }
    return outcome;
}

} // namespace

std::vector<CommandSpec> RegisterCommands()
{
    return {
        {.Path = "write-row",
         .Summary = "Write a value, as typed into the register view, to a writeable row",
         .Arguments = {{"ROW", "Row, numbered from 0", ArgumentKind::Number, true, 0, 32767},
                       {"VALUE", "Value in the unit that the row shows", ArgumentKind::Text, true}},
         .Examples = {"tarnlo-cli write-row 2 15 --target sim4s/Config.ini", "tarnlo-cli write-row 4 -1500"},
         .Run = WriteRow},
        {.Path = "static",
         .Summary = "Show what does not change: names, chemistry, date, serial number, design figures",
         .Examples = {"tarnlo-cli static --json"},
         .Run = Static},
    };
}
