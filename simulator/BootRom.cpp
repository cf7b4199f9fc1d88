#include "simulator/BootRom.h"

#include "simulator/Firmware.h"

#include <algorithm>

namespace {

constexpr std::uint8_t kVersion = 0x10;
constexpr std::uint16_t kSpecificationWord = 0x0021;
constexpr std::size_t kHead = 5; // command and address

bool Within(std::uint32_t address, std::uint32_t start, std::size_t size)
{
    return address >= start && address - start < size;
}

} // namespace

void BootRom::Enter()
{
    m_gauge.SetRunning(false);
    m_leaveAsked = false;
}

void BootRom::PowerUp()
{
    m_leaveAsked = false;
    m_message.clear();
    m_gauge.Reset();
    m_gauge.SetRunning(Firmware::IsWhole(m_flash.Program()));
}

bool BootRom::Start(std::uint8_t addressByte)
{
    if (!Active())
        return false;
    m_reading = (addressByte & 1U) != 0;
    if (!m_reading)
        m_message.clear();
    m_read = m_message.size() >= kHead ? Address() : 0;
    return true;
}

bool BootRom::Write(std::uint8_t byte)
{
    if (m_message.size() >= kHead + kRow)
        return false;
    m_message.push_back(byte);
    return true;
}

std::uint8_t BootRom::Read()
{
    const std::uint8_t command = m_message.empty() ? std::uint8_t{kIdentify} : m_message.front();
    const std::uint32_t at = m_read++;
    if (command == kRead)
        return At(at).value_or(0xFF);
    if (command == kSpecification)
        return at < 2 ? static_cast<std::uint8_t>(kSpecificationWord >> 8 * at) : std::uint8_t{0xFF};
    return command == kIdentify ? kVersion : 0xFF;
}

void BootRom::Stop()
{
    if (!m_reading && !m_message.empty())
        Obey();
    m_reading = false;
    m_message.clear();
}

std::uint32_t BootRom::Address() const
{
    std::uint32_t address = 0;
    for (std::size_t i = 1; i < kHead; ++i)
        address = address << 8U | m_message[i];
    return address;
}

void BootRom::Obey()
{
    const Bytes message = m_message;
    const auto number = [&message](std::size_t from, std::size_t count) { // low byte first
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < count; ++i)
            value |= static_cast<std::uint32_t>(message[from + i]) << 8 * i;
        return value;
    };
    switch (message.front()) {
    case kEraseRow:
        if (message.size() == kHead)
            Store(Address() & ~static_cast<std::uint32_t>(kRow - 1), Bytes(kRow, 0xFF));
        break;
    case kProgramRow:
        if (message.size() > kHead && Address() % kRow + message.size() - kHead <= kRow) {
            Bytes bytes(message.begin() + kHead, message.end());
            for (std::size_t i = 0; i < bytes.size(); ++i)
                bytes[i] &= At(Address() + static_cast<std::uint32_t>(i)).value_or(0xFF);
            Store(Address(), bytes);
        }
        break;
    case kMassErase:
        if (message.size() == 3 && number(1, 2) == kMassEraseKey) {
            Store(GaugeFlash::kDataStart, Bytes(GaugeFlash::kDataSize, 0xFF));
            Store(GaugeFlash::kProgramStart, Bytes(GaugeFlash::kProgramSize, 0xFF));
        }
        break;
    case kLeave:
        if (message.size() == 3)
            m_leaveAsked = number(1, 2) == kLeaveWord;
        else if (message.size() == 6 && message[1] == 4 && m_leaveAsked && number(2, 4) == kExecute)
            PowerUp();
        break;
    default:
        break;
    }
}

std::optional<std::uint8_t> BootRom::At(std::uint32_t address) const
{
    if (Within(address, GaugeFlash::kDataStart, GaugeFlash::kDataSize))
        return m_flash.Data()[address - GaugeFlash::kDataStart];
    if (Within(address, GaugeFlash::kProgramStart, GaugeFlash::kProgramSize))
        return m_flash.Program()[address - GaugeFlash::kProgramStart];
    return std::nullopt;
}

void BootRom::Store(std::uint32_t address, std::span<const std::uint8_t> bytes)
{
    if (Within(address, GaugeFlash::kDataStart, GaugeFlash::kDataSize))
        m_flash.WriteData(address - GaugeFlash::kDataStart, bytes);
    else if (Within(address, GaugeFlash::kProgramStart, GaugeFlash::kProgramSize))
        m_flash.WriteProgram(address - GaugeFlash::kProgramStart, bytes);
}
