#include "engineering/TransactionHistory.h"

#include "comm/BusSequence.h"
#include "platform/CsvField.h"

#include <utility>

namespace {

QString Field(QString text, QChar separator)
{
    if (separator != QLatin1Char(','))
        return text.replace(QLatin1Char('\t'), QLatin1Char(' ')).replace(QLatin1Char('\n'), QLatin1Char(' '));
    return CsvField(std::move(text));
}

QString Line(const QStringList& fields, QChar separator)
{
    QStringList written;
    for (const QString& field : fields)
        written << Field(field, separator);
    return written.join(separator) + QLatin1Char('\n');
}

} // namespace

HistoryEntry EntryOf(const StepReport& report)
{
    const SequenceStep& step = *report.Step;
    const bool sends = step.Does == SequenceStep::Kind::Send || step.Does == SequenceStep::Kind::Wait;
    HistoryEntry entry;
    entry.At = report.Result.At;
    entry.Sent = step.Text;
    entry.Code = report.Result.Code;
    entry.TookMs = report.Result.TookMs;
    entry.Data = report.Result.Data;
    if (sends) {
        entry.Again = step.Sent;
        TransactionResult came = report.Result;
        came.Code = ErrorCode::Ok; // an answer that was not the expected one is shown all the same
        entry.Answer = AnswerText(step.Sent.Kind, came);
    }
    entry.Text = report.Remark.isEmpty()
        ? (sends || Failed(entry.Code) ? ErrorCodeToText(entry.Code) : QString())
        : report.Remark;
    return entry;
}

void TransactionHistory::Add(HistoryEntry entry)
{
    if (m_entries.size() >= kMostEntries) {
        m_entries.pop_front();
        ++m_first;
    }
    m_entries.push_back(std::move(entry));
    ++m_revision;
}

void TransactionHistory::Clear()
{
    m_first = End();
    m_entries.clear();
    ++m_revision;
}

const HistoryEntry* TransactionHistory::Find(std::int64_t serial) const
{
    return serial >= m_first && serial < End() ? &m_entries[static_cast<std::size_t>(serial - m_first)]
                                               : nullptr;
}

QString TransactionHistory::Copy(std::span<const std::int64_t> serials, QChar separator) const
{
    QString text = Line({QStringLiteral("Time"), QStringLiteral("Sent"), QStringLiteral("Answer"),
                         QStringLiteral("Code"), QStringLiteral("Text"), QStringLiteral("ms")},
                        separator);
    for (const std::int64_t serial : serials)
        if (const HistoryEntry* entry = Find(serial))
            text += Line({entry->At.toString(Qt::ISODateWithMs), entry->Sent, entry->Answer,
                          QString::number(Number(entry->Code)), entry->Text, QString::number(entry->TookMs)},
                         separator);
    return text;
}

void RepeatedSend::Start(const Request& request)
{
    if (m_sending)
        return;
    m_request = request;
    m_done = m_failures = 0;
    m_running = true;
}

RepeatedSend::Turn RepeatedSend::Next(const QString& owner)
{
    if (!m_running || m_sending)
        return Turn::Ended;
    if (BusSequence::Running() || ExclusiveAccess::HeldBelow())
        return Turn::BusBusy;
    SequenceStep step;
    step.Sent = m_request.Sent;
    step.Expected = m_request.Expected;
    step.Text = TransactionText(step.Sent);
    StepReport report;
    report.Step = &step;
    {
        m_sending = true;
        const ExclusiveAccess access(m_access, owner);
        if (access) {
            report.Result = m_sender.Send(step.Sent);
        } else {
            report.Result.Code = ErrorCode::BusBusy;
            report.Remark = QStringLiteral("Nothing was sent: the bus was not free.");
        }
        m_sending = false;
    }
    if (report.Remark.isEmpty() && Failed(report.Result.Code)) {
        report.Remark = m_sender.Explain(step.Sent, report.Result.Code);
    } else if (step.Expected && !Failed(report.Result.Code) && !step.Expected->Met(report.Result.Data)) {
        report.Remark = QStringLiteral("Differs: ") + ExpectationText(step.Sent.Kind, *step.Expected);
        report.Result.Code = ErrorCode::CompareDifferent;
    }
    m_history.Add(EntryOf(report));
    ++m_done;
    const bool failed = Failed(report.Result.Code);
    m_failures += failed ? 1 : 0;
    // Stop may have been asked in the events of the call
    m_running = m_running && m_done < m_request.Times && !(failed && m_request.StopAtFailure);
    return m_running ? Turn::GoesOn : Turn::Ended;
}
