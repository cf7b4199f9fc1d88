#pragma once

#include "sbs/CycleController.h"

#include <QDateTime>

#include <cstdint>
#include <deque>
#include <optional>

/// A stretch of time in one state.
struct CyclePhase {
    CycleState State = CycleState::Idle;
    QDateTime Began;
    std::int64_t BeganMs = 0; ///< of the monotonic clock
    std::optional<std::int64_t> LengthMs; ///< nothing while it is under way
    std::optional<std::uint16_t> RemAtStart; ///< raw remaining capacity; nothing when it was not read
    std::optional<std::uint16_t> RemAtEnd;
};

/// What an auto-cycle run has done so far.
class CycleHistory {
public:
    static constexpr std::size_t kPhasesKept = 1000; ///< the newest; sums and counts go on

    /// @param counts  whether the phase that ends here was run to its switching point and so counts
    void Enter(CycleState state, const QDateTime& now, std::int64_t nowMs, std::optional<std::uint16_t> rem,
               bool counts);
    [[nodiscard]] const std::deque<CyclePhase>& Phases() const { return m_phases; }
    /// A cycle is a charge and a discharge phase, in either order, both run to their switching points.
    [[nodiscard]] int Cycles() const { return m_cycles; }
    /// Sums over the ended phases in raw units of the remaining-capacity row.
    [[nodiscard]] std::int64_t Charged() const { return m_charged; }
    [[nodiscard]] std::int64_t Discharged() const { return m_discharged; }

private:
    std::deque<CyclePhase> m_phases;
    int m_cycles = 0;
    bool m_chargeDone = false;
    bool m_dischargeDone = false;
    std::int64_t m_charged = 0;
    std::int64_t m_discharged = 0;
};
