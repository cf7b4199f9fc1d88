#include "simulator/GaugeFlash.h"

#include "simulator/Firmware.h"
#include "simulator/FlashDefaults.h"

#include <QString>

#include <algorithm>

GaugeFlash::GaugeFlash() : m_data(kDataSize, 0xFF), m_program(Firmware::Factory())
{
    for (const FactorySubClass& factory : FactoryDataFlash()) {
        m_places.push_back({factory.Id, factory.Start, factory.Length});
        const Bytes bytes
            = ParseHex(QString::fromLatin1(factory.Hex.data(), static_cast<qsizetype>(factory.Hex.size())))
                  .value_or(Bytes());
        std::ranges::copy(bytes, m_data.begin() + factory.Start);
    }
}

const GaugeFlash::Place* GaugeFlash::Find(std::uint16_t id) const
{
    const auto found = std::ranges::find(m_places, id, &Place::Id);
    return found == m_places.end() ? nullptr : &*found;
}

void GaugeFlash::Write(Bytes& region, std::size_t start, std::span<const std::uint8_t> bytes)
{
    if (start >= region.size())
        return;
    std::copy_n(bytes.begin(), std::min(bytes.size(), region.size() - start),
                region.begin() + static_cast<std::ptrdiff_t>(start));
    ++m_changes;
    if (OnChange)
        OnChange();
}

void GaugeFlash::WriteData(std::size_t start, std::span<const std::uint8_t> bytes)
{
    Write(m_data, start, bytes);
}

void GaugeFlash::WriteProgram(std::size_t start, std::span<const std::uint8_t> bytes)
{
    Write(m_program, start, bytes);
}

std::span<const std::uint8_t> GaugeFlash::Part(std::uint16_t id, int offset, int width) const
{
    const Place* place = Find(id);
    if (!place || offset < 0 || width < 0 || offset + width > place->Length)
        return {};
    return Data().subspan(static_cast<std::size_t>(place->Start) + static_cast<std::size_t>(offset),
                          static_cast<std::size_t>(width));
}

std::uint32_t GaugeFlash::Unsigned(std::uint16_t id, int offset, int width) const
{
    std::uint32_t value = 0;
    for (const std::uint8_t byte : Part(id, offset, width))
        value = value << 8U | byte;
    return value;
}

std::int32_t GaugeFlash::Signed(std::uint16_t id, int offset, int width) const
{
    const std::uint32_t value = Unsigned(id, offset, width);
    const std::uint32_t sign = 1U << (8 * width - 1);
    return static_cast<std::int32_t>((value ^ sign) - sign);
}

Bytes GaugeFlash::Text(std::uint16_t id, int offset) const
{
    return Copy(id, offset + 1, static_cast<int>(Unsigned(id, offset, 1)));
}

Bytes GaugeFlash::Copy(std::uint16_t id, int offset, int width) const
{
    const auto part = Part(id, offset, width);
    return {part.begin(), part.end()};
}

Bytes GaugeFlash::Image() const
{
    Bytes image = m_data;
    image.insert(image.end(), m_program.begin(), m_program.end());
    return image;
}

bool GaugeFlash::TakeImage(std::span<const std::uint8_t> image)
{
    if (image.size() != kDataSize + kProgramSize)
        return false;
    m_data.assign(image.begin(), image.begin() + kDataSize);
    m_program.assign(image.begin() + kDataSize, image.end());
    if (OnChange)
        OnChange();
    return true;
}
