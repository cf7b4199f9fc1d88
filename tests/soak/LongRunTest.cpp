#include "tests/soak/CoreBench.h"

#include <QDir>

#include <numeric>

#if defined(__SANITIZE_ADDRESS__)
extern "C" std::size_t
__sanitizer_get_current_allocated_bytes(); // its header is not in every compiler package
#else
#include <malloc.h>
#endif

namespace {

constexpr std::int64_t kHourMs = 3'600'000;

std::size_t AllocatedBytes()
{
#if defined(__SANITIZE_ADDRESS__)
    return __sanitizer_get_current_allocated_bytes();
#else
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}

qsizetype OpenHandles()
{
    return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::NoDotAndDotDot | QDir::AllEntries).size();
}

} // namespace

// A tool that stays on for a week may grow by what it shows of that week, and by nothing else.
TEST(CoreObjects, GrowByTheHistoryAloneInDaysOfScanningAndLogging)
{
    const int days = LongTests() ? 7 : 1;
    const QTemporaryDir folder(FastFolder());
    std::vector<int> commands(29);
    std::iota(commands.begin(), commands.end(), 0);
    TestTime time;
    RecordedMessages messages;
    SimulatedAdapter pack(time, {});
    CoreBench bench(pack, time, messages, WordTable(commands));
    ASSERT_EQ(bench.StartLog(folder.filePath(QStringLiteral("week.log"))), QString());

    const ValueHistory& history = bench.engine.History();
    std::size_t othersAtFirst = 0;
    qsizetype handlesAtFirst = 0;
    std::int64_t nextLog = 5000;
    for (std::int64_t ms = 0; ms < days * 24 * kHourMs; ms += 2000) {
        ASSERT_EQ(bench.engine.ReadValues().Failed, 0);
        if (ms >= nextLog) {
            ASSERT_TRUE(bench.Record());
            nextLog += 5000;
        }
        time.Advance(2000);
        if ((ms + 2000) % kHourMs != 0)
            continue;

        const std::size_t stored = history.Passes() * history.Rows();
        constexpr std::size_t kBegunBlocks
            = 29 * 256 * 10 + 1024 * 8; // what the newest block of each has left
        EXPECT_LE(history.MemoryBytes(), stored * 10 + history.Passes() * 8 + kBegunBlocks);
        const std::size_t others = AllocatedBytes() - history.MemoryBytes();
        if (othersAtFirst == 0) {
            othersAtFirst = others;
            handlesAtFirst = OpenHandles();
        }
        ASSERT_LE(others, othersAtFirst * 101 / 100) << "after " << (ms + 2000) / kHourMs << " h";
        ASSERT_EQ(OpenHandles(), handlesAtFirst);
        std::int16_t load = 1;
        std::int16_t level = (ms / kHourMs) % 2 == 0 ? 1 : 0; // something for the values to follow
        pack.AdpGPIOWrite(load, level);
    }
    RecordProperty("history_bytes", static_cast<int>(history.MemoryBytes()));
    RecordProperty("other_bytes", static_cast<int>(othersAtFirst));
    EXPECT_EQ(bench.log.Sample() - 1, days * 24 * 720 - 1);
    EXPECT_EQ(messages.texts, QStringList());
}
