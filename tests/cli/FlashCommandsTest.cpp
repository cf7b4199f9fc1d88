#include "tests/cli/CliRun.h"

#include <gtest/gtest.h>

namespace {

const QString kJson = QStringLiteral("--json");
const QString kYes = QStringLiteral("--yes");

/// A simulated gauge that keeps its flash from call to call.
struct FlashCommands : testing::Test {
    CliRun cli;
    QString image = cli.Path(QStringLiteral("gauge.srec"));

    void SetUp() override
    {
        cli.ShipHome();
        Simulate({});
        ASSERT_EQ(Run({QStringLiteral("read"), image}).Status, 0);
    }
    void Simulate(const QByteArray& more)
    {
        cli.Write(QStringLiteral("home/tarnlo.ini"),
                  "[Simulator]\nSpeed=0\nFlashFile=" + cli.Path(QStringLiteral("flash.bin")).toUtf8() + '\n'
                      + more + "[Targets]\n800_1_02=sim4s\\Config.ini\n");
    }
    CliAnswer Run(const QStringList& arguments)
    {
        return cli.Run(QStringList{QStringLiteral("flash")} + arguments);
    }
};

TEST_F(FlashCommands, ProgramVerifyAndRecoverAcrossAPowerCut)
{
    const QStringList program{QStringLiteral("program"), image, QStringLiteral("--mass-erase"), kJson};
    CliAnswer answer = Run(program);
    EXPECT_EQ(answer.Status, 1);
    EXPECT_TRUE(Holds(answer.Object(), R"({"error": "~not confirmed"})")) << answer.Out.constData();

    Simulate("FaultAt=300:Unplug\n");
    answer = Run(program + QStringList{kYes});
    EXPECT_EQ(answer.Status, 3);
    EXPECT_TRUE(Holds(answer.Object(), R"({"code": 2, "mode": "unknown", "error": "~incomplete"})"))
        << answer.Out.constData();
    Simulate({});
    EXPECT_TRUE(Holds(Run({QStringLiteral("mode"), kJson}).Object(), R"({"mode": "rom", "status": 14})"));
    answer = Run({QStringLiteral("recover"), kJson});
    EXPECT_EQ(answer.Status, 1);
    EXPECT_TRUE(Holds(answer.Object(), R"({"code": 14, "mode": "rom"})")) << answer.Out.constData();

    EXPECT_EQ(Run(program + QStringList{kYes}).Status, 0);
    answer = Run({QStringLiteral("verify"), image, kJson});
    EXPECT_TRUE(Holds(answer.Object(), R"({"code": 0, "mode": "firmware"})")) << answer.Out.constData();
}

TEST_F(FlashCommands, RefuseWhatIsForAnotherGauge)
{
    QByteArray other = cli.Read(QStringLiteral("gauge.srec"));
    other.replace(0, other.indexOf('\n'), "S01700004465766963653A3930302C205665723A312E303251"); // Device:900
    cli.Write(QStringLiteral("other.srec"), other);
    CliAnswer answer = Run({QStringLiteral("program"), cli.Path(QStringLiteral("other.srec")), kYes, kJson});
    EXPECT_EQ(answer.Status, 1);
    EXPECT_TRUE(Holds(answer.Object(), R"({"code": 226, "error": "~Device:900, Ver:1.02"})"))
        << answer.Out.constData();

    cli.Write(QStringLiteral("big.srec"), "S3060010000011D8\nS306001080001158\n");
    answer = Run({QStringLiteral("program"), cli.Path(QStringLiteral("big.srec")), kYes, kJson});
    EXPECT_TRUE(Holds(answer.Object(), R"({"code": 7, "error": "~00100000 to 00107FFF"})"))
        << answer.Out.constData();
    answer = Run(
        {QStringLiteral("verify"), image, QStringLiteral("--flash-target"), QStringLiteral("none"), kJson});
    EXPECT_TRUE(Holds(answer.Object(), R"({"error": "~no flash target \"none\""})"))
        << answer.Out.constData();
}

} // namespace
