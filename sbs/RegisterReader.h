#pragma once

#include "comm/ErrorCodes.h"
#include "comm/frmUSB.h"
#include "sbs/Conversion.h"
#include "settings/StartupState.h"
#include "settings/TargetSettings.h"

#include <cstdint>

/// How a register row is read; ReadStyle of the register table.
enum class ReadStyle : std::int16_t {
    None = 0,
    SMBusWord = 1,
    SMBusSubcommand = 2,
    I2COnSMBByte = 3,
    I2COnSMBWord = 4,
    I2COnSMBSubcommand = 5,
    FramedByte = 6, ///< framed single wire
    FramedWord = 7,
    FramedSubcommand = 8,
    PlainByte = 9, ///< plain single wire
    PlainWord = 10,
    PlainSubcommand = 11,
    I2CByte = 12, ///< direct I2C
    I2CWord = 13,
    I2CSubcommand = 14,
};

/// Styles that give an 8-bit value.
[[nodiscard]] constexpr bool IsByteStyle(ReadStyle style)
{
    return style == ReadStyle::I2COnSMBByte || style == ReadStyle::FramedByte || style == ReadStyle::PlainByte
        || style == ReadStyle::I2CByte;
}

/// Reads and writes one register by its style. Two bytes join low byte first on every bus. A sequence ends at
/// its first failing step. Takes no lock: callers hold the bus.
///
/// A subcommand read writes 7 to the control register and reads it, writes the row's command and reads the
/// result, and writes 0. The control register is the low byte of VxMAC, the device TgtAddr, or the gauge's
/// own address when that is 0.
class RegisterReader {
public:
    RegisterReader(frmUSB& usb, const StartupState& state, const TargetSettings& target)
        : m_usb(usb), m_state(state), m_target(target)
    {
    }

    /// @param command  low 8 bits are the command byte; a subcommand style sends all 16 as the control word
    /// @param raw  untouched on failure
    /// @return IncorrectParam for a style outside 1..14; InvalidData for a frame without start or stop bit;
    /// WrongNumBytes for a short answer; else the adapter's code
    ErrorCode Read(ReadStyle style, std::int16_t command, RawValue& raw);
    /// Writes with the write of the style's bus straight to the command, subcommand styles included, then
    /// lets the adapter pause for SBSWrDelay.
    /// @param raw  -32768..65535; byte styles take -128..255 and answer IncorrectParam beyond
    ErrorCode Write(ReadStyle style, std::int16_t command, RawValue raw);

private:
    class Bus;
    [[nodiscard]] Bus BusOf(ReadStyle style);
    frmUSB& m_usb;
    const StartupState& m_state;
    const TargetSettings& m_target;
};
