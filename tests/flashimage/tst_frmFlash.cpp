#include "flashimage/frmFlash.h"

#include "flashimage/clsSrecRW.h"
#include "platform/WholeFile.h"
#include "tests/flashimage/SimulatedGauge.h"

#include <QAction>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace {

constexpr char kConfig[] = "[D800]\nRetROMCmd=8\nRetROMWd=23205\nGG_FWEXEC=1180124504\nROMComm=24\n";

/// The view on a program folder with a simulated gauge, or without an adapter.
struct FlashWindow : testing::Test {
    QTemporaryDir folder;
    SimulatedGauge gauge;
    RecordedMessages messages;
    ErrorList errors{gauge.time};
    ProfileStore profiles;
    StartupState state;
    TargetSettings target;
    GaugeLink link{gauge.usb, gauge.access, profiles, messages, state, target};
    GaugeContext context{profiles, state,      target,   gauge.usb, gauge.access,
                         link,     gauge.time, messages, errors};
    std::uint16_t device = 0x800; // of the one flash target
    std::unique_ptr<frmFlash> window;

    void SetUp() override
    {
        state.ProgramFolder = folder.path();
        state.ProgramSettingsFile = folder.filePath(QStringLiteral("tarnlo.ini"));
        EXPECT_EQ(SaveWhole(folder.filePath(QStringLiteral("Config.ini")), kConfig), QString());
        Open(&context);
    }
    void Open(GaugeContext* with)
    {
        window = std::make_unique<frmFlash>(
            profiles, state, messages,
            [this](const QString&, std::vector<FlashTarget>& targets) {
                targets = {gauge.target};
                targets[0].Device = device;
                return QString();
            },
            with);
        window->resize(1250, 760);
        window->show();
    }
    QString Write(const char* name, const clsSrecFlash& image)
    {
        const QString path = folder.filePath(QLatin1String(name));
        EXPECT_EQ(clsSrecRW(messages).WriteSrec(path, image), QString());
        return path;
    }
    static clsSrecFlash Image()
    {
        clsSrecFlash image;
        image.S0Comment = QStringLiteral("Device:800, Ver:1.02");
        image.DF.Store(0x4000, Bytes(2048, 0x11));
        image.PF.Store(0x100000, Bytes(0x1000, 0x22));
        return image;
    }
    template <class Widget = QWidget>
    Widget* Find(const char* name)
    {
        return window->findChild<Widget*>(QLatin1String(name));
    }
    QString Text(const char* label) { return Find<QLabel>(label)->text(); }
    void Do(const char* action) { Find<QAction>(action)->trigger(); }
    void Click(const char* button) { Find<QPushButton>(button)->click(); }
    HexView* Hex(const char* name = "hexFirst") { return Find<HexView>(name); }
    QString Enter(const char* field, const char* text) ///< what the status bar says
    {
        QSignalSpy said(window.get(), &ChildView::StatusText);
        Find<QLineEdit>(field)->setText(QLatin1String(text));
        QTest::keyClick(Find<QLineEdit>(field), Qt::Key_Return);
        return said.isEmpty() ? QString() : said.last().at(0).toString();
    }
};

TEST_F(FlashWindow, GoesThroughTheDifferencesOfTwoImages)
{
    clsSrecFlash other = Image();
    other.DF.View()[0x24] = 1;
    other.DF.View()[0x25] = 2;
    other.PF.View()[0x100] = 3;
    window->OpenImage(Write("a.srec", Image()));
    window->CompareWith(Write("b.srec", other));
    EXPECT_EQ(Text("lblDifference"), QStringLiteral("2 differences, 3 bytes"));
    Do("mnuImageNext");
    EXPECT_EQ(Hex()->Cursor(), 0x4024U);
    EXPECT_EQ(Hex("hexSecond")->Cursor(), 0x4024U);
    Do("mnuImageNext");
    EXPECT_EQ(Hex()->Area(), ImageArea::Program);
    EXPECT_EQ(Hex()->Cursor(), 0x100100U);
    EXPECT_EQ(Text("lblDifference"), QStringLiteral("difference 2 of 2"));
    Do("mnuImageNext"); // round
    Do("mnuImagePrevious");
    EXPECT_EQ(Hex()->Cursor(), 0x100100U);
    Find<QTableView>("grdDifferences")->selectRow(0);
    EXPECT_EQ(Hex()->Cursor(), 0x4024U);

    Hex()->setFocus(); // typing what the other has takes the difference away
    QTest::keyClicks(Hex(), QStringLiteral("0102"));
    EXPECT_EQ(Find<QTableView>("grdDifferences")->model()->rowCount(), 1);
    Do("mnuEditUndo");
    EXPECT_EQ(Find<QTableView>("grdDifferences")->model()->rowCount(), 2)
        << Text("lblDifference").toStdString();
    Do("mnuImageCompareEnd");
    EXPECT_FALSE(Hex("hexSecond")->isVisible());
}

TEST_F(FlashWindow, FindsGoesAndSaves)
{
    clsSrecFlash image = Image();
    const std::string_view text = "gauge";
    std::copy(text.begin(), text.end(), image.PF.View().begin() + 0x80);
    std::copy(text.begin(), text.end(), image.DF.View().begin() + 0x10);
    window->OpenImage(Write("a.srec", image));
    for (const std::uint32_t found : {0x4010U, 0x100080U, 0x4010U}) { // over both regions and round
        Enter("txtFindBytes", "gauge");
        EXPECT_EQ(Hex()->Cursor(), found);
    }
    Do("mnuEditFindPrevious");
    EXPECT_EQ(Hex()->Cursor(), 0x100080U);
    EXPECT_TRUE(Enter("txtFindBytes", "nowhere").contains(QStringLiteral("is not in the image")));
    Enter("txtGoTo", "47ff");
    EXPECT_EQ(Hex()->Cursor(), 0x47FFU);
    EXPECT_TRUE(Enter("txtGoTo", "9000").contains(QStringLiteral("no byte at 9000")));
    QTest::keyClicks(Hex(), QStringLiteral("77"));
    EXPECT_EQ(Text("lblStateFirst"), QStringLiteral("1 byte edited, not saved"));

    messages.answers = {Answer::Cancel};
    EXPECT_FALSE(window->MayClose());
    const QString path = folder.filePath(QStringLiteral("b.srec"));
    EXPECT_TRUE(window->SaveTo(path));
    clsSrecFlash saved;
    EXPECT_TRUE(clsSrecRW(messages).ReadSrec(path, saved));
    EXPECT_EQ(saved.DF.View()[0x7FF], 0x77);
    EXPECT_TRUE(window->MayClose());
}

TEST_F(FlashWindow, KeepsTheImageWhenAnotherCannotBeRead)
{
    Open(nullptr);
    window->OpenImage(Write("a.srec", Image()));
    const QString cipher = folder.filePath(QStringLiteral("x.senc"));
    EXPECT_EQ(SaveWhole(cipher, "VxENCR\x01\x02"), QString());
    for (const QString& path : {cipher, folder.filePath(QStringLiteral("none.srec"))}) {
        messages.texts.clear();
        window->OpenImage(path);
        EXPECT_EQ(messages.texts.size(), 1) << messages.texts.join(u'|').toStdString();
        EXPECT_EQ(window->windowTitle(), QStringLiteral("a.srec"));
    }
    const QString odd = folder.filePath(QStringLiteral("odd.srec"));
    EXPECT_EQ(SaveWhole(odd, "S1044000AA11\nhello\n"), QString());
    window->OpenImage(odd); // good lines count, the others are listed
    EXPECT_EQ(window->windowTitle(), QStringLiteral("odd.srec"));
    EXPECT_EQ(Find<QListWidget>("lstImageProblems")->count(), 1);
    EXPECT_EQ(Text("lblStateFirst"), QStringLiteral("1 line of the file was not taken"));
    EXPECT_FALSE(Find<QAction>("mnuImageProgram")->isEnabled()) << "no adapter";
}

TEST_F(FlashWindow, ListsTheBadLinesOfTheFilesThatAreShown)
{
    const auto write = [this](const char* name, const char* text) {
        const QString path = folder.filePath(QLatin1String(name));
        EXPECT_EQ(SaveWhole(path, text), QString());
        return path;
    };
    const auto rows = [this] {
        QStringList texts;
        const auto* list = Find<QListWidget>("lstImageProblems");
        for (int row = 0; row < list->count(); ++row)
            texts << list->item(row)->text().section(QLatin1Char(','), 0, 1);
        return texts;
    };
    window->OpenImage(write("one.srec", "S1044000AA11\nhello\n"));
    window->OpenImage(write("none.srec", "nothing\nof use\n")); // what was open stays
    EXPECT_EQ(rows(), QStringList(QStringLiteral("one.srec, line 2")));
    window->CompareWith(write("two.srec", "S1044000AA11\n\nhello\n"));
    EXPECT_EQ(rows().size(), 3);
    Do("mnuImageCompareEnd");
    EXPECT_EQ(rows(), QStringList(QStringLiteral("one.srec, line 2")));
}

TEST_F(FlashWindow, ReadsEditsAndProgramsTheGauge)
{
    Do("mnuImageRead");
    EXPECT_EQ(Find<QPushButton>("cmdRunFlash")->text(), QStringLiteral("Read 34816 bytes"));
    EXPECT_EQ(gauge.ReadVoltage(), ErrorCode::Ok) << "the plan alone changes nothing";
    Click("cmdRunFlash");
    EXPECT_EQ(Text("lblStateFirst"), QStringLiteral("not saved"));
    Hex()->setFocus();
    QTest::keyClicks(Hex(), QStringLiteral("5A"));
    Do("mnuImageProgram");
    Find<QCheckBox>("chkInstruction")->click();
    EXPECT_EQ(Find<QTableWidget>("grdFlashPlan")->rowCount(), 1);
    Click("cmdRunFlash");
    EXPECT_TRUE(Text("lblFlashPlan").contains(QStringLiteral("2048 bytes programmed and verified.")))
        << Text("lblFlashPlan").toStdString();
    EXPECT_EQ(gauge.adapter.Bench().Flash().Data()[0], 0x5A);
    EXPECT_FALSE(Find("bannerRom")->isVisible());
}

TEST_F(FlashWindow, RefusesAnImageForAnotherGaugeBeforeProgramming)
{
    clsSrecFlash image = Image();
    image.S0Comment = QStringLiteral("Device:900, Ver:1.00");
    window->OpenImage(Write("a.srec", image));
    Do("mnuImageProgram");
    EXPECT_FALSE(Find<QPushButton>("cmdRunFlash")->isEnabled());
    EXPECT_TRUE(
        Find<QListWidget>("lstFindings")->item(0)->text().startsWith(QStringLiteral("VB_SREC_DEV_MISMATCH")));
    window->OpenImage(Write("b.srec", Image())); // the plan on the screen follows the image
    EXPECT_TRUE(Find<QPushButton>("cmdRunFlash")->isEnabled());
    const QString cut = folder.filePath(QStringLiteral("cut.srec"));
    EXPECT_EQ(SaveWhole(cut, "S1044000AA11\nhello\n"), QString());
    window->OpenImage(cut);
    EXPECT_FALSE(Find<QPushButton>("cmdRunFlash")->isEnabled()) << "bytes may be missing";
    window->OpenImage(Write("b.srec", Image()));
    device = 0x900; // now the gauge is the odd one
    Click("cmdRunFlash");
    EXPECT_EQ(gauge.ReadVoltage(), ErrorCode::Ok) << "nothing was sent";
    Do("mnuImageProgram");
    EXPECT_FALSE(Find<QPushButton>("cmdRunFlash")->isEnabled());
}

TEST_F(FlashWindow, LooksAtTheModeWithoutLettingADialogHoldTheBus)
{
    window->OpenImage(Write("a.srec", Image()));
    bool asked = false;
    gauge.time.onEvents = [&] { // as a click comes in while the adapter is asked
        if (!asked && GaugeAccess::Held()) {
            asked = true;
            EXPECT_TRUE(window->Busy());
            Do("mnuImageProgram");
            EXPECT_FALSE(Find("paneFlash")->isVisible());
        }
    };
    QTRY_VERIFY(asked); // by the timer
    gauge.time.onEvents = nullptr;
    QTRY_VERIFY(Find("paneFlash")->isVisible());
    EXPECT_TRUE(Find<QPushButton>("cmdRunFlash")->isEnabled()) << "the gauge is known";
}

TEST_F(FlashWindow, RecoversAGaugeThatAStopLeftWithoutFirmware)
{
    const clsSrecFlash good = gauge.ReadBack();
    clsSrecFlash image = good;
    image.S0Comment = QStringLiteral("Device:800, Ver:1.02");
    const QString whole = Write("good.srec", image);
    std::ranges::fill(image.PF.View(), std::uint8_t{0x33});
    window->OpenImage(Write("a.srec", image));
    Do("mnuImageProgram");
    auto* bar = Find<QProgressBar>("pbFlash");
    const auto stop = QObject::connect(bar, &QProgressBar::valueChanged, bar, [this](int value) {
        EXPECT_FALSE(window->close()) << "the gauge would be left without firmware unasked";
        EXPECT_TRUE(window->Busy());
        if (value > 4096)
            Click("cmdStopFlash");
    });
    Click("cmdRunFlash");
    QObject::disconnect(stop);
    EXPECT_TRUE(Find("bannerRom")->isVisible());
    EXPECT_TRUE(Text("lblFlashPlan").contains(QStringLiteral("The gauge is in its boot ROM")));

    Click("cmdStartFirmware");
    EXPECT_TRUE(Text("lblFlashPlan").startsWith(QStringLiteral("The firmware did not start")));
    EXPECT_TRUE(Find("bannerRom")->isVisible());
    window->OpenImage(whole);
    Click("cmdProgramFirmware");
    Click("cmdRunFlash");
    EXPECT_FALSE(Find("bannerRom")->isVisible()) << Text("lblFlashPlan").toStdString();
    EXPECT_EQ(gauge.ReadVoltage(), ErrorCode::Ok);
}

} // namespace
