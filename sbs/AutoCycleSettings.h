#pragma once

#include "settings/TableSettings.h"

#include <QString>

#include <cstdint>

/// When the auto-cycle switches and how charger and load are wired; fields as their keys of section
/// [AutoCycle], which docs/auto-cycle.md lists. Compared values are raw register words, not shown ones.
struct AutoCycleSettings {
    std::int32_t RemCapRow = -1; ///< the register view's key of [FuelGauge]; only read here; -1 none
    std::int32_t BattVoltRow = 9;
    std::int32_t BattStatRow = 22;
    std::int32_t ChgRemCapVal = 1;
    std::int32_t ChgBattvoltVal = 9000;
    std::int32_t ChgTrigType = 1; ///< bit 0 remaining capacity, bit 1 voltage, any of bits 2 to 7 status
    std::int32_t ChgVal = 0; ///< status bits
    std::int32_t ChgRelax = 0; ///< seconds with both lines off before charging
    std::int32_t DChgRemCapVal = 99;
    std::int32_t DChgBattvoltVal = 15300;
    std::int32_t DChgTrigType = 1;
    std::int32_t DChgVal = 0;
    std::int32_t DChgRelax = 0; ///< seconds
    std::int32_t ChgAny = 1; ///< 1: one trigger suffices; any other value: all used ones must hold
    std::int32_t DChgAny = 1;
    std::int32_t ChgPin = 1; ///< 2: a line each for charger and load; any other value: one line for both
    std::int32_t PinHi = 1; ///< one-pin wiring: 1 charges on a high line, 0 on a low one
    std::int32_t ChgHi = 1; ///< two-pin wiring: 1 when the charger is on at a high line
    std::int32_t LoadHi = 1;
    std::int32_t ChgLongest = 86400; ///< seconds a charge phase may last; 0: no limit
    std::int32_t DChgLongest = 86400;

    [[nodiscard]] bool TwoPins() const { return ChgPin == 2; }
    bool operator==(const AutoCycleSettings&) const = default;
};

/// @param remCapRowIfUnset  counts where no file has the key RemCapRow
[[nodiscard]] AutoCycleSettings LoadAutoCycleSettings(const TableSettings& settings,
                                                      std::int32_t remCapRowIfUnset = -1);

/// Writes the keys in which now differs from before, RemCapRow excepted.
/// @return empty, or what went wrong with the first key that could not be written
[[nodiscard]] QString SaveAutoCycleSettings(TableSettings& settings, const AutoCycleSettings& before,
                                            const AutoCycleSettings& now);
