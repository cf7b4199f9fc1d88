#include "comm/BusSequence.h"
#include "engineering/TransactionHistory.h"

#include "tests/engineering/EngineeringBench.h"

#include <gtest/gtest.h>

namespace {

struct Runner : testing::Test {
    EngineeringBench bench;
    QStringList steps; ///< "line code answer"
    bool cancel = false;
    int cancelAfter = -1; ///< steps

    SequenceEnd Run(const char* text, bool stop = true)
    {
        const Sequence sequence = ParseSequence(QString::fromLatin1(text));
        EXPECT_EQ(ProblemsText(sequence), QString());
        steps.clear();
        return bench.runner.Run(
            sequence, {stop, QStringLiteral("test")},
            [this](const StepReport& report) {
                EXPECT_TRUE(GaugeAccess::Held());
                steps << QStringLiteral("%1 %2 %3")
                             .arg(report.Step->Line)
                             .arg(Number(report.Result.Code))
                             .arg(HexText(report.Result.Data));
            },
            [this] { return cancel || steps.size() == cancelAfter; });
    }
    int Line(int line)
    {
        ErrorCode err = ErrorCode::Ok;
        std::int16_t level = -1;
        bench.usb.GPIORead(static_cast<std::int16_t>(line), level, err);
        return level;
    }
};

TEST_F(Runner, TakesStepsInTheOrderOfTheLoops)
{
    const SequenceEnd end
        = Run("loop 2\nread-word 0x18\nloop 2\npoke 0x200 01\nend\nend\npeek 0x200 1 expect 01");
    EXPECT_EQ(end.Ended, SequenceEnd::How::Done) << end.Text.toStdString();
    EXPECT_EQ(steps.join(QLatin1Char(',')), QStringLiteral("2 0 3011,4 0 ,4 0 ,2 0 3011,4 0 ,4 0 ,7 0 01"));
    EXPECT_FALSE(GaugeAccess::Held());
}

TEST_F(Runner, StopsAtTheFirstFailureOrGoesOnAndCounts)
{
    const char* text = "read-word 0x1A expect 0x0031\nread-word 0x1A expect 1\nread-word 0x2F\nread-word 9";
    SequenceEnd end = Run(text);
    EXPECT_EQ(end.Ended, SequenceEnd::How::Failed);
    EXPECT_EQ(end.Code, ErrorCode::CompareDifferent);
    EXPECT_EQ(end.Line, 2);
    EXPECT_EQ(steps.size(), 2);
    end = Run(text, false);
    EXPECT_EQ(end.Failures, 2);
    EXPECT_EQ(end.Line, 2);
    EXPECT_EQ(steps.size(), 4);
    EXPECT_TRUE(steps[2].startsWith(QStringLiteral("3 772")));
}

TEST_F(Runner, WaitsUntilTheAnswerComesOverFailuresOrTheTimeHasPassed)
{
    EXPECT_EQ(Run("gpio-write 1 1\nwait 20000 read-word 0x16 expect 0x40 mask 0x40\n").Ended,
              SequenceEnd::How::Done);
    bench.failAt
        = static_cast<int>(bench.calls.size()) + 2; // the write's poll, then the first read of the wait
    bench.failAt = static_cast<int>(bench.calls.size()) + 1;
    const SequenceEnd end = Run("wait 1000 read-word 0x1A expect 0x0031\nwait 1000 read-word 0x1A expect 7");
    EXPECT_EQ(steps[0], QStringLiteral("1 0 3100"));
    EXPECT_EQ(end.Line, 2);
    EXPECT_TRUE(end.Text.contains(QStringLiteral("1000 ms have passed"))) << end.Text.toStdString();
    EXPECT_EQ(end.Code, ErrorCode::CompareDifferent);
}

TEST_F(Runner, GivesLinesAndBusBackHoweverItEnds)
{
    ErrorCode err = ErrorCode::Ok;
    bench.usb.GPIOWrite(0, 1, err); // a line that was on before stays on
    const char* text = "gpio-write 0 0\ngpio-write 1 1\ndelay 500\nread-word 9\nread-word 10\n";
    const int whole = [&] {
        bench.calls.clear();
        EXPECT_EQ(Run(text).Ended, SequenceEnd::How::Done);
        return static_cast<int>(bench.calls.size()) - 2; // without those that give the lines back
    }();
    EXPECT_EQ(Line(0), 1);
    EXPECT_EQ(Line(1), 0);
    for (int failAt = 2; failAt <= whole; ++failAt) {
        if (failAt == 3)
            continue; // the read of line 1's level: 0 is then taken for it
        bench.calls.clear();
        bench.failAt = failAt;
        EXPECT_EQ(Run(text).Ended, SequenceEnd::How::Failed) << failAt;
        bench.failAt = 0;
        EXPECT_EQ(Line(0), 1) << failAt;
        EXPECT_EQ(Line(1), 0) << failAt;
        EXPECT_FALSE(GaugeAccess::Held());
        EXPECT_FALSE(BusSequence::Running());
    }
    cancelAfter = 2;
    const SequenceEnd end = Run(text);
    EXPECT_EQ(end.Ended, SequenceEnd::How::Cancelled);
    EXPECT_EQ(end.Line, 3);
    EXPECT_EQ(Line(0), 1);
    EXPECT_EQ(Line(1), 0);
    // one that cannot be given back is said
    cancelAfter = -1;
    bench.calls.clear();
    bench.failAt = whole + 1;
    EXPECT_TRUE(Run(text).Text.contains(QStringLiteral("Line 0 of the adapter could not be set back to 1")));
}

TEST_F(Runner, HearsACancelInALongDelayAndRefusesAnotherInside)
{
    bench.time.onEvents = [&] {
        if (bench.time.MonotonicMs() < 2000)
            return;
        cancel = true;
        if (GaugeAccess::Held()) {
            SequenceRunner inner(bench.sender, bench.usb, bench.access, bench.time);
            const Sequence one = ParseSequence(QStringLiteral("read-word 9"));
            EXPECT_EQ(inner
                          .Run(
                              one, {}, [](const StepReport&) {}, [] { return false; })
                          .Ended,
                      SequenceEnd::How::BusBusy);
        }
    };
    EXPECT_EQ(Run("delay 3600000").Ended, SequenceEnd::How::Cancelled);
    EXPECT_LT(bench.time.MonotonicMs(), 3000);
}

TEST_F(Runner, ExplainsWhatAnAdapterCannotDo)
{
    bench.functions = QStringList{QStringLiteral("word")};
    bench.failAt = 1;
    bench.fault = ErrorCode::IncorrectParam;
    const SequenceEnd end = Run("read-block 0x20");
    EXPECT_TRUE(end.Text.contains(QStringLiteral("cannot do this (read block). It offers: word.")))
        << end.Text.toStdString();
    Transaction peek;
    peek.Kind = TransactionKind::Peek;
    TransactionSender without(bench.usb, bench.time, 0x16, {});
    EXPECT_TRUE(
        without.Explain(peek, ErrorCode::IncorrectParam).contains(QStringLiteral("MemoryAddressCmd")));
}

TEST_F(Runner, MovesMemoryInBlocksAndFindsItsEnd)
{
    const QString bytes = QStringLiteral("0123456789ABCDEF").repeated(10); // 80 bytes, three blocks
    EXPECT_EQ(
        Run(qPrintable(QStringLiteral("poke 0x0210 %1\npeek 0x0210 80 expect %1\npeek 0x020F 1 expect 00")
                           .arg(bytes)))
            .Ended,
        SequenceEnd::How::Done);
    EXPECT_EQ(bench.Calls("AdpWriteSMBusBlock"), 3);
    EXPECT_EQ(Run("peek 0x03F0 17").Code, ErrorCode::WrongNumBytes);
    EXPECT_EQ(Run("peek 0x0012 2").Ended, SequenceEnd::How::Done); // the registers: Voltage
    EXPECT_EQ(Run("poke 0x0012 01").Code, ErrorCode::NoAcknowledge);
    EXPECT_EQ(Run("peek 0x8000 1").Code, ErrorCode::NoAcknowledge);
    EXPECT_EQ(Run("write-word 0x48 1\nread-word 0x48 expect 0\npeek 0x0210 1").Line, 3); // sealed
    EXPECT_EQ(Run("write-word 0x48 0x454E\nread-word 0x48 expect 0").Ended,
              SequenceEnd::How::Done); // half a key
    EXPECT_EQ(Run("write-word 0x48 0x4F50\nwrite-word 0x48 0x454E\npeek 0x0210 1 expect 01").Ended,
              SequenceEnd::How::Done);
    EXPECT_EQ(Run("write-word 0x48 0x5253\npeek 0x0210 1 expect 00").Ended, SequenceEnd::How::Done); // reset
}

TEST_F(Runner, RepeatStopsAtAFailureAndFreesTheBusBetweenTurns)
{
    TransactionHistory history;
    RepeatedSend repeat(bench.sender, bench.access, history);
    Transaction read;
    read.Place = 0x1A;
    repeat.Start({read, {}, 5, true});
    using Turn = RepeatedSend::Turn;
    EXPECT_EQ(repeat.Next({}), Turn::GoesOn);
    EXPECT_FALSE(GaugeAccess::Held());
    {
        const BusSequence busy(bench.access, QStringLiteral("other"));
        EXPECT_EQ(repeat.Next({}), Turn::BusBusy);
    }
    bench.failAt = static_cast<int>(bench.calls.size()) + 1;
    EXPECT_EQ(repeat.Next({}), Turn::Ended);
    EXPECT_EQ(repeat.Done(), 2);
    EXPECT_EQ(repeat.Failures(), 1);
    const std::vector<std::int64_t> both{0, 1};
    EXPECT_TRUE(history.Copy(both, QLatin1Char(','))
                    .contains(QStringLiteral("read-word 0x1A,,772,No Acknowledge: VB_T2H_NACK,0\n")));
    HistoryEntry odd;
    odd.Sent = QStringLiteral("say \"a, b\"");
    odd.Text = QStringLiteral("two\nlines");
    history.Add(odd);
    const std::vector<std::int64_t> last{2};
    EXPECT_TRUE(history.Copy(last, QLatin1Char(','))
                    .contains(QStringLiteral("\"say \"\"a, b\"\"\",,0,\"two\nlines\",0")));
}

} // namespace
