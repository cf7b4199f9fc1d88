#include "comm/GaugeLink.h"

#include "platform/ProgramFolder.h"

#include <QFileInfo>

namespace {

/// The same file, however the settings write it.
bool SameTarget(const StartupState& state, const QString& written)
{
    const QFileInfo accepted(ResolvePath(state.ProgramFolder, written));
    return !written.isEmpty() && accepted == QFileInfo(ResolvePath({}, state.TargetConfigPath));
}

} // namespace

Detection DetectTarget(frmUSB& usb, ProfileStore& profiles, const StartupState& state)
{
    Detection found;
    const IdentityRequest request = ReadIdentityRequest(profiles, state);
    found.Code = ReadGaugeIdentity(usb, request, state.TargetAddress, found.Identity);
    if (found.Code == ErrorCode::Terminated) // a gauge that just woke up ends its first transfer
        found.Code = ReadGaugeIdentity(usb, request, state.TargetAddress, found.Identity);
    if (Failed(found.Code))
        return found;
    found.DeviceKey = GetDeviceKey(found.Identity);
    found.TargetsKey = TargetsKey(found.Identity);
    if (!found.TargetsKey.isEmpty())
        found.Target = profiles.String(state.ProgramSettingsFile, u"Targets", found.TargetsKey);
    return found;
}

void GaugeLink::Connected()
{
    m_now = State::Unknown;
    m_due = true;
    m_warned = false;
    m_answering = false;
    m_lastError = ErrorCode::Ok;
    m_identity.clear();
}

void GaugeLink::NotePass(int answered, int failed, ErrorCode lastError)
{
    if (answered + failed == 0)
        return;
    m_answering = answered > 0;
    m_lastError = failed > 0 ? lastError : ErrorCode::Ok;
    if (!m_answering) {
        m_due = true;
        m_now = State::ReadError;
    }
}

GaugeLink::State GaugeLink::Tick()
{
    if (!m_due)
        return m_now;
    const IdentityRequest request = ReadIdentityRequest(m_profiles, m_state);
    if (!request.Problem.isEmpty() && !m_warned)
        m_messages.Show(request.Problem);
    if (!request.Allowed) {
        m_due = false;
        return m_now = State::NotAsked;
    }
    Detection found;
    {
        const ExclusiveAccess access(m_access, QStringLiteral("Identity"));
        if (!access)
            return m_now;
        found = DetectTarget(m_usb, m_profiles, m_state);
    }
    if (Failed(found.Code)) {
        m_lastError = found.Code;
        return m_now = State::ReadError;
    }
    m_due = false;
    m_identity = found.Identity;
    LoadTargetSettings(m_profiles, m_messages, m_state.ProgramFolder, found.DeviceKey, m_target);
    m_now = SameTarget(m_state, found.Target) ? State::Accepted : State::Incompatible;
    if (m_now == State::Incompatible && !m_warned) {
        m_warned = true;
        m_messages.Show(QStringLiteral("The detected device is not compatible with this application!\n"
                                       "Proceed at your own risk."));
    }
    return m_now;
}
