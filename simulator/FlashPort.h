#pragma once

#include "platform/Bytes.h"
#include "simulator/GaugeFlash.h"

#include <cstdint>
#include <span>

/// What one command of the gauge moves.
enum class CommandShape : std::uint8_t { None, ReadWord, ReadWriteWord, ReadBlock, ReadWriteBlock };

/// The gauge's commands for its data flash, in every access style; docs/dataflash-transfer.md describes them
/// from the host's side. A block that is written keeps the gauge busy for the time of a row.
class FlashPort {
public:
    static constexpr int kPageBytes = 32;
    static constexpr int kRowBytes = 64;

    /// @param style  1 and 6: rows of 64 bytes; else pages of 32 and what styles 2 to 5 need, for their
    ///               commands do not collide
    FlashPort(GaugeFlash& flash, int style, int rowMs);

    /// None for a place that does not exist, which depends on what was selected.
    [[nodiscard]] CommandShape ShapeOf(std::uint8_t command) const;
    [[nodiscard]] Bytes Read(std::uint8_t command) const; ///< a word low byte first, a block without length
    void WriteWord(std::uint8_t command, std::uint16_t word);
    /// @return false: not so many bytes there
    bool WriteBlock(std::uint8_t command, std::span<const std::uint8_t> block);

    void SetNow(std::int64_t milliseconds) { m_now = milliseconds; }
    [[nodiscard]] bool Busy() const { return m_now < m_busyUntil; } ///< it answers nobody then
    void Reset(); ///< selections are gone

private:
    /// Start and end in the data flash of what a block command moves; empty when there is no such place.
    struct Span {
        std::size_t Start = 0;
        std::size_t Length = 0;
    };
    [[nodiscard]] Span SpanOf(std::uint8_t command) const;
    [[nodiscard]] Span PieceOf(std::uint16_t id, std::size_t offset, std::size_t most) const;

    GaugeFlash& m_flash;
    bool m_rows;
    int m_rowMs;
    std::int64_t m_now = 0;
    std::int64_t m_busyUntil = 0;

    std::uint16_t m_subClass = 0; ///< for pages
    std::uint16_t m_mode = 0; ///< 0: no transfer; else bytes that an offset counts
    std::uint16_t m_modeSubClass = 0;
    std::uint16_t m_modeOffset = 0;
    Bytes m_chunk; ///< address block: unit, id and offset high byte first, length
};
