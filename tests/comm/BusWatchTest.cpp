#include "comm/adapters/ReplayAdapter.h"
#include "comm/adapters/WatchedAdapter.h"
#include "comm/frmUSB.h"

#include "tests/support/ScriptedAdapter.h"
#include "tests/support/TestSupport.h"

namespace {

std::int64_t g_microseconds = 0;

struct Watch : testing::Test {
    TestTime time;
    RecordedMessages messages;
    BusWatch watch;
    ScriptedAdapter* adapter = new ScriptedAdapter; // owned by watched
    WatchedAdapter watched{std::unique_ptr<Pc61vRW>(adapter), time, watch, [] { return g_microseconds; }};
    frmUSB usb{watched, time, messages, {}};
    ErrorCode err = ErrorCode::Ok;
    std::int16_t word = 0;

    void Read(int cmd) { usb.ReadSMBusWord_(static_cast<std::uint8_t>(cmd), word, 0x16, err); }
    const BusCounts& Counts(std::size_t row) { return watch.Health.Rows()[row].Counts; }
};

TEST_F(Watch, CountsEachKindOfFailureAtItsRegister)
{
    for (const ErrorCode code :
         {ErrorCode::Ok, ErrorCode::NoAcknowledge, ErrorCode::BadPec, ErrorCode::Timeout,
          ErrorCode::T2hTimeout, ErrorCode::BusBusy, static_cast<ErrorCode>(119)}) {
        adapter->Will(code);
        Read(9);
    }
    Read(10);
    ASSERT_EQ(watch.Health.Rows().size(), 2U);
    EXPECT_EQ(watch.Health.Rows()[0].Place.Command, 9);
    EXPECT_EQ(watch.Health.Rows()[0].Place.Address, 0x16);
    const BusCounts& counts = Counts(0);
    EXPECT_EQ(counts.Calls, 7);
    EXPECT_EQ(counts.Nack, 1);
    EXPECT_EQ(counts.Pec, 1);
    EXPECT_EQ(counts.Timeouts, 2);
    EXPECT_EQ(counts.Other, 2);
    EXPECT_EQ(watch.Health.Total().Calls, 8);
    EXPECT_TRUE(HealthCsv(watch.Health).contains(QStringLiteral("\n0x16,0x09,Read word,7,1,1,2,2,0.0,0\n")));
    watch.Health.Reset();
    EXPECT_EQ(watch.Health.Total().Calls, 0);
}

TEST_F(Watch, AMissingAcknowledgeOfTheNextPollBelongsToTheWrite)
{
    adapter->Will(ErrorCode::Ok);
    adapter->Will(ErrorCode::NoAcknowledge); // the poll
    usb.WriteSMBusWord_(4, 1, 0x16, err);
    EXPECT_EQ(Counts(0).Nack, 1);
    EXPECT_EQ(Counts(0).Calls, 1);
    // one that failed at once is not polled; a later poll has nothing to do with it
    adapter->Will(ErrorCode::BadPec);
    usb.WriteSMBusWord_(4, 1, 0x16, err);
    adapter->Will(ErrorCode::NoAcknowledge);
    usb.CheckForError(err);
    EXPECT_EQ(Counts(0).Failures(), 2);
    // a read in between takes the poll's meaning away from an older write
    usb.WriteSMBusWord_(4, 1, 0x16, err);
    Read(9);
    adapter->Will(ErrorCode::NoAcknowledge);
    usb.CheckForError(err);
    EXPECT_EQ(watch.Health.Total().Failures(), 2);
}

TEST_F(Watch, TimesACallWithoutThoseThatItsEventsMade)
{
    adapter->onCall = [this] {
        adapter->onCall = {};
        g_microseconds += 100;
        Read(10);
        g_microseconds += 30;
    };
    const std::int64_t start = g_microseconds;
    // the nested call takes 500 by its own handler
    const auto outer = adapter->onCall;
    adapter->onCall = [this, outer] {
        adapter->onCall = [] { g_microseconds += 500; };
        g_microseconds += 100;
        Read(10);
        adapter->onCall = {};
        g_microseconds += 30;
    };
    Read(9);
    EXPECT_EQ(g_microseconds - start, 630);
    const auto longest = [&](std::int16_t cmd) {
        for (const BusHealth::Row& row : watch.Health.Rows())
            if (row.Place.Command == cmd)
                return row.Counts.LongestUs;
        return std::int64_t{-1};
    };
    EXPECT_EQ(longest(10), 500);
    EXPECT_EQ(longest(9), 130);
}

TEST_F(Watch, SharesOneRowWhenThereAreTooManyRegisters)
{
    BusPlace place{AdapterCall::ReadSMBusWord, BusGroup::SMBus, false, 0, 0};
    for (int i = 0; i < 10'000; ++i) {
        place.Command = static_cast<std::int16_t>(i);
        watch.Health.Note(place, ErrorCode::Ok, 1);
    }
    EXPECT_EQ(watch.Health.Rows().size(), BusHealth::kMostRows);
    EXPECT_EQ(watch.Health.Total().Calls, 10'000);
    EXPECT_FALSE(watch.Health.Rows().back().Place.Transfers());
}

TEST_F(Watch, KeepsCallsOnlyWhileAskedAndNoMoreThanItsRoom)
{
    Read(9);
    EXPECT_EQ(watch.Monitor.End(), 0);
    BusMonitor small(3);
    for (int i = 0; i < 5; ++i)
        small.Finish(small.Begin({}), {}, ErrorCode::Ok);
    EXPECT_EQ(small.First(), 2);
    EXPECT_EQ(small.MadeRoom(), 2);
    EXPECT_EQ(small.Find(1), nullptr);
    small.Finish(1, {}, ErrorCode::Ok); // made room for others while it was under way
    small.Clear();
    EXPECT_EQ(small.First(), small.End());
    EXPECT_EQ(small.MadeRoom(), 0);
}

TEST_F(Watch, SavesATraceThatReplays)
{
    adapter->Will(0, {1, QStringLiteral("Scripted")});
    adapter->Will(0);
    bool ok = false;
    usb.OpenFirstFreeDevice(ok);
    Read(8); // before anybody watched
    watch.Monitor.Watch(true);
    adapter->Will(ErrorCode::Ok, {4711, 22});
    Read(9);
    adapter->Will(ErrorCode::NoAcknowledge);
    Read(10);

    ReplayAdapter replay(time, QStringLiteral("trace"), FileBytes{watch.Monitor.AsTrace(), {}});
    frmUSB again(replay, time, messages, {});
    again.OpenFirstFreeDevice(ok);
    EXPECT_TRUE(ok);
    again.ReadSMBusWord_(9, word, 0x16, err);
    EXPECT_EQ(word, 4711);
    again.ReadSMBusWord_(10, word, 0x16, err);
    EXPECT_EQ(err, ErrorCode::NoAcknowledge);
    EXPECT_EQ(replay.Facts().Problem, QString());
}

} // namespace
