#include "calibration/Calibration.h"
#include "calibration/CalibrationRecord.h"
#include "comm/Wait.h"
#include "comm/adapters/SimulatedAdapter.h"
#include "tests/support/TestSupport.h"

#include <QFile>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>

namespace {

SimulatorSettings Uncalibrated(std::uint64_t seed)
{
    SimulatorSettings settings;
    settings.Seed = seed;
    settings.Uncalibrated = true;
    return settings;
}

/// A gauge with converters that are wrong, and a person with good instruments.
struct Bench {
    explicit Bench(const SimulatorSettings& settings) : adapter(time, settings)
    {
        state.ProgramFolder = folder.path();
        target.CalWr = 0x4341;
        target.CalWrSig = 0x5752;
        bool open = false;
        usb.OpenFirstFreeDevice(open);
        EXPECT_TRUE(open);
    }
    double Register(std::uint8_t command)
    {
        std::int16_t word = 0;
        ErrorCode err = ErrorCode::Ok;
        usb.ReadSMBusWord_(command, word, state.TargetAddress, err);
        EXPECT_EQ(err, ErrorCode::Ok);
        return word;
    }
    double True(CalibrationStep step) { return SimulatedMeter(usb, access, step).value_or(NAN); }
    double Shown(CalibrationStep step)
    {
        if (step == CalibrationStep::Temperature)
            return Register(0x08) / 10 - 273.15;
        return Register(step == CalibrationStep::Voltage ? 0x09 : 0x0A);
    }
    double Error(CalibrationStep step) { return std::abs(Shown(step) - True(step)); }
    void Line(std::int16_t line, std::int16_t level)
    {
        ErrorCode err = ErrorCode::Ok;
        usb.GPIOWrite(line, level, err);
        EXPECT_EQ(err, ErrorCode::Ok);
        WaitMs(time, 90'000); // until voltage and current are steady
    }
    CalibrationResult Do(CalibrationStep step)
    {
        const CalibrationResult measured
            = calibration.Measure({step, step == CalibrationStep::CurrentOffset ? 0 : True(step)});
        EXPECT_TRUE(measured.Ok()) << measured.Problem.toStdString();
        return calibration.Store(measured);
    }
    bool InMode()
    {
        const bool on = Register(0x54) == 6;
        return on;
    }

    TestTime time;
    RecordedMessages messages;
    QTemporaryDir folder;
    StartupState state;
    TargetSettings target;
    SimulatedAdapter adapter;
    frmUSB usb{adapter, time, messages, {}};
    GaugeAccess access{time, messages};
    Calibration calibration{{usb, access, time, target, state}};
};

} // namespace

// The figures are sums over many gauges: what calibration leaves must be what one step of a register is.
TEST(Calibration, TakesOutTheErrorsOfEveryGauge)
{
    constexpr int kGauges = 20;
    double voltageBefore = 0;
    double currentBefore = 0;
    double temperatureBefore = 0;
    for (std::uint64_t seed = 1; seed <= kGauges; ++seed) {
        SCOPED_TRACE(seed);
        Bench bench(Uncalibrated(seed));
        voltageBefore += bench.Error(CalibrationStep::Voltage);
        temperatureBefore += bench.Error(CalibrationStep::Temperature);
        for (const CalibrationStep step : {CalibrationStep::CurrentOffset, CalibrationStep::BoardOffset,
                                           CalibrationStep::Voltage, CalibrationStep::Temperature}) {
            const CalibrationResult result = bench.Do(step);
            EXPECT_TRUE(result.Ok() && result.Stored) << result.Problem.toStdString();
        }
        bench.Line(1, 1); // the load
        currentBefore += bench.Error(CalibrationStep::CurrentGain);
        const CalibrationResult gain = bench.Do(CalibrationStep::CurrentGain);
        EXPECT_TRUE(gain.Ok()) << gain.Problem.toStdString();
        WaitMs(bench.time, 2000); // registers are a second old
        EXPECT_LE(bench.Error(CalibrationStep::CurrentGain), 3);
        EXPECT_LE(bench.Error(CalibrationStep::Voltage), 4);
        EXPECT_LE(bench.Error(CalibrationStep::Temperature), 0.2);
        EXPECT_FALSE(bench.InMode());
    }
    EXPECT_GT(voltageBefore / kGauges, 30);
    EXPECT_GT(currentBefore / kGauges, 10);
    EXPECT_GT(temperatureBefore / kGauges, 0.5);
}

TEST(Calibration, KeepsWhatItStoredAndPutsItBack)
{
    Bench bench(Uncalibrated(3));
    const CalibrationConstants factory = bench.calibration.ReadStatus().Result.Old;
    const CalibrationResult done = bench.Do(CalibrationStep::Voltage);
    EXPECT_EQ(bench.calibration.ReadStatus().Result.Old, done.New);
    EXPECT_NE(done.New, factory);

    QFile record(done.Record);
    ASSERT_TRUE(record.open(QIODevice::ReadOnly));
    const QJsonObject line = QJsonDocument::fromJson(record.readLine()).object();
    EXPECT_TRUE(line[QStringLiteral("stored")].toBool());
    EXPECT_EQ(line[QStringLiteral("constants_before")].toString(), HexText(factory.Block()));

    const CalibrationResult restored = bench.calibration.Restore();
    EXPECT_TRUE(restored.Stored) << restored.Problem.toStdString();
    EXPECT_EQ(bench.calibration.ReadStatus().Result.Old, factory);
}

TEST(Calibration, RefusesWhatCannotBeRightAndWritesNothing)
{
    struct Case {
        const char* what;
        CalibrationRequest request;
        std::int16_t load;
        QString words;
    };
    const Case cases[] = {
        {"reference of another pack",
         {CalibrationStep::Voltage, 12'000},
         0,
         QStringLiteral("more than 10 %")},
        {"no number", {CalibrationStep::Voltage, NAN}, 0, QStringLiteral("must lie between")},
        {"no current for a gain", {CalibrationStep::CurrentGain, -2}, 0, QStringLiteral("at least 200 mA")},
        {"wrong sign", {CalibrationStep::CurrentGain, 2200}, 1, QStringLiteral("more than 25 %")},
        {"current for an offset", {CalibrationStep::BoardOffset, 0}, 1, QStringLiteral("a current flows")},
        {"voltage under load",
         {CalibrationStep::Voltage, 15'000},
         1,
         QStringLiteral("Switch charger and load off")},
        {"too far off", {CalibrationStep::Temperature, 60}, 0, QStringLiteral("12.7 K")},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.what);
        Bench bench(Uncalibrated(5));
        if (one.load != 0)
            bench.Line(1, one.load);
        const CalibrationResult result = bench.calibration.Measure(one.request);
        EXPECT_EQ(result.Ended, CalibrationResult::Kind::Refused);
        EXPECT_TRUE(result.Problem.contains(one.words)) << result.Problem.toStdString();
        EXPECT_EQ(result.New, result.Old);
        EXPECT_FALSE(bench.InMode());
    }
}

TEST(Calibration, LeavesTheModeWhenCancelledAndSaysSoWhenItCannot)
{
    Bench bench(Uncalibrated(7));
    bench.calibration.OnReading = [&](const ReadingStatistics& readings, int) {
        if (readings.Count == 3)
            bench.calibration.Cancel();
    };
    const CalibrationResult cancelled = bench.calibration.Measure({CalibrationStep::Voltage, 15'300});
    EXPECT_EQ(cancelled.Ended, CalibrationResult::Kind::Cancelled);
    EXPECT_FALSE(bench.InMode());

    SimulatorSettings pulled = Uncalibrated(7);
    pulled.Faults.Scheduled = {{20, Fault::Unplug}};
    Bench gone(pulled);
    const CalibrationResult result = gone.calibration.Measure({CalibrationStep::Voltage, 15'300});
    EXPECT_EQ(result.Ended, CalibrationResult::Kind::Failed);
    EXPECT_TRUE(result.ModeInDoubt);
    EXPECT_FALSE(GaugeAccess::Held());
}

/// A pack that was exchanged between measuring and writing must not get the other one's constants.
TEST(Calibration, DoesNotStoreConstantsMeasuredOnAnotherPack)
{
    Bench one(Uncalibrated(3));
    Bench other(Uncalibrated(4));
    const CalibrationResult measured
        = one.calibration.Measure({CalibrationStep::Voltage, one.True(CalibrationStep::Voltage)});
    ASSERT_TRUE(other.Do(CalibrationStep::CurrentOffset).Stored);
    const CalibrationResult result = other.calibration.Store(measured);
    EXPECT_EQ(result.Ended, CalibrationResult::Kind::Refused);
    EXPECT_FALSE(result.Stored);
}
