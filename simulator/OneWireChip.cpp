#include "simulator/OneWireChip.h"

namespace {

constexpr std::uint8_t kSkipRom = 0xCC;
constexpr std::uint8_t kReadMemory = 0xF0;
constexpr std::uint8_t kWriteScratchpad = 0x0F;
constexpr std::uint8_t kReadScratchpad = 0xAA;
constexpr std::uint8_t kCopyScratchpad = 0x55;
constexpr std::uint8_t kIdle = 0xFF;
constexpr std::uint8_t kCopied = 0xAA; // alternating bits once the copy is done

} // namespace

bool OneWireChip::Reset()
{
    m_phase = Phase::Rom;
    return true;
}

void OneWireChip::Write(std::uint8_t byte)
{
    switch (m_phase) {
    case Phase::Rom:
        m_phase = byte == kSkipRom ? Phase::Function : Phase::Idle;
        break;
    case Phase::Function:
        m_function = byte;
        m_argumentCount = 0;
        m_position = 0;
        if (byte == kReadScratchpad)
            m_phase = Phase::Data;
        else if (byte == kReadMemory || byte == kWriteScratchpad || byte == kCopyScratchpad)
            m_phase = Phase::Arguments;
        else
            m_phase = Phase::Idle;
        break;
    case Phase::Arguments:
        TakeArgument(byte);
        break;
    case Phase::Data:
        if (m_function == kWriteScratchpad && m_target % kRow + m_scratchCount < kRow)
            m_scratch[m_scratchCount++] = byte;
        break;
    case Phase::Idle:
        break;
    }
}

void OneWireChip::TakeArgument(std::uint8_t byte)
{
    m_arguments[m_argumentCount++] = byte;
    if (m_argumentCount < (m_function == kCopyScratchpad ? 3U : 2U))
        return;
    m_phase = Phase::Data;
    const auto address = static_cast<std::uint16_t>(m_arguments[0] | m_arguments[1] << 8);
    if (m_function == kReadMemory) {
        m_position = address;
    } else if (m_function == kWriteScratchpad) {
        m_target = address;
        m_scratchCount = 0;
    } else {
        Copy();
    }
}

void OneWireChip::Copy()
{
    const bool matches = (m_arguments[0] | m_arguments[1] << 8) == m_target && m_arguments[2] == EndStatus();
    if (!matches || m_scratchCount == 0 || m_target >= m_memory.size()) {
        m_phase = Phase::Idle;
        return;
    }
    for (std::size_t i = 0; i < m_scratchCount; ++i)
        m_memory[m_target + i] = m_scratch[i]; // stays inside: a scratchpad ends with its row
}

std::uint8_t OneWireChip::EndStatus() const
{
    return static_cast<std::uint8_t>((m_target % kRow + m_scratchCount + kRow - 1) % kRow);
}

std::uint8_t OneWireChip::Read()
{
    if (m_phase != Phase::Data)
        return kIdle;
    const std::size_t position = m_position++;
    if (m_function == kReadMemory)
        return position < m_memory.size() ? m_memory[position] : kIdle;
    if (m_function == kCopyScratchpad)
        return kCopied;
    if (m_function != kReadScratchpad)
        return kIdle;
    if (position < 2)
        return static_cast<std::uint8_t>(m_target >> (8 * position));
    if (position == 2)
        return EndStatus();
    return position - 3 < m_scratchCount ? m_scratch[position - 3] : kIdle;
}
