#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// A one-wire memory of 256 bytes with a scratchpad of 32, erased at the start.
///
/// After the reset: skip ROM (CC), then read memory (F0, address low, high, then bytes come), write
/// scratchpad (0F, address, bytes up to the end of the 32-byte row), read scratchpad (AA: address, last row
/// offset, bytes) or copy scratchpad (55 with the three bytes that AA gave). Anything else leaves the line
/// idle until the next reset.
class OneWireChip {
public:
    OneWireChip() { m_memory.fill(0xFF); }
    bool Reset(); ///< @return present
    void Write(std::uint8_t byte);
    std::uint8_t Read();

private:
    static constexpr std::size_t kRow = 32;
    enum class Phase : std::uint8_t { Rom, Function, Arguments, Data, Idle };

    void TakeArgument(std::uint8_t byte);
    void Copy();
    [[nodiscard]] std::uint8_t EndStatus() const; ///< last offset written

    std::array<std::uint8_t, 256> m_memory{};
    std::array<std::uint8_t, kRow> m_scratch{};
    std::array<std::uint8_t, 3> m_arguments{};
    std::size_t m_argumentCount = 0;
    Phase m_phase = Phase::Idle;
    std::uint8_t m_function = 0;
    std::uint16_t m_target = 0; ///< address of the scratchpad's first byte
    std::size_t m_scratchCount = 0;
    std::size_t m_position = 0;
};
