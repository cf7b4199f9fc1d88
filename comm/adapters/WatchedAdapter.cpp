#include "comm/adapters/WatchedAdapter.h"

#include <chrono>
#include <utility>

std::int64_t WatchedAdapter::SteadyMicroseconds()
{
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

WatchedAdapter::WatchedAdapter(std::unique_ptr<Pc61vRW> inner, TimeSource& time, BusWatch& watch,
                               MicrosecondClock clock)
    : m_inner(std::move(inner)), m_time(time), m_watch(watch), m_clock(clock), m_startMs(time.MonotonicMs())
{
}

void WatchedAdapter::Perform(DriverCall& call)
{
    const BusPlace place = PlaceOf(call);
    const bool poll = call.Number == AdapterCall::GetLastError;
    const bool opening
        = call.Number == AdapterCall::ListFreeDevices || call.Number == AdapterCall::OpenDevice;
    // before the call: the events in it may write something else
    const std::optional<BusPlace> polled = poll ? std::exchange(m_lastWrite, {}) : std::nullopt;

    std::optional<TraceEntry> entry;
    std::optional<std::int64_t> serial;
    std::int64_t startMs = 0;
    if (opening || m_watch.Monitor.Watching()) {
        entry = EntryOf(call);
        startMs = m_time.MonotonicMs();
        if (m_watch.Monitor.Watching())
            serial = m_watch.Monitor.Begin({m_time.Now(), *entry, place, ErrorCode::Ok, false});
    }

    const std::int64_t nestedBefore = std::exchange(m_nestedUs, 0);
    const std::int64_t startUs = m_clock();
    call.On(*m_inner);
    const std::int64_t tookUs = m_clock() - startUs;
    const std::int64_t ownUs = tookUs - m_nestedUs;
    m_nestedUs = nestedBefore + tookUs;

    const ErrorCode code = CodeOf(call);
    if (place.Transfers()) {
        m_watch.Health.Note(place, code, ownUs);
        // a call that failed at once is counted already
        m_lastWrite = place.Writes && !Failed(code) ? std::optional(place) : std::nullopt;
    } else if (polled) {
        m_watch.Health.NoteLate(*polled, code);
    }
    if (entry) {
        entry->Ms = startMs - m_startMs;
        entry->TookMs = m_time.MonotonicMs() - startMs;
        KeepAnswer(call, *entry);
        AdapterFacts facts = m_inner->Facts();
        entry->BusMicroseconds = facts.BusMicroseconds;
        if (call.Number == AdapterCall::OpenDevice)
            entry->Facts = std::move(facts);
        if (opening)
            m_watch.Monitor.KeepOpening(*entry);
        if (serial)
            m_watch.Monitor.Finish(*serial, std::move(*entry), code);
    }
}
