#include "comm/BusSequence.h"
#include "sbs/CycleLines.h"
#include "tests/plugins/HostBench.h"

#include <QMetaMethod>

namespace {

QVariantMap Args(std::initializer_list<std::pair<const char*, QVariant>> list)
{
    QVariantMap map;
    for (const auto& [key, value] : list)
        map.insert(QString::fromLatin1(key), value);
    return map;
}

const QByteArray kBytes("\x01\xFE", 2);

} // namespace

TEST(PluginHost, LendsTheOperationsInTheirFixedOrder)
{
    QStringList names;
    const QMetaObject& type = PluginHost::staticMetaObject;
    for (int i = type.methodOffset(); i < type.methodCount(); ++i)
        if (type.method(i).methodType() == QMetaMethod::Method)
            names << QString::fromLatin1(type.method(i).name());
    EXPECT_EQ(names.join(QLatin1Char(' ')),
              QStringLiteral(
                  "Mode WriteSMBusWord_ WriteSMBusWord WriteSMBusBlock WriteSMBusCommand ReadSMBusWord_ "
                  "ReadSMBusWord ReadSMBusBlock_ ReadSMBusBlock ReadI2CBlockOnSMB ReadI2CBlockOnSMB_ "
                  "WriteI2CBlockOnSMB Delay CheckForError I2CReadBlock I2CReadBlock_ I2CWriteBlock I2CPower "
                  "ReadOneWire WriteOneWire ProgramSrec ReadSrec AcquireUSBExclAccess ReleaseUSBExclAccess "
                  "ReadDFSubClass WriteDFSubClass GetColor UnloadInTime test"));
}

TEST(PluginHost, EveryAdapterOperationReachesTheAdapterOnceWithItsArguments)
{
    const struct {
        const char* operation;
        QVariantMap arguments;
        const char* call;
    } rows[] = {
        {"WriteSMBusWord_", Args({{"cmd", 4}, {"word", 0xFFFF}, {"addr", 22}}),
         "AdpWriteSMBusWord [4,-1,22]"},
        {"WriteSMBusWord", Args({{"cmd", 4}, {"msb", 1}, {"lsb", 2}, {"addr", 22}}),
         "AdpWriteSMBusWord [4,258,22]"},
        {"WriteSMBusBlock", Args({{"cmd", 4}, {"data", kBytes}, {"length", 2}, {"addr", 22}}),
         "AdpWriteSMBusBlock [4,\"01FE\",2,22]"},
        {"WriteSMBusCommand", Args({{"cmd", 4}, {"addr", 22}}), "AdpWriteSMBusCommand [4,22]"},
        {"ReadSMBusWord_", Args({{"cmd", 9}, {"addr", 22}}), "AdpReadSMBusWord [9,22]"},
        {"ReadSMBusWord", Args({{"cmd", 9}, {"addr", 22}}), "AdpReadSMBusWord [9,22]"},
        {"ReadSMBusBlock_", Args({{"cmd", 9}, {"addr", 22}}), "AdpReadSMBusBlock [9,22]"},
        {"ReadSMBusBlock", Args({{"cmd", 9}, {"addr", 22}, {"format", 1}}), "AdpReadSMBusBlock [9,22]"},
        {"ReadI2CBlockOnSMB", Args({{"cmd", 9}, {"addr", 22}}), "AdpReadI2CBlockOnSMB [9,32,22]"},
        {"ReadI2CBlockOnSMB_", Args({{"cmd", 9}, {"length", 5}, {"addr", 22}}),
         "AdpReadI2CBlockOnSMB [9,5,22]"},
        {"WriteI2CBlockOnSMB",
         Args({{"cmd", 4}, {"data", QStringLiteral("01 fe")}, {"length", 2}, {"addr", 22}}),
         "AdpWriteI2CBlockOnSMB [4,\"01FE\",2,22]"},
        {"Delay", Args({{"time", 5}}), "AdpDelay [5]"},
        {"CheckForError", {}, "AdpGetLastError []"},
        {"I2CReadBlock", Args({{"addr", 160}, {"reg", 3}, {"length", 4}}), "AdpI2CReadBlock [160,3,4]"},
        {"I2CReadBlock_", Args({{"addr", 160}, {"reg", 3}, {"length", 4}}), "AdpI2CReadBlock [160,3,4]"},
        {"I2CWriteBlock", Args({{"addr", 160}, {"reg", 3}, {"data", kBytes}, {"length", 2}}),
         "AdpI2CWriteBlock [160,3,\"01FE\",2]"},
        {"I2CPower", Args({{"on", 1}}), "AdpI2CFunction [0,1,0,0]"},
        {"ReadOneWire", Args({{"mode", 2}, {"value", 7}}), "AdpReadOneWire [2,7,8]"},
        {"WriteOneWire", Args({{"mode", 2}, {"value", 7}}), "AdpWriteOneWire [2,7,8]"},
        {"ProgramSrec", Args({{"path", QStringLiteral("a.srec")}}), "AdpProgramSrec [\"a.srec\"]"},
        {"ReadSrec", Args({{"path", QStringLiteral("a.srec")}}), "AdpReadSrec [\"a.srec\",0]"},
    };
    for (const auto& row : rows) {
        HostBench bench;
        bench.adapter.onCall = [] { EXPECT_TRUE(ExclusiveAccess::HeldBelow()) << "without the bus"; };
        bench.adapter.Will(ErrorCode::NoAcknowledge);
        const QVariantMap answer = bench.Call(row.operation, row.arguments);
        EXPECT_FALSE(answer.contains(QStringLiteral("error")))
            << row.operation << answer.value(QStringLiteral("error")).toString().toStdString();
        EXPECT_EQ(bench.adapter.calls.value(0), QString::fromLatin1(row.call));
        EXPECT_EQ(answer.value(QStringLiteral("err")).toInt(),
                  qstrcmp(row.operation, "Delay") == 0 ? 0 : Number(ErrorCode::NoAcknowledge))
            << row.operation;
        EXPECT_FALSE(GaugeAccess::Held());
    }
}

TEST(PluginHost, HandsBackWhatTheAdapterWrote)
{
    HostBench bench;
    bench.adapter.Will(ErrorCode::Ok, {0x8001 - 0x10000, 22});
    QVariantMap answer = bench.Call("ReadSMBusWord", Args({{"cmd", 9}, {"addr", 22}}));
    EXPECT_EQ(answer.value(QStringLiteral("msb")).toInt(), 0x80);
    EXPECT_EQ(answer.value(QStringLiteral("lsb")).toInt(), 1);
    bench.adapter.Will(ErrorCode::Ok, {QStringLiteral("AABBCC"), 2, 22}); // a block longer than it says
    answer = bench.Call("ReadSMBusBlock_", Args({{"cmd", 9}, {"addr", 22}}));
    EXPECT_EQ(answer.value(QStringLiteral("data")).toByteArray().toHex(), QByteArray("aabb"));
    EXPECT_EQ(answer.value(QStringLiteral("length")).toInt(), 2);
}

TEST(PluginHost, RefusesCallsThatDoNotFitAndSendsNothing)
{
    const struct {
        const char* operation;
        QVariantMap arguments;
        const char* text;
    } rows[] = {
        {"Nothing", {}, "no operation"},
        {"Call", {}, "no operation"}, // must not call itself by way of itself
        {"deleteLater", {}, "no operation"},
        {"ReadSMBusWord_", Args({{"cmd", 9}}), "\"addr\" is missing"},
        {"ReadSMBusWord_", Args({{"cmd", 256}, {"addr", 22}}), "from 0 to 255"},
        {"ReadSMBusWord_", Args({{"cmd", 1.5}, {"addr", 22}}), "whole number"},
        {"ReadSMBusWord_", Args({{"cmd", QStringLiteral("9")}, {"addr", 22}}), "whole number"},
        {"ReadSMBusWord_", Args({{"cmd", 9}, {"addr", 22}, {"retry", 1}}), "other arguments"},
        {"WriteSMBusWord_", Args({{"cmd", 9}, {"word", 65536}, {"addr", 22}}), "-32768 to 65535"},
        {"WriteSMBusBlock", Args({{"cmd", 9}, {"data", QStringLiteral("0")}, {"length", 1}, {"addr", 22}}),
         "hexadecimal"},
        {"ReadSrec", Args({{"path", 7}}), "must be a text"},
    };
    for (const auto& row : rows) {
        HostBench bench;
        const QString text
            = bench.Call(row.operation, row.arguments).value(QStringLiteral("error")).toString();
        EXPECT_TRUE(text.contains(QString::fromLatin1(row.text))) << row.operation << text.toStdString();
        EXPECT_TRUE(bench.adapter.calls.isEmpty());
    }
    HostBench bench;
    EXPECT_EQ(
        bench.Call("Delay", Args({{"time", PluginHost::kLongestDelayMs + 1}})).value(QStringLiteral("err")),
        Number(ErrorCode::IncorrectParam));
    EXPECT_TRUE(bench.adapter.calls.isEmpty());
}

TEST(PluginHost, GetColorKeepsItsIndices)
{
    HostBench bench;
    bench.skin = {.ToolBackground = 101,
                  .HighlightBorderWidth = 102,
                  .UnHighlightBorderWidth = 103,
                  .SelectionHighlight = 104,
                  .Background = 100,
                  .TextFore = 105,
                  .TextHighlightFore = 106,
                  .ShapedButton = 107,
                  .ChangeHighlight = 108,
                  .BitHigh = 109,
                  .BitLow = 110,
                  .BitUnknown = 111};
    for (int index = -1; index <= 12; ++index)
        EXPECT_EQ(bench.host.GetColor(index), index < 0 || index > 11 ? 0 : 100 + index);
    EXPECT_EQ(bench.host.test(), QStringLiteral("test"));
}

TEST(PluginHost, AnswersBusyInsideAnotherSequenceInsteadOfWaitingForItself)
{
    HostBench bench;
    {
        const ExclusiveAccess scan(bench.access, QStringLiteral("SBS"));
        EXPECT_EQ(bench.Word(), Number(ErrorCode::BusBusy));
        EXPECT_FALSE(bench.Acquire());
        bench.Call("ReleaseUSBExclAccess");
        EXPECT_TRUE(GaugeAccess::Held()) << "it gave back what another one holds";
    }
    {
        const BusSequence flash(bench.access, QStringLiteral("DF"));
        EXPECT_EQ(bench.Word(), Number(ErrorCode::BusBusy));
    }
    EXPECT_TRUE(bench.adapter.calls.isEmpty());
    EXPECT_TRUE(bench.messages.texts.isEmpty());
    EXPECT_EQ(bench.Word(), 0);
}

TEST(PluginHost, CallsUnderItsHoldStandOnTheStackLikeAnyOther)
{
    HostBench bench;
    ASSERT_TRUE(bench.Acquire());
    EXPECT_FALSE(bench.Acquire()) << "it would wait for itself";
    EXPECT_FALSE(ExclusiveAccess::HeldBelow());
    EXPECT_EQ(bench.access.Owner(), QStringLiteral("Test"));
    int nested = 0;
    bench.adapter.onCall = [&] { // a scan that ticks while the call lasts
        bench.adapter.onCall = nullptr;
        EXPECT_FALSE(ExclusiveAccess(bench.access, QStringLiteral("SBS")));
        bench.access.TakeBack(); // a call under way keeps the bus
        EXPECT_TRUE(GaugeAccess::Held());
        nested = bench.Word();
    };
    EXPECT_EQ(bench.Word(), 0);
    EXPECT_EQ(nested, Number(ErrorCode::BusBusy));
    bench.Call("ReleaseUSBExclAccess");
    EXPECT_FALSE(GaugeAccess::Held());
    EXPECT_TRUE(bench.messages.texts.isEmpty());
    bench.Call("ReleaseUSBExclAccess"); // one too many has its fixed message
    EXPECT_TRUE(bench.messages.texts.value(0).startsWith(QStringLiteral("USB Sync error!")));
}

TEST(PluginHost, AHoldThatIsForgottenGoesBack)
{
    HostBench bench(50);
    ASSERT_TRUE(bench.Acquire());
    EXPECT_TRUE(Reached(bench.time, [] { return !GaugeAccess::Held(); }));
    EXPECT_EQ(bench.messages.texts.size(), 1);
    bench.Call("ReleaseUSBExclAccess"); // too late, but no mistake of the plug-in
    EXPECT_EQ(bench.messages.texts.size(), 1);

    auto other = std::make_unique<PluginHost>(
        PluginHost::Links{bench.usb, bench.access, bench.time, bench.messages, {}}, QStringLiteral("Other"));
    std::int16_t timeout = 0;
    ASSERT_TRUE(other->AcquireUSBExclAccess(timeout));
    other.reset(); // closed
    EXPECT_FALSE(GaugeAccess::Held());
}

TEST(PluginHost, SwitchingLinesOffDoesNotWaitForAPlugin)
{
    HostBench bench;
    ASSERT_TRUE(bench.Acquire());
    AdapterLines lines(bench.usb, bench.access);
    AutoCycleSettings wiring;
    wiring.ChgPin = 2;
    EXPECT_TRUE(lines.BothOff(wiring).Ok());
    EXPECT_FALSE(bench.host.Holds());
    EXPECT_TRUE(bench.adapter.calls.filter(QStringLiteral("AdpGPIOWrite")).size() >= 2);
}

TEST(PluginHost, AWaitForTheBusEndsWhenItIsToldTo)
{
    HostBench bench;
    PluginHost other({bench.usb, bench.access, bench.time, bench.messages, {}}, QStringLiteral("Other"));
    std::int16_t timeout = 0;
    ASSERT_TRUE(other.AcquireUSBExclAccess(timeout));
    QTimer::singleShot(50, &bench.host, &PluginHost::StopWaiting);
    timeout = 30'000;
    EXPECT_FALSE(bench.host.AcquireUSBExclAccess(timeout));
    EXPECT_GT(timeout, 20'000);
    EXPECT_TRUE(bench.messages.texts.isEmpty());
    EXPECT_TRUE(other.Holds());
    timeout = 100;
    EXPECT_FALSE(bench.host.AcquireUSBExclAccess(timeout));
    EXPECT_EQ(bench.messages.texts, QStringList(QStringLiteral("Failed AcquireUSBExclusiveAccess!")));
}
