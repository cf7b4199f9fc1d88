#pragma once

#include "simulator/BusTarget.h"

#include <array>

/// 256 bytes at 0xA0, erased at the start. Always powered: the adapter's power line is also the one-pin
/// charge line. A write takes effect at once and the address runs on past the end to the beginning; no page
/// limits, no write time.
class Eeprom final : public BusTarget {
public:
    static constexpr std::uint8_t kAddress = 0xA0;

    Eeprom() { m_bytes.fill(0xFF); }
    bool Start(std::uint8_t addressByte) override
    {
        m_pointed = (addressByte & 1U) != 0;
        return true;
    }
    bool Write(std::uint8_t byte) override
    {
        if (m_pointed)
            m_bytes[m_pointer++] = byte;
        else
            m_pointer = byte;
        m_pointed = true;
        return true;
    }
    std::uint8_t Read() override { return m_bytes[m_pointer++]; }
    void Stop() override { }

private:
    std::array<std::uint8_t, 256> m_bytes{};
    std::uint8_t m_pointer = 0;
    bool m_pointed = false;
};
