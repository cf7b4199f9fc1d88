#include "simulator/FlashPort.h"

#include <algorithm>

namespace {

constexpr std::uint8_t kFirstRow = 0x58;
constexpr std::uint8_t kMode = 0x60;
constexpr std::uint8_t kModeSubClass = 0x61;
constexpr std::uint8_t kModeOffset = 0x62;
constexpr std::uint8_t kModeData = 0x63;
constexpr std::uint8_t kChunkAddress = 0x64;
constexpr std::uint8_t kChunkData = 0x65;
constexpr std::uint8_t kSelect = 0x77;
constexpr std::uint8_t kFirstPage = 0x78;
constexpr std::uint8_t kLastPage = 0x87;

constexpr std::size_t kPieceBytes = 32;
constexpr std::size_t kAddressBytes = 6;

std::uint16_t Word(std::uint8_t high, std::uint8_t low)
{
    return static_cast<std::uint16_t>(high << 8 | low);
}

} // namespace

FlashPort::FlashPort(GaugeFlash& flash, int style, int rowMs)
    : m_flash(flash), m_rows(style == 1 || style == 6), m_rowMs(rowMs)
{
}

void FlashPort::Reset()
{
    m_subClass = m_mode = m_modeSubClass = m_modeOffset = 0;
    m_chunk.clear();
}

/// From an offset in a subclass to its end, but no more than so many bytes.
FlashPort::Span FlashPort::PieceOf(std::uint16_t id, std::size_t offset, std::size_t most) const
{
    const GaugeFlash::Place* place = m_flash.Find(id);
    if (!place || offset >= place->Length)
        return {};
    return {place->Start + offset, std::min(most, place->Length - offset)};
}

FlashPort::Span FlashPort::SpanOf(std::uint8_t command) const
{
    if (m_rows) {
        constexpr std::size_t kRows = GaugeFlash::kDataSize / kRowBytes;
        if (command < kFirstRow || command >= kFirstRow + kRows)
            return {};
        return {static_cast<std::size_t>(command - kFirstRow) * kRowBytes, kRowBytes};
    }
    if (command == kModeData && m_mode != 0)
        return PieceOf(m_modeSubClass, std::size_t{m_modeOffset} * m_mode, kPieceBytes);
    if (command == kChunkData && m_chunk.size() == kAddressBytes)
        return PieceOf(Word(m_chunk[1], m_chunk[2]), std::size_t{Word(m_chunk[3], m_chunk[4])} * m_chunk[0],
                       std::min<std::size_t>(m_chunk[5], kPieceBytes));
    if (command < kFirstPage || command > kLastPage)
        return {};
    // a page is a row of the flash, also where the subclass ends before it
    const GaugeFlash::Place* place = m_flash.Find(m_subClass);
    const std::size_t offset = static_cast<std::size_t>(command - kFirstPage) * kPageBytes;
    if (!place || offset >= place->Length)
        return {};
    return {place->Start + offset,
            std::min<std::size_t>(kPageBytes, m_flash.Data().size() - place->Start - offset)};
}

CommandShape FlashPort::ShapeOf(std::uint8_t command) const
{
    if (!m_rows && (command == kSelect || (command >= kMode && command <= kModeOffset)))
        return CommandShape::ReadWriteWord;
    if (!m_rows && command == kChunkAddress)
        return CommandShape::ReadWriteBlock;
    return SpanOf(command).Length > 0 ? CommandShape::ReadWriteBlock : CommandShape::None;
}

Bytes FlashPort::Read(std::uint8_t command) const
{
    const auto word = [](std::uint16_t value) {
        return Bytes{static_cast<std::uint8_t>(value & 0xFF), static_cast<std::uint8_t>(value >> 8)};
    };
    if (!m_rows) {
        switch (command) {
        case kSelect:
            return word(m_subClass);
        case kMode:
            return word(m_mode);
        case kModeSubClass:
            return word(m_modeSubClass);
        case kModeOffset:
            return word(m_modeOffset);
        case kChunkAddress:
            return m_chunk;
        default:
            break;
        }
    }
    const Span span = SpanOf(command);
    const auto bytes = m_flash.Data().subspan(span.Start, span.Length);
    return {bytes.begin(), bytes.end()};
}

void FlashPort::WriteWord(std::uint8_t command, std::uint16_t word)
{
    switch (command) {
    case kSelect:
        m_subClass = word;
        break;
    case kMode:
        m_mode = word;
        m_modeSubClass = m_modeOffset = 0;
        break;
    case kModeSubClass:
        m_modeSubClass = word;
        break;
    case kModeOffset:
        m_modeOffset = word;
        break;
    default:
        break;
    }
}

bool FlashPort::WriteBlock(std::uint8_t command, std::span<const std::uint8_t> block)
{
    if (!m_rows && command == kChunkAddress) {
        if (block.size() != kAddressBytes)
            return false;
        m_chunk.assign(block.begin(), block.end());
        return true;
    }
    const Span span = SpanOf(command);
    if (block.empty() || block.size() > span.Length)
        return false;
    m_flash.WriteData(span.Start, block);
    m_busyUntil = m_now + m_rowMs;
    return true;
}
