#include "look/Theme.h"
#include "sbs/PlotView.h"

#include <QFile>
#include <QImage>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

#include <gmock/gmock.h>

namespace {

constexpr double kFailed = std::numeric_limits<double>::quiet_NaN();

class LivePlot : public testing::Test {
protected:
    LivePlot()
    {
        for (int i = 0; i < 600; ++i)
            Pass(i >= 300 && i < 330 ? kFailed : 15000 + i, 20.5);
        view.resize(700, 400);
        view.SetCurves({{.History = &history,
                         .Row = 0,
                         .Name = QStringLiteral("Voltage"),
                         .Unit = QStringLiteral("mV"),
                         .Place = 0},
                        {.History = &history,
                         .Row = 1,
                         .Name = QStringLiteral("Temperature"),
                         .Unit = QStringLiteral("C"),
                         .Place = 1}});
        view.show();
        view.ShowAll();
    }
    void Pass(double voltage, double temperature)
    {
        const double values[]{voltage, temperature};
        history.Append(1000LL * static_cast<std::int64_t>(history.Passes()), values);
        view.Advance();
    }
    QString Legend() { return view.findChild<QWidget*>(QStringLiteral("plotLegend"))->accessibleName(); }
    void Press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(&view, key, modifiers);
    }
    int PixelsOf(const QColor& colour, const QString& file)
    {
        const QImage image(file);
        int count = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                count += image.pixelColor(x, y) == colour;
        return count;
    }

    QTemporaryDir folder;
    ValueHistory history{2};
    PlotView view; // goes first: it reads the history
};

} // namespace

TEST_F(LivePlot, LegendFollowsTheNewestPassAndShowsAFailedReadAsSuch)
{
    EXPECT_EQ(Legend(), QStringLiteral("Voltage 15599 mV, Temperature 20.5 C now"));
    Pass(kFailed, 21);
    EXPECT_EQ(Legend(), QStringLiteral("Voltage --, Temperature 21 C now"));
}

TEST_F(LivePlot, CursorIsMovedByKeysAndReadsThePassUnderIt)
{
    Press(Qt::Key_C); // in the middle; with Shift the arrows go a hundredth of the picture
    for (int i = 0; i < 2; ++i)
        Press(Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_THAT(Legend().toStdString(), testing::StartsWith("Voltage --"));
    for (int i = 0; i < 12; ++i)
        Press(Qt::Key_Left, Qt::ShiftModifier);
    EXPECT_THAT(Legend().toStdString(), testing::StartsWith("Voltage 15239 mV"));
    Press(Qt::Key_C);
    EXPECT_THAT(Legend().toStdString(), testing::EndsWith("now"));
}

TEST_F(LivePlot, PauseHoldsTheTableOfWhatIsVisible)
{
    Press(Qt::Key_K);
    for (int i = 0; i < 100; ++i)
        Pass(1, 1);
    const QString file = folder.filePath(QStringLiteral("a.csv"));
    ASSERT_EQ(view.ExportCsv(file), QString());
    const auto lines = [&file] {
        QFile csv(file);
        return csv.open(QIODevice::ReadOnly) ? csv.readAll().count('\n') : 0;
    };
    EXPECT_EQ(lines(), 601);
    Press(Qt::Key_0);
    ASSERT_EQ(view.ExportCsv(file), QString());
    EXPECT_EQ(lines(), 701);
}

TEST_F(LivePlot, ExportsPicturesInTheLightColoursOfADarkScreen)
{
    const QString png = folder.filePath(QStringLiteral("a.png"));
    const QString svg = folder.filePath(QStringLiteral("a.svg"));
    Skin dark = LightSkin();
    dark.Background = 0;
    dark.TextFore = ColourNumber(kWhite);
    Theme::Current().ApplySkinToAllForms(dark);
    ASSERT_EQ(view.ExportPng(png), QString());
    ASSERT_EQ(view.ExportSvg(svg), QString());
    EXPECT_GT(PixelsOf(ToColour(DeriveColours(LightSkin()).Base), png), 100'000);
    EXPECT_GT(PixelsOf(ToColour(DeriveColours(LightSkin()).curves[0]), png), 100);
    QFile drawing(svg);
    ASSERT_TRUE(drawing.open(QIODevice::ReadOnly));
    const QByteArray text = drawing.readAll();
    for (const char* part : {"<svg", "Temperature", "#0d4ee9"})
        EXPECT_TRUE(text.contains(part)) << part;
    view.SetExportInScreenColours(true);
    ASSERT_EQ(view.ExportPng(png), QString());
    EXPECT_GT(PixelsOf(ToColour(DeriveColours(dark).Base), png), 100'000);
    EXPECT_NE(view.ExportPng(folder.filePath(QStringLiteral("no/such/folder/a.png"))), QString());
    Theme::Current().ApplySkinToAllForms(LightSkin());
}

TEST_F(LivePlot, CurvesMayComeAndGoWithMoreUnitsThanAxes)
{
    std::vector<PlotCurve> curves;
    for (int i = 0; i < 12; ++i)
        curves.push_back({.History = &history,
                          .Row = 0,
                          .Name = QStringLiteral("c"),
                          .Unit = QString::number(i),
                          .Place = i});
    for (std::size_t count : {12U, 1U, 5U, 0U, 12U}) {
        view.SetCurves({curves.begin(), curves.begin() + static_cast<std::ptrdiff_t>(count)});
        view.grab();
        EXPECT_EQ(Legend().count(QStringLiteral("not drawn")), count > 4 ? static_cast<int>(count) - 4 : 0);
    }
}
