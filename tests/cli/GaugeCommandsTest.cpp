#include "tests/cli/CliRun.h"

#include <gtest/gtest.h>

#include <csignal>

namespace {

QStringList Line(const char* text) { return QString::fromLatin1(text).split(QLatin1Char(' ')); }

struct GaugeCase {
    const char* name;
    const char* line;
    int status;
    const char* answer;
};

class Gauge : public testing::TestWithParam<GaugeCase> { };

TEST_P(Gauge, StatusAndOneObject)
{
    const CliRun cli;
    cli.ShipHome();
    const CliAnswer answer = cli.Run(Line(GetParam().line) + QStringList{QStringLiteral("--json")});
    EXPECT_EQ(answer.Status, GetParam().status) << answer.Err.toStdString();
    EXPECT_TRUE(Holds(answer.Object(), GetParam().answer)) << answer.Out.constData();
}

INSTANTIATE_TEST_SUITE_P(
    Commands, Gauge,
    testing::Values(
        GaugeCase{"Detect", "detect", 0,
                  R"({"identity": "Device:800, Ver:1.02", "device_key": "800.1.02", "targets_key": "800_1_02",
                      "target": "sim4s\\Config.ini"})"},
        GaugeCase{"DetectForbidden", "detect --target generic/Config.ini", 1, R"({"error": "~Identity=0"})"},
        GaugeCase{"DetectNobody", "detect --address 0x20", 3,
                  R"({"code": 772, "error": "No Acknowledge: VB_T2H_NACK"})"},
        GaugeCase{"NoAdapter", "detect --adapter replay:none", 3, R"({"code": 2})"},
        GaugeCase{"OddAdapter", "detect --adapter wat", 2, R"({"error": "~wat"})"},
        GaugeCase{"NoTarget", "scan --target none/Config.ini", 1, R"({"error": "~none/Config.ini"})"},
        GaugeCase{"NoSuchRow", "scan --count 1 --rows 3,29", 2, R"({"error": "~rows 0 to 28"})"},
        GaugeCase{"WriteReadOnlyRow", "write-row 3 0", 1, R"({"error": "~read only"})"},
        GaugeCase{"WriteRow", "write-row 4 -1500", 0, R"({"row": 4, "raw": -1500, "code": 0})"},
        GaugeCase{"WriteNoRow", "write-row 29 0", 1, R"({"error": "~29"})"},
        GaugeCase{"StaticNobody", "static --address 0x20", 3, R"({"code": 772})"},
        GaugeCase{
            "WordFailed", "bus read-word 9 --address 0x20", 3,
            R"({"word": null, "msb": null, "lsb": null, "code": 772, "text": "No Acknowledge: VB_T2H_NACK"})"},
        GaugeCase{"Block", "bus read-block 0x22", 0,
                  R"({"bytes": "4C494F4E", "code": 0, "text": "Communication OK"})"},
        GaugeCase{"OneWire", "bus one-wire read 0 2", 0, R"({"bytes": "FFFF", "code": 0})"}),
    [](const auto& row) { return row.param.name; });

TEST(Bus, ABatchIsOneLifeOfTheAdapterInThePacksOwnTime)
{
    const CliRun cli;
    cli.ShipHome();
    const CliAnswer answer = cli.Run(Line("bus --batch -"),
                                     R"({"op": "i2c-write", "addr": 160, "reg": 2, "hex": "55AA"}
{"op": "gpio-write", "n": 0, "v": 1}
{"op": "wat"}
{"op": "delay", "ms": 600000}
{"op": "i2c-read", "addr": "0xA0", "reg": 2, "len": 2}
{"op": "read-word", "cmd": "0x0A"}
)");
    const std::vector<QJsonObject> lines = answer.Lines();
    ASSERT_EQ(lines.size(), 6U) << answer.Out.constData();
    EXPECT_TRUE(Holds(lines[2], R"({"error": "~wat"})"));
    EXPECT_TRUE(Holds(lines[4], R"({"bytes": "55AA", "code": 0})"));
    EXPECT_GT(lines[5].value(QLatin1String("word")).toInt(),
              500); // mA: the charger has been on for ten minutes
    EXPECT_EQ(answer.Status, 0);
}

TEST(Scan, PrintsTheShippedTableRowForCommand)
{
    const CliRun cli;
    cli.ShipHome();
    const QStringList scan = Line("scan --count 3 --interval 1000 --json");
    const CliAnswer answer = cli.Run(scan);
    EXPECT_EQ(answer.Status, 0) << answer.Err.toStdString();
    EXPECT_EQ(cli.Run(scan).Out, answer.Out); // same seed, same bytes
    const std::vector<QJsonObject> passes = answer.Lines();
    ASSERT_EQ(passes.size(), 3U);
    EXPECT_EQ(passes[2].value(QLatin1String("elapsed_ms")), 2000);

    const QJsonArray rows = passes[0].value(QLatin1String("rows")).toArray();
    ASSERT_EQ(rows.size(), 29);
    EXPECT_TRUE(Holds(rows[9].toObject(), R"({"row": 9, "desc": "Voltage", "unit": "mV", "error": null})"));
    EXPECT_EQ(rows[9].toObject().value(QLatin1String("text")).toString(),
              QString::number(rows[9].toObject().value(QLatin1String("raw")).toInt()));
    EXPECT_TRUE(Holds(rows[5].toObject(), R"({"raw": -1, "text": "65535"})")); // not being charged
    EXPECT_TRUE(Holds(passes[0].value(QLatin1String("remcap")).toObject(), R"({"bar": 60, "label": "60%"})"));
    const QJsonObject status = passes[0].value(QLatin1String("flags")).toArray().at(0).toObject();
    EXPECT_TRUE(Holds(status.value(QLatin1String("bits")).toObject(),
                      R"({"INITIALIZED": 1, "FULLY_CHARGED": 0, "OVER_TEMP_ALARM": 0})"));
    EXPECT_FALSE(
        status.value(QLatin1String("bits")).toObject().contains(QString())); // reserved bits are left out
}

TEST(Scan, AFailedReadIsNullAndTellsWhy)
{
    const CliRun cli;
    cli.ShipHome();
    const CliAnswer answer = cli.Run(Line("scan --count 1 --rows 9,22 --address 0x20 --json"));
    EXPECT_EQ(answer.Status, 3);
    const QJsonArray rows = answer.Object().value(QLatin1String("rows")).toArray();
    ASSERT_EQ(rows.size(), 2);
    EXPECT_TRUE(Holds(rows[0].toObject(),
                      R"({"row": 9, "raw": null, "text": "", "error": "No Acknowledge: VB_T2H_NACK"})"));
    const QJsonArray flags = answer.Object().value(QLatin1String("flags")).toArray();
    EXPECT_TRUE(
        Holds(flags[0].toObject().value(QLatin1String("bits")).toObject(), R"({"INITIALIZED": null})"));

    const CliAnswer text = cli.Run(Line("scan --count 1 --rows 9 --address 0x20"));
    EXPECT_TRUE(text.Out.contains("No Acknowledge: VB_T2H_NACK")) << text.Out.constData();
}

// A device that another target belongs to is scanned all the same, but not in silence.
TEST(Scan, WarnsOfADeviceThatTheTargetIsNotMadeFor)
{
    const CliRun cli;
    cli.ShipHome();
    cli.Write(QStringLiteral("home/other.ini"), "[SBS]\nConfigFile=sim4s.sbs\n");
    for (const auto& [target, messages] : {std::pair{"other.ini", 1}, std::pair{"sim4s/CONFIG.ini", 0}}) {
        const CliAnswer answer
            = cli.Run(Line("scan --count 1 --json --target") + QStringList{QLatin1String(target)});
        EXPECT_EQ(answer.Object().value(QLatin1String("messages")).toArray().size(), messages) << target;
    }
}

TEST(Scan, EndsCleanlyOnSigint)
{
    const CliRun cli;
    cli.ShipHome();
    for (const auto& [arguments, status] : {std::pair{"scan --interval 60000 --json --trace t.jsonl", 0},
                                            std::pair{"scan --json --address 0x20 --trace t.jsonl", 3}}) {
        QByteArray settings = cli.Read(QStringLiteral("home/tarnlo.ini"));
        cli.Write(QStringLiteral("home/tarnlo.ini"), settings.replace("\nSpeed=0\n", "\nSpeed=1\n"));
        QProcess process;
        cli.Start(process, Line(arguments));
        while (!process.canReadLine())
            ASSERT_TRUE(process.waitForReadyRead(30'000));
        ::kill(static_cast<pid_t>(process.processId()), SIGINT);
        ASSERT_TRUE(process.waitForFinished(10'000));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(process.exitCode(), status);
        EXPECT_TRUE(cli.Read(QStringLiteral("t.jsonl")).trimmed().split('\n').last().contains("CloseDevice"));
    }
}

// Without an adapter, a display and files: an answer and a status, never a crash or a wait.
TEST(EmptyHome, EveryCommandAnswers)
{
    const CliRun cli;
    const struct {
        const char* line;
        int status;
    } cases[] = {{"adapters", 0},
                 {"detect", 0},
                 {"scan --count 1", 1},
                 {"static", 0},
                 {"log x.log --count 1", 1},
                 {"cycle --steps 1", 1},
                 {"cycle --replay /dev/null", 0},
                 {"skin Default", 0},
                 {"bus read-word 9", 0},
                 {"write-row 1 1", 1},
                 {"targets list", 0},
                 {"targets default", 0},
                 {"settings --device 1.2", 0},
                 {"startup", 0},
                 {"bus --batch /dev/null", 0}};
    for (const auto& one : cases)
        for (const char* form : {"--json", "--no"}) {
            const CliAnswer answer = cli.Run(Line(one.line) + QStringList{QLatin1String(form)});
            EXPECT_EQ(answer.Status, one.status) << one.line << answer.Err.toStdString();
        }
    EXPECT_NE(cli.Run(Line("detect --adapter real --json")).Status, 0);
}

} // namespace
