#pragma once

#include "calibration/CalibrationUnit.h"
#include "comm/GaugeAccess.h"
#include "dataflash/PackIdentity.h"
#include "platform/ProfileFile.h"
#include "platform/TimeSource.h"
#include "platform/UserMessages.h"
#include "settings/StartupState.h"

#include <QString>

#include <array>
#include <cstdint>
#include <functional>
#include <optional>

/// What can be calibrated, in the order in which one builds on another.
enum class CalibrationStep : std::uint8_t { CurrentOffset, BoardOffset, CurrentGain, Voltage, Temperature };
inline constexpr std::array kCalibrationSteps{CalibrationStep::CurrentOffset, CalibrationStep::BoardOffset,
                                              CalibrationStep::CurrentGain, CalibrationStep::Voltage,
                                              CalibrationStep::Temperature};

/// What a step is called and asks for; the unit is that of references and results.
struct StepFacts {
    QString Name;
    QString Guide; ///< what to connect, for a person
    QString Unit;
    bool NeedsReference = true;
    double Least = 0; ///< of the reference
    double Most = 0;
    int Decimals = 0; ///< that are worth showing
};
[[nodiscard]] const StepFacts& FactsOf(CalibrationStep step);
/// Name of a temperature sensor, 0 to 2.
[[nodiscard]] QString SensorName(int sensor);

/// Readings of one quantity in the step's unit.
struct ReadingStatistics {
    int Count = 0;
    double Mean = 0;
    double Deviation = 0; ///< standard deviation of one reading
    double Least = 0;
    double Most = 0;
    void Add(double value);

private:
    double m_squares = 0; ///< sum of squared distances from the mean, kept as readings come
};

struct CalibrationRequest {
    CalibrationStep Step = CalibrationStep::Voltage;
    double Reference = 0; ///< what a good instrument shows
    int Sensor = 1; ///< of Temperature
    int Readings = 16; ///< at least 4
};

/// What came of a measurement, a write or both.
struct CalibrationResult {
    enum class Kind : std::uint8_t {
        Ok,
        Refused, ///< not plausible: Problem says what and what to do
        Failed, ///< the gauge or the adapter: Code
        Cancelled,
        Busy, ///< the bus was not to be had
    };
    Kind Ended = Kind::Ok;
    ErrorCode Code = ErrorCode::Ok;
    QString Problem; ///< plain words; empty when all went well
    bool ModeInDoubt = false; ///< the gauge may still be in its calibration mode
    CalibrationRequest Request;
    ReadingStatistics Before; ///< with the old constants
    ReadingStatistics After; ///< with the new ones, measured once they were stored
    double MostCurrent = 0; ///< mA, of either direction, in any reading
    CalibrationConstants Old;
    CalibrationConstants New;
    bool Stored = false;
    QString Record; ///< file that the record was added to
    [[nodiscard]] bool Ok() const { return Ended == Kind::Ok; }
};

/// What a step changes, for people: "Voltage gain 20480 becomes 20291".
[[nodiscard]] QString ChangeText(const CalibrationResult& result);

/// Calibrates a gauge: measures, computes constants, and, once a person has agreed, stores and proves them.
/// Each operation holds the bus, leaves the calibration mode on every path, and answers Cancelled at once
/// when another one runs further down the stack.
class Calibration {
public:
    struct Links {
        frmUSB& usb;
        GaugeAccess& access;
        TimeSource& time;
        const TargetSettings& settings;
        const StartupState& state;
    };
    explicit Calibration(const Links& links) : m_links(links) { }

    /// Constants in force and one reading of everything with them, to see that the gauge can be calibrated.
    struct Status {
        CalibrationResult Result; ///< Old: the constants
        RawReading Reading;
        PackIdentity Pack;
    };
    [[nodiscard]] Status ReadStatus();
    /// Takes readings and computes New from them. Nothing is written.
    [[nodiscard]] CalibrationResult Measure(const CalibrationRequest& request);
    /// Tries the new constants, measures with them, stores them, reads them back and measures again. The
    /// record is added to the folder's file of the pack's serial number.
    [[nodiscard]] CalibrationResult Store(const CalibrationResult& measured);
    /// Puts back the constants from before the newest record of the pack on the bus.
    [[nodiscard]] CalibrationResult Restore();

    void Cancel() { m_cancel = true; } ///< a running operation ends after its present reading
    [[nodiscard]] bool Running() const { return m_running; }
    /// Called for every reading that counts, in the step's unit.
    std::function<void(const ReadingStatistics&, int of)> OnReading;

    /// Folder of the records; docs/calibration.md describes the files.
    [[nodiscard]] QString RecordFolder() const;

private:
    class Mode;
    [[nodiscard]] CalibrationUnit Unit() const;
    void Collect(CalibrationUnit& unit, CalibrationResult& result, const CalibrationConstants& with,
                 ReadingStatistics& statistics);
    void Compute(CalibrationResult& result) const;
    void StoreHeld(CalibrationResult& result);
    void AddRecord(CalibrationResult& result, const PackIdentity& pack, bool restored) const;

    Links m_links;
    bool m_running = false;
    bool m_cancel = false;
};

/// Reads who is on the bus and loads the settings that belong to it, so that they always match the gauge that
/// is calibrated. A target that forbids the question keeps the settings it has.
/// @return the failure of the identity read; the settings are then as they were
[[nodiscard]] ErrorCode TakeGaugeSettings(frmUSB& usb, GaugeAccess& access, ProfileStore& profiles,
                                          UserMessages& messages, const StartupState& state,
                                          TargetSettings& settings);

/// What the simulated bench's meter shows, in the step's unit; nothing on a real adapter.
[[nodiscard]] std::optional<double> SimulatedMeter(frmUSB& usb, GaugeAccess& access, CalibrationStep step);
