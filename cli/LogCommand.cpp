#include "cli/Arguments.h"
#include "cli/CommandContext.h"
#include "cli/Commands.h"
#include "cli/RegisterSession.h"
#include "cli/ScanReport.h"
#include "platform/Interrupt.h"
#include "sbs/LogHeadOf.h"

#include <QJsonArray>

#include <algorithm>
#include <limits>

namespace {

/// Prints a line for each record that was tried.
class RecordPrinter {
public:
    RecordPrinter(CommandContext& context, const ScanEngine& scan, const RegisterLog& log)
        : m_context(context), m_scan(scan), m_log(log)
    {
    }

    /// @param lost  empty, or why the record is not in the file
    void Print(std::int32_t sample, const QDateTime& time, bool transferFailed, const QString& lost)
    {
        if (!m_first.isValid())
            m_first = time;
        const qint64 elapsedMs = m_first.msecsTo(time);
        if (m_context.Out.Json()) {
            QJsonObject object{{QStringLiteral("sample"), sample},
                               {QStringLiteral("time"), TimeText(time)},
                               {QStringLiteral("elapsed_ms"), static_cast<double>(elapsedMs)},
                               {QStringLiteral("rows"), Rows()},
                               {QStringLiteral("transfer_failed"), transferFailed}};
            if (!lost.isEmpty())
                object[QStringLiteral("error")] = lost;
            if (const QStringList messages = m_context.Messages.Take(); !messages.isEmpty())
                object[QStringLiteral("messages")] = QJsonArray::fromStringList(messages);
            m_context.Out.PrintJson(object);
            return;
        }
        const auto empty = std::ranges::count_if(m_log.Columns(), [this](const LogColumn& column) {
            return m_scan.Row(column.Row).Text.isEmpty();
        });
        QString text = QStringLiteral("sample %1  %2  %3 s  %4 values")
                           .arg(sample)
                           .arg(time.time().toString(QStringLiteral("HH:mm:ss")))
                           .arg(elapsedMs / 1000)
                           .arg(static_cast<qint64>(m_log.Columns().size()) - empty);
        if (empty > 0)
            text += QStringLiteral(", %1 empty").arg(empty);
        if (transferFailed)
            text += QStringLiteral(", a transfer failed");
        m_context.Out.PrintText(text);
        if (!lost.isEmpty())
            m_context.Out.PrintError(lost);
    }

private:
    [[nodiscard]] QJsonArray Rows() const
    {
        QJsonArray rows;
        for (const LogColumn& column : m_log.Columns())
            rows << QJsonObject{{QStringLiteral("row"), column.Row},
                                {QStringLiteral("caption"), column.Caption},
                                {QStringLiteral("text"), m_scan.Row(column.Row).Text}};
        return rows;
    }

    CommandContext& m_context;
    const ScanEngine& m_scan;
    const RegisterLog& m_log;
    QDateTime m_first;
};

Outcome Log(CommandContext& context, const Arguments& arguments)
{
    Outcome outcome;
    GaugeSession* gauge = context.Gauge(outcome);
    if (!gauge)
        return outcome;
    const StartupState& startup = *context.Startup(outcome);
    RegisterSession registers(context, *gauge, startup);
    if (const QString problem = registers.Load(); !problem.isEmpty())
        return Refused(problem);
    ScanEngine& scan = registers.Scan();
    Intervals intervals = scan.Form().Interval;
    if (arguments.Has(QStringLiteral("interval"))) {
        const IntervalChange change
            = SetLoggingInterval(intervals, arguments.Text(QStringLiteral("interval")));
        intervals = change.intervals;
        for (const QString& message : change.messages)
            context.Messages.Show(message);
    }
    std::vector<LogColumn> columns = LogColumnsOf(scan);
    if (columns.empty()) // a night's log without a column is noticed too late
        return Refused(QStringLiteral("no row is logged: none has both its log switch on and a log caption"));

    TimeSource& time = gauge->Time();
    RegisterLog log(time, context.Messages);
    const LogHead head
        = LogHeadOf(context.Profiles, startup.TargetConfigPath, registers.Identity(), gauge->Usb(),
                    ReadStaticData(gauge->Usb(), gauge->Access(), startup.TargetAddress));
    const QString file = arguments.Text(QStringLiteral("file"));
    if (const QString problem = log.Start(file, head, std::move(columns)); !problem.isEmpty())
        return Refused(problem);

    RecordPrinter printer(context, scan, log);
    const std::int64_t count
        = arguments.Number(QStringLiteral("count"), std::numeric_limits<std::int64_t>::max());
    std::int64_t tried = 0;
    std::int64_t scanDue = time.MonotonicMs();
    std::optional<std::int64_t> recordDue; // with the first values, which come with the first pass
    bool transferFailed = false;
    bool anyAnswered = false;
    ErrorCode lastError = ErrorCode::Ok;
    while (!Interrupt::Asked() && !context.Out.Broken() && log.IsLogging()) {
        if (time.MonotonicMs() >= scanDue) {
            scanDue = time.MonotonicMs() + intervals.Refresh;
            const PassReport report = scan.ReadValues();
            anyAnswered = anyAnswered || report.Answered > 0;
            if (report.Failed > 0)
                lastError = report.LastError;
            transferFailed = transferFailed || report.Failed > 0;
            if (report.End == PassEnd::Stopped)
                break;
            if (!recordDue)
                recordDue = time.MonotonicMs();
        }
        if (time.MonotonicMs() >= *recordDue) {
            const QDateTime now = time.Now();
            const std::int32_t sample = log.Sample();
            const bool written = log.Record([&scan](int row) { return scan.Row(row).Text; }, transferFailed);
            printer.Print(sample, now, transferFailed, written ? QString() : log.LastProblem());
            if (written)
                transferFailed = false;
            if (++tried == count)
                break;
            // counted from the first record, so that days of them do not drift; missed ones are left out
            while (*recordDue <= time.MonotonicMs())
                *recordDue += intervals.Logging;
        }
        gauge->Wait(std::min(scanDue, *recordDue) - time.MonotonicMs());
    }
    log.Stop();

    const std::int64_t written = log.Sample() - 1;
    if (!context.Out.Json())
        outcome.Text = QStringLiteral("%1 records in %2").arg(written).arg(file);
    if (written < tried)
        outcome = Refused(QStringLiteral("%1 of %2 records could not be written to %3")
                              .arg(tried - written)
                              .arg(tried)
                              .arg(file));
    else if (!anyAnswered && Failed(lastError))
        outcome
            = NoAnswer(lastError, QStringLiteral("no row answered: the values in %1 are empty").arg(file));
    return outcome;
}

} // namespace

std::vector<CommandSpec> LogCommands()
{
    return {
        {.Path = "log",
         .Summary = "Write the registers to a file, until Ctrl+C or for --count records",
         .Arguments
         = {{"FILE", "Log file; one that is there is replaced", ArgumentKind::Text, true},
            {"--count", "How many records (default: until Ctrl+C)", ArgumentKind::Number, false, 1,
             std::numeric_limits<std::int64_t>::max()},
            {"--interval", "Milliseconds from one record to the next, 1 to 64767 (default: the target's)",
             ArgumentKind::Number, false}},
         .Examples = {"tarnlo-cli log night.log --target sim4s/Config.ini",
                      "tarnlo-cli --adapter sim log run.log --count 10 --interval 1000 --json"},
         .Run = Log},
    };
}
