#include "tests/cli/CliRun.h"

#include <QJsonDocument>

#include <gtest/gtest.h>

#include <csignal>

namespace {

QStringList Line(const char* text) { return QString::fromLatin1(text).split(QLatin1Char(' ')); }

/// Puts settings, "|" between them, first into a section.
void Set(const CliRun& cli, const char* file, const char* section, QByteArray settings)
{
    const QByteArray header = QByteArray("[") + section + "]\n";
    QByteArray text = cli.Read(QLatin1String(file));
    if (!text.contains(header))
        text += '\n' + header;
    cli.Write(QLatin1String(file), text.replace(header, header + settings.replace('|', '\n') + '\n'));
}

struct LogCase {
    const char* name;
    const char* options;
    int status;
    const char* head;
    const char* records;
};

class Log : public testing::TestWithParam<LogCase> { };

TEST_P(Log, FileAndStreamHoldEveryRecordExactly)
{
    const CliRun cli;
    cli.ShipHome();
    QByteArray switches;
    for (int row = 0; row < 29; ++row)
        if (row != 13 && row != 22)
            switches += QByteArray::number(row) + "LogRow=0|";
    Set(cli, "home/Config.ini", "SBSLog", switches);
    cli.Write(QStringLiteral("run.log"), "an older log");
    const CliAnswer answer
        = cli.Run(Line("log run.log --json --count 3 --interval 1500") + Line(GetParam().options));
    EXPECT_EQ(answer.Status, GetParam().status) << answer.Out.constData() << answer.Err.toStdString();

    const QByteArray file = cli.Read(QStringLiteral("run.log"));
    EXPECT_TRUE(file.startsWith(GetParam().head)) << file.constData();
    const QByteArray captions = "Sample\tStamp\t~Elapsed(s)\tRSOC\tBattStat\r\n";
    EXPECT_EQ(file.mid(file.indexOf(captions)), captions + GetParam().records);
    const std::vector<QJsonObject> lines = answer.Lines();
    ASSERT_GE(lines.size(), 3U);
    EXPECT_TRUE(Holds(lines[2], R"({"sample": 3, "elapsed_ms": 3000})"));
    EXPECT_EQ(lines[2].value(QLatin1String("rows")).toArray().at(1).toObject().value(QLatin1String("text")),
              QString::fromLatin1(GetParam().records)
                  .section(QLatin1Char('\t'), 4, 4)
                  .section(QLatin1Char('\r'), 0, 0));
}

INSTANTIATE_TEST_SUITE_P(
    Runs, Log,
    testing::Values(
        LogCase{"Answering", "--target sim4s/Config.ini", 0,
                "800 Version: 1.02 for Simulated 4-cell pack\r\n2026-01-01\r\n           \r\n"
                "Manufacturer name: Tarnlo Device name: SIM4S44 ",
                "1\t08:00:00\t0\t60\t00C0\r\n2\t08:00:01\t1\t60\t00C0\r\n3\t08:00:03\t3\t60\t00C0\r\n"},
        LogCase{"Silent", "--address 0x20", 3, " Version:  for Simulated\r\n2026-01-01\r\n",
                "1\t08:00:00\t0\t\t\tPossible Error-See error log\r\n"
                "2\t08:00:01\t1\t\t\tPossible Error-See error log\r\n"
                "3\t08:00:03\t3\t\t\tPossible Error-See error log\r\n"}),
    [](const auto& row) { return row.param.name; });

// Narrow limits around the pack's 60 %: a charge and a discharge within minutes of its own time.
const char* const kNarrow = "ChgTrigType=1|ChgRemCapVal=59|ChgRelax=60|DChgTrigType=1|DChgRemCapVal=60|"
                            "DChgRelax=60|ChgPin=2";

/// The levels last written to the charger's and the load's line, "-" for one that was not written.
QByteArray LastLevels(const CliRun& cli, bool* loadWasOn = nullptr)
{
    QByteArray levels = "--";
    for (const QByteArray& line : cli.Read(QStringLiteral("t.jsonl")).split('\n')) {
        const QJsonObject call = QJsonDocument::fromJson(line).object();
        if (call.value(QLatin1String("op")) != QLatin1String("AdpGPIOWrite"))
            continue;
        const QJsonArray in = call.value(QLatin1String("in")).toArray();
        levels[in.at(0).toInt()] = in.at(1).toInt() != 0 ? '1' : '0';
        if (loadWasOn)
            *loadWasOn = *loadWasOn || levels[1] == '1';
    }
    return levels;
}

TEST(Cycle, DischargesAndChargesThePackAndSwitchesBothLinesOff)
{
    const CliRun cli;
    cli.ShipHome();
    Set(cli, "home/Config.ini", "AutoCycle", kNarrow);
    const CliAnswer answer
        = cli.Run(Line("cycle --begin discharge --interval 10000 --steps 80 --json --trace t.jsonl"));
    EXPECT_EQ(answer.Status, 0) << answer.Err.toStdString();
    const std::vector<QJsonObject> steps = answer.Lines();
    ASSERT_EQ(steps.size(), 80U);
    QString states;
    for (const QJsonObject& step : steps) {
        const QString state = QString::number(step.value(QLatin1String("state")).toInt());
        if (!states.endsWith(state))
            states += state;
    }
    EXPECT_TRUE(states.startsWith(QLatin1String("32413"))) << states.toStdString();
    EXPECT_TRUE(Holds(steps[1], R"({"state": 3, "calls": [], "elapsed_ms": 10000,
                                    "any": {"charge": null, "discharge": null}})"));
    EXPECT_TRUE(Holds(steps[6], R"({"state": 2, "calls": ["StopChargingStartDischarging"]})"));
    EXPECT_TRUE(Holds(steps[7], R"({"state": 2, "any": {"charge": false, "discharge": false},
                                    "all": {"charge": false, "discharge": false}})"));
    EXPECT_EQ(steps[7].value(QLatin1String("rows")).toArray().size(), 29);
    bool loadWasOn = false;
    EXPECT_EQ(LastLevels(cli, &loadWasOn), "00");
    EXPECT_TRUE(loadWasOn);
}

TEST(Cycle, SwitchesBothLinesOffOnSigint)
{
    const CliRun cli;
    cli.ShipHome();
    cli.Write(QStringLiteral("home/tarnlo.ini"), "[Simulator]\nSpeed=1\n");
    Set(cli, "home/Config.ini", "AutoCycle", "ChgPin=2");
    QProcess process;
    cli.Start(process, Line("cycle --begin discharge --interval 60000 --json --trace t.jsonl"));
    while (!process.canReadLine())
        ASSERT_TRUE(process.waitForReadyRead(30'000));
    ::kill(static_cast<pid_t>(process.processId()), SIGINT);
    ASSERT_TRUE(process.waitForFinished(10'000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 0);
    bool loadWasOn = false;
    EXPECT_EQ(LastLevels(cli, &loadWasOn), "00");
    EXPECT_TRUE(loadWasOn);
    EXPECT_TRUE(cli.Read(QStringLiteral("t.jsonl")).trimmed().split('\n').last().contains("CloseDevice"));
}

// A recording in which the adapter has no lines stands for one that was given none.
TEST(Cycle, NamesTheKeysOfLinesThatTheAdapterLacks)
{
    const CliRun cli;
    cli.ShipHome();
    Set(cli, "home/Config.ini", "AutoCycle", "ChgPin=2");
    ASSERT_EQ(cli.Run(Line("cycle --steps 1 --trace t.jsonl")).Status, 0);
    QByteArray trace;
    for (QByteArray line : cli.Read(QStringLiteral("t.jsonl")).split('\n'))
        trace += (line.contains("AdpGPIOWrite") ? line.replace("\"res\":0", "\"res\":7") : line) + '\n';
    cli.Write(QStringLiteral("bare.jsonl"), trace);
    const CliAnswer answer = cli.Run(Line("cycle --steps 5 --json --adapter replay:bare.jsonl"));
    EXPECT_EQ(answer.Status, 1);
    for (const char* key : {"ChgLine", "LoadLine"})
        EXPECT_TRUE(answer.Object().value(QLatin1String("error")).toString().contains(QLatin1String(key)))
            << answer.Out.constData();
}

struct RunCase {
    const char* name;
    const char* line;
    const char* file; ///< whose settings are added
    const char* section;
    const char* settings;
    int status;
    const char* last; ///< line of the answer
};

class Run : public testing::TestWithParam<RunCase> { };

TEST_P(Run, EndsWithStatusAndAnswer)
{
    const CliRun cli;
    cli.ShipHome();
    Set(cli, GetParam().file, GetParam().section, GetParam().settings);
    const CliAnswer answer = cli.Run(Line(GetParam().line) + QStringList{QStringLiteral("--json")});
    EXPECT_EQ(answer.Status, GetParam().status) << answer.Err.toStdString();
    const std::vector<QJsonObject> lines = answer.Lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_TRUE(Holds(lines.back(), GetParam().last)) << answer.Out.right(2000).constData();
}

INSTANTIATE_TEST_SUITE_P(
    Commands, Run,
    testing::Values(RunCase{"CyclePhaseTooLong", "cycle --begin discharge --interval 5000", "home/Config.ini",
                            "AutoCycle", "DChgLongest=20", 1, R"({"error": "~longest time, 20 s"})"},
                    RunCase{"CycleNobody", "cycle --address 0x20", "home/Config.ini", "AutoCycle", "", 3,
                            R"({"code": 772, "error": "~not started"})"},
                    RunCase{"CycleOddBegin", "cycle --begin wat", "home/Config.ini", "AutoCycle", "", 2,
                            R"({"error": "~wat"})"},
                    RunCase{"LogNoRow", "log run.log --count 1", "home/Config.ini", "SBS",
                            "ConfigFile=none.sbs", 1, R"({"error": "~none.sbs"})"},
                    RunCase{"LogNoFolder", "log no/such/run.log", "home/Config.ini", "SBS", "", 1,
                            R"({"error": "~no/such/run.log"})"},
                    RunCase{"AdapterSettings", "bus read-word 9", "home/tarnlo.ini", "Simulator",
                            "Charge=200", 0, R"({"code": 0, "messages": ["~key Charge"]})"},
                    RunCase{"SkinNotThere", "skin Nope", "home/DefSkin.ini", "Mine", "", 0,
                            R"({"messages": ["~holds no skin \"Nope\""]})"}),
    [](const auto& row) { return row.param.name; });

TEST(Replay, GoesOnAfterABadLineAndKeepsTheState)
{
    const CliRun cli; // nothing but the settings: no table, no adapter
    cli.Write(QStringLiteral("home/Config.ini"), "[AutoCycle]\nChgRelax=60\nDChgTrigType=3\nDChgAny=0\n");
    const CliAnswer answer = cli.Run(Line("cycle --replay - --json --adapter real"),
                                     R"({"state": 2, "rem": 0}
{"rem": 50, "due": false}
{"rem": 1.5}
{"rem": 50}
{"rem": 100, "volt": ""}
{"rem": 100, "volt": 15301}
{"rem": 100, "volt": null}
)");
    const char* const expected[] = {R"({"calls": ["StartChargingStopDischarging"], "state": 4})",
                                    R"({"calls": [], "state": 4})",
                                    R"({"error": "~line 3: rem"})",
                                    R"({"calls": ["StartChargingStopDischarging"], "state": 1})",
                                    R"({"calls": [], "state": 1})",
                                    R"({"calls": ["StopChargingStartDischarging"], "state": 2})",
                                    R"({"calls": ["StopChargingStartDischarging"], "state": 2})"};
    const std::vector<QJsonObject> lines = answer.Lines();
    ASSERT_EQ(lines.size(), std::size(expected)) << answer.Out.constData();
    for (std::size_t i = 0; i < lines.size(); ++i)
        EXPECT_TRUE(Holds(lines[i], expected[i])) << i;
    EXPECT_EQ(answer.Status, 1);
    EXPECT_EQ(cli.Run(Line("cycle --replay home")).Status, 1); // a folder
}

TEST(Skin, KeysThatTheFileLacksHaveTheirBuiltInValues)
{
    const CliRun cli;
    cli.Write(QStringLiteral("mine.ini"), "[Mine]\nBitHigh=255\nBackground=-2147483640\n");
    const QJsonObject answer = cli.Run(Line("skin Mine --file mine.ini --json")).Object();
    EXPECT_FALSE(answer.contains(QLatin1String("messages")));
    const QJsonObject values = answer.value(QLatin1String("values")).toObject();
    EXPECT_EQ(values.size(), 12);
    EXPECT_TRUE(Holds(values, R"({"BitHigh": 255, "BitLow": 8371968, "HighlightBorderWidth": 8,
                                  "Background": -2147483640, "ToolBackground": -2147483632})"));
    const QJsonObject colours = answer.value(QLatin1String("colours")).toObject();
    EXPECT_EQ(colours.size(), 10); // widths are none
    EXPECT_TRUE(Holds(colours, R"({"BitHigh": "#ff0000", "BitLow": "#00bf7f", "Background": "#000000"})"));
}

struct SequenceCase {
    const char* name;
    const char* file;
    const char* options;
    int status;
    const char* last; ///< what the last line of the answer holds
};

class SequenceRun : public testing::TestWithParam<SequenceCase> { };

TEST_P(SequenceRun, TellsAFailedCheckFromASilentGauge)
{
    const CliRun cli;
    cli.ShipHome();
    cli.Write(QStringLiteral("a.seq"), GetParam().file);
    const CliAnswer answer
        = cli.Run(Line("--json --adapter sim --target sim4s/Config.ini") + Line(GetParam().options));
    EXPECT_EQ(answer.Status, GetParam().status) << answer.Out.constData() << answer.Err.toStdString();
    const std::vector<QJsonObject> lines = answer.Lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_TRUE(Holds(lines.back(), GetParam().last)) << answer.Out.constData();
}

INSTANTIATE_TEST_SUITE_P(
    Ends, SequenceRun,
    testing::Values(
        SequenceCase{
            "Done", "loop 2\ndelay 1000\nend\npeek 0x200 2 expect 0000\n", "sequence run a.seq", 0,
            R"({"step": 3, "line": 4, "do": "peek 0x200 2 expect 0000", "bytes": "0000", "code": 0, "elapsed_ms": 2000})"},
        SequenceCase{"Differs", "read-word 0x1A expect 1\nread-word 9\n", "sequence run a.seq", 1,
                     R"({"error": "~Line 1, read-word 0x1A expect 1: answered 0x0031"})"},
        SequenceCase{"GoesOn", "read-word 0x1A expect 1\nread-word 0x2F\n", "sequence run a.seq --go-on", 1,
                     R"({"error": "~2 of 2 steps failed"})"},
        SequenceCase{"Silent", "read-word 0x2F\n", "sequence run a.seq", 3,
                     R"({"code": 772, "error": "~Line 1"})"},
        SequenceCase{"Wrong", "read-word 9\n\nread-word\n", "sequence run a.seq", 1,
                     R"({"problems": [{"line": 3, "error": "read-word lacks its command"}]})"},
        SequenceCase{"Check", "loop 5\npoke 0x200 01\nend", "sequence check a.seq", 0,
                     R"({"steps": 5, "writes": ["poke 0x200 01"]})"},
        SequenceCase{"NoFile", "", "sequence check b.seq", 1, R"({"error": "~b.seq"})"}),
    [](const auto& row) { return row.param.name; });

} // namespace
