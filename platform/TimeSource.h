#pragma once

#include <QDateTime>

#include <cstdint>

/// Time and the event pump, all that waits and time stamps need from the machine: a test passes midnight,
/// or seven days, in no time, and a simulated pack carries its own time.
class TimeSource {
public:
    virtual ~TimeSource() = default;
    virtual double SecondsOfDay() = 0; ///< 0 up to 86400; starts again at midnight
    virtual QDateTime Now() = 0; ///< date and local time, for logs and heads of files
    virtual std::int64_t MonotonicMs() = 0; ///< never goes back; for intervals and ages
    /// Runs pending events; sleeps until events come or the time is over. 0 only runs what is pending.
    /// Runs timers and clicks: callers can be re-entered.
    virtual void ProcessEvents(int atMostMs) = 0;
};
