#pragma once

#include "simulator/BusTarget.h"
#include "simulator/GaugeModel.h"

#include <optional>

/// The same gauge as 128 byte registers, for hosts that speak plain I2C (address 0xAA) or the single wire.
///
/// Registers 2n and 2n + 1 are the low and high byte of command n's word. Reading a low byte holds its high
/// byte for the next read, so that a word read in two turns is whole. Writing a low byte waits for the high
/// one, but for the control register (0 and 1): there one byte alone is a subcommand below 256.
class GaugeRegisterFile final : public BusTarget {
public:
    static constexpr std::uint8_t kAddress = 0xAA;
    static constexpr std::uint8_t kRegisters = 128;

    explicit GaugeRegisterFile(GaugeModel& gauge) : m_gauge(gauge) { }
    bool Start(std::uint8_t addressByte) override;
    bool Write(std::uint8_t byte) override;
    std::uint8_t Read() override;
    void Stop() override { }

    [[nodiscard]] std::uint8_t Register(std::uint8_t index);
    bool SetRegister(std::uint8_t index, std::uint8_t byte); ///< @return false: only reads

private:
    GaugeModel& m_gauge;
    std::uint8_t m_pointer = 0;
    bool m_pointed = false;
    std::uint8_t m_lowIndex = 0;
    std::optional<std::uint8_t> m_heldHigh; ///< of the word at m_lowIndex
    std::uint8_t m_writtenLow = 0;
};
