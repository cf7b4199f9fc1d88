#include "tests/cli/CliRun.h"

#include <gtest/gtest.h>

namespace {

struct AnswerCase {
    const char* name;
    QStringList arguments;
    int status;
    const char* answer; ///< members that the one JSON object must hold
    const char* said = ""; ///< standard error
};

/// Words of a line as a shell would hand them over; '' is an empty one.
QStringList Words(const char* line)
{
    QStringList words;
    for (QString word : QString::fromLatin1(line).split(QLatin1Char(' ')))
        words << (word == QLatin1String("''") ? QString() : word.replace(QLatin1Char('_'), QLatin1Char(' ')));
    return words;
}

class Answers : public testing::TestWithParam<AnswerCase> { };

TEST_P(Answers, StatusAndOneObject)
{
    const CliRun cli;
    cli.Write(QStringLiteral("a.ini"), "; note\r\n[scan]\r\ntable = \"x\" \r\nneg=-7\r\nbad=zz\r\n");
    cli.Write(QStringLiteral("home/tarnlo.ini"),
              "[Communication]\nTargetAddress=24\n[Targets]\n800_1_02=sub\\T.ini\nplain=no.ini\n");
    cli.Write(QStringLiteral("home/T.ini"),
              "[Device]\nName=Zed\n[Communication]\nTargetAddress=26\n[MDIButtons]\n1B=SBS.Regs\n");
    cli.Write(QStringLiteral("home/Config.ini"), "[Delay]\nLOAD_VI_SETTLE=7\n[D900]\nTgtAddr=99999\n");
    cli.Write(QStringLiteral("a.srec"), "S00600004844521B\r\nS1044000AA11\r\nS205100000BB2F\r\n");
    cli.Write(QStringLiteral("bad.srec"), "S1044000AC0F\n\nS1FF\nS1044001AA11\n");
    cli.Write(QStringLiteral("far.srec"), "S1040001AA50\nS306050000000FE5\n");
    const CliAnswer answer = cli.Run(QStringList{QStringLiteral("--json")} + GetParam().arguments);
    EXPECT_EQ(answer.Status, GetParam().status) << answer.Err.toStdString();
    EXPECT_TRUE(Holds(answer.Object(), GetParam().answer)) << answer.Out.constData();
    EXPECT_TRUE(answer.Err.contains(QLatin1String(GetParam().said))) << answer.Err.toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    DataFlash, Answers,
    testing::Values(AnswerCase{"Decode", Words("df decode U2 FF8000 --offset 1"), 0,
                               R"({"text": "32768", "value": 32768})"},
                    AnswerCase{"DecodeText", Words("df decode S5 0941424344"), 0,
                               R"({"text": "ABCD", "value": "ABCD"})"},
                    AnswerCase{"DecodeHex", Words("df decode H1 1F"), 0, R"({"text": "1F", "value": 31})"},
                    AnswerCase{"DecodeShort", Words("df decode I4 000000"), 1, R"({"error": "~4 bytes"})"},
                    AnswerCase{"DecodeNoHex", Words("df decode I1 0"), 2, R"({"error": "~HEX"})"},
                    AnswerCase{"DecodeUnknown", Words("df decode Q1 00"), 1,
                               R"({"error": "~Q1", "messages": ["Unknown Datatype Q1Offset = 0"]})"},
                    AnswerCase{"Encode", Words("df encode F4 -- -0.25"), 0,
                               R"({"ok": true, "bytes": "7F800000", "buffer": "7F800000"})"},
                    AnswerCase{"EncodeInto", Words("df encode H1 0x16 --into FFFFFF --offset 1"), 0,
                               R"({"ok": true, "bytes": "16", "buffer": "FF16FF"})"},
                    AnswerCase{"EncodeRefused", Words("df encode U1 256 --into FF"), 1,
                               R"({"ok": false, "bytes": "", "buffer": "FF", "error": "~0 to 255"})"},
                    AnswerCase{"Style", Words("df style 1:BlkSz=0:BaseCmd=9"), 0,
                               R"({"DFAccessStyle": 1, "DFBlockSize": 64, "DFBaseCmd": 9})"},
                    AnswerCase{"InfoWithoutTarget", Words("df info"), 1, R"({"error": "~ConfigFile"})"},
                    AnswerCase{"InfoOfSomethingElse", Words("df info a.ini"), 1,
                               R"({"error": "~no sound", "config": "a.ini"})"}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Usage, Answers,
    testing::Values(
        AnswerCase{"NoCommand", {}, 2, R"({"error": "~a command is missing"})", "--help"},
        AnswerCase{"UnknownCommand", Words("foo"), 2, R"({"error": "~foo"})", "--help"},
        AnswerCase{"GroupAlone", Words("ini"), 2, R"({"error": "~get, list, set, unset"})"},
        AnswerCase{"MissingArgument", Words("ini list a.ini"), 2, R"({"error": "~SECTION"})",
                   "ini list --help"},
        AnswerCase{"UnknownOption", Words("errtext 4 --wat"), 2, R"({"error": "~--wat"})"},
        AnswerCase{"YesAndNo", Words("errtext 4 --yes --no"), 2, R"({"error": "~contradict"})"},
        AnswerCase{"SevenBitAddress", Words("errtext 4 --address 0x0B"), 2, R"({"error": "~8-bit form"})"},
        AnswerCase{"WordOutOfRange", Words("bus write-word 1 65536"), 2, R"({"error": "~-32768 to 65535"})"},
        AnswerCase{"HalfAByte", Words("bus write-block 1 ABC"), 2, R"({"error": "~HEX"})"},
        AnswerCase{"OptionBehindTheCommand", Words("errtext 4 --home nowhere"), 0,
                   R"({"text": "Error Code (decimal) 4"})"}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Files, Answers,
    testing::Values(
        // "scan" and "table" are commands too: here they are arguments
        AnswerCase{"GetNamedLikeCommands", Words("ini get a.ini scan table"), 0,
                   R"({"value": "x", "found": true})"},
        AnswerCase{"GetInteger", Words("ini get a.ini SCAN neg --int"), 0, R"({"value": -7, "found": true})"},
        AnswerCase{"GetNoDigits", Words("ini get a.ini scan bad --int --default 3"), 0,
                   R"({"value": 0, "found": true})"},
        AnswerCase{"GetMissingKey", Words("ini get a.ini scan nope --default -d"), 0,
                   R"({"value": "-d", "found": false})"},
        AnswerCase{"GetMissingFile", Words("ini get none.ini a b"), 0, R"({"value": "", "found": false})"},
        AnswerCase{"GetFolder", Words("ini get home a b"), 0, R"({"value": "", "messages": ["~folder"]})"},
        AnswerCase{"ListWithoutComments", Words("ini list a.ini scan"), 0,
                   R"({"lines": ["table = \"x\"", "neg=-7", "bad=zz"]})"},
        AnswerCase{"SetWithoutRights", Words("ini set /proc/none/a.ini s k v"), 1,
                   R"({"error": "~/proc/none/a.ini"})"},
        AnswerCase{"TableMissing", Words("table none.sbs --kind registers"), 1, R"({"error": "~none.sbs"})"},
        AnswerCase{"TableKind", Words("table a.ini --kind rows"), 2,
                   R"({"error": "~registers, flags or targets"})"},
        AnswerCase{"RowsNoJson", Words("table t.sbs --kind flags --from a.ini"), 1,
                   R"({"error": "~a.ini"})"}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Conversions, Answers,
    testing::Values(
        AnswerCase{"NegativeRaw", Words("convert --raw -5 --factor 2-x --format d.0"), 0,
                   R"({"value": 7, "text": "0.7"})"},
        AnswerCase{"FailedRead", Words("convert --raw none --format d"), 0,
                   R"({"value": null, "text": "", "messages": []})"},
        AnswerCase{"ByteStyle", Words("convert --raw 0xFF --style 3 --format d"), 0, R"({"text": "-1"})"},
        AnswerCase{"Value", Words("convert --value -1.5 --format f"), 0,
                   R"({"value": -1.5, "text": "-1.5"})"},
        AnswerCase{"BadFormat", Words("convert --raw 1 --format z"), 0,
                   R"({"text": "", "messages": ["Error: Unknown display format encountered!"]})"},
        AnswerCase{"BadFactor", Words("convert --raw 1 --factor 1/0 --format d"), 1,
                   R"({"error": "~division by zero"})"},
        AnswerCase{"RawTooLarge", Words("convert --raw 65536 --format d"), 2, R"({"error": "~65535"})"},
        AnswerCase{"RawAndValue", Words("convert --raw 1 --value 1 --format d"), 2,
                   R"({"error": "~either"})"},
        AnswerCase{"Interval", Words("interval --refresh 6000"), 0, R"({"refresh": 6000, "logging": 6000})"},
        AnswerCase{"OneErrorText", Words("errtext -1"), 0, R"({"text": "Error Code (decimal) -1"})"},
        AnswerCase{"SeveralErrorTexts", Words("errtext 0 230"), 0,
                   R"({"text": ["Communication OK", "Error Code (decimal) 230"]})"},
        AnswerCase{"EmptyIdentity", Words("identity ''"), 0, R"({"device_key": "", "has_sections": false})"}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    ProgramFolder, Answers,
    testing::Values(
        AnswerCase{"StartupTakesAllBehindTheDashes", Words("startup -- -d0 -t T.ini --json"), 0,
                   R"({"AutoDetectMode": 0, "TargetAddress": 26, "TargetConfigPath": "~/home/T.ini"})"},
        AnswerCase{"StartupWithoutArguments", Words("startup"), 0,
                   R"({"AutoDetectMode": 2, "TargetAddress": 24, "TargetConfigPath": ""})"},
        AnswerCase{"SettingsOutOfWidth", Words("settings --device 900.1"), 1, R"({"error": "~Config.ini"})"},
        AnswerCase{"SettingsPlatform", Words("settings --device 1.2"), 0, R"({"platform_section": "P0000"})"},
        AnswerCase{"TargetsList", Words("targets list"), 0,
                   R"({"entries": [["800_1_02", "sub\\T.ini"], ["plain", "no.ini"]]})"},
        AnswerCase{"ChooseByTheLastDash", Words("targets choose a-b_-plain"), 0, R"({"target": "no.ini"})"},
        AnswerCase{"ChooseNothing", Words("targets choose ''"), 1,
                   R"({"messages": ["Please select a target first!"]})"},
        AnswerCase{"TargetShow", Words("target show t.INI"), 0,
                   R"({"name": "Zed", "address": 26, "buttons": [["SBS", "Regs"]]})"},
        AnswerCase{"TargetMissing", Words("target show none.ini"), 1, R"({"error": "~none.ini"})"}),
    [](const auto& row) { return row.param.name; });

// the hashes are those of the single byte, as sha256sum gives them
INSTANTIATE_TEST_SUITE_P(
    FlashImages, Answers,
    testing::Values(
        AnswerCase{"Info", Words("srec info a.srec"), 0,
                   R"({"comment": "HDR", "errors": [],
                   "df": {"start": 16384, "size": 1,
                          "sha256": "bceef655b5a034911f1c3718ce056531b45ef03b4c7b1f15629e867294011a7d"},
                   "pf": {"start": 1048576, "size": 1,
                          "sha256": "cbecda1c7d37d4c0aa5466243bb4a0018c31bf06d74fa7338290dd3068db4fed"}})"},
        AnswerCase{"InfoWithBadLines", Words("srec info bad.srec"), 1,
                   R"({"error": "~bad.srec has 3 bad lines", "messages": ["~Srec Parse error = 1"],
                   "errors": [{"line": 2, "status": 1}, {"line": 3, "status": "overflow"},
                              {"line": 4, "status": 2}]})"},
        AnswerCase{"InfoOfNoFile", Words("srec info none.srec"), 1, R"({"error": "~none.srec could not"})"},
        AnswerCase{"WriteWithBadLines", Words("srec write bad.srec b.srec"), 1, R"({"error": "~--force"})"},
        AnswerCase{"WriteForced", Words("srec write bad.srec b.srec --force"), 0,
                   R"({"df": {"start": 16384, "size": 1}})"},
        AnswerCase{"WriteOntoAFolder", Words("srec write a.srec home"), 1, R"({"error": "~it is a folder"})"},
        AnswerCase{"WriteEnciphered", Words("srec write a.srec b.senc"), 1, R"({"error": "~enciphered"})"},
        AnswerCase{"DiffOfTheSame", Words("srec diff a.srec a.srec"), 0,
                   R"({"ranges": [], "range_count": 0})"},
        AnswerCase{"Diff", Words("srec diff a.srec far.srec"), 1,
                   R"({"range_count": 4, "byte_count": 4, "ranges": [
                   {"region": "df", "start": 1, "size": 1, "kind": "only_b"},
                   {"region": "df", "start": 16384, "size": 1, "kind": "only_a"},
                   {"region": "pf", "start": 1048576, "size": 1, "kind": "only_a"},
                   {"region": "pf", "start": 83886080, "size": 1, "kind": "only_b"}]})"}),
    [](const auto& row) { return row.param.name; });

TEST(Srec, WriteRefusesFillerAboveTheLimitAndKeepsTheOldFile)
{
    const CliRun cli;
    cli.Write(QStringLiteral("far.srec"), "S20510000000EA\nS306002000010FC9\n");
    cli.Write(QStringLiteral("out.srec"), "old");
    const QStringList words = Words("srec write far.srec out.srec --json --max-fill");
    EXPECT_EQ(cli.Run(words + QStringList{QStringLiteral("0")}).Status, 1);
    EXPECT_EQ(cli.Read(QStringLiteral("out.srec")), "old");
    EXPECT_EQ(cli.Run(words + QStringList{QStringLiteral("1")}).Status, 0);
    EXPECT_EQ(cli.Read(QStringLiteral("out.srec")).size(), 26 + 32'769 * 15 + 2 * 1'048'578);
}

TEST(Ini, SetAndUnsetChangeOneLineAndKeepEveryOtherByte)
{
    const CliRun cli;
    cli.Write(QStringLiteral("a.ini"), "; note\r\n[s]\r\nk = 1 ; odd\r\nz=2\r\n");
    EXPECT_EQ(cli.Run({QStringLiteral("ini"), QStringLiteral("set"), QStringLiteral("a.ini"),
                       QStringLiteral("S"), QStringLiteral("Z"), QStringLiteral("--"), QStringLiteral("-5")})
                  .Status,
              0);
    EXPECT_EQ(cli.Run({QStringLiteral("ini"), QStringLiteral("unset"), QStringLiteral("a.ini"),
                       QStringLiteral("s"), QStringLiteral("K")})
                  .Status,
              0);
    EXPECT_EQ(cli.Read(QStringLiteral("a.ini")), QByteArray("; note\r\n[s]\r\nz=-5\r\n"));
}

TEST(Table, WrittenFromRowsAndReadBackIsTheSame)
{
    const CliRun cli;
    const QByteArray rows = R"({"rows": [{"Desc": "Über", "LogDesc": "", "ReadStyle": 1, "ReadCommand": -1,
        "ReadFactor": "x", "WriteFactor": "", "Writeable": 255, "DisplayFormat": "d", "Unit": "°C"}]})";
    cli.Write(QStringLiteral("r.json"), rows);
    const QStringList table{QStringLiteral("table"), QStringLiteral("t.sbs"), QStringLiteral("--kind"),
                            QStringLiteral("registers"), QStringLiteral("--json")};
    EXPECT_EQ(cli.Run(table + QStringList{QStringLiteral("--from"), QStringLiteral("r.json")}).Status, 0);
    const CliAnswer read = cli.Run(table);
    EXPECT_TRUE(Holds(read.Object(), rows)) << read.Out.constData();
    const QByteArray before = cli.Read(QStringLiteral("t.sbs"));

    // the printed grid is an input too; a cell that does not convert leaves the old file
    QByteArray grid = cli.Run(table + QStringList{QStringLiteral("--grid")}).Out;
    EXPECT_TRUE(grid.contains("\"FFFF\""));
    cli.Write(QStringLiteral("g.json"), grid);
    EXPECT_EQ(cli.Run(table + QStringList{QStringLiteral("--from"), QStringLiteral("g.json")}).Status, 0);
    EXPECT_EQ(cli.Read(QStringLiteral("t.sbs")), before);
    cli.Write(QStringLiteral("g.json"), grid.replace("\"FFFF\"", "\"FFFFF\""));
    const CliAnswer refused
        = cli.Run(table + QStringList{QStringLiteral("--from"), QStringLiteral("g.json")});
    EXPECT_EQ(refused.Status, 1);
    EXPECT_TRUE(refused.Object().value(QLatin1String("error")).toString().contains(QLatin1String("FFFFF")));
    EXPECT_EQ(cli.Read(QStringLiteral("t.sbs")), before);

    // beyond the count but within the capacity a row is empty, beyond that its numbers are -1
    for (const auto& [row, style] : {std::pair{20, 0}, std::pair{21, -1}}) {
        const QJsonObject answer
            = cli.Run(table + QStringList{QStringLiteral("--row"), QString::number(row)}).Object();
        EXPECT_EQ(
            answer.value(QLatin1String("rows")).toArray().at(0).toObject().value(QLatin1String("ReadStyle")),
            style);
    }
}

TEST(Batch, AnswersEveryLineInOrderWhateverTheOthersHold)
{
    const CliRun cli;
    const struct {
        QByteArray in;
        const char* out;
    } lines[] = {
        {R"({"raw": 5, "format": "d"})", R"({"text": "5"})"},
        {R"({"raw": null, "format": "d"})", R"({"text": "", "value": null})"},
        {"", R"({"error": "~no JSON object"})"},
        {R"([1])", R"({"error": "~no JSON object"})"},
        {R"({"raw": 1, "format": "q"})", R"({"messages": ["Error: Unknown display format encountered!"]})"},
        {R"({"raw": 1, "fmt": "q"})", R"({"error": "~\"fmt\""})"},
        {R"({"raw": 1})", R"({"error": "~--format"})"},
        {R"({"raw": 1.5, "format": "d"})", R"({"error": "~1.5"})"},
        {R"({"raw": {}, "format": "d"})", R"({"error": "~\"raw\""})"},
        {QByteArray(1 << 20, '['), R"({"error": "~no JSON object"})"},
        {R"({"value": 2.5, "format": "f"})", R"({"text": "2.5"})"},
    };
    QByteArray input;
    for (const auto& line : lines)
        input += line.in + '\n';
    const CliAnswer answer
        = cli.Run({QStringLiteral("convert"), QStringLiteral("--batch"), QStringLiteral("-")}, input);
    EXPECT_EQ(answer.Status, 0);
    const std::vector<QJsonObject> objects = answer.Lines();
    ASSERT_EQ(objects.size(), std::size(lines));
    for (std::size_t line = 0; line < std::size(lines); ++line)
        EXPECT_TRUE(Holds(objects[line], lines[line].out)) << line << ' ' << answer.Out.constData();

    EXPECT_EQ(
        cli.Run({QStringLiteral("convert"), QStringLiteral("--batch"), QStringLiteral("-")}, "x\n").Status,
        1);
    EXPECT_EQ(cli.Run({QStringLiteral("convert"), QStringLiteral("--batch"), QStringLiteral("none")}).Status,
              1);
}

// A script that talks to the program line by line would otherwise wait for ever.
TEST(Batch, AnswersALineBeforeTheNextIsThere)
{
    const CliRun cli;
    QProcess process;
    cli.Start(process, {QStringLiteral("errtext"), QStringLiteral("--batch"), QStringLiteral("-")});
    for (const char* code : {"772", "230"}) {
        process.write(QByteArray("{\"code\": ") + code + "}\n");
        while (!process.canReadLine())
            ASSERT_TRUE(process.waitForReadyRead(30'000));
        EXPECT_TRUE(process.readLine().contains("text"));
    }
    process.closeWriteChannel();
    EXPECT_TRUE(process.waitForFinished());
}

} // namespace
