#include "settings/TableSettings.h"
#include "platform/WholeFile.h"
#include "tests/support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

struct TableCase {
    const char* what;
    const char* target; ///< content of the target's file; null: no target chosen
    const char* config;
    int interval; ///< [SBS] ScanInterval as read
    bool writesTarget; ///< where a changed interval goes
};

class TableSettingsTest : public testing::TestWithParam<TableCase> { };

TEST_P(TableSettingsTest, ReadsAndWritesTheFileThatHoldsTheKey)
{
    const QTemporaryDir folder;
    StartupState state;
    state.ProgramFolder = folder.path();
    const QString config = folder.filePath(QStringLiteral("Config.ini"));
    const QString target = folder.filePath(QStringLiteral("target.ini"));
    ASSERT_EQ(SaveWhole(config, GetParam().config), QString());
    if (GetParam().target) {
        ASSERT_EQ(SaveWhole(target, GetParam().target), QString());
        state.TargetConfigPath = target;
    }
    ProfileStore profiles;
    TableSettings settings(profiles, state);
    EXPECT_EQ(settings.Integer(u"SBS", u"ScanInterval", 2000), GetParam().interval);
    EXPECT_EQ(settings.Write(u"SBS", u"ScanInterval", QStringLiteral("7")), QString());
    EXPECT_EQ(profiles.Integer(target, u"SBS", u"ScanInterval") == 7, GetParam().writesTarget);
    EXPECT_EQ(profiles.Integer(config, u"SBS", u"ScanInterval") == 7, !GetParam().writesTarget);
}

INSTANTIATE_TEST_SUITE_P(
    Files, TableSettingsTest,
    testing::Values(
        TableCase{"Nowhere", nullptr, "", 2000, false},
        TableCase{"InConfig", "[SBS]\nConfigFile=a\n", "[SBS]\nScanInterval=5\n", 5, false},
        TableCase{"InBoth", "[SBS]\nScanInterval=4\n", "[SBS]\nScanInterval=5\n", 4, true},
        TableCase{"TargetNamesTheTable", "[SBS]\nConfigFile=a\n", "[SBS]\nConfigFile=b\n", 2000, true},
        TableCase{"ConfigNamesTheTable", "[Device]\nName=a\n", "[SBS]\nConfigFile=b\n", 2000, false}),
    [](const auto& row) { return row.param.what; });
