#include "sbs/AutoCycleReplay.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

namespace {

const QString kCharge = QStringLiteral("StartChargingStopDischarging");
const QString kDischarge = QStringLiteral("StopChargingStartDischarging");

AutoCycleSettings Rows()
{
    AutoCycleSettings settings;
    settings.RemCapRow = 13;
    return settings;
}

AutoCycleSettings
With(std::initializer_list<std::pair<std::int32_t AutoCycleSettings::*, std::int32_t>> changes)
{
    AutoCycleSettings settings = Rows();
    for (const auto& [field, value] : changes)
        settings.*field = value;
    return settings;
}

using S = AutoCycleSettings;

struct StepCase {
    const char* name;
    AutoCycleSettings settings;
    const char* line;
    QStringList calls;
    int state;
};

class Replay : public testing::TestWithParam<StepCase> { };

TEST_P(Replay, MakesTheCallsOfTheStepAndReachesItsState)
{
    AutoCycleReplay replay(GetParam().settings);
    QString error;
    const ReplayStep step = ParseReplayStep(GetParam().line, error);
    ASSERT_TRUE(error.isEmpty()) << error.toStdString();
    EXPECT_EQ(replay.Step(step).Calls, GetParam().calls);
    EXPECT_EQ(static_cast<int>(replay.State()), GetParam().state);
}

INSTANTIATE_TEST_SUITE_P(
    Steps, Replay,
    testing::Values(
        StepCase{"EqualToChargeLimitDoesNothing", Rows(), R"({"state":2,"rem":1})", {}, 2},
        StepCase{"BelowChargeLimitCharges", Rows(), R"({"state":2,"rem":0})", {kCharge}, 1},
        StepCase{"EqualToDischargeLimitDoesNothing", Rows(), R"({"state":1,"rem":99})", {}, 1},
        StepCase{"AboveDischargeLimitDischarges", Rows(), R"({"state":1,"rem":100})", {kDischarge}, 2},
        StepCase{"DirectionInForceRepeatsTheWrite", Rows(), R"({"state":1,"rem":0})", {kCharge}, 1},
        StepCase{"BothTestsTrueDischargeLast",
                 With({{&S::DChgTrigType, 2}}),
                 R"({"rem":0,"volt":16800})",
                 {kCharge, kDischarge},
                 2},
        StepCase{
            "RelaxedBeforeDischargeActsInTheSameStep", Rows(), R"({"state":3,"rem":50})", {kDischarge}, 2},
        StepCase{"RelaxedBeforeChargeActsInTheSameStep", Rows(), R"({"state":4,"rem":50})", {kCharge}, 1},
        StepCase{
            "RelaxedDoesNotRelaxAgain", With({{&S::ChgRelax, 60}}), R"({"state":4,"rem":50})", {kCharge}, 1},
        StepCase{"NotDueDoesNothing", Rows(), R"({"state":3,"rem":0,"due":false})", {}, 3},
        StepCase{"ChangedDirectionRelaxesFirst",
                 With({{&S::ChgRelax, 60}}),
                 R"({"state":2,"rem":0})",
                 {kCharge},
                 4},
        StepCase{"DirectionInForceNeverRelaxes",
                 With({{&S::ChgRelax, 60}}),
                 R"({"state":1,"rem":0})",
                 {kCharge},
                 1},
        StepCase{"NegativeRelaxationIsNone",
                 With({{&S::DChgRelax, -5}}),
                 R"({"state":1,"rem":100})",
                 {kDischarge},
                 2},
        StepCase{"AllOverNothingCallsOnEveryStep",
                 With({{&S::ChgTrigType, 0}, {&S::ChgAny, 0}}),
                 R"({"state":1,"rem":50})",
                 {kCharge},
                 1},
        StepCase{"AnyOverNothingNeverCalls", With({{&S::ChgTrigType, 0}}), R"({"state":2,"rem":0})", {}, 2},
        StepCase{"AnyOtherThanOneMeansAll",
                 With({{&S::ChgTrigType, 3}, {&S::ChgAny, 2}}),
                 R"({"state":2,"rem":0,"volt":9000})",
                 {},
                 2},
        StepCase{"FailedReadClearsAll",
                 With({{&S::ChgTrigType, 3}, {&S::ChgAny, 0}}),
                 R"({"state":2,"rem":0,"volt":""})",
                 {},
                 2},
        StepCase{"MissingRowIsSkippedByAll",
                 With({{&S::ChgTrigType, 3}, {&S::ChgAny, 0}}),
                 R"({"state":2,"rem":0,"volt":null})",
                 {kCharge},
                 1},
        StepCase{"RowOfMinusOneIsNeverEvaluated",
                 With({{&S::ChgTrigType, 2}, {&S::BattVoltRow, -1}}),
                 R"({"state":2,"volt":0})",
                 {},
                 2},
        StepCase{"NegativeWordIsALargeOne", Rows(), R"({"state":1,"rem":-1})", {kDischarge}, 2},
        StepCase{"OneStatusBitIsEnoughForAny",
                 With({{&S::ChgTrigType, 0x80}, {&S::ChgVal, 0x0810}}),
                 R"({"state":2,"stat":16})",
                 {kCharge},
                 1},
        StepCase{"AllNeedsEveryStatusBit",
                 With({{&S::ChgTrigType, 4}, {&S::ChgVal, 0x0810}, {&S::ChgAny, 0}}),
                 R"({"state":2,"stat":16})",
                 {},
                 2},
        StepCase{"AllNeedsEveryStatusBitAndNoOther",
                 With({{&S::ChgTrigType, 4}, {&S::ChgVal, 0x0810}, {&S::ChgAny, 0}}),
                 R"({"state":2,"stat":65535})",
                 {kCharge},
                 1},
        StepCase{"StatusWithoutBitsHoldsForAllOnly",
                 With({{&S::ChgTrigType, 4}, {&S::ChgAny, 0}}),
                 R"({"state":2,"stat":0})",
                 {kCharge},
                 1}),
    [](const auto& row) { return row.param.name; });

TEST(ParseReplayStep, NamesWhatIsWrong)
{
    const std::pair<const char*, const char*> cases[] = {
        {"[1]", "object"},           {"{", "unterminated"},         {R"({"rem":1.5})", "rem"},
        {R"({"volt":"7"})", "volt"}, {R"({"stat":65536})", "stat"}, {R"({"state":256})", "state"},
        {R"({"due":1})", "due"},
    };
    for (const auto& [line, named] : cases) {
        QString error;
        (void)ParseReplayStep(line, error);
        EXPECT_TRUE(error.contains(QLatin1String(named))) << line << ": " << error.toStdString();
    }
}

} // namespace
