#pragma once

#include "comm/adapters/AdapterFunnel.h"

#include <QByteArray>
#include <QJsonArray>
#include <QString>

#include <cstdint>
#include <optional>

/// One call as a trace keeps it; docs/traces.md describes the form.
struct TraceEntry {
    std::int32_t Number = 0; ///< of AdapterCall
    QString Name;
    QJsonArray In; ///< what the caller gave, in call order
    QJsonArray Out; ///< what the driver wrote, in call order
    std::int32_t Result = 0; ///< 0 for the operations without one
    std::int64_t Ms = 0; ///< from the start of the run to the call
    std::int64_t TookMs = 0;
    double BusMicroseconds = 0; ///< ideal bus time of the run so far
    std::optional<AdapterFacts> Facts; ///< what the adapter says of itself, after an open
    int Line = 0; ///< in the file, from 1; for readers
};

[[nodiscard]] QByteArray TraceLine(const TraceEntry& entry);
/// @param problem  plain words when the line is no entry
[[nodiscard]] std::optional<TraceEntry> ParseTraceLine(const QByteArray& line, QString& problem);

/// The line that begins a run; a file may hold several runs.
[[nodiscard]] QByteArray TraceHead(const QString& time, const QString& adapter);

/// The call's name and what its caller gave.
[[nodiscard]] TraceEntry EntryOf(const DriverCall& call);
/// "AdpReadSMBusWord [9,22]"
[[nodiscard]] QString ShownCall(const TraceEntry& entry);

/// Adds what the driver wrote and answered.
void KeepAnswer(const DriverCall& call, TraceEntry& entry);
/// Gives the call the entry's answer.
/// @return empty, or what does not fit in plain words; the call then must not count as done
[[nodiscard]] QString GiveAnswer(const TraceEntry& entry, DriverCall& call);

/// The entries of the last run of a trace, one after the other.
class TraceReader {
public:
    explicit TraceReader(QByteArray bytes);
    /// @return nothing at the end or at a line that is no entry; nothing follows then
    [[nodiscard]] std::optional<TraceEntry> Next();
    [[nodiscard]] const QString& Problem() const { return m_problem; } ///< why Next() gave nothing
    [[nodiscard]] int Line() const { return m_line; } ///< of the last entry or the problem

private:
    QByteArray m_bytes;
    qsizetype m_position = 0;
    int m_line = 0;
    QString m_problem;
};
