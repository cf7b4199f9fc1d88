#pragma once

#include "platform/TimeSource.h"

#include <atomic>

/// The machine's own clock and Qt's events. Works without an application object too, then it only sleeps.
class SystemTime final : public TimeSource {
public:
    /// @param interrupted  ends a sleep early once it is set, by a signal handler for instance
    explicit SystemTime(const std::atomic<bool>* interrupted = nullptr) : m_interrupted(interrupted) { }
    double SecondsOfDay() override;
    QDateTime Now() override;
    std::int64_t MonotonicMs() override;
    void ProcessEvents(int atMostMs) override;

private:
    const std::atomic<bool>* m_interrupted;
};
