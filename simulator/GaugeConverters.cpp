#include "simulator/GaugeConverters.h"

#include "simulator/FlashDefaults.h"
#include "simulator/Random.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <string_view>

namespace {

constexpr std::uint8_t kSignatureCommand = 0x53;
constexpr std::uint8_t kModeCommand = 0x54;
constexpr std::uint8_t kSampleCommand = 0x55;
constexpr std::uint8_t kConstantsCommand = 0x56;
constexpr std::uint8_t kStoreCommand = 0x57;
constexpr std::uint16_t kModeOn = 6;
constexpr std::uint16_t kStoreWord = 0x4341;
constexpr std::uint16_t kSignature = 0x5752;
constexpr std::int64_t kSampleMs = 250; // between two readings of the converters

constexpr double kMostVoltageError = 0.01;
constexpr double kMostCurrentError = 0.02;
constexpr double kMostConverterOffset = 30; // counts
constexpr double kMostBoardOffset = 15;
constexpr double kMostTemperatureError = 25; // 0.1 K

unsigned Word(std::span<const std::uint8_t> bytes, std::size_t at)
{
    return bytes[at] * 256U + bytes[at + 1];
}

int SignedWord(std::span<const std::uint8_t> bytes, std::size_t at)
{
    return static_cast<std::int16_t>(Word(bytes, at));
}

/// The gauge's own way with its float: exponent, sign, 23 bits below an implicit half.
double Float(std::span<const std::uint8_t> bytes, std::size_t at)
{
    const unsigned mantissa = (bytes[at + 1] & 0x7FU) << 16U | Word(bytes, at + 2);
    return std::ldexp(0.5 + mantissa * 0x1p-24, bytes[at] - 128);
}

Bytes FactoryBytes(std::uint16_t id)
{
    Bytes bytes;
    const auto all = FactoryDataFlash();
    const auto found = std::find_if(all.begin(), all.end(), [id](const auto& one) { return one.Id == id; });
    const auto digit = [](char c) { return static_cast<unsigned>(c <= '9' ? c - '0' : c - 'A' + 10); };
    if (found != all.end())
        for (std::size_t i = 0; i + 1 < found->Hex.size(); i += 2)
            bytes.push_back(static_cast<std::uint8_t>(digit(found->Hex[i]) << 4U | digit(found->Hex[i + 1])));
    return bytes;
}

void Put(Bytes& bytes, std::int64_t value, int width)
{
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
        bytes.push_back(static_cast<std::uint8_t>(value >> shift & 0xFF));
}

} // namespace

GaugeConverters::GaugeConverters(GaugeFlash& flash, std::uint64_t seed, bool uncalibrated, int rowMs)
    : m_flash(flash), m_rowMs(rowMs), m_seed(Random::Mix(seed + 0xCA1)),
      m_nominal(Read(FactoryBytes(kGains), FactoryBytes(kOffsets)))
{
    if (uncalibrated) {
        Random random(m_seed);
        m_voltageError = kMostVoltageError * random.Spread();
        m_currentError = kMostCurrentError * random.Spread();
        m_converterOffset = kMostConverterOffset * random.Spread();
        m_boardOffset = kMostBoardOffset * random.Spread();
        for (double& error : m_temperatureError)
            error = kMostTemperatureError * random.Spread();
    }
    TakeConstants();
}

GaugeConverters::Constants GaugeConverters::Read(std::span<const std::uint8_t> gains,
                                                 std::span<const std::uint8_t> offsets)
{
    const auto signedByte = [&offsets](std::size_t at) { return (offsets[at] ^ 0x80) - 0x80; };
    Constants constants;
    constants.Voltage = Word(gains, 0) / 16384.0;
    constants.Current = Float(gains, 2);
    for (std::size_t cell = 0; cell < constants.Cell.size(); ++cell)
        constants.Cell[cell] = SignedWord(gains, 10 + 2 * cell) / 20000.0;
    constants.Offset = SignedWord(offsets, 0) / 16.0 + signedByte(2);
    constants.InternalDeci = signedByte(3);
    constants.External1Deci = signedByte(4);
    constants.External2Deci = signedByte(5);
    return constants;
}

void GaugeConverters::TakeConstants()
{
    const Bytes gains = m_flash.Copy(kGains, 0, kGainBytes);
    const Bytes offsets = m_flash.Copy(kOffsets, 0, kOffsetBytes);
    m_stored = Read(gains, offsets);
}

void GaugeConverters::Reset() { m_mode = m_storeAsked = false; }

GaugeConverters::Values GaugeConverters::Convert(const Values& there) const
{
    const Constants& constants = InForce();
    Values shown;
    // quotients of constants come first: with nominal ones they are exactly 1 and nothing is lost
    const double voltage = constants.Voltage / m_nominal.Voltage / (1 + m_voltageError);
    for (std::size_t cell = 0; cell < shown.CellMv.size(); ++cell)
        shown.CellMv[cell] = there.CellMv[cell] * (voltage * constants.Cell[cell] / m_nominal.Cell[cell]);
    const double offset = m_converterOffset + m_boardOffset - constants.Offset;
    shown.Milliamps = there.Milliamps * (constants.Current / m_nominal.Current / (1 + m_currentError))
        + offset * constants.Current;
    shown.DeciKelvin = there.DeciKelvin + m_temperatureError[1] + constants.External1Deci;
    return shown;
}

/// Counter, counts of the stack voltage, of the current and of the converter with its input shorted, both in
/// sixteenths, and the three temperatures in 0.1 K before their offsets. High bytes first.
Bytes GaugeConverters::Sample() const
{
    const std::int64_t number = m_now / kSampleMs;
    Random noise(Random::Mix(m_seed ^ static_cast<std::uint64_t>(number)));
    const double stack = std::accumulate(m_there.CellMv.begin(), m_there.CellMv.end(), 0.0);
    const double counts = m_there.Milliamps / m_nominal.Current / (1 + m_currentError) + m_converterOffset
        + m_boardOffset + noise.Spread();
    Bytes bytes;
    Put(bytes, number & 0xFFFF, 2);
    Put(bytes, std::lround(stack / m_nominal.Voltage / (1 + m_voltageError) + 1.5 * noise.Spread()), 2);
    Put(bytes, std::lround(16 * counts), 4);
    Put(bytes, std::lround(16 * (m_converterOffset + noise.Spread())), 4);
    for (const double error : m_temperatureError)
        Put(bytes, std::lround(m_there.DeciKelvin + error + noise.Spread() / 2), 2);
    return bytes;
}

CommandShape GaugeConverters::ShapeOf(std::uint8_t command) const
{
    switch (command) {
    case kModeCommand:
        return CommandShape::ReadWriteWord;
    case kStoreCommand:
    case kSignatureCommand:
        return m_mode ? CommandShape::ReadWriteWord : CommandShape::None;
    case kSampleCommand:
        return m_mode ? CommandShape::ReadBlock : CommandShape::None;
    case kConstantsCommand:
        return m_mode ? CommandShape::ReadWriteBlock : CommandShape::None;
    default:
        return CommandShape::None;
    }
}

Bytes GaugeConverters::Read(std::uint8_t command) const
{
    if (command == kSampleCommand)
        return Sample();
    if (command == kConstantsCommand)
        return m_workingBytes;
    return {static_cast<std::uint8_t>(command == kModeCommand && m_mode ? kModeOn : 0), 0};
}

void GaugeConverters::WriteWord(std::uint8_t command, std::uint16_t word)
{
    const bool asked = m_storeAsked;
    m_storeAsked = command == kStoreCommand && word == kStoreWord;
    if (command == kSignatureCommand && asked && word == kSignature)
        Store();
    if (command != kModeCommand || (word == kModeOn) == m_mode)
        return;
    m_mode = word == kModeOn;
    m_working = m_stored; // what was tried and not stored is forgotten
    m_workingBytes = m_flash.Copy(kGains, 0, kGainBytes);
    const Bytes offsets = m_flash.Copy(kOffsets, 0, kOffsetBytes);
    m_workingBytes.insert(m_workingBytes.end(), offsets.begin(), offsets.end());
}

bool GaugeConverters::WriteBlock(std::uint8_t command, std::span<const std::uint8_t> block)
{
    if (command != kConstantsCommand || block.size() != kGainBytes + kOffsetBytes)
        return false;
    m_storeAsked = false;
    m_workingBytes.assign(block.begin(), block.end());
    m_working = Read(block.first(kGainBytes), block.subspan(kGainBytes));
    return true;
}

void GaugeConverters::Store()
{
    const std::span<const std::uint8_t> bytes(m_workingBytes);
    if (const auto* place = m_flash.Find(kGains))
        m_flash.WriteData(place->Start, bytes.first(kGainBytes));
    if (const auto* place = m_flash.Find(kOffsets))
        m_flash.WriteData(place->Start, bytes.subspan(kGainBytes));
    m_busyUntil = m_now + 2 * m_rowMs;
}
