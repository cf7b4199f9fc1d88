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
    int DataFlashStyle = 0; ///< 1 and 6: rows of 64 bytes; else styles 0 and 2 to 5, all of them
    int FlashRowTime = 40; ///< ms that a block write to the flash takes
    QString FlashFile{}; ///< keeps the flash across runs; empty: nothing is kept
    bool Uncalibrated = false; ///< the gauge's converters have errors of their own
    FaultSettings Faults{};
    QStringList Problems{}; ///< values that were not taken, in plain words with file, section and key
};

/// A value out of range or not understood keeps its default and is named in Problems.
[[nodiscard]] SimulatorSettings ReadSimulatorSettings(ProfileStore& profiles, const QString& file);
