#pragma once

#include "platform/Bytes.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <memory>
#include <span>

/// One open bus of the kernel, /dev/i2c-N: raw transfers, each answered by the kernel's errno, 0 for success.
/// Held by this process alone among Tarnlos while it lives (an advisory lock). No Qt events, no waiting for
/// anything but the kernel: its transfers run on the I/O thread. Addresses are in 8-bit form.
class LinuxBus {
public:
    /// @param problem  receives plain words on what failed and what helps
    /// @return nothing when it cannot be had
    [[nodiscard]] static std::shared_ptr<LinuxBus> Open(const QString& node, QString& problem);
    ~LinuxBus();
    LinuxBus(const LinuxBus&) = delete;
    LinuxBus& operator=(const LinuxBus&) = delete;

    [[nodiscard]] const QString& Node() const { return m_node; }
    [[nodiscard]] unsigned long Functions() const { return m_functions; } ///< of I2C_FUNC_...
    [[nodiscard]] bool CanTransfer() const; ///< plain messages with a repeated start between them (I2C_RDWR)
    [[nodiscard]] bool CanSmbus(unsigned long functions) const
    {
        return (m_functions & functions) == functions;
    }
    [[nodiscard]] bool CanPec() const; ///< by ourselves or by the kernel
    /// Still the adapter that was opened, not gone and not another one under its name.
    [[nodiscard]] bool IsThere() const;

    /// Write, then read after a repeated start, in one transfer; either may be empty.
    /// @param read  filled up; what stands in it counts for nothing when the transfer fails
    [[nodiscard]] int Transfer(std::uint8_t addr, std::span<const std::uint8_t> write,
                               std::span<std::uint8_t> read);
    /// An SMBus transaction made by the adapter or the kernel.
    /// @param kind  I2C_SMBUS_BYTE... of linux/i2c.h
    /// @param data  bytes of union i2c_smbus_data: a word's low byte first, or a block behind its length
    [[nodiscard]] int Smbus(std::uint8_t addr, bool read, std::uint8_t cmd, int kind, bool pec,
                            std::span<std::uint8_t> data);

private:
    LinuxBus(QString node, int descriptor, unsigned long functions, std::uint64_t identity);
    [[nodiscard]] int Select(std::uint8_t addr);

    QString m_node;
    int m_descriptor;
    unsigned long m_functions;
    std::uint64_t m_identity;
};

/// What is known about a bus without using it.
struct LinuxBusState {
    bool Free = true; ///< no other Tarnlo holds it
    unsigned long Functions = 0; ///< of I2C_FUNC_...
    QString Problem; ///< why it cannot be opened, and what helps
};
[[nodiscard]] LinuxBusState LookAtLinuxBus(const QString& node);

/// The functions of AdapterFacts that a bus with these kernel functions serves.
[[nodiscard]] QStringList LinuxBusFunctions(unsigned long functions);

/// The kernel driver that holds an address of a bus; empty when none does.
[[nodiscard]] QString LinuxDriverAt(const QString& node, std::uint8_t addr);
