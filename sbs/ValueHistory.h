#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <variant>
#include <vector>

/// What one pixel column of a plot shows of a row.
struct HistoryColumn {
    double Min = 0;
    double Max = 0;
    double First = 0;
    double Last = 0;
    std::int64_t FirstMs = 0; ///< time of First
    std::int64_t LastMs = 0;
    bool HasValue = false;
    bool Gap = false; ///< passes fell into the column and none of them gave a value: a line breaks here
    bool operator==(const HistoryColumn&) const = default;
};

/// One row's values in pass order; not a number marks a gap. Blocks of 16 and 256 values and 16-fold ones
/// above carry their minimum and maximum. Single precision where every value of a block of 256 is exact in
/// it.
class HistorySeries {
public:
    void Append(std::size_t index, double value); ///< index is the pass; passes left out are gaps
    [[nodiscard]] double At(std::size_t index) const; ///< not a number for a gap
    /// Extends low and high by the values of passes begin..end-1.
    void MinMax(std::size_t begin, std::size_t end, double& low, double& high) const;
    /// First index in begin..end-1 that holds a value, or end.
    [[nodiscard]] std::size_t FirstValue(std::size_t begin, std::size_t end) const;
    /// Last index in begin..end-1 that holds a value, or end.
    [[nodiscard]] std::size_t LastValue(std::size_t begin, std::size_t end) const;
    [[nodiscard]] std::size_t MemoryBytes() const;

    static constexpr std::size_t kFan = 16;
    static constexpr std::size_t kLeaf = kFan * kFan;

private:
    template <class Real>
    struct Leaf {
        std::array<Real, kLeaf> values;
        std::array<Real, kFan> low;
        std::array<Real, kFan> high;
        Leaf();
    };
    using FloatLeaf = std::unique_ptr<Leaf<float>>;
    using DoubleLeaf = std::unique_ptr<Leaf<double>>;
    using AnyLeaf = std::variant<std::monostate, FloatLeaf, DoubleLeaf>; ///< nothing: all gaps
    struct Range {
        double low;
        double high;
    };
    template <class Visitor>
    static void Visit(const AnyLeaf& leaf, Visitor&& visitor);
    void Raise(std::size_t leaf, double value); ///< takes the value into the ranges above its leaf
    void MinMaxInLeaf(std::size_t leaf, std::size_t begin, std::size_t end, double& low, double& high) const;
    [[nodiscard]] bool Empty(std::size_t level, std::size_t block) const;

    std::vector<AnyLeaf> m_leaves;
    std::vector<std::vector<Range>> m_levels; ///< [0]: one range a leaf, [n+1]: one for 16 of [n]
};

/// Values of all rows over time, for plots, trends and statistics. The passes' times are shared by all rows;
/// a failed or switched-off read is a gap. Memory: at most 10 bytes a value and 8 a pass; an append costs the
/// same whatever came before, a query depends on the columns asked for and not on the length of the history.
class ValueHistory {
public:
    explicit ValueHistory(std::size_t rows = 0) : m_series(rows) { }

    /// @param timeMs  never goes back; an earlier time counts as the last one
    /// @param values  one a row; not a number for a gap
    void Append(std::int64_t timeMs, std::span<const double> values);
    [[nodiscard]] std::size_t Passes() const { return m_passes; }
    [[nodiscard]] std::size_t Rows() const { return m_series.size(); }
    [[nodiscard]] std::int64_t TimeMs(std::size_t pass) const;
    [[nodiscard]] double Value(std::size_t row, std::size_t pass) const { return m_series[row].At(pass); }
    /// First pass at or after the time; Passes() when there is none.
    [[nodiscard]] std::size_t PassAt(std::int64_t timeMs) const;

    /// Splits fromMs..toMs (the end excluded) into equal columns.
    [[nodiscard]] std::vector<HistoryColumn> Columns(std::size_t row, std::int64_t fromMs, std::int64_t toMs,
                                                     std::size_t columns) const;
    [[nodiscard]] std::size_t MemoryBytes() const;

private:
    [[nodiscard]] std::size_t PassAt(std::int64_t timeMs, std::size_t notBefore, std::size_t guess) const;

    static constexpr std::size_t kTimesPerBlock = 1024;
    using TimeBlock = std::array<std::int64_t, kTimesPerBlock>;
    std::vector<std::unique_ptr<TimeBlock>> m_times;
    std::size_t m_passes = 0;
    std::vector<HistorySeries> m_series;
};
