#include "settings/ProgramSettings.h"
#include "platform/WholeFile.h"
#include "tests/support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

// A path can hold neither blank nor "-": wanted, "-t a b-c.ini" is /home/ab.
TEST(ParseCommandLine, TakesTheTwoOptionsAndIgnoresTheRest)
{
    const struct {
        const char* line;
        int mode;
        const char* path;
    } kCases[] = {{"", 2, ""},
                  {"-t zm41k36\\Config.ini -d0", 0, "/home/zm41k36\\Config.ini"},
                  {"-d0 -tX", 0, "/home/X"},
                  {"tX", 2, "/home/X"},
                  {"d1 -dX", 0, ""},
                  {"-D0 -T x --help", 2, ""},
                  {"-t a b-c.ini", 2, "/home/ab"},
                  {"-t", 2, "/home/"},
                  {"-t/abs/C.ini", 2, "/abs/C.ini"},
                  {"- d 1 2 -", 12, ""},
                  {"-d2.5", 2, ""},
                  {"-d3.5x", 4, ""},
                  {"-d99999", 32767, ""},
                  {"-d1e999", 32767, ""},
                  {"-dinf", 0, ""},
                  {"-d-5", 0, ""},
                  {"-d+5", 5, ""}};
    for (const auto& c : kCases) {
        StartupState state = InitialState(QStringLiteral("/home"));
        ParseCommandLine(QLatin1String(c.line), state);
        EXPECT_EQ(state.AutoDetectMode, c.mode) << c.line;
        EXPECT_EQ(state.TargetConfigPath, QLatin1String(c.path)) << c.line;
    }
    EXPECT_EQ(InitialState(QStringLiteral("/home")).ProgramSettingsFile, QStringLiteral("/home/tarnlo.ini"));
}

TEST(ReadTargetAddress, TheTargetsValueWinsAndABadOneChangesNothing)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("a.ini"));
    ProfileStore profiles;
    RecordedMessages messages;
    StartupState state;
    const struct {
        const char* content;
        int address;
        int messages;
    } kSteps[] = {{"", 22, 0},
                  {"[Communication]\nTargetAddress=0x18\n", 24, 0},
                  {"[Communication]\nOther=1\n", 24, 0},
                  {"[Communication]\nTargetAddress=32768\n", 24, 1}};
    for (const auto& step : kSteps) {
        ASSERT_EQ(SaveWhole(file, step.content), QString());
        ReadTargetAddress(profiles, messages, file, state);
        EXPECT_EQ(state.TargetAddress, step.address) << step.content;
        EXPECT_EQ(messages.texts.size(), step.messages) << step.content;
    }
    for (const QString& part : {file, QStringLiteral("[Communication]"), QStringLiteral("TargetAddress")})
        EXPECT_TRUE(messages.texts.last().contains(part));
}
