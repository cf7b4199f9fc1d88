#include "sbs/RegisterReader.h"

#include "comm/adapters/OneWireModes.h"

namespace {

constexpr std::uint16_t kOpenControl = 7; ///< asks the gauge to take subcommands
constexpr std::uint16_t kCloseControl = 0;

constexpr std::uint8_t LowByte(std::uint16_t word) { return static_cast<std::uint8_t>(word & 0xFF); }

constexpr std::uint8_t HighByte(std::uint16_t word) { return static_cast<std::uint8_t>(word >> 8); }

constexpr std::uint16_t Join(std::uint8_t low, std::uint8_t high)
{
    return static_cast<std::uint16_t>(high << 8 | low);
}

constexpr std::uint8_t Next(std::uint8_t cmd) { return static_cast<std::uint8_t>(cmd + 1); }

/// Takes the byte out of a 10-bit frame: start bit 0 in bit 0, the byte in bits 8..1, stop bit 1 in bit 9.
ErrorCode Unframe(std::int32_t frame, std::uint8_t& byte)
{
    if ((frame & 0x001) != 0 || (frame & 0x200) == 0)
        return ErrorCode::InvalidData;
    byte = static_cast<std::uint8_t>(frame >> 1 & 0xFF);
    return ErrorCode::Ok;
}

} // namespace

RegisterReader::Access RegisterReader::AccessOf(ReadStyle style) const
{
    Access access{Wire::SMBus, style == ReadStyle::SMBusWord ? Shape::Word : Shape::Subcommand,
                  m_state.TargetAddress};
    if (style >= ReadStyle::I2COnSMBByte) {
        constexpr Wire kWires[] = {Wire::I2COnSMB, Wire::Framed, Wire::Plain, Wire::I2C};
        constexpr Shape kShapes[] = {Shape::Byte, Shape::Word, Shape::Subcommand};
        const int place = static_cast<int>(style) - static_cast<int>(ReadStyle::I2COnSMBByte);
        access.wire = kWires[place / 3];
        access.shape = kShapes[place % 3];
    }
    if (access.shape == Shape::Subcommand && m_target.TgtAddr != 0)
        access.addr = m_target.TgtAddr;
    return access;
}

ErrorCode RegisterReader::Read(ReadStyle style, std::int16_t command, RawValue& raw)
{
    if (style == ReadStyle::None || !IsKnownStyle(style))
        return ErrorCode::IncorrectParam;
    const Access access = AccessOf(style);
    const auto pattern = static_cast<std::uint16_t>(command);
    if (access.shape == Shape::Byte) {
        std::uint8_t byte = 0;
        const ErrorCode err = ReadByte(access, LowByte(pattern), byte);
        if (!Failed(err))
            raw = byte;
        return err;
    }
    std::uint16_t word = 0;
    const ErrorCode err = access.shape == Shape::Word ? ReadWord(access, LowByte(pattern), word)
                                                      : ReadSubcommand(access, pattern, word);
    if (!Failed(err))
        raw = static_cast<std::int16_t>(word);
    return err;
}

ErrorCode RegisterReader::Write(ReadStyle style, std::int16_t command, RawValue raw)
{
    if (style == ReadStyle::None || !IsKnownStyle(style))
        return ErrorCode::IncorrectParam;
    const Access access = AccessOf(style);
    const std::uint8_t cmd = LowByte(static_cast<std::uint16_t>(command));
    if (access.shape == Shape::Byte ? raw < -128 || raw > 255 : raw < -32768 || raw > 65535)
        return ErrorCode::IncorrectParam;

    ErrorCode err = access.shape == Shape::Byte
        ? WriteByte(access, cmd, static_cast<std::uint8_t>(raw & 0xFF))
        : WriteWord(access, cmd, static_cast<std::uint16_t>(raw & 0xFFFF));
    if (!Failed(err))
        m_usb.Delay(m_target.SBSWrDelay, err);
    return err;
}

ErrorCode RegisterReader::ReadSubcommand(const Access& access, std::uint16_t subcommand, std::uint16_t& word)
{
    const std::uint8_t control = LowByte(static_cast<std::uint16_t>(m_target.VxMAC));
    std::uint16_t answer = 0;
    ErrorCode err = WriteWord(access, control, kOpenControl);
    if (!Failed(err))
        err = ReadWord(access, control, answer);
    if (!Failed(err))
        err = WriteWord(access, control, subcommand);
    if (!Failed(err))
        err = ReadWord(access, control, answer);
    if (!Failed(err))
        err = WriteWord(access, control, kCloseControl);
    if (!Failed(err))
        word = answer;
    return err;
}

ErrorCode RegisterReader::ReadByte(const Access& access, std::uint8_t cmd, std::uint8_t& byte)
{
    ErrorCode err = ErrorCode::Ok;
    if (access.wire == Wire::Framed || access.wire == Wire::Plain) {
        const bool framed = access.wire == Wire::Framed;
        std::int32_t value = cmd | (framed ? OneWire::kFramed : 0);
        m_usb.ReadOneWire(framed ? OneWire::kReadFrame : OneWire::kReadPlainByte, value, err);
        if (!Failed(err) && framed)
            return Unframe(value, byte);
        if (!Failed(err))
            byte = static_cast<std::uint8_t>(value & 0xFF);
        return err;
    }
    Bytes data(1);
    std::int16_t length = 1;
    if (access.wire == Wire::I2C)
        m_usb.I2CReadBlock(access.addr, cmd, data, length, err);
    else
        m_usb.ReadI2CBlockOnSMB_(cmd, data, length, access.addr, err);
    if (Failed(err))
        return err;
    if (length < 1 || data.empty())
        return ErrorCode::WrongNumBytes;
    byte = data.front();
    return ErrorCode::Ok;
}

ErrorCode RegisterReader::ReadWord(const Access& access, std::uint8_t cmd, std::uint16_t& word)
{
    ErrorCode err = ErrorCode::Ok;
    std::uint8_t low = 0;
    std::uint8_t high = 0;
    switch (access.wire) {
    case Wire::SMBus: {
        std::int16_t value = 0;
        m_usb.ReadSMBusWord_(cmd, value, access.addr, err);
        if (!Failed(err))
            word = static_cast<std::uint16_t>(value);
        return err;
    }
    case Wire::Framed:
    case Wire::Plain: {
        const bool framed = access.wire == Wire::Framed;
        std::int32_t value = cmd | (framed ? OneWire::kFramed : 0);
        m_usb.ReadOneWire(OneWire::kReadTwoBytes, value, err);
        if (!Failed(err) && !framed)
            word = static_cast<std::uint16_t>(value & 0xFFFF);
        if (Failed(err) || !framed)
            return err;
        err = Unframe(value, low);
        if (!Failed(err))
            err = Unframe(value >> 10, high);
        break;
    }
    case Wire::I2COnSMB:
    case Wire::I2C:
        err = ReadByte(access, cmd, low);
        if (!Failed(err))
            err = ReadByte(access, Next(cmd), high);
        break;
    }
    if (!Failed(err))
        word = Join(low, high);
    return err;
}

ErrorCode RegisterReader::WriteByte(const Access& access, std::uint8_t cmd, std::uint8_t byte)
{
    ErrorCode err = ErrorCode::Ok;
    if (access.wire == Wire::I2C)
        m_usb.I2CWriteBlock(access.addr, cmd, {byte}, 1, err);
    else if (access.wire == Wire::I2COnSMB)
        m_usb.WriteI2CBlockOnSMB(cmd, {byte}, 1, access.addr, err);
    else
        m_usb.WriteOneWire(OneWire::kWriteRegister,
                           (access.wire == Wire::Framed ? OneWire::kFramed : 0) | cmd << 8 | byte, err);
    return err;
}

ErrorCode RegisterReader::WriteWord(const Access& access, std::uint8_t cmd, std::uint16_t word)
{
    ErrorCode err = ErrorCode::Ok;
    switch (access.wire) {
    case Wire::SMBus:
        m_usb.WriteSMBusWord_(cmd, static_cast<std::int16_t>(word), access.addr, err);
        break;
    case Wire::I2COnSMB:
        m_usb.WriteI2CBlockOnSMB(cmd, {LowByte(word), HighByte(word)}, 2, access.addr, err);
        break;
    case Wire::I2C:
        m_usb.I2CWriteBlock(access.addr, cmd, {LowByte(word), HighByte(word)}, 2, err);
        break;
    case Wire::Framed:
    case Wire::Plain:
        err = WriteByte(access, cmd, LowByte(word));
        if (!Failed(err))
            err = WriteByte(access, Next(cmd), HighByte(word));
        break;
    }
    return err;
}
