#pragma once

#include "comm/ErrorCodes.h"
#include "comm/adapters/LinuxBus.h"
#include "comm/adapters/PecPolicy.h"
#include "platform/Bytes.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>

/// SMBus and plain I2C operations on an open bus, packet error check included. Runs on the I/O thread.
///
/// SMBus frames are put together here and sent as plain messages wherever the bus takes those, because some
/// kernel drivers report success with wrong data: i2c-tiny-usb fills a block with zeros, hid-cp2112 loses the
/// last byte of a block of 32 and believes any length byte, and no driver without the check says that it left
/// it out. What only speaks SMBus transactions is trusted with them.
/// Addresses are in 8-bit form. Outputs are untouched on failure.
class LinuxSmbus {
public:
    explicit LinuxSmbus(std::shared_ptr<LinuxBus> bus) : m_bus(std::move(bus)) { }

    [[nodiscard]] ErrorCode ReadWord(std::uint8_t addr, std::uint8_t cmd, std::uint16_t& word);
    [[nodiscard]] ErrorCode WriteWord(std::uint8_t addr, std::uint8_t cmd, std::uint16_t word);
    /// Blocks of 1 to 32 bytes; another length byte is WrongNumBytes: an empty block is what a bus held low
    /// looks like, and other kernel drivers refuse it as well.
    [[nodiscard]] ErrorCode ReadBlock(std::uint8_t addr, std::uint8_t cmd, Bytes& block);
    [[nodiscard]] ErrorCode WriteBlock(std::uint8_t addr, std::uint8_t cmd,
                                       std::span<const std::uint8_t> block);
    [[nodiscard]] ErrorCode Command(std::uint8_t addr, std::uint8_t cmd);

    /// Plain I2C, never checked: write, then read count bytes; either may be nothing.
    [[nodiscard]] ErrorCode Exchange(std::uint8_t addr, std::span<const std::uint8_t> write,
                                     std::size_t count, Bytes& read);

    [[nodiscard]] const LinuxBus& Bus() const { return *m_bus; }
    [[nodiscard]] int LastErrno() const { return m_errno; } ///< of the last operation; for explanations
    /// Ideal bus time, at 100 kHz, since it was last taken.
    [[nodiscard]] double TakeBusMicroseconds() { return std::exchange(m_microseconds, 0.0); }

private:
    using Operation = ErrorCode (LinuxSmbus::*)(std::uint8_t addr, std::uint8_t cmd, bool pec, Bytes& data);

    /// Settles the check, then runs the operation with or without it.
    ErrorCode Perform(Operation operation, std::uint8_t addr, std::uint8_t cmd, Bytes& data);
    ErrorCode SettlePec(std::uint8_t addr, bool& refused);
    ErrorCode ReadWordOnce(std::uint8_t addr, std::uint8_t cmd, bool pec, Bytes& word);
    ErrorCode ReadBlockOnce(std::uint8_t addr, std::uint8_t cmd, bool pec, Bytes& block);
    ErrorCode WriteOnce(std::uint8_t addr, std::uint8_t cmd, bool pec, Bytes& payload);

    ErrorCode Read(std::uint8_t addr, std::uint8_t cmd, Bytes& frame);
    ErrorCode Result(int error, std::size_t written, std::size_t read,
                     std::chrono::steady_clock::time_point began);

    std::shared_ptr<LinuxBus> m_bus;
    PecPolicy m_pec;
    int m_errno = 0;
    double m_microseconds = 0;
};
