#pragma once

#include "calibration/Constants.h"
#include "comm/ErrorCodes.h"
#include "comm/frmUSB.h"
#include "platform/TimeSource.h"
#include "settings/TargetSettings.h"

#include <array>
#include <cstdint>

/// One reading of all converters, before any constant.
struct RawReading {
    std::uint16_t Number = 0; ///< counts the readings; the same one twice is no new reading
    double Voltage = 0; ///< counts of the stack
    double Current = 0; ///< counts
    double Shorted = 0; ///< counts of the current converter with its input shorted
    std::array<double, kTemperatureSensors> DeciKelvin{};
};

/// The commands of a gauge's calibration unit; docs/calibration.md describes them. The caller holds the bus.
class CalibrationUnit {
public:
    CalibrationUnit(frmUSB& usb, TimeSource& time, const TargetSettings& settings, std::int16_t address)
        : m_usb(usb), m_time(time), m_settings(settings), m_address(address)
    {
    }

    /// Writes the mode command and lets the gauge settle: first the adapter pauses, then the host waits the
    /// same time again. Both are needed: an adapter may queue the pause and answer at once.
    [[nodiscard]] ErrorCode SetMode(bool on);
    [[nodiscard]] ErrorCode Read(RawReading& reading);
    [[nodiscard]] ErrorCode ReadConstants(CalibrationConstants& constants);
    /// For as long as the mode lasts.
    [[nodiscard]] ErrorCode Try(const CalibrationConstants& constants);
    /// Makes what was tried last.
    [[nodiscard]] ErrorCode Store();

private:
    [[nodiscard]] ErrorCode ReadBlock(std::uint8_t command, std::size_t length, Bytes& block);

    frmUSB& m_usb;
    TimeSource& m_time;
    const TargetSettings& m_settings;
    std::int16_t m_address;
};
