#include "cli/Arguments.h"
#include "cli/CommandContext.h"
#include "cli/Commands.h"
#include "cli/TextTable.h"
#include "sbs/Conversion.h"
#include "sbs/Intervals.h"

#include <QJsonArray>
#include <QLocale>

#include <cmath>
#include <limits>

namespace {

constexpr RawValue kLowestRaw = std::numeric_limits<std::int16_t>::min();
constexpr RawValue kHighestRaw = std::numeric_limits<std::uint16_t>::max();

/// What the register view shows for a raw value or an already converted one.
Outcome Convert(CommandContext& context, const Arguments& arguments)
{
    const QString rawText = arguments.IsNull(QStringLiteral("raw")) ? QStringLiteral("none")
                                                                    : arguments.Text(QStringLiteral("raw"));
    const bool hasValue = arguments.Has(QStringLiteral("value"));
    if (rawText.isEmpty() != hasValue)
        return WrongUsage(QStringLiteral("give either --raw (with --factor) or --value"));

    Converted converted;
    if (hasValue) {
        bool ok = false;
        converted.value = QLocale::c().toDouble(arguments.Text(QStringLiteral("value")), &ok);
        if (!ok || !std::isfinite(converted.value))
            return WrongUsage(QStringLiteral("--value must be a number, not \"%1\"")
                                  .arg(arguments.Text(QStringLiteral("value"))));
    } else if (rawText != QLatin1String("none")) {
        std::int64_t raw = 0;
        if (!ParseNumber(rawText, raw) || raw < kLowestRaw || raw > kHighestRaw)
            return WrongUsage(QStringLiteral("--raw must be none or a whole number from %1 to %2, not \"%3\"")
                                  .arg(kLowestRaw)
                                  .arg(kHighestRaw)
                                  .arg(rawText));
        converted = ApplyFactor(static_cast<RawValue>(raw),
                                static_cast<ReadStyle>(arguments.Number(QStringLiteral("style"), 1)),
                                arguments.Text(QStringLiteral("factor"), QStringLiteral("x")));
        if (!converted.Ok())
            return Refused(converted.error);
    }
    const bool failedRead = !hasValue && rawText == QLatin1String("none");
    const Formatted formatted
        = failedRead ? Formatted{} : FormatValue(converted, arguments.Text(QStringLiteral("format")));
    if (!formatted.error.isEmpty())
        return Refused(formatted.error);
    if (!formatted.message.isEmpty())
        context.Messages.Show(formatted.message);

    Outcome outcome;
    outcome.Json = {{QStringLiteral("value"), failedRead ? QJsonValue() : QJsonValue(converted.value)},
                    {QStringLiteral("text"), formatted.text},
                    {QStringLiteral("messages"), QJsonArray()}};
    outcome.Text = formatted.text;
    return outcome;
}

Outcome ShowIntervals(CommandContext& context, const Arguments& arguments)
{
    Intervals intervals;
    const auto answer = [&](const QString& key, IntervalChange (*set)(Intervals, const QString&)) {
        if (!arguments.Has(key))
            return;
        const IntervalChange change = set(intervals, arguments.Text(key));
        intervals = change.intervals;
        for (const QString& message : change.messages)
            context.Messages.Show(message);
    };
    answer(QStringLiteral("refresh"), SetRefreshInterval);
    answer(QStringLiteral("logging"), SetLoggingInterval);
    Outcome outcome;
    outcome.Json = {{QStringLiteral("refresh"), intervals.Refresh},
                    {QStringLiteral("logging"), intervals.Logging},
                    {QStringLiteral("messages"), QJsonArray()}};
    outcome.Text
        = QStringLiteral("Refresh  %1 ms\nLogging  %2 ms").arg(intervals.Refresh).arg(intervals.Logging);
    return outcome;
}

} // namespace

std::vector<CommandSpec> ConvertCommands()
{
    return {
        {.Path = "convert",
         .Summary = "Show a raw register value as the register view does",
         .Arguments
         = {{"--raw", "Raw value -32768..65535, or none for a failed read"},
            {"--style", "Read style of the row (default 1, a word)", ArgumentKind::Number, false, -32768,
             32767},
            {"--factor", "Read factor, such as x/10-273.15 (default x)"},
            {"--format", "Display format, such as d.00, u, hhhh, b0F| or f", ArgumentKind::Text, true},
            {"--value", "An already converted number, in place of --raw and --factor"}},
         .Examples
         = {"tarnlo-cli convert --raw 2982 --factor x/10-273.15 --format f",
            "tarnlo-cli convert --raw -5 --format d.00",
            "echo '{\"raw\": 26, \"factor\": \"x\", \"format\": \"hhhh\"}' | tarnlo-cli convert --batch -"},
         .Batch = BatchForm::Lines,
         .Run = Convert},
        {.Path = "interval",
         .Summary = "Show what answers to the two interval questions do, from 2000 and 5000 ms",
         .Arguments = {{"--refresh", "Answer to the question for the refresh interval"},
                       {"--logging", "Answer to the question for the logging interval"}},
         .Examples = {"tarnlo-cli interval --refresh 70000 --json"},
         .Run = ShowIntervals},
    };
}
