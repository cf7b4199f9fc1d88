#include "plugins/frmPlugin.h"
#include "tests/plugins/HostBench.h"
#include "tests/support/TargetFolder.h"

#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPointer>

namespace {

/// A plug-in window in a frame, as the main window hosts it.
class PluginWindow : public testing::Test {
protected:
    void Open(const char* key)
    {
        home.state.TargetConfigPath = home.state.ProgramFolder + QStringLiteral("/a/Config.ini");
        window = new frmPlugin(context, nullptr, {QStringLiteral(FOLDER)});
        window->Mode(QString::fromLatin1(key));
        host = window->findChild<PluginHost*>(); // where these plug-ins leave their notes
        frame = area.addSubWindow(window);
        frame->setAttribute(Qt::WA_DeleteOnClose);
        area.show();
        frame->show();
    }
    QString Label(const char* name) { return window->findChild<QLabel*>(QLatin1String(name))->text(); }
    QString Noted() { return host->property("noted").toStringList().join(QLatin1Char(' ')); }

    TargetFolder home{kFewTargets};
    HostBench bench;
    TargetSettings target;
    GaugeLink link{bench.usb, bench.access, home.profiles, bench.messages, home.state, target};
    ErrorList errors{bench.time};
    GaugeContext context{home.profiles, home.state, target,         bench.usb, bench.access,
                         link,          bench.time, bench.messages, errors};
    QMdiArea area;
    QPointer<frmPlugin> window;
    QPointer<PluginHost> host;
    QPointer<QMdiSubWindow> frame;
};

} // namespace

TEST_F(PluginWindow, IntroducesAPluginInTheFixedOrderAndShowsItsForm)
{
    Open("Good");
    ASSERT_TRUE(host);
    EXPECT_EQ(Noted(), QStringLiteral("Caption TargetInfo TargetAddress Popup ShowForm"));
    EXPECT_EQ(host->property("shown"), 0);
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Good caption"));
    auto* embedded = window->findChild<QStackedWidget*>(QStringLiteral("OLE1"))->currentWidget();
    EXPECT_EQ(embedded->property("TargetAddress"), home.state.TargetAddress);
    EXPECT_TRUE(embedded->property("TargetInfo").toString().contains(QStringLiteral("zm41k36")));
    frame->hide();
    frame->show();
    EXPECT_TRUE(Noted().endsWith(QStringLiteral("Popup ShowForm ShowForm"))) << "shown again";
}

TEST_F(PluginWindow, ClosesALittleAfterItWasAskedTo)
{
    Open("Good");
    host->UnloadInTime();
    EXPECT_TRUE(frame) << "the plug-in is still in its call";
    frame->hide();
    frame->show();
    EXPECT_EQ(Noted().count(QStringLiteral("ShowForm")), 1) << "no form any more";
    EXPECT_TRUE(Reached(bench.time, [&] { return !window && !frame; }));
}

TEST_F(PluginWindow, SurvivesPluginsThatThrowAndTakesBackWhatTheyHold)
{
    const struct {
        const char* key;
        const char* told;
        bool runs;
    } rows[] = {
        {"ThrowsInCreate", "not today", false},
        {"MakesNothing", "made no MakesNothing", false},
        {"ThrowsInCaption", "no caption today", true},
        {"ThrowsInShowForm", "no std::exception", true},
        {"KeepsTheBus", "", true},
    };
    for (const auto& row : rows) {
        bench.messages.texts.clear();
        Open(row.key);
        const QString told = bench.messages.texts.join(QLatin1Char('\n')) + Label("lblPluginDetail");
        EXPECT_TRUE(told.contains(QString::fromLatin1(row.told))) << row.key << told.toStdString();
        EXPECT_EQ(Label("lblPluginState").endsWith(QStringLiteral("is running")), row.runs) << row.key;
        EXPECT_EQ(GaugeAccess::Held(), qstrcmp(row.key, "KeepsTheBus") == 0) << row.key;
        frame->close();
        EXPECT_FALSE(GaugeAccess::Held()) << row.key;
        delete frame;
    }
}

TEST_F(PluginWindow, SaysWhatIsWrongWithAKeyThatLeadsToNoPlugin)
{
    const std::pair<const char*, const char*> rows[] = {
        {"Newer", "version 99 of the plug-in contract, this Tarnlo has version 1"},
        {"Missing", "No plug-in \"Missing\" was found in"},
        {"../../bin/sh", "is no name of a plug-in class"},
    };
    for (const auto& [key, text] : rows) {
        Open(key);
        EXPECT_TRUE(Label("lblPluginDetail").contains(QString::fromLatin1(text)))
            << Label("lblPluginDetail").toStdString();
        EXPECT_TRUE(window->findChild<QPushButton*>(QStringLiteral("cmdStartAgain"))->isVisible());
        delete frame;
    }
}

TEST_F(PluginWindow, WaitsForACallThatIsUnderWayBeforeItCloses)
{
    Open("Good");
    bench.adapter.onCall = [&] {
        bench.adapter.onCall = nullptr;
        EXPECT_TRUE(window->Busy());
        frame->close();
        EXPECT_TRUE(window && host);
    };
    const QVariantMap answer = host->Call(QStringLiteral("ReadSMBusWord_"),
                                          {{QStringLiteral("cmd"), 9}, {QStringLiteral("addr"), 22}});
    EXPECT_EQ(answer.value(QStringLiteral("err")), 0);
    EXPECT_TRUE(Reached(bench.time, [&] { return !window && !frame; }));
}
