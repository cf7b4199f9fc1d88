#pragma once

#include "comm/GaugeAccess.h"

#include <QString>

#include <cstdint>
#include <optional>

/// Something that runs by a timer and uses the bus: a scan, a log, an export. Every one alive is stopped
/// while a BusSequence lasts. One that is made meanwhile is not, so ticks still ask BusSequence::Running().
class PeriodicWork {
public:
    PeriodicWork();
    virtual ~PeriodicWork();
    PeriodicWork(const PeriodicWork&) = delete;
    PeriodicWork& operator=(const PeriodicWork&) = delete;

protected:
    virtual void Pause() = 0; ///< stops the timer and keeps in mind whether it ran
    virtual void Resume() = 0; ///< starts it again if it ran; called once for each Pause

private:
    friend class BusSequence;
    bool m_paused = false;
};

/// The guard of a long sequence (Read All, Write All, flash runs, calibration): stops all periodic work,
/// holds the bus, and undoes both on every path. One at a time: a second one, which can only come from a
/// handler that runs inside the first, is refused at once. While one runs a tick is dropped and a user's
/// command disabled or put off.
class BusSequence {
public:
    /// Waits at most timeoutMs for a holder that is not on the stack, with the message of a failed acquire.
    BusSequence(GaugeAccess& access, const QString& owner, std::int16_t timeoutMs = kBusTimeoutMs);
    ~BusSequence();
    BusSequence(const BusSequence&) = delete;
    BusSequence& operator=(const BusSequence&) = delete;
    explicit operator bool() const { return m_access && *m_access; }

    /// A sequence is under way (or waits for the bus) further down the stack.
    [[nodiscard]] static bool Running();

private:
    std::optional<ExclusiveAccess> m_access; // empty: refused because another one runs
};
