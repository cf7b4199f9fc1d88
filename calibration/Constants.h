#pragma once

#include "platform/Bytes.h"

#include <QString>

#include <array>
#include <cstdint>
#include <optional>

/// The constants that a gauge keeps for its converters, as its calibration unit moves them in one block;
/// docs/calibration.md has the layout. Bytes that no step changes are kept as they came.
class CalibrationConstants {
public:
    static constexpr std::size_t kBytes = 24;

    /// @return nothing when the block has another length
    [[nodiscard]] static std::optional<CalibrationConstants> From(const Bytes& block);
    [[nodiscard]] const Bytes& Block() const { return m_block; }

    [[nodiscard]] int VoltageGain() const; ///< mV of a count, in 1/16384
    [[nodiscard]] double CurrentGain() const; ///< mA of a count
    [[nodiscard]] int CurrentOffset() const; ///< counts of the converter at no input, in sixteenths
    [[nodiscard]] int BoardOffset() const; ///< counts that the board adds
    [[nodiscard]] int TemperatureOffset(int sensor) const; ///< 0.1 K; 0 internal, 1 and 2 external

    // what does not fit its bytes must be refused before
    void SetVoltageGain(int gain);
    void SetCurrentGain(double gain);
    void SetCurrentOffset(int sixteenths);
    void SetBoardOffset(int counts);
    void SetTemperatureOffset(int sensor, int decikelvin);

    // what counts mean with these constants
    [[nodiscard]] double Millivolts(double counts) const;
    [[nodiscard]] double Milliamps(double counts) const;
    [[nodiscard]] double Celsius(double deciKelvin, int sensor) const;

    bool operator==(const CalibrationConstants&) const = default;

private:
    [[nodiscard]] int Signed(std::size_t at, int width) const;
    void Put(std::size_t at, int width, int value);

    Bytes m_block = Bytes(kBytes);
};

inline constexpr int kTemperatureSensors = 3;
