#pragma once

#include <QString>

#include <optional>
#include <vector>

/// A bus of the kernel as it is plugged in. libudev is known to the file behind this header alone.
struct LinuxBusPlace {
    QString Node; ///< "/dev/i2c-N"; N may change when it is plugged in again
    QString Title; ///< the kernel's name for the adapter, with the USB product if it tells one
    QString Driver; ///< of the kernel, such as hid-cp2112; empty when not known
    QString UsbPort; ///< where in the USB tree, "1-1.2"; empty for a bus that does not hang off USB
};

/// All I2C buses, in order of their numbers.
[[nodiscard]] std::vector<LinuxBusPlace> FindLinuxBuses();

/// Where an adapter is now that was at a place before: the same USB port, else the only other USB adapter of
/// the same driver and title; a bus not on USB only under its own node and title.
[[nodiscard]] std::optional<LinuxBusPlace> FindAgain(const LinuxBusPlace& before,
                                                     const std::vector<LinuxBusPlace>& now);
