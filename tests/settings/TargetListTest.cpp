#include "settings/TargetList.h"
#include "tests/support/TargetFolder.h"
#include "tests/support/TestSupport.h"

#include <gmock/gmock.h>

namespace {

QStringList Lines(const TargetList& targets) { return targets.LinesOf(QStringLiteral("aLL")); }

} // namespace

TEST(TargetList, ShowsNameDeviceAndKeyOfEveryEntry)
{
    TargetFolder folder(kFewTargets);
    RecordedMessages messages;
    TargetList targets(folder.profiles, messages, folder.state);
    targets.Load();
    EXPECT_EQ(Lines(targets),
              QStringList({QStringLiteral("zm41k36 (Dev:800,Ver:1.02) -800_1_02"),
                           QStringLiteral("zm41k48 (Dev:801,Ver:2.00) -801_2_00"),
                           QStringLiteral("Generic gauge (Dev:generic) -generic"),
                           QStringLiteral(" (Dev:9,Ver:0) -9_0")}));
    EXPECT_EQ(targets.Categories(),
              QStringList({QStringLiteral("All"), QStringLiteral("Generic"), QStringLiteral("zm41")}));
    EXPECT_EQ(targets.LinesOf(QStringLiteral("zm41")).size(), 2);
    const TargetDetails details = targets.Details(targets.Entries()[0]);
    EXPECT_TRUE(details.found);
    EXPECT_EQ(details.address, 24);
    EXPECT_EQ(details.offers, QStringLiteral("Registers"));
    EXPECT_FALSE(targets.Details(targets.Entries()[3]).found);
    EXPECT_EQ(messages.texts, QStringList());
}

TEST(TargetList, KeepsTheWholeEntriesThatFitTheBuffer)
{
    // an entry is 64 characters with its terminator; the list's own terminator leaves room for 63 of them
    for (const auto& [entries, read] : {std::pair{63, 63}, std::pair{64, 63}, std::pair{500, 63}}) {
        QByteArray settings = "[Targets]\n";
        for (int i = 0; i < entries; ++i)
            settings += QByteArray::number(1000 + i) + '=' + QByteArray(58, 'x') + '\n';
        TargetFolder folder(settings);
        RecordedMessages messages;
        TargetList targets(folder.profiles, messages, folder.state);
        targets.Load();
        EXPECT_EQ(static_cast<int>(targets.Entries().size()), read);
        EXPECT_EQ(messages.texts,
                  entries == read ? QStringList() : QStringList(QStringLiteral("Buffer size insufficient!")));
    }
}

struct ChoiceCase {
    const char* name;
    const char* line;
    const char* file;
    const char* message;
};
class ChooseTarget : public testing::TestWithParam<ChoiceCase> { };

TEST_P(ChooseTarget, GivesTheFileOrOneMessage)
{
    TargetFolder folder(kFewTargets);
    RecordedMessages messages;
    TargetList targets(folder.profiles, messages, folder.state);
    targets.Load();
    EXPECT_EQ(targets.Choose(QLatin1String(GetParam().line)), QLatin1String(GetParam().file));
    EXPECT_EQ(messages.texts.join(QLatin1Char('|')), QLatin1String(GetParam().message));
}
INSTANTIATE_TEST_SUITE_P(
    Lines, ChooseTarget,
    testing::Values(ChoiceCase{"Entry", "zm41k36 (Dev:800,Ver:1.02) -800_1_02", "a\\Config.ini", ""},
                    ChoiceCase{"LastDashCounts", "a-b -801_2_00", "b\\Config.ini", ""},
                    ChoiceCase{"NoneSelected", "", "", "Please select a target first!"},
                    ChoiceCase{"NoDash", "zm41k36", "", "File corrupted! Please check your installation!"},
                    ChoiceCase{"UnknownKey", "x -7_7", "",
                               "Found corrupt data. Please check your installation!"},
                    ChoiceCase{"NoKey", "x -", "", "Found corrupt data. Please check your installation!"}),
    [](const auto& row) { return row.param.name; });

TEST(TargetList, RemembersADefaultByTheBeginningOfItsLine)
{
    TargetFolder folder(QByteArray(kFewTargets) + "[Default]\nTarget=zm41\n");
    RecordedMessages messages;
    TargetList targets(folder.profiles, messages, folder.state);
    targets.Load();
    EXPECT_EQ(targets.DefaultLine(), Lines(targets)[0]);
    for (const QString& line : Lines(targets)) { // also the one without a name, which begins with a blank
        EXPECT_EQ(targets.SetDefault(line), QString());
        EXPECT_EQ(targets.DefaultLine(), line);
    }
    EXPECT_EQ(targets.SetDefault({}), QString());
    EXPECT_EQ(targets.DefaultLine(), std::nullopt);
}

TEST(ShownDevice, ReplacesTheFirstTwoUnderscores)
{
    EXPECT_EQ(ShownDevice(QStringLiteral("800")), QStringLiteral("800"));
    EXPECT_EQ(ShownDevice(QStringLiteral("800_1")), QStringLiteral("800,Ver:1"));
    EXPECT_EQ(ShownDevice(QStringLiteral("800_1_02_3")), QStringLiteral("800,Ver:1.02_3"));
}
