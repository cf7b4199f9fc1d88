#include "cli/GaugeSession.h"

#include "platform/Interrupt.h"
#include "platform/SystemTime.h"
#include "platform/VirtualTime.h"
#include "plugins/HostAdapter.h"

#include <QLocale>

#include <algorithm>

namespace {
constexpr std::int64_t kLongestSliceMs = 1000; // a turn of the clock; the pack's own time ends at whole turns
} // namespace

std::unique_ptr<TimeSource> MakeTime(AdapterKind kind, ProfileStore& profiles, const StartupState& startup)
{
    if (kind == AdapterKind::Linux || kind == AdapterKind::Host)
        return std::make_unique<SystemTime>(&Interrupt::Flag());
    const QString speed
        = profiles.String(startup.ProgramSettingsFile, u"Simulator", u"Speed", QStringLiteral("1"));
    return std::make_unique<VirtualTime>(QLocale::c().toDouble(speed), &Interrupt::Flag());
}

namespace {

std::unique_ptr<Pc61vRW> MakeDriver(const AdapterSettings& adapter, ProfileStore& profiles,
                                    const StartupState& startup, TimeSource& time)
{
    return adapter.Kind == AdapterKind::Host ? HostAdapterFromEnvironment(time, adapter.TraceFile)
                                             : MakeAdapter(adapter, profiles, startup, time);
}

} // namespace

GaugeSession::GaugeSession(const AdapterSettings& adapter, ProfileStore& profiles, UserMessages& messages,
                           const StartupState& startup)
    : m_profiles(profiles), m_messages(messages), m_startup(startup),
      m_lent(adapter.Kind == AdapterKind::Host), m_time(MakeTime(adapter.Kind, profiles, startup)),
      m_driver(MakeDriver(adapter, profiles, startup, *m_time)),
      m_usb(*m_driver, *m_time, messages, startup.ProgramFolder), m_access(*m_time, messages)
{
}

GaugeSession::~GaugeSession()
{
    if (m_open)
        m_usb.CloseDevice();
}

bool GaugeSession::Open()
{
    if (m_lent) {
        m_usb.OpenFirstUsedDevice(m_open); // shows its own message
        return m_open;
    }
    m_usb.OpenFirstFreeDevice(m_open);
    if (!m_open) {
        m_messages.Show(QStringLiteral(
            "The HX5100 connection could not be Initiated! Please close this program and try again."));
        return false;
    }
    if (m_profiles.Integer(m_startup.ProgramSettingsFile, u"Options", u"ClearLog", 1) != 0)
        m_usb.ClearErrorLog();
    if (m_profiles.Integer(m_startup.ProgramSettingsFile, u"Options", u"EnableErrLog", 0) != 0)
        m_usb.EnableErrorLog();
    if (!Problem().isEmpty())
        m_messages.Show(Problem()); // open, but not as the settings ask
    return true;
}

void GaugeSession::Wait(std::int64_t milliseconds)
{
    const std::int64_t end = m_time->MonotonicMs() + milliseconds;
    for (std::int64_t left = milliseconds; left > 0 && !Interrupt::Asked();
         left = end - m_time->MonotonicMs())
        m_time->ProcessEvents(static_cast<int>(std::min(left, kLongestSliceMs)));
}
