#pragma once

#include "comm/GaugeContext.h"
#include "comm/adapters/SimulatedAdapter.h"
#include "comm/adapters/WatchedAdapter.h"
#include "engineering/SequenceRunner.h"
#include "tests/support/TestSupport.h"

#include <QFile>
#include <QTemporaryDir>

/// The simulated pack, opened, with all that a view of this room is made with, and a look at every driver
/// call.
class EngineeringBench {
public:
    /// Stands between the layer and the pack.
    class Tap final : public AdapterFunnel {
    public:
        Tap(EngineeringBench& bench, TimeSource& time, const SimulatorSettings& settings)
            : m_bench(bench), m_inner(time, settings)
        {
        }
        [[nodiscard]] AdapterFacts Facts() const override
        {
            AdapterFacts facts = m_inner.Facts();
            if (m_bench.functions)
                facts.Functions = *m_bench.functions;
            return facts;
        }

    private:
        void Perform(DriverCall& call) override
        {
            m_bench.calls << ShownCall(EntryOf(call));
            if (m_bench.failAt > 0 && m_bench.calls.size() == m_bench.failAt)
                return AnswerWith(call, m_bench.fault);
            if (const auto handler = m_bench.onCall) // a copy: the handler may take itself away
                handler();
            call.On(m_inner);
        }
        EngineeringBench& m_bench;
        SimulatedAdapter m_inner;
    };

    explicit EngineeringBench(const SimulatorSettings& settings = {})
        : watched(std::make_unique<Tap>(*this, time, settings), time, watch)
    {
        state.ProgramFolder = folder.path();
        state.ProgramSettingsFile = folder.filePath(QStringLiteral("tarnlo.ini"));
        state.TargetConfigPath = folder.filePath(QStringLiteral("target.ini"));
        Put(QStringLiteral("target.ini"),
            "[Pro]\nMemoryAddressCmd=0x49\nMemoryDataCmd=0x4A\n"
            "[Access]\n1=Type: write-word 0 1; read-word 0 expect 0x0800\n2=Bad: write-word\n4=Name: "
            "read-block 0x20\n");
        bool ok = false;
        usb.OpenFirstFreeDevice(ok);
        calls.clear();
    }
    void Put(const QString& name, const QByteArray& bytes) const
    {
        QFile file(folder.filePath(name));
        if (file.open(QIODevice::WriteOnly))
            file.write(bytes);
    }
    [[nodiscard]] int Calls(const char* start) const
    {
        return static_cast<int>(
            calls.filter(QRegularExpression(QLatin1Char('^') + QLatin1String(start))).size());
    }

    QStringList calls;
    int failAt = 0; ///< number of the call that answers with the fault, from 1
    ErrorCode fault = ErrorCode::NoAcknowledge;
    std::function<void()> onCall; ///< events inside a bus operation
    std::optional<QStringList> functions; ///< what the adapter says that it can do
    QTemporaryDir folder;
    TestTime time;
    RecordedMessages messages;
    ErrorList errors{time};
    ProfileStore profiles;
    StartupState state;
    TargetSettings target;
    BusWatch watch;
    WatchedAdapter watched;
    frmUSB usb{watched, time, messages, {}};
    GaugeAccess access{time, messages};
    GaugeLink link{usb, access, profiles, messages, state, target};
    GaugeContext context{profiles, state, target, usb, access, link, time, messages, errors, &watch};
    TransactionSender sender{usb, time, 0x16, MemoryCommands{0x49, 0x4A, 32}};
    SequenceRunner runner{sender, usb, access, time};
};
