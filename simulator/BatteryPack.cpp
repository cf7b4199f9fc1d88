#include "simulator/BatteryPack.h"

#include "simulator/CellCurve.h"
#include "simulator/Random.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kCellOhms = 0.030; // at 25 degrees Celsius, two 18650 cells side by side
constexpr double kBranchOhms = 0.018;
constexpr double kBranchFarads = 2500; // time constant 45 s at 25 degrees Celsius
constexpr double kActivationKelvin = 2400; // resistance doubles from 25 down to about 0 degrees
constexpr double kHeatCapacity = 400; // J/K
constexpr double kCoolingOhms = 4; // K/W to ambient
constexpr double kFadePerCoulomb = 0.2 / (2 * 800); // 20 % after 800 full cycles, in and out
constexpr double kLeastHealth = 0.5;
constexpr double kCapacitySpread = 0.01;
constexpr double kResistanceSpread = 0.05;
constexpr double kChargeSpread = 0.002;
constexpr double kOverVoltsRelease = 4.15;
constexpr double kResistanceStep = 0.05; // degrees; less does not show in any register
constexpr double kKelvin = 273.15;

} // namespace

BatteryPack::BatteryPack(std::uint64_t seed, double charge, double ambient)
    : m_ambient(ambient), m_celsius(ambient)
{
    Random random(Random::Mix(seed));
    for (Cell& cell : m_cells) {
        cell.Capacity = kDesignMah * 3.6 * (1.01 + kCapacitySpread * random.Spread());
        cell.Spread = 1 + kResistanceSpread * random.Spread();
        cell.Coulombs = cell.Capacity * std::clamp(charge + kChargeSpread * random.Spread(), 0.0, 1.0);
        cell.OpenVolts = CellCurve::Volts(cell.Coulombs / cell.Capacity);
        m_restVolts += cell.OpenVolts;
    }
    FollowTemperature();
}

void BatteryPack::FollowTemperature()
{
    m_resistanceCelsius = m_celsius;
    const double wear = 1 + m_throughput * kFadePerCoulomb / (kDesignMah * 3.6); // grows as capacity falls
    const double factor
        = wear * std::exp(kActivationKelvin * (1 / (m_celsius + kKelvin) - 1 / (25 + kKelvin)));
    m_ohms = 0;
    for (Cell& cell : m_cells) {
        cell.Ohms = kCellOhms * factor * cell.Spread;
        cell.BranchOhms = kBranchOhms * factor * cell.Spread;
        m_ohms += cell.Ohms;
    }
    // The spread cancels out: a branch's capacitor is smaller where its resistance is larger.
    m_branchSeconds = kBranchOhms * factor * kBranchFarads;
    m_secondDecay = std::exp(-1 / m_branchSeconds);
}

void BatteryPack::Protect(double wanted)
{
    double highest = 0;
    double lowest = 10;
    for (std::size_t i = 0; i < kCells; ++i) {
        highest = std::max(highest, CellVolts(i));
        lowest = std::min(lowest, CellVolts(i));
    }
    if (lowest < kCutoffVolts)
        m_dischargeOpen = true;
    if (wanted > 0) // an emptied pack wakes on a charger only, or load and recovery would take turns for ever
        m_dischargeOpen = false;
    if (highest > kOverVolts)
        m_chargeOpen = true;
    else if (highest < kOverVoltsRelease)
        m_chargeOpen = false;
}

void BatteryPack::Step(double amps, int seconds)
{
    Protect(amps);
    m_amps = (amps < 0 && m_dischargeOpen) || (amps > 0 && m_chargeOpen) ? 0 : amps;
    if (std::abs(m_celsius - m_resistanceCelsius) > kResistanceStep)
        FollowTemperature();

    const double decay = seconds == 1 ? m_secondDecay : std::exp(-seconds / m_branchSeconds);
    const double moved = m_amps * seconds;
    const double faded = std::abs(moved) * kFadePerCoulomb;
    double heat = 0;
    m_restVolts = 0;
    for (Cell& cell : m_cells) {
        cell.Coulombs += moved;
        cell.Capacity = std::max(cell.Capacity - faded, kLeastHealth * kDesignMah * 3.6);
        const double end = m_amps * cell.BranchOhms;
        const double before = cell.BranchVolts;
        cell.BranchVolts = end + (before - end) * decay;
        const double farads = kBranchFarads / cell.Spread;
        // What enters the branch and does not stay in its capacitor is heat; exact for a constant current.
        const double entered = m_amps * (end * seconds + (before - end) * m_branchSeconds * (1 - decay));
        const double kept = farads / 2 * (cell.BranchVolts * cell.BranchVolts - before * before);
        heat += m_amps * m_amps * cell.Ohms * seconds + entered - kept;
        cell.OpenVolts = CellCurve::Volts(cell.Coulombs / cell.Capacity);
        m_restVolts += cell.OpenVolts + cell.BranchVolts;
    }
    m_throughput += std::abs(moved);
    m_heat += heat;
    m_celsius += (heat - seconds * (m_celsius - m_ambient) / kCoolingOhms) / kHeatCapacity;
}

double BatteryPack::CellVolts(std::size_t cell) const
{
    return m_cells[cell].OpenVolts + m_cells[cell].BranchVolts + m_amps * m_cells[cell].Ohms;
}

double BatteryPack::BranchJoules() const
{
    double joules = 0;
    for (const Cell& cell : m_cells)
        joules += kBranchFarads / cell.Spread / 2 * cell.BranchVolts * cell.BranchVolts;
    return joules;
}
