#pragma once

#include "comm/ErrorCodes.h"
#include "comm/GaugeAccess.h"
#include "comm/GaugeIdentity.h"
#include "comm/frmUSB.h"
#include "platform/ProfileFile.h"
#include "platform/UserMessages.h"
#include "settings/StartupState.h"
#include "settings/TargetSettings.h"

#include <QString>

#include <cstdint>

/// Who is on the bus, from one identity read.
struct Detection {
    ErrorCode Code = ErrorCode::Ok;
    QString Identity; ///< "Device:800, Ver:1.02"; empty when the read failed
    QString DeviceKey; ///< "800.1.02"
    QString TargetsKey; ///< "800_1_02"
    QString Target; ///< file of the target list, relative to the program folder; empty when none accepts it
};

/// Reads the identity, once more on code 6, and looks it up in the target list.
[[nodiscard]] Detection DetectTarget(frmUSB& usb, ProfileStore& profiles, const StartupState& state);

/// The state of the connection to the gauge: whether it answers, with what last error, and whether it is one
/// that the chosen target accepts. The identity is asked at the first tick after a connect or after a wholly
/// failed pass, never on every tick; a target that forbids it is never asked.
class GaugeLink {
public:
    enum class State { Unknown, ReadError, Accepted, Incompatible, NotAsked };

    GaugeLink(frmUSB& usb, GaugeAccess& access, ProfileStore& profiles, UserMessages& messages,
              const StartupState& state, TargetSettings& target)
        : m_usb(usb), m_access(access), m_profiles(profiles), m_messages(messages), m_state(state),
          m_target(target)
    {
    }

    void Connected(); ///< an adapter was opened or a target chosen: the next tick asks who is there
    /// What a pass brought; a wholly failed one makes the next tick ask again.
    void NotePass(int answered, int failed, ErrorCode lastError);
    /// Asks when it is due. A gauge that the target does not accept brings the warning once per connect.
    State Tick();

    [[nodiscard]] State Now() const { return m_now; }
    [[nodiscard]] bool Answering() const { return m_answering; }
    [[nodiscard]] ErrorCode LastError() const
    {
        return m_lastError;
    } ///< of the newest pass; Ok when none failed
    [[nodiscard]] const QString& Identity() const { return m_identity; }

private:
    frmUSB& m_usb;
    GaugeAccess& m_access;
    ProfileStore& m_profiles;
    UserMessages& m_messages;
    const StartupState& m_state;
    TargetSettings& m_target;
    State m_now = State::Unknown;
    QString m_identity;
    ErrorCode m_lastError = ErrorCode::Ok;
    bool m_due = true;
    bool m_warned = false;
    bool m_answering = false;
};
