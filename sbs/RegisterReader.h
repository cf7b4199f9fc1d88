#pragma once

#include "comm/ErrorCodes.h"
#include "comm/frmUSB.h"
#include "sbs/Conversion.h"
#include "sbs/ReadStyle.h"
#include "settings/StartupState.h"
#include "settings/TargetSettings.h"

#include <cstdint>

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
    enum class Wire { SMBus, I2COnSMB, Framed, Plain, I2C };
    enum class Shape { Byte, Word, Subcommand };
    struct Access {
        Wire wire;
        Shape shape;
        std::int16_t addr;
    };
    [[nodiscard]] Access AccessOf(ReadStyle style) const;

    ErrorCode ReadByte(const Access& access, std::uint8_t cmd, std::uint8_t& byte);
    ErrorCode ReadWord(const Access& access, std::uint8_t cmd, std::uint16_t& word);
    ErrorCode ReadSubcommand(const Access& access, std::uint16_t subcommand, std::uint16_t& word);
    ErrorCode WriteByte(const Access& access, std::uint8_t cmd, std::uint8_t byte);
    ErrorCode WriteWord(const Access& access, std::uint8_t cmd, std::uint16_t word);

    frmUSB& m_usb;
    const StartupState& m_state;
    const TargetSettings& m_target;
};
