#include "sbs/CycleHistory.h"

void CycleHistory::Enter(CycleState state, const QDateTime& now, std::int64_t nowMs,
                         std::optional<std::uint16_t> rem, bool counts)
{
    if (!m_phases.empty()) {
        CyclePhase& ended = m_phases.back();
        ended.LengthMs = nowMs - ended.BeganMs;
        ended.RemAtEnd = rem;
        const std::int64_t change = ended.RemAtStart && rem ? *rem - *ended.RemAtStart : 0;
        if (ended.State == CycleState::Charging) {
            m_charged += change;
            m_chargeDone = m_chargeDone || counts;
        } else if (ended.State == CycleState::Discharging) {
            m_discharged -= change;
            m_dischargeDone = m_dischargeDone || counts;
        }
        if (m_chargeDone && m_dischargeDone) {
            ++m_cycles;
            m_chargeDone = m_dischargeDone = false;
        }
    }
    m_phases.push_back({state, now, nowMs, std::nullopt, rem, std::nullopt});
    if (m_phases.size() > kPhasesKept)
        m_phases.pop_front();
}
