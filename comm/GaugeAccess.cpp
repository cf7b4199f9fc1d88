#include "comm/GaugeAccess.h"

#include "comm/Wait.h"

#include <atomic>
#include <utility>

namespace {

constexpr std::int16_t kRetryMs = 200;

std::atomic<std::int32_t> g_held{0};

} // namespace

bool GaugeAccess::AcquireUSBExclusiveAccess(std::int16_t& timeoutMs)
{
    while (g_held.exchange(1) == 1) {
        if (timeoutMs < 1) {
            m_messages.Show(QStringLiteral("Failed AcquireUSBExclusiveAccess!"));
            return false;
        }
        WaitMs(m_time, kRetryMs);
        timeoutMs = static_cast<std::int16_t>(timeoutMs - kRetryMs);
    }
    return true;
}

void GaugeAccess::ReleaseUSBExclusiveAccess()
{
    m_owner.clear();
    m_giveBack = nullptr;
    if (g_held.exchange(0) == 0)
        m_messages.Show(QStringLiteral("USB Sync error! Access lock released without acquire!\r\n"
                                       "Please exit the application to prevent data corruption."));
}

bool GaugeAccess::Held() { return g_held.load() != 0; }

void GaugeAccess::Lend(const QString& owner, std::function<void()> giveBack)
{
    m_owner = owner;
    m_giveBack = std::move(giveBack);
}

void GaugeAccess::TakeBack()
{
    if (m_giveBack && !ExclusiveAccess::HeldBelow())
        std::exchange(m_giveBack, nullptr)();
}

int ExclusiveAccess::s_scopes = 0;

ExclusiveAccess::ExclusiveAccess(GaugeAccess& access, const QString& owner, std::int16_t timeoutMs)
    : m_access(access), m_acquired(!HeldBelow() && access.AcquireUSBExclusiveAccess(timeoutMs))
{
    if (m_acquired) {
        ++s_scopes;
        m_access.m_owner = owner;
    }
}

ExclusiveAccess::~ExclusiveAccess()
{
    if (m_acquired) {
        --s_scopes;
        m_access.ReleaseUSBExclusiveAccess();
    }
}
