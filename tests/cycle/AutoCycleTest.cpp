#include "sbs/AutoCycle.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

/// Charger and load as the calls leave them; calls number failFrom to failTo answer a fault.
class FakeLines final : public CycleLines {
public:
    bool Busy() const override { return busy; }
    LineResult Switch(Direction to, const AutoCycleSettings&) override
    {
        return Do(to == Direction::Charge, to == Direction::Discharge);
    }
    LineResult BothOff(const AutoCycleSettings&) override { return Do(false, false); }
    bool On() const { return charger || load; }

    int calls = 0;
    int failFrom = 0;
    int failTo = -1;
    LineResult fault{ErrorCode::NoAcknowledge, {}};
    bool charger = false;
    bool load = false;
    bool busy = false;
    std::function<void()> onCall;

private:
    LineResult Do(bool chargerOn, bool loadOn)
    {
        ++calls;
        if (const auto handler = std::exchange(onCall, {}))
            handler();
        if (calls >= failFrom && calls <= failTo)
            return fault;
        charger = chargerOn;
        load = loadOn;
        return {};
    }
};

CycleValues Pack(int rem, int volt = 14800, int status = 0)
{
    return {CycleReading::Of(rem), CycleReading::Of(volt), CycleReading::Of(status), true};
}

const CycleValues kSilent{CycleReading::Failed(), CycleReading::Failed(), CycleReading::Failed(), false};

struct AutoCycleTest : testing::Test {
    AutoCycleTest()
    {
        settings.RemCapRow = 13;
        cycle.SetSettings(settings);
    }
    CycleStep StepAfter(std::int64_t ms, const CycleValues& values)
    {
        time.Advance(ms);
        return cycle.Step(values);
    }
    void ChargeFirst()
    {
        ASSERT_TRUE(cycle.StartAutoCycle(Pack(50)));
        StepAfter(2000, Pack(0));
        ASSERT_TRUE(lines.charger);
    }
    TestTime time;
    RecordedMessages messages;
    FakeLines lines;
    AutoCycleSettings settings;
    AutoCycle cycle{lines, time, messages};
};

TEST_F(AutoCycleTest, WarnsOfEachMissingRowAndStarts)
{
    CycleValues none;
    EXPECT_TRUE(cycle.StartAutoCycle(none));
    const QString text
        = QStringLiteral("%1 not available. Any Autocycle options based on %2 will not function!");
    EXPECT_EQ(
        messages.texts,
        (QStringList{text.arg(QStringLiteral("Remaining capacity"), QStringLiteral("remaining capacity")),
                     text.arg(QStringLiteral("Battery voltage"), QStringLiteral("Battery voltage")),
                     text.arg(QStringLiteral("Battery Status"), QStringLiteral("Battery Status"))}));
}

TEST_F(AutoCycleTest, RelaxesForItsSecondsWithBothLinesOff)
{
    settings.DChgRelax = 10;
    cycle.SetSettings(settings);
    cycle.SetUnits(QStringLiteral("%"), {});
    ChargeFirst();
    StepAfter(2000, Pack(100));
    EXPECT_EQ(cycle.Facts().State, CycleState::RelaxBeforeDischarge);
    EXPECT_FALSE(lines.On());
    EXPECT_FALSE(StepAfter(9999, Pack(100)).Due);
    EXPECT_FALSE(lines.load);
    StepAfter(1, Pack(98));
    EXPECT_TRUE(lines.load);
    EXPECT_EQ(cycle.Facts().Why,
              QStringLiteral("At 09:00:04 remaining capacity 100 % was above 99 %. Relaxed for 10 s."));
}

TEST_F(AutoCycleTest, CountsACycleWhenBothDirectionsWereRun)
{
    ChargeFirst();
    StepAfter(2000, Pack(100));
    EXPECT_EQ(cycle.History().Cycles(), 0);
    StepAfter(2000, Pack(0));
    EXPECT_EQ(cycle.History().Cycles(), 1);
    EXPECT_EQ(cycle.History().Charged(), 100);
    EXPECT_EQ(cycle.History().Discharged(), 100);
    cycle.StopAndSwitchOff(QStringLiteral("Stopped by hand."));
    EXPECT_FALSE(lines.On());
    EXPECT_EQ(cycle.Facts().StopReason, QStringLiteral("Stopped by hand. Charger and load are off."));
}

TEST_F(AutoCycleTest, AsksWhereARestingPackGoes)
{
    for (const Answer answer : {Answer::Yes, Answer::No, Answer::Cancel}) {
        cycle.SetRelaxState(Direction::Discharge);
        messages.answers = {answer};
        EXPECT_EQ(cycle.StartAutoCycle(Pack(50)), answer != Answer::Cancel);
        cycle.Step(Pack(50));
        EXPECT_EQ(lines.charger, answer == Answer::Yes);
        EXPECT_EQ(lines.load, answer == Answer::No);
        cycle.StopAndSwitchOff({});
    }
    EXPECT_EQ(
        messages.texts.value(0),
        QStringLiteral("The battery is currently in relaxation mode.\nClick YES to begin Charging after "
                       "relaxation\nClick NO to begin Discharging after relaxation.\nClick Cancel to "
                       "abort and manually set the state."));
}

TEST_F(AutoCycleTest, BeginsInTheDirectionThatWasChosen)
{
    settings.DChgRelax = 10;
    cycle.SetSettings(settings);
    ASSERT_TRUE(cycle.StartAutoCycle(Pack(50), Direction::Charge));
    StepAfter(0, Pack(50));
    EXPECT_TRUE(lines.charger);
    EXPECT_EQ(cycle.Facts().Why, QStringLiteral("At 09:00:00 chosen at the start."));
    cycle.StopAutoCycle(); // leaves the charger on
    ASSERT_TRUE(cycle.StartAutoCycle(Pack(50), Direction::Discharge));
    EXPECT_FALSE(lines.On());
    StepAfter(9999, Pack(50));
    EXPECT_FALSE(lines.On());
    StepAfter(1, Pack(50));
    EXPECT_TRUE(lines.load);
    EXPECT_TRUE(messages.texts.isEmpty());
}

TEST_F(AutoCycleTest, StopWhileTheQuestionIsOpenPreventsTheStart)
{
    struct Stopping final : UserMessages {
        AutoCycle* cycle = nullptr;
        void Show(const QString&) override { cycle->StopAndSwitchOff(QStringLiteral("Stopped.")); }
        Answer Ask(const QString&, Answers) override { return Answer::Yes; }
    } stopping;
    AutoCycle other(lines, time, stopping);
    stopping.cycle = &other;
    EXPECT_FALSE(other.StartAutoCycle({}));
    EXPECT_FALSE(other.Facts().Running);
}

TEST_F(AutoCycleTest, RefusesToStartWithoutLinesAndNamesTheKeys)
{
    lines.failTo = 1;
    lines.fault = {ErrorCode::IncorrectParam, {QStringLiteral("LoadLine"), QStringLiteral("ChgLine")}};
    EXPECT_FALSE(cycle.StartAutoCycle(Pack(50)));
    EXPECT_TRUE(messages.texts.value(0).contains(QStringLiteral("keys LoadLine and ChgLine,")));
    EXPECT_FALSE(cycle.Facts().LinesInDoubt);
}

struct GuardCase {
    const char* name;
    int rem; ///< decides the direction: 0 charges, 100 discharges
    int status; ///< in every pass from then on; -1: nothing answers
    int intervalMs;
    int passes; ///< the last of them ends the run
    const char* reason; ///< empty: it goes on
};

struct Guard : AutoCycleTest, testing::WithParamInterface<GuardCase> { };

TEST_P(Guard, SwitchesBothLinesOffAndSaysWhy)
{
    const auto& row = GetParam();
    const auto pass
        = [&] { StepAfter(row.intervalMs, row.status < 0 ? kSilent : Pack(50, 14800, row.status)); };
    settings.ChgLongest = 80;
    cycle.SetSettings(settings);
    ASSERT_TRUE(cycle.StartAutoCycle(Pack(50)));
    StepAfter(0, Pack(row.rem));
    for (int i = 1; i < row.passes; ++i)
        pass();
    StepAfter(row.intervalMs, Pack(50)); // one good pass, and counts begin anew
    for (int i = 1; i < row.passes; ++i)
        pass();
    ASSERT_TRUE(lines.On());
    pass();
    const bool off = *row.reason != 0;
    EXPECT_EQ(lines.On(), !off);
    EXPECT_EQ(cycle.Facts().Running, !off);
    EXPECT_EQ(cycle.Facts().StopReason,
              off ? QLatin1String(row.reason) + QStringLiteral(" Charger and load are off.") : QString());
    EXPECT_EQ(messages.texts.size(), off ? 1 : 0);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Dangers, Guard, testing::Values(
    GuardCase{"FullCharging", 0, 0x4000, 2000, 1, "The pack reported TERMINATE_CHARGE while charging."},
    GuardCase{"HotCharging", 0, 0x1000, 2000, 1, "The pack reported OVER_TEMP while charging."},
    GuardCase{"EmptyCharging", 0, 0x0800, 2000, 1, ""},
    GuardCase{"EmptyDischarging", 100, 0x0800, 2000, 1, "The pack reported TERMINATE_DISCHARGE while discharging."},
    GuardCase{"FullAndHotDischarging", 100, 0x5000, 2000, 1, ""},
    GuardCase{"TenPassesLost", 0, -1, 2000, 10, "The gauge did not answer 10 passes in a row."},
    GuardCase{"ThirtySecondsLost", 0, -1, 6000, 6, "The gauge has not answered for 30 s."},
    GuardCase{"LongPhase", 0, 0, 20'000, 2, "The charge phase reached its longest time, 80 s."}),
    [](const auto& row) { return row.param.name; });
// clang-format on

// The bit that ends the charge may be the very trigger of the discharge.
TEST_F(AutoCycleTest, AlarmThatTurnsTheDirectionIsNoDanger)
{
    settings.DChgTrigType = 4;
    settings.DChgVal = 0x4000;
    cycle.SetSettings(settings);
    ChargeFirst();
    StepAfter(2000, Pack(0, 16800, 0x4000));
    EXPECT_TRUE(cycle.Facts().Running && lines.load);
}

TEST_F(AutoCycleTest, NeverSwitchesOnAgainstAnAlarm)
{
    ASSERT_TRUE(cycle.StartAutoCycle(Pack(50)));
    const int callsBefore = lines.calls;
    StepAfter(2000, Pack(0, 14800, 0x1000));
    EXPECT_FALSE(cycle.Facts().Running);
    EXPECT_EQ(lines.calls, callsBefore + 1) << "one call, which switches off";
}

TEST_F(AutoCycleTest, LinesLeftOnStayUnderWatchWithoutPassesToo)
{
    ChargeFirst();
    cycle.StopAutoCycle();
    time.Advance(AutoCycle::kNoPassLimitMs - 1);
    cycle.Watch();
    EXPECT_TRUE(lines.charger);
    time.Advance(1);
    cycle.Watch();
    EXPECT_FALSE(lines.charger);
}

struct LineFaults : AutoCycleTest, testing::WithParamInterface<std::tuple<int, bool>> { };

TEST_P(LineFaults, LeaveNoLineOnThatIsBelievedOff)
{
    const auto [failAt, forGood] = GetParam();
    lines.failFrom = failAt;
    lines.failTo = forGood ? 1'000'000 : failAt;
    settings.DChgRelax = 1;
    cycle.SetSettings(settings);
    cycle.StartAutoCycle(Pack(50));
    for (const int rem : {0, 100, 50})
        StepAfter(2000, Pack(rem));
    EXPECT_EQ(cycle.Facts().Running, !forGood || failAt == 5);
    EXPECT_TRUE(cycle.LeaveProgram());
    EXPECT_EQ(lines.On() && !cycle.Facts().LinesInDoubt, false);
    EXPECT_EQ(cycle.Facts().LinesInDoubt, forGood && failAt > 1);
    EXPECT_EQ(messages.texts.value(0).contains(QStringLiteral("may still be on")), forGood && failAt > 1);
    EXPECT_EQ(messages.texts.isEmpty(), !forGood);

    lines.failTo = 0; // the adapter is back
    StepAfter(AutoCycle::kSwitchOffAgainMs, Pack(50));
    EXPECT_FALSE(cycle.Facts().LinesInDoubt || lines.On());
}

// probe, charge, off for the rest, discharge, off at the end
INSTANTIATE_TEST_SUITE_P(EachOperationOnceAndForGood, LineFaults,
                         testing::Combine(testing::Range(1, 6), testing::Bool()));

TEST_F(AutoCycleTest, StopInsideALineWriteTakesEffectWhenItEnds)
{
    ASSERT_TRUE(cycle.StartAutoCycle(Pack(50)));
    lines.onCall = [&] {
        cycle.StopAndSwitchOff(QStringLiteral("Stopped by hand."));
        cycle.Step(Pack(100)); // a tick inside the write is dropped
    };
    StepAfter(2000, Pack(0));
    EXPECT_FALSE(lines.On());
    EXPECT_EQ(cycle.Facts().State, CycleState::Idle);
}

TEST_F(AutoCycleTest, StopWhileTheBusIsHeldWaitsForItsEnd)
{
    ChargeFirst();
    lines.busy = true;
    cycle.StopAndSwitchOff(QStringLiteral("Stopped by hand."));
    EXPECT_TRUE(lines.charger);
    lines.busy = false;
    cycle.Watch();
    EXPECT_FALSE(lines.charger);
}

TEST_F(AutoCycleTest, LeavingIsNotDoneWhileALineMayBeOn)
{
    ChargeFirst();
    lines.busy = true;
    EXPECT_FALSE(cycle.LeaveProgram());
    lines.busy = false;
    lines.onCall = [&] { EXPECT_FALSE(cycle.LeaveProgram()); };
    EXPECT_TRUE(cycle.LeaveProgram());
    EXPECT_FALSE(lines.On());
}

TEST_F(AutoCycleTest, LineLevelSwitchesOffAndRelaxes)
{
    ChargeFirst();
    cycle.StopAutoCycle();
    cycle.SetLineLevel(AutoCycle::Level::Charger, false);
    EXPECT_FALSE(lines.charger);
    EXPECT_EQ(cycle.Facts().State, CycleState::RelaxBeforeCharge);
    EXPECT_EQ(cycle.Settings().ChgHi, 0);
    lines.failTo = 1000;
    cycle.SetLineLevel(AutoCycle::Level::Load, false);
    EXPECT_EQ(messages.texts, QStringList{QStringLiteral("Communication error")});
}

} // namespace
