#include "settings/TargetSettings.h"
#include "platform/WholeFile.h"
#include "tests/support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <map>

TEST(TargetNames, AreFormedFromIdentityAndKey)
{
    EXPECT_EQ(GetDeviceKey(QStringLiteral("Device:800, Ver:1.02")), QStringLiteral("800.1.02"));
    EXPECT_EQ(TargetsKey(QStringLiteral("Device:800, Ver:1.02")), QStringLiteral("800_1_02"));
    QString family, version;
    EXPECT_TRUE(SplitTargetSections(QStringLiteral("800.1.02"), family, version));
    EXPECT_EQ(family, QStringLiteral("D800"));
    EXPECT_EQ(version, QStringLiteral("800_1_02"));
    EXPECT_FALSE(SplitTargetSections(QStringLiteral("800"), family, version));
    for (const auto& [platform, section] : std::map<int, QString>{{1, QStringLiteral("P0001")},
                                                                  {12, QStringLiteral("P0012")},
                                                                  {12345, QStringLiteral("P12345")},
                                                                  {-1, QStringLiteral("P00-1")}})
        EXPECT_EQ(PlatformSection(platform), section);
}

using Values = std::map<std::string, int>;

struct LoadCase {
    const char* what;
    const char* key;
    const char* config;
    Values changed; ///< what differs from a record of defaults
    QStringList message = {}; ///< parts of the one message; empty: none
};

class LoadTarget : public testing::TestWithParam<LoadCase> { };

TEST_P(LoadTarget, FillsTheRecordOrKeepsIt)
{
    const QTemporaryDir folder;
    ASSERT_EQ(SaveWhole(folder.filePath(QStringLiteral("Config.ini")), GetParam().config), QString());
    ProfileStore profiles;
    RecordedMessages messages;
    TargetSettings settings;
    settings.ET2Off_DFOff = 9; // from an earlier load
    const bool loaded
        = LoadTargetSettings(profiles, messages, folder.path(), QLatin1String(GetParam().key), settings);
    EXPECT_EQ(loaded, GetParam().message.isEmpty());
    EXPECT_EQ(messages.texts.size(), GetParam().message.isEmpty() ? 0 : 1);
    for (const QString& part : GetParam().message)
        EXPECT_TRUE(messages.texts.value(0).contains(part)) << messages.texts.value(0).toStdString();

    Values changed;
    const std::vector<NamedSetting> defaults = NamedFields(TargetSettings{});
    const std::vector<NamedSetting> read = NamedFields(settings);
    ASSERT_EQ(read.size(), 35U);
    for (std::size_t field = 0; field < read.size(); ++field)
        if (read[field].value != defaults[field].value)
            changed[read[field].name] = read[field].value;
    EXPECT_EQ(changed, GetParam().changed);
}

#define Q QStringLiteral
INSTANTIATE_TEST_SUITE_P(
    Configs, LoadTarget,
    testing::Values(
        LoadCase{"EmptyFileGivesDefaults", "800.1.02", "", {}},
        LoadCase{"VersionOverFamily",
                 "800.1.02",
                 "[D800]\nTgtAddr=22\nVxMAC=5\n[800_1_02]\nTgtAddr=23\n",
                 {{"TgtAddr", 23}, {"VxMAC", 5}}},
        LoadCase{
            "FamilyAlone", "800.1.02", "[D800]\nTgtAddr=22\n[800_1_03]\nTgtAddr=23\n", {{"TgtAddr", 22}}},
        LoadCase{
            "EmptyVersionValue", "800.1.02", "[D800]\nTgtAddr=22\n[800_1_02]\nTgtAddr=\n", {{"TgtAddr", 22}}},
        LoadCase{"NoDotReadsDelaysAlone",
                 "800",
                 "[Delay]\nLOAD_VI_SETTLE=7\n[D800]\nTgtAddr=22\n",
                 {{"LOAD_VI_SETTLE", 7}, {"ET2Off_DFOff", 9}}},
        LoadCase{"PlatformSection",
                 "800.1",
                 "[D800]\nPlatform=12\n[P0012]\nDF_MAX_SZ=4096\n[P12]\nDF_MASSERASE=1\n",
                 {{"Platform", 12}, {"DF_MAX_SZ", 4096}}},
        LoadCase{"PlatformKeysHaveNoOverride", "800.1", "[D800]\nDF_MAX_SZ=1\n", {}},
        LoadCase{"ComputedDelays",
                 "800.1",
                 "[P0000]\nDF_ERASEROW_SZ=64\n",
                 {{"DF_ERASEROW_SZ", 64}, {"GGModeDFDelay", 204}, {"SBSWrDelay", 102}}},
        LoadCase{"GivenDelayDoesNotChangeTheOther",
                 "800.1",
                 "[800_1]\nGGModeDFDelay=1000\n",
                 {{"GGModeDFDelay", 1000}}},
        LoadCase{"WideFieldsTakeThirtyTwoBits", "800.1", "[D800]\nCalWr=0x12345\n", {{"CalWr", 0x12345}}},
        LoadCase{"TooWide",
                 "800.1.02",
                 "[Delay]\nUSB_RESP_TIME=3\n[D800]\nVxMAC=1\nET1Off_DFOff=32768\n",
                 {{"ET2Off_DFOff", 9}},
                 {Q("Config.ini"), Q("[D800]"), Q("ET1Off_DFOff"), Q("32768")}},
        LoadCase{"TooWideInVersion",
                 "800.1",
                 "[D800]\nGGComm=1\n[800_1]\nGGComm=-32769\n",
                 {{"ET2Off_DFOff", 9}},
                 {Q("[800_1]"), Q("GGComm")}},
        LoadCase{"RowOfNoBytes",
                 "800.1",
                 "[P0000]\nDF_PROGROW_SZ=0\n",
                 {{"ET2Off_DFOff", 9}},
                 {Q("Config.ini"), Q("[P0000]"), Q("DF_PROGROW_SZ")}},
        LoadCase{"ComputedDelayTooLong",
                 "800.1",
                 "[P0000]\nDF_ERASEROW=2147483647\n",
                 {{"ET2Off_DFOff", 9}},
                 {Q("[P0000]"), Q("GGModeDFDelay")}}),
    [](const auto& row) { return row.param.what; });
