#include "flashimage/clsSrecFlash.h"

#include <cstring>

namespace {

constexpr char kErased = '\xFF';

} // namespace

void clsSrecFlash::Region::Cover(std::uint32_t address)
{
    if (Empty())
        m_start = address;
    if (address < m_start) {
        m_bytes.insert(0, static_cast<qsizetype>(m_start - address), kErased);
        m_start = address;
    } else if (address >= End()) {
        m_bytes.append(static_cast<qsizetype>(address - End()) + 1, kErased);
    }
}

void clsSrecFlash::Region::Store(std::uint32_t address, std::span<const std::uint8_t> bytes)
{
    if (bytes.empty())
        return;
    // the usual case, a record right behind the last one, without filler that is overwritten at once
    if (!Empty() && address == End()) {
        m_bytes.append(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size()));
        return;
    }
    Cover(address);
    Cover(static_cast<std::uint32_t>(address + (bytes.size() - 1)));
    std::memcpy(m_bytes.data() + (address - m_start), bytes.data(), bytes.size());
}

std::uint64_t clsSrecFlash::Region::FillFor(std::uint32_t address, std::size_t count) const
{
    const std::uint64_t end = std::uint64_t{address} + count;
    if (Empty() || count == 0)
        return 0;
    if (address > End())
        return address - End();
    return end < m_start ? m_start - end : 0;
}

void clsSrecFlash::Region::Clear() { *this = Region(); }

void clsSrecFlash::Clear()
{
    DF.Clear();
    PF.Clear();
    S0Comment.clear();
}

std::array<std::uint8_t, 4> clsSrecFlash::ByteFromDWord(std::uint32_t value)
{
    return {static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
            static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

std::uint32_t clsSrecFlash::DWordFromByte(const std::array<std::uint8_t, 4>& bytes)
{
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8
        | std::uint32_t{bytes[3]};
}
