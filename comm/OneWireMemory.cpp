#include "comm/OneWireMemory.h"

#include "comm/adapters/OneWireModes.h"

#include <array>

namespace {

constexpr std::uint8_t kSkipRom = 0xCC; // one device on the wire
constexpr std::uint8_t kReadMemory = 0xF0;
constexpr std::uint8_t kWriteScratchpad = 0x0F;
constexpr int kHighestByte = 255;

ErrorCode Reset(frmUSB& usb)
{
    ErrorCode err = ErrorCode::Ok;
    std::int32_t present = 0;
    usb.ReadOneWire(OneWire::kReset, present, err);
    return !Failed(err) && present == 0 ? ErrorCode::NoAcknowledge : err;
}

/// Sends bytes in order and nothing after the first that fails.
ErrorCode Send(frmUSB& usb, std::span<const std::uint8_t> bytes)
{
    ErrorCode err = ErrorCode::Ok;
    for (std::uint8_t byte : bytes) {
        usb.WriteOneWire(OneWire::kWriteEightBits, byte, err);
        if (Failed(err))
            break;
    }
    return err;
}

/// Reset, command and address: what memory reads and writes begin with.
ErrorCode Begin(frmUSB& usb, std::uint8_t command, std::int16_t address)
{
    ErrorCode err = Reset(usb);
    if (!Failed(err))
        err = Send(usb, std::array{kSkipRom, command});
    if (Failed(err))
        return err;
    if (address < 0 || address > kHighestByte)
        return ErrorCode::IncorrectParam;
    // The high address byte is always 0: the devices meant here hold no more than 256 bytes.
    return Send(usb, std::array{static_cast<std::uint8_t>(address), std::uint8_t{0}});
}

std::array<std::uint8_t, 2> Split(std::int16_t word)
{
    const auto pattern = static_cast<std::uint16_t>(word);
    return {static_cast<std::uint8_t>(pattern & 0xFF), static_cast<std::uint8_t>(pattern >> 8)};
}

} // namespace

ErrorCode OneWireReadMemory(frmUSB& usb, std::int16_t address, Bytes& data, int count)
{
    data.clear();
    ErrorCode err = Begin(usb, kReadMemory, address);
    for (int i = 0; i < count && !Failed(err); ++i) {
        std::int32_t value = 0;
        usb.ReadOneWire(OneWire::kReadEightBits, value, err);
        if (!Failed(err))
            data.push_back(static_cast<std::uint8_t>(value & 0xFF));
    }
    return err;
}

ErrorCode OneWireWriteMemory(frmUSB& usb, std::int16_t address, std::span<const std::uint8_t> data)
{
    const ErrorCode err = Begin(usb, kWriteScratchpad, address);
    return Failed(err) ? err : Send(usb, data);
}

ErrorCode OneWireReadByteAt(frmUSB& usb, std::int16_t address, std::uint8_t& byte)
{
    Bytes data;
    const ErrorCode err = OneWireReadMemory(usb, address, data, 1);
    if (!Failed(err))
        byte = data[0];
    return err;
}

ErrorCode OneWireReadWordAt(frmUSB& usb, std::int16_t address, std::int16_t& word)
{
    Bytes data;
    const ErrorCode err = OneWireReadMemory(usb, address, data, 2);
    if (!Failed(err))
        word = static_cast<std::int16_t>(data[0] + data[1] * 256);
    return err;
}

ErrorCode OneWireWriteByteAt(frmUSB& usb, std::int16_t address, std::uint8_t byte)
{
    return OneWireWriteMemory(usb, address, std::array{byte});
}

ErrorCode OneWireWriteWordAt(frmUSB& usb, std::int16_t address, std::int16_t word)
{
    return OneWireWriteMemory(usb, address, Split(word));
}

ErrorCode OneWireReadRegs(frmUSB& usb, std::uint8_t start, Bytes& data, int count)
{
    data.clear();
    ErrorCode err = ErrorCode::Ok;
    for (int i = 0; i < count && !Failed(err); ++i) {
        if (start + i > kHighestByte)
            return ErrorCode::IncorrectParam;
        std::int32_t value = start + i;
        usb.ReadOneWire(OneWire::kReadPlainByte, value, err);
        if (!Failed(err))
            data.push_back(static_cast<std::uint8_t>(value & 0xFF));
    }
    return err;
}

ErrorCode OneWireWriteRegs(frmUSB& usb, std::uint8_t start, std::span<const std::uint8_t> data)
{
    ErrorCode err = ErrorCode::Ok;
    std::int32_t reg = start;
    for (std::uint8_t byte : data) {
        if (reg > kHighestByte)
            return ErrorCode::IncorrectParam;
        usb.WriteOneWire(OneWire::kWriteRegister, reg * 256 + byte, err);
        if (Failed(err))
            break;
        ++reg;
    }
    return err;
}

ErrorCode OneWireWriteRegWord(frmUSB& usb, std::uint8_t reg, std::int16_t word)
{
    return OneWireWriteRegs(usb, reg, Split(word));
}
