#include "sbs/Intervals.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace {

std::optional<double> Number(const QString& answer)
{
    bool ok = false;
    const double value = answer.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(value))
        return std::nullopt;
    return std::nearbyint(value);
}

std::int32_t Limited(double value, QStringList& messages)
{
    if (value > kMaxIntervalMs)
        messages << QStringLiteral("The maximum value allowed is 64767ms");
    return static_cast<std::int32_t>(std::clamp(value, 1.0, static_cast<double>(kMaxIntervalMs)));
}

} // namespace

IntervalChange SetRefreshInterval(Intervals present, const QString& answer)
{
    const std::optional<double> value = Number(answer);
    if (!value)
        return {present, {QStringLiteral("The original value has been retained.")}};
    IntervalChange change{present, {}};
    change.intervals.Refresh = Limited(*value, change.messages);
    if (change.intervals.Refresh > change.intervals.Logging) {
        change.intervals.Logging = change.intervals.Refresh;
        change.messages << QStringLiteral("The scan interval is greater than the logging interval! "
                                          "Logging interval has been automatically updated to %1ms")
                               .arg(change.intervals.Logging);
    }
    return change;
}

IntervalChange SetLoggingInterval(Intervals present, const QString& answer)
{
    const std::optional<double> value = Number(answer);
    if (!value)
        return {present, {QStringLiteral("The original value has been retained.")}};
    IntervalChange change{present, {}};
    change.intervals.Logging = Limited(*value, change.messages);
    if (change.intervals.Logging < change.intervals.Refresh) {
        change.intervals.Refresh = change.intervals.Logging;
        // The comparison stands the wrong way round; people know the text as it is, so it stays.
        change.messages << QStringLiteral("The scan interval is less than the logging interval! "
                                          "Scan interval has been automatically updated to %1ms")
                               .arg(change.intervals.Refresh);
    }
    return change;
}

Intervals Normalised(Intervals stored)
{
    stored.Refresh = std::clamp(stored.Refresh, 1, kMaxIntervalMs);
    stored.Logging = std::clamp(stored.Logging, stored.Refresh, kMaxIntervalMs);
    return stored;
}
