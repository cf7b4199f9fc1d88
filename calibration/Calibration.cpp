#include "calibration/Calibration.h"

#include "calibration/CalibrationRecord.h"
#include "comm/BusSequence.h"
#include "comm/GaugeIdentity.h"
#include "comm/Wait.h"

#include <QScopedValueRollback>

#include <algorithm>
#include <cmath>

namespace {

const QString kOwner = QStringLiteral("Calibration");

constexpr int kLeastReadings = 4;
constexpr int kPollMs = 50;
constexpr int kReadingMs = 3000; // a converter that gives nothing new for so long has stopped

constexpr double kMostVoltageChange = 0.10; // share; beyond it a wire or the reference is wrong
constexpr double kMostCurrentChange = 0.25;
constexpr double kMostVoltageNoise = 0.001; // standard deviation, share of the mean
constexpr double kMostCurrentNoise = 0.01;
constexpr double kMostShortedCounts = 400;
constexpr double kMostOffsetNoise = 5; // counts
constexpr double kMostIdleMa = 150; // shown with no current, before the offsets are known
constexpr double kMostTemperatureNoise = 0.5; // K
constexpr double kMostAfterError = 0.002; // of the reference, beside what one step of a register is

double StepOf(CalibrationStep step) { return step == CalibrationStep::Temperature ? 0.1 : 2; }

double ValueOf(const RawReading& raw, const CalibrationRequest& request, const CalibrationConstants& with)
{
    switch (request.Step) {
    case CalibrationStep::CurrentOffset: // what is left of it, in counts
        return raw.Shorted - with.CurrentOffset() / 16.0;
    case CalibrationStep::BoardOffset:
    case CalibrationStep::CurrentGain:
        return with.Milliamps(raw.Current);
    case CalibrationStep::Voltage:
        return with.Millivolts(raw.Voltage);
    case CalibrationStep::Temperature:
        return with.Celsius(raw.DeciKelvin[static_cast<std::size_t>(request.Sensor)], request.Sensor);
    }
    return 0;
}

QString Number(double value, const StepFacts& facts) { return QString::number(value, 'f', facts.Decimals); }

QString WithUnit(double value, const StepFacts& facts) { return Number(value, facts) + u' ' + facts.Unit; }

QString Refusal(const ReadingStatistics& readings, const StepFacts& facts, const QString& why)
{
    return QStringLiteral("The gauge shows %1: %2 Nothing was written.")
        .arg(WithUnit(readings.Mean, facts), why);
}

} // namespace

const StepFacts& FactsOf(CalibrationStep step)
{
    static const std::array<StepFacts, kCalibrationSteps.size()> facts{
        StepFacts{QStringLiteral("Current offset"),
                  QStringLiteral("Nothing needs to be connected. The gauge shorts the input of its current "
                                 "converter and reads what is left."),
                  QStringLiteral("counts"), false, 0, 0, 2},
        StepFacts{
            QStringLiteral("Board offset"),
            QStringLiteral("Switch charger and load off, so that no current flows through the pack, and "
                           "enter what an ammeter still shows, usually 0."),
            QStringLiteral("mA"), true, -50, 50, 1},
        StepFacts{QStringLiteral("Current gain"),
                  QStringLiteral(
                      "Let a steady current flow, as near as you can to what the pack will carry, and "
                      "enter what an ammeter in series shows. Discharging is negative. A load at the "
                      "adapter's lines is switched on by the register view's menu Auto-Cycle, \"Start by "
                      "discharging\"."),
                  QStringLiteral("mA"), true, -30000, 30000, 1},
        StepFacts{
            QStringLiteral("Voltage"),
            QStringLiteral("Enter the voltage that a voltmeter shows across the stack of cells. No current "
                           "should flow, or the wires drop some of it."),
            QStringLiteral("mV"), true, 1000, 60000, 1},
        StepFacts{
            QStringLiteral("Temperature"),
            QStringLiteral("Let the pack rest until it is as warm as its surroundings, choose the sensor and "
                           "enter what a thermometer beside it shows."),
            QStringLiteral("°C"), true, -40, 85, 2},
    };
    return facts[static_cast<std::size_t>(step)];
}

QString SensorName(int sensor)
{
    return sensor == 0 ? QStringLiteral("Internal") : QStringLiteral("External %1").arg(sensor);
}

void ReadingStatistics::Add(double value)
{
    // Welford's update: no sum of squares that grows and cancels
    ++Count;
    const double distance = value - Mean;
    Mean += distance / Count;
    m_squares += distance * (value - Mean);
    Deviation = Count > 1 ? std::sqrt(m_squares / (Count - 1)) : 0;
    Least = Count == 1 ? value : std::min(Least, value);
    Most = Count == 1 ? value : std::max(Most, value);
}

QString ChangeText(const CalibrationResult& result)
{
    const CalibrationConstants& from = result.Old;
    const CalibrationConstants& to = result.New;
    const auto becomes = [](const QString& name, const QString& before, const QString& after) {
        return before == after ? QStringLiteral("%1 stays %2").arg(name, before)
                               : QStringLiteral("%1 %2 becomes %3").arg(name, before, after);
    };
    const auto integer = [](int value) { return QString::number(value); };
    switch (result.Request.Step) {
    case CalibrationStep::CurrentOffset:
        return becomes(QStringLiteral("Current offset"), integer(from.CurrentOffset()),
                       integer(to.CurrentOffset()));
    case CalibrationStep::BoardOffset:
        return becomes(QStringLiteral("Board offset"), integer(from.BoardOffset()),
                       integer(to.BoardOffset()));
    case CalibrationStep::CurrentGain:
        return becomes(QStringLiteral("Current gain"), QString::number(from.CurrentGain(), 'f', 6),
                       QString::number(to.CurrentGain(), 'f', 6));
    case CalibrationStep::Voltage:
        return becomes(QStringLiteral("Voltage gain"), integer(from.VoltageGain()),
                       integer(to.VoltageGain()));
    case CalibrationStep::Temperature:
        break;
    }
    const int sensor = result.Request.Sensor;
    return becomes(QStringLiteral("%1 temperature offset").arg(SensorName(sensor)),
                   integer(from.TemperatureOffset(sensor)), integer(to.TemperatureOffset(sensor)));
}

/// The calibration mode for a scope: entered at the start, left on every path.
class Calibration::Mode {
public:
    Mode(CalibrationUnit& unit, CalibrationResult& result) : m_unit(unit), m_result(result)
    {
        m_result.Code = m_unit.SetMode(true);
        m_mayBeOn = m_result.Code != ErrorCode::NoAcknowledge;
        if (m_result.Code == ErrorCode::NoAcknowledge)
            Fail(QStringLiteral("The gauge has no calibration unit that answers (%1). Nothing was written."));
        else if (Failed(m_result.Code))
            Fail(QStringLiteral("The gauge did not enter its calibration mode: %1. Nothing was written."));
    }
    ~Mode()
    {
        if (!m_mayBeOn || !Failed(m_unit.SetMode(false)))
            return;
        m_result.ModeInDoubt = true;
        m_result.Problem += (m_result.Problem.isEmpty() ? QString() : QStringLiteral(" "))
            + QStringLiteral("The gauge may still be in its calibration mode: connect it again and read its "
                             "status, or take its power away for a moment.");
    }
    Mode(const Mode&) = delete;
    Mode& operator=(const Mode&) = delete;
    [[nodiscard]] explicit operator bool() const { return m_result.Ok(); }

    /// @param text  with %1 for the code's text
    void Fail(const QString& text)
    {
        m_result.Ended = CalibrationResult::Kind::Failed;
        m_result.Problem = text.arg(ErrorCodeToText(m_result.Code));
    }

private:
    CalibrationUnit& m_unit;
    CalibrationResult& m_result;
    bool m_mayBeOn = true;
};

CalibrationUnit Calibration::Unit() const
{
    return {m_links.usb, m_links.time, m_links.settings, m_links.state.TargetAddress};
}

namespace {

/// The bus for one operation, and the answer when it is not to be had.
bool Granted(const BusSequence& bus, bool alreadyRunning, CalibrationResult& result)
{
    if (bus)
        return true;
    result.Ended = alreadyRunning ? CalibrationResult::Kind::Cancelled : CalibrationResult::Kind::Busy;
    result.Code = ErrorCode::BusBusy;
    result.Problem = QStringLiteral("Another sequence holds the bus. Try again when it has ended.");
    return false;
}

} // namespace

Calibration::Status Calibration::ReadStatus()
{
    Status status;
    CalibrationResult& result = status.Result;
    const BusSequence bus(m_links.access, kOwner);
    if (!Granted(bus, m_running, result))
        return status;
    const QScopedValueRollback running(m_running, true);
    m_cancel = false;
    status.Pack = ReadPackIdentity(m_links.usb, m_links.state.TargetAddress);
    CalibrationUnit unit = Unit();
    Mode mode(unit, result);
    if (!mode)
        return status;
    result.Code = unit.ReadConstants(result.Old);
    if (!Failed(result.Code))
        result.Code = unit.Read(status.Reading);
    if (Failed(result.Code))
        mode.Fail(QStringLiteral("The gauge's calibration unit does not answer: %1."));
    result.New = result.Old;
    return status;
}

CalibrationResult Calibration::Measure(const CalibrationRequest& request)
{
    CalibrationResult result;
    result.Request = request;
    const StepFacts& facts = FactsOf(request.Step);
    if (facts.NeedsReference && !(request.Reference >= facts.Least && request.Reference <= facts.Most)) {
        result.Ended = CalibrationResult::Kind::Refused;
        result.Problem = QStringLiteral("The reference must lie between %1 and %2. Nothing was sent.")
                             .arg(WithUnit(facts.Least, facts), WithUnit(facts.Most, facts));
        return result;
    }
    const BusSequence bus(m_links.access, kOwner);
    if (!Granted(bus, m_running, result))
        return result;
    const QScopedValueRollback running(m_running, true);
    m_cancel = false;
    CalibrationUnit unit = Unit();
    Mode mode(unit, result);
    if (!mode)
        return result;
    result.Code = unit.ReadConstants(result.Old);
    if (Failed(result.Code)) {
        mode.Fail(QStringLiteral("The gauge's constants could not be read: %1. Nothing was written."));
        return result;
    }
    Collect(unit, result, result.Old, result.Before);
    if (result.Ok())
        Compute(result);
    return result;
}

void Calibration::Collect(CalibrationUnit& unit, CalibrationResult& result, const CalibrationConstants& with,
                          ReadingStatistics& statistics)
{
    const int wanted = std::max(kLeastReadings, result.Request.Readings);
    RawReading last;
    result.Code = unit.Read(last); // the one that is under way may be older than the mode
    std::int64_t since = m_links.time.MonotonicMs();
    while (!Failed(result.Code) && statistics.Count < wanted && !m_cancel) {
        WaitMs(m_links.time, kPollMs);
        RawReading reading;
        result.Code = unit.Read(reading);
        if (Failed(result.Code))
            break;
        if (reading.Number == last.Number) {
            if (m_links.time.MonotonicMs() - since < kReadingMs)
                continue;
            result.Ended = CalibrationResult::Kind::Failed;
            result.Code = ErrorCode::Timeout;
            result.Problem = QStringLiteral("The gauge gave no new reading for %1 s. Nothing was written.")
                                 .arg(kReadingMs / 1000);
            return;
        }
        since = m_links.time.MonotonicMs();
        last = reading;
        statistics.Add(ValueOf(reading, result.Request, with));
        result.MostCurrent = std::max(result.MostCurrent, std::abs(with.Milliamps(reading.Current)));
        if (OnReading)
            OnReading(statistics, wanted);
    }
    if (Failed(result.Code)) {
        result.Ended = CalibrationResult::Kind::Failed;
        result.Problem = QStringLiteral("Reading %1 of %2 failed: %3.")
                             .arg(statistics.Count + 1)
                             .arg(wanted)
                             .arg(ErrorCodeToText(result.Code));
    } else if (statistics.Count < wanted) {
        result.Ended = CalibrationResult::Kind::Cancelled;
        result.Code = ErrorCode::UserCancelled;
        result.Problem
            = QStringLiteral("Cancelled after %1 of %2 readings.").arg(statistics.Count).arg(wanted);
    }
}

/// New constants from the readings, or why these readings cannot be right.
void Calibration::Compute(CalibrationResult& result) const
{
    const CalibrationRequest& request = result.Request;
    const StepFacts& facts = FactsOf(request.Step);
    const ReadingStatistics& seen = result.Before;
    const CalibrationConstants& old = result.Old;
    const double reference = request.Reference;
    CalibrationConstants& fresh = result.New;
    fresh = old;
    QString why;
    const auto noisy = [&](double most) {
        if (why.isEmpty() && seen.Deviation > most)
            why = QStringLiteral(
                      "the readings scatter by %1, %2 is the most that is trusted. Wait until the value is "
                      "steady and measure again.")
                      .arg(WithUnit(seen.Deviation, facts), WithUnit(most, facts));
    };
    const auto farOff = [&](double ratio, double most) {
        if (why.isEmpty() && !(std::abs(ratio - 1) <= most))
            why = QStringLiteral(
                      "that is more than %1 % from the reference of %2. Look at the wiring and at the "
                      "reference.")
                      .arg(100 * most)
                      .arg(WithUnit(reference, facts));
    };
    const auto loaded = [&] { // wires drop some of the voltage, and the cells grow warm
        if (why.isEmpty() && result.MostCurrent > kMostIdleMa)
            why = QStringLiteral("a current of %1 mA flows. Switch charger and load off.")
                      .arg(std::lround(result.MostCurrent));
    };
    switch (request.Step) {
    case CalibrationStep::CurrentOffset: {
        const double counts = seen.Mean + old.CurrentOffset() / 16.0;
        noisy(kMostOffsetNoise);
        if (why.isEmpty() && std::abs(counts) > kMostShortedCounts)
            why = QStringLiteral("an offset of %1 counts is no offset; the converter may be damaged.")
                      .arg(counts, 0, 'f', 1);
        if (why.isEmpty())
            fresh.SetCurrentOffset(static_cast<int>(std::lround(16 * counts)));
        break;
    }
    case CalibrationStep::BoardOffset: {
        const double counts = (seen.Mean - reference) / old.CurrentGain() + old.BoardOffset();
        noisy(kMostOffsetNoise * old.CurrentGain());
        if (why.isEmpty() && std::abs(seen.Mean - reference) > kMostIdleMa)
            why = QStringLiteral("a current flows. Switch charger and load off.");
        if (why.isEmpty() && !(std::abs(counts) <= 127)) // no number, where the gain is 0
            why = QStringLiteral(
                "the offset is too large for its place. Calibrate the current offset first.");
        if (why.isEmpty())
            fresh.SetBoardOffset(static_cast<int>(std::lround(counts)));
        break;
    }
    case CalibrationStep::CurrentGain: {
        if (std::abs(reference) < 200)
            why = QStringLiteral("a gain needs at least 200 mA, and gets better with more.");
        const double ratio = reference / seen.Mean;
        farOff(ratio, kMostCurrentChange);
        noisy(kMostCurrentNoise * std::abs(seen.Mean));
        if (why.isEmpty())
            fresh.SetCurrentGain(old.CurrentGain() * ratio);
        break;
    }
    case CalibrationStep::Voltage: {
        const double ratio = reference / seen.Mean;
        loaded();
        farOff(ratio, kMostVoltageChange);
        noisy(kMostVoltageNoise * seen.Mean);
        const double gain = old.VoltageGain() * ratio;
        if (why.isEmpty() && !(gain >= 1 && gain <= 65535))
            why = QStringLiteral("the gain would not fit its place.");
        if (why.isEmpty())
            fresh.SetVoltageGain(static_cast<int>(std::lround(gain)));
        break;
    }
    case CalibrationStep::Temperature: {
        const double offset = old.TemperatureOffset(request.Sensor) + 10 * (reference - seen.Mean);
        loaded();
        noisy(kMostTemperatureNoise);
        if (why.isEmpty() && std::abs(offset) > 127)
            why = QStringLiteral(
                "that is more than an offset of 12.7 K can mend. Look at the sensor and at the "
                "reference.");
        if (why.isEmpty())
            fresh.SetTemperatureOffset(request.Sensor, static_cast<int>(std::lround(offset)));
        break;
    }
    }
    if (why.isEmpty())
        return;
    fresh = old;
    result.Ended = CalibrationResult::Kind::Refused;
    result.Problem = Refusal(seen, facts, why);
}

CalibrationResult Calibration::Store(const CalibrationResult& measured)
{
    CalibrationResult result = measured;
    const BusSequence bus(m_links.access, kOwner);
    if (!Granted(bus, m_running, result))
        return result;
    const QScopedValueRollback running(m_running, true);
    m_cancel = false;
    const PackIdentity pack = ReadPackIdentity(m_links.usb, m_links.state.TargetAddress);
    StoreHeld(result);
    AddRecord(result, pack, false);
    return result;
}

/// Tries, stores, and proves in a second visit to the mode, which starts from what the flash holds.
void Calibration::StoreHeld(CalibrationResult& result)
{
    CalibrationUnit unit = Unit();
    {
        Mode mode(unit, result);
        CalibrationConstants now;
        if (mode)
            result.Code = unit.ReadConstants(now);
        if (mode && !Failed(result.Code) && now != result.Old) {
            result.Ended = CalibrationResult::Kind::Refused;
            result.Problem
                = QStringLiteral("The gauge's constants are not the ones that were measured with: another "
                                 "pack, or somebody changed them. Nothing was written; measure again.");
            return;
        }
        if (mode && !Failed(result.Code))
            result.Code = unit.Try(result.New);
        if (mode && !Failed(result.Code) && !m_cancel)
            result.Code = unit.Store();
        if (mode && Failed(result.Code))
            mode.Fail(QStringLiteral(
                "The constants could not be stored: %1. Read the calibration again to see which "
                "ones the gauge has."));
        if (!mode)
            return;
        if (m_cancel) {
            result.Ended = CalibrationResult::Kind::Cancelled;
            result.Code = ErrorCode::UserCancelled;
            result.Problem = QStringLiteral("Cancelled; nothing was stored.");
            return;
        }
    }
    if (!result.Ok() || result.ModeInDoubt)
        return;
    Mode mode(unit, result);
    CalibrationConstants now;
    if (mode)
        result.Code = unit.ReadConstants(now);
    if (mode && Failed(result.Code))
        mode.Fail(QStringLiteral("The constants were sent, but could not be read back: %1."));
    if (!mode)
        return;
    result.Stored = now == result.New;
    if (!result.Stored) {
        result.Ended = CalibrationResult::Kind::Failed;
        result.Code = ErrorCode::CompareDifferent;
        result.Problem = QStringLiteral("The gauge acknowledged the constants but did not keep them.");
        return;
    }
    result.After = {};
    Collect(unit, result, now, result.After);
    if (!result.Ok())
        return;
    const StepFacts& facts = FactsOf(result.Request.Step);
    const double wanted = facts.NeedsReference ? result.Request.Reference : 0;
    const double most = std::max({StepOf(result.Request.Step), kMostAfterError * std::abs(wanted),
                                  3 * result.After.Deviation / std::sqrt(result.After.Count)});
    if (std::abs(result.After.Mean - wanted) > most) {
        result.Ended = CalibrationResult::Kind::Refused;
        result.Problem
            = QStringLiteral(
                  "The constants were stored, but the gauge now shows %1 for %2. The value may have "
                  "changed meanwhile: measure again, or restore the constants.")
                  .arg(WithUnit(result.After.Mean, facts), WithUnit(wanted, facts));
    }
}

CalibrationResult Calibration::Restore()
{
    CalibrationResult result;
    const BusSequence bus(m_links.access, kOwner);
    if (!Granted(bus, m_running, result))
        return result;
    const QScopedValueRollback running(m_running, true);
    m_cancel = false;
    const PackIdentity pack = ReadPackIdentity(m_links.usb, m_links.state.TargetAddress);
    QString problem;
    const std::optional<CalibrationConstants> before = ConstantsBefore(RecordFolder(), pack, problem);
    if (!before) {
        result.Ended = CalibrationResult::Kind::Refused;
        result.Problem = problem;
        return result;
    }
    CalibrationUnit unit = Unit();
    {
        Mode mode(unit, result);
        if (mode)
            result.Code = unit.ReadConstants(result.Old);
        result.New = *before;
        if (mode && !Failed(result.Code))
            result.Code = unit.Try(result.New);
        if (mode && !Failed(result.Code))
            result.Code = unit.Store();
        if (mode && Failed(result.Code))
            mode.Fail(QStringLiteral("The constants could not be restored: %1."));
    }
    if (result.Ok() && !result.ModeInDoubt) {
        Mode mode(unit, result);
        CalibrationConstants now;
        if (mode)
            result.Code = unit.ReadConstants(now);
        result.Stored = mode && !Failed(result.Code) && now == result.New;
        if (mode && !result.Stored) {
            result.Code = Failed(result.Code) ? result.Code : ErrorCode::CompareDifferent;
            mode.Fail(QStringLiteral("The constants were sent, but reading them back says: %1."));
        }
    }
    AddRecord(result, pack, true);
    return result;
}

QString Calibration::RecordFolder() const
{
    return m_links.state.ProgramFolder + QStringLiteral("/Calibration");
}

void Calibration::AddRecord(CalibrationResult& result, const PackIdentity& pack, bool restored) const
{
    const QString problem
        = AppendCalibrationRecord(RecordFolder(), m_links.time.Now(), pack, result, restored, result.Record);
    if (!problem.isEmpty())
        result.Problem += (result.Problem.isEmpty() ? QString() : QStringLiteral(" ")) + problem;
}

ErrorCode TakeGaugeSettings(frmUSB& usb, GaugeAccess& access, ProfileStore& profiles, UserMessages& messages,
                            const StartupState& state, TargetSettings& settings)
{
    const IdentityRequest request = ReadIdentityRequest(profiles, state);
    if (!request.Allowed)
        return ErrorCode::Ok;
    QString identity;
    {
        const ExclusiveAccess bus(access, kOwner);
        if (!bus)
            return ErrorCode::BusBusy;
        const ErrorCode err = ReadGaugeIdentity(usb, request, state.TargetAddress, identity);
        if (Failed(err))
            return err;
    }
    (void)LoadTargetSettings(profiles, messages, state.ProgramFolder, GetDeviceKey(identity), settings);
    return ErrorCode::Ok;
}

std::optional<double> SimulatedMeter(frmUSB& usb, GaugeAccess& access, CalibrationStep step)
{
    constexpr std::int16_t kMeter = 0x92; // on the simulated bench only; docs/simulator.md
    if (usb.Facts().Kind != QLatin1String("simulated") || !FactsOf(step).NeedsReference)
        return std::nullopt;
    const bool current = step == CalibrationStep::CurrentGain || step == CalibrationStep::BoardOffset;
    const std::int16_t what = step == CalibrationStep::Voltage ? 0 : current ? 1 : 2;
    const ExclusiveAccess bus(access, kOwner, 0);
    Bytes answer;
    std::int16_t length = 2;
    ErrorCode err = ErrorCode::BusBusy;
    if (bus)
        usb.I2CReadBlock(kMeter, what, answer, length, err);
    if (Failed(err) || answer.size() != 2)
        return std::nullopt;
    const auto word = static_cast<std::int16_t>(answer[0] | answer[1] << 8);
    switch (step) {
    case CalibrationStep::Voltage:
        return static_cast<std::uint16_t>(word);
    case CalibrationStep::Temperature:
        return static_cast<std::uint16_t>(word) / 10.0 - 273.15;
    default:
        return word / 10.0;
    }
}
