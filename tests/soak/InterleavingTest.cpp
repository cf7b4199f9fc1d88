#include "plugins/PluginHost.h"
#include "simulator/Random.h"
#include "tests/soak/CoreBench.h"
#include "tests/support/FaultyAdapter.h"

#include <QDir>
#include <QFile>

#include <array>
#include <tuple>

namespace {

const std::vector<int> kCommands{0x04, 0x09, 0x0A, 0x0D, 0x16};
using Tables = std::array<clsSBSCfgRW, 2>;
constexpr int kAtRateRow = 0;
constexpr int kVoltRow = 1;
constexpr int kRemRow = 3;
constexpr int kStatRow = 4;
constexpr int kFirstAfterOpen = 3; // calls of the adapter

/// Sees every call of the adapter: only the holder of the bus may make one, no call may come inside another,
/// and none at all once the adapter is closed.
class Witness final : public AdapterFunnel {
public:
    explicit Witness(Pc61vRW& inner) : m_inner(inner) { }
    [[nodiscard]] AdapterFacts Facts() const override { return m_inner.Facts(); }

private:
    void Perform(DriverCall& call) override
    {
        const bool session = call.Number == AdapterCall::OpenDevice || call.Number == AdapterCall::CloseDevice
            || call.Number == AdapterCall::ListFreeDevices;
        EXPECT_TRUE(session || ExclusiveAccess::HeldBelow()) << call.Name << " without the bus";
        EXPECT_FALSE(m_calling) << call.Name << " inside another call";
        EXPECT_FALSE(m_closed) << call.Name << " after the close";
        m_calling = true;
        call.On(m_inner);
        m_calling = false;
        m_closed = call.Number == AdapterCall::CloseDevice;
    }
    Pc61vRW& m_inner;
    bool m_calling = false;
    bool m_closed = false;
};

/// Events run while a box is open, and the answer comes at random.
class RandomMessages final : public UserMessages {
public:
    RandomMessages(TimeSource& time, Random& random) : m_time(time), m_random(random) { }
    void Show(const QString& text) override
    {
        EXPECT_FALSE(ExclusiveAccess::HeldBelow()) << "with the bus held: " << text.toStdString();
        EXPECT_FALSE(text.contains(QStringLiteral("Sync error"))) << "a second release";
        toldOfDoubt |= text.contains(QStringLiteral("may still be on"));
        m_time.ProcessEvents(0);
    }
    Answer Ask(const QString& text, Answers offered) override
    {
        Show(text);
        for (int turn = 0; turn < 10; ++turn)
            m_time.ProcessEvents(0);
        constexpr std::array kAll{Answer::Yes,    Answer::No,    Answer::Retry, Answer::Ignore,
                                  Answer::Cancel, Answer::Abort, Answer::Ok};
        for (;;)
            if (const Answer answer = kAll[m_random.Below(kAll.size())]; offered.testFlag(answer))
                return answer;
    }
    bool toldOfDoubt = false;

private:
    TimeSource& m_time;
    Random& m_random;
};

/// One seed: what timers, a user and a plug-in do to the core objects of a register view, in any order and
/// inside one another, until the view is closed.
class Interleaving {
public:
    Interleaving(std::uint64_t seed, const Tables& tables, const QString& folder)
        : m_random(Random::Mix(seed)), m_sim(m_time, Pack(seed)),
          m_faulty(m_sim, seed % 3 == 0 ? kFirstAfterOpen + static_cast<int>(m_random.Below(200)) : 0,
                   m_random.Below(2) == 0 ? ErrorCode::NoAcknowledge : ErrorCode::NoUsb),
          m_tables(tables), m_bench(m_witness, m_time, m_messages, tables[0]),
          m_logPath(folder + QStringLiteral("/run.log")), m_pluginTurns(seed % 5 == 0 ? 40 : 3)
    {
        m_cycle.RemCapRow = kRemRow;
        m_cycle.BattVoltRow = kVoltRow;
        m_cycle.BattStatRow = kStatRow;
        m_cycle.ChgPin = 2;
        m_cycle.ChgRemCapVal = static_cast<std::int32_t>(m_random.Below(101)); // many switch on every pass
        m_cycle.DChgRemCapVal = static_cast<std::int32_t>(m_random.Below(101));
        m_cycle.ChgRelax = 0;
        m_cycle.DChgRelax = static_cast<std::int32_t>(m_random.Below(3));
        m_bench.cycle.SetSettings(m_cycle);
        m_time.deepest = 3;
        m_time.onEvents = [this] {
            if (m_random.Below(4) == 0)
                Act();
        };
    }

    void Run()
    {
        for (int step = 0; step < 40 && !m_closing; ++step) {
            m_time.Advance(m_random.Below(4000));
            Act();
            EXPECT_FALSE(ExclusiveAccess::HeldBelow());
            EXPECT_EQ(GaugeAccess::Held(), m_plugin.Holds()) << "the lock is stuck";
            EXPECT_FALSE(m_bench.engine.Running());
        }
        Close();
    }

private:
    static SimulatorSettings Pack(std::uint64_t seed)
    {
        SimulatorSettings settings;
        settings.Seed = seed;
        settings.Charge = static_cast<double>(seed % 101);
        if (seed % 2 == 0) {
            settings.Faults.RatePpm = 20'000;
            settings.Faults.Reentry = seed % 4 == 0;
            for (const FaultName& fault : kFaultNames)
                settings.Faults.Kinds.push_back(fault.Kind);
        }
        return settings;
    }

    void Act()
    {
        if (m_plugin.Holds() && m_random.Below(m_pluginTurns) == 0)
            return m_plugin.ReleaseUSBExclAccess();
        switch (m_random.Below(17)) {
        case 0:
        case 1:
        case 2:
        case 3:
            return Pass();
        case 4:
            if (!m_bench.log.IsLogging())
                std::ignore = m_bench.StartLog(m_logPath);
            else if (m_random.Below(5) == 0)
                m_bench.log.Stop();
            return;
        case 5:
        case 6:
        case 7:
            return static_cast<void>(m_bench.Record());
        case 8:
            return static_cast<void>(m_bench.engine.WriteSBSValueFromGrid(
                kAtRateRow, QString::number(static_cast<int>(m_random.Below(70'000)) - 35'000)));
        case 9:
            if (!m_closing)
                m_bench.cycle.StartAutoCycle(Values(true));
            return;
        case 10:
            return m_bench.cycle.StopAndSwitchOff(QStringLiteral("by hand"));
        case 11:
            return m_bench.cycle.Watch();
        case 12:
            m_bench.tables = m_tables[m_random.Below(2)];
            return m_bench.engine.Reset({});
        case 13:
            return PluginTakes();
        case 14:
            return TurnFile();
        case 15:
            return PluginCalls();
        default:
            if (m_random.Below(8) == 0) { // asked to close in the middle of its own sequence
                m_closing = true;
                m_bench.engine.RequestStop();
                m_bench.log.Stop();
            }
        }
    }

    void Pass()
    {
        const PassReport report = m_bench.engine.ReadValues();
        if (report.End != PassEnd::Dropped && !m_closing)
            m_bench.cycle.Step(Values(report.Answered > 0));
    }

    CycleValues Values(bool answered) const
    {
        const auto reading = [this](int row) {
            if (row >= m_bench.engine.RowCount())
                return CycleReading{};
            const std::optional<RawValue>& raw = m_bench.engine.Row(row).Raw;
            return raw ? CycleReading::Of(*raw) : CycleReading::Failed();
        };
        return {reading(kRemRow), reading(kVoltRow), reading(kStatRow), answered};
    }

    /// A plug-in returns to the event loop with the bus in its hands.
    void PluginTakes()
    {
        auto timeoutMs = static_cast<std::int16_t>(m_random.Below(500));
        m_plugin.AcquireUSBExclAccess(timeoutMs);
    }
    void PluginCalls()
    {
        if (m_closing)
            return;
        std::int16_t word = 0;
        std::int16_t err = 0;
        m_plugin.ReadSMBusWord_(9, word, 22, err);
    }

    /// Somebody puts a folder where the log file stands, or takes it away again.
    void TurnFile()
    {
        if (m_random.Below(2) == 0)
            return;
        m_fileTouched = true;
        if (!QDir().rmdir(m_logPath)) {
            QFile::remove(m_logPath);
            QDir().mkdir(m_logPath);
        }
    }

    void Close()
    {
        m_time.onEvents = nullptr;
        EXPECT_TRUE(m_bench.cycle.LeaveProgram()); // whatever the plug-in holds
        m_plugin.GiveBack();
        EXPECT_FALSE(m_bench.cycle.Facts().Running);
        EXPECT_TRUE(m_messages.toldOfDoubt || !(LineIsHigh(0) || LineIsHigh(1)))
            << "a line is on and nobody was told";
        m_bench.usb.CloseDevice();
        EXPECT_FALSE(GaugeAccess::Held());

        CheckLog();
        QDir().rmdir(m_logPath);
        QFile::remove(m_logPath);
    }
    void CheckLog() const
    {
        QFile file(m_logPath);
        if (m_bench.log.FileName().isEmpty() || !file.open(QIODevice::ReadOnly)) // a folder stands there
            return;
        int last = 0;
        for (const QByteArray& line : file.readAll().split('\n')) {
            bool isRecord = false;
            const int sample = line.split('\t').first().toInt(&isRecord);
            if (!isRecord)
                continue;
            EXPECT_TRUE(sample == last + 1 || (last == 0 && m_fileTouched)) << sample << " after " << last;
            last = sample;
        }
        EXPECT_TRUE(m_fileTouched || last == m_bench.log.Sample() - 1);
    }
    bool LineIsHigh(std::int16_t line)
    {
        std::int16_t level = 0;
        return m_sim.AdpGPIORead(line, level) == ErrorCode::Ok && level != 0;
    }

    Random m_random;
    TestTime m_time;
    RandomMessages m_messages{m_time, m_random};
    SimulatedAdapter m_sim;
    FaultyAdapter m_faulty;
    Witness m_witness{m_faulty};
    const Tables& m_tables;
    CoreBench m_bench;
    PluginHost m_plugin{{m_bench.usb, m_bench.access, m_time, m_messages, {}}, QStringLiteral("Plug-in")};
    AutoCycleSettings m_cycle;
    QString m_logPath;
    std::uint32_t m_pluginTurns; ///< how long a plug-in keeps the bus, about; waits time out at 40
    bool m_closing = false;
    bool m_fileTouched = false;
};

} // namespace

TEST(CoreObjects, KeepBusAndFilesWholeWhateverComesInsideWhat)
{
    const std::uint64_t seeds = LongTests() ? 100'000 : 5'000;
    const Tables tables{WordTable(kCommands), WordTable({0x04, 0x09})};
    const QTemporaryDir folder(FastFolder());
    for (std::uint64_t seed = 1; seed <= seeds; ++seed) {
        Interleaving(seed, tables, folder.path()).Run();
        ASSERT_FALSE(HasFailure()) << "seed " << seed;
    }
}
