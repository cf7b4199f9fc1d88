#include "sbs/CycleLines.h"

#include "tests/support/ScriptedAdapter.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

namespace {

struct LineCase {
    const char* name;
    int pins;
    int high; ///< all three levels
    char operation; ///< C, D or 0 for off
    const char* calls;
    const char* callsAfterFailure; ///< of the first of them
    const char* key; ///< of its line
};

class Lines : public testing::TestWithParam<LineCase> {
protected:
    LineResult Run()
    {
        const int high = GetParam().high;
        const AutoCycleSettings wiring{
            .ChgPin = GetParam().pins, .PinHi = high, .ChgHi = high, .LoadHi = high};
        const char operation = GetParam().operation;
        return operation == '0'
            ? lines.BothOff(wiring)
            : lines.Switch(operation == 'C' ? Direction::Charge : Direction::Discharge, wiring);
    }
    /// The line operations alone: "GPIO 1=0, power 1, wires 0".
    QString Calls() const
    {
        QStringList shown;
        for (const QString& call : adapter.calls) {
            const QStringList values = call.section(u'[', 1).chopped(1).split(u',');
            if (call.contains(u"GPIOWrite"))
                shown << QStringLiteral("GPIO %1=%2").arg(values[0], values[1]);
            else if (call.contains(u"I2CFunction"))
                shown << (values[0] == QStringLiteral("0") ? QStringLiteral("power ")
                                                           : QStringLiteral("wires "))
                        + values[1];
        }
        return shown.join(u", ");
    }

    TestTime time;
    RecordedMessages messages;
    ScriptedAdapter adapter;
    frmUSB usb{adapter, time, messages, {}};
    GaugeAccess access{time, messages};
    AdapterLines lines{usb, access};
};

TEST_P(Lines, GetTheirLevels)
{
    bool held = false;
    adapter.onCall = [&] { held = GaugeAccess::Held(); };
    EXPECT_TRUE(Run().Ok());
    EXPECT_EQ(Calls(), QLatin1String(GetParam().calls));
    EXPECT_TRUE(held && !GaugeAccess::Held());
}

TEST_P(Lines, SwitchNothingOnAfterAFailureAndNameALineThatIsMissing)
{
    adapter.Will(ErrorCode::NoUsb);
    Run();
    EXPECT_EQ(Calls(), QLatin1String(GetParam().callsAfterFailure));
    adapter.Will(ErrorCode::IncorrectParam);
    EXPECT_EQ(Run().MissingKeys, QStringList{QLatin1String(GetParam().key)});
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Wirings, Lines, testing::Values(
    LineCase{"OneCharge", 1, 1, 'C', "power 1", "power 1", "PowerLine"},
    LineCase{"OneDischarge", 1, 1, 'D', "power 0", "power 0", "PowerLine"},
    LineCase{"OneInvertedCharge", 1, 0, 'C', "power 0", "power 0", "PowerLine"},
    LineCase{"OneOffReleases", 1, 1, '0', "wires 0", "wires 0", "PowerLine"},
    LineCase{"OneInvertedOffReleases", 1, 0, '0', "wires 0", "wires 0", "PowerLine"},
    LineCase{"TwoCharge", 2, 1, 'C', "GPIO 1=0, GPIO 0=1", "GPIO 1=0", "LoadLine"},
    LineCase{"TwoDischarge", 2, 1, 'D', "GPIO 0=0, GPIO 1=1", "GPIO 0=0", "ChgLine"},
    LineCase{"TwoInvertedDischarge", 2, 0, 'D', "GPIO 0=1, GPIO 1=0", "GPIO 0=1", "ChgLine"},
    LineCase{"TwoOff", 2, 1, '0', "GPIO 1=0, GPIO 0=0", "GPIO 1=0, GPIO 0=0, wires 0", "LoadLine"},
    LineCase{"TwoInvertedOff", 2, 0, '0', "GPIO 1=1, GPIO 0=1", "GPIO 1=1, GPIO 0=1, wires 0", "LoadLine"}),
    [](const auto& row) { return row.param.name; });
// clang-format on

} // namespace
