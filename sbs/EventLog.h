#pragma once

#include "platform/TimeSource.h"

#include <QDateTime>
#include <QString>

#include <cstdint>
#include <deque>
#include <vector>

class ScanEngine;

/// Something that happened while registers were scanned, for the time axis of plots and the list of events.
struct RegisterEvent {
    enum class Kind { Alarm, Write, FailedRead, Charge, Discharge, Relax, Stop };
    Kind What = Kind::Alarm;
    std::int64_t Ms = 0; ///< monotonic
    QDateTime At;
    QString Text;
};

/// The events of one register view, oldest first; the newest 10,000 are kept.
class EventLog {
public:
    explicit EventLog(TimeSource& time) : m_time(time) { }
    void Clear();
    void Add(RegisterEvent::Kind what, const QString& text);
    /// Compares the flag rows of a finished pass with the pass before and notes what began: an alarm bit of
    /// the status row (its high byte) that came on, a row whose reads began to fail.
    void NotePass(const ScanEngine& scan, int statusRow);

    [[nodiscard]] const std::deque<RegisterEvent>& Events() const { return m_events; }
    [[nodiscard]] std::uint64_t Revision() const { return m_revision; } ///< differs after every change

    static constexpr std::size_t kMostEvents = 10'000;

private:
    TimeSource& m_time;
    std::deque<RegisterEvent> m_events;
    std::vector<char> m_failing; ///< by row
    std::uint16_t m_alarms = 0;
    std::uint64_t m_revision = 0;
};
