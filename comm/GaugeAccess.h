#pragma once

#include "platform/TimeSource.h"
#include "platform/UserMessages.h"

#include <QString>

#include <cstdint>
#include <functional>

/// Serialises bus sequences: one process-wide flag, changed only by atomic exchange. It is not re-entrant on
/// purpose: who takes it twice waits for itself until the time is up.
class GaugeAccess {
public:
    GaugeAccess(TimeSource& time, UserMessages& messages) : m_time(time), m_messages(messages) { }

    /// Tries every 200 ms.
    /// @param timeoutMs  what is left of it is handed back
    /// @return false after the message that the bus was not to be had
    bool AcquireUSBExclusiveAccess(std::int16_t& timeoutMs);
    /// Gives it back; a release without an acquire shows a message and changes nothing.
    void ReleaseUSBExclusiveAccess();

    [[nodiscard]] static bool Held();
    [[nodiscard]] const QString& Owner() const { return m_owner; } ///< for the status bar; empty when free

    /// Names the holder, who acquired it and returns to the event loop between its calls: a plug-in.
    /// @param giveBack  makes it release; what cannot wait for it calls this through TakeBack
    void Lend(const QString& owner, std::function<void()> giveBack);
    /// Frees the bus of a holder that is between its calls, at once and whatever it had in mind.
    void TakeBack();

private:
    friend class ExclusiveAccess;
    std::function<void()> m_giveBack; // empty: the holder is on the stack, or nobody
    TimeSource& m_time;
    UserMessages& m_messages;
    QString m_owner;
};

inline constexpr std::int16_t kBusTimeoutMs = 10000;

/// Holds the bus for a scope: acquires in its constructor and releases in its destructor, only if it
/// acquired. A scope further down the stack cannot go on while this one waits for it, so it is not waited
/// for: this one is then refused at once and without a message. Other holders, who return to the event loop
/// between their calls, are waited for.
class ExclusiveAccess {
public:
    ExclusiveAccess(GaugeAccess& access, const QString& owner, std::int16_t timeoutMs = kBusTimeoutMs);
    ~ExclusiveAccess();
    ExclusiveAccess(const ExclusiveAccess&) = delete;
    ExclusiveAccess& operator=(const ExclusiveAccess&) = delete;
    explicit operator bool() const { return m_acquired; }

    /// A scope further down the stack holds the bus.
    [[nodiscard]] static bool HeldBelow() { return s_scopes > 0; }

private:
    friend class CallOfHolder;
    static int s_scopes; // the user-interface thread's alone
    GaugeAccess& m_access;
    bool m_acquired;
};

/// One call of a holder that acquired earlier and returned to the event loop: while it lasts, the holder is
/// on the stack like any other.
class CallOfHolder {
public:
    CallOfHolder() { ++ExclusiveAccess::s_scopes; }
    ~CallOfHolder() { --ExclusiveAccess::s_scopes; }
    CallOfHolder(const CallOfHolder&) = delete;
    CallOfHolder& operator=(const CallOfHolder&) = delete;
};
