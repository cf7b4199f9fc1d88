#include "tests/cli/CliRun.h"

#include <QJsonArray>

#include <gtest/gtest.h>

namespace {

/// Every call is a process of its own; only the kept flash connects them.
struct DataFlashCli : testing::Test {
    DataFlashCli()
    {
        cli.ShipHome();
        Setting("FlashFile", "flash.bin");
    }
    void Setting(const char* key, const char* value) const
    {
        EXPECT_EQ(cli.Run({QStringLiteral("ini"), QStringLiteral("set"), QStringLiteral("home/tarnlo.ini"),
                           QStringLiteral("Simulator"), QString::fromLatin1(key), QString::fromLatin1(value)})
                      .Status,
                  0);
    }
    [[nodiscard]] CliAnswer Df(const QStringList& arguments) const
    {
        return cli.Run(QStringList{QStringLiteral("df")} + arguments
                       + QStringList{QStringLiteral("--target"), QStringLiteral("sim4s/Config.ini"),
                                     QStringLiteral("--json")});
    }
    [[nodiscard]] CliAnswer Df(const char* line) const ///< "|" between the arguments
    {
        return Df(QString::fromLatin1(line).split(u'|'));
    }
    CliRun cli;
};

} // namespace

TEST_F(DataFlashCli, SetsReadsAndRefusesSingleItems)
{
    struct Case {
        const char* line;
        int status;
        const char* answer;
    };
    for (const Case& row :
         {Case{"set|Configuration|Pack Data|Serial Number|4711", 0,
               R"({"old": "1", "new": "4711", "verified": true, "not_taken": []})"},
          Case{"read|configuration|16|serial number", 0,
               R"({"values": {"Configuration": {"Pack Data": {"Serial Number": "4711"}}}})"},
          Case{"set|Configuration|Pack Data|Serial Number|4711", 0, R"({"written": []})"},
          Case{"set|Configuration|Pack Data|Serial Number|x", 1, R"({"error": "~Serial Number: \"x\""})"},
          Case{"set|Safety|Voltage|Cell OV Threshold|9999", 1, R"({"error": "~4500"})"},
          Case{"read|Safety|Voltage|Cell OV Threshold", 0,
               R"({"values": {"Safety": {"Voltage": {"Cell OV Threshold": "4300"}}}})"},
          Case{"set|Safety|Voltage|Cell OV Threshold|9999|--yes", 0, R"({"new": "9999"})"},
          Case{"read|Safety|Nowhere", 1,
               R"({"error": "~no subclass \"Nowhere\"; there are: Voltage (1), Current"})"},
          Case{"set|Safety|Voltage|Nothing|1", 1,
               R"({"error": "~no item \"Nothing\"; there are: Cell OV Threshold"})"},
          Case{"write|--preserve|9", 1, R"({"error": "~preserve sets"})"},
          Case{"write|--preserve|1|--changed", 2, R"({"error": "~--changed"})"},
          Case{"recover|--finish|--forget", 2, R"({"error": "~only one"})"},
          Case{"recover", 0, R"({"pending": null})"}}) {
        const CliAnswer answer = Df(row.line);
        EXPECT_EQ(answer.Status, row.status)
            << row.line << answer.Out.constData() << answer.Err.toStdString();
        EXPECT_TRUE(Holds(answer.Object(), row.answer)) << row.line << answer.Out.constData();
    }
    EXPECT_EQ(cli.Run({QStringLiteral("static"), QStringLiteral("--json")})
                  .Object()[QLatin1String("static")]
                  .toObject()[QLatin1String("Serial number")],
              QStringLiteral("4711"));
}

// A cable pulled in the middle of a write, as a production line meets it: the next command says so, and the
// write can be finished.
TEST_F(DataFlashCli, AWriteThatWasCutIsFoundAndFinished)
{
    EXPECT_EQ(Df("set|Configuration|Pack Data|Serial Number|4711").Status, 0);
    EXPECT_EQ(Df("set|Factory|Reserve|Layout Size|1").Status, 0);
    Setting("FaultAt", "200:Unplug");
    const CliAnswer cut = Df("write|--defaults|--verify");
    EXPECT_EQ(cut.Status, 3) << cut.Out.constData();
    EXPECT_EQ(cut.Object()[QLatin1String("code")], 2);
    EXPECT_GT(cut.Object()[QLatin1String("written")].toArray().size(), 10);
    Setting("FaultAt", "");
    const CliAnswer read = Df("read|Safety|Voltage");
    EXPECT_EQ(read.Status, 0);
    EXPECT_TRUE(Holds(read.Object(), R"({"messages": ["~never ended"]})")) << read.Out.constData();
    const CliAnswer pending = Df("recover");
    EXPECT_EQ(pending.Status, 1);
    const QJsonArray subClasses
        = pending.Object()[QLatin1String("pending")].toObject()[QLatin1String("subclasses")].toArray();
    ASSERT_EQ(subClasses.size(), 57);
    EXPECT_TRUE(Holds(subClasses.first().toObject(), R"({"id": 1, "state": "new", "sent": true})"));
    EXPECT_TRUE(Holds(subClasses.last().toObject(), R"({"id": 67, "state": "old", "sent": false})"));
    EXPECT_TRUE(Holds(Df("recover|--finish").Object(), R"({"verified": true})"));
    EXPECT_EQ(Df("recover").Status, 0);
    EXPECT_EQ(Df("diff|gauge|defaults").Status, 0) << "what was wanted";
}

TEST_F(DataFlashCli, WhatWasReadCanBeWrittenBack)
{
    const CliAnswer now = Df("read");
    EXPECT_EQ(now.Status, 0);
    cli.Write(QStringLiteral("now.json"), now.Out);
    EXPECT_EQ(Df("set|Host Data|Scratch|Host Tag|edited").Status, 0);
    const CliAnswer written = Df("write|--values|now.json|--changed|--verify");
    EXPECT_EQ(written.Status, 0) << written.Out.constData() << written.Err.toStdString();
    EXPECT_TRUE(
        Holds(written.Object(),
              R"({"written": [{"class": "Host Data", "subclass": "Scratch", "id": 64}], "verified": true})"))
        << written.Out.constData();
    EXPECT_EQ(Df("diff|gauge|defaults").Status, 0);
}
