#include "sbs/CycleHints.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

namespace {

struct HintCase {
    const char* name;
    std::function<void(AutoCycleSettings&)> change;
    QStringList hints; ///< how each begins
};

struct CycleHintsTest : testing::TestWithParam<HintCase> { };

TEST_P(CycleHintsTest, NamesWhatIsHardlyMeant)
{
    AutoCycleSettings settings;
    settings.RemCapRow = 13;
    GetParam().change(settings);
    const QStringList hints = CycleHints(settings);
    ASSERT_EQ(hints.size(), GetParam().hints.size()) << hints.join(u'\n').toStdString();
    for (qsizetype i = 0; i < hints.size(); ++i)
        EXPECT_TRUE(hints[i].startsWith(GetParam().hints[i])) << hints[i].toStdString();
}

QStringList Text(const char* text) { return {QString::fromLatin1(text)}; }

INSTANTIATE_TEST_SUITE_P(
    Settings, CycleHintsTest,
    testing::Values(
        HintCase{"Defaults", [](AutoCycleSettings&) {}, {}},
        HintCase{"EqualLimitsLeaveNoOverlap", [](auto& s) { s.ChgRemCapVal = s.DChgRemCapVal = 50; }, {}},
        HintCase{"CapacityOverlaps", [](auto& s) { s.ChgRemCapVal = 100; },
                 Text("Remaining capacity: the charge limit 100 is above the discharge limit 99.")},
        HintCase{"VoltageOverlapsOnlyWhenBothUseIt",
                 [](auto& s) {
                     s.ChgBattvoltVal = 16000;
                     s.ChgTrigType = 2;
                 },
                 {}},
        HintCase{"VoltageOverlaps",
                 [](auto& s) {
                     s.ChgBattvoltVal = 16000;
                     s.ChgTrigType = s.DChgTrigType = 2;
                 },
                 Text("Voltage: the charge limit 16000")},
        HintCase{"AllOfNoTriggerFiresAlways", [](auto& s) { s.ChgTrigType = s.ChgAny = 0; },
                 Text("The charge has no trigger and all must hold: it is called on every step.")},
        HintCase{"AnyOfNoTriggerNeverFires", [](auto& s) { s.DChgTrigType = 0; },
                 Text("The discharge has no trigger: it never starts.")},
        HintCase{"StatusWithoutBits", [](auto& s) { s.DChgTrigType = 0x80; },
                 Text("The discharge uses status bits, but none is chosen: that never holds.")},
        HintCase{"RowsAndLimitsMissing",
                 [](auto& s) {
                     s.RemCapRow = s.BattVoltRow = s.BattStatRow = -1;
                     s.ChgLongest = 0;
                 },
                 {QStringLiteral("The charge may last without limit."),
                  QStringLiteral("No row holds the remaining capacity"),
                  QStringLiteral("No row holds the status")}}),
    [](const auto& row) { return row.param.name; });

} // namespace
