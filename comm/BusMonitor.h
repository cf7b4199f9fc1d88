#pragma once

#include "comm/BusPlace.h"
#include "comm/adapters/Trace.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <cstdint>
#include <deque>
#include <vector>

/// The newest bus calls in memory, for a window that shows them as they come; kept only while somebody
/// watches. The oldest make room for the newest.
class BusMonitor {
public:
    static constexpr std::size_t kMostEntries = 10'000;

    struct Entry {
        QDateTime At;
        TraceEntry Call;
        BusPlace Place;
        ErrorCode Code = ErrorCode::Ok;
        bool Done = false; ///< false: still under way
    };

    explicit BusMonitor(std::size_t most = kMostEntries) : m_most(most) { }

    void Watch(bool on) { m_watching = on; }
    [[nodiscard]] bool Watching() const { return m_watching; }
    void Clear();

    // Entries are known by a serial number that never comes again: those in [First(), End()) are there.
    [[nodiscard]] std::int64_t First() const { return m_first; }
    [[nodiscard]] std::int64_t End() const { return m_first + static_cast<std::int64_t>(m_entries.size()); }
    [[nodiscard]] std::int64_t MadeRoom() const
    {
        return m_madeRoom;
    } ///< entries dropped since the last Clear
    [[nodiscard]] const Entry* Find(std::int64_t serial) const; ///< nothing when it made room for others
    [[nodiscard]] std::uint64_t Revision() const { return m_revision; } ///< another one after every change

    /// @return its serial; calls that events make during another one stand behind it
    std::int64_t Begin(Entry entry);
    void Finish(std::int64_t serial, TraceEntry call, ErrorCode code);
    /// Calls that open an adapter are kept apart, so that a trace that was begun late can be replayed.
    void KeepOpening(const TraceEntry& call);

    /// The calls that are done as a trace, docs/traces.md; those that opened the adapter first.
    [[nodiscard]] QByteArray AsTrace() const;

private:
    std::deque<Entry> m_entries;
    std::vector<TraceEntry> m_opening;
    std::int64_t m_first = 0;
    std::int64_t m_madeRoom = 0;
    std::uint64_t m_revision = 0;
    std::size_t m_most;
    bool m_watching = false;
};
