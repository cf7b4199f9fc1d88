#include "sbs/LogDocument.h"

#include "platform/WholeFile.h"
#include "sbs/RegisterLogReading.h"

#include "tests/support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>

namespace {

RegisterLogData Log(const QByteArray& captions, const QList<QByteArray>& records,
                    const QByteArray& date = "2026-01-05")
{
    QByteArray text = "Gauge\r\n" + date + "\r\nSample\tStamp\t~Elapsed(s)\t" + captions + "\r\n";
    for (int i = 0; i < records.size(); ++i)
        text += QByteArray::number(i + 1) + "\t09:00:00\t" + QByteArray::number(i * 5) + '\t' + records[i]
            + "\r\n";
    return ParseRegisterLog({text.constData(), static_cast<std::size_t>(text.size())});
}

TEST(LogDocument, CountsOnlyWhatWasRead)
{
    LogDocument document;
    document.SetFirst(Log("V\tNever\tFlags", {"10\t\t00C0", "\t\t00A0", "20\t\t0080"}));
    const LogColumnFacts& volts = document.Columns()[0];
    EXPECT_EQ(volts.Min, 10);
    EXPECT_EQ(volts.Max, 20);
    EXPECT_EQ(volts.Mean, 15);
    EXPECT_EQ(volts.Gaps, 1);
    EXPECT_EQ(document.Columns()[1].Values, 0);
    EXPECT_EQ(LogNumber(document.Columns()[2].Max, document.Columns()[2].Hexadecimal),
              QStringLiteral("00C0"));
    EXPECT_EQ(document.Suggested(), std::vector<std::size_t>{0});
}

TEST(LogDocument, DrawsAColumnAtItsTimesAndLeavesItsGaps)
{
    LogDocument document;
    document.SetFirst(Log("V", {"10", "", "20"}));
    const PlotCurve curve = document.Curves({0}, LogComparing::Overlay).at(0);
    const auto startMs = QDateTime(QDate(2026, 1, 5), QTime(9, 0)).toMSecsSinceEpoch();
    EXPECT_EQ(ValueAt(curve, startMs), 10);
    EXPECT_EQ(ValueAt(curve, startMs + 5000), std::nullopt);
    EXPECT_EQ(ValueAt(curve, startMs + 10000), 20);

    document.SetFirst(Log("V", {"10", "20"}, "no date"));
    EXPECT_EQ(document.Clock(), PlotClock::Elapsed);
    EXPECT_EQ(ValueAt(document.Curves({0}, LogComparing::Overlay).at(0), 5000), 20);
}

TEST(LogDocument, NoCurveIsPressedFlatWhileAnAxisIsFree)
{
    LogDocument document;
    document.SetFirst(Log("Volt\tCell\tAmp\tTemp\tAge\tBig",
                          {"14000\t3500\t-1500\t25\t1\t1e6", "16800\t4200\t2000\t30\t2\t9e6"}));
    const std::vector<PlotCurve> curves = document.Curves({0, 1, 2, 3, 4, 5}, LogComparing::Overlay);
    QStringList axes;
    for (const PlotCurve& curve : curves)
        if (!axes.contains(curve.Axis))
            axes << curve.Axis;
    EXPECT_EQ(axes.size(), 4); // a plot has no more, and draws no curve without one
    EXPECT_NE(curves[0].Axis, curves[3].Axis);
    EXPECT_NE(curves[0].Axis, curves[2].Axis);
}

TEST(LogDocument, ComparesColumnsByCaptionInTheirOrder)
{
    LogDocument document;
    document.SetFirst(Log("A\tB\tA\tOnly", {"1\t5\t100\t0", "2\t6\t200\t0"}));
    document.SetSecond(Log("A\tA\tB", {"11\t101\t5", "12\t202\t6"}));
    ASSERT_TRUE(document.Compared(2));
    EXPECT_EQ(document.Compared(0)->Largest, 10);
    EXPECT_EQ(document.Compared(1)->Largest, 0);
    EXPECT_EQ(document.Compared(2)->Largest, 2);
    EXPECT_FALSE(document.Compared(3));

    const auto over = document.Curves({2, 3}, LogComparing::Overlay);
    ASSERT_EQ(over.size(), 3U); // both logs, and the column that the first has alone
    EXPECT_EQ(ValueAt(over[1], 5000), 202);
    EXPECT_EQ(over[0].Axis, over[1].Axis);
    EXPECT_EQ(document.Place(3), 2);
    const auto less = document.Curves({3, 2}, LogComparing::Difference);
    ASSERT_EQ(less.size(), 1U);
    EXPECT_EQ(ValueAt(less[0], 5000), 2);
    EXPECT_EQ(document.Place(3), -1);

    document.RemoveSecond();
    EXPECT_FALSE(document.Compared(2));
    EXPECT_EQ(document.Clock(), PlotClock::Wall);
}

TEST(RegisterLogReading, KeepsWhatItHasWhenTheFileGoesAway)
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("a.log"));
    QByteArray text = "G\r\n2026-01-05\r\nSample\tStamp\t~Elapsed(s)\tV\r\n";
    for (int i = 0; i < 100'000; ++i)
        text += QByteArray::number(i) + "\t09:00:00\t" + QByteArray::number(i) + "\t7\r\n";
    ASSERT_EQ(SaveWhole(path, text), QString());
    RegisterLogReading whole(path);
    while (whole.Step()) { }
    EXPECT_EQ(whole.Finish().Records(), 100'000U);

    RegisterLogReading broken(path);
    ASSERT_TRUE(broken.Step());
    QFile::remove(path);
    EXPECT_FALSE(broken.Step());
    const RegisterLogData data = broken.Finish();
    EXPECT_GT(data.Records(), 10'000U);
    EXPECT_TRUE(data.Problems.back().Text.contains(QStringLiteral("stopped")));
}

} // namespace
