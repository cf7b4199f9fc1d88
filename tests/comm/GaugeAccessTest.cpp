#include "comm/BusSequence.h"
#include "comm/Wait.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

namespace {

const QString kTimedOut = QStringLiteral("Failed AcquireUSBExclusiveAccess!");
const QString kReleasedTwice = QStringLiteral("USB Sync error! Access lock released without acquire!\r\n"
                                              "Please exit the application to prevent data corruption.");

struct Wire {
    TestTime time;
    RecordedMessages messages;
    GaugeAccess access{time, messages};
};

TEST(GaugeAccess, TriesEvery200MsAndHandsBackWhatIsLeft)
{
    struct Case {
        std::int16_t timeoutMs;
        std::int64_t waitedMs;
        std::int16_t left;
    };
    for (const Case& row : {Case{0, 0, 0}, Case{-5, 0, -5}, Case{150, 200, -50}, Case{10000, 10000, 0}}) {
        Wire wire;
        std::int16_t enough = 0;
        ASSERT_TRUE(wire.access.AcquireUSBExclusiveAccess(enough));
        std::int16_t left = row.timeoutMs;
        EXPECT_FALSE(wire.access.AcquireUSBExclusiveAccess(left));
        EXPECT_EQ(left, row.left);
        EXPECT_EQ(wire.time.MonotonicMs(), row.waitedMs);
        EXPECT_EQ(wire.messages.texts, QStringList{kTimedOut});
        wire.access.ReleaseUSBExclusiveAccess();
        EXPECT_EQ(wire.messages.texts.size(), 1);
        wire.access.ReleaseUSBExclusiveAccess();
        EXPECT_EQ(wire.messages.texts.last(), kReleasedTwice);
        EXPECT_FALSE(GaugeAccess::Held());
    }
}

TEST(ExclusiveAccess, WaitsForAHolderThatReturnsToTheEventLoop)
{
    Wire wire;
    std::int16_t timeoutMs = 0;
    ASSERT_TRUE(wire.access.AcquireUSBExclusiveAccess(timeoutMs)); // as a plug-in does
    wire.time.onEvents = [&] {
        if (wire.time.MonotonicMs() == 600)
            wire.access.ReleaseUSBExclusiveAccess();
    };
    {
        const ExclusiveAccess access(wire.access, QStringLiteral("Scan"));
        EXPECT_TRUE(access);
        EXPECT_EQ(wire.time.MonotonicMs(), 600);
        EXPECT_EQ(wire.access.Owner(), QStringLiteral("Scan"));
    }
    EXPECT_FALSE(GaugeAccess::Held());
    EXPECT_EQ(wire.access.Owner(), QString());
    EXPECT_EQ(wire.messages.texts, QStringList());
}

TEST(ExclusiveAccess, NeitherWaitsForAScopeBelowNorReleasesWhatItDoesNotHold)
{
    Wire wire;
    const ExclusiveAccess outer(wire.access, QStringLiteral("Scan"));
    {
        const ExclusiveAccess inner(wire.access, QStringLiteral("Read All"));
        EXPECT_FALSE(inner);
    }
    EXPECT_TRUE(GaugeAccess::Held());
    EXPECT_EQ(wire.access.Owner(), QStringLiteral("Scan"));
    EXPECT_EQ(wire.time.MonotonicMs(), 0);
    EXPECT_EQ(wire.messages.texts, QStringList());
}

struct Timer final : PeriodicWork {
    void Pause() override { trail << QStringLiteral("pause"); }
    void Resume() override
    {
        trail << (GaugeAccess::Held() ? QStringLiteral("held") : QStringLiteral("resume"));
    }
    QStringList trail;
};

TEST(BusSequence, StopsTimersWhileItLastsAndRefusesASecondOne)
{
    Wire wire;
    Timer timer;
    auto closed = std::make_unique<Timer>();
    std::unique_ptr<Timer> opened;
    {
        const BusSequence sequence(wire.access, QStringLiteral("Read All"));
        EXPECT_TRUE(sequence);
        closed.reset(); // a window that goes and one that comes meanwhile
        opened = std::make_unique<Timer>();
        {
            const BusSequence second(wire.access, QStringLiteral("Write All"));
            EXPECT_FALSE(second);
        }
        EXPECT_TRUE(BusSequence::Running());
        EXPECT_TRUE(GaugeAccess::Held());
        EXPECT_EQ(timer.trail, QStringList{QStringLiteral("pause")});
    }
    EXPECT_FALSE(BusSequence::Running());
    EXPECT_EQ(timer.trail, (QStringList{QStringLiteral("pause"), QStringLiteral("resume")}));
    EXPECT_EQ(opened->trail, QStringList());
}

TEST(BusSequence, StartsTimersAgainWhenTheBusWasNotToBeHad)
{
    Wire wire;
    Timer timer;
    std::int16_t timeoutMs = 0;
    ASSERT_TRUE(wire.access.AcquireUSBExclusiveAccess(timeoutMs));
    wire.time.onEvents = [&] { EXPECT_FALSE(BusSequence(wire.access, QStringLiteral("second"))); };
    {
        const BusSequence sequence(wire.access, QStringLiteral("Read All"), 400);
        EXPECT_FALSE(sequence);
    }
    wire.access.ReleaseUSBExclusiveAccess();
    EXPECT_EQ(wire.messages.texts, QStringList{kTimedOut});
    EXPECT_EQ(timer.trail, (QStringList{QStringLiteral("pause"), QStringLiteral("held")}));
}

TEST(Wait, LastsAsLongAsAskedButNeverPastMidnightAndRunsEvents)
{
    struct Case {
        QTime start;
        std::int32_t ms;
        std::int64_t waitedMs;
    };
    for (const Case& row :
         {Case{QTime(9, 0), 200, 200}, Case{QTime(9, 0), 0, 0}, Case{QTime(9, 0), -100, 0},
          Case{QTime(13, 37, 11, 333), 1500, 1500}, Case{QTime(9, 0), 600'000, 600'000},
          Case{QTime(23, 59, 59, 400), 5000, 600}, Case{QTime(23, 59, 59, 900), 100, 100}}) {
        TestTime time(QDateTime(QDate(2026, 1, 5), row.start));
        WaitMs(time, row.ms);
        EXPECT_EQ(time.MonotonicMs(), row.waitedMs) << row.ms;
        EXPECT_GE(time.turns, 1);
    }
}

} // namespace
