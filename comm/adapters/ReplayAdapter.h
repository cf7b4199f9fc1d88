#pragma once

#include "comm/adapters/AdapterFunnel.h"
#include "comm/adapters/Trace.h"
#include "platform/TimeSource.h"
#include "platform/WholeFile.h"

#include <QString>

#include <optional>

/// Answers every call as the last run of a trace did and takes as long as it took. A call that differs from
/// the next one of the trace answers CompareDifferent and leaves the place in the trace, so a program that
/// only asked too much finds its way back; the first difference is Facts().Problem.
class ReplayAdapter final : public AdapterFunnel {
public:
    ReplayAdapter(TimeSource& time, const QString& file) : ReplayAdapter(time, file, ReadWhole(file)) { }
    ReplayAdapter(TimeSource& time, const QString& file, const FileBytes& trace);
    /// Those of the recorded adapter once the trace has opened it, but of the kind "replay".
    [[nodiscard]] AdapterFacts Facts() const override { return m_facts; }

private:
    void Perform(DriverCall& call) override;
    void Differ(DriverCall& call, int line, const QString& why);

    TimeSource& m_time;
    QString m_file;
    TraceReader m_reader;
    std::optional<TraceEntry> m_next; // what the trace expects now
    AdapterFacts m_facts;
    QString m_difference; // the first one
};
