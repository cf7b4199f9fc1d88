#include "sbs/RegisterLog.h"

#include "tests/support/TestSupport.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>

#include <sys/resource.h>

namespace {

using namespace Qt::StringLiterals;

struct RegisterLogTest : testing::Test {
    QByteArray Content() const
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("missing");
    }
    QString Start() { return log.Start(path, head, LogColumns(rows)); }
    static QString Text(int row) { return row == 2 ? QString() : QStringLiteral("v%1").arg(row); }

    QTemporaryDir folder;
    QString path = folder.filePath(QStringLiteral("bench.log"));
    TestTime time{QDateTime(QDate(2026, 1, 5), QTime(23, 59, 58, 700))};
    RecordedMessages messages;
    // clang-format off
    LogHead head{u"GG"_s, {u"1"_s, u"02"_s}, u"0x800"_s, false, {{u"Maker"_s, u"A\tB"_s}, {u"Cells"_s, u"4"_s}}};
    std::vector<LogSwitch> rows{{u" Volt\t "_s, true}, {u"  "_s, true}, {u"Temp"_s, true}, {u"Off"_s, false}, {u"Soc"_s, true}};
    // clang-format on
    RegisterLog log{time, messages};
};

TEST_F(RegisterLogTest, WritesHeadCaptionsAndRecords)
{
    ASSERT_EQ(Start(), QString());
    ASSERT_TRUE(log.Record(Text, false));
    ASSERT_EQ(Start(), QString()) << "over the older log";
    EXPECT_TRUE(log.Record(Text, false));
    time.Advance(1299);
    EXPECT_TRUE(log.Record(Text, true));
    time.Advance(5001);
    EXPECT_TRUE(log.Record([](int) { return QStringLiteral("a\tb\r\nc"); }, false));
    EXPECT_EQ(Content(),
              QByteArray("GG Version: 1.02 for 0x800\r\n2026-01-05\r\n           \r\nMaker: A B Cells: 4 \r\n"
                         "Sample\tStamp\t~Elapsed(s)\tVolt\tTemp\tSoc\r\n"
                         "1\t23:59:58\t0\tv0\t\tv4\r\n"
                         "2\t23:59:59\t1\tv0\t\tv4\tPossible Error-See error log\r\n"
                         "3\t00:00:05\t6\ta b  c\ta b  c\ta b  c\r\n"));
    log.Stop();
    EXPECT_FALSE(log.Record(Text, false));
}

TEST_F(RegisterLogTest, SaysOnceThatARunIsSimulated)
{
    head.Simulated = true;
    ASSERT_EQ(Start(), QString());
    EXPECT_TRUE(Content().startsWith("GG Version: 1.02 for Simulated 0x800\r\n"));
    head.DeviceName = u"simulated pack"_s;
    ASSERT_EQ(Start(), QString());
    EXPECT_TRUE(Content().startsWith("GG Version: 1.02 for simulated pack\r\n"));
}

TEST_F(RegisterLogTest, StartThatFailsKeepsTheRunThatIsOn)
{
    ASSERT_EQ(Start(), QString());
    const QString problem = log.Start(folder.path(), head, {});
    EXPECT_TRUE(problem.contains(folder.path()));
    EXPECT_TRUE(log.IsLogging());
    EXPECT_EQ(log.FileName(), path);
}

struct AnswerCase {
    const char* name;
    std::vector<Answer> answers;
    bool makesRoom; ///< the file can be opened again after the first question
    bool written;
    bool logging;
};

/// Answers from a list, and meanwhile the timer ticks on.
struct OpenFails : RegisterLogTest, UserMessages, testing::WithParamInterface<AnswerCase> {
    void Show(const QString&) override { }
    Answer Ask(const QString& text, Answers offered) override
    {
        EXPECT_EQ(offered, Answers(Answer::Abort | Answer::Retry | Answer::Ignore));
        EXPECT_FALSE(asking.Record(Text, false)) << "a tick behind the open question is dropped";
        if (GetParam().makesRoom)
            QDir().rmdir(path);
        return messages.Ask(text, offered);
    }
    RegisterLog asking{time, *this};
};

TEST_P(OpenFails, AsksAndFollowsTheAnswer)
{
    messages.answers = GetParam().answers;
    ASSERT_EQ(asking.Start(path, head, LogColumns(rows)), QString());
    ASSERT_TRUE(QFile::remove(path) && QDir().mkdir(path)); // a folder in its place: nobody can append
    EXPECT_EQ(asking.Record(Text, false), GetParam().written);
    EXPECT_EQ(messages.texts,
              QStringList(static_cast<qsizetype>(GetParam().answers.size()),
                          QStringLiteral("Access Denied: File could not be opened for logging!")));
    EXPECT_EQ(asking.IsLogging(), GetParam().logging);
    EXPECT_EQ(asking.Sample(), GetParam().written ? 2 : 1);
    EXPECT_EQ(asking.LastProblem().isEmpty(), GetParam().written);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Answers, OpenFails, testing::Values(
    AnswerCase{"IgnoreLosesTheRecord", {Answer::Ignore}, false, false, true},
    AnswerCase{"AbortEndsTheRun", {Answer::Abort}, false, false, false},
    AnswerCase{"RetryAsksAgain", {Answer::Retry, Answer::Retry, Answer::Ignore}, false, false, true},
    AnswerCase{"RetryWrites", {Answer::Retry}, true, true, true}),
    [](const auto& row) { return row.param.name; });
// clang-format on

TEST_F(RegisterLogTest, FullDiskLeavesNoHalfRecordAndIsToldOnce)
{
    ASSERT_EQ(Start(), QString());
    const QByteArray before = Content();
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit tight{static_cast<rlim_t>(before.size()) + 5, old.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
    EXPECT_FALSE(log.Record(Text, false));
    EXPECT_FALSE(log.Record(Text, false));
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &old), 0);
    std::signal(SIGXFSZ, oldHandler);

    EXPECT_EQ(Content(), before);
    EXPECT_EQ(messages.texts.size(), 1);
    EXPECT_TRUE(log.LastProblem().startsWith(QStringLiteral("Sample 1 could not be written to ") + path));
    EXPECT_TRUE(log.Record(Text, false));
    EXPECT_EQ(log.LastProblem(), QString());
}

} // namespace
