#include "platform/SystemTime.h"
#include "platform/VirtualTime.h"
#include "tests/support/TestSupport.h"

#include <QTimer>

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

template <typename Act>
double WallMs(Act act)
{
    const auto start = std::chrono::steady_clock::now();
    act();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

TEST(SystemTime, SleepsUntilEventsComeOrTheTimeIsOver)
{
    SystemTime time;
    time.ProcessEvents(0); // what the start of the program left pending
    EXPECT_GE(WallMs([&] { time.ProcessEvents(120); }), 119);
    bool ran = false;
    QTimer::singleShot(60, [&] { ran = true; });
    EXPECT_LT(WallMs([&] {
                  while (!ran)
                      time.ProcessEvents(20'000);
              }),
              10'000);
}

TEST(SystemTime, SleepsWithoutAnEventLoop)
{
    double slept = 0;
    std::thread([&] { slept = WallMs([] { SystemTime().ProcessEvents(70); }); }).join();
    EXPECT_GE(slept, 70);
}

TEST(SystemTime, AnInterruptionEndsALongSleep)
{
    std::atomic<bool> interrupted = false;
    SystemTime time(&interrupted);
    std::thread later([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(60));
        interrupted = true;
    });
    EXPECT_LT(WallMs([&] {
                  while (!interrupted)
                      time.ProcessEvents(20'000);
              }),
              10'000);
    later.join();
    // whoever waits on after it must not spin
    EXPECT_GE(WallMs([&] { time.ProcessEvents(20'000); }), 9);
}

TEST(VirtualTime, MovesByTheWaitsAloneAndStartsTheDayAgainAtMidnight)
{
    VirtualTime time(0, nullptr, QDateTime(QDate(2026, 12, 31), QTime(23, 59, 59)));
    bool ran = false;
    QTimer::singleShot(0, [&] { ran = true; });
    EXPECT_LT(WallMs([&] { time.ProcessEvents(999); }), 500);
    EXPECT_TRUE(ran);
    EXPECT_DOUBLE_EQ(time.SecondsOfDay(), 86399.999);
    time.ProcessEvents(0);
    time.ProcessEvents(-5);
    EXPECT_EQ(time.MonotonicMs(), 999);
    time.ProcessEvents(1);
    EXPECT_EQ(time.SecondsOfDay(), 0);
    EXPECT_EQ(time.Now(), QDateTime(QDate(2027, 1, 1), QTime(0, 0)));
    EXPECT_EQ(VirtualTime().Now(), QDateTime(QDate(2026, 1, 1), QTime(8, 0)));
}

TEST(VirtualTime, SleepsAtItsSpeedAndNeverStandsStill)
{
    VirtualTime fast(1000);
    EXPECT_GE(WallMs([&] {
                  for (int wait = 0; wait < 100; ++wait)
                      fast.ProcessEvents(800); // 0.8 ms each, too short to be slept alone
              }),
              75);
    EXPECT_EQ(fast.MonotonicMs(), 80'000);
    const std::atomic<bool> interrupted = true;
    VirtualTime slow(0.001, &interrupted);
    EXPECT_LT(WallMs([&] { slow.ProcessEvents(60'000); }), 5'000);
    EXPECT_EQ(slow.MonotonicMs(), 60'000); // else a wait that goes by this clock would never end
}
