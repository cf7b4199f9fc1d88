#include "simulator/GaugeModel.h"

#include "simulator/CellCurve.h"
#include "simulator/Random.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int kTaperMa = 220;
constexpr int kLearningMa = 2420; // a faster discharge leaves charge behind
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

std::uint16_t Saturated(double value) { return static_cast<std::uint16_t>(std::clamp(value, 0.0, 65534.0)); }

std::uint16_t Pattern(int value) { return static_cast<std::uint16_t>(std::clamp(value, -32768, 32767)); }

int Rounded(double value) { return static_cast<int>(std::floor(value + 0.5)); }

// Where the gauge keeps what it needs to know, in its data flash.
constexpr std::uint16_t kChargeLimits = 8;
constexpr int kChargeCurrentAt = 0;
constexpr int kChargeVoltageAt = 2;
constexpr int kPrechargeCurrentAt = 4;
constexpr int kPrechargeVoltageAt = 6;
constexpr std::uint16_t kPackData = 16;
constexpr int kManufacturerAt = 0;
constexpr int kDeviceAt = 12;
constexpr int kChemistryAt = 24;
constexpr int kDateAt = 29;
constexpr int kSerialAt = 31;
constexpr int kDesignCapacityAt = 33;
constexpr int kDesignEnergyAt = 35;
constexpr int kDesignVoltageAt = 37;
constexpr int kCapacityAlarmAt = 41;
constexpr int kTimeAlarmAt = 43;
constexpr std::uint16_t kManufacturerInfo = 22;
constexpr int kManufacturerDataBytes = 8;

} // namespace

GaugeModel::GaugeModel(const BatteryPack& pack, GaugeFlash& flash, const SimulatorSettings& settings)
    : m_pack(pack), m_flash(flash), m_port(flash, settings.DataFlashStyle, settings.FlashRowTime),
      m_converters(flash, settings.Seed, settings.Uncalibrated, settings.FlashRowTime), m_seed(settings.Seed),
      m_pec(settings.Pec), m_gain(1 + 0.0005 * Random(Random::Mix(~settings.Seed)).Spread())
{
    m_flash.OnChange = [this] { TakeConstants(); };
    TakeConstants();
    double weakest = m_pack.CapacityCoulombs(0);
    for (std::size_t cell = 1; cell < BatteryPack::kCells; ++cell)
        weakest = std::min(weakest, m_pack.CapacityCoulombs(cell));
    m_fullMah = std::floor(weakest / 3.6 * kUsableShare);
    m_remainingMah = m_fullMah * settings.Charge / 100;
    Reset();
    Measure();
    Decide();
}

void GaugeModel::Reset()
{
    m_control = 0;
    m_port.Reset();
    m_converters.Reset();
    m_capacityAlarm = m_constants.CapacityAlarm;
    m_timeAlarm = m_constants.TimeAlarm;
    m_mode = 0;
    m_atRate = 0;
    m_error = GaugeError::Ok;
    m_minute.fill(0);
    m_minuteSum = 0;
}

void GaugeModel::Sample(int seconds)
{
    m_seconds += seconds;
    if (!m_running)
        return;
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

void GaugeModel::TakeConstants()
{
    m_converters.TakeConstants();
    const auto positive
        = [this](std::uint16_t id, int offset) { return std::max(0, m_flash.Signed(id, offset, 2)); };
    const auto word = [this](std::uint16_t id, int offset) {
        return static_cast<std::uint16_t>(m_flash.Unsigned(id, offset, 2));
    };
    m_constants = {.Manufacturer = m_flash.Text(kPackData, kManufacturerAt),
                   .Device = m_flash.Text(kPackData, kDeviceAt),
                   .Chemistry = m_flash.Text(kPackData, kChemistryAt),
                   .ManufacturerData = m_flash.Copy(kManufacturerInfo, 0, kManufacturerDataBytes),
                   .Date = word(kPackData, kDateAt),
                   .Serial = word(kPackData, kSerialAt),
                   .DesignMah = std::max(1, positive(kPackData, kDesignCapacityAt)), // it is divided by
                   .DesignEnergy = positive(kPackData, kDesignEnergyAt),
                   .DesignMv = positive(kPackData, kDesignVoltageAt),
                   .ChargeMa = positive(kChargeLimits, kChargeCurrentAt),
                   .ChargeMv = word(kChargeLimits, kChargeVoltageAt),
                   .PrechargeMa = positive(kChargeLimits, kPrechargeCurrentAt),
                   .PrechargeMv = word(kChargeLimits, kPrechargeVoltageAt),
                   .CapacityAlarm = word(kPackData, kCapacityAlarmAt),
                   .TimeAlarm = word(kPackData, kTimeAlarmAt)};
}

GaugeConverters::Values GaugeModel::Sense() const
{
    // Noise depends on the second alone, so that how often somebody looks does not change what he sees.
    std::uint64_t noise = Random::Mix(m_seed ^ static_cast<std::uint64_t>(m_seconds) * 0x9E3779B97F4A7C15U);
    const auto next = [&noise] {
        noise >>= 4U;
        return (static_cast<double>(noise & 15U) - 7.5) * 0.09; // up to 0.7 of a step
    };
    GaugeConverters::Values sensed;
    for (std::size_t cell = 0; cell < sensed.CellMv.size(); ++cell)
        sensed.CellMv[cell] = m_pack.CellVolts(cell) * 1000 + next();
    sensed.Milliamps = m_pack.Amps() * 1000 + next();
    sensed.DeciKelvin = (m_pack.Celsius() + 273.15) * 10 + next() / 2;
    return sensed;
}

void GaugeModel::Measure()
{
    const GaugeConverters::Values there = Sense();
    m_converters.See(there);
    const GaugeConverters::Values sensed = m_converters.Convert(there);
    m_voltageMv = 0;
    m_lowestCellMv = 65535;
    m_highestCellMv = 0;
    for (std::size_t cell = 0; cell < m_cellMv.size(); ++cell) {
        const int mv = std::max(0, Rounded(sensed.CellMv[cell]));
        m_cellMv[cell] = mv;
        m_voltageMv += mv;
        m_lowestCellMv = std::min(m_lowestCellMv, mv);
        m_highestCellMv = std::max(m_highestCellMv, mv);
    }
    m_currentMa = Rounded(sensed.Milliamps);
    m_temperature = Rounded(sensed.DeciKelvin);
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
    const bool taper
        = Charging() && m_currentMa <= kTaperMa && m_voltageMv >= m_constants.ChargeMv - kFullWindowMv;
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
        if (m_learning && m_currentMa >= -kLearningMa)
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
        m_request
            = {m_lowestCellMv < m_constants.PrechargeMv ? m_constants.PrechargeMa : m_constants.ChargeMa,
               m_constants.ChargeMv};
}

CommandShape GaugeModel::ShapeOf(std::uint8_t command) const
{
    if (command <= 0x04)
        return CommandShape::ReadWriteWord;
    if (command <= 0x1C || (command >= 0x3C && command <= 0x3F))
        return CommandShape::ReadWord;
    if (command >= 0x20 && command <= 0x23)
        return CommandShape::ReadBlock;
    const CommandShape shape = m_converters.ShapeOf(command);
    return shape == CommandShape::None ? m_port.ShapeOf(command) : shape;
}

Bytes GaugeModel::Read(std::uint8_t command) const
{
    switch (command) {
    case 0x20:
        return m_constants.Manufacturer;
    case 0x21:
        return m_constants.Device;
    case 0x22:
        return m_constants.Chemistry;
    case 0x23:
        return m_constants.ManufacturerData;
    default:
        if (m_converters.ShapeOf(command) != CommandShape::None)
            return m_converters.Read(command);
        if (command > 0x3F)
            return m_port.Read(command);
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
        return Saturated(Rounded(100 * m_remainingMah / m_constants.DesignMah));
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
    case 0x18:
        return Saturated(EnergyMode() ? m_constants.DesignEnergy : m_constants.DesignMah);
    case 0x19:
        return Saturated(m_constants.DesignMv);
    case 0x1A:
        return m_pec ? 0x0031 : 0x0021;
    case 0x1B:
        return m_constants.Date;
    case 0x1C:
        return m_constants.Serial;
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
        if (word == kBootRomWord && OnBootRom)
            OnBootRom();
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
        if (m_converters.ShapeOf(command) != CommandShape::None) {
            m_converters.WriteWord(command, word);
            Measure(); // with the constants that are now in force
        } else {
            m_port.WriteWord(command, word);
        }
        break;
    }
}

bool GaugeModel::WriteBlock(std::uint8_t command, std::span<const std::uint8_t> block)
{
    if (m_converters.ShapeOf(command) != CommandShape::None) {
        const bool taken = m_converters.WriteBlock(command, block);
        Measure();
        return taken;
    }
    return ShapeOf(command) == CommandShape::ReadWriteBlock && m_port.WriteBlock(command, block);
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

int GaugeModel::RelativeCharge() const
{
    return static_cast<int>(std::lround(100 * m_remainingMah / m_fullMah));
}

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
