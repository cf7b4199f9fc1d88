#include "simulator/SimulatedBench.h"

#include <algorithm>

namespace {

constexpr double kIdleAmps = 0.002; // what the host side of the pack draws with nothing switched on
constexpr int kLeapSeconds = 60;
constexpr int kSettledSeconds = 600; // after so much rest nothing moves faster than a minute shows

} // namespace

SimulatedBench::SimulatedBench(const SimulatorSettings& settings)
    : m_pack(settings.Seed, settings.Charge / 100, settings.Ambient), m_keeper(m_flash, settings),
      m_gauge(m_pack, m_flash, settings), m_loadAmps(settings.LoadCurrent / 1000.0),
      m_chargerAmps(settings.ChargeCurrent / 1000.0)
{
}

void SimulatedBench::SetCharger(bool on)
{
    m_restSeconds = on == m_charger ? m_restSeconds : 0;
    m_charger = on;
}

void SimulatedBench::SetLoad(bool on)
{
    m_restSeconds = on == m_load ? m_restSeconds : 0;
    m_load = on;
}

void SimulatedBench::AdvanceTo(std::int64_t seconds)
{
    while (m_seconds < seconds)
        Step(seconds - m_seconds);
}

double SimulatedBench::ChargerAmps(double drawn) const
{
    const GaugeModel::ChargeRequest request = m_gauge.Request();
    const double most = std::min(request.Milliamps / 1000.0, m_chargerAmps);
    // Constant voltage: no more than brings the terminals to the voltage asked for, the load fed besides.
    const double held = (request.Millivolts / 1000.0 - m_pack.RestVolts()) / m_pack.Ohms() + drawn;
    return std::clamp(held, 0.0, most);
}

void SimulatedBench::Step(std::int64_t atMost)
{
    const double drawn = (m_load ? m_loadAmps : 0) + kIdleAmps;
    const double fed = m_charger ? ChargerAmps(drawn) : 0;
    const bool resting = fed <= 0 && (!m_load || m_pack.DischargeOpen());
    const bool leap = resting && m_restSeconds >= kSettledSeconds && atMost >= kLeapSeconds;
    const int seconds = leap ? kLeapSeconds : 1;
    m_pack.Step(fed - drawn, seconds);
    m_gauge.Sample(seconds);
    m_seconds += seconds;
    m_restSeconds = resting ? std::min(m_restSeconds + seconds, kSettledSeconds) : 0;
}
