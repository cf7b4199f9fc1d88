#include "comm/adapters/RecordedAdapter.h"

#include "comm/adapters/Trace.h"

#include <QFile>

#include <utility>

RecordedAdapter::RecordedAdapter(std::unique_ptr<Pc61vRW> inner, TimeSource& time, QString file)
    : m_inner(std::move(inner)), m_time(time), m_file(std::move(file)), m_start(time.MonotonicMs())
{
    QFile earlier(m_file);
    const bool cut = earlier.size() > 0 && earlier.open(QIODevice::ReadOnly)
        && earlier.seek(earlier.size() - 1)
        && earlier.read(1) != "\n"; // an earlier run ended in the middle of a line
    earlier.close();
    Append((cut ? "\n" : "") + TraceHead(m_time.Now().toString(Qt::ISODateWithMs), m_inner->Facts().Name));
}

AdapterFacts RecordedAdapter::Facts() const
{
    AdapterFacts facts = m_inner->Facts();
    if (facts.Problem.isEmpty())
        facts.Problem = m_problem;
    return facts;
}

void RecordedAdapter::Perform(DriverCall& call)
{
    // Events run inside the call and may make calls of their own; a replay meets the outer one first.
    const std::size_t slot = m_lines.size();
    m_lines.emplace_back();
    ++m_depth;
    TraceEntry entry = EntryOf(call);
    const std::int64_t start = m_time.MonotonicMs();
    call.On(*m_inner);
    entry.Ms = start - m_start;
    entry.TookMs = m_time.MonotonicMs() - start;
    KeepAnswer(call, entry);
    AdapterFacts facts = m_inner->Facts();
    entry.BusMicroseconds = facts.BusMicroseconds;
    if (call.Number == AdapterCall::OpenDevice)
        entry.Facts = std::move(facts);
    m_lines[slot] = TraceLine(entry);
    if (--m_depth == 0) {
        QByteArray lines;
        for (const QByteArray& line : m_lines)
            lines += line;
        m_lines.clear();
        Append(lines);
    }
}

void RecordedAdapter::Append(const QByteArray& lines)
{
    QFile file(m_file);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append) || file.write(lines) != lines.size()
        || !file.flush())
        m_problem = QStringLiteral("The trace %1 cannot be written: %2.").arg(m_file, file.errorString());
}
