#include "calibration/Constants.h"

#include "dataflash/ValueEncoding.h"

#include <algorithm>

namespace {

// offsets within the block, high bytes first
constexpr std::size_t kVoltageGainAt = 0;
constexpr std::size_t kCurrentGainAt = 2;
constexpr std::size_t kCurrentOffsetAt = 18;
constexpr std::size_t kBoardOffsetAt = 20;
constexpr std::size_t kTemperatureAt = 21;

} // namespace

std::optional<CalibrationConstants> CalibrationConstants::From(const Bytes& block)
{
    if (block.size() != kBytes)
        return std::nullopt;
    CalibrationConstants constants;
    constants.m_block = block;
    return constants;
}

int CalibrationConstants::VoltageGain() const
{
    return m_block[kVoltageGainAt] << 8 | m_block[kVoltageGainAt + 1];
}

double CalibrationConstants::CurrentGain() const
{
    XemicsBytes bytes{};
    std::copy_n(m_block.begin() + kCurrentGainAt, bytes.size(), bytes.begin());
    return XemicsToIEEE(bytes);
}

int CalibrationConstants::CurrentOffset() const { return Signed(kCurrentOffsetAt, 2); }

int CalibrationConstants::BoardOffset() const { return Signed(kBoardOffsetAt, 1); }

int CalibrationConstants::TemperatureOffset(int sensor) const
{
    return Signed(kTemperatureAt + static_cast<std::size_t>(sensor), 1);
}

void CalibrationConstants::SetVoltageGain(int gain) { Put(kVoltageGainAt, 2, gain); }

void CalibrationConstants::SetCurrentGain(double gain)
{
    const XemicsBytes bytes = IEEEToXemics(gain);
    std::copy(bytes.begin(), bytes.end(), m_block.begin() + kCurrentGainAt);
}

void CalibrationConstants::SetCurrentOffset(int sixteenths) { Put(kCurrentOffsetAt, 2, sixteenths); }

void CalibrationConstants::SetBoardOffset(int counts) { Put(kBoardOffsetAt, 1, counts); }

void CalibrationConstants::SetTemperatureOffset(int sensor, int decikelvin)
{
    Put(kTemperatureAt + static_cast<std::size_t>(sensor), 1, decikelvin);
}

double CalibrationConstants::Millivolts(double counts) const { return counts * VoltageGain() / 16384; }

double CalibrationConstants::Milliamps(double counts) const
{
    return (counts - CurrentOffset() / 16.0 - BoardOffset()) * CurrentGain();
}

double CalibrationConstants::Celsius(double deciKelvin, int sensor) const
{
    return (deciKelvin + TemperatureOffset(sensor)) / 10 - 273.15;
}

int CalibrationConstants::Signed(std::size_t at, int width) const
{
    if (width == 1)
        return static_cast<std::int8_t>(m_block[at]);
    return static_cast<std::int16_t>(m_block[at] << 8 | m_block[at + 1]);
}

void CalibrationConstants::Put(std::size_t at, int width, int value)
{
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
        m_block[at++] = static_cast<std::uint8_t>(value >> shift & 0xFF);
}
