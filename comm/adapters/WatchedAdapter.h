#pragma once

#include "comm/BusWatch.h"
#include "comm/adapters/AdapterFunnel.h"
#include "platform/TimeSource.h"

#include <memory>
#include <optional>

/// Passes every call on to another adapter and tells a BusWatch of it.
///
/// A write that only the poll behind it shows as failed counts as failed at the write's register. How long a
/// call took is measured by the machine's own clock: milliseconds would be too coarse for one transfer, and a
/// simulated pack's time stands still in it.
class WatchedAdapter final : public AdapterFunnel {
public:
    using MicrosecondClock = std::int64_t (*)();
    [[nodiscard]] static std::int64_t SteadyMicroseconds();

    /// @param watch  outlives the adapter
    WatchedAdapter(std::unique_ptr<Pc61vRW> inner, TimeSource& time, BusWatch& watch,
                   MicrosecondClock clock = SteadyMicroseconds);
    [[nodiscard]] AdapterFacts Facts() const override { return m_inner->Facts(); }

private:
    void Perform(DriverCall& call) override;

    std::unique_ptr<Pc61vRW> m_inner;
    TimeSource& m_time;
    BusWatch& m_watch;
    MicrosecondClock m_clock;
    std::int64_t m_startMs;
    std::int64_t m_nestedUs = 0; ///< of calls that events made during the one under way
    std::optional<BusPlace> m_lastWrite; ///< what a poll would tell of
};
