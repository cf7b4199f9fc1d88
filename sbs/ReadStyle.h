#pragma once

#include <cstdint>

/// How a register row is read: the bus and the shape of the read. ReadStyle of the register table.
enum class ReadStyle : std::int16_t {
    None = 0, ///< a scan pass reads nothing
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

[[nodiscard]] constexpr bool IsKnownStyle(ReadStyle style)
{
    return style >= ReadStyle::None && style <= ReadStyle::I2CSubcommand;
}
