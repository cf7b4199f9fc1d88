#pragma once

#include "simulator/BusTarget.h"
#include "simulator/GaugeFlash.h"
#include "simulator/GaugeModel.h"

#include <optional>

/// The gauge's boot ROM: answers at an address of its own while no firmware runs, and reads, erases and
/// programs the flash. Programming can only clear bits; erasing a row sets them. docs/simulator.md lists its
/// commands.
class BootRom final : public BusTarget {
public:
    static constexpr std::uint8_t kAddress = 0x18;
    static constexpr std::size_t kRow = 32; ///< bytes programmed, erased or read at once

    enum Command : std::uint8_t {
        kIdentify = 0x00, ///< read: the ROM's version
        kRead = 0x01, ///< address, then a read of any length
        kEraseRow = 0x02, ///< address of any byte of the row
        kProgramRow = 0x03, ///< address, then bytes up to the row's end
        kMassErase = 0x04, ///< with the word kMassEraseKey
        kLeave = 0x08, ///< a word, then a block of four bytes: both must be right
        kSpecification = 0x1A, ///< word: a part without packet error check
    };
    static constexpr std::uint16_t kMassEraseKey = 0x5EEA;
    static constexpr std::uint16_t kLeaveWord = 0x5AA5;
    static constexpr std::uint32_t kExecute = 0x46574558;

    BootRom(GaugeFlash& flash, GaugeModel& gauge) : m_flash(flash), m_gauge(gauge) { }

    void Enter(); ///< the firmware hands over
    /// Firmware that is whole starts; else the ROM stays.
    void PowerUp();
    [[nodiscard]] bool Active() const { return !m_gauge.Running(); }

    bool Start(std::uint8_t addressByte) override;
    bool Write(std::uint8_t byte) override;
    std::uint8_t Read() override;
    void Stop() override;

private:
    void Obey();
    [[nodiscard]] std::uint32_t Address() const; ///< of the bytes behind the command, high byte first
    [[nodiscard]] std::optional<std::uint8_t> At(std::uint32_t address) const;
    void Store(std::uint32_t address, std::span<const std::uint8_t> bytes);

    GaugeFlash& m_flash;
    GaugeModel& m_gauge;
    Bytes m_message; ///< command and what follows it
    std::uint32_t m_read = 0; ///< address of the next byte that goes out
    bool m_reading = false;
    bool m_leaveAsked = false;
};
