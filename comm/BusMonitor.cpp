#include "comm/BusMonitor.h"

#include <utility>

void BusMonitor::Clear()
{
    m_first = End();
    m_madeRoom = 0;
    m_entries.clear();
    ++m_revision;
}

const BusMonitor::Entry* BusMonitor::Find(std::int64_t serial) const
{
    return serial >= m_first && serial < End() ? &m_entries[static_cast<std::size_t>(serial - m_first)]
                                               : nullptr;
}

std::int64_t BusMonitor::Begin(Entry entry)
{
    if (m_entries.size() >= m_most) {
        m_entries.pop_front();
        ++m_first;
        ++m_madeRoom;
    }
    m_entries.push_back(std::move(entry));
    ++m_revision;
    return End() - 1;
}

void BusMonitor::Finish(std::int64_t serial, TraceEntry call, ErrorCode code)
{
    if (serial < m_first || serial >= End())
        return;
    Entry& entry = m_entries[static_cast<std::size_t>(serial - m_first)];
    entry.Call = std::move(call);
    entry.Code = code;
    entry.Done = true;
    ++m_revision;
}

void BusMonitor::KeepOpening(const TraceEntry& call)
{
    // a list begins another opening
    if (call.Number == static_cast<std::int32_t>(AdapterCall::ListFreeDevices))
        m_opening.clear();
    m_opening.push_back(call);
}

QByteArray BusMonitor::AsTrace() const
{
    constexpr qsizetype kLongestName = 200;
    QString adapter;
    for (const TraceEntry& call : m_opening)
        if (call.Facts)
            adapter = call.Facts->Name.left(kLongestName);
    const QDateTime start = m_entries.empty() ? QDateTime() : m_entries.front().At;
    QByteArray trace = TraceHead(start.toString(Qt::ISODateWithMs), adapter);
    for (const TraceEntry& call : m_opening)
        trace += TraceLine(call);
    for (const Entry& entry : m_entries)
        if (entry.Done && entry.Place.Call != AdapterCall::ListFreeDevices
            && entry.Place.Call != AdapterCall::OpenDevice)
            trace += TraceLine(entry.Call);
    return trace;
}
