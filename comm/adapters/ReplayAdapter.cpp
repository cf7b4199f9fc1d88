#include "comm/adapters/ReplayAdapter.h"

#include "comm/Wait.h"

#include <algorithm>

namespace {

constexpr std::int64_t kLongestCallMs = 60'000; // no adapter pause is longer, but a damaged trace may say so

} // namespace

ReplayAdapter::ReplayAdapter(TimeSource& time, const QString& file, const FileBytes& trace)
    : m_time(time), m_file(file), m_reader(trace.bytes), m_next(m_reader.Next())
{
    m_facts.Name = QStringLiteral("replay:") + file;
    m_facts.Kind = QStringLiteral("replay");
    m_difference = trace.error;
    if (m_difference.isEmpty() && !m_next)
        m_difference = QStringLiteral("%1, line %2: %3.")
                           .arg(m_file, QString::number(m_reader.Line()), m_reader.Problem());
    m_facts.Problem = m_difference;
}

void ReplayAdapter::Perform(DriverCall& call)
{
    const TraceEntry got = EntryOf(call);
    std::int64_t tookMs = 0;
    if (!m_next) {
        Differ(call, m_reader.Line(), QStringLiteral("%1; got %2").arg(m_reader.Problem(), ShownCall(got)));
    } else if (got.Number != m_next->Number || got.In != m_next->In) {
        Differ(call, m_next->Line,
               QStringLiteral("expected %1, got %2").arg(ShownCall(*m_next), ShownCall(got)));
    } else if (const QString unfit = GiveAnswer(*m_next, call); !unfit.isEmpty()) {
        Differ(call, m_next->Line, unfit);
    } else {
        if (m_next->Facts) {
            m_facts = *m_next->Facts;
            m_facts.Kind = QStringLiteral("replay");
            if (!m_difference.isEmpty())
                m_facts.Problem = m_difference;
        }
        m_facts.BusMicroseconds = m_next->BusMicroseconds;
        tookMs = std::clamp<std::int64_t>(m_next->TookMs, 0, kLongestCallMs);
        m_next = m_reader.Next();
    }
    WaitMs(m_time, static_cast<std::int32_t>(tookMs)); // lets events run even for 0
}

void ReplayAdapter::Differ(DriverCall& call, int line, const QString& why)
{
    AnswerWith(call, ErrorCode::CompareDifferent);
    if (m_difference.isEmpty())
        m_difference = QStringLiteral("%1, line %2: %3.").arg(m_file, QString::number(line), why);
    m_facts.Problem = m_difference;
}
