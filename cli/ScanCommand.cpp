#include "cli/Arguments.h"
#include "cli/CommandContext.h"
#include "cli/Commands.h"
#include "cli/RegisterSession.h"
#include "cli/ScanReport.h"
#include "platform/Interrupt.h"

#include <QJsonArray>

#include <limits>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr qsizetype kShownMessages = 3;

/// Switches the rows of a list such as "3,9-12" on and all others off.
/// @return empty, or what is wrong with the list
QString ChooseRows(ScanEngine& scan, const QString& list)
{
    scan.SetCheckScan(false);
    for (const QString& part : list.split(QLatin1Char(','))) {
        const qsizetype dash = part.indexOf(QLatin1Char('-'), 1);
        std::int64_t first = 0;
        std::int64_t last = 0;
        const bool numbers = ParseNumber(dash < 0 ? part : part.left(dash), first)
            && ParseNumber(dash < 0 ? part : part.mid(dash + 1), last);
        if (!numbers || first < 0 || last < first || last >= scan.RowCount())
            return QStringLiteral(
                       "--rows: \"%1\" is no row or range of rows of this table, which has rows 0 to %2; "
                       "write for example 3,9-12")
                .arg(part)
                .arg(scan.RowCount() - 1);
        for (std::int64_t row = first; row <= last; ++row)
            scan.SetScan(static_cast<int>(row), true);
    }
    return {};
}

Screen ScreenOf(const Output& output)
{
    Screen screen{.Colours = output.Colours()};
    winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 0) {
        screen.Columns = size.ws_col;
        screen.Lines = size.ws_row;
    }
    return screen;
}

/// Prints pass by pass in the form asked for; at a terminal each picture takes the place of the one before.
class PassPrinter {
public:
    explicit PassPrinter(CommandContext& context) : m_context(context)
    {
        if (context.Out.Terminal())
            context.Messages.Keep();
    }

    void Print(const ScanEngine& scan, PassFacts facts)
    {
        Output& out = m_context.Out;
        if (out.Json()) {
            QJsonObject object = PassJson(scan, facts);
            if (const QStringList messages = m_context.Messages.Take(); !messages.isEmpty())
                object[QStringLiteral("messages")] = QJsonArray::fromStringList(messages);
            out.PrintJson(object);
        } else if (out.Terminal()) {
            for (const QString& message : m_context.Messages.Take())
                if (!m_said.contains(message))
                    m_said << message;
            facts.Messages = m_said.mid(std::max<qsizetype>(m_said.size() - kShownMessages, 0));
            const QStringList lines = LiveLines(scan, facts, ScreenOf(out));
            // home and erase to the end of each line and of the screen: unlike a full erase this does not
            // flicker
            out.PrintText((m_first ? QStringLiteral("\x1b[2J\x1b[H") : QStringLiteral("\x1b[H"))
                          + lines.join(QLatin1String("\x1b[K\n")) + QStringLiteral("\x1b[K\x1b[J"));
        } else {
            out.PrintText(PassLines(scan, facts).join(QLatin1Char('\n')));
        }
        m_first = false;
    }

private:
    CommandContext& m_context;
    QStringList m_said;
    bool m_first = true;
};

Outcome Scan(CommandContext& context, const Arguments& arguments)
{
    Outcome outcome;
    PassPrinter printer(context); // first: what opening the adapter says would be drawn over
    GaugeSession* gauge = context.Gauge(outcome);
    if (!gauge)
        return outcome;
    RegisterSession registers(context, *gauge, *context.Startup(outcome));
    if (const QString problem = registers.Load(); !problem.isEmpty())
        return Refused(problem);
    ScanEngine& scan = registers.Scan();
    if (arguments.Has(QStringLiteral("rows")))
        if (const QString wrong = ChooseRows(scan, arguments.Text(QStringLiteral("rows"))); !wrong.isEmpty())
            return WrongUsage(wrong);
    if (arguments.Has(QStringLiteral("interval")))
        registers.SetRefresh(arguments.Text(QStringLiteral("interval")));
    const std::int64_t count = arguments.Number(QStringLiteral("count"));

    PassFacts facts;
    facts.Adapter = gauge->Usb().Facts().Name;
    const std::int64_t start = gauge->Time().MonotonicMs();
    bool anyAnswered = false;
    for (facts.Number = 1; !Interrupt::Asked() && !context.Out.Broken(); ++facts.Number) {
        const std::int64_t begun = gauge->Time().MonotonicMs();
        facts.Time = gauge->Time().Now();
        facts.ElapsedMs = begun - start;
        facts.Report = scan.ReadValues();
        anyAnswered = anyAnswered || facts.Report.Answered > 0;
        if (const std::optional<std::int16_t> value = scan.RemainingCapacity())
            facts.RemCap = RemCapBar(*value);
        if (facts.Report.End == PassEnd::Stopped)
            break;
        printer.Print(scan, facts);
        if (facts.Number == count)
            break;
        gauge->Wait(begun + scan.Form().Interval.Refresh - gauge->Time().MonotonicMs());
    }
    outcome.Status = anyAnswered ? ExitStatus::kDone : ExitStatus::kNoAnswer;
    if (!anyAnswered && !context.Out.Json())
        outcome.Error = QStringLiteral("no row answered");
    return outcome;
}

} // namespace

std::vector<CommandSpec> ScanCommands()
{
    return {
        {.Path = "scan",
         .Summary = "Show the registers live, until Ctrl+C or for --count passes",
         .Arguments
         = {{"--count", "How many passes (default: until Ctrl+C)", ArgumentKind::Number, false, 1,
             std::numeric_limits<std::int64_t>::max()},
            {"--interval", "Milliseconds from one pass to the next, 1 to 64767 (default: the target's)",
             ArgumentKind::Number, false, std::numeric_limits<std::int32_t>::min()},
            {"--rows", "Only these rows, such as 3,9-12"}},
         .Examples = {"tarnlo-cli scan", "tarnlo-cli --adapter sim scan --count 10 --interval 1000 --json",
                      "tarnlo-cli scan --target sim4s/Config.ini --rows 9-15"},
         .Run = Scan},
    };
}
