#include "platform/VirtualTime.h"

#include "platform/EventTurn.h"

#include <chrono>

namespace {

constexpr std::int64_t kDayMs = 86'400'000;
constexpr double kShortestSleepMs = 1;

} // namespace

double VirtualTime::SecondsOfDay()
{
    return static_cast<double>((m_start.time().msecsSinceStartOfDay() + m_ms) % kDayMs) / 1000.0;
}

QDateTime VirtualTime::Now()
{
    // date and time apart, so that no change to summer time of the machine's zone comes between
    const std::int64_t ms = m_start.time().msecsSinceStartOfDay() + m_ms;
    return QDateTime(m_start.date().addDays(ms / kDayMs),
                     QTime::fromMSecsSinceStartOfDay(static_cast<int>(ms % kDayMs)), m_start.timeSpec());
}

void VirtualTime::ProcessEvents(int atMostMs)
{
    using Clock = std::chrono::steady_clock;
    EventTurn(0, nullptr);
    if (atMostMs <= 0)
        return;
    m_ms += atMostMs;
    if (!(m_speed > 0))
        return;
    m_owedMs += atMostMs / m_speed;
    while (m_owedMs >= kShortestSleepMs && !(m_interrupted && m_interrupted->load())) {
        const Clock::time_point start = Clock::now();
        EventTurn(m_owedMs, m_interrupted);
        m_owedMs -= std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    }
    if (m_interrupted && m_interrupted->load())
        m_owedMs = 0;
}
