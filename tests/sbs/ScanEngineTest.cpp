#include "sbs/ScanEngine.h"

#include "tests/sbs/ScanBench.h"

#include <random>

namespace {

const QString kVolt = QStringLiteral("Voltage;Volt;1;9;x;x;0;d;mV");
const QString kCurr = QStringLiteral("Current;Curr;1;A;x/10;x*10;1;d;mA");
const QString kTemp = QStringLiteral("Temperature;;1;8;x;x;0;u;K");
const QString kBusy = QStringLiteral("The USB connection is busy! Failed communication!");
const QString kBadFormat = QStringLiteral("Error: Unknown display format encountered!");

QStringList Texts(std::initializer_list<const char*> texts)
{
    QStringList list;
    for (const char* text : texts)
        list << QString::fromLatin1(text);
    return list;
}

} // namespace

TEST(ScanEngine, EmptiesTheRowThatFailedAndReadsTheOthers)
{
    ScanBench bench({kVolt, kCurr, kTemp});
    bench.gauge.words[9] = 3712;
    bench.gauge.words[10] = static_cast<std::uint16_t>(-150);
    bench.gauge.words[8] = 2981;
    bench.engine.ReadValues();
    EXPECT_EQ(bench.Shown(), Texts({"3712", "-15", "2981"}));

    bench.time.Advance(2000);
    bench.gauge.words[9] = 3700;
    bench.gauge.failAt = 5;
    bench.engine.SetScan(2, false);
    bench.gauge.words[8] = 0;
    const PassReport report = bench.engine.ReadValues();
    EXPECT_EQ(bench.Shown(), Texts({"3700", "", "2981"})); // the row that is off keeps its value
    EXPECT_EQ(report.Answered, 1);
    EXPECT_EQ(report.Failed, 1);
    EXPECT_EQ(report.LastError, ErrorCode::NoAcknowledge);

    const RowState& volt = bench.engine.Row(0);
    EXPECT_EQ(volt.Direction, -1);
    EXPECT_EQ(volt.Min, 3700);
    EXPECT_EQ(volt.Max, 3712);
    const RowState& curr = bench.engine.Row(1);
    EXPECT_EQ(curr.Reason, ErrorCodeToText(ErrorCode::NoAcknowledge));
    EXPECT_EQ(curr.Raw, std::nullopt);
    EXPECT_EQ(curr.LastGoodText, QStringLiteral("-15"));
    EXPECT_EQ(bench.engine.AgeMs(1), 2000);
    EXPECT_EQ(curr.Reads, 2u);
    EXPECT_EQ(curr.Failures, 1u);
    EXPECT_FALSE(bench.engine.Row(2).Changed);

    const ValueHistory& history = bench.engine.History();
    ASSERT_EQ(history.Passes(), 2u);
    EXPECT_EQ(history.Value(1, 0), -15);
    EXPECT_TRUE(std::isnan(history.Value(1, 1)));
    EXPECT_TRUE(std::isnan(history.Value(2, 1)));
}

TEST(ScanEngine, EndsThePassWhenTheBusIsNotToBeHad)
{
    ScanBench bench({kVolt, kCurr});
    bench.engine.ReadValues();
    bench.gauge.words[9] = bench.gauge.words[10] = 70;
    bool taken = false;
    bench.time.onEvents = [&] { // a plug-in takes the bus after the first row and keeps it
        std::int16_t atOnce = 0;
        taken = taken || bench.access.AcquireUSBExclusiveAccess(atOnce);
    };
    EXPECT_EQ(bench.engine.ReadValues().End, PassEnd::BusBusy);
    bench.access.ReleaseUSBExclusiveAccess();
    EXPECT_EQ(bench.messages.texts,
              QStringList({QStringLiteral("Failed AcquireUSBExclusiveAccess!"), kBusy}));
    EXPECT_EQ(bench.Shown(), Texts({"70", "0"}));
}

TEST(ScanEngine, ShowsAMissingDriverFileWithTheBusGivenBack)
{
    ScanBench bench({kVolt, kCurr});
    bench.gauge.failAt = 1;
    bench.gauge.fault = ErrorCode::DriverFileMissing;
    bench.engine.ReadValues();
    EXPECT_EQ(bench.messages.texts, Texts({"Installation Error"}));
    EXPECT_FALSE(bench.messages.shownWhileHeld);
}

TEST(ScanEngine, ListsAFailingFactorOnceAndABadFormatOnEveryPass)
{
    ScanBench bench({QStringLiteral("Ratio;;1;1;1/x;x;0;d;"), QStringLiteral("Odd;;1;2;x;x;0;q;"), kVolt});
    bench.gauge.words[9] = 5;
    bench.engine.ReadValues();
    bench.engine.SetScan(1, false); // it still holds a number
    bench.engine.ReadValues();
    EXPECT_EQ(bench.Shown(), Texts({"", "", "5"}));
    EXPECT_EQ(bench.messages.texts, QStringList({kBadFormat, kBadFormat}));
    ASSERT_EQ(bench.errors.Entries().size(), 1u);
    EXPECT_EQ(bench.errors.Entries()[0].Count, 1u);
    EXPECT_TRUE(bench.errors.Entries()[0].Text.contains(bench.engine.Row(0).Reason));
    EXPECT_EQ(bench.engine.Row(0).Value, std::nullopt);
    EXPECT_EQ(bench.engine.Row(1).Value, 0);
}

TEST(ScanEngine, EndsAfterTheRowInHandWhenAskedTo)
{
    ScanBench bench({kVolt, kCurr});
    bench.gauge.words[9] = 7;
    bench.gauge.onCall = [&] { bench.engine.RequestStop(); };
    EXPECT_EQ(bench.engine.ReadValues().End, PassEnd::Stopped);
    EXPECT_EQ(bench.gauge.calls.size(), 1);
    EXPECT_EQ(bench.Shown(), Texts({"7", ""}));
    bench.gauge.onCall = {};
    EXPECT_EQ(bench.engine.ReadValues().End, PassEnd::Complete); // the request was for that pass

    std::int16_t atOnce = 0;
    bench.access.AcquireUSBExclusiveAccess(atOnce);
    bench.gauge.calls.clear();
    bench.time.onEvents = [&] { // also while the bus is awaited
        if (GaugeAccess::Held())
            bench.access.ReleaseUSBExclusiveAccess();
        bench.engine.RequestStop();
    };
    EXPECT_EQ(bench.engine.ReadValues().End, PassEnd::Stopped);
    EXPECT_TRUE(bench.gauge.calls.isEmpty());
}

TEST(ScanEngine, PutsNoOldValueIntoTablesLoadedDuringAPass)
{
    ScanBench bench({kVolt, kCurr});
    bench.gauge.words[9] = 7;
    bench.gauge.onCall = [&] { bench.engine.Reset({}); };
    EXPECT_EQ(bench.engine.ReadValues().End, PassEnd::Stopped);
    EXPECT_EQ(bench.gauge.calls.size(), 1);
    EXPECT_EQ(bench.Shown(), Texts({"", ""}));
    EXPECT_EQ(bench.engine.History().Passes(), 0u);
}

// Whatever events do in the middle of a pass: no two sequences mix on the bus, none is left holding it.
TEST(ScanEngine, SurvivesRandomReentry)
{
    const QString sub = QStringLiteral("Sub;;2;33;x;x;1;d;");
    for (unsigned seed = 0; seed < 60; ++seed) {
        ScanBench bench({sub, sub, kCurr, sub});
        std::mt19937 random(seed);
        const auto any
            = [&random](int below) { return static_cast<int>(random() % static_cast<unsigned>(below)); };
        RawValue raw = 0;
        const std::function<void()> actions[] = {
            [&] {
                EXPECT_EQ(bench.engine.ReadValues().End == PassEnd::Dropped,
                          bench.engine.Running() || GaugeAccess::Held());
            },
            [&] { (void)bench.engine.WriteSBSValueFromGrid(any(4), QStringLiteral("1")); },
            [&] { bench.engine.RequestStop(); },
            [&] { bench.engine.Reset({}); },
            [&] { bench.engine.SetCheckScan(any(2) == 0); },
            [&] { (void)bench.engine.ReadBack(any(4), raw); },
        };
        int depth = 0;
        const auto event = [&] {
            if (depth > 2 || any(3) != 0)
                return;
            ++depth;
            actions[any(6)]();
            --depth;
        };
        bench.time.onEvents = event;
        bench.gauge.onCall = event;
        for (int pass = 0; pass < 10; ++pass) {
            bench.engine.ReadValues();
            (void)bench.engine.WriteSBSValueFromGrid(2, QStringLiteral("1"));
        }
        EXPECT_FALSE(GaugeAccess::Held());
        EXPECT_FALSE(bench.engine.Running());
        EXPECT_EQ(bench.messages.texts, QStringList());
        // Each subcommand read that wrote 7 goes on with its own five steps.
        const QStringList calls = bench.gauge.calls.filter(QStringLiteral("Word"));
        for (qsizetype i = 0; i < calls.size(); ++i) {
            if (calls[i] != QStringLiteral("AdpWriteSMBusWord [0,7,22]"))
                continue;
            ASSERT_EQ(calls.mid(i + 1, 4),
                      Texts({"AdpReadSMBusWord [0,22]", "AdpWriteSMBusWord [0,51,22]",
                             "AdpReadSMBusWord [0,22]", "AdpWriteSMBusWord [0,0,22]"}));
        }
    }
}

TEST(ScanEngine, WritesOnlyWhatMayBeWritten)
{
    ScanBench bench(
        {kVolt, kCurr, QStringLiteral("None;;0;0;x;x;1;d;"), QStringLiteral("Byte;;3;1;x;x;1;d;")});
    struct Case {
        int row;
        const char* typed;
        const char* reason;
    };
    for (const Case& given :
         {Case{0, "1", "read only"}, Case{1, "7000", "outside"}, Case{2, "1", "no bus"},
          Case{3, "256", "one byte"}, Case{4, "1", "no such row"}, Case{-1, "1", "no such row"}}) {
        const WriteReport report
            = bench.engine.WriteSBSValueFromGrid(given.row, QString::fromLatin1(given.typed));
        EXPECT_FALSE(report.Sent);
        EXPECT_TRUE(report.Reason.contains(QString::fromLatin1(given.reason))) << report.Reason.toStdString();
    }
    EXPECT_TRUE(bench.gauge.calls.isEmpty());

    const WriteReport report = bench.engine.WriteSBSValueFromGrid(1, QStringLiteral("-15.0"));
    EXPECT_TRUE(report.Ok());
    EXPECT_EQ(report.Raw, -150);
    EXPECT_EQ(bench.gauge.calls[0], QStringLiteral("AdpWriteSMBusWord [10,-150,22]"));

    bench.gauge.failAt = static_cast<int>(bench.gauge.calls.size()) + 2; // accepted, then not acknowledged
    EXPECT_EQ(bench.engine.WriteSBSValueFromGrid(1, QStringLiteral("1")).Code, ErrorCode::NoAcknowledge);
    EXPECT_FALSE(GaugeAccess::Held());
}

TEST(ScanEngine, GivesBarAndUnitOnlyFromGoodReads)
{
    FormState form;
    form.RemCapRow = 1;
    form.BattModeRow = 0;
    ScanBench bench({QStringLiteral("Mode;;1;3;x;x;0;hhhh;"), kCurr}, {}, form);
    EXPECT_EQ(bench.engine.RemainingCapacity(), std::nullopt);
    EXPECT_EQ(bench.engine.CapacityUnit(), QString());
    bench.gauge.words[3] = 0x8001;
    bench.gauge.words[10] = 565; // 56.5
    bench.engine.ReadValues();
    EXPECT_EQ(bench.engine.RemainingCapacity(), 56);
    EXPECT_EQ(bench.engine.CapacityUnit(), QStringLiteral("10 mWh"));
    bench.gauge.failAt = 4;
    bench.gauge.words[3] = 0x7FFF;
    bench.engine.ReadValues();
    EXPECT_EQ(bench.engine.RemainingCapacity(), std::nullopt);
    EXPECT_EQ(bench.engine.CapacityUnit(), QStringLiteral("mAh"));
}

TEST(ErrorList, CountsRepeatsAndKeepsTheNewest)
{
    TestTime time;
    ErrorList list(time);
    for (int i = 0; i < 3; ++i) {
        list.Add(QStringLiteral("same"));
        time.Advance(1000);
    }
    ASSERT_EQ(list.Entries().size(), 1u);
    EXPECT_EQ(list.Entries()[0].Count, 3u);
    EXPECT_EQ(list.Entries()[0].First.secsTo(list.Entries()[0].Last), 2);
    for (std::size_t i = 0; i < ErrorList::kMostEntries; ++i)
        list.Add(QString::number(i));
    EXPECT_EQ(list.Entries().size(), ErrorList::kMostEntries);
    EXPECT_EQ(list.Entries().front().Text, QStringLiteral("0"));
    list.Add(QString(1'000'000, u'x'));
    EXPECT_LT(list.Entries().back().Text.size(), 3000);
}
