#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

/// A gauge's flash image: two byte regions that grow as addresses are covered, and a comment. Bytes never
/// written are FF, the erased state of flash. Addresses below 0x100000 are data flash, others instruction
/// flash.
class clsSrecFlash {
public:
    static constexpr std::uint32_t kFirstInstructionAddress = 0x100000;

    /// One region: bytes from a start address on. Grows cheaply at both ends; a copy shares its bytes until
    /// one of the two is changed.
    class Region {
    public:
        [[nodiscard]] bool Empty() const { return m_bytes.isEmpty(); }
        [[nodiscard]] std::uint32_t Start() const { return m_start; } ///< 0 while empty
        [[nodiscard]] std::size_t Size() const { return static_cast<std::size_t>(m_bytes.size()); }
        /// Address behind the last byte: 2^32 at most, 0 while empty.
        [[nodiscard]] std::uint64_t End() const { return m_start + std::uint64_t{Size()}; }
        [[nodiscard]] std::span<const std::uint8_t> View() const
        {
            return {reinterpret_cast<const std::uint8_t*>(m_bytes.constData()), Size()};
        }
        /// To be written into; a region shared with a copy is copied first.
        [[nodiscard]] std::span<std::uint8_t> View()
        {
            return {reinterpret_cast<std::uint8_t*>(m_bytes.data()), Size()};
        }
        /// Makes the region reach over the address; new bytes are FF.
        void Cover(std::uint32_t address);
        /// Stores bytes at an address, growing as needed. The last byte's address must not pass FFFFFFFF.
        void Store(std::uint32_t address, std::span<const std::uint8_t> bytes);
        /// How many bytes of filler a store would add that are not its own.
        [[nodiscard]] std::uint64_t FillFor(std::uint32_t address, std::size_t count) const;
        void Clear();

    private:
        QByteArray m_bytes; ///< keeps room at the end that grew last
        std::uint32_t m_start = 0;
    };

    Region DF; ///< data flash
    Region PF; ///< instruction flash
    std::int16_t PFMode = 0; ///< set and read by the flash programming view
    QString S0Comment;

    [[nodiscard]] std::uint32_t DFStart() const { return DF.Start(); }
    [[nodiscard]] std::size_t DFSize() const { return DF.Size(); }
    [[nodiscard]] std::uint32_t PFStart() const { return PF.Start(); }
    [[nodiscard]] std::size_t PFSize() const { return PF.Size(); }

    void Clear();
    void SetDFAddressCapability(std::uint32_t address) { DF.Cover(address); }
    void SetPFAddressCapability(std::uint32_t address) { PF.Cover(address); }
    /// Most significant byte first.
    [[nodiscard]] static std::array<std::uint8_t, 4> ByteFromDWord(std::uint32_t value);
    [[nodiscard]] static std::uint32_t DWordFromByte(const std::array<std::uint8_t, 4>& bytes);
};
