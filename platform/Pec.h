#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace PecTable {
inline constexpr std::array<std::uint8_t, 256> kOf = [] {
    std::array<std::uint8_t, 256> table{};
    for (unsigned i = 0; i < 256; ++i) {
        unsigned crc = i;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 0x80U) != 0 ? (crc << 1U ^ 0x07U) & 0xFFU : crc << 1U;
        table[i] = static_cast<std::uint8_t>(crc);
    }
    return table;
}();
} // namespace PecTable

/// Packet error code of SMBus: CRC-8 with polynomial x^8 + x^2 + x + 1, from 0, over every byte on the wire,
/// addresses with their direction bit included (System Management Bus Specification, "Packet Error
/// Checking"). Over a whole packet with its code it is 0.
/// @param pec  of the bytes before these
[[nodiscard]] constexpr std::uint8_t PecOf(std::span<const std::uint8_t> bytes, std::uint8_t pec = 0)
{
    for (const std::uint8_t byte : bytes)
        pec = PecTable::kOf[pec ^ byte];
    return pec;
}
