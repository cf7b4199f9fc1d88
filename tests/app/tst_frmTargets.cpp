#include "app/frmTargets.h"
#include "settings/ProgramSettings.h"
#include "tests/support/TargetFolder.h"
#include "tests/support/TestSupport.h"

#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

namespace {

class TargetsWindow : public testing::Test {
protected:
    TargetsWindow() { Open(); }
    void Open()
    {
        targets.Load();
        window = std::make_unique<frmTargets>(targets, messages, folder.state);
    }
    QListWidget* List(const char* name) { return window->findChild<QListWidget*>(QLatin1String(name)); }
    void Click(const char* name) { window->findChild<QPushButton*>(QLatin1String(name))->click(); }
    QString Label(const char* name) { return window->findChild<QLabel*>(QLatin1String(name))->text(); }

    TargetFolder folder{kFewTargets};
    RecordedMessages messages;
    TargetList targets{folder.profiles, messages, folder.state};
    std::unique_ptr<frmTargets> window;
};

} // namespace

TEST_F(TargetsWindow, StaysOpenWithItsMessageUntilALineIsSelected)
{
    window->show();
    Click("cmdOK");
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(messages.texts, QStringList(QStringLiteral("Please select a target first!")));
    List("lstTargets")->setCurrentRow(1);
    Click("cmdOK");
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(window->ChosenFile(), QStringLiteral("b\\Config.ini"));
}

TEST_F(TargetsWindow, ChoosesFromTheListThatTheCategoryShows)
{
    List("lstTargets")->setCurrentRow(2); // selected, but not what is in sight below
    List("lstTargetCategory")->setCurrentRow(2);
    EXPECT_EQ(List("lstFiltered")->count(), 2);
    Click("cmdOK");
    EXPECT_EQ(messages.texts.size(), 1);
    List("lstFiltered")->setCurrentRow(1);
    EXPECT_EQ(Label("lblFile"), QStringLiteral("b\\Config.ini"));
    Click("cmdOK");
    EXPECT_EQ(window->ChosenFile(), QStringLiteral("b\\Config.ini"));
}

TEST_F(TargetsWindow, OpensWithTheRememberedDefaultOrTheTargetInUseSelected)
{
    SetTargetConfigPath(folder.state, QStringLiteral("b/Config.ini")); // the list has a backslash
    Open();
    EXPECT_EQ(List("lstTargets")->currentRow(), 1);
    folder.state.TargetConfigPath.clear();
    Open();
    EXPECT_EQ(List("lstTargets")->currentRow(), -1);
    List("lstTargets")->setCurrentRow(1);
    Click("cmdSetDef");
    Open();
    EXPECT_EQ(List("lstTargets")->currentRow(), 1);
    EXPECT_EQ(Label("lblAddress"), QStringLiteral("0x16"));
}

TEST_F(TargetsWindow, ReportsAHelpPageThatIsNotThere)
{
    Click("cmdHelp");
    EXPECT_EQ(messages.texts, QStringList(QStringLiteral("Error opening file SupportedTargets.html")));
}
