#pragma once

#include "simulator/Faults.h"

#include <QString>
#include <QStringList>

#include <cstdint>

class ProfileStore;

/// Section [Simulator] of the program settings.
struct SimulatorSettings {
    std::uint64_t Seed = 1;
    double Speed
        = 1; ///< as read; who makes the adapter decides what it means for TimeFactor. 0: as fast as it can
    double TimeFactor = 1; ///< seconds of the pack in one second of the TimeSource
    double Charge = 60; ///< percent at the start
    int LoadCurrent = 2200; ///< mA
    int ChargeCurrent = 2200; ///< mA, what the charger can give
    double Ambient = 25; ///< degrees Celsius
    bool Pec = true; ///< the gauge checks packets
    int BusClock = 100'000; ///< hertz
    FaultSettings Faults{};
    QStringList Problems{}; ///< values that were not taken, in plain words with file, section and key
};

/// A value out of range or not understood keeps its default and is named in Problems.
[[nodiscard]] SimulatorSettings ReadSimulatorSettings(ProfileStore& profiles, const QString& file);
