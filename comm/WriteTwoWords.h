#pragma once

#include "comm/ErrorCodes.h"
#include "comm/frmUSB.h"

#include <cstdint>

/// Writes firstWord to firstCmd, then secondWord to secondCmd, then polls; the first failure ends it.
[[nodiscard]] ErrorCode WriteTwoWords(frmUSB& usb, std::int16_t firstWord, std::uint8_t secondCmd,
                                      std::uint8_t firstCmd, std::int16_t secondWord, std::int16_t addr);
