#pragma once

#include "platform/TimeSource.h"

#include <atomic>

/// A clock that moves only when somebody waits: the same waits give the same times, whatever the machine does
/// meanwhile. A simulated pack lives on it.
class VirtualTime final : public TimeSource {
public:
    /// @param speed  how much faster than the wall clock it passes; 0 (or less): no sleeping at all
    /// @param interrupted  once it is set nothing sleeps any more; the clock still moves, so that every wait
    /// ends
    explicit VirtualTime(double speed = 0, const std::atomic<bool>* interrupted = nullptr,
                         const QDateTime& start = QDateTime(QDate(2026, 1, 1), QTime(8, 0)))
        : m_speed(speed), m_interrupted(interrupted), m_start(start)
    {
    }
    double SecondsOfDay() override;
    QDateTime Now() override;
    std::int64_t MonotonicMs() override { return m_ms; }
    /// Runs events for the whole time: returning early would make the clock depend on when they came.
    void ProcessEvents(int atMostMs) override;

private:
    double m_speed;
    const std::atomic<bool>* m_interrupted;
    QDateTime m_start;
    std::int64_t m_ms = 0;
    double m_owedMs
        = 0; ///< wall time not slept yet; short waits at a high speed add up before they are slept
};
