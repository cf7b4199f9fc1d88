#include "calibration/Calibration.h"
#include "calibration/CalibrationRecord.h"
#include "cli/Arguments.h"
#include "cli/CommandContext.h"
#include "cli/Commands.h"
#include "cli/TextTable.h"
#include "platform/Interrupt.h"

#include <QJsonArray>

#include <optional>

namespace {

/// The gauge on the bus with the settings that belong to it.
struct Workplace {
    GaugeSession* Gauge = nullptr;
    const StartupState* Startup = nullptr;
    TargetSettings Settings;
    std::optional<Calibration> Does;
};

/// @return false when there is no adapter or no answer; failed then says why
bool Prepare(CommandContext& context, Workplace& place, Outcome& failed)
{
    place.Gauge = context.Gauge(failed);
    place.Startup = place.Gauge ? context.Startup(failed) : nullptr;
    if (!place.Startup)
        return false;
    const ErrorCode err = TakeGaugeSettings(place.Gauge->Usb(), place.Gauge->Access(), context.Profiles,
                                            context.Messages, *place.Startup, place.Settings);
    if (Failed(err)) {
        failed = NoAnswer(err);
        return false;
    }
    Calibration& does = place.Does.emplace(Calibration::Links{
        place.Gauge->Usb(), place.Gauge->Access(), place.Gauge->Time(), place.Settings, *place.Startup});
    does.OnReading = [&does](const ReadingStatistics&, int) {
        if (Interrupt::Asked())
            does.Cancel();
    };
    return true;
}

QString Value(double value, const StepFacts& facts)
{
    return QString::number(value, 'f', facts.Decimals) + u' ' + facts.Unit;
}

QString StatisticsText(const QString& when, const ReadingStatistics& readings, const StepFacts& facts)
{
    return QStringLiteral("%1  %2, standard deviation %3, %4 to %5 in %6 readings")
        .arg(when, Value(readings.Mean, facts), Value(readings.Deviation, facts),
             Value(readings.Least, facts), Value(readings.Most, facts))
        .arg(readings.Count);
}

Outcome OutcomeOf(const CalibrationResult& result)
{
    using Kind = CalibrationResult::Kind;
    Outcome outcome;
    if (result.Ended == Kind::Failed)
        outcome = NoAnswer(result.Code, result.Problem);
    else if (!result.Ok())
        outcome = Refused(result.Problem);
    const QJsonObject json = CalibrationJson(result);
    for (auto field = json.begin(); field != json.end(); ++field)
        outcome.Json[field.key()] = field.value();
    if (result.ModeInDoubt)
        outcome.Json[QStringLiteral("mode_in_doubt")] = true;
    if (!result.Record.isEmpty())
        outcome.Json[QStringLiteral("record")] = result.Record;
    const StepFacts& facts = FactsOf(result.Request.Step);
    QStringList lines;
    if (result.Before.Count > 0)
        lines << StatisticsText(QStringLiteral("Before"), result.Before, facts);
    if (result.After.Count > 0)
        lines << StatisticsText(QStringLiteral("After "), result.After, facts);
    if (result.Stored)
        lines << ChangeText(result) + QStringLiteral("; stored, read back and recorded in ") + result.Record;
    outcome.Text = lines.join(u'\n');
    return outcome;
}

Outcome Step(CommandContext& context, const Arguments& arguments, CalibrationStep step)
{
    Outcome failed;
    Workplace place;
    if (!Prepare(context, place, failed))
        return failed;
    CalibrationRequest request{step};
    if (FactsOf(step).NeedsReference) {
        bool ok = false;
        request.Reference = arguments.Text(QStringLiteral("reference")).toDouble(&ok);
        if (!ok)
            return WrongUsage(QStringLiteral("--reference must be a number"));
    }
    request.Sensor = static_cast<int>(arguments.Number(QStringLiteral("sensor"), request.Sensor));
    request.Readings = static_cast<int>(arguments.Number(QStringLiteral("readings"), request.Readings));
    const CalibrationResult measured = place.Does->Measure(request);
    if (!measured.Ok())
        return OutcomeOf(measured);
    const QString question = QStringLiteral("%1. Store it in the gauge?").arg(ChangeText(measured));
    if (context.Messages.Ask(question, Answer::Yes | Answer::No) != Answer::Yes) {
        Outcome outcome = OutcomeOf(measured);
        outcome.Status = ExitStatus::kRefused;
        outcome.Error = QStringLiteral("nothing was stored; --yes agrees to it");
        return outcome;
    }
    return OutcomeOf(place.Does->Store(measured));
}

template <CalibrationStep step>
Outcome Run(CommandContext& context, const Arguments& arguments)
{
    return Step(context, arguments, step);
}

Outcome Status(CommandContext& context, const Arguments&)
{
    Outcome failed;
    Workplace place;
    if (!Prepare(context, place, failed))
        return failed;
    const Calibration::Status status = place.Does->ReadStatus();
    if (!status.Result.Ok())
        return OutcomeOf(status.Result);
    const CalibrationConstants& has = status.Result.Old;
    Outcome outcome;
    outcome.Json = {{QStringLiteral("pack"), status.Pack.Text()},
                    {QStringLiteral("constants"), HexText(has.Block())},
                    {QStringLiteral("voltage_gain"), has.VoltageGain()},
                    {QStringLiteral("current_gain"), has.CurrentGain()},
                    {QStringLiteral("current_offset"), has.CurrentOffset()},
                    {QStringLiteral("board_offset"), has.BoardOffset()}};
    TextTable table({QStringLiteral("constant"), QStringLiteral(">value")});
    table.AddRow({QStringLiteral("Voltage gain"), QString::number(has.VoltageGain())});
    table.AddRow({QStringLiteral("Current gain"), QString::number(has.CurrentGain(), 'f', 6)});
    table.AddRow({QStringLiteral("Current offset"), QString::number(has.CurrentOffset())});
    table.AddRow({QStringLiteral("Board offset"), QString::number(has.BoardOffset())});
    QJsonArray offsets;
    for (int sensor = 0; sensor < kTemperatureSensors; ++sensor) {
        offsets << has.TemperatureOffset(sensor);
        table.AddRow({SensorName(sensor) + QStringLiteral(" temperature offset"),
                      QString::number(has.TemperatureOffset(sensor))});
    }
    outcome.Json[QStringLiteral("temperature_offsets")] = offsets;
    outcome.Text = status.Pack.Text() + u'\n' + table.Text();
    return outcome;
}

Outcome Restore(CommandContext& context, const Arguments&)
{
    Outcome failed;
    Workplace place;
    if (!Prepare(context, place, failed))
        return failed;
    if (context.Messages.Ask(
            QStringLiteral("Put back the constants from before the last calibration of this pack?"),
            Answer::Yes | Answer::No)
        != Answer::Yes)
        return Refused(QStringLiteral("nothing was written; --yes agrees to it"));
    const CalibrationResult result = place.Does->Restore();
    Outcome outcome = OutcomeOf(result);
    if (result.Stored)
        outcome.Text = QStringLiteral("The constants from before the last calibration are back.");
    return outcome;
}

const ArgumentSpec kReadings{
    "--readings", "How many readings are averaged, 4 to 1000 (default: 16)", ArgumentKind::Number, false, 4,
    1000};

ArgumentSpec Reference(const char* help) { return {"--reference", help, ArgumentKind::Text, true}; }

} // namespace

std::vector<CommandSpec> CalibrationCommands()
{
    return {
        {.Path = "cal", .Summary = "Calibrate the gauge's measurements"},
        {.Path = "cal status",
         .Summary = "The constants that the gauge has",
         .Examples = {"tarnlo-cli cal status --target sim4s/Config.ini"},
         .Run = Status},
        {.Path = "cal current-offset",
         .Summary = "Calibrate the current converter's own offset; nothing needs to be connected",
         .Arguments = {kReadings},
         .Examples = {"tarnlo-cli cal current-offset --yes"},
         .Run = Run<CalibrationStep::CurrentOffset>},
        {.Path = "cal board-offset",
         .Summary = "Calibrate what the board adds to it, with no current flowing",
         .Arguments = {Reference("What an ammeter still shows, mA"), kReadings},
         .Examples = {"tarnlo-cli cal board-offset --reference 0 --yes"},
         .Run = Run<CalibrationStep::BoardOffset>},
        {.Path = "cal current",
         .Summary = "Calibrate the current's gain, with a known current flowing",
         .Arguments = {Reference("What an ammeter shows, mA; discharging is negative"), kReadings},
         .Examples = {"tarnlo-cli cal current --reference -2000 --yes --json"},
         .Run = Run<CalibrationStep::CurrentGain>},
        {.Path = "cal voltage",
         .Summary = "Calibrate the voltage's gain",
         .Arguments = {Reference("What a voltmeter shows across the cells, mV"), kReadings},
         .Examples = {"tarnlo-cli cal voltage --reference 15312 --yes"},
         .Run = Run<CalibrationStep::Voltage>},
        {.Path = "cal temperature",
         .Summary = "Calibrate a temperature sensor's offset",
         .Arguments
         = {Reference("What a thermometer beside it shows, degrees Celsius"),
            {"--sensor", "0 internal, 1 and 2 external (default: 1)", ArgumentKind::Number, false, 0, 2},
            kReadings},
         .Examples = {"tarnlo-cli cal temperature --reference 24.5 --sensor 0 --yes"},
         .Run = Run<CalibrationStep::Temperature>},
        {.Path = "cal restore",
         .Summary = "Put back the constants from before the pack's last calibration",
         .Examples = {"tarnlo-cli cal restore --yes"},
         .Run = Restore},
    };
}
