#include "simulator/CellCurve.h"
#include "simulator/GaugeTarget.h"
#include "simulator/SimulatedBench.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace {

std::uint8_t Check(const Bytes& bytes)
{
    unsigned crc = 0;
    for (const std::uint8_t byte : bytes)
        for (unsigned bit = 0x80; bit != 0; bit >>= 1U) {
            const bool top = ((crc & 0x80U) != 0) != ((byte & bit) != 0);
            crc = (crc << 1U & 0xFFU) ^ (top ? 0x07U : 0U);
        }
    return static_cast<std::uint8_t>(crc);
}

struct GaugeOnBench : testing::Test {
    int Signed(std::uint8_t command) { return static_cast<std::int16_t>(bench.Gauge().Word(command)); }
    int Word(std::uint8_t command) { return bench.Gauge().Word(command); }
    void Run(
        int seconds, const std::function<void()>& eachSecond = [] {})
    {
        for (int i = 0; i < seconds; ++i) {
            bench.AdvanceTo(bench.Seconds() + 1);
            eachSecond();
        }
    }
    bool Send(const Bytes& bytes) ///< @return all acknowledged
    {
        bool acknowledged = target.Start(GaugeTarget::kAddress);
        for (const std::uint8_t byte : bytes)
            acknowledged = acknowledged && target.Write(byte);
        target.Stop();
        return acknowledged;
    }
    Bytes Receive(std::uint8_t command, int count)
    {
        Bytes bytes;
        if (target.Start(GaugeTarget::kAddress) && target.Write(command)
            && target.Start(GaugeTarget::kAddress | 1U))
            for (int i = 0; i < count; ++i)
                bytes.push_back(target.Read());
        target.Stop();
        return bytes;
    }

    SimulatedBench bench{SimulatorSettings{}};
    GaugeTarget target{bench.Gauge()};
};

} // namespace

// Every bit is worked out anew from what a host can read, at every second of two full cycles.
TEST_F(GaugeOnBench, StatusAgreesWithItsThresholdsAtEverySample)
{
    int before = Word(0x16);
    int seen = 0;
    int quiet = ~0;
    double discharged = 0;
    int lowSeconds = 0;
    const auto check = [&] {
        const int status = Word(0x16);
        const int amps = Signed(0x0A);
        const int lowest = std::min({Word(0x3C), Word(0x3D), Word(0x3E), Word(0x3F)});
        const bool charging = amps > GaugeModel::kDeadbandMa;
        const bool discharging = amps < -GaugeModel::kDeadbandMa;
        const bool wasFull = (before & 0x20) != 0;
        const bool wasEmpty = (before & 0x10) != 0;
        const bool full = (status & 0x20) != 0;
        ASSERT_EQ((status & 0x40) != 0, !charging);
        ASSERT_EQ((status & 0x4000) != 0, charging && Word(0x14) == 0);
        ASSERT_EQ((status & 0x0800) != 0, discharging && Word(0x0F) == 0);
        ASSERT_EQ((status & 0x0200) != 0, Word(0x0F) < Word(0x01));
        ASSERT_EQ((status & 0x0100) != 0, Word(0x12) < Word(0x02));
        ASSERT_EQ((status & 0x1000) != 0, Word(0x08) >= GaugeModel::kHotRaw);
        ASSERT_EQ((status & 0x10) != 0, Word(0x0F) == 0 || (wasEmpty && Word(0x0D) < 20));
        if (full && !wasFull) {
            ASSERT_TRUE(charging && Word(0x09) > 16'700 && amps <= 220 && Word(0x0D) == 100);
        }
        if (wasFull) {
            ASSERT_EQ(full, Word(0x0D) >= 95);
        }
        ASSERT_EQ(Word(0x15) == 0, Word(0x14) == 0);
        ASSERT_TRUE(!full || Word(0x14) == 0);
        lowSeconds = discharging && lowest <= GaugeModel::kEmptyCellMv ? lowSeconds + 1 : 0;
        ASSERT_TRUE(lowSeconds < 3 || Word(0x0F) == 0);
        ASSERT_TRUE(wasEmpty || !(status & 0x10) || lowSeconds >= 3);
        ASSERT_LE(std::abs(Word(0x09) - (Word(0x3C) + Word(0x3D) + Word(0x3E) + Word(0x3F))), 4);
        ASSERT_LE(Word(0x0F), Word(0x10));
        discharged += std::max(0, -amps) / 3600.0;
        seen |= status;
        quiet &= status;
        before = status;
    };
    for (int cycle = 0; cycle < 2 && !HasFatalFailure(); ++cycle) {
        bench.SetLoad(false);
        bench.SetCharger(true);
        Run(4 * 3600, check);
        ASSERT_NE(Word(0x16) & 0x20, 0) << "not full after four hours";
        bench.SetCharger(false);
        bench.SetLoad(true);
        Run(3 * 3600, check);
        ASSERT_NE(Word(0x16) & 0x10, 0) << "not empty after three hours";
    }
    EXPECT_EQ(seen & ~quiet,
              0x4000 | 0x0800 | 0x0200 | 0x0100 | 0x40 | 0x20 | 0x10); // all of them came and went
    EXPECT_EQ(Word(0x17), static_cast<int>(discharged / BatteryPack::kDesignMah));
    EXPECT_NEAR(Word(0x10), 4400, 100); // what was learned between full and empty
}

TEST_F(GaugeOnBench, HotPackRaisesItsAlarmAndRefusesCharge)
{
    SimulatorSettings hot;
    hot.Ambient = 62;
    SimulatedBench oven(hot);
    oven.SetCharger(true);
    oven.AdvanceTo(10);
    EXPECT_EQ(oven.Gauge().Word(0x16) & 0x1000, 0x1000);
    EXPECT_EQ(oven.Gauge().Word(0x14), 0);
    EXPECT_LT(static_cast<std::int16_t>(oven.Gauge().Word(0x0A)), 0); // the charger obeys
}

TEST_F(GaugeOnBench, AveragesOverOneMinuteAndForgetsAlarmModeAfterIt)
{
    bench.SetLoad(true);
    ASSERT_TRUE(Send({0x03, 0x00, 0x20}));
    Run(30);
    EXPECT_NEAR(Signed(0x0A), -2202, 1);
    EXPECT_NEAR(Signed(0x0B), -1101, 2);
    Run(29);
    EXPECT_EQ(Word(0x03), 0x2000);
    Run(1);
    EXPECT_EQ(Word(0x03), 0);
    EXPECT_NEAR(Signed(0x0B), -2202, 1);
    EXPECT_EQ(Word(0x12), 60 * Word(0x0F) / 2202);
}

TEST_F(GaugeOnBench, RatesAnswerInTheUnitOfTheCapacityMode)
{
    struct Row {
        bool energy;
        int rate;
        int toFull, toEmpty, ok;
    };
    const int full = Word(0x10);
    const int left = Word(0x0F);
    const double volts = BatteryPack::kCells * CellCurve::Area(0.6) / 0.6;
    for (const Row& row :
         {Row{false, 0, 65535, 65535, 1}, Row{false, 1000, (full - left) * 60 / 1000, 65535, 1},
          Row{false, -1000, 65535, left * 60 / 1000, 1}, Row{false, -32768, 65535, left * 60 / 32768, 0},
          Row{true, -1480, 65535, static_cast<int>(left * volts / 10 * 60 / 1480), 1}}) {
        const int mode = row.energy ? 0x80 : 0;
        ASSERT_TRUE(Send({0x03, 0, static_cast<std::uint8_t>(mode)}));
        ASSERT_TRUE(Send({0x04, static_cast<std::uint8_t>(row.rate & 0xFF),
                          static_cast<std::uint8_t>(row.rate >> 8 & 0xFF)}));
        EXPECT_EQ(Word(0x05), row.toFull) << row.rate;
        EXPECT_NEAR(Word(0x06), row.toEmpty, row.energy ? 3 : 0) << row.rate;
        EXPECT_EQ(Word(0x07), row.ok) << row.rate;
        EXPECT_EQ(Word(0x18), row.energy ? 6512 : 4400);
    }
}

enum class Access { ReadWrite, Read, Block, Reserved };

struct Range {
    const char* name;
    int first, last;
    Access access;
};

class RegisterAccess : public GaugeOnBench, public testing::WithParamInterface<Range> { };

// What each command acknowledges, and the reason that BatteryStatus gives for the one that it does not.
TEST_P(RegisterAccess, AnswersAsTheStandardSays)
{
    const auto error = [&] { return Receive(0x16, 2).at(0) & 0x0F; };
    const Access access = GetParam().access;
    for (int i = GetParam().first; i <= GetParam().last; ++i) {
        const auto command = static_cast<std::uint8_t>(i);
        const Bytes answer = Receive(command, 34);
        EXPECT_EQ(error(), access == Access::Reserved ? 2 : 0) << i;
        EXPECT_EQ(error(), 0) << "a read of the status leaves none behind";
        EXPECT_EQ(answer.empty(), access == Access::Reserved) << i;
        if (!answer.empty()) {
            const std::size_t count = access == Access::Block ? answer[0] + 1U : 2U;
            Bytes wire{0x16, command, 0x17};
            wire.insert(wire.end(), answer.begin(), answer.begin() + static_cast<std::ptrdiff_t>(count));
            EXPECT_EQ(answer[count], Check(wire)) << i;
            EXPECT_EQ(answer[count + 1], 0xFF) << i;
        }
        const auto sent = [&](Bytes bytes, int badCheck) {
            bytes.insert(bytes.begin(), command);
            Bytes wire{0x16};
            wire.insert(wire.end(), bytes.begin(), bytes.end());
            bytes.push_back(static_cast<std::uint8_t>(Check(wire) ^ badCheck));
            return Send(bytes);
        };
        const bool writes = access == Access::ReadWrite;
        EXPECT_EQ(sent({0x03, 0x00}, 0), writes) << i;
        EXPECT_EQ(error(), writes ? 0 : access == Access::Reserved ? 2 : 4) << i;
        EXPECT_EQ(sent({}, 0), access != Access::Reserved) << i;
        if (!writes)
            continue;
        const int kept = Word(command);
        EXPECT_FALSE(sent({0x55, 0xAA}, 1)) << i;
        EXPECT_EQ(error(), 7) << i;
        EXPECT_TRUE(Send({command, 0x55}));
        EXPECT_EQ(error(), 6) << i;
        EXPECT_FALSE(Send({command, 1, 2, 3, 4})) << i;
        EXPECT_EQ(Word(command), kept) << "what was refused must not take effect " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Commands, RegisterAccess,
                         testing::Values(Range{"Settings", 0x00, 0x04, Access::ReadWrite},
                                         Range{"Measurements", 0x05, 0x1C, Access::Read},
                                         Range{"ReservedLow", 0x1D, 0x1F, Access::Reserved},
                                         Range{"Texts", 0x20, 0x23, Access::Block},
                                         Range{"ReservedMiddle", 0x24, 0x3B, Access::Reserved},
                                         Range{"CellVoltages", 0x3C, 0x3F, Access::Read},
                                         Range{"ReservedHigh", 0x40, 0x53, Access::Reserved},
                                         Range{"CalibrationMode", 0x54, 0x54, Access::ReadWrite},
                                         Range{"CalibrationAlone", 0x55, 0x5F, Access::Reserved},
                                         Range{"FlashPointers", 0x60, 0x62, Access::ReadWrite},
                                         Range{"ReservedFlash", 0x66, 0x76, Access::Reserved},
                                         Range{"FlashSelect", 0x77, 0x77, Access::ReadWrite},
                                         Range{"ReservedHighest", 0x88, 0xFF, Access::Reserved}),
                         [](const auto& row) { return row.param.name; });
