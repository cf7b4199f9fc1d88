#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>

/// Refresh and logging intervals, milliseconds, 1..64767; logging is never below refresh.
struct Intervals {
    std::int32_t Refresh = 2000;
    std::int32_t Logging = 5000;
    bool operator==(const Intervals&) const = default;
};

inline constexpr std::int32_t kMaxIntervalMs = 64767; ///< deliberate, not a round number of bits

/// What an answer to the interval question does, and what is to be said about it, in order.
struct IntervalChange {
    Intervals intervals;
    QStringList messages;
};
[[nodiscard]] IntervalChange SetRefreshInterval(Intervals present, const QString& answer);
[[nodiscard]] IntervalChange SetLoggingInterval(Intervals present, const QString& answer);

/// Brings stored intervals into the rules without a word; logging is raised to refresh.
[[nodiscard]] Intervals Normalised(Intervals stored);
