#pragma once

#include <array>
#include <cstdint>

/// Whether packets of a part carry an error check, settled once per address and then kept. Only evidence that
/// one disturbed transfer cannot fake settles it: an unchecked bus would put a flipped bit on the screen.
///
/// Pure bookkeeping: the owner reads SpecificationInfo with the check byte behind it while a part is
/// Unsettled and says here what came. Addresses are in 8-bit form.
class PecPolicy {
public:
    enum class Use : std::uint8_t { Unsettled, On, Off };

    static constexpr std::uint8_t kSpecificationInfo = 0x1A;
    static constexpr int kTurns = 3; ///< reads that the owner makes at most; the first may only wake a pack

    /// What a line held low or high, or a register that is not there, reads as; no version.
    [[nodiscard]] static bool IsBlank(std::uint16_t specificationInfo)
    {
        return specificationInfo == 0 || specificationInfo == 0xFFFF;
    }
    [[nodiscard]] Use For(std::uint8_t addr) const { return At(addr).State; }
    /// @param checked  the byte behind the word was the check of the packet
    void Answered(std::uint8_t addr, std::uint16_t specificationInfo, bool checked);
    /// SpecificationInfo was refused at every turn, but the part answers other commands: so has no such
    /// register.
    void AnswersOthersOnly(std::uint8_t addr);
    /// Outcome of an operation once this is settled. A long row of failures means that the part was taken
    /// away; the next one at this address is asked anew.
    void Went(std::uint8_t addr, bool well);

private:
    struct Part {
        Use State = Use::Unsettled;
        std::uint16_t Unchecked = 0; ///< the last SpecificationInfo that came without a good check
        std::uint8_t Refusals = 0;
        std::uint8_t Failures = 0;
    };

    [[nodiscard]] const Part& At(std::uint8_t addr) const { return m_parts[addr / 2U]; }
    [[nodiscard]] Part& At(std::uint8_t addr) { return m_parts[addr / 2U]; }

    std::array<Part, 128> m_parts{};
};
