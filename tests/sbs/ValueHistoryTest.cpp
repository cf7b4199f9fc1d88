#include "sbs/ValueHistory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

constexpr double kGap = std::numeric_limits<double>::quiet_NaN();

/// What Columns must give, found by looking at every value.
HistoryColumn Slow(const std::vector<std::int64_t>& times, const std::vector<double>& values,
                   std::int64_t from, std::int64_t to)
{
    HistoryColumn column;
    bool passes = false;
    for (std::size_t i = 0; i < times.size(); ++i) {
        if (times[i] < from || times[i] >= to)
            continue;
        passes = true;
        if (std::isnan(values[i]))
            continue;
        if (!column.HasValue)
            column = {values[i], values[i], values[i], 0, times[i], 0, true, false};
        column.Min = std::min(column.Min, values[i]);
        column.Max = std::max(column.Max, values[i]);
        column.Last = values[i];
        column.LastMs = times[i];
    }
    column.Gap = passes && !column.HasValue;
    return column;
}

} // namespace

// Lengths around the blocks of 16, 256, 4096 and 65536 values, long gaps, values beyond single precision.
TEST(ValueHistory, AnswersAsALookAtEveryValueWould)
{
    std::mt19937 random(7);
    for (std::size_t length : {0u, 1u, 15u, 17u, 256u, 257u, 4097u, 70'000u}) {
        ValueHistory history(1);
        std::vector<std::int64_t> times;
        std::vector<double> values;
        std::int64_t now = 0;
        double gapUntil = 0;
        for (std::size_t i = 0; i < length; ++i) {
            now += static_cast<std::int64_t>(random() % 3); // also several passes in one millisecond
            if (random() % 2000 == 0)
                gapUntil = static_cast<double>(i + random() % 9000);
            double value = static_cast<double>(random() % 65536) - 32768;
            value = random() % 50 == 0 ? kGap : i % 1000 > 700 ? value / 10 : value;
            if (static_cast<double>(i) < gapUntil)
                value = kGap;
            history.Append(now, std::array{value});
            times.push_back(now);
            values.push_back(value);
            EXPECT_TRUE(history.Value(0, i) == value
                        || (std::isnan(value) && std::isnan(history.Value(0, i))));
        }
        for (int query = 0; query < 40; ++query) {
            const std::int64_t from = static_cast<std::int64_t>(random() % (length + 10)) - 5;
            const std::int64_t to = from + 1 + static_cast<std::int64_t>(random() % (length + 10));
            const std::size_t count = 1 + random() % 7;
            const std::vector<HistoryColumn> columns = history.Columns(0, from, to, count);
            ASSERT_EQ(columns.size(), count);
            const double width = static_cast<double>(to - from) / static_cast<double>(count);
            for (std::size_t i = 0; i < count; ++i) {
                const auto left = from + static_cast<std::int64_t>(width * static_cast<double>(i));
                const auto right = i + 1 == count
                    ? to
                    : from + static_cast<std::int64_t>(width * static_cast<double>(i + 1));
                ASSERT_EQ(columns[i], Slow(times, values, left, right))
                    << length << " " << left << " " << right;
            }
        }
    }
}

TEST(ValueHistory, KeepsToItsMemory)
{
    constexpr std::size_t kRows = 10;
    constexpr std::size_t kPasses = 20'000;
    ValueHistory history(kRows);
    std::vector<double> values(kRows);
    for (std::size_t pass = 0; pass < kPasses; ++pass) {
        values.assign(kRows, 0.1 + static_cast<double>(pass)); // needs double precision
        history.Append(static_cast<std::int64_t>(pass) * 2000, values);
    }
    EXPECT_LT(history.MemoryBytes(), kRows * kPasses * 10 + kPasses * 8 + 1'000);
}
