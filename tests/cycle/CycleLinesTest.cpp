#include "sbs/CycleLines.h"

#include "tests/support/ScriptedAdapter.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

namespace {

/// The line operations alone, "GPIO 1=0", "power 1", "release", in order.
QStringList LineCalls(const QStringList& calls)
{
    QStringList lines;
    for (const QString& call : calls) {
        if (!call.contains(u"GPIOWrite") && !call.contains(u"I2CFunction"))
            continue;
        const QStringList values = call.section(u'[', 1).chopped(1).split(u',');
        lines << (call.contains(u"GPIO")     ? QStringLiteral("GPIO %1=%2").arg(values[0], values[1])
                      : values[0] == u"0"[0] ? QStringLiteral("power %1").arg(values[1])
                                             : QStringLiteral("wires %1").arg(values[1]));
    }
    return lines;
}

struct LineCase {
    const char* name;
    int pins;
    int high; ///< all three levels
    const char* operation; ///< C, D or 0 for off
    const char* calls;
};

class Lines : public testing::TestWithParam<LineCase> {
protected:
    LineResult Run()
    {
        AutoCycleSettings wiring;
        wiring.ChgPin = GetParam().pins;
        wiring.PinHi = wiring.ChgHi = wiring.LoadHi = GetParam().high;
        if (*GetParam().operation == '0')
            return lines.BothOff(wiring);
        return lines.Switch(*GetParam().operation == 'C' ? Direction::Charge : Direction::Discharge, wiring);
    }
    QString Calls() const { return LineCalls(adapter.calls).join(u", "); }

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
    EXPECT_TRUE(held);
    EXPECT_FALSE(GaugeAccess::Held());
}

TEST_P(Lines, NameTheKeyOfALineThatTheAdapterLacks)
{
    adapter.Will(ErrorCode::IncorrectParam);
    const LineResult result = Run();
    EXPECT_EQ(result.Code, ErrorCode::IncorrectParam);
    const char first = GetParam().calls[5];
    EXPECT_EQ(result.MissingKeys.value(0),
              GetParam().pins == 1 ? QStringLiteral("PowerLine")
                  : first == '0'   ? QStringLiteral("ChgLine")
                                   : QStringLiteral("LoadLine"));
}

INSTANTIATE_TEST_SUITE_P(
    Wirings, Lines,
    testing::Values(LineCase{"OnePinCharge", 1, 1, "C", "power 1"},
                    LineCase{"OnePinDischarge", 1, 1, "D", "power 0"},
                    LineCase{"OnePinInvertedCharge", 1, 0, "C", "power 0"},
                    LineCase{"OnePinOffReleases", 1, 1, "0", "wires 0"},
                    LineCase{"OnePinInvertedOffReleases", 1, 0, "0", "wires 0"},
                    LineCase{"TwoPinsChargeBreaksFirst", 2, 1, "C", "GPIO 1=0, GPIO 0=1"},
                    LineCase{"TwoPinsDischargeBreaksFirst", 2, 1, "D", "GPIO 0=0, GPIO 1=1"},
                    LineCase{"TwoPinsInvertedDischarge", 2, 0, "D", "GPIO 0=1, GPIO 1=0"},
                    LineCase{"TwoPinsOff", 2, 1, "0", "GPIO 1=0, GPIO 0=0"},
                    LineCase{"TwoPinsInvertedOff", 2, 0, "0", "GPIO 1=1, GPIO 0=1"}),
    [](const auto& row) { return row.param.name; });

using TwoPins = Lines;
TEST_P(TwoPins, KeepOffWhatCannotSwitchTheOtherOff)
{
    adapter.Will(ErrorCode::NoUsb);
    EXPECT_EQ(Run().Ok(), *GetParam().operation == '0');
    EXPECT_EQ(Calls(), QLatin1String(GetParam().calls));
}
INSTANTIATE_TEST_SUITE_P(
    FirstWriteFails, TwoPins,
    testing::Values(LineCase{"Charge", 2, 1, "C", "GPIO 1=0"}, LineCase{"Discharge", 2, 1, "D", "GPIO 0=0"},
                    LineCase{"OffGoesOnAndReleases", 2, 1, "0", "GPIO 1=0, GPIO 0=0, wires 0"}),
    [](const auto& row) { return row.param.name; });

} // namespace
