#include "plugins/ScriptPlugin.h"
#include "tests/plugins/HostBench.h"

#include <QDir>
#include <QFile>
#include <QProcess>

namespace {

/// What a host learns about a script, and proof that its own events go on.
class Supervised : public HostBench {
public:
    explicit Supervised(const QString& mode)
    {
        const QString file = m_folder.filePath(mode + QStringLiteral(".py"));
        EXPECT_TRUE(QFile::copy(QStringLiteral(SCRIPTS "/hostile.py"), file));
        plugin = std::make_unique<ScriptPlugin>(file, mode, host, nullptr);
        QObject::connect(plugin.get(), &PluginObject::Ready, [this] {
            plugin->Get(QStringLiteral("Caption"), [](const QVariant&) {});
            plugin->Get(QStringLiteral("Popup"), [](const QVariant&) {});
        });
        QObject::connect(plugin.get(), &PluginObject::Answering, [this](bool yes) { answering = yes; });
        QObject::connect(plugin.get(), &PluginObject::Ended, [this](const QString& why) { ended = why; });
        QObject::connect(&m_pulse, &QTimer::timeout, [this] { ++pulses; });
        m_pulse.start(1);
        plugin->Start();
    }

    std::optional<QString> ended;
    bool answering = true;
    int pulses = 0;
    std::unique_ptr<ScriptPlugin> plugin;

private:
    QTemporaryDir m_folder;
    QTimer m_pulse;
};

/// A process whose command line has the pattern.
bool Runs(const QString& pattern)
{
    QProcess search;
    search.start(QStringLiteral("pgrep"), {QStringLiteral("-f"), pattern});
    return search.waitForFinished() && search.exitCode() == 0;
}

struct EndCase {
    const char* mode;
    const char* why; ///< part of the reason that people read; empty: it ended as programs do
    bool holds; ///< it had the bus when it went wrong
};

class ScriptThatEnds : public testing::TestWithParam<EndCase> { };

} // namespace

TEST_P(ScriptThatEnds, IsEndedWithItsReasonAndTheBusIsFree)
{
    Supervised script(QString::fromLatin1(GetParam().mode));
    ASSERT_TRUE(Reached(script.time, [&] { return script.ended.has_value(); }));
    EXPECT_EQ(script.ended->isEmpty(), qstrlen(GetParam().why) == 0) << script.ended->toStdString();
    EXPECT_TRUE(script.ended->contains(QString::fromLatin1(GetParam().why))) << script.ended->toStdString();
    EXPECT_EQ(script.host.Calls() > 0, GetParam().holds);
    EXPECT_FALSE(GaugeAccess::Held());
    EXPECT_GT(script.pulses, 2);
    EXPECT_EQ(script.Word(), 0) << "the gauge is reached afterwards";
}

INSTANTIATE_TEST_SUITE_P(
    Ways, ScriptThatEnds,
    testing::Values(EndCase{"DiesAtOnce", "ended with status 1", false},
                    EndCase{"PrintsForEver", "printed more than", false},
                    EndCase{"NoHello", "must be a hello", false},
                    EndCase{"WrongVersion", "version 2 of the plug-in protocol, this Tarnlo speaks version 1",
                            false},
                    EndCase{"WrongToken", "token", false}, EndCase{"Dies", "ended with status 3", true},
                    EndCase{"EndsWell", "", true}, EndCase{"IsKilled", "ended by signal 9", true},
                    EndCase{"Garbage", "were no messages", true}, EndCase{"LongLine", "longer than", true},
                    EndCase{"Floods", "without waiting for answers", true},
                    EndCase{"DoesNotRead", "does not read", true}),
    [](const auto& row) { return std::string(row.param.mode); });

TEST(ScriptPlugin, OneThatHangsIsToldApartAndEndedWhenThePersonSaysSo)
{
    Supervised script(QStringLiteral("Hangs"));
    ASSERT_TRUE(Reached(script.time, [&] { return script.host.Holds(); }));
    EXPECT_TRUE(Reached(script.time, [&] { return !script.answering; }));
    EXPECT_FALSE(GaugeAccess::Held());
    EXPECT_FALSE(script.ended);
    const auto running = [] { return Runs(QStringLiteral("/Hangs.py")); };
    EXPECT_TRUE(running());
    script.plugin.reset(); // it does not listen to SIGTERM
    EXPECT_TRUE(Reached(script.time, [&] { return !running(); }));
}

TEST(ScriptPlugin, OneThatCallsWithoutEndStarvesNeitherEventsNorOtherHolders)
{
    Supervised script(QStringLiteral("CallsWithoutEnd"));
    ASSERT_TRUE(Reached(script.time, [&] { return script.host.Calls() > 2000; }));
    EXPECT_GT(script.pulses, 20);
    // calls that do not use the bus do not prolong the hold
    EXPECT_TRUE(Reached(script.time, [] { return !GaugeAccess::Held(); }));
    EXPECT_FALSE(script.ended);
}

TEST(ScriptPlugin, WhatItStartedIsEndedWithIt)
{
    Supervised script(QStringLiteral("LeavesAChild"));
    ASSERT_TRUE(Reached(script.time, [&] { return script.ended.has_value(); }));
    EXPECT_TRUE(script.plugin->Output().contains(QStringLiteral("child")));
    EXPECT_TRUE(Reached(script.time, [] { return !Runs(QStringLiteral("^sleep 611.7$")); }));
}

TEST(ScriptPlugin, TheHelperThatShipsSpeaksTheProtocol)
{
    QTemporaryDir folder;
    ASSERT_TRUE(QFile::copy(QStringLiteral(SHIPPED "/tarnlo_plugin.py"),
                            folder.filePath(QStringLiteral("tarnlo_plugin.py"))));
    QFile file(folder.filePath(QStringLiteral("Mine.py")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("import tarnlo_plugin\n"
               "class Mine:\n"
               "    Caption, Popup, TargetInfo, TargetAddress = 'Mine', 1, '', 0\n"
               "    def ShowForm(self, argument):\n"
               "        print(self.TargetInfo, self.TargetAddress, argument, host.test()['result'])\n"
               "        print(host.ReadSMBusWord_(cmd=9, addr=self.TargetAddress))\n"
               "        try: host.Nothing()\n"
               "        except tarnlo_plugin.Refused as refused: print(refused)\n"
               "        print(host.acquire(), host.ReleaseUSBExclAccess())\n"
               "        raise ValueError('no form')\n"
               "host = tarnlo_plugin.Host(Mine())\n"
               "host.run()\n");
    file.close();
    HostBench bench;
    bench.adapter.Will(ErrorCode::NoAcknowledge, {0, 22});
    ScriptPlugin plugin(file.fileName(), QStringLiteral("Mine"), bench.host, nullptr);
    QStringList troubles;
    QObject::connect(&plugin, &PluginObject::Trouble, [&](const QString& text) { troubles << text; });
    QObject::connect(&plugin, &PluginObject::Ready, [&] {
        plugin.Set(QStringLiteral("TargetInfo"), QStringLiteral("four cells"));
        plugin.Set(QStringLiteral("TargetAddress"), 22);
        plugin.ShowForm(0);
    });
    plugin.Start();
    EXPECT_TRUE(Reached(bench.time, [&] { return !troubles.isEmpty(); })) << plugin.Output().toStdString();
    EXPECT_TRUE(troubles.value(0).contains(QStringLiteral("ValueError: no form")));
    EXPECT_EQ(plugin.Output(),
              QStringLiteral("four cells 22 0 test\n"
                             "{'err': 772, 'text': 'No Acknowledge: VB_T2H_NACK', 'word': 0}\n"
                             "there is no operation \"Nothing\"\n"
                             "True {}\n"));
}
