#include "tests/cli/CliRun.h"

#include <QDir>

#include <gtest/gtest.h>

#define Q QStringLiteral

namespace {

constexpr char kConfig[] = R"(target = "T"
[[class]]
name = "A"
[[class.subclass]]
name = "One"
id = 48
[[class.subclass.item]]
name = "Number"
type = "U2"
offset = 0
default = 20
min = 10
max = 1000
[[class.subclass.item]]
name = "Text"
type = "S8"
offset = 2
default = "abc"
)";

QStringList Words(const QString& line) { return line.split(QLatin1Char(' ')); }

/// The simulated pack, its target chosen.
CliAnswer OnPack(const CliRun& cli, const QString& line)
{
    return cli.Run(
        Q("--json --adapter sim --target sim4s/Config.ini ").split(QLatin1Char(' '), Qt::SkipEmptyParts)
        + Words(line));
}

/// What ships, with other settings of the simulated pack.
void Ship(const CliRun& cli, const QByteArray& simulator = {})
{
    cli.ShipHome();
    if (!simulator.isEmpty())
        cli.Write(
            Q("home/tarnlo.ini"),
            cli.Read(Q("home/tarnlo.ini")).replace("[Simulator]\n", "[Simulator]\n" + simulator + '\n'));
}

} // namespace

TEST(DataFlashFiles, WithoutAGaugeAFileComesBackAsItWasMade)
{
    const CliRun cli;
    cli.Write(Q("c.toml"), kConfig);
    cli.Write(Q("v.json"), R"({"A": {"one": {"Number": 999}}})");
    EXPECT_EQ(cli.Run(Words(Q("df export --config c.toml --values v.json a.gg"))).Status, 0);
    const CliAnswer back = cli.Run(Words(Q("--json df import --config c.toml a.gg")));
    EXPECT_TRUE(Holds(back.Object(), R"({"values": {"A": {"One": {"Number": "999", "Text": "abc"}}},
        "changed": [], "missing": [], "unknown": [], "refused": [], "out_of_range": []})"))
        << back.Out.constData();
    // the answer's values are a values file
    cli.Write(Q("back.json"), back.Out);
    EXPECT_EQ(cli.Run(Words(Q("df export --config c.toml --values back.json b.gg"))).Status, 0);
    EXPECT_EQ(cli.Run(Words(Q("df diff --config c.toml a.gg b.gg"))).Status, 0);
    const CliAnswer diff = cli.Run(Words(Q("--json df diff --config c.toml a.gg defaults")));
    EXPECT_EQ(diff.Status, 1);
    EXPECT_TRUE(Holds(diff.Object(), R"({"changed": [{"class": "A", "subclass": "One", "item": "Number",
        "a": "999", "b": "20"}], "missing": [], "same": 1})"))
        << diff.Out.constData();
    EXPECT_FALSE(QDir(cli.Path(Q("home"))).exists(Q("Records")));
}

TEST(DataFlashFiles, BadFilesAreNamedAndNothingIsTaken)
{
    const struct {
        const char* line;
        int status;
        const char* answer;
    } cases[] = {
        {"df import --config c.toml none.gg", 1, R"({"error": "~none.gg could not be read"})"},
        {"df import --config c.toml c.toml", 1, R"({"error": "~c.toml could not be imported"})"},
        {"df import --config x.gg x.gg", 1, R"({"error": "~x.gg was not loaded"})"},
        {"df import --config c.toml bad.gg", 1, R"({"error": "~One(A) Number \"x\"",
            "missing": ["Missing value: One(A) Text"], "values": {}})"},
        {"df import --config c.toml other.gg", 1, R"({"error": "~nothing was changed", "values": {},
            "messages": ["Mismatched Target name in GG file! Do you want to continue?"]})"},
        {"--yes df import --config c.toml other.gg", 0,
         R"({"values": {"A": {"One": {"Number": "50", "Text": "t"}}}})"},
        {"df diff --config c.toml bad.gg bad.gg", 1, R"({"changed": [], "same": 0})"},
        {"df export --config c.toml --values v.json a.gg", 1, R"({"error": "~A/One/Nope"})"},
        {"df export a.gg --values v.json", 2, R"({"error": "~--values goes with --config"})"},
        {"df import a.gg --verify", 2, R"({"error": "~--verify goes with --write"})"},
        {"df autoexport --base a --every 14", 2,
         R"({"error": "The AutoExport interval must be at least 15 seconds."})"},
        {"df autoexport --base a --every 86401", 2,
         R"({"error": "The entered value must be less than 86400"})"},
        {"df export a.gg", 1, R"({"error": "~--target"})"},
    };
    const CliRun cli;
    cli.Write(Q("c.toml"), kConfig);
    cli.Write(Q("x.gg"), "[[class]]\n");
    cli.Write(Q("bad.gg"), "[Header]\nDeviceName=Unknown\n[One(A)]\nNumber=x\n");
    cli.Write(Q("other.gg"), "[Header]\nDeviceName=Other\n[One(A)]\nNumber=50\nText=t\n");
    cli.Write(Q("v.json"), R"({"values": {"A": {"One": {"Nope": "1"}}}})");
    for (const auto& row : cases) {
        const CliAnswer answer = cli.Run(QStringList{Q("--json")} + Words(QLatin1String(row.line)));
        EXPECT_EQ(answer.Status, row.status) << row.line;
        EXPECT_TRUE(Holds(answer.Object(), row.answer)) << row.line << '\n' << answer.Out.constData();
        EXPECT_FALSE(QFile::exists(cli.Path(Q("a.gg")))) << row.line;
    }
}

TEST(DataFlashFiles, AProductionLineWritesVerifiesAndKeepsARecord)
{
    const CliRun cli;
    Ship(cli, "FlashFile=pack.flash");
    EXPECT_EQ(OnPack(cli, Q("df export g.gg")).Status, 0);
    EXPECT_EQ(OnPack(cli, Q("df diff g.gg gauge")).Status, 0);
    QByteArray golden = cli.Read(Q("g.gg"));
    ASSERT_TRUE(golden.contains("Cell OV Threshold = 4300\r\n"));
    cli.Write(Q("g.gg"), golden.replace("Cell OV Threshold = 4300", "Cell OV Threshold = 4310"));
    const CliAnswer shown = OnPack(cli, Q("df import g.gg"));
    EXPECT_EQ(OnPack(cli, Q("df diff g.gg gauge")).Status, 1) << "showing writes nothing";
    EXPECT_TRUE(Holds(shown.Object(), R"({"changed": [{"class": "Safety", "subclass": "Voltage",
        "item": "Cell OV Threshold", "old": "4300", "new": "4310"}], "missing": []})"))
        << shown.Out.constData();

    const CliAnswer written = OnPack(cli, Q("df import g.gg --write --verify"));
    EXPECT_EQ(written.Status, 0) << written.Out.constData();
    EXPECT_TRUE(Holds(written.Object(), R"({"verified": true, "written": 1, "serial": "1"})"));
    EXPECT_EQ(OnPack(cli, Q("df diff g.gg gauge")).Status, 0);
    const QString backup = written.Object().value(Q("backup")).toString();
    cli.Write(Q("before.gg"), cli.Read(QDir(cli.Path(Q("."))).relativeFilePath(backup)));
    EXPECT_EQ(OnPack(cli, Q("df diff before.gg gauge")).Object().value(Q("changed")).toArray().size(), 1);

    // beyond its limits only when somebody says so
    cli.Write(Q("g.gg"), golden.replace("Cell OV Threshold = 4310", "Cell OV Threshold = 9000"));
    EXPECT_EQ(OnPack(cli, Q("df import g.gg --write --verify")).Status, 1);
    EXPECT_EQ(OnPack(cli, Q("--yes df import g.gg --write --verify")).Status, 0);
    const QList<QByteArray> lines = cli.Read(Q("home/Records/1.jsonl")).trimmed().split('\n');
    ASSERT_EQ(lines.size(), 3);
    for (qsizetype line = 0; line < lines.size(); ++line)
        EXPECT_TRUE(lines[line].contains(line == 1 ? "\"passed\":false" : "\"passed\":true"));
}

TEST(DataFlashFiles, AUnitThatDoesNotTakeAWriteFailsByName)
{
    const QByteArray file
        = "[Header]\nDeviceName=Simulated 4-cell pack\n[Voltage(Safety)]\nCell OV Threshold = 4310\n";
    const QString command = Q("df import g.gg --write --verify --records r");
    const CliRun good;
    Ship(good);
    good.Write(Q("g.gg"), file);
    EXPECT_EQ(OnPack(good, command + Q(" --trace t")).Status, 0);
    qsizetype transaction = 1; // the question whether anybody is there
    for (const QByteArray& line : good.Read(Q("t")).split('\n')) {
        transaction += line.contains("SMBus") ? 1 : 0;
        if (line.contains("WriteSMBusBlock"))
            break;
    }

    const CliRun cli;
    Ship(cli, "FaultAt=" + QByteArray::number(transaction) + ":LyingWrite");
    cli.Write(Q("g.gg"), file);
    const CliAnswer answer = OnPack(cli, command);
    EXPECT_EQ(answer.Status, 1);
    EXPECT_TRUE(Holds(answer.Object(), R"j({"error": "~Voltage (Safety)", "verified": false,
        "failed": ["Voltage(Safety)"], "code": 11})j"))
        << answer.Out.constData();
    EXPECT_TRUE(cli.Read(Q("r/1.jsonl")).contains("\"passed\":false"));
    EXPECT_TRUE(good.Read(Q("r/1.jsonl")).contains("\"passed\":true"));
}

TEST(DataFlashFiles, AnAutomaticExportThatReadsNothingWritesNothing)
{
    const CliRun cli;
    Ship(cli, "Faults=AddressNack\nFaultRate=1000000");
    const CliAnswer answer = OnPack(cli, Q("df autoexport --base night --every 15 --count 2"));
    EXPECT_EQ(answer.Status, 3);
    ASSERT_EQ(answer.Lines().size(), 3U);
    EXPECT_TRUE(Holds(answer.Lines()[1], R"({"error": "~night_00000.gg was not written"})"));
    EXPECT_FALSE(QFile::exists(cli.Path(Q("night_00000.gg"))));
}

TEST(DataFlashFiles, AutomaticFilesAreNumberedAndSpecialOnesHaveTheirForm)
{
    const CliRun cli;
    Ship(cli);
    const CliAnswer answer = OnPack(cli, Q("df autoexport --base night --every 70 --count 2"));
    EXPECT_EQ(answer.Status, 0);
    const std::vector<QJsonObject> lines = answer.Lines();
    ASSERT_EQ(lines.size(), 2U) << answer.Out.constData();
    EXPECT_TRUE(Holds(lines[1], R"({"file": "night_00001.gg", "number": 1, "elapsed_ms": 140000})"));
    EXPECT_TRUE(QFile::exists(cli.Path(Q("night_00001.gg"))));

    cli.Write(Q("home/mine.txt"), "${Header.DeviceName}: ${Safety/Voltage/Cell OV Threshold}\n");
    cli.Write(Q("home/SpecialExport.ini"), "[SpecialExport]\nConfigFile=mine.txt\n");
    EXPECT_EQ(OnPack(cli, Q("df special-export s.txt")).Status, 0);
    EXPECT_EQ(cli.Read(Q("s.txt")), "Simulated 4-cell pack: 4300\n");
}
