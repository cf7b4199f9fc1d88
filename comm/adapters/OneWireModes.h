#pragma once

#include <cstdint>

/// Transfer modes of the adapter's single-wire line, the first argument of AdpReadOneWire and
/// AdpWriteOneWire.
///
/// Three kinds of part hang on such a line. A one-wire memory is spoken to bit group by bit group (reset with
/// presence, write 8 bits, read 8 bits). A single-wire gauge has registers: a plain transfer moves the
/// command and the answer in one go; a framed transfer moves every byte between a start bit (0) and a stop
/// bit (1), least significant bit first, and hands the frames to the host as they came.
namespace OneWire {

// AdpReadOneWire(mode, value, extra)
inline constexpr std::int16_t kReadPlainByte = 1; ///< value in: command; out: one byte
inline constexpr std::int16_t kReadTwoBytes
    = 2; ///< value in: command; out: two bytes, the first one low;
         ///< with kFramed two 10-bit frames, the first one in bits 9..0
inline constexpr std::int16_t kReadEightBits = 3; ///< memory: value out: the next 8 bits on the wire
inline constexpr std::int16_t kReset = 4; ///< memory: value out: 1 a device answered the pulse, 0 none did
inline constexpr std::int16_t kReadFrame = 8; ///< value in: command | kFramed; out: one 10-bit frame

// AdpWriteOneWire(mode, value, extra)
inline constexpr std::int16_t kWriteEightBits = 1; ///< memory: value: the 8 bits to send
inline constexpr std::int16_t kWriteRegister
    = 6; ///< value: register * 256 + byte, kFramed for a framed transfer

inline constexpr std::int32_t kFramed = 0x10000; ///< set in value beside the command: framed transfer
inline constexpr std::int16_t kBits = 8; ///< the further argument: bits a byte

} // namespace OneWire
