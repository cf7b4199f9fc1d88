#pragma once

#include "simulator/BatteryPack.h"
#include "simulator/BusTarget.h"

#include <array>
#include <cmath>
#include <cstdint>

/// A meter on the simulated bench, at 0x92: what a person would read off good instruments that are connected
/// to the pack. I2C reads of two bytes, low byte first, by register: 0 voltage in mV, 1 current in 0.1 mA,
/// positive into the pack, 2 temperature in 0.1 K. No real bench has it.
class BenchMeter final : public BusTarget {
public:
    static constexpr std::uint8_t kAddress = 0x92;

    explicit BenchMeter(const BatteryPack& pack) : m_pack(pack) { }
    bool Start(std::uint8_t addressByte) override
    {
        if ((addressByte & 1U) == 0)
            m_pointed = false;
        else if (m_pointed)
            Measure();
        return true;
    }
    bool Write(std::uint8_t byte) override
    {
        const bool taken = !m_pointed && byte <= 2;
        m_what = byte;
        m_pointed = taken;
        return taken;
    }
    std::uint8_t Read() override { return m_sent < m_answer.size() ? m_answer[m_sent++] : 0xFF; }
    void Stop() override { m_pointed = false; }

private:
    void Measure()
    {
        double value = (m_pack.Celsius() + 273.15) * 10;
        if (m_what == 0) {
            value = 0;
            for (std::size_t cell = 0; cell < BatteryPack::kCells; ++cell)
                value += m_pack.CellVolts(cell) * 1000;
        } else if (m_what == 1) {
            value = m_pack.Amps() * 10'000;
        }
        const auto word = static_cast<std::uint16_t>(std::lround(value));
        m_answer = {static_cast<std::uint8_t>(word & 0xFFU), static_cast<std::uint8_t>(word >> 8U)};
        m_sent = 0;
    }

    const BatteryPack& m_pack;
    std::array<std::uint8_t, 2> m_answer{};
    std::size_t m_sent = 2;
    std::uint8_t m_what = 0;
    bool m_pointed = false;
};
