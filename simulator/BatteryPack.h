#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// Four lithium-ion cells in series with their protection switches, and nothing that measures: the gauge does
/// that.
///
/// Each cell is an open-circuit voltage over its charge, an ohmic resistance and one RC branch; all share a
/// temperature. Resistances rise in the cold and with wear; capacity falls with the charge that went through.
/// Coulombic efficiency is 1, so charge in less charge out is the change of the stored charge, and electrical
/// energy in is the change of the stored energy plus heat. Amps are positive into the pack.
class BatteryPack {
public:
    static constexpr std::size_t kCells = 4;
    static constexpr double kDesignMah = 4400;
    static constexpr double kCutoffVolts = 2.5; ///< a cell below it opens the discharge switch
    static constexpr double kOverVolts = 4.3; ///< a cell above it opens the charge switch

    /// @param charge   0..1, of every cell but for a little spread
    /// @param ambient  degrees Celsius
    BatteryPack(std::uint64_t seed, double charge, double ambient);

    /// Lets time pass with this current, or none where a protection switch is open for its direction.
    void Step(double amps, int seconds);

    [[nodiscard]] double Amps() const { return m_amps; }
    [[nodiscard]] double Volts() const { return RestVolts() + m_amps * Ohms(); }
    [[nodiscard]] double CellVolts(std::size_t cell) const;
    /// What the terminals would show at once if the current stopped now.
    [[nodiscard]] double RestVolts() const { return m_restVolts; }
    [[nodiscard]] double Ohms() const { return m_ohms; } ///< ohmic part only, of the whole pack
    [[nodiscard]] double Celsius() const { return m_celsius; }
    [[nodiscard]] bool DischargeOpen() const { return m_dischargeOpen; }

    [[nodiscard]] double Coulombs(std::size_t cell) const { return m_cells[cell].Coulombs; }
    [[nodiscard]] double CapacityCoulombs(std::size_t cell) const { return m_cells[cell].Capacity; }
    [[nodiscard]] double HeatJoules() const { return m_heat; } ///< given off inside since the start
    [[nodiscard]] double BranchJoules() const; ///< held by the RC branches now

private:
    struct Cell {
        double Coulombs = 0;
        double Capacity = 0;
        double Spread = 1; ///< of its resistances; the branch's capacitor shrinks by it
        double Ohms = 0;
        double BranchOhms = 0;
        double BranchVolts = 0;
        double OpenVolts = 0;
    };

    void FollowTemperature();
    void Protect(double wanted);

    std::array<Cell, kCells> m_cells;
    double m_ambient;
    double m_celsius;
    double m_amps = 0;
    double m_restVolts = 0;
    double m_ohms = 0;
    double m_heat = 0;
    double m_throughput = 0; ///< coulombs in both directions
    double m_resistanceCelsius = -1000; ///< the temperature that the resistances were taken at
    double m_branchSeconds = 0;
    double m_secondDecay = 0; ///< what is left of a branch's distance from its end after one second
    bool m_dischargeOpen = false;
    bool m_chargeOpen = false;
};
