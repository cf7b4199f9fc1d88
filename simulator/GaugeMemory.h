#pragma once

#include "simulator/BusTarget.h"
#include "simulator/GaugeModel.h"
#include "simulator/GaugeTarget.h"

#include <array>
#include <cstdint>
#include <optional>

/// The gauge's memory, for people who look inside it: three commands beside those of the battery standard.
/// Stands before the gauge at its bus address, answers these three itself and passes everything else on.
///
/// 0x48 read: 1 open, 0 sealed; write: 0x0001 seals, 0x4F50 and then 0x454E opens, 0x5253 resets the gauge.
/// 0x49 write: the address of the next access. 0x4A read block: up to 32 bytes from there on, as far as the
/// memory reaches; write block: the same way back. A place that is not there, one that cannot be written, and
/// a sealed memory are not acknowledged.
class GaugeMemory final : public BusTarget {
public:
    static constexpr std::uint8_t kAccess = 0x48;
    static constexpr std::uint8_t kAddress = 0x49;
    static constexpr std::uint8_t kData = 0x4A;
    static constexpr std::uint16_t kRegisterBytes = 0x80; ///< from 0: words of the commands, low byte first
    static constexpr std::uint16_t kRamStart = 0x0200;
    static constexpr std::size_t kRamSize = 512; ///< nothing uses it; zero after a loss of power

    GaugeMemory(GaugeTarget& inner, GaugeModel& gauge) : m_inner(inner), m_gauge(gauge) { }
    bool Start(std::uint8_t addressByte) override;
    bool Write(std::uint8_t byte) override;
    std::uint8_t Read() override;
    void Stop() override;

    void Reset(); ///< as after a loss of power: open, RAM zero

private:
    [[nodiscard]] bool Take(std::uint8_t byte);
    [[nodiscard]] bool Refuse(GaugeError error);
    [[nodiscard]] std::optional<std::uint8_t> Peek(unsigned address) const;
    [[nodiscard]] Bytes Answer() const;
    [[nodiscard]] std::size_t WholeSize() const; ///< of the payload, as far as it is known
    void Obey(std::uint16_t word);
    void See(std::uint8_t byte); ///< into the packet error check

    GaugeTarget& m_inner;
    GaugeModel& m_gauge;
    std::array<std::uint8_t, kRamSize> m_ram{};
    std::uint16_t m_pointer = 0;
    std::uint16_t m_lastWord = 0; ///< of the access command: opening takes two in turn
    bool m_sealed = false;

    std::optional<std::uint8_t> m_command; ///< one of ours; nothing: the inner part has the transfer
    bool m_first = false; ///< the next byte written is the command
    bool m_refused = false;
    bool m_checked = false; ///< the packet error check came behind the payload
    Bytes m_payload;
    Bytes m_answer;
    std::size_t m_answered = 0;
    std::uint8_t m_check = 0;
};
