#include "comm/adapters/Adapters.h"
#include "comm/adapters/RecordedAdapter.h"
#include "comm/adapters/ReplayAdapter.h"

#include "tests/support/ScriptedAdapter.h"
#include "tests/support/TestSupport.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

/// Calls every operation once and gives back all that came of it, as text.
QStringList CallEverything(Pc61vRW& adapter)
{
    QStringList seen;
    std::int16_t a = 1;
    std::int16_t b = 2;
    std::int16_t c = 3;
    std::int32_t wide = 4;
    Bytes data;
    QString text = QStringLiteral("t\"\\\n\u00e9");
    QString other;
    const auto keep = [&](auto result) {
        seen << QStringLiteral("%1 %2 %3 %4 %5 ").arg(static_cast<int>(result)).arg(a).arg(b).arg(c).arg(wide)
                + HexText(data) + text + other;
    };
    const Bytes given{0xDE, 0xAD};
    adapter.AdpListFreeDevices(16, wide, text);
    keep(0);
    keep(adapter.AdpOpenDevice(text));
    keep(adapter.AdpWriteSMBusWord(7, -8, a));
    keep(adapter.AdpReadSMBusWord(7, b, a));
    keep(adapter.AdpWriteSMBusBlock(b, given, c, a));
    keep(adapter.AdpReadSMBusBlock(32, data, c, a));
    keep(adapter.AdpWriteSMBusCommand(b, a));
    keep(adapter.AdpI2CFunction(2, a, b, c));
    keep(adapter.AdpGetLastError());
    keep(adapter.AdpWriteOneWire(1, 0x1FFFF, 8));
    keep(adapter.AdpReadOneWire(2, wide, b));
    keep(adapter.AdpWriteReadI2CBlockOnSMB(9, given, 2, data, c, a));
    keep(adapter.AdpReadI2CBlockOnSMB(9, data, c, a));
    keep(adapter.AdpWriteI2CBlockOnSMB(b, given, c, a));
    keep(adapter.AdpReadI2CBlockNoCmdOnSMB(data, c, a));
    keep(adapter.AdpProgramFromSrecWithCfg(text, other, text));
    adapter.AdpDelay(1500);
    keep(adapter.AdpI2CReadBlock(a, b, data, c));
    keep(adapter.AdpI2CWriteBlock(a, b, given, c));
    keep(adapter.AdpGetVersion(a, b));
    keep(adapter.AdpProgramFlash(1, 2, given, 2, given, 2, -1, a));
    keep(adapter.AdpReadFlash(1, 2, data, 2, 3, 4, a));
    keep(adapter.AdpGPIOWrite(a, b));
    keep(adapter.AdpGPIORead(a, b));
    adapter.AdpSetMassErase(1);
    keep(adapter.AdpProgramSrec(text, a, wide));
    keep(adapter.AdpReadSrec(other, 0, a, wide));
    adapter.AdpCloseDevice();
    return seen;
}

class Trace : public testing::Test {
protected:
    void Write(const QByteArray& bytes) const
    {
        QFile out(file);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(bytes);
    }
    QByteArray Read() const
    {
        QFile in(file);
        return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
    }
    /// Reads a word of register cmd.
    static ErrorCode ReadWord(Pc61vRW& adapter, std::int16_t cmd, std::int16_t& word)
    {
        std::int16_t addr = 22;
        return adapter.AdpReadSMBusWord(cmd, word, addr);
    }
    static std::unique_ptr<ScriptedAdapter> Words(std::initializer_list<int> words)
    {
        auto adapter = std::make_unique<ScriptedAdapter>();
        for (int word : words)
            adapter->Will(0, {word});
        return adapter;
    }
    /// Records a read of register 9 and one of register 10.
    void RecordTwoReads(int first, int second)
    {
        RecordedAdapter recorder(Words({first, second}), time, file);
        std::int16_t word = 0;
        for (const std::int16_t cmd : {std::int16_t{9}, std::int16_t{10}})
            EXPECT_EQ(ReadWord(recorder, cmd, word), ErrorCode::Ok);
    }

    QTemporaryDir folder;
    QString file = folder.filePath(QStringLiteral("bus.trace"));
    TestTime time;
};

TEST_F(Trace, ReplaysEveryOperationAndItsTimeExactly)
{
    auto driver = std::make_unique<ScriptedAdapter>();
    driver->facts.Name = QStringLiteral("Simulated");
    driver->facts.Functions = QStringList{QStringLiteral("word"), QStringLiteral("pec")};
    driver->Will(0, {1, QStringLiteral("Simulated")});
    driver->Will(5, {QStringLiteral("Simul\u00e4ted")});
    driver->Will(772, {-1});
    driver->Will(0, {-0x8000, 22});
    driver->Will(-1, {1, 2, 3});
    driver->Will(0, {QStringLiteral("00FF10"), 3, 22});
    ScriptedAdapter* const inner = driver.get();
    inner->onCall = [&] {
        time.Advance(7);
        inner->facts.BusMicroseconds += 1e6 / 3;
    };
    QStringList recorded;
    AdapterFacts facts;
    const std::int64_t start = time.MonotonicMs();
    {
        RecordedAdapter recorder(std::move(driver), time, file);
        recorded = CallEverything(recorder);
        facts = recorder.Facts();
    }
    const std::int64_t took = time.MonotonicMs() - start;
    TestTime later(QDateTime(QDate(2027, 3, 1), QTime(10, 0)));
    ReplayAdapter replay(later, file);
    EXPECT_EQ(CallEverything(replay), recorded);
    EXPECT_EQ(later.MonotonicMs(), took);
    EXPECT_GE(later.turns, 28);
    EXPECT_EQ(replay.Facts().Problem, QString());
    EXPECT_EQ(replay.Facts().Name, facts.Name);
    EXPECT_EQ(replay.Facts().Functions, facts.Functions);
    EXPECT_EQ(replay.Facts().BusMicroseconds, facts.BusMicroseconds);
}

TEST_F(Trace, AnswersADifferentCallWithADifferenceAndWaitsForTheExpectedOne)
{
    RecordTwoReads(900, 1000);
    ReplayAdapter replay(time, file);
    std::int16_t word = 0;
    EXPECT_EQ(ReadWord(replay, 9, word), ErrorCode::Ok);
    EXPECT_EQ(ReadWord(replay, 11, word), ErrorCode::CompareDifferent);
    const QString difference
        = file + QStringLiteral(", line 3: expected AdpReadSMBusWord [10,22], got AdpReadSMBusWord [11,22].");
    EXPECT_EQ(replay.Facts().Problem, difference);
    QString name;
    EXPECT_EQ(replay.AdpOpenDevice(name), -1) << "any other number would count as an open adapter";
    EXPECT_EQ(ReadWord(replay, 10, word), ErrorCode::Ok);
    EXPECT_EQ(word, 1000);
    EXPECT_EQ(ReadWord(replay, 10, word), ErrorCode::CompareDifferent) << "the trace is over";
    EXPECT_EQ(replay.Facts().Problem, difference) << "the first difference is the one to look at";
}

TEST_F(Trace, KeepsEarlierRunsAndReplaysTheLastOneEvenBehindACutLine)
{
    RecordTwoReads(1, 2);
    Write(Read().chopped(20));
    RecordTwoReads(3, 4);
    ReplayAdapter replay(time, file);
    std::int16_t word = 0;
    EXPECT_EQ(ReadWord(replay, 9, word), ErrorCode::Ok);
    EXPECT_EQ(word, 3);
    EXPECT_TRUE(Read().contains("\"out\":[1,22]"));
}

TEST_F(Trace, PutsACallMadeByEventsBehindTheOneItHappenedIn)
{
    auto driver = Words({900});
    ScriptedAdapter* const inner = driver.get();
    RecordedAdapter recorder(std::move(driver), time, file);
    std::int16_t word = 0;
    inner->onCall = [&] {
        inner->onCall = nullptr;
        recorder.AdpDelay(1);
    };
    EXPECT_EQ(ReadWord(recorder, 9, word), ErrorCode::Ok);
    const QByteArrayList lines = Read().split('\n');
    EXPECT_TRUE(lines[1].startsWith("{\"n\":2,")) << lines[1].toStdString();
    EXPECT_TRUE(lines[2].startsWith("{\"n\":23,")) << lines[2].toStdString();
}

TEST_F(Trace, SaysThatItCannotBeWritten)
{
    const QString nowhere = folder.filePath(QStringLiteral("missing/bus.trace"));
    RecordedAdapter recorder(Words({900}), time, nowhere);
    std::int16_t word = 0;
    EXPECT_EQ(ReadWord(recorder, 9, word), ErrorCode::Ok) << "the measurement goes on";
    EXPECT_TRUE(recorder.Facts().Problem.contains(nowhere));
}

TEST_F(Trace, RefusesBadInputAndNamesThePlace)
{
    const QByteArray head = "{\"trace\":1,\"run\":[\"\",\"\"]}\n";
    const auto line = [](const QByteArray& rest) {
        return QByteArray("{\"n\":2,\"op\":\"AdpReadSMBusWord\",\"in\":[9,22],\"ms\":0,\"took\":0,\"bus\":0,")
            + rest + '}';
    };
    struct Case {
        QByteArray bytes;
        const char* problem;
    };
    for (const Case& row :
         {Case{"", "line 0: no line begins a run"},
          Case{"\x7F"
               "ELF\0\1\2",
               "line 0: no line begins"},
          Case{head, "line 2: the trace ends here"},
          Case{head + "{\"n\":2,\"op\":\"Adp", "line 2: no call (unterminated"},
          Case{head + "[[[]]]", "line 2: a call without"},
          Case{head + QByteArray(100'000, '['), "line 2: no call"},
          Case{head + QByteArray(1'100'000, ' '), "line 2: a line longer than"},
          Case{head + line("\"res\":0"), "line 2: a call without"},
          Case{head + line("\"res\":1e99,\"out\":[1,22]"), "line 2: a call without"},
          Case{head + line("\"res\":70000,\"out\":[1,22]"), "line 2: \"res\" is not"},
          Case{head + line("\"res\":0,\"out\":[1]"), "line 2: value 2 of \"out\""},
          Case{head + line("\"res\":0,\"out\":[32768,22]"), "line 2: value 1 of \"out\""},
          Case{head + line("\"res\":0,\"out\":[\"x\",22]"), "line 2: value 1 of \"out\""}}) {
        Write(row.bytes);
        ReplayAdapter replay(time, file);
        std::int16_t word = 0;
        EXPECT_EQ(ReadWord(replay, 9, word), ErrorCode::CompareDifferent);
        EXPECT_TRUE(replay.Facts().Problem.contains(QString::fromLatin1(row.problem)))
            << replay.Facts().Problem.toStdString();
    }
    Write(head
          + "{\"n\":4,\"op\":\"\",\"in\":[32,22],\"res\":0,\"out\":[\"0102\",3,22],\"ms\":0,\"took\":0,"
            "\"bus\":0}");
    ReplayAdapter block(time, file);
    Bytes data;
    std::int16_t length = 0;
    std::int16_t addr = 22;
    EXPECT_EQ(block.AdpReadSMBusBlock(32, data, length, addr), ErrorCode::CompareDifferent)
        << "the count is larger than the bytes beside it";
    ReplayAdapter missing(time, folder.filePath(QStringLiteral("none.trace")));
    EXPECT_TRUE(missing.Facts().Problem.contains(QStringLiteral("none.trace")));
}

TEST_F(Trace, IsChosenByOptionThenEnvironmentThenSettings)
{
    StartupState state;
    state.ProgramFolder = folder.path();
    state.ProgramSettingsFile = folder.filePath(QStringLiteral("tarnlo.ini"));
    RecordTwoReads(1, 2);
    struct Case {
        const char* settings;
        const char* environment;
        const char* option;
        QString replays; ///< empty: refused
    };
    const QByteArray full = "replay:" + file.toUtf8();
    for (const Case& row :
         {Case{"Device=nothing", "", full.constData(), file},
          Case{"Device=nothing", full.constData(), "", file}, Case{"Device=replay:bus.trace", "", "", file},
          Case{"Device=replay:bus.trace", "", "replay:", {}}, Case{"Device=replay:bus.trace", "i2c:", "", {}},
          Case{"Device=nothing", "", "", {}}, Case{"Device=replay:bus.trace\nTrace=bus.trace", "", "", {}}}) {
        QFile settings(state.ProgramSettingsFile);
        ASSERT_TRUE(settings.open(QIODevice::WriteOnly));
        settings.write(QByteArray("[Adapter]\n") + row.settings);
        settings.close();
        qputenv("TARNLO_ADAPTER", row.environment);
        ProfileStore profiles;
        const AdapterSettings adapter
            = ResolveAdapter(profiles, state, QString::fromUtf8(row.option), QString());
        qunsetenv("TARNLO_ADAPTER");
        EXPECT_EQ(adapter.Error.isEmpty(), !row.replays.isEmpty()) << adapter.Error.toStdString();
        EXPECT_EQ(adapter.ReplayFile, adapter.Error.isEmpty() ? row.replays : adapter.ReplayFile);
        EXPECT_EQ(MakeAdapter(adapter, profiles, state, time) != nullptr, adapter.Error.isEmpty());
    }
}

} // namespace
