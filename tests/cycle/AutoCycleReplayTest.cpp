#include "sbs/AutoCycleReplay.h"

#include "tests/support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

struct StepCase {
    const char* name;
    const char* keys; ///< of [AutoCycle], the rest as they default
    const char* step; ///< of the recording, with ' for "
    const char* calls; ///< C and D
    int state; ///< after it
};

class Replay : public testing::TestWithParam<StepCase> { };

TEST_P(Replay, MakesTheCallsOfTheStepAndReachesItsState)
{
    const QTemporaryDir folder;
    ProfileStore profiles;
    StartupState startup;
    startup.ProgramFolder = folder.path();
    TableSettings settings(profiles, startup);
    for (const QString& key : QString::fromLatin1(GetParam().keys).split(u' ', Qt::SkipEmptyParts))
        ASSERT_EQ(settings.Write(u"AutoCycle", key.section(u'=', 0, 0), key.section(u'=', 1)), QString());
    AutoCycleReplay replay(LoadAutoCycleSettings(settings, 13));
    QString error;
    const ReplayStep step = ParseReplayStep(QByteArray(GetParam().step).replace('\'', '"'), error);
    ASSERT_EQ(error, QString());
    QString calls;
    for (const QString& call : replay.Step(step).Calls)
        calls += call == QStringLiteral("StartChargingStopDischarging") ? u'C'
            : call == QStringLiteral("StopChargingStartDischarging")    ? u'D'
                                                                        : u'?';
    EXPECT_EQ(calls, QLatin1String(GetParam().calls));
    EXPECT_EQ(static_cast<int>(replay.State()), GetParam().state);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Steps, Replay, testing::Values(
    StepCase{"ChargeLimitItselfDoesNothing", "", "{'state':2,'rem':1}", "", 2},
    StepCase{"BelowChargeLimit", "", "{'state':2,'rem':0}", "C", 1},
    StepCase{"DischargeLimitItselfDoesNothing", "", "{'state':1,'rem':99}", "", 1},
    StepCase{"AboveDischargeLimit", "", "{'state':1,'rem':100}", "D", 2},
    StepCase{"DirectionInForceIsRepeated", "", "{'state':1,'rem':0}", "C", 1},
    StepCase{"BothTestsDischargeWins", "DChgTrigType=2", "{'rem':0,'volt':16800}", "CD", 2},
    StepCase{"RelaxedBeforeDischarge", "", "{'state':3,'rem':50}", "D", 2},
    StepCase{"RelaxedBeforeCharge", "", "{'state':4,'rem':50}", "C", 1},
    StepCase{"RelaxedDoesNotRelaxAgain", "ChgRelax=60", "{'state':4,'rem':50}", "C", 1},
    StepCase{"NotDue", "", "{'state':3,'rem':0,'due':false}", "", 3},
    StepCase{"OtherDirectionRelaxesFirst", "ChgRelax=60", "{'state':2,'rem':0}", "C", 4},
    StepCase{"DirectionInForceNeverRelaxes", "ChgRelax=60", "{'state':1,'rem':0}", "C", 1},
    StepCase{"NegativeRelaxationIsNone", "DChgRelax=-5", "{'state':1,'rem':100}", "D", 2},
    StepCase{"AllOverNothingAlwaysCalls", "ChgTrigType=0 ChgAny=0", "{'state':1,'rem':50}", "C", 1},
    StepCase{"AnyOverNothingNeverCalls", "ChgTrigType=0", "{'state':2,'rem':0}", "", 2},
    StepCase{"AnyOtherThanOneMeansAll", "ChgTrigType=3 ChgAny=2", "{'state':2,'rem':0,'volt':9000}", "", 2},
    StepCase{"FailedReadClearsAll", "ChgTrigType=3 ChgAny=0", "{'state':2,'rem':0,'volt':''}", "", 2},
    StepCase{"MissingRowIsSkipped", "ChgTrigType=3 ChgAny=0", "{'state':2,'rem':0,'volt':null}", "C", 1},
    StepCase{"RowOfMinusOneIsSkipped", "ChgTrigType=2 BattVoltRow=-1", "{'state':2,'volt':0}", "", 2},
    StepCase{"NegativeWordIsALargeOne", "", "{'state':1,'rem':-1}", "D", 2},
    StepCase{"OneBitIsEnoughForAny", "ChgTrigType=128 ChgVal=0x0810", "{'state':2,'stat':16}", "C", 1},
    StepCase{"AllNeedsEveryBit", "ChgTrigType=4 ChgVal=0x0810 ChgAny=0", "{'state':2,'stat':16}", "", 2},
    StepCase{"AllNeedsNoOtherBit", "ChgTrigType=4 ChgVal=0x0810 ChgAny=0", "{'state':2,'stat':-1}", "C", 1},
    StepCase{"NoBitsHoldForAllOnly", "ChgTrigType=4 ChgAny=0", "{'state':2,'stat':0}", "C", 1}),
    [](const auto& row) { return row.param.name; });
// clang-format on

TEST(ParseReplayStep, NamesWhatIsWrong)
{
    const std::pair<const char*, const char*> cases[]
        = {{"[1]", "object"},           {"{", "unterminated"},         {R"({"rem":1.5})", "rem"},
           {R"({"volt":"7"})", "volt"}, {R"({"stat":65536})", "stat"}, {R"({"state":256})", "state"},
           {R"({"due":1})", "due"}};
    for (const auto& [line, named] : cases) {
        QString error;
        (void)ParseReplayStep(line, error);
        EXPECT_TRUE(error.contains(QLatin1String(named))) << line << ": " << error.toStdString();
    }
}

} // namespace
