#include "simulator/GaugeModel.h"

#include "simulator/CellCurve.h"
#include "simulator/Random.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace {

constexpr int kDesignMv = 14800;
constexpr int kChargeMv = 16800;
constexpr int kChargeMa = 2200;
constexpr int kPrechargeMa = 220;
constexpr int kTaperMa = 220;
constexpr int kFullWindowMv = 60;
constexpr int kFullSeconds = 40;
constexpr int kEmptySeconds = 3;
constexpr int kOverchargedCellMv = 4260;
constexpr double kOverchargeShare = 0.05;
constexpr int kFullClearPercent = 95;
constexpr int kEmptyClearPercent = 20;
constexpr int kChargeColdRaw = 2732; // 0.1 K; charging is wanted from 0 up to 45 degrees
constexpr int kChargeWarmRaw = 3182;
constexpr int kChargeHysteresis = 20; // 2 degrees
constexpr double kUsableShare = 0.985; // of the weakest cell, before the empty point was ever seen
constexpr double kUnconfirmedShare = 0.995; // charge stops counting here until the full point is seen
constexpr double kErrorPerMah = 0.25 / BatteryPack::kDesignMah;
constexpr int kConditionPercent = 8;
constexpr double kAreaDropVolts = 0.04; // of a cell at the C/5 rate
constexpr int kAlarmModeSeconds = 60;

constexpr std::uint16_t kDeviceType = 0x0800;
constexpr std::uint16_t kVersion = 0x0102;
constexpr std::uint16_t kModeWriteable = 0xE300;
constexpr std::uint16_t kCapacityMode = 0x8000;
constexpr std::uint16_t kAlarmMode = 0x2000;
constexpr std::uint16_t kConditionFlag = 0x0080;
constexpr std::uint16_t kManufactureDate = (2025 - 1980) * 512 + 3 * 32 + 14;
constexpr std::array<std::uint8_t, 8> kManufacturerData{0x01, 0x02, 0x00, 0x04, 0x4C, 0x54, 0x30, 0x31};

std::uint16_t Saturated(double value) { return static_cast<std::uint16_t>(std::clamp(value, 0.0, 65534.0)); }

std::uint16_t Pattern(int value) { return static_cast<std::uint16_t>(std::clamp(value, -32768, 32767)); }

int Rounded(double value) { return static_cast<int>(std::floor(value + 0.5)); }

Bytes Text(std::string_view text) { return {text.begin(), text.end()}; }

} // namespace

GaugeModel::GaugeModel(const BatteryPack& pack, std::uint64_t seed, double charge, bool pec)
    : m_pack(pack), m_seed(seed), m_pec(pec), m_gain(1 + 0.0005 * Random(Random::Mix(~seed)).Spread())
{
    double weakest = m_pack.CapacityCoulombs(0);
    for (std::size_t cell = 1; cell < BatteryPack::kCells; ++cell)
        weakest = std::min(weakest, m_pack.CapacityCoulombs(cell));
    m_fullMah = std::floor(weakest / 3.6 * kUsableShare);
    m_remainingMah = m_fullMah * charge;
    Reset();
    Measure();
    Decide();
}

void GaugeModel::Reset()
{
    m_control = 0;
    m_capacityAlarm = static_cast<std::uint16_t>(BatteryPack::kDesignMah / 10);
    m_timeAlarm = 10;
    m_mode = 0;
    m_atRate = 0;
    m_error = GaugeError::Ok;
    m_minute.fill(0);
    m_minuteSum = 0;
}

void GaugeModel::Sample(int seconds)
{
    m_seconds += seconds;
    Measure();
    for (int i = 0; i < std::min(seconds, static_cast<int>(m_minute.size())); ++i) {
        m_minuteSum += m_currentMa - m_minute[m_minuteNext];
        m_minute[m_minuteNext] = m_currentMa;
        m_minuteNext = (m_minuteNext + 1) % m_minute.size();
    }
    if ((m_mode & kAlarmMode) != 0 && (m_alarmModeSeconds += seconds) >= kAlarmModeSeconds)
        m_mode &= static_cast<std::uint16_t>(~kAlarmMode);
    Count(seconds);
    FindFull(seconds);
    FindEmpty(seconds);
    Decide();
}

void GaugeModel::Measure()
{
    // Noise depends on the second alone, so that how often somebody looks does not change what he sees.
    std::uint64_t noise = Random::Mix(m_seed ^ static_cast<std::uint64_t>(m_seconds) * 0x9E3779B97F4A7C15U);
    const auto next = [&noise] {
        noise >>= 4U;
        return (static_cast<double>(noise & 15U) - 7.5) * 0.09; // up to 0.7 of a step
    };
    m_voltageMv = 0;
    m_lowestCellMv = 65535;
    m_highestCellMv = 0;
    for (std::size_t cell = 0; cell < m_cellMv.size(); ++cell) {
        const int mv = std::max(0, Rounded(m_pack.CellVolts(cell) * 1000 + next()));
        m_cellMv[cell] = mv;
        m_voltageMv += mv;
        m_lowestCellMv = std::min(m_lowestCellMv, mv);
        m_highestCellMv = std::max(m_highestCellMv, mv);
    }
    m_currentMa = Rounded(m_pack.Amps() * 1000 + next());
    m_temperature = Rounded((m_pack.Celsius() + 273.15) * 10 + next() / 2);
}

void GaugeModel::Count(int seconds)
{
    const double moved = m_pack.Amps() * m_gain * seconds / 3.6; // mAh, positive into the pack
    if (moved >= 0) {
        const double most = m_fullMah * (m_full ? 1 : kUnconfirmedShare);
        m_remainingMah = std::max(m_remainingMah, std::min(m_remainingMah + moved, most));
    } else {
        m_remainingMah = std::max(0.0, m_remainingMah + moved);
        m_cycleMah -= moved;
        m_sinceFullMah -= moved;
        if (m_cycleMah >= BatteryPack::kDesignMah) {
            m_cycleMah -= BatteryPack::kDesignMah;
            m_cycles = std::min(m_cycles + 1, 65535);
        }
    }
    m_errorPercent = std::min(100.0, m_errorPercent + std::abs(moved) * kErrorPerMah);
}

void GaugeModel::FindFull(int seconds)
{
    const bool taper = Charging() && m_currentMa <= kTaperMa && m_voltageMv >= kChargeMv - kFullWindowMv;
    m_taperSeconds = taper ? m_taperSeconds + seconds : 0;
    if (m_taperSeconds >= kFullSeconds && !m_full) {
        m_full = true;
        m_learning = true;
        m_remainingMah = m_fullMah;
        m_sinceFullMah = 0;
        m_errorPercent = 1;
    }
    if (Charging()) {
        m_overchargeMah += m_full ? m_currentMa * seconds / 3600.0 : 0;
        m_learning = m_learning && m_full; // a charge in between spoils the count down from full
    } else {
        m_overchargeMah = 0;
    }
    if (RelativeCharge() < kFullClearPercent)
        m_full = false;
}

void GaugeModel::FindEmpty(int seconds)
{
    m_emptySeconds = Discharging() && m_lowestCellMv <= kEmptyCellMv ? m_emptySeconds + seconds : 0;
    if (m_emptySeconds >= kEmptySeconds) {
        if (m_learning && m_currentMa >= -kChargeMa - kPrechargeMa) // a faster discharge leaves charge behind
            m_fullMah = std::clamp(m_sinceFullMah, 0.5 * m_fullMah, 1.1 * m_fullMah);
        m_errorPercent = m_learning ? 1 : m_errorPercent;
        m_learning = false;
        m_remainingMah = 0;
    }
    if (m_remainingMah < 1)
        m_empty = true;
    else if (RelativeCharge() >= kEmptyClearPercent)
        m_empty = false;
}

void GaugeModel::Decide()
{
    m_hot = m_temperature >= (m_hot ? kHotClearRaw + 1 : kHotRaw);
    const int slack = m_chargeTemperature ? 0 : kChargeHysteresis;
    m_chargeTemperature = m_temperature >= kChargeColdRaw + slack && m_temperature <= kChargeWarmRaw - slack;
    m_overcharged = Charging()
        && (m_overcharged || m_highestCellMv >= kOverchargedCellMv
            || m_overchargeMah > kOverchargeShare * m_fullMah);
    if (m_full || m_overcharged || m_hot || !m_chargeTemperature)
        m_request = {};
    else
        m_request = {m_lowestCellMv < kEmptyCellMv ? kPrechargeMa : kChargeMa, kChargeMv};
}

CommandShape GaugeModel::ShapeOf(std::uint8_t command)
{
    if (command <= 0x04)
        return CommandShape::ReadWriteWord;
    if (command <= 0x1C || (command >= 0x3C && command <= 0x3F))
        return CommandShape::ReadWord;
    return command >= 0x20 && command <= 0x23 ? CommandShape::ReadBlock : CommandShape::None;
}

Bytes GaugeModel::Read(std::uint8_t command) const
{
    switch (command) {
    case 0x20:
        return Text("Tarnlo");
    case 0x21:
        return Text("SIM4S44");
    case 0x22:
        return Text("LION");
    case 0x23:
        return {kManufacturerData.begin(), kManufacturerData.end()};
    default:
        const std::uint16_t word = Word(command);
        return {static_cast<std::uint8_t>(word & 0xFFU), static_cast<std::uint8_t>(word >> 8U)};
    }
}

std::uint16_t GaugeModel::Word(std::uint8_t command) const
{
    const double average = static_cast<double>(m_minuteSum) / static_cast<double>(m_minute.size());
    switch (command) {
    case 0x00:
        return Control();
    case 0x01:
        return m_capacityAlarm;
    case 0x02:
        return m_timeAlarm;
    case 0x03:
        return static_cast<std::uint16_t>(m_mode | (m_errorPercent > kConditionPercent ? kConditionFlag : 0));
    case 0x04:
        return Pattern(m_atRate);
    case 0x05:
        return MinutesToFull(m_atRate);
    case 0x06:
        return MinutesToEmpty(m_atRate);
    case 0x07:
        return RateSustained(m_atRate) ? 1 : 0;
    case 0x08:
        return Saturated(m_temperature);
    case 0x09:
        return Saturated(m_voltageMv);
    case 0x0A:
        return Pattern(m_currentMa);
    case 0x0B:
        return Pattern(Rounded(average));
    case 0x0C:
        return Saturated(std::ceil(m_errorPercent));
    case 0x0D:
        return Saturated(RelativeCharge());
    case 0x0E:
        return Saturated(Rounded(100 * m_remainingMah / BatteryPack::kDesignMah));
    case 0x0F:
        return Capacity(m_remainingMah);
    case 0x10:
        return Capacity(m_fullMah);
    case 0x11:
        return Discharging() ? MinutesToEmpty(Rate(m_currentMa)) : 65535;
    case 0x12:
        return average < -kDeadbandMa ? MinutesToEmpty(Rate(average)) : 65535;
    case 0x13:
        return average > kDeadbandMa ? MinutesToFull(Rate(average)) : 65535;
    case 0x14:
        return Saturated(m_request.Milliamps);
    case 0x15:
        return Saturated(m_request.Millivolts);
    case 0x16:
        return Status();
    case 0x17:
        return static_cast<std::uint16_t>(m_cycles);
    case 0x18: // of the design, so at the design voltage
        return Saturated(EnergyMode() ? BatteryPack::kDesignMah * kDesignMv / 10'000
                                      : BatteryPack::kDesignMah);
    case 0x19:
        return kDesignMv;
    case 0x1A:
        return m_pec ? 0x0031 : 0x0021;
    case 0x1B:
        return kManufactureDate;
    case 0x1C:
        return static_cast<std::uint16_t>(m_seed & 0xFFFFU);
    case 0x3C: // cell 4 down to cell 1, as packs that tell their cell voltages use to order them
    case 0x3D:
    case 0x3E:
    case 0x3F:
        return Saturated(m_cellMv[0x3FU - command]);
    default:
        return 0;
    }
}

void GaugeModel::WriteWord(std::uint8_t command, std::uint16_t word)
{
    switch (command) {
    case 0x00:
        m_control = word;
        break;
    case 0x01:
        m_capacityAlarm = word;
        break;
    case 0x02:
        m_timeAlarm = word;
        break;
    case 0x03:
        m_mode = word & kModeWriteable;
        m_alarmModeSeconds = 0;
        break;
    case 0x04:
        m_atRate = static_cast<std::int16_t>(word);
        break;
    default:
        break;
    }
}

std::uint16_t GaugeModel::Control() const
{
    if (m_control == 1)
        return kDeviceType;
    if (m_control == 2)
        return kVersion;
    if (m_control >= 0x08 && m_control <= 0x1C)
        return Word(static_cast<std::uint8_t>(m_control));
    return m_control == 7 ? 7 : 0; // 7 comes back: the register takes subcommands
}

bool GaugeModel::EnergyMode() const { return (m_mode & kCapacityMode) != 0; }

std::uint16_t GaugeModel::Capacity(double mah) const
{
    if (!EnergyMode())
        return Saturated(mah);
    const double share = mah / m_fullMah;
    const double volts = BatteryPack::kCells * (CellCurve::Area(share) - kAreaDropVolts * share);
    return Saturated(m_fullMah * volts / 10);
}

double GaugeModel::Rate(double ma) const { return EnergyMode() ? ma * m_voltageMv / 10'000 : ma; }

std::uint16_t GaugeModel::MinutesToFull(double rate) const
{
    return rate > 0 ? Saturated(60.0 * (Capacity(m_fullMah) - Capacity(m_remainingMah)) / rate) : 65535;
}

std::uint16_t GaugeModel::MinutesToEmpty(double rate) const
{
    return rate < 0 ? Saturated(60.0 * Capacity(m_remainingMah) / -rate) : 65535;
}

bool GaugeModel::RateSustained(int rate) const
{
    if (rate >= 0)
        return true;
    const double extraMa = EnergyMode() ? rate * 10'000.0 / std::max(m_voltageMv, 1) : rate;
    const double drop = -extraMa / 1000 * m_pack.Ohms() / BatteryPack::kCells;
    const double needMah = -(extraMa + std::min(m_currentMa, 0)) * 10 / 3600;
    return m_lowestCellMv / 1000.0 - drop > kEmptyCellMv / 1000.0 && m_remainingMah > needMah;
}

int GaugeModel::RelativeCharge() const { return static_cast<int>(100 * m_remainingMah / m_fullMah + 0.5); }

std::uint16_t GaugeModel::Status() const
{
    const auto bit = [](bool on, unsigned mask) { return on ? mask : 0U; };
    const unsigned status = bit(m_overcharged, 0x8000) //
        | bit(Charging() && m_request.Milliamps == 0, 0x4000) //
        | bit(m_hot, 0x1000) //
        | bit(Discharging() && m_remainingMah < 1, 0x0800) //
        | bit(m_capacityAlarm != 0 && Word(0x0F) < m_capacityAlarm, 0x0200) //
        | bit(m_timeAlarm != 0 && Word(0x12) < m_timeAlarm, 0x0100) //
        | 0x0080U // calibration and configuration are valid
        | bit(!Charging(), 0x0040) // set at rest too
        | bit(m_full, 0x0020) //
        | bit(m_empty, 0x0010);
    return static_cast<std::uint16_t>(status | static_cast<unsigned>(m_error));
}
