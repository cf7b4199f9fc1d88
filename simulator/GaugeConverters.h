#pragma once

#include "platform/Bytes.h"
#include "simulator/BatteryPack.h"
#include "simulator/FlashPort.h"
#include "simulator/GaugeFlash.h"

#include <array>
#include <cstdint>
#include <span>

/// The gauge's converters, and the constants that make voltages, currents and temperatures of their counts.
/// Each gauge's converters are a little wrong in their own way; constants that were calibrated take that out
/// again. Also the commands that a calibration uses: docs/calibration.md describes them from the host's side.
class GaugeConverters {
public:
    /// Subclasses of the data flash that hold the constants.
    static constexpr std::uint16_t kGains = 45;
    static constexpr std::uint16_t kOffsets = 46;

    /// What is there to be measured, and what the gauge says of it.
    struct Values {
        std::array<double, BatteryPack::kCells> CellMv{};
        double Milliamps = 0; ///< positive into the pack
        double DeciKelvin = 0;
    };

    /// @param uncalibrated  false: converters as good as their nominal constants
    GaugeConverters(GaugeFlash& flash, std::uint64_t seed, bool uncalibrated, int rowMs);

    [[nodiscard]] Values Convert(const Values& there) const;
    void See(const Values& there) { m_there = there; } ///< what raw readings are of
    void TakeConstants(); ///< the flash has changed
    void Reset(); ///< leaves the calibration mode
    void SetNow(std::int64_t milliseconds) { m_now = milliseconds; }
    [[nodiscard]] bool Busy() const { return m_now < m_busyUntil; } ///< stores constants

    [[nodiscard]] CommandShape ShapeOf(std::uint8_t command) const; ///< None: not one of these, or not now
    [[nodiscard]] Bytes Read(std::uint8_t command) const;
    void WriteWord(std::uint8_t command, std::uint16_t word);
    bool WriteBlock(std::uint8_t command, std::span<const std::uint8_t> block);

private:
    static constexpr std::size_t kGainBytes = 18;
    static constexpr std::size_t kOffsetBytes = 6; ///< of the subclass, as far as they are calibrated
    struct Constants {
        double Voltage = 1; ///< mV of a count
        double Current = 1; ///< mA of a count
        std::array<double, BatteryPack::kCells> Cell{};
        double Offset = 0; ///< counts at no current, the board's share included
        int InternalDeci = 0; ///< 0.1 K
        int External1Deci = 0;
        int External2Deci = 0;
    };
    [[nodiscard]] static Constants Read(std::span<const std::uint8_t> gains,
                                        std::span<const std::uint8_t> offsets);
    [[nodiscard]] const Constants& InForce() const { return m_mode ? m_working : m_stored; }
    [[nodiscard]] Bytes Sample() const;
    void Store();

    GaugeFlash& m_flash;
    int m_rowMs;
    std::uint64_t m_seed;
    Constants m_nominal; ///< of a gauge without errors
    Constants m_stored;
    Constants m_working; ///< while the calibration mode lasts
    Bytes m_workingBytes; ///< as the constants command moves them
    Values m_there;

    // what is wrong with this gauge's converters
    double m_voltageError = 0; ///< share
    double m_currentError = 0; ///< share
    double m_converterOffset = 0; ///< counts
    double m_boardOffset = 0; ///< counts
    std::array<double, 3> m_temperatureError{}; ///< 0.1 K: internal, external 1 and 2

    bool m_mode = false;
    bool m_storeAsked = false; ///< the signature must come next
    std::int64_t m_now = 0;
    std::int64_t m_busyUntil = 0;
};
