#pragma once

#include "comm/ErrorCodes.h"
#include "comm/frmUSB.h"
#include "platform/Bytes.h"

#include <cstdint>
#include <span>

// One-wire memory and registers. 772 when no device answers the reset pulse; other codes come from the
// adapter. Words are joined low byte first. Memory addresses 0..255: a larger one ends with IncorrectParam
// after reset and the two command bytes, before an address byte is sent.

[[nodiscard]] ErrorCode OneWireReadMemory(frmUSB& usb, std::int16_t address, Bytes& data, int count);
/// Ends after the data bytes, on purpose: no copy command follows; who needs the data made permanent sends
/// it.
[[nodiscard]] ErrorCode OneWireWriteMemory(frmUSB& usb, std::int16_t address,
                                           std::span<const std::uint8_t> data);
[[nodiscard]] ErrorCode OneWireReadByteAt(frmUSB& usb, std::int16_t address, std::uint8_t& byte);
[[nodiscard]] ErrorCode OneWireReadWordAt(frmUSB& usb, std::int16_t address, std::int16_t& word);
[[nodiscard]] ErrorCode OneWireWriteByteAt(frmUSB& usb, std::int16_t address, std::uint8_t byte);
[[nodiscard]] ErrorCode OneWireWriteWordAt(frmUSB& usb, std::int16_t address, std::int16_t word);
[[nodiscard]] ErrorCode OneWireReadRegs(frmUSB& usb, std::uint8_t start, Bytes& data, int count);
[[nodiscard]] ErrorCode OneWireWriteRegs(frmUSB& usb, std::uint8_t start, std::span<const std::uint8_t> data);
[[nodiscard]] ErrorCode OneWireWriteRegWord(frmUSB& usb, std::uint8_t reg, std::int16_t word);
