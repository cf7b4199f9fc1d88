#pragma once

#include "comm/adapters/SimulatedAdapter.h"
#include "platform/SystemTime.h"
#include "plugins/PluginHost.h"
#include "tests/support/ScriptedAdapter.h"
#include "tests/support/TestSupport.h"

#include <QElapsedTimer>

/// A host over an adapter that keeps what reaches it.
struct HostBench {
    ScriptedAdapter adapter;
    SystemTime time;
    RecordedMessages messages;
    frmUSB usb{adapter, time, messages, {}};
    GaugeAccess access{time, messages};
    Skin skin = DefaultSkin();
    int idleHoldMs = 5000;
    PluginHost host{{usb, access, time, messages, [this] { return skin; }, nullptr, idleHoldMs},
                    QStringLiteral("Test")};

    explicit HostBench(int idle = 5000) : idleHoldMs(idle) { }

    QVariantMap Call(const char* operation, const QVariantMap& arguments = {})
    {
        return host.Call(QString::fromLatin1(operation), arguments);
    }
    bool Acquire() { return Call("AcquireUSBExclAccess").value(QStringLiteral("result")).toBool(); }
    int Word() // what a word read answers
    {
        return Call("ReadSMBusWord_", {{QStringLiteral("cmd"), 9}, {QStringLiteral("addr"), 22}})
            .value(QStringLiteral("err"))
            .toInt();
    }
};

/// Runs events until it is so; a test that never gets there has failed.
template <typename Condition>
bool Reached(TimeSource& time, Condition condition, int atMostMs = 30'000)
{
    QElapsedTimer clock;
    clock.start();
    while (!condition() && !clock.hasExpired(atMostMs))
        time.ProcessEvents(20);
    return condition();
}
