#include "sbs/PlotData.h"
#include "sbs/PlotTime.h"

#include <QRegularExpression>
#include <QStringList>

#include <cmath>
#include <gmock/gmock.h>

namespace {

constexpr double kFailed = std::numeric_limits<double>::quiet_NaN();

/// A pass every second from time 0.
ValueHistory Passes(const std::vector<double>& values)
{
    ValueHistory history(1);
    std::int64_t ms = 0;
    for (double value : values) {
        history.Append(ms, std::span(&value, 1));
        ms += 1000;
    }
    return history;
}

/// "0=10 | 2=12": values with the second of their pass, "|" where the line breaks.
QString Drawn(const PlotLine& line)
{
    QStringList parts;
    for (const PlotPoint& point : line.Points)
        parts << (std::isnan(point.Value) ? QStringLiteral("|")
                                          : QStringLiteral("%1=%2").arg(point.Ms / 1000).arg(point.Value));
    return parts.join(QLatin1Char(' '));
}
QString Hatched(const PlotLine& line)
{
    QStringList parts;
    for (const PlotSpan& span : line.Failed)
        parts << QStringLiteral("%1-%2").arg(span.FromMs / 1000).arg(span.ToMs / 1000);
    return parts.join(QLatin1Char(' '));
}

} // namespace

struct LineCase {
    const char* name;
    std::vector<double> values;
    std::int64_t bridgeMs;
    std::int64_t fromMs;
    std::int64_t toMs;
    const char* drawn;
    const char* hatched;
};
class VisibleLineOf : public testing::TestWithParam<LineCase> { };

TEST_P(VisibleLineOf, InventsNothingWhereAReadFailed)
{
    const LineCase& c = GetParam();
    const ValueHistory history = Passes(c.values);
    const PlotLine line = VisibleLine({.History = &history, .BridgeMs = c.bridgeMs, .Name = {}, .Unit = {}},
                                      c.fromMs, c.toMs, 100);
    EXPECT_EQ(Drawn(line), QLatin1String(c.drawn));
    EXPECT_EQ(Hatched(line), QLatin1String(c.hatched));
}
INSTANTIATE_TEST_SUITE_P(
    Histories, VisibleLineOf,
    testing::Values(
        LineCase{"Whole", {10, 11, 12}, 0, 0, 3000, "0=10 1=11 2=12", ""},
        LineCase{"OneMissedPass", {10, kFailed, 12}, 0, 0, 3000, "0=10 | 2=12", "0-2"},
        LineCase{"NeighboursReachTheEdges", {10, 11, 12, 13}, 0, 500, 2500, "0=10 1=11 2=12 3=13", ""},
        LineCase{"FailingNow", {10, 11, kFailed}, 0, 0, 3000, "0=10 1=11", "1-2.01"},
        LineCase{"FailingAcrossTheLeftEdge", {10, kFailed, kFailed, 13}, 0, 1500, 4000, "| 3=13", "0-3"},
        LineCase{"FailingAcrossTheRightEdge", {10, 11, kFailed, 13}, 0, 0, 2000, "0=10 1=11", "1-2"},
        LineCase{"NeverAnswered", {kFailed, kFailed, kFailed}, 0, 0, 3000, "", ""},
        LineCase{"NotYetAnswered", {kFailed, 11}, 0, 0, 3000, "1=11", ""},
        LineCase{"PauseLongerThanTheBridge", {10, 11}, 500, 0, 3000, "0=10 | 1=11", ""},
        LineCase{"Nothing", {}, 0, 0, 3000, "", ""}),
    [](const auto& row) { return row.param.name; });

TEST(VisibleLine, KeepsThePeaksOfAMillionValuesInTwoPointsAColumn)
{
    ValueHistory history(1);
    for (int i = 0; i < 1'000'000; ++i) {
        const double value = i == 777'777 ? 5000 : i == 333'333 ? -5000 : i % 100;
        history.Append(i * 1000LL, std::span(&value, 1));
    }
    const PlotLine line
        = VisibleLine({.History = &history, .OffsetMs = 50, .BridgeMs = 1500, .Name = {}, .Unit = {}}, 50,
                      1'000'000'050, 1000);
    // passes a second apart are joined, however far apart the two points of their pixel column stand
    EXPECT_TRUE(std::ranges::none_of(line.Points, [](const PlotPoint& at) { return std::isnan(at.Value); }));
    EXPECT_LE(line.Points.size(), 2002U);
    EXPECT_EQ(line.Low, -5000);
    EXPECT_EQ(line.High, 5000);
    EXPECT_EQ(line.Points.front().Ms, 50);
    EXPECT_TRUE(std::ranges::is_sorted(line.Points, {}, &PlotPoint::Ms));
}

TEST(ValueAt, IsTheLastPassAndNeverAnOlderOneInItsPlace)
{
    const ValueHistory history = Passes({10, kFailed, 12});
    const PlotCurve curve{.History = &history, .OffsetMs = 100, .Name = {}, .Unit = {}};
    EXPECT_EQ(ValueAt(curve, 99), std::nullopt);
    EXPECT_EQ(ValueAt(curve, 100), 10);
    EXPECT_EQ(ValueAt(curve, 1099), 10);
    EXPECT_EQ(ValueAt(curve, 1100), std::nullopt);
    EXPECT_EQ(ValueAt(curve, 999'999), 12);
}

TEST(VisibleCsv, HasEveryValueOfTheSpanAndNoOther)
{
    const ValueHistory voltage = Passes({1, 16800.5, kFailed, 3, 99});
    const ValueHistory other = Passes({0.1});
    const PlotCurve curves[]{
        {.History = &voltage, .Name = QStringLiteral("Voltage"), .Unit = QStringLiteral("mV")},
        {.History = &other, .OffsetMs = 1500, .Name = QStringLiteral("a, \"b\""), .Unit = {}}};
    const PlotEvent events[]{{.AtMs = 2500, .Text = QStringLiteral("write")},
                             {.AtMs = 9000, .Text = QStringLiteral("later")}};
    QStringList lines
        = QString::fromUtf8(VisibleCsv(curves, events, 1000, 4000)).split(QStringLiteral("\r\n"));
    for (QString& line : lines)
        line.remove(QRegularExpression(QStringLiteral("^1970.*:00:"))); // the machine's own time zone
    EXPECT_THAT(lines,
                testing::ElementsAre(QStringLiteral("Time,Voltage (mV),\"a, \"\"b\"\"\",Event"),
                                     QStringLiteral("01.000,16800.5,,"), QStringLiteral("01.500,,0.1,"),
                                     QStringLiteral("02.000,,,"), QStringLiteral("02.500,,,write"),
                                     QStringLiteral("03.000,3,,"), QString()));
}

TEST(PlotTime, FollowsUntilPannedAwayAndAgainWhenPannedBack)
{
    PlotTime time;
    time.SetWhole(0, 100'000);
    time.ShowLast(10'000);
    EXPECT_EQ(time.FromMs(), 90'001);
    time.Pan(-.5);
    EXPECT_EQ(time.FromMs(), 85'001);
    time.SetWhole(0, 102'000);
    EXPECT_EQ(time.FromMs(), 85'001) << "what a person looks at must not run away";
    time.Pan(5);
    EXPECT_EQ(time.ToMs(), 102'001);
    time.SetWhole(0, 103'000);
    EXPECT_EQ(time.ToMs(), 103'001);
    time.Pan(-1000);
    EXPECT_EQ(time.FromMs(), -5'000) << "half a picture before the first pass is the end";
}

TEST(PlotTime, HoldsStillInAPauseAndThenGoesOn)
{
    PlotTime time;
    time.SetWhole(0, 100'000);
    time.ShowLast(10'000);
    time.Pause(true);
    time.SetWhole(0, 200'000);
    time.Pan(.1);
    EXPECT_EQ(time.ToMs(), 101'001);
    time.Pause(false);
    EXPECT_EQ(time.ToMs(), 200'001);
    EXPECT_EQ(time.SpanMs(), 10'000);
}

TEST(PlotTime, ZoomsAroundATimeAndKeepsTheLiveEndLive)
{
    PlotTime time;
    time.SetWhole(0, 100'000);
    time.ShowAll();
    EXPECT_EQ(time.FromMs(), 0);
    EXPECT_EQ(time.ToMs(), 100'001);
    time.Zoom(.5, 25'000);
    EXPECT_NEAR(static_cast<double>(time.FromMs()), 12'500, 2);
    EXPECT_EQ(time.SpanMs(), 50'000);
    time.Zoom(0, 25'000);
    EXPECT_EQ(time.SpanMs(), PlotTime::kLeastSpanMs);
    time.ShowLast(10'000);
    time.Zoom(2, 95'000);
    EXPECT_TRUE(time.Following());
    EXPECT_EQ(time.SpanMs(), 20'000);
}
