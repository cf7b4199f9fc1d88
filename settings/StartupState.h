#pragma once

#include <QString>

#include <cstdint>

/// Start-up state shared by all views; the main program owns the one instance.
struct StartupState {
    std::int16_t AutoDetectMode = 2; ///< 0 switches target auto-detection off, any other value leaves it on
    QString TargetConfigPath; ///< full path of the chosen target's file; empty until one is chosen
    std::int16_t TargetAddress = 22; ///< the gauge's bus address in 8-bit form
    QString ProgramFolder;
    QString ProgramSettingsFile; ///< program folder + "/tarnlo.ini"
};
