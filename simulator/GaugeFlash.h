#pragma once

#include "platform/Bytes.h"

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

/// The simulated gauge's flash: the data flash, laid out in subclasses, and the instruction flash with its
/// firmware. Keeps bytes; how they travel is others'. What it loses with its power is nothing.
class GaugeFlash {
public:
    static constexpr std::uint32_t kDataStart = 0x4000; ///< address of the first data-flash byte
    static constexpr std::size_t kDataSize = 2048;
    static constexpr std::uint32_t kProgramStart = 0x100000;
    static constexpr std::size_t kProgramSize = 0x8000;

    struct Place {
        std::uint16_t Id = 0;
        std::uint16_t Start = 0; ///< of the subclass within the data flash
        std::uint16_t Length = 0;
    };

    GaugeFlash(); ///< as it leaves the factory: simulator/FlashDefaults.h

    /// @return null for a subclass that does not exist
    [[nodiscard]] const Place* Find(std::uint16_t id) const;
    [[nodiscard]] std::span<const Place> Places() const { return m_places; }

    [[nodiscard]] std::span<const std::uint8_t> Data() const { return m_data; }
    [[nodiscard]] std::span<const std::uint8_t> Program() const { return m_program; }
    /// Writes whole or part of a region; what does not fit is not written. Tells OnChange.
    void WriteData(std::size_t start, std::span<const std::uint8_t> bytes);
    void WriteProgram(std::size_t start, std::span<const std::uint8_t> bytes);

    // Big-endian values of a subclass, 0 for a place that does not exist: how the gauge uses its own
    // constants.
    [[nodiscard]] std::int32_t Signed(std::uint16_t id, int offset, int width) const;
    [[nodiscard]] std::uint32_t Unsigned(std::uint16_t id, int offset, int width) const;

    /// A counted string, as SMBus answers it: without its length. Empty where it runs past its subclass.
    [[nodiscard]] Bytes Text(std::uint16_t id, int offset) const;
    [[nodiscard]] Bytes Copy(std::uint16_t id, int offset,
                             int width) const; ///< empty where there is no such place

    /// Both regions, data first, to be kept across runs.
    [[nodiscard]] Bytes Image() const;
    bool TakeImage(std::span<const std::uint8_t> image); ///< @return false for a wrong size
    [[nodiscard]] std::uint64_t Changes() const { return m_changes; } ///< writes so far

    /// The gauge looks at its constants again after a change.
    std::function<void()> OnChange;

private:
    void Write(Bytes& region, std::size_t start, std::span<const std::uint8_t> bytes);
    [[nodiscard]] std::span<const std::uint8_t> Part(std::uint16_t id, int offset, int width) const;

    std::vector<Place> m_places;
    Bytes m_data;
    Bytes m_program;
    std::uint64_t m_changes = 0;
};
