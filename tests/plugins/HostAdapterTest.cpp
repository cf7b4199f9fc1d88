#include "plugins/HostAdapter.h"
#include "plugins/PluginServer.h"
#include "tests/plugins/HostBench.h"

namespace {

/// A host with its socket, and what a program that a plug-in started sees of it.
struct LentBench : HostBench {
    PluginServer server{host};
    QString listening = server.Listen();
    HostAdapter lent{time, server.SocketPath(), server.Token()};
    frmUSB client{lent, time, messages, {}};
    bool open = false;
};

} // namespace

TEST(HostAdapter, ReadsAndWritesThroughTheHostsAdapter)
{
    LentBench bench;
    bench.client.OpenFirstUsedDevice(bench.open);
    ASSERT_TRUE(bench.open) << bench.messages.texts.join(QLatin1Char(' ')).toStdString();
    std::int16_t word = 0;
    ErrorCode err = ErrorCode::Unknown;
    bench.adapter.Will(ErrorCode::Ok, {-5, 22});
    bench.client.ReadSMBusWord_(9, word, 22, err);
    EXPECT_EQ(word, -5);
    EXPECT_EQ(err, ErrorCode::Ok);
    bench.adapter.Will(ErrorCode::BadPec);
    bench.client.WriteSMBusBlock(4, {1, 2, 3}, 3, 22, err);
    EXPECT_EQ(err, ErrorCode::BadPec);
    Bytes data;
    std::int16_t length = 2;
    bench.adapter.Will(ErrorCode::Ok, {160, 3, QStringLiteral("AABB"), 2});
    bench.client.I2CReadBlock(160, 3, data, length, err);
    EXPECT_EQ(data, (Bytes{0xAA, 0xBB}));
    EXPECT_EQ(bench.adapter.calls,
              QStringList({QStringLiteral("AdpReadSMBusWord [9,22]"),
                           QStringLiteral("AdpWriteSMBusBlock [4,\"010203\",3,22]"),
                           QStringLiteral("AdpI2CReadBlock [160,3,2]")}));
    bench.client.GPIOWrite(0, 1, err); // output lines are not lent
    EXPECT_EQ(err, ErrorCode::IncorrectParam);
    EXPECT_EQ(bench.adapter.calls.size(), 3);
    bench.client.CloseDevice();
}

TEST(HostAdapter, SaysWhyItCannotBeHadAndWhenTheHostGoes)
{
    LentBench bench;
    HostAdapter stranger(bench.time, bench.server.SocketPath(), QStringLiteral("guessed"));
    QString name;
    EXPECT_EQ(stranger.AdpOpenDevice(name), -1);
    EXPECT_TRUE(stranger.Facts().Problem.contains(QStringLiteral("token")));
    HostAdapter nobody(bench.time, bench.server.SocketPath() + QLatin1Char('x'), {});
    frmUSB usb(nobody, bench.time, bench.messages, {});
    bool open = true;
    usb.OpenFirstUsedDevice(open);
    EXPECT_FALSE(open);
    EXPECT_TRUE(bench.messages.texts.value(0).startsWith(QStringLiteral("Could not open device!Make sure")));
    EXPECT_FALSE(nobody.Facts().Problem.isEmpty());

    auto server = std::make_unique<PluginServer>(bench.host);
    ASSERT_EQ(server->Listen(), QString());
    HostAdapter lent(bench.time, server->SocketPath(), server->Token());
    ASSERT_EQ(lent.AdpOpenDevice(name), 0);
    server.reset();
    std::int16_t word = 0;
    std::int16_t addr = 22;
    EXPECT_EQ(lent.AdpReadSMBusWord(9, word, addr), ErrorCode::NoUsb);
}
