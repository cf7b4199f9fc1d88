#pragma once

#include "platform/Bytes.h"
#include "simulator/BatteryPack.h"
#include "simulator/FlashPort.h"
#include "simulator/GaugeConverters.h"
#include "simulator/SimulatorSettings.h"

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>

/// Low four bits of BatteryStatus: why the last access failed.
enum class GaugeError : std::uint8_t {
    Ok = 0,
    ReservedCommand = 2,
    AccessDenied = 4,
    BadSize = 6,
    Unknown = 7,
};

/// The gauge in the pack: samples voltages, current and temperature once a second, counts charge and answers
/// the Smart Battery commands. Knows values; how they travel is GaugeTarget's and GaugeRegisterFile's.
/// docs/simulator.md lists what every command answers.
class GaugeModel {
public:
    static constexpr int kDeadbandMa = 10; ///< less than this, either way, counts as rest
    static constexpr int kEmptyCellMv = 3000; ///< a cell below it while discharging ends the charge
    static constexpr int kHotRaw = 3332; ///< 0.1 K, 60 degrees: over-temperature
    static constexpr int kHotClearRaw = 3282; ///< 55 degrees

    /// @param flash  holds its constants; it looks at them again whenever they change
    GaugeModel(const BatteryPack& pack, GaugeFlash& flash, const SimulatorSettings& settings);
    GaugeModel(const GaugeModel&) = delete;
    GaugeModel& operator=(const GaugeModel&) = delete;

    /// Takes the pack's present values as what it measured for these seconds.
    void Sample(int seconds);
    /// As after a loss of power: settings are back at their defaults, what was learned stays.
    void Reset();

    [[nodiscard]] CommandShape ShapeOf(std::uint8_t command) const;
    /// The bytes that answer a command, words low byte first; a block without its length. No side effects.
    [[nodiscard]] Bytes Read(std::uint8_t command) const;
    [[nodiscard]] std::uint16_t Word(std::uint8_t command) const;
    /// Only for a command whose shape is ReadWriteWord.
    void WriteWord(std::uint8_t command, std::uint16_t word);
    /// @return false: the command takes no block of this size
    bool WriteBlock(std::uint8_t command, std::span<const std::uint8_t> block);

    /// The milliseconds of its own clock; what it does in between takes time.
    void SetNow(std::int64_t milliseconds)
    {
        m_port.SetNow(milliseconds);
        m_converters.SetNow(milliseconds);
    }
    [[nodiscard]] bool Busy() const
    {
        return m_port.Busy() || m_converters.Busy();
    } ///< programs its flash and answers nobody

    /// Without firmware the gauge measures and answers nothing; its boot ROM is there in its place.
    void SetRunning(bool running) { m_running = running; }
    [[nodiscard]] bool Running() const { return m_running; }
    static constexpr std::uint16_t kBootRomWord = 0x0B07; ///< to the control register: calls OnBootRom
    std::function<void()> OnBootRom;

    void SetError(GaugeError error) { m_error = error; }
    [[nodiscard]] bool Pec() const { return m_pec; }

    /// What a charger that follows the gauge may do now.
    struct ChargeRequest {
        int Milliamps = 0;
        int Millivolts = 0;
    };
    [[nodiscard]] ChargeRequest Request() const { return m_request; }

private:
    /// What it takes from its data flash.
    struct Constants {
        Bytes Manufacturer, Device, Chemistry, ManufacturerData; ///< as their blocks answer
        std::uint16_t Date = 0;
        std::uint16_t Serial = 0;
        int DesignMah = 1;
        int DesignEnergy = 0; ///< 10 mWh
        int DesignMv = 0;
        int ChargeMa = 0;
        int ChargeMv = 0;
        int PrechargeMa = 0;
        int PrechargeMv = 0; ///< of a cell
        std::uint16_t CapacityAlarm = 0;
        std::uint16_t TimeAlarm = 0;
    };
    void TakeConstants();
    [[nodiscard]] GaugeConverters::Values Sense() const;
    void Measure();
    void Count(int seconds);
    void FindFull(int seconds);
    void FindEmpty(int seconds);
    void Decide();

    [[nodiscard]] bool Charging() const { return m_currentMa > kDeadbandMa; }
    [[nodiscard]] bool Discharging() const { return m_currentMa < -kDeadbandMa; }
    [[nodiscard]] bool EnergyMode() const;
    [[nodiscard]] std::uint16_t Capacity(double mah) const; ///< in the unit of the capacity mode
    [[nodiscard]] double Rate(double ma) const; ///< mA, or 10 mW in energy mode
    [[nodiscard]] std::uint16_t MinutesToFull(double rate) const;
    [[nodiscard]] std::uint16_t MinutesToEmpty(double rate) const;
    [[nodiscard]] bool RateSustained(int rate) const;
    [[nodiscard]] std::uint16_t Status() const;
    [[nodiscard]] std::uint16_t Control() const;
    [[nodiscard]] int RelativeCharge() const;

    const BatteryPack& m_pack;
    GaugeFlash& m_flash;
    FlashPort m_port;
    GaugeConverters m_converters;
    Constants m_constants;
    std::uint64_t m_seed;
    bool m_pec;
    bool m_running = true;
    double m_gain; ///< of the coulomb counter, close to 1

    std::int64_t m_seconds = 0;
    std::array<int, BatteryPack::kCells> m_cellMv{};
    int m_lowestCellMv = 0;
    int m_highestCellMv = 0;
    int m_voltageMv = 0;
    int m_currentMa = 0;
    int m_temperature = 0; ///< 0.1 K
    std::array<int, 60> m_minute{}; ///< currents of the last minute
    std::size_t m_minuteNext = 0;
    int m_minuteSum = 0;

    double m_remainingMah;
    double m_fullMah;
    double m_sinceFullMah = 0;
    double m_overchargeMah = 0;
    double m_cycleMah = 0;
    double m_errorPercent = 2;
    int m_cycles = 0;
    int m_taperSeconds = 0;
    int m_emptySeconds = 0;
    bool m_learning = false; ///< discharging since the full point without a break
    bool m_full = false;
    bool m_empty = false;
    bool m_hot = false;
    bool m_overcharged = false;
    bool m_chargeTemperature = true;
    ChargeRequest m_request;

    std::uint16_t m_control = 0;
    std::uint16_t m_capacityAlarm = 0;
    std::uint16_t m_timeAlarm = 0;
    std::uint16_t m_mode = 0;
    std::int16_t m_atRate = 0;
    int m_alarmModeSeconds = 0;
    GaugeError m_error = GaugeError::Ok;
};
