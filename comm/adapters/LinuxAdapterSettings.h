#pragma once

#include "platform/ProfileFile.h"

#include <QString>

/// Section [Adapter] of the program settings, as far as a real adapter on Linux goes. docs/hardware.md
/// explains the keys.
struct LinuxAdapterSettings {
    QString Device; ///< auto, real or i2c:/dev/i2c-N
    QString PowerLine; ///< "chip:offset"; the chip by name, number or label; empty: not wired
    QString ChgLine; ///< GPIO line 0, the charger
    QString LoadLine; ///< GPIO line 1, the load
    QString OneWireMaster; ///< "w1_bus_master1" or its number; empty: none

    /// The bus that Device names, "/dev/i2c-N"; empty when it leaves the choice.
    [[nodiscard]] QString NamedNode() const;
};

/// "i2c:" in front of an adapter's device node makes its name.
inline constexpr auto kBusPrefix = QLatin1String("i2c:");

[[nodiscard]] LinuxAdapterSettings ReadLinuxAdapterSettings(ProfileStore& profiles, const QString& file);
