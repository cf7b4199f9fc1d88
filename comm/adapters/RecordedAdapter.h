#pragma once

#include "comm/adapters/AdapterFunnel.h"
#include "platform/TimeSource.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <vector>

/// Passes every call on to another adapter and appends it to a trace, one line a call. The file is opened and
/// closed for each entry; a run that finds a file adds itself at its end. docs/traces.md describes the form.
class RecordedAdapter final : public AdapterFunnel {
public:
    RecordedAdapter(std::unique_ptr<Pc61vRW> inner, TimeSource& time, QString file);
    /// The inner adapter's; a trace that cannot be written is its Problem.
    [[nodiscard]] AdapterFacts Facts() const override;

private:
    void Perform(DriverCall& call) override;
    void Append(const QByteArray& lines);

    std::unique_ptr<Pc61vRW> m_inner;
    TimeSource& m_time;
    QString m_file;
    std::int64_t m_start;
    std::vector<QByteArray>
        m_lines; // of the call under way and of those made by its events, in order of their start
    int m_depth = 0;
    QString m_problem;
};
