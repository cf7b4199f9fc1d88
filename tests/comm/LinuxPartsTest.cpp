// Parts of the Linux back end that need no kernel; tests/kernel has the rest.
#include "comm/adapters/IoThread.h"
#include "comm/adapters/LinuxDiscovery.h"
#include "comm/adapters/PecPolicy.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <future>

namespace {

constexpr std::uint8_t kGauge = 0x16;
using Use = PecPolicy::Use;

struct Reading {
    std::uint16_t word;
    bool checked;
};
struct PecCase {
    const char* name;
    std::vector<Reading> readings;
    Use use;
};

class PecDecision : public testing::TestWithParam<PecCase> { };

TEST_P(PecDecision, RestsOnEvidenceThatOneDisturbanceCannotFake)
{
    PecPolicy policy;
    for (const Reading& reading : GetParam().readings)
        policy.Answered(kGauge, reading.word, reading.checked);
    EXPECT_EQ(policy.For(kGauge), GetParam().use);
    EXPECT_EQ(policy.For(0x12), Use::Unsettled) << "another part's";
}

INSTANTIATE_TEST_SUITE_P(
    Readings, PecDecision,
    testing::Values(PecCase{"Version3Checked", {{0x0031, true}}, Use::On},
                    PecCase{"OlderVersionChecked", {{0x0021, true}}, Use::Off},
                    PecCase{"OneFlippedBitIsNotBelieved", {{0x0021, false}}, Use::Unsettled},
                    PecCase{"FlippedThenWhole", {{0x0021, false}, {0x0031, true}}, Use::On},
                    PecCase{"TwoThatDiffer", {{0x0021, false}, {0x0011, false}}, Use::Unsettled},
                    PecCase{"TwoThatAgree", {{0x0011, false}, {0x0011, false}}, Use::Off},
                    PecCase{"LineHeldLow", {{0, false}, {0, false}, {0, false}}, Use::Unsettled},
                    PecCase{"LineHeldHigh", {{0xFFFF, false}, {0xFFFF, false}}, Use::Unsettled},
                    PecCase{"SaysItChecksAndDoesNot", {{0x0031, false}, {0x0031, false}}, Use::Unsettled}),
    [](const auto& row) { return row.param.name; });

TEST(PecPolicy, BelievesInAMissingRegisterAfterThreeOperations)
{
    PecPolicy policy;
    for (Use use : {Use::Unsettled, Use::Unsettled, Use::Off}) {
        policy.AnswersOthersOnly(kGauge);
        EXPECT_EQ(policy.For(kGauge), use);
    }
}

TEST(PecPolicy, AsksAnewOnceThePartWasTakenAway)
{
    PecPolicy policy;
    policy.Answered(kGauge, 0x0031, true);
    for (int failures : {7, 7, 8}) { // 7 undefined commands in a row are a table, not another pack
        EXPECT_EQ(policy.For(kGauge), Use::On);
        policy.Went(kGauge, true);
        for (int i = 0; i < failures; ++i)
            policy.Went(kGauge, false);
    }
    EXPECT_EQ(policy.For(kGauge), Use::Unsettled);
}

constexpr std::chrono::milliseconds kLimit{60};
using Outcome = IoThread::Outcome;

TEST(IoThread, RunsEventsAndQueuesWhatTheyAskFor)
{
    IoThread thread(std::chrono::seconds(10));
    TestTime time;
    std::vector<int> order;
    std::promise<void> go;
    bool asked = false;
    time.onEvents = [&] {
        if (std::exchange(asked, true))
            return;
        go.set_value(); // the outer work ends only now, so this one has to queue
        EXPECT_EQ(thread.Run(time, [&order] { order.push_back(2); }), Outcome::Done);
    };
    EXPECT_EQ(thread.Run(time,
                         [&] {
                             go.get_future().wait();
                             order.push_back(1);
                         }),
              Outcome::Done);
    EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST(IoThread, GivesUpOnAHangingTransferAndGoesOnWhenItEnds)
{
    auto thread = std::make_unique<IoThread>(kLimit);
    TestTime time;
    auto release = std::make_shared<std::promise<void>>();
    auto ended = std::make_shared<std::promise<void>>();
    EXPECT_EQ(thread->Run(time, [release] { release->get_future().wait(); }), Outcome::TimedOut);
    EXPECT_GT(time.turns, 3) << "the window stood still";
    bool ran = false;
    EXPECT_EQ(thread->Run(time, [&ran] { ran = true; }), Outcome::Busy);
    release->set_value();
    while (thread->Run(time, [] {}) != Outcome::Done) { }
    EXPECT_FALSE(ran) << "a caller that was refused has long forgotten what it lent";

    auto again = std::make_shared<std::promise<void>>();
    EXPECT_EQ(thread->Run(time,
                          [again, ended] {
                              again->get_future().wait();
                              ended->set_value();
                          }),
              Outcome::TimedOut);
    thread.reset(); // does not wait for it
    again->set_value();
    ended->get_future().wait();
}

struct AgainCase {
    const char* name;
    LinuxBusPlace before;
    std::vector<LinuxBusPlace> now;
    QString node; ///< empty: not found
};

LinuxBusPlace Usb(const char* node, const char* port, const char* title = "i2c-tiny-usb")
{
    return {QString::fromLatin1(node), QString::fromLatin1(title), QStringLiteral("driver"),
            QString::fromLatin1(port)};
}

class FoundAgain : public testing::TestWithParam<AgainCase> { };

TEST_P(FoundAgain, IsTheSameAdapterOrNone)
{
    const auto found = FindAgain(GetParam().before, GetParam().now);
    EXPECT_EQ(found ? found->Node : QString(), GetParam().node);
}

INSTANTIATE_TEST_SUITE_P(
    Places, FoundAgain,
    testing::Values(
        AgainCase{"SamePortOtherNumber",
                  Usb("i2c-1", "1-1"),
                  {Usb("i2c-1", "1-2"), Usb("i2c-4", "1-1")},
                  QStringLiteral("i2c-4")},
        AgainCase{"OtherPort", Usb("i2c-1", "1-1"), {Usb("i2c-1", "2-3")}, QStringLiteral("i2c-1")},
        AgainCase{
            "OneOfTwoOnOtherPorts", Usb("i2c-1", "1-1"), {Usb("i2c-1", "2-3"), Usb("i2c-2", "2-4")}, {}},
        AgainCase{"AnotherKindUnderTheOldName", Usb("i2c-1", "1-1"), {Usb("i2c-1", "1-1", "CP2112")}, {}},
        AgainCase{"NotUsbStaysWhereItIs",
                  Usb("i2c-1", ""),
                  {Usb("i2c-2", ""), Usb("i2c-1", "")},
                  QStringLiteral("i2c-1")},
        AgainCase{"NotUsbIsNotReplacedByUsb", Usb("i2c-1", ""), {Usb("i2c-1", "1-1")}, {}}),
    [](const auto& row) { return row.param.name; });

} // namespace
