#pragma once

#include "comm/ErrorCodes.h"
#include "platform/Bytes.h"
#include "simulator/FaultyBus.h"

#include <array>
#include <cstdint>
#include <span>

/// The host's side of the two-wire bus: SMBus framing with packet error check, and plain I2C. One message a
/// call, but for the one or two reads that settle whether a part checks packets. Addresses are in 8-bit form.
/// Results: 0; 772 not acknowledged; 3 packet error; 5 the answer broke off; 92, 94, 2 as the wire gave them.
class BusHost {
public:
    explicit BusHost(FaultyBus& bus) : m_bus(bus) { }

    ErrorCode ReadWord(std::uint8_t addr, std::uint8_t cmd, std::uint16_t& word);
    ErrorCode ReadBlock(std::uint8_t addr, std::uint8_t cmd, Bytes& block);
    /// @param payload  what follows the command, a block's length byte included
    ErrorCode Write(std::uint8_t addr, std::uint8_t cmd, std::span<const std::uint8_t> payload);

    ErrorCode WriteI2C(std::uint8_t addr, std::uint8_t reg, std::span<const std::uint8_t> payload);
    /// @param written  sent before the turn to reading; nothing: the read starts at once
    ErrorCode ReadI2C(std::uint8_t addr, std::span<const std::uint8_t> written, int count, Bytes& bytes);

    [[nodiscard]] static ErrorCode Code(Wire wire);

private:
    class Transfer;
    enum class PecState : std::uint8_t { Undecided, On, Off };

    ErrorCode Send(std::uint8_t addr, std::uint8_t first, std::span<const std::uint8_t> payload, bool pec);
    ErrorCode DecidePec(std::uint8_t addr, bool& pec);
    ErrorCode ReadWordOnce(std::uint8_t addr, std::uint8_t cmd, bool pec, std::uint16_t& word, bool& checked);

    FaultyBus& m_bus;
    std::array<PecState, 128> m_pec{}; ///< by 7-bit address; decided once, then kept
};
