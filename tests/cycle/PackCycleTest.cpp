#include "comm/adapters/SimulatedAdapter.h"
#include "sbs/AutoCycle.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

namespace {

struct WiringCase {
    const char* name;
    AutoCycleSettings settings;
};

class PackCycle : public testing::TestWithParam<WiringCase> { };

// Adapter, lines, pack and gauge together: the lines must really move the pack, and what the pack says at its
// ends must switch the direction before it becomes an alarm.
TEST_P(PackCycle, ChargesAndDischargesTheSimulatedPack)
{
    TestTime time;
    RecordedMessages messages;
    SimulatedAdapter adapter(time, {.Charge = 40});
    frmUSB usb(adapter, time, messages, {});
    GaugeAccess access(time, messages);
    AdapterLines lines(usb, access);
    AutoCycle cycle(lines, time, messages);
    cycle.SetSettings(GetParam().settings);
    bool ok = false;
    usb.OpenFirstFreeDevice(ok);
    ASSERT_TRUE(ok);

    const auto read = [&](std::uint8_t command) {
        std::int16_t word = 0;
        ErrorCode err = ErrorCode::Ok;
        usb.ReadSMBusWord_(command, word, 0x16, err);
        return Failed(err) ? CycleReading::Failed() : CycleReading::Of(word);
    };
    const auto pass = [&] { return CycleValues{read(0x0D), read(0x09), read(0x16), true}; };
    // between the limits nothing would begin by itself
    ASSERT_TRUE(cycle.StartAutoCycle(pass(), Direction::Discharge));
    for (int i = 0; i < 40 * 180 && cycle.History().Cycles() < 2; ++i) {
        time.Advance(20'000);
        cycle.Step(pass());
        ASSERT_TRUE(cycle.Facts().Running) << cycle.Facts().StopReason.toStdString();
    }
    EXPECT_EQ(cycle.History().Cycles(), 2) << cycle.Facts().Why.toStdString();
    EXPECT_TRUE(cycle.LeaveProgram());
    std::int16_t level = 1;
    for (const std::int16_t line : std::array<std::int16_t, 2>{0, 1}) {
        ErrorCode err = ErrorCode::Ok;
        usb.GPIORead(line, level, err);
        EXPECT_EQ(level, 0);
    }
    time.Advance(600'000);
    const auto current = static_cast<std::int16_t>(read(0x0A).Value.value_or(9999));
    EXPECT_LT(std::abs(current), 20) << "mA; once both are off only the gauge itself draws some";
}

// As in the two targets that ship.
// clang-format off
INSTANTIATE_TEST_SUITE_P(Targets, PackCycle, testing::Values(
    WiringCase{"GenericOnePin", {.RemCapRow = 13, .ChgRemCapVal = 5, .DChgRemCapVal = 99}},
    WiringCase{"Sim4sTwoPins", {.RemCapRow = 13, .ChgRemCapVal = 10, .ChgBattvoltVal = 12200, .ChgTrigType = 3,
                                .ChgRelax = 60, .DChgBattvoltVal = 17000, .DChgTrigType = 7, .DChgVal = 32,
                                .DChgRelax = 60, .ChgPin = 2}}),
    [](const auto& row) { return row.param.name; });
// clang-format on

} // namespace
