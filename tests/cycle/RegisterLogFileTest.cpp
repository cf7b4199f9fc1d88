#include "sbs/RegisterLogFile.h"
#include "sbs/LogCompare.h"

#include "tests/support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>

namespace {

const QByteArray kHead = "GG Version: 1 for Simulated\r\n2026-01-05\r\n           \r\nMaker: A \r\n";

/// A log in short: blanks are tabs, "|" ends a line, "@" stands for the captions of the three fixed columns.
QByteArray Log(const char* text)
{
    return QByteArray(text).replace('@', "Sample Stamp ~Elapsed(s)").replace(' ', '\t').replace('|', "\r\n");
}

RegisterLogData Parse(const QByteArray& bytes)
{
    return ParseRegisterLog({bytes.data(), static_cast<std::size_t>(bytes.size())});
}

/// Numbers as text, a gap as "_".
QString Shown(const std::vector<double>& values)
{
    QStringList texts;
    for (const double value : values)
        texts << (std::isnan(value) ? QStringLiteral("_") : QString::number(value, 'g', 12));
    return texts.join(u' ');
}

struct ValueCase {
    const char* name;
    const char* written; ///< records, separated by ","
    const char* read;
    bool hexadecimal;
    int problems;
};
class Values : public testing::TestWithParam<ValueCase> { };

TEST_P(Values, AreReadByTheColumnTheyStandIn)
{
    QByteArray log = Log("@ X|");
    for (const QByteArray& value : QByteArray(GetParam().written).split(','))
        log += "1\t09:00:00\t0\t" + value + "\r\n";
    const RegisterLogData data = Parse(log);
    ASSERT_EQ(data.Series.size(), 1U);
    EXPECT_EQ(Shown(data.Series[0].Values), QLatin1String(GetParam().read));
    EXPECT_EQ(data.Series[0].Hexadecimal, GetParam().hexadecimal);
    EXPECT_EQ(data.ProblemCount, GetParam().problems);
    EXPECT_EQ(data.Series[0].Gaps, QByteArray(GetParam().read).count('_'));
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Notations, Values, testing::Values(
    ValueCase{"Decimal", "3712,371.2,-1.5,0,0.05", "3712 371.2 -1.5 0 0.05", false, 0},
    ValueCase{"FailedReadIsAGap", "1,,3, ", "1 _ 3 _", false, 0},
    ValueCase{"LetterMakesHexadecimal", "1234,00C0,5a6f", "4660 192 23151", true, 0},
    ValueCase{"LeadingZeroMakesHexadecimal", "10,0081,,20", "16 129 _ 32", true, 0},
    ValueCase{"SignUndoesHexadecimal", "0081,00C0,-1", "81 _ -1", false, 0},
    ValueCase{"HexadecimalInADecimalColumn", "1.5,C0,007", "1.5 _ 7", false, 1},
    ValueCase{"LongNumbers", "123456789,12345678901234567890,1e+20", "123456789 1.23456789012e+19 1e+20", false, 0},
    ValueCase{"TextsAreReported", "12:30,inf,nan,3,-,1.2.3", "_ _ _ 3 _ _", false, 5}),
    [](const auto& row) { return row.param.name; });
// clang-format on

struct LogCase {
    const char* name;
    QByteArray log;
    const char* seconds; ///< a number a record
    std::vector<std::int64_t> problemLines;
};
class Logs : public testing::TestWithParam<LogCase> { };

TEST_P(Logs, OpenAsFarAsTheyAreWholeWithTimeThatNeverFalls)
{
    const RegisterLogData data = Parse(GetParam().log);
    EXPECT_EQ(Shown(data.Seconds), QLatin1String(GetParam().seconds));
    for (const LogSeries& series : data.Series)
        EXPECT_EQ(series.Values.size(), data.Records());
    std::vector<std::int64_t> lines;
    for (const LogProblem& problem : data.Problems)
        lines.push_back(problem.Line);
    EXPECT_EQ(lines, GetParam().problemLines);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Odd, Logs, testing::Values(
    LogCase{"TiesAreSpread", Log("@|1 09:00:00 0|2 09:00:00 0|3 09:00:01 1|4 09:00:01 1|"), "0 0.5 1 1.5", {}},
    LogCase{"LostRecordsKeepTheirPlace", Log("@|1 09:00:00 0|4 09:00:00 0|5 09:00:01 1|"), "0 0.75 1", {}},
    LogCase{"TiesWithoutOrder", Log("@|5 09:00:00 0|5 09:00:00 0|1 09:00:01 1|"), "0 0.5 1", {}},
    LogCase{"TiesOfFractions", Log("@|1 x 0.1|2 x 0.1|3 x 0.2|"), "0.1 0.15 0.2", {}},
    LogCase{"MidnightByElapsed", Log("@|1 23:59:59 0|2 00:00:04 5|"), "0 5", {}},
    LogCase{"MidnightByStamp", Log("Sample Stamp|1 23:59:59|2 00:00:04|3 23:59:58|4 00:00:01|"), "0 5 86399 86402", {1}},
    LogCase{"TimeGoesBack", Log("@|1 09:00:00 0|2 09:00:05 5|1 10:00:00 0|2 10:00:05 5|"), "0 5 6 11", {4}},
    LogCase{"UnusableTime", Log("@|1 x 0|2 x 7|3 x abc|4 x 1e300|5 x 8|"), "0 7 7.33333333333 7.66666666667 8", {4, 5}},
    LogCase{"NoTimeAtAll", Log("Sample X|1 5|2 6|"), "0 1", {1}},
    LogCase{"Empty", "", "", {0}},
    LogCase{"Binary", QByteArray("\0\xFF\t\r\n\x80", 6), "", {2, 0}},
    LogCase{"LineFeedsOnly", Log("@ A B|1 09:00:00 0 1 2|").replace("\r", ""), "0", {}},
    LogCase{"NoLineEnd", Log("@ A B|1 09:00:00 0 1 2"), "", {2}},
    LogCase{"ShortRecord", Log("@ A B|1 09:00:00 0 1|"), "0", {2}},
    LogCase{"ForeignLines", Log("@ A B|hello||1 09:00:00 0 1 2|"), "0", {2}},
    LogCase{"TooManyFields", Log("@ A B|1 09:00:00 0 1 2 x|"), "0", {2}},
    LogCase{"OtherCaptionsLater", Log("@ A B|1 09:00:00 0 1 2|@ C|1 09:00:00 0 9|"), "0", {3}},
    LogCase{"LineTooLong", Log("@ A B|1 09:00:00 0 ") + QByteArray(2 << 20, '7') + Log("|1 09:00:00 0 1 2|"), "0", {2}}),
    [](const auto& row) { return row.param.name; });
// clang-format on

TEST(RegisterLogFile, ReadsEveryCutUpToItsLastWholeRecord)
{
    const QByteArray log = kHead
        + "Sample\tStamp\t~Elapsed(s)\tV\tF\r\n1\t23:59:58\t0\t14800\t00C0\r\n"
          "2\t00:00:03\t5\t\t00C1\tPossible Error-See error log\r\n3\t00:00:08\t10\t-5\t0080\r\n";
    const RegisterLogData whole = Parse(log);
    ASSERT_EQ(whole.Records(), 3U);
    EXPECT_EQ(whole.FlaggedRecords, std::vector<std::int64_t>{1});
    EXPECT_EQ(whole.Start, QDateTime(QDate(2026, 1, 5), QTime(23, 59, 58)));
    EXPECT_EQ(whole.Head.size(), 4);
    const ValueHistory volts = HistoryOf(whole, 0);
    EXPECT_EQ(volts.TimeMs(1), 5000);
    EXPECT_TRUE(std::isnan(volts.Value(0, 1)));
    EXPECT_EQ(volts.Value(0, 2), -5);
    for (qsizetype length = 0; length < log.size(); ++length) {
        const QByteArray cut = log.left(length);
        const qsizetype wholeLines = cut.count('\n');
        const RegisterLogData data = Parse(cut);
        ASSERT_EQ(static_cast<qsizetype>(data.Records()), std::max<qsizetype>(0, wholeLines - 5)) << length;
        for (std::size_t i = 0; i < data.Records(); ++i)
            ASSERT_EQ(data.Seconds[i], whole.Seconds[i]);
        ASSERT_EQ(data.ProblemCount > 0, !cut.endsWith('\n') || wholeLines < 5) << length;

        RegisterLogParser inPieces; // the same bytes in two pieces give the same
        inPieces.Feed({log.data(), static_cast<std::size_t>(length)});
        inPieces.Feed({log.data() + length, static_cast<std::size_t>(log.size() - length)});
        const RegisterLogData joined = inPieces.Finish();
        ASSERT_EQ(joined.Records(), 3U) << length;
        ASSERT_EQ(Shown(joined.Series[1].Values), Shown(whole.Series[1].Values));
    }
}

// Lines of two bytes under a caption line of thousands of columns must not multiply the memory.
TEST(RegisterLogFile, MakesUpNoMoreFieldsThanItReadBytes)
{
    const QByteArray log = "Sample" + QByteArray(5000, '\t') + '\n' + QByteArray("1\n").repeated(20000);
    const RegisterLogData data = Parse(log);
    EXPECT_LE(data.Records() * data.Series.size(), static_cast<std::size_t>(2 * log.size()));
    EXPECT_EQ(data.Problems.size(), RegisterLogData::kProblemsKept);
    EXPECT_GT(data.ProblemCount, 19000);
}

TEST(RegisterLogFile, TellsOfAFileThatCannotBeReadAndCanBeCancelled)
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("a.log"));
    EXPECT_TRUE(ReadRegisterLog(path).Problems.at(0).Text.contains(path));
    EXPECT_EQ(ReadRegisterLog(folder.path()).Problems.at(0).Line, 0);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(Log("@ A B|") + Log("1 09:00:00 0 1 2|").repeated(200'000));
    file.close();
    EXPECT_EQ(ReadRegisterLog(path).Records(), 200'000U);
    const RegisterLogData some
        = ReadRegisterLog(path, [](qint64 done, qint64 total) { return done > total; });
    EXPECT_TRUE(some.Cancelled);
    EXPECT_GT(some.Records(), 0U);
    EXPECT_LT(some.Records(), 200'000U);
}

TEST(CompareLogs, LaysRunsOverEachOther)
{
    const LogComparison both = CompareLogs(
        Parse(Log("@ V Old F V|1 x 0 10 1 0A 1|1 x 2 20 1 0B 2|1 x 4 30 1 0C 3|1 x 9 40 1 0D 4|")),
        Parse(Log("@ F V V New|1 x 1 A0 0 7 1|1 x 3 B0 10  1|1 x 4 C0 40 9 1|1 x 8 D0 80 9 1|")));
    EXPECT_EQ(Shown(both.Seconds), QStringLiteral("2 4"));
    ASSERT_EQ(both.Series.size(), 3U);
    EXPECT_EQ(Shown(both.Series[0].Second), QStringLiteral("5 40"));
    EXPECT_EQ(Shown(both.Series[0].Difference), QStringLiteral("-15 10"));
    EXPECT_EQ(both.Series[0].Largest, 15);
    EXPECT_EQ(both.Series[0].Mean, -2.5);
    EXPECT_EQ(Shown(both.Series[1].Second), QStringLiteral("176 192")) << "words are not mixed";
    EXPECT_EQ(Shown(both.Series[2].Second), QStringLiteral("_ 9")) << "no point across a gap";
    EXPECT_EQ(both.Series[2].Count, 1);
    EXPECT_EQ(both.OnlyInFirst, QStringList{QStringLiteral("Old")});
    EXPECT_EQ(both.OnlyInSecond, QStringList{QStringLiteral("New")});
}

} // namespace
