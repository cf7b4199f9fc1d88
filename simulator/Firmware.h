#pragma once

#include "platform/Bytes.h"

#include <span>

/// The instruction flash of the simulated gauge: device type and version (words, high byte first), a text,
/// code, erased bytes, and in the last four bytes the sum of all others (high byte first), by which the boot
/// ROM knows a firmware that is whole.
namespace Firmware {

[[nodiscard]] Bytes Factory();
[[nodiscard]] bool IsWhole(std::span<const std::uint8_t> program);

} // namespace Firmware
