#include "app/frmColours.h"
#include "look/Theme.h"
#include "tests/support/TargetFolder.h"

#include <QApplication>
#include <QComboBox>
#include <QPushButton>
#include <QSpinBox>

#include <gtest/gtest.h>

namespace {

class ColoursWindow : public testing::Test {
protected:
    ColoursWindow()
    {
        folder.Put(QStringLiteral("DefSkin.ini"), "[Default]\n[Night]\nBackground=0\nTextFore=16777215\n");
        Theme::Current().ApplySkinToAllForms(LightSkin());
        window = std::make_unique<frmColours>(Theme::Current(), folder.profiles, folder.state);
        window->show();
    }
    ~ColoursWindow() override { Theme::Current().ApplySkinToAllForms(LightSkin()); }
    void Choose(const char* skin)
    {
        window->findChild<QComboBox*>(QStringLiteral("cboSkin"))->setCurrentText(QLatin1String(skin));
    }
    void Click(const char* name) { window->findChild<QPushButton*>(QLatin1String(name))->click(); }
    static QColor Window() { return QApplication::palette().color(QPalette::Window); }
    QString Remembered() { return folder.profiles.String(folder.state.ProgramSettingsFile, u"GUI", u"Skin"); }

    TargetFolder folder{""};
    std::unique_ptr<frmColours> window;
};

} // namespace

TEST_F(ColoursWindow, ShowsASkinAtOnceAndCancelBringsBackWhatWas)
{
    Choose("Night");
    EXPECT_EQ(Window(), QColor(Qt::black));
    Click("cmdCancel");
    EXPECT_EQ(Theme::Current().CurrentSkin(), LightSkin());
    EXPECT_EQ(Remembered(), QString());
}

TEST_F(ColoursWindow, KeepsAndRemembersTheSkinOnOk)
{
    Choose("Night");
    window->findChild<QSpinBox*>(QStringLiteral("spnSelected"))->setValue(6);
    Click("cmdOK");
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(Window(), QColor(Qt::black));
    EXPECT_EQ(Remembered(), QStringLiteral("Night"));
    EXPECT_EQ(folder.profiles.Integer(folder.state.ProgramFolder + QStringLiteral("/DefSkin.ini"), u"Night",
                                      u"HighlightBorderWidth"),
              6);
}

TEST_F(ColoursWindow, ResetDropsChangesThatWereNotSaved)
{
    Choose("Night");
    window->findChild<QSpinBox*>(QStringLiteral("spnOthers"))->setValue(9);
    EXPECT_EQ(Theme::Current().CurrentSkin().UnHighlightBorderWidth, 9);
    Click("cmdReset");
    EXPECT_EQ(Theme::Current().CurrentSkin().UnHighlightBorderWidth, 1);
}
