#include "simulator/GaugeRegisterFile.h"

bool GaugeRegisterFile::Start(std::uint8_t addressByte)
{
    m_pointed = (addressByte & 1U) != 0;
    return m_gauge.Running() && !m_gauge.Busy();
}

bool GaugeRegisterFile::Write(std::uint8_t byte)
{
    if (m_pointed)
        return SetRegister(m_pointer++ % kRegisters, byte);
    m_pointer = byte;
    m_pointed = byte < kRegisters;
    return m_pointed;
}

std::uint8_t GaugeRegisterFile::Read() { return Register(m_pointer++ % kRegisters); }

std::uint8_t GaugeRegisterFile::Register(std::uint8_t index)
{
    if (!m_gauge.Running())
        return 0xFF;
    const std::uint8_t low = index & 0xFEU;
    if (index != low && m_heldHigh && m_lowIndex == low) {
        const std::uint8_t high = *m_heldHigh;
        m_heldHigh.reset();
        return high;
    }
    const std::uint16_t word = m_gauge.Word(index / 2);
    const auto high = static_cast<std::uint8_t>(word >> 8U);
    if (index != low)
        return high;
    m_lowIndex = low;
    m_heldHigh = high;
    return static_cast<std::uint8_t>(word & 0xFFU);
}

bool GaugeRegisterFile::SetRegister(std::uint8_t index, std::uint8_t byte)
{
    const std::uint8_t command = index / 2;
    if (!m_gauge.Running())
        return false;
    if (m_gauge.ShapeOf(command) != CommandShape::ReadWriteWord) {
        m_gauge.SetError(GaugeError::AccessDenied);
        return false;
    }
    m_heldHigh.reset();
    if (index % 2 == 0)
        m_writtenLow = byte;
    if (index == 0)
        m_gauge.WriteWord(command, byte);
    else if (index % 2 == 1)
        m_gauge.WriteWord(command, static_cast<std::uint16_t>(byte << 8 | m_writtenLow));
    m_gauge.SetError(GaugeError::Ok);
    return true;
}
