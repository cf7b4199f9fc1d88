#include "tests/flashimage/SimulatedGauge.h"
#include "tests/support/ScriptedAdapter.h"

#include <gtest/gtest.h>

namespace {

bool Same(const clsSrecFlash::Region& one, const clsSrecFlash::Region& other)
{
    return one.Start() == other.Start() && std::ranges::equal(one.View(), other.View());
}

bool operator==(const clsSrecFlash& one, const clsSrecFlash& other)
{
    return Same(one.DF, other.DF) && Same(one.PF, other.PF);
}

TEST(FlashProgrammer, ProgramsVerifiesAndStartsTheGauge)
{
    for (const bool massErase : {false, true}) {
        SimulatedGauge gauge;
        clsSrecFlash image = gauge.ReadBack();
        EXPECT_EQ(gauge.Mode(), GaugeMode::Firmware) << "reading starts the firmware again";
        image.DF.View()[100] ^= 0xA5; // needs bits set: programming alone could not
        image.DF.View()[2047] = 0x12;
        const std::int64_t before = gauge.time.MonotonicMs();
        const FlashOutcome outcome = gauge.programmer.Program(image, {.MassErase = massErase});
        EXPECT_TRUE(outcome.Ok()) << outcome.Text.toStdString();
        EXPECT_EQ(outcome.Mode, GaugeMode::Firmware);
        EXPECT_TRUE(gauge.ReadBack() == image);
        EXPECT_EQ(gauge.ReadVoltage(), ErrorCode::Ok);
        const auto rows
            = MakeFlashPlan(image, gauge.settings, {.MassErase = massErase, .Verify = false}, 1e9);
        EXPECT_EQ(gauge.time.MonotonicMs() - before,
                  (rows.Parts[0].EraseRows + rows.Parts[1].EraseRows) * 10
                      + (rows.Parts[0].ProgramRows + rows.Parts[1].ProgramRows) * 2 + (massErase ? 200 : 0));
        EXPECT_FALSE(GaugeAccess::Held());
    }
}

TEST(FlashProgrammer, LeavesTheBytesBesideAnImageThatBeginsAndEndsWithinRows)
{
    SimulatedGauge gauge;
    const clsSrecFlash before = gauge.ReadBack();
    clsSrecFlash image;
    image.DF.Store(0x4000 + 50, Bytes(80, 0x3C)); // rows of 32: from the second into the fifth
    ASSERT_TRUE(gauge.programmer.Program(image, {}).Ok());
    clsSrecFlash expected = before;
    expected.DF.Store(0x4000 + 50, Bytes(80, 0x3C));
    EXPECT_TRUE(gauge.ReadBack() == expected);

    image.Clear();
    image.DF.Store(0x4000 + 70, Bytes(3, 0x99)); // within one
    ASSERT_TRUE(gauge.programmer.Program(image, {}).Ok());
    expected.DF.Store(0x4000 + 70, Bytes(3, 0x99));
    EXPECT_TRUE(gauge.ReadBack() == expected);
}

TEST(FlashProgrammer, RecognisesAndRecoversAGaugeWhosePowerWasCut)
{
    SimulatedGauge whole;
    const clsSrecFlash image = whole.ReadBack();
    SimulatedGauge gauge({.Scheduled = {{700, Fault::Unplug}}}); // in the instruction flash
    clsSrecFlash other = image;
    std::ranges::fill(other.PF.View(), std::uint8_t{0x77});
    FlashOutcome outcome = gauge.programmer.Program(other, {});
    EXPECT_EQ(outcome.Code, ErrorCode::NoUsb);
    EXPECT_EQ(outcome.Mode, GaugeMode::Unknown);
    EXPECT_TRUE(outcome.Text.contains(QStringLiteral("incomplete"))) << outcome.Text.toStdString();
    EXPECT_GT(outcome.Bytes, 2048);

    gauge.adapter.AdpCloseDevice();
    gauge.Open();
    EXPECT_EQ(gauge.Mode(), GaugeMode::Rom);
    EXPECT_EQ(gauge.ReadVoltage(), ErrorCode::DevRomMode);
    outcome = gauge.programmer.StartFirmware();
    EXPECT_EQ(outcome.Code, ErrorCode::DevRomMode);
    EXPECT_EQ(outcome.Mode, GaugeMode::Rom);

    outcome = gauge.programmer.Program(image, {.MassErase = true});
    EXPECT_TRUE(outcome.Ok()) << outcome.Text.toStdString();
    EXPECT_EQ(gauge.ReadVoltage(), ErrorCode::Ok);
    EXPECT_TRUE(gauge.ReadBack() == image);
}

TEST(FlashProgrammer, NamesTheStateThatACancelLeaves)
{
    struct Case {
        std::int64_t AtByte;
        bool MassErase;
        GaugeMode Left;
        const char* Says;
    };
    for (const Case& c :
         {Case{512, false, GaugeMode::Firmware, "instruction flash was not touched"},
          Case{4096, false, GaugeMode::Rom, "incomplete"}, Case{512, true, GaugeMode::Rom, "incomplete"}}) {
        SimulatedGauge gauge;
        clsSrecFlash image = gauge.ReadBack();
        std::ranges::fill(image.PF.View(), std::uint8_t{0x11});
        gauge.programmer.OnProgress = [&](const FlashProgress& progress) {
            if (progress.Done >= c.AtByte)
                gauge.programmer.Cancel();
        };
        const FlashOutcome outcome = gauge.programmer.Program(image, {.MassErase = c.MassErase});
        EXPECT_EQ(outcome.Code, ErrorCode::UserCancelled);
        EXPECT_EQ(outcome.Mode, c.Left);
        EXPECT_EQ(gauge.Mode(), c.Left);
        EXPECT_TRUE(outcome.Text.contains(QLatin1String(c.Says))) << outcome.Text.toStdString();
        EXPECT_LE(outcome.Bytes, c.AtByte + 512) << "a cancel waits for one step";
        EXPECT_FALSE(GaugeAccess::Held());
    }
}

TEST(FlashProgrammer, VerificationFindsWhatTheBusLost)
{
    struct Case {
        std::int64_t Transaction;
        ErrorCode Code;
    };
    // a row that nobody heard, although it was acknowledged: programmed rows lie between erased ones
    for (const Case& c :
         {Case{23, ErrorCode::DfChecksumMismatch}, Case{300, ErrorCode::IfChecksumMismatch}}) {
        SimulatedGauge gauge({.Scheduled = {{c.Transaction, Fault::LyingWrite}}});
        clsSrecFlash image;
        image.DF.Store(0x4000, Bytes(2048, 0x5A));
        image.PF.Store(0x100000, Bytes(0x8000, 0x5A));
        const FlashOutcome outcome = gauge.programmer.Program(image, {});
        EXPECT_EQ(outcome.Code, c.Code) << outcome.Text.toStdString();
        EXPECT_EQ(outcome.Mode, GaugeMode::Rom) << "what is known to be wrong is not started";
    }
    SimulatedGauge gauge;
    clsSrecFlash image = gauge.ReadBack();
    image.PF.View()[0x123] ^= 0x01;
    const FlashOutcome outcome = gauge.programmer.Verify(image);
    EXPECT_EQ(outcome.Code, ErrorCode::IfChecksumMismatch);
    EXPECT_TRUE(outcome.Text.contains(QStringLiteral("in 1 byte, the first at 00100123")))
        << outcome.Text.toStdString();
    EXPECT_EQ(outcome.Mode, GaugeMode::Firmware);
}

TEST(FlashProgrammer, GoesOnPastGlitchesOfTheBus)
{
    FaultSettings faults;
    for (std::int64_t at = 12; at < 400; at += 40)
        faults.Scheduled.push_back({at, at % 80 == 12 ? Fault::AddressNack : Fault::Timeout});
    SimulatedGauge gauge(faults);
    clsSrecFlash image;
    image.DF.Store(0x4000, Bytes(2048, 0x5A));
    const FlashOutcome outcome = gauge.programmer.Program(image, {});
    EXPECT_TRUE(outcome.Ok()) << outcome.Text.toStdString();
    EXPECT_EQ(outcome.Mode, GaugeMode::Firmware);
}

TEST(FlashProgrammer, SaysPlainlyThatAnAdapterCannotProgram)
{
    TestTime time;
    RecordedMessages messages;
    ScriptedAdapter adapter;
    frmUSB usb(adapter, time, messages, {});
    GaugeAccess access(time, messages);
    FlashProgrammer programmer(usb, access, time);
    for (int i = 0; i < 4; ++i)
        adapter.Will(ErrorCode::IncorrectParam);
    clsSrecFlash image;
    image.DF.Store(0x4000, Bytes(32, 0));
    const FlashOutcome outcome = programmer.Program(image, {.MassErase = true});
    EXPECT_EQ(outcome.Code, ErrorCode::IncorrectParam);
    EXPECT_TRUE(
        outcome.Text.startsWith(QStringLiteral("Nothing was changed: this adapter cannot program flash")));
    EXPECT_FALSE(adapter.calls.join(u' ').contains(QStringLiteral("MassErase")));
}

TEST(FlashProgrammer, RefusesASecondRunInsideTheFirst)
{
    SimulatedGauge gauge;
    clsSrecFlash image = gauge.ReadBack();
    ErrorCode inner = ErrorCode::Ok;
    gauge.programmer.OnProgress = [&](const FlashProgress&) {
        if (!Failed(inner))
            inner = gauge.programmer.Verify(image).Code;
    };
    EXPECT_TRUE(gauge.programmer.Program(image, {}).Ok());
    EXPECT_EQ(inner, ErrorCode::BusBusy);
}

TEST(FlashTarget, FindsWhatDoesNotGoTogether)
{
    struct Case {
        const char* What;
        std::function<void(clsSrecFlash&, FlashTarget&, FlashSubject&)> Spoil;
        ErrorCode Code;
        bool Refuses;
    };
    const std::vector<Case> cases{
        {"all fits", [](auto&, auto&, auto&) {}, ErrorCode::Ok, false},
        {"image of another device", [](auto& image, auto&, auto&) { image.S0Comment.replace(u'8', u'9'); },
         ErrorCode::SrecDevMismatch, true},
        {"a newer image",
         [](auto& image, auto&, auto&) { image.S0Comment = QStringLiteral("Device:800, Ver:1.03"); },
         ErrorCode::PcfgSrecDevVerMismatch, false},
        {"row of another device", [](auto&, auto& target, auto&) { target.Device = 0x801; },
         ErrorCode::PcfgDevMismatch, true},
        {"row of another version", [](auto&, auto& target, auto&) { target.Version = 0x200; },
         ErrorCode::PcfgDevVerMismatch, false},
        {"row for another image",
         [](auto&, auto& target, auto& subject) {
             target.Device = 0x801;
             subject.Gauge.reset();
         },
         ErrorCode::PcfgSrecDevMismatch, true},
        {"target of another device",
         [](auto&, auto&, auto& subject) {
             subject.Accepted = {{0x900, 0x102}};
         },
         ErrorCode::BcfgDevMismatch, true},
        {"target of another version",
         [](auto&, auto&, auto& subject) {
             subject.Accepted = {{0x800, 0x101}};
         },
         ErrorCode::BcfgDevVerMismatch, false},
        {"data below", [](auto& image, auto&, auto&) { image.DF.Cover(0x3FFF); }, ErrorCode::IncorrectParam,
         true},
        {"data behind", [](auto& image, auto&, auto&) { image.DF.Cover(0x4800); }, ErrorCode::IncorrectParam,
         true},
        {"too big", [](auto& image, auto&, auto&) { image.PF.Cover(0x108000); }, ErrorCode::IncorrectParam,
         true},
        {"no bytes", [](auto& image, auto&, auto&) { image.Clear(); }, ErrorCode::IncorrectParam, true},
    };
    for (const Case& c : cases) {
        clsSrecFlash image;
        image.S0Comment = QStringLiteral("made by hand, Device:800, Ver:1.02");
        image.DF.Store(0x4000, Bytes(2048, 1));
        image.PF.Store(0x107FFF, Bytes{1});
        FlashTarget target{QStringLiteral("sim"), 0x800, 0x102, 0x4000, 2048, 0x100000, 0x8000};
        FlashSubject subject{DeviceId{0x800, 0x102}, {{0x800, 0x102}}, QStringLiteral("sim4s")};
        c.Spoil(image, target, subject);
        const auto findings = CheckFlashFit(image, &target, {}, subject, {});
        EXPECT_EQ(Refused(findings), c.Refuses) << c.What;
        const bool found = c.Code == ErrorCode::Ok
            ? findings.empty()
            : std::ranges::any_of(findings, [&](const FlashFinding& one) { return one.Code == c.Code; });
        EXPECT_TRUE(found) << c.What;
    }
}

TEST(FlashTarget, ReadsDevicesAndRows)
{
    const DeviceId id{0x800, 0x102};
    for (const char* text :
         {"800.1.02", "800_1_02", "Device:800, Ver:1.02", "lot 7, Device:800, Ver:1.02 (bench)"})
        EXPECT_EQ(ReadDeviceId(QString::fromLatin1(text)), id) << text;
    for (const char* text : {"", "HDR", "generic", "800", "2026-01-05"})
        EXPECT_FALSE(ReadDeviceId(QString::fromLatin1(text))) << text;
    EXPECT_EQ(DeviceKey(id), QStringLiteral("800.1.02"));

    const auto row = [](const char* text) { return QString::fromLatin1(text).split(u','); };
    const auto targets
        = FlashTargetsOf({row("Name,Number,,,,,"), row("any,2048,0,16384,2048,1048576,32768"),
                          row("old,2048,257,16384,2048,-65536,4096"), row("other,2049,0,0,0,0,0")});
    ASSERT_EQ(targets.size(), 3U);
    EXPECT_EQ(targets[1].ProgramStart, 0xFFFF0000U);
    EXPECT_EQ(FindFlashTarget(targets, {0x800, 0x101}), 1);
    EXPECT_EQ(FindFlashTarget(targets, {0x800, 0x102}), 0);
    EXPECT_EQ(FindFlashTarget(targets, {0x900, 0x102}), -1);
}

} // namespace
