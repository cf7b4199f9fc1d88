#include "sbs/ValueHistory.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kGap = std::numeric_limits<double>::quiet_NaN();

bool FitsFloat(double value)
{
    return std::abs(value) <= std::numeric_limits<float>::max()
        && static_cast<double>(static_cast<float>(value)) == value;
}

} // namespace

template <class Real>
HistorySeries::Leaf<Real>::Leaf()
{
    values.fill(std::numeric_limits<Real>::quiet_NaN());
    low.fill(std::numeric_limits<Real>::infinity());
    high.fill(-std::numeric_limits<Real>::infinity());
}

/// Calls visitor with the leaf's numbers in the precision they are kept in; not at all when it is all gaps.
template <class Visitor>
void HistorySeries::Visit(const AnyLeaf& leaf, Visitor&& visitor)
{
    if (const auto* single = std::get_if<FloatLeaf>(&leaf))
        visitor(**single);
    else if (const auto* full = std::get_if<DoubleLeaf>(&leaf))
        visitor(**full);
}

void HistorySeries::Append(std::size_t index, double value)
{
    if (std::isnan(value))
        return; // what is never stored is a gap
    const std::size_t leaf = index / kLeaf;
    if (leaf >= m_leaves.size())
        m_leaves.resize(leaf + 1);
    AnyLeaf& place = m_leaves[leaf];
    if (std::holds_alternative<std::monostate>(place))
        place = std::make_unique<Leaf<float>>();
    if (std::holds_alternative<FloatLeaf>(place) && !FitsFloat(value)) {
        const Leaf<float>& narrow = *std::get<FloatLeaf>(place);
        auto wide = std::make_unique<Leaf<double>>();
        std::ranges::copy(narrow.values, wide->values.begin());
        std::ranges::copy(narrow.low, wide->low.begin());
        std::ranges::copy(narrow.high, wide->high.begin());
        place = std::move(wide);
    }
    const auto put = [slot = index % kLeaf, value]<class Real>(Leaf<Real>& numbers) {
        const auto number = static_cast<Real>(value);
        numbers.values[slot] = number;
        numbers.low[slot / kFan] = std::min(numbers.low[slot / kFan], number);
        numbers.high[slot / kFan] = std::max(numbers.high[slot / kFan], number);
    };
    if (auto* single = std::get_if<FloatLeaf>(&place))
        put(**single);
    else
        put(*std::get<DoubleLeaf>(place));
    Raise(leaf, value);
}

void HistorySeries::Raise(std::size_t leaf, double value)
{
    if (m_levels.empty())
        m_levels.emplace_back();
    std::size_t block = leaf;
    for (std::size_t level = 0; level < m_levels.size(); ++level, block /= kFan) {
        if (block >= m_levels[level].size())
            m_levels[level].resize(block + 1, Range{kInfinity, -kInfinity});
        Range& range = m_levels[level][block];
        range.low = std::min(range.low, value);
        range.high = std::max(range.high, value);
        if (level + 1 == m_levels.size() && m_levels[level].size() > 1) {
            // The new level starts from all that the level below already holds.
            std::vector<Range> above((m_levels[level].size() + kFan - 1) / kFan,
                                     Range{kInfinity, -kInfinity});
            for (std::size_t i = 0; i < m_levels[level].size(); ++i) {
                above[i / kFan].low = std::min(above[i / kFan].low, m_levels[level][i].low);
                above[i / kFan].high = std::max(above[i / kFan].high, m_levels[level][i].high);
            }
            m_levels.push_back(std::move(above));
        }
    }
}

double HistorySeries::At(std::size_t index) const
{
    double value = kGap;
    if (index / kLeaf < m_leaves.size())
        Visit(m_leaves[index / kLeaf], [&](const auto& numbers) { value = numbers.values[index % kLeaf]; });
    return value;
}

void HistorySeries::MinMax(std::size_t begin, std::size_t end, double& low, double& high) const
{
    end = std::min(end, m_leaves.size() * kLeaf);
    if (begin >= end)
        return;
    const std::size_t firstWhole = (begin + kLeaf - 1) / kLeaf;
    const std::size_t lastWhole = end / kLeaf;
    if (firstWhole > lastWhole) { // within one leaf
        MinMaxInLeaf(begin / kLeaf, begin % kLeaf, end % kLeaf, low, high);
        return;
    }
    if (begin % kLeaf != 0)
        MinMaxInLeaf(begin / kLeaf, begin % kLeaf, kLeaf, low, high);
    if (end % kLeaf != 0)
        MinMaxInLeaf(lastWhole, 0, end % kLeaf, low, high);

    const auto take = [&](const Range& range) {
        low = std::min(low, range.low);
        high = std::max(high, range.high);
    };
    std::size_t from = firstWhole;
    std::size_t to = lastWhole;
    for (std::size_t level = 0; from < to; ++level, from /= kFan, to /= kFan) {
        const std::vector<Range>& ranges = m_levels[level];
        const bool top = level + 1 == m_levels.size();
        while (from < to && (top || from % kFan != 0))
            take(ranges[from++]);
        while (from < to && to % kFan != 0)
            take(ranges[--to]);
    }
}

void HistorySeries::MinMaxInLeaf(std::size_t leaf, std::size_t begin, std::size_t end, double& low,
                                 double& high) const
{
    Visit(m_leaves[leaf], [&](const auto& numbers) {
        const auto take = [&](double lowest, double highest) {
            low = lowest < low ? lowest : low; // comparisons with a gap are false
            high = highest > high ? highest : high;
        };
        for (std::size_t slot = begin; slot < end;) {
            if (slot % kFan == 0 && slot + kFan <= end) {
                take(numbers.low[slot / kFan], numbers.high[slot / kFan]);
                slot += kFan;
            } else {
                take(numbers.values[slot], numbers.values[slot]);
                ++slot;
            }
        }
    });
}

bool HistorySeries::Empty(std::size_t level, std::size_t block) const
{
    return m_levels[level][block].low > m_levels[level][block].high;
}

std::size_t HistorySeries::FirstValue(std::size_t begin, std::size_t end) const
{
    const std::size_t stored = std::min(end, m_leaves.size() * kLeaf);
    std::size_t index = begin;
    while (index < stored) {
        std::size_t block = index / kLeaf;
        if (!Empty(0, block)) {
            if (!std::isnan(At(index)))
                return index;
            ++index;
            continue;
        }
        std::size_t width = kLeaf;
        for (std::size_t level = 1; level < m_levels.size() && Empty(level, block / kFan); ++level) {
            block /= kFan;
            width *= kFan;
        }
        index = (block + 1) * width;
    }
    return end;
}

std::size_t HistorySeries::LastValue(std::size_t begin, std::size_t end) const
{
    std::size_t index = std::min(end, m_leaves.size() * kLeaf);
    while (index > begin) {
        std::size_t block = (index - 1) / kLeaf;
        if (!Empty(0, block)) {
            if (!std::isnan(At(index - 1)))
                return index - 1;
            --index;
            continue;
        }
        std::size_t width = kLeaf;
        for (std::size_t level = 1; level < m_levels.size() && Empty(level, block / kFan); ++level) {
            block /= kFan;
            width *= kFan;
        }
        index = block * width;
    }
    return end;
}

std::size_t HistorySeries::MemoryBytes() const
{
    std::size_t bytes = m_leaves.capacity() * sizeof(AnyLeaf);
    for (const AnyLeaf& leaf : m_leaves)
        Visit(leaf, [&](const auto& numbers) { bytes += sizeof(numbers); });
    for (const std::vector<Range>& level : m_levels)
        bytes += level.capacity() * sizeof(Range);
    return bytes;
}

void ValueHistory::Append(std::int64_t timeMs, std::span<const double> values)
{
    if (m_passes % kTimesPerBlock == 0)
        m_times.push_back(std::make_unique<TimeBlock>());
    if (m_passes > 0)
        timeMs = std::max(timeMs, TimeMs(m_passes - 1));
    (*m_times.back())[m_passes % kTimesPerBlock] = timeMs;
    for (std::size_t row = 0; row < std::min(values.size(), m_series.size()); ++row)
        m_series[row].Append(m_passes, values[row]);
    ++m_passes;
}

std::int64_t ValueHistory::TimeMs(std::size_t pass) const
{
    return (*m_times[pass / kTimesPerBlock])[pass % kTimesPerBlock];
}

std::size_t ValueHistory::PassAt(std::int64_t timeMs) const { return PassAt(timeMs, 0, m_passes / 2); }

std::size_t ValueHistory::PassAt(std::int64_t timeMs, std::size_t notBefore, std::size_t guess) const
{
    // Passes come at nearly even times, so the search widens from a good guess before it halves.
    std::size_t low = notBefore;
    std::size_t high = m_passes;
    guess = std::min(guess, high);
    if (guess < high && TimeMs(guess) < timeMs) {
        for (std::size_t step = 1; guess < high && TimeMs(guess) < timeMs; step *= 2) {
            low = guess + 1;
            guess += step;
        }
        high = std::min(guess, high);
    } else {
        high = guess;
        for (std::size_t step = 1; high - low > step; step *= 2) {
            if (TimeMs(high - step) < timeMs) {
                low = high - step + 1;
                break;
            }
            high -= step;
        }
    }
    while (low < high) {
        const std::size_t middle = low + (high - low) / 2;
        if (TimeMs(middle) < timeMs)
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

std::vector<HistoryColumn> ValueHistory::Columns(std::size_t row, std::int64_t fromMs, std::int64_t toMs,
                                                 std::size_t columns) const
{
    std::vector<HistoryColumn> result(columns);
    const HistorySeries& series = m_series[row];
    const double width
        = (static_cast<double>(toMs) - static_cast<double>(fromMs)) / static_cast<double>(columns);
    std::size_t begin = PassAt(fromMs);
    std::size_t passes = 0; // of the column before
    for (std::size_t i = 0; i < columns && begin < m_passes; ++i) {
        const std::int64_t endMs = i + 1 == columns
            ? toMs
            : fromMs + static_cast<std::int64_t>(width * static_cast<double>(i + 1));
        const std::size_t end = PassAt(endMs, begin, begin + passes);
        passes = end - begin;
        HistoryColumn& column = result[i];
        const std::size_t first = series.FirstValue(begin, end);
        if (first < end) {
            const std::size_t last = series.LastValue(first, end);
            column.HasValue = true;
            column.First = series.At(first);
            column.Last = series.At(last);
            column.FirstMs = TimeMs(first);
            column.LastMs = TimeMs(last);
            column.Min = kInfinity;
            column.Max = -kInfinity;
            series.MinMax(first, last + 1, column.Min, column.Max);
        }
        column.Gap = begin < end && !column.HasValue;
        begin = end;
    }
    return result;
}

std::size_t ValueHistory::MemoryBytes() const
{
    std::size_t bytes = m_times.size() * sizeof(TimeBlock) + m_times.capacity() * sizeof(m_times[0]);
    for (const HistorySeries& series : m_series)
        bytes += series.MemoryBytes();
    return bytes;
}
