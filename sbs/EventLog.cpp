#include "sbs/EventLog.h"

#include "sbs/FlagView.h"
#include "sbs/RowTexts.h"
#include "sbs/ScanEngine.h"

namespace {

constexpr std::uint16_t kAlarmBits = 0xFF00; // the high byte of a Smart Battery's status word

QString BitName(const ScanEngine& scan, int row, int bit)
{
    for (int flag = 0; flag < scan.Tables().GetNumFlags(); ++flag) {
        const FlagLine line = ReadFlagLine(scan, flag);
        if (line.Row != row)
            continue;
        for (const FlagBit& named : line.Bits)
            if (named.Bit == bit && !named.Name.isEmpty())
                return named.Name;
    }
    return QStringLiteral("bit %1").arg(bit);
}

} // namespace

void EventLog::Clear()
{
    m_events.clear();
    m_failing.clear();
    m_alarms = 0;
    ++m_revision;
}

void EventLog::Add(RegisterEvent::Kind what, const QString& text)
{
    m_events.push_back({what, m_time.MonotonicMs(), m_time.Now(), text});
    if (m_events.size() > kMostEvents)
        m_events.pop_front();
    ++m_revision;
}

void EventLog::NotePass(const ScanEngine& scan, int statusRow)
{
    m_failing.resize(static_cast<std::size_t>(scan.RowCount()));
    for (int row = 0; row < scan.RowCount(); ++row) {
        const bool fails = Failed(scan.Row(row).Code) && scan.ScanOn(row);
        char& before = m_failing[static_cast<std::size_t>(row)];
        if (fails && !before)
            Add(RegisterEvent::Kind::FailedRead,
                QStringLiteral("%1: %2").arg(
                    ShownDescription(scan.Tables().GetSBSDesc(static_cast<std::int16_t>(row))),
                    scan.Row(row).Reason));
        before = fails;
    }
    if (statusRow < 0 || statusRow >= scan.RowCount() || !scan.Row(statusRow).Raw)
        return;
    const auto alarms = static_cast<std::uint16_t>(*scan.Row(statusRow).Raw & kAlarmBits);
    for (int bit = 8; bit < 16; ++bit)
        if ((alarms & ~m_alarms) >> bit & 1)
            Add(RegisterEvent::Kind::Alarm, BitName(scan, statusRow, bit));
    m_alarms = alarms;
}
