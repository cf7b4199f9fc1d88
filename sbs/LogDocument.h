#pragma once

#include "sbs/LogCompare.h"
#include "sbs/PlotData.h"
#include "sbs/RegisterLogFile.h"

#include <QString>

#include <memory>
#include <optional>
#include <vector>

/// A column of a log in numbers.
struct LogColumnFacts {
    QString Caption;
    bool Hexadecimal = false; ///< words whose bits mean something: no mean
    double Min = 0; ///< these three count only with Values
    double Max = 0;
    double Mean = 0;
    std::int64_t Values = 0;
    std::int64_t Gaps = 0;
};

enum class LogComparing { Overlay, Difference };

/// A register log, alone or beside a second one, as a viewer shows it: facts about its columns, and curves
/// for those that are ticked. Curves of a single log stand on its wall clock if it has one, else, as always
/// with two logs, on the time since the begin of each.
class LogDocument {
public:
    void SetFirst(RegisterLogData data); ///< forgets the second
    void SetSecond(RegisterLogData data);
    void RemoveSecond();

    [[nodiscard]] const RegisterLogData& First() const { return m_first.data; }
    [[nodiscard]] const RegisterLogData* Second() const { return m_second ? &m_second->data : nullptr; }
    [[nodiscard]] const std::vector<LogColumnFacts>& Columns() const { return m_facts; } ///< of the first log
    /// The column in both logs; nullptr without a second log and for a column that it lacks.
    [[nodiscard]] const ComparedSeries* Compared(std::size_t column) const;
    [[nodiscard]] const LogComparison& Comparison() const { return m_comparison; }

    /// Columns worth a first look: those that move, at most a few.
    [[nodiscard]] std::vector<std::size_t> Suggested() const;
    /// @param columns  in ticking order. The curves' histories live until the document gets other logs.
    [[nodiscard]] std::vector<PlotCurve> Curves(const std::vector<std::size_t>& columns, LogComparing how);
    /// Of the column's first curve, -1 for a column without one.
    [[nodiscard]] int Place(std::size_t column) const { return m_places[column]; }
    [[nodiscard]] std::vector<PlotEvent>
    Events() const; ///< records behind a failed transfer, of a single log
    [[nodiscard]] PlotClock Clock() const;

private:
    using Histories
        = std::vector<std::unique_ptr<ValueHistory>>; ///< one a column, filled when it is first drawn
    struct Log {
        RegisterLogData data;
        Histories histories;
    };
    void Match();

    Log m_first;
    std::optional<Log> m_second;
    std::vector<LogColumnFacts> m_facts;
    LogComparison m_comparison;
    Histories m_differences; ///< of the compared series
    std::vector<int> m_places; ///< of the curves made last, by column
    std::vector<std::optional<std::size_t>>
        m_compared; ///< place in the comparison, by column of the first log
    std::vector<std::optional<std::size_t>> m_inSecond; ///< column of the second log, likewise
};

/// "3712", in hexadecimal "0E80"; at most ten digits.
[[nodiscard]] QString LogNumber(double value, bool hexadecimal);
