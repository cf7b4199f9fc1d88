#pragma once

#include "comm/GaugeAccess.h"
#include "comm/adapters/Adapters.h"
#include "comm/frmUSB.h"
#include "platform/ProfileFile.h"
#include "platform/TimeSource.h"
#include "platform/UserMessages.h"
#include "settings/StartupState.h"

#include <memory>

/// The time that an adapter lives on: a simulated or replayed gauge brings its own, as much faster than the
/// wall clock as [Simulator] Speed says.
[[nodiscard]] std::unique_ptr<TimeSource> MakeTime(AdapterKind kind, ProfileStore& profiles,
                                                   const StartupState& startup);

/// One life of the adapter: time, driver, command layer and access lock; closed when it goes away.
class GaugeSession {
public:
    GaugeSession(const AdapterSettings& adapter, ProfileStore& profiles, UserMessages& messages,
                 const StartupState& startup);
    ~GaugeSession();
    GaugeSession(const GaugeSession&) = delete;
    GaugeSession& operator=(const GaugeSession&) = delete;

    /// Settings that the adapter does not take are a message.
    /// @return false after the fixed message; Problem() may then say why
    bool Open();
    [[nodiscard]] QString Problem() const { return m_usb.Facts().Problem; }
    /// Waits while events run; ends early when the user interrupts.
    void Wait(std::int64_t milliseconds);

    TimeSource& Time() { return *m_time; }
    frmUSB& Usb() { return m_usb; }
    GaugeAccess& Access() { return m_access; }

private:
    ProfileStore& m_profiles;
    UserMessages& m_messages;
    const StartupState& m_startup;
    bool m_lent; ///< the adapter is that of a running Tarnlo, which a plug-in of it uses
    std::unique_ptr<TimeSource> m_time;
    std::unique_ptr<Pc61vRW> m_driver;
    frmUSB m_usb;
    GaugeAccess m_access;
    bool m_open = false;
};
