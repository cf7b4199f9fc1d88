#include "sbs/FlagView.h"
#include "sbs/FormState.h"
#include "sbs/Intervals.h"
#include "sbs/StaticData.h"

#include "tests/sbs/ScanBench.h"

namespace {

struct IntervalCase {
    const char* name;
    bool refresh;
    const char* answer;
    Intervals after; ///< from 2000 and 5000
    const char* messages;
};

class IntervalAnswer : public testing::TestWithParam<IntervalCase> { };

} // namespace

TEST_P(IntervalAnswer, KeepsRefreshAtOrBelowLogging)
{
    const QString answer = QString::fromLatin1(GetParam().answer);
    const IntervalChange change
        = GetParam().refresh ? SetRefreshInterval({}, answer) : SetLoggingInterval({}, answer);
    EXPECT_EQ(change.intervals, GetParam().after);
    EXPECT_EQ(change.messages.join(u'/'), QString::fromLatin1(GetParam().messages));
}

INSTANTIATE_TEST_SUITE_P(
    Answers, IntervalAnswer,
    testing::Values(
        IntervalCase{"Plain", true, " 100 ", {100, 5000}, ""}, IntervalCase{"Zero", true, "0", {1, 5000}, ""},
        IntervalCase{"Cancel", true, "", {2000, 5000}, "The original value has been retained."},
        IntervalCase{"Nan", false, "nan", {2000, 5000}, "The original value has been retained."},
        IntervalCase{"Highest", false, "64767", {2000, 64767}, ""},
        IntervalCase{
            "AboveHighest",
            true,
            "70000",
            {64767, 64767},
            "The maximum value allowed is 64767ms/The scan interval is greater than the logging interval! "
            "Logging interval has been automatically updated to 64767ms"},
        IntervalCase{"BelowRefresh",
                     false,
                     "-1e300",
                     {1, 1},
                     "The scan interval is less than the logging interval! "
                     "Scan interval has been automatically updated to 1ms"}),
    [](const auto& row) { return row.param.name; });

TEST(FormState, BringsStoredIntervalsIntoTheirRulesAndWritesWhatChanged)
{
    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("Config.ini"));
    const QByteArray stored
        = "[SBS]\r\nScanInterval=90000\r\nLogInterval=20\r\nHide=3\r\n[SBSScan]\r\n1ScanRow=0\r\n";
    ASSERT_EQ(SaveWhole(file, stored), QString());
    ProfileStore profiles;
    StartupState state;
    state.ProgramFolder = folder.path();
    TableSettings settings(profiles, state);

    FormState form = LoadFormState(settings, 3);
    EXPECT_EQ(form.Interval, (Intervals{64767, 64767}));
    EXPECT_EQ(form.Scan, (std::vector<bool>{true, false, true}));
    EXPECT_EQ(form.Hide, 3);
    EXPECT_EQ(form.Ocx, 512);

    form.Interval = {90000, 20}; // as stored
    EXPECT_EQ(SaveFormState(settings, form), QString());
    EXPECT_EQ(ReadWhole(file).bytes, stored);
    form.Scan = {true, true, false};
    form.ScanOff = true;
    form.Roomy = 1;
    form.HiddenColumns = 5;
    EXPECT_EQ(SaveFormState(settings, form), QString());
    const FormState again = LoadFormState(settings, 3);
    EXPECT_EQ(again.Scan, form.Scan);
    EXPECT_TRUE(again.ScanOff);
    EXPECT_EQ(std::pair(again.Roomy, again.HiddenColumns), std::pair(1, 5));
}

TEST(FlagLine, NamesBitsFromTheHighestDown)
{
    const QString mode = QStringLiteral("Mode;;1;3;x;x;0;hhhh;");
    struct Case {
        const char* flag;
        const char* shown; ///< name=value for each bit
    };
    for (const Case& given :
         {Case{"F;A||C|D;0;4", "A=1 =0 C=1 D=0"}, Case{"F;A;0;2", "A=1 =0"}, Case{"F;A|B|C;0;1", "A=0"},
          Case{"F;A;0;-3", ""}, Case{"F;A;9;1", "A=?"}, Case{"F;A|B;-1;2", "A=? B=?"},
          Case{"F;W|X;0;17", "W=? X=1 =1 =1 =1 =1 =1 =1 =1 =1 =1 =1 =1 =1 =0 =1 =0"}}) {
        ScanBench bench({mode}, {QString::fromLatin1(given.flag)});
        bench.gauge.words[3] = 0xFFFA;
        bench.engine.ReadValues();
        QStringList shown;
        const FlagLine line = ReadFlagLine(bench.engine, 0);
        for (const FlagBit& bit : line.Bits)
            shown << bit.Name + u'=' + (bit.Value ? QString::number(*bit.Value) : QStringLiteral("?"));
        EXPECT_EQ(shown.join(u' '), QString::fromLatin1(given.shown)) << given.flag;
        EXPECT_EQ(line.Scanned, line.Row == 0);
    }
}

namespace {

struct StaticCase {
    const char* name;
    std::uint16_t specification;
    std::uint16_t mode;
    std::uint16_t date;
    const char* shown;
    int failAt = 0;
};

class StaticDataBlock : public testing::TestWithParam<StaticCase> { };

} // namespace

TEST_P(StaticDataBlock, AppliesScalesAndKeepsUnknownsUnknown)
{
    ScanBench bench({});
    bench.gauge.words[0x1A] = GetParam().specification;
    bench.gauge.words[0x03] = GetParam().mode;
    bench.gauge.words[0x1B] = GetParam().date;
    bench.gauge.words[0x1C] = 65535;
    bench.gauge.words[0x18] = 5200;
    bench.gauge.words[0x19] = 14400;
    bench.gauge.block = {'A', 0xB5, 0x0D, 0};
    bench.gauge.failAt = GetParam().failAt;
    QStringList shown;
    for (const StaticItem& item : ReadStaticData(bench.usb, bench.access, 22)) {
        shown << item.Text;
        EXPECT_EQ(item.Error.isEmpty(), !item.Text.isEmpty()) << item.Caption.toStdString();
    }
    EXPECT_EQ(shown.mid(0, 3).join(u'|'), QString::fromLatin1("A\xB5??|A\xB5??|A\xB5??"));
    EXPECT_EQ(shown.mid(3).join(u'|'), QString::fromLatin1(GetParam().shown));
}

INSTANTIATE_TEST_SUITE_P(
    Packs, StaticDataBlock,
    testing::Values(
        StaticCase{"Common", 0x0031, 0, 0x58CC, "2024-06-12|65535|5200 mAh|14400 mV|1.1 with PEC"},
        StaticCase{"TenMilliwattHours", 0x0021, 0x8000, 0x58CC, "2024-06-12|65535|52000 mWh|14400 mV|1.1"},
        StaticCase{"Scales", 0x1210, 0, 0x0000, "1980-unknown-unknown|65535|52000 mAh|1440000 mV|1.0"},
        StaticCase{"ScalesOfEnergy", 0x1210, 0x8000, 0x59AC,
                   "2024-unknown-12|65535|52000000 mWh|1440000 mV|1.0"},
        StaticCase{"ReservedScale", 0x4011, 0, 0x5A3E, "2025-01-30|65535||14400 mV|1.0"},
        StaticCase{"NoSuchDay", 0x00F0, 0, 0x5A5E, "2025-02-unknown|65535|5200 mAh|14400 mV|unknown (15)"},
        StaticCase{"NoSpecification", 0x0031, 0, 0x58CC, "2024-06-12|65535|||", 1},
        StaticCase{"NoMode", 0x0031, 0, 0x58CC, "2024-06-12|65535||14400 mV|1.1 with PEC", 7}),
    [](const auto& row) { return row.param.name; });
