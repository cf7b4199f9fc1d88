#include "cli/Arguments.h"
#include "cli/CommandContext.h"
#include "cli/Commands.h"
#include "cli/InputLines.h"
#include "cli/RegisterSession.h"
#include "cli/ScanReport.h"
#include "platform/Interrupt.h"
#include "sbs/AutoCycle.h"
#include "sbs/AutoCycleReplay.h"
#include "sbs/CycleRows.h"
#include "sbs/RowTexts.h"

#include <QJsonArray>

#include <algorithm>
#include <limits>

namespace {

constexpr std::int64_t kWatchMs = 1000;

/// {"charge": bool, "discharge": bool}, or null each in a step that came before its time and tested nothing.
QJsonObject BothDirections(const CycleStep& step, bool CycleTest::*sum)
{
    const auto value = [&](const CycleTest& test) { return step.Due ? QJsonValue(test.*sum) : QJsonValue(); };
    return {{QStringLiteral("charge"), value(step.Charge)},
            {QStringLiteral("discharge"), value(step.Discharge)}};
}

QString CallsText(const CycleStep& step)
{
    return step.Calls.isEmpty() ? QString() : QStringLiteral("  ") + step.Calls.join(QLatin1String(", "));
}

/// Prints step by step what the auto-cycle did.
class StepPrinter {
public:
    StepPrinter(CommandContext& context, const ScanEngine& scan, const AutoCycle& cycle)
        : m_context(context), m_scan(scan), m_cycle(cycle)
    {
    }

    void Print(const CycleStep& step, const QDateTime& time, std::int64_t elapsedMs)
    {
        const CycleFacts facts = m_cycle.Facts();
        if (m_context.Out.Json()) {
            QJsonObject object{{QStringLiteral("state"), static_cast<int>(facts.State)},
                               {QStringLiteral("any"), BothDirections(step, &CycleTest::Any)},
                               {QStringLiteral("all"), BothDirections(step, &CycleTest::All)},
                               {QStringLiteral("calls"), QJsonArray::fromStringList(step.Calls)},
                               {QStringLiteral("why"), facts.Why},
                               {QStringLiteral("elapsed_ms"), static_cast<double>(elapsedMs)},
                               {QStringLiteral("rows"), RowsJson(m_scan)}};
            if (const QStringList messages = m_context.Messages.Take(); !messages.isEmpty())
                object[QStringLiteral("messages")] = QJsonArray::fromStringList(messages);
            m_context.Out.PrintJson(object);
            return;
        }
        if (facts.Why != m_why)
            m_context.Out.PrintText(facts.Why);
        m_why = facts.Why;
        const AutoCycleSettings& settings = m_cycle.Settings();
        m_context.Out.PrintText(QStringLiteral("%1  %2  capacity %3  voltage %4  status %5%6")
                                    .arg(time.time().toString(QStringLiteral("HH:mm:ss")),
                                         CycleStateText(facts.State).leftJustified(26),
                                         Shown(settings.RemCapRow).rightJustified(7),
                                         Shown(settings.BattVoltRow).rightJustified(8),
                                         Shown(settings.BattStatRow), CallsText(step)));
    }

private:
    /// As the register view shows the row; "-" where there is no such row.
    [[nodiscard]] QString Shown(std::int32_t row) const
    {
        if (row < 0 || row >= m_scan.RowCount())
            return QStringLiteral("-");
        const RowState& state = m_scan.Row(row);
        if (state.Text.isEmpty())
            return QStringLiteral("!");
        return (state.Text + QLatin1Char(' ') + m_scan.Tables().GetSBSUnit(static_cast<std::int16_t>(row)))
            .trimmed();
    }

    CommandContext& m_context;
    const ScanEngine& m_scan;
    const AutoCycle& m_cycle;
    QString m_why;
};

/// How a run ended that did not come to its last step, or whose lines could not be switched off.
Outcome EndedEarly(CommandContext& context, const CycleFacts& facts, ErrorCode lastError)
{
    // a message said it already; standard error needs it only once
    const QString reason = context.Out.Json() ? facts.StopReason : QString();
    if (facts.LostPasses == 0 && !facts.LinesInDoubt)
        return Refused(reason);
    Outcome outcome = NoAnswer(Failed(lastError) ? lastError : ErrorCode::Unknown);
    outcome.Error = reason;
    return outcome;
}

Outcome RunCycle(CommandContext& context, const Arguments& arguments)
{
    Outcome outcome;
    const QString begin = arguments.Text(QStringLiteral("begin"));
    if (!begin.isEmpty() && begin != QLatin1String("charge") && begin != QLatin1String("discharge"))
        return WrongUsage(QStringLiteral("--begin takes charge or discharge, not \"%1\"").arg(begin));
    std::optional<Direction> first;
    if (!begin.isEmpty())
        first = begin == QLatin1String("charge") ? Direction::Charge : Direction::Discharge;
    GaugeSession* gauge = context.Gauge(outcome);
    if (!gauge)
        return outcome;
    const StartupState& startup = *context.Startup(outcome);
    RegisterSession registers(context, *gauge, startup);
    if (const QString problem = registers.Load(); !problem.isEmpty())
        return Refused(problem);
    ScanEngine& scan = registers.Scan();
    if (arguments.Has(QStringLiteral("interval")))
        registers.SetRefresh(arguments.Text(QStringLiteral("interval")));

    TimeSource& time = gauge->Time();
    AdapterLines lines(gauge->Usb(), gauge->Access());
    AutoCycle cycle(lines, time, context.Messages);
    const TableSettings settings(context.Profiles, startup);
    cycle.SetSettings(LoadAutoCycleSettings(settings, scan.Form().RemCapRow));

    StepPrinter printer(context, scan, cycle);
    const std::int64_t steps
        = arguments.Number(QStringLiteral("steps"), std::numeric_limits<std::int64_t>::max());
    const std::int64_t start = time.MonotonicMs();
    PassReport report;
    for (std::int64_t number = 1; !Interrupt::Asked() && !context.Out.Broken(); ++number) {
        const std::int64_t begun = time.MonotonicMs();
        const QDateTime now = time.Now();
        report = scan.ReadValues();
        if (report.End == PassEnd::Stopped)
            break;
        const CycleValues values = ReadCycleValues(scan, cycle.Settings(), report);
        cycle.SetUnits(RawUnit(scan, cycle.Settings().RemCapRow),
                       RawUnit(scan, cycle.Settings().BattVoltRow));
        if (number == 1) {
            if (report.WhollyFailed())
                return NoAnswer(report.LastError,
                                QStringLiteral("no row answered: the auto-cycle was not started"));
            if (!cycle.StartAutoCycle(values, first))
                return EndedEarly(context, cycle.Facts(), ErrorCode::Ok);
        }
        printer.Print(cycle.Step(values), now, begun - start);
        if (!cycle.Facts().Running || number == steps)
            break;
        const std::int64_t next = begun + scan.Form().Interval.Refresh;
        while (time.MonotonicMs() < next && cycle.Facts().Running && !Interrupt::Asked()) {
            gauge->Wait(std::min(next - time.MonotonicMs(), kWatchMs));
            cycle.Watch();
        }
        if (!cycle.Facts().Running)
            break;
    }
    const CycleFacts before = cycle.Facts();
    (void)cycle.LeaveProgram(); // nothing stands in its way here
    CycleFacts facts = cycle.Facts();
    if (!before.StopReason.isEmpty())
        facts.StopReason = before.StopReason; // not that the program was left, too
    if (!before.StopReason.isEmpty() || facts.LinesInDoubt)
        return EndedEarly(context, facts, report.LastError);
    outcome.Text = QStringLiteral("Charger and load are off. Cycles done: %1").arg(cycle.History().Cycles());
    if (context.Out.Json())
        outcome.Text.clear();
    return outcome;
}

Outcome Replay(CommandContext& context, const Arguments& arguments)
{
    Outcome outcome;
    for (const char* option : {"begin", "interval"})
        if (arguments.Has(QLatin1String(option)))
            return WrongUsage(QStringLiteral("--%1 is for a gauge and does not go with --replay")
                                  .arg(QLatin1String(option)));
    const StartupState* startup = context.Startup(outcome);
    if (!startup)
        return outcome;
    InputLines input(arguments.Text(QStringLiteral("replay")));
    if (!input.Problem().isEmpty())
        return Refused(input.Problem());
    // the recording says itself which rows were there: a row that no file sets counts as one
    AutoCycleReplay replay(LoadAutoCycleSettings(TableSettings(context.Profiles, *startup), 0));

    const std::int64_t steps
        = arguments.Number(QStringLiteral("steps"), std::numeric_limits<std::int64_t>::max());
    std::int64_t bad = 0;
    QByteArray line;
    for (std::int64_t number = 1; number <= steps && !context.Out.Broken() && input.Next(line); ++number) {
        QString error;
        const ReplayStep recorded = ParseReplayStep(line, error);
        Outcome answer;
        if (!error.isEmpty()) {
            ++bad;
            answer = Refused(QStringLiteral("line %1: %2").arg(number).arg(error));
        } else {
            const CycleStep step = replay.Step(recorded);
            answer.Json = {{QStringLiteral("calls"), QJsonArray::fromStringList(step.Calls)},
                           {QStringLiteral("state"), static_cast<int>(replay.State())}};
            answer.Text = QStringLiteral("%1  %2%3")
                              .arg(number, 6)
                              .arg(CycleStateText(replay.State()).leftJustified(26), CallsText(step))
                              .trimmed();
        }
        context.Out.Print(answer, context.Messages.Take());
    }
    outcome.Status = bad > 0 ? ExitStatus::kRefused : ExitStatus::kDone;
    return outcome;
}

Outcome Cycle(CommandContext& context, const Arguments& arguments)
{
    return arguments.Has(QStringLiteral("replay")) ? Replay(context, arguments)
                                                   : RunCycle(context, arguments);
}

} // namespace

std::vector<CommandSpec> CycleCommands()
{
    return {
        {.Path = "cycle",
         .Summary
         = "Charge and discharge the pack by the adapter's lines, until Ctrl+C or for --steps steps; "
           "both lines are off at the end",
         .Arguments
         = {{"--steps", "How many steps, one a scan pass (default: until Ctrl+C)", ArgumentKind::Number,
             false, 1, std::numeric_limits<std::int64_t>::max()},
            {"--interval", "Milliseconds from one step to the next, 1 to 64767 (default: the target's)",
             ArgumentKind::Number, false},
            {"--begin", "charge or discharge at once, not only when a limit is crossed"},
            {"--replay",
             "Run recorded values, one JSON object a line, through the settings without a gauge; - is "
             "standard input"}},
         .Examples = {"tarnlo-cli cycle --begin discharge --target sim4s/Config.ini",
                      "tarnlo-cli --adapter sim cycle --steps 100 --json",
                      "tarnlo-cli cycle --replay steps.jsonl --target sim4s/Config.ini --json"},
         .Run = Cycle},
    };
}
