#include "simulator/SimulatedBus.h"

namespace {

// Nominal times of the single wire: slots and reset of the memory at standard speed, bits of the gauge's
// registers.
constexpr double kSlotMicroseconds = 70;
constexpr double kResetMicroseconds = 960;
constexpr double kRegisterBitMicroseconds = 190;
constexpr double kRegisterGapMicroseconds = 400; // break before the command, pause before the answer

} // namespace

SimulatedBus::SimulatedBus(int hertz, OneWireChip& chip, GaugeRegisterFile& registers)
    : m_hertz(hertz), m_times(TimesAt(hertz)), m_chip(chip), m_registers(registers)
{
}

SimulatedBus::Times SimulatedBus::TimesAt(int hertz)
{
    if (hertz <= 100'000)
        return {4.0, 4.7, 4.0, 4.7};
    if (hertz <= 400'000)
        return {0.6, 0.6, 0.6, 1.3};
    return {0.26, 0.26, 0.26, 0.5};
}

Wire SimulatedBus::Start(std::uint8_t addressByte)
{
    m_microseconds += m_times.Hold + (m_busy ? m_times.SetUp : 0);
    CountByte();
    m_busy = true;
    if (m_muted)
        return Wire::Ok;
    BusTarget* addressed = nullptr;
    for (const auto& [address, target] : m_targets)
        if (address == (addressByte & 0xFEU))
            addressed = target;
    if (m_target && m_target != addressed)
        m_target->Stop(); // its transfer is over when another part is called
    m_target = addressed;
    m_reading = (addressByte & 1U) != 0;
    return m_target && m_target->Start(addressByte) ? Wire::Ok : Wire::Nack;
}

Wire SimulatedBus::Write(std::uint8_t byte)
{
    CountByte();
    if (m_muted)
        return Wire::Ok;
    if (!m_target)
        return Wire::Nack;
    if (m_reading)
        return Wire::ArbitrationLost; // the target drives the line against the host
    return m_target->Write(byte) ? Wire::Ok : Wire::Nack;
}

Wire SimulatedBus::Read(std::uint8_t& byte)
{
    CountByte();
    byte = 0xFF;
    if (m_target && m_reading)
        byte = m_target->Read();
    else if (m_target)
        m_target->Write(byte); // both listen: the idle line is taken for data
    return Wire::Ok;
}

void SimulatedBus::Stop()
{
    m_microseconds += m_times.Stop + m_times.Free;
    if (m_target)
        m_target->Stop();
    m_target = nullptr;
    m_busy = m_muted = false;
}

bool SimulatedBus::OneWireReset()
{
    m_microseconds += kResetMicroseconds;
    return m_chip.Reset();
}

void SimulatedBus::OneWireWrite(std::uint8_t byte)
{
    m_microseconds += 8 * kSlotMicroseconds;
    m_chip.Write(byte);
}

std::uint8_t SimulatedBus::OneWireRead()
{
    m_microseconds += 8 * kSlotMicroseconds;
    return m_chip.Read();
}

std::uint8_t SimulatedBus::SingleWireRead(std::uint8_t index)
{
    m_microseconds += 16 * kRegisterBitMicroseconds + kRegisterGapMicroseconds;
    return m_registers.Register(index);
}

void SimulatedBus::SingleWireWrite(std::uint8_t index, std::uint8_t byte)
{
    m_microseconds += 16 * kRegisterBitMicroseconds + kRegisterGapMicroseconds;
    m_registers.SetRegister(index, byte);
}
