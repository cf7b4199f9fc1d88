#include "simulator/BatteryPack.h"
#include "simulator/CellCurve.h"
#include "simulator/SimulatedBench.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

namespace {

constexpr double kHour = 3600;

double StoredCoulombs(const BatteryPack& pack)
{
    double sum = 0;
    for (std::size_t cell = 0; cell < BatteryPack::kCells; ++cell)
        sum += pack.Coulombs(cell);
    return sum / BatteryPack::kCells;
}

/// Integral of open-circuit voltage over charge between the two states, by small steps of its own.
double StoredJoules(double fromCoulombs, double toCoulombs, double capacity)
{
    constexpr int kSteps = 20'000;
    const double step = (toCoulombs - fromCoulombs) / kSteps;
    double joules = 0;
    for (int i = 0; i < kSteps; ++i)
        joules += CellCurve::Volts((fromCoulombs + (i + 0.5) * step) / capacity) * step;
    return joules;
}

/// What went through the terminals, measured as a bench meter would: volts and amps, once a second.
struct Meter {
    double Coulombs = 0;
    double Joules = 0;
    double Throughput = 0; ///< joules in either direction

    void Run(BatteryPack& pack, double amps, const std::function<bool()>& until)
    {
        for (int second = 0; second < 10 * kHour && !until(); ++second) {
            const double before = pack.RestVolts() + amps * pack.Ohms();
            pack.Step(amps, 1);
            const double joules = pack.Amps() * (before + pack.Volts()) / 2;
            Coulombs += pack.Amps();
            Joules += joules;
            Throughput += std::abs(joules);
        }
    }
};

} // namespace

class BatteryPackBalance : public testing::TestWithParam<double> { };

TEST_P(BatteryPackBalance, KeepsChargeAndEnergyOverAFullCycle)
{
    BatteryPack pack(7, 0.02, GetParam());
    std::array<double, BatteryPack::kCells> coulombs{};
    for (std::size_t cell = 0; cell < coulombs.size(); ++cell)
        coulombs[cell] = pack.Coulombs(cell);
    const double charge = StoredCoulombs(pack);
    Meter meter;
    for (const double amps : {2.2, -2.2}) {
        const Meter before = meter;
        const double storedBefore = StoredCoulombs(pack);
        meter.Run(pack, amps, [&] { return amps > 0 ? pack.Volts() > 16.8 : pack.Volts() < 12.0; });
        EXPECT_NEAR(meter.Coulombs - before.Coulombs, StoredCoulombs(pack) - storedBefore,
                    0.001 * storedBefore + 1);
        EXPECT_GT(std::abs(meter.Coulombs - before.Coulombs), 0.5 * BatteryPack::kDesignMah * 3.6);
    }
    EXPECT_NEAR(meter.Coulombs, StoredCoulombs(pack) - charge, 0.001 * BatteryPack::kDesignMah * 3.6);

    double stored = pack.BranchJoules();
    for (std::size_t cell = 0; cell < coulombs.size(); ++cell)
        stored += StoredJoules(coulombs[cell], pack.Coulombs(cell), pack.CapacityCoulombs(cell));
    const double error = meter.Joules - stored - pack.HeatJoules();
    RecordProperty("EnergyErrorPercent", std::to_string(100 * error / meter.Throughput));
    EXPECT_NEAR(error, 0, 0.005 * meter.Throughput);
    EXPECT_GT(pack.HeatJoules(), 0.01 * meter.Throughput);
    EXPECT_GT(pack.Celsius(), GetParam() + 0.5); // it warms and does not run away
    EXPECT_LT(pack.Celsius(), GetParam() + 20);
}

INSTANTIATE_TEST_SUITE_P(Ambients, BatteryPackBalance, testing::Values(0, 25, 45)); // degrees Celsius

TEST(BatteryPack, OpensItsSwitchesAtTheCellLimitsAndWakesOnACharge)
{
    BatteryPack pack(1, 0.05, 25);
    Meter meter;
    meter.Run(pack, -2.2, [&] { return pack.DischargeOpen(); });
    EXPECT_EQ(pack.Amps(), 0);
    pack.Step(-2.2, 1); // the recovered voltage does not let the load on again
    EXPECT_EQ(pack.Amps(), 0);
    pack.Step(0.2, 1);
    EXPECT_EQ(pack.Amps(), 0.2);
    pack.Step(-0.2, 1);
    EXPECT_EQ(pack.Amps(), -0.2);
    meter.Run(pack, 2.2, [&] { return pack.Amps() == 0; });
    for (std::size_t cell = 0; cell < BatteryPack::kCells; ++cell)
        EXPECT_LT(pack.CellVolts(cell), BatteryPack::kOverVolts);
}

TEST(BatteryPack, FadesWithWhatWentThroughAndStiffensInTheCold)
{
    BatteryPack pack(1, 0.5, 25);
    const double fresh = pack.CapacityCoulombs(0);
    for (int hour = 0; hour < 200; ++hour) // 100 full cycles' worth of charge, to and fro around the middle
        for (int second = 0; second < 3600; ++second)
            pack.Step(second % 2 == 0 ? 4.4 : -4.4, 1);
    EXPECT_NEAR(pack.CapacityCoulombs(0) / fresh, 1 - 0.2 * 100 / 800, 0.002);
    EXPECT_GT(BatteryPack(1, 0.5, 0).Ohms(), 1.8 * BatteryPack(1, 0.5, 25).Ohms());
}

// A pack at rest takes a minute at once; the way there must not show.
TEST(SimulatedBench, RestsAsFarInOneLeapAsInManySteps)
{
    SimulatedBench leaping{SimulatorSettings{}};
    SimulatedBench stepping{SimulatorSettings{}};
    leaping.AdvanceTo(86'400);
    for (int second = 1; second <= 86'400; ++second)
        stepping.AdvanceTo(second);
    EXPECT_NEAR(leaping.Pack().Volts(), stepping.Pack().Volts(), 1e-6);
    EXPECT_NEAR(leaping.Pack().Coulombs(0), stepping.Pack().Coulombs(0), 1e-6);
    for (const int command : {0x09, 0x0A, 0x0B, 0x0F, 0x16})
        EXPECT_EQ(leaping.Gauge().Word(static_cast<std::uint8_t>(command)),
                  stepping.Gauge().Word(static_cast<std::uint8_t>(command)))
            << command;
}
