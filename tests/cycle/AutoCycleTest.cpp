#include "sbs/AutoCycle.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

namespace {

/// Charger and load as the calls leave them; call number failFrom and later ones up to failTo answer a fault.
class FakeLines final : public CycleLines {
public:
    bool Busy() const override { return busy; }
    LineResult Switch(Direction direction, const AutoCycleSettings&) override
    {
        if (const LineResult answer = Next(); !answer.Ok())
            return answer;
        charger = direction == Direction::Charge;
        load = !charger;
        return {};
    }
    LineResult BothOff(const AutoCycleSettings&) override
    {
        if (const LineResult answer = Next(); !answer.Ok())
            return answer;
        charger = load = false;
        return {};
    }
    int calls = 0;
    int failFrom = 0;
    int failTo = -1;
    LineResult fault{ErrorCode::NoAcknowledge, {}};
    bool charger = false;
    bool load = false;
    bool busy = false;
    std::function<void()> onCall;

private:
    LineResult Next()
    {
        ++calls;
        if (onCall)
            onCall();
        return calls >= failFrom && calls <= failTo ? fault : LineResult{};
    }
};

CycleValues Pack(int rem, int volt = 14800, int status = 0)
{
    return {CycleReading::Of(rem), CycleReading::Of(volt), CycleReading::Of(status), true};
}

CycleValues Silent()
{
    return {CycleReading::Failed(), CycleReading::Failed(), CycleReading::Failed(), false};
}

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
    EXPECT_EQ(messages.texts,
              (QStringList{
                  QStringLiteral("Remaining capacity not available. Any Autocycle options based on remaining "
                                 "capacity will not function!"),
                  QStringLiteral("Battery voltage not available. Any Autocycle options based on Battery "
                                 "voltage will not function!"),
                  QStringLiteral("Battery Status not available. Any Autocycle options based on Battery "
                                 "Status will not function!")}));
}

TEST_F(AutoCycleTest, RelaxesForItsSecondsWithBothLinesOff)
{
    settings.DChgRelax = 10;
    cycle.SetSettings(settings);
    cycle.SetUnits(QStringLiteral("%"), {});
    ChargeFirst();
    StepAfter(2000, Pack(100));
    EXPECT_EQ(cycle.Facts().State, CycleState::RelaxBeforeDischarge);
    EXPECT_FALSE(lines.charger || lines.load);
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
    EXPECT_EQ(cycle.History().Cycles(), 1);
    EXPECT_FALSE(lines.charger || lines.load);
    EXPECT_EQ(cycle.Facts().StopReason, QStringLiteral("Stopped by hand. Charger and load are off."));
    EXPECT_TRUE(messages.texts.isEmpty());
}

struct AnswerCase {
    const char* name;
    Answer answer;
    bool starts;
    bool charger;
    bool load;
};

struct RelaxQuestion : AutoCycleTest, testing::WithParamInterface<AnswerCase> { };

TEST_P(RelaxQuestion, DecidesWhereARestingPackGoes)
{
    cycle.SetRelaxState(Direction::Discharge);
    messages.answers = {GetParam().answer};
    EXPECT_EQ(cycle.StartAutoCycle(Pack(50)), GetParam().starts);
    EXPECT_EQ(messages.texts.value(0),
              QStringLiteral(
                  "The battery is currently in relaxation mode.\nClick YES to begin Charging after "
                  "relaxation\nClick NO to begin Discharging after relaxation.\nClick Cancel to abort and "
                  "manually set the state."));
    cycle.Step(Pack(50));
    EXPECT_EQ(lines.charger, GetParam().charger);
    EXPECT_EQ(lines.load, GetParam().load);
}

INSTANTIATE_TEST_SUITE_P(Answers, RelaxQuestion,
                         testing::Values(AnswerCase{"Yes", Answer::Yes, true, true, false},
                                         AnswerCase{"No", Answer::No, true, false, true},
                                         AnswerCase{"Cancel", Answer::Cancel, false, false, false}),
                         [](const auto& row) { return row.param.name; });

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
    EXPECT_TRUE(messages.texts.value(0).contains(QStringLiteral("key LoadLine and ChgLine,")));
    EXPECT_FALSE(cycle.Facts().LinesInDoubt);
}

struct DangerCase {
    const char* name;
    int statusBits;
    int rem; ///< decides the direction: 0 charges, 100 discharges
    const char* reason;
};

struct Alarms : AutoCycleTest, testing::WithParamInterface<DangerCase> { };

TEST_P(Alarms, SwitchBothLinesOffWhenTheyForbidTheDirection)
{
    const bool danger = *GetParam().reason != 0;
    ASSERT_TRUE(cycle.StartAutoCycle(Pack(50)));
    StepAfter(2000, Pack(GetParam().rem));
    ASSERT_TRUE(lines.charger || lines.load);
    StepAfter(2000, Pack(50, 14800, GetParam().statusBits));
    EXPECT_EQ(lines.charger || lines.load, !danger);
    EXPECT_EQ(cycle.Facts().Running, !danger);
    EXPECT_EQ(cycle.Facts().StopReason, QString::fromLatin1(GetParam().reason));
    EXPECT_EQ(messages.texts.size(), danger ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(
    Bits, Alarms,
    testing::Values(
        DangerCase{"TerminateChargeCharging", 0x4000, 0,
                   "The pack reported TERMINATE_CHARGE while charging. Charger and load are off."},
        DangerCase{"OverTempCharging", 0x1000, 0,
                   "The pack reported OVER_TEMP while charging. Charger and load are off."},
        DangerCase{"TerminateDischargeDischarging", 0x0800, 100,
                   "The pack reported TERMINATE_DISCHARGE while discharging. Charger and load are off."},
        DangerCase{"TerminateDischargeCharging", 0x0800, 0, ""},
        DangerCase{"TerminateChargeDischarging", 0x5000, 100, ""}),
    [](const auto& row) { return row.param.name; });

// The bit that ends the charge may be the very trigger of the discharge.
TEST_F(AutoCycleTest, AlarmThatTurnsTheDirectionIsNoDanger)
{
    settings.DChgTrigType = 4;
    settings.DChgVal = 0x4000;
    cycle.SetSettings(settings);
    ChargeFirst();
    StepAfter(2000, Pack(0, 16800, 0x4000));
    EXPECT_TRUE(cycle.Facts().Running);
    EXPECT_TRUE(lines.load);
}

TEST_F(AutoCycleTest, NeverSwitchesOnAgainstAnAlarm)
{
    ASSERT_TRUE(cycle.StartAutoCycle(Pack(50)));
    const int callsBefore = lines.calls;
    StepAfter(2000, Pack(0, 14800, 0x1000));
    EXPECT_FALSE(cycle.Facts().Running);
    EXPECT_EQ(lines.calls, callsBefore + 1) << "one call, which switches off";
}

struct LossCase {
    const char* name;
    int intervalMs;
    int lostPassesUntilOff;
};
struct Loss : AutoCycleTest, testing::WithParamInterface<LossCase> { };

TEST_P(Loss, SwitchesOffAfterTenPassesOrThirtySeconds)
{
    ChargeFirst();
    for (int pass = 1; pass < GetParam().lostPassesUntilOff; ++pass)
        StepAfter(GetParam().intervalMs, Silent());
    StepAfter(GetParam().intervalMs, Pack(50)); // one answer begins the count anew
    for (int pass = 1; pass < GetParam().lostPassesUntilOff; ++pass) {
        StepAfter(GetParam().intervalMs, Silent());
        ASSERT_TRUE(lines.charger) << pass;
    }
    StepAfter(GetParam().intervalMs, Silent());
    EXPECT_FALSE(lines.charger);
}

INSTANTIATE_TEST_SUITE_P(Intervals, Loss,
                         testing::Values(LossCase{"TenPasses", 2000, 10}, LossCase{"ThirtySeconds", 6000, 6}),
                         [](const auto& row) { return row.param.name; });

TEST_F(AutoCycleTest, WatchesWithoutPassesToo)
{
    ChargeFirst();
    time.Advance(AutoCycle::kNoPassLimitMs - 1);
    cycle.Watch();
    EXPECT_TRUE(lines.charger);
    time.Advance(1);
    cycle.Watch();
    EXPECT_FALSE(lines.charger);
}

TEST_F(AutoCycleTest, PhaseEndsAtItsLongestTimeEvenAfterStopAutoCycle)
{
    settings.ChgLongest = 60;
    cycle.SetSettings(settings);
    ChargeFirst();
    cycle.StopAutoCycle();
    EXPECT_TRUE(lines.charger) << "stopping the run leaves the lines";
    StepAfter(59'999, Pack(50));
    EXPECT_TRUE(lines.charger);
    StepAfter(1, Pack(50));
    EXPECT_FALSE(lines.charger);
    EXPECT_TRUE(cycle.Facts().StopReason.startsWith(
        QStringLiteral("The charge phase reached its longest time, 60 s.")));
}

// Whatever line operation fails, once or from then on, no line is believed off that is on.
TEST_F(AutoCycleTest, EveryLineOperationFailsOnce)
{
    constexpr int kOperations = 5; // probe, charge, off for the rest, discharge, off at the end
    for (const bool forGood : {false, true}) {
        for (int failAt = 1; failAt <= kOperations; ++failAt) {
            SCOPED_TRACE(failAt + (forGood ? 100 : 0));
            FakeLines faulty;
            faulty.failFrom = failAt;
            faulty.failTo = forGood ? 1'000'000 : failAt;
            RecordedMessages told;
            AutoCycle run(faulty, time, told);
            settings.DChgRelax = 1;
            run.SetSettings(settings);
            run.StartAutoCycle(Pack(50));
            for (const int rem : {0, 100, 50}) {
                time.Advance(2000);
                run.Step(Pack(rem));
            }
            EXPECT_EQ(run.Facts().Running, !forGood || failAt == kOperations);
            run.LeaveProgram();
            EXPECT_EQ(run.Facts().LinesInDoubt, forGood && failAt > 1);
            EXPECT_EQ(told.texts.isEmpty(), !forGood);
            EXPECT_EQ(!forGood && (faulty.charger || faulty.load), false);
            if (forGood && failAt > 1) {
                EXPECT_TRUE(told.texts.value(0).contains(QStringLiteral("may still be on")));
            }

            faulty.failTo = 0; // the adapter is back
            time.Advance(AutoCycle::kSwitchOffAgainMs);
            run.Watch();
            EXPECT_FALSE(run.Facts().LinesInDoubt || faulty.charger || faulty.load);
        }
    }
}

TEST_F(AutoCycleTest, StopInsideALineWriteTakesEffectWhenItEnds)
{
    ASSERT_TRUE(cycle.StartAutoCycle(Pack(50)));
    lines.onCall = [&] {
        lines.onCall = {};
        cycle.StopAndSwitchOff(QStringLiteral("Stopped by hand."));
        cycle.Step(Pack(100)); // a tick inside the write is dropped
    };
    StepAfter(2000, Pack(0));
    EXPECT_FALSE(lines.charger || lines.load);
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
