#include "tests/simulator/AdapterFixture.h"

#include "comm/adapters/OneWireModes.h"

#include <gtest/gtest.h>

namespace {

struct BusTime {
    const char* name;
    int written, read; ///< bytes behind the address, without the packet error check
    std::array<std::array<double, 2>, 3> us; ///< at 100 kHz, 400 kHz, 1 MHz; without and with the check
};

} // namespace

class BusTimes : public testing::TestWithParam<BusTime> { };

// Published for the ideal bus, rounded to a tenth.
TEST_P(BusTimes, AreThoseOfTheProtocol)
{
    SimulatedBench bench{SimulatorSettings{}};
    GaugeRegisterFile registers(bench.Gauge());
    OneWireChip chip;
    const std::array clocks{100'000, 400'000, 1'000'000};
    for (std::size_t clock = 0; clock < clocks.size(); ++clock)
        for (const int pec : {0, 1}) {
            SimulatedBus bus(clocks[clock], chip, registers);
            bus.Mute();
            bus.Start(0x16);
            for (int i = 0; i < GetParam().written + (GetParam().read == 0 ? pec : 0); ++i)
                bus.Write(0);
            if (GetParam().read > 0)
                bus.Start(0x17);
            std::uint8_t byte = 0;
            for (int i = 0; i < GetParam().read + (GetParam().read == 0 ? 0 : pec); ++i)
                bus.Read(byte);
            bus.Stop();
            EXPECT_NEAR(bus.Microseconds(), GetParam().us[clock][static_cast<std::size_t>(pec)], 0.0501);
        }
}

INSTANTIATE_TEST_SUITE_P(
    Operations, BusTimes,
    testing::Values(BusTime{"Command", 1, 0, {{{192.7, 282.7}, {47.5, 70.0}, {19.0, 28.0}}}},
                    BusTime{"WriteWord", 3, 0, {{{372.7, 462.7}, {92.5, 115.0}, {37.0, 46.0}}}},
                    BusTime{"ReadWord", 1, 2, {{{471.4, 561.4}, {116.2, 138.7}, {46.5, 55.5}}}},
                    BusTime{"ReadBlock32", 1, 33, {{{3261.4, 3351.4}, {813.7, 836.2}, {325.5, 334.5}}}},
                    BusTime{"WriteBlock32", 34, 0, {{{3162.7, 3252.7}, {790.0, 812.5}, {316.0, 325.0}}}},
                    BusTime{
                        "ReadBlock255", 1, 256, {{{23331.4, 23421.4}, {5831.2, 5853.7}, {2332.5, 2341.5}}}}),
    [](const auto& row) { return row.param.name; });

TEST(SimulatedAdapter, CountsTheBusTimeOfEachOperationSinceItsOpening)
{
    for (const bool pec : {false, true}) {
        AdapterOnClock gauge({.Pec = pec});
        EXPECT_EQ(gauge.Word(0x1A), pec ? 0x31 : 0x21);
        double before
            = gauge.adapter.Facts().BusMicroseconds; // that first one also settles the packet error check
        const auto spent = [&] {
            const double now = gauge.adapter.Facts().BusMicroseconds;
            return now - std::exchange(before, now);
        };
        gauge.Word(0x09);
        EXPECT_NEAR(spent(), pec ? 561.4 : 471.4, 0.05);
        gauge.Write(0x01, 400);
        EXPECT_NEAR(spent(), pec ? 462.7 : 372.7, 0.05);
        Bytes block;
        gauge.ReadBlock(0x20, block); // six letters
        EXPECT_NEAR(spent(), (pec ? 99 : 90) * 10 + 21.4, 0.05);
        gauge.adapter.AdpCloseDevice();
        QString name = QStringLiteral("Simulated");
        gauge.adapter.AdpOpenDevice(name);
        EXPECT_EQ(gauge.adapter.Facts().BusMicroseconds, 0);
    }
}

TEST(SimulatedAdapter, OpensOnceAndOnlyUnderItsOwnName)
{
    TestTime time;
    SimulatedAdapter adapter(time, {});
    std::int16_t word = 0;
    std::int16_t address = 0x16;
    EXPECT_EQ(adapter.AdpReadSMBusWord(9, word, address), ErrorCode::NoUsb);
    std::int32_t count = 0;
    QString names;
    adapter.AdpListFreeDevices(16, count, names);
    EXPECT_EQ(count, 1);
    QString other = QStringLiteral("dummy");
    EXPECT_EQ(adapter.AdpOpenDevice(other), -1);
    EXPECT_FALSE(adapter.Facts().Problem.isEmpty());
    EXPECT_NE(adapter.AdpOpenDevice(names), -1);
    EXPECT_EQ(adapter.AdpReadSMBusWord(9, word, address), ErrorCode::Ok);
    EXPECT_EQ(adapter.AdpOpenDevice(names), -1);
    adapter.AdpListFreeDevices(16, count, names);
    EXPECT_EQ(count, 0);
}

TEST(SimulatedAdapter, GivesTheSameBytesForTheSameSeedOnly)
{
    const auto record = [](std::uint64_t seed) {
        AdapterOnClock gauge(
            {.Seed = seed, .Faults = {.Kinds = {Fault::BitFlip, Fault::DataNack}, .RatePpm = 50'000}});
        std::vector<int> answers;
        std::int16_t line = 1;
        std::int16_t on = 1;
        gauge.adapter.AdpGPIOWrite(line, on);
        for (int pass = 0; pass < 50; ++pass) {
            for (int command = 0; command <= 0x1C; ++command)
                answers.push_back(gauge.Word(command));
            gauge.time.Advance(7300);
        }
        return answers;
    };
    EXPECT_EQ(record(5), record(5));
    EXPECT_NE(record(5), record(6));
}

TEST(SimulatedAdapter, TellsItsIdentityTextsAndSubcommands)
{
    AdapterOnClock gauge;
    for (const auto& [written, read] :
         {std::pair{1, 0x0800}, {2, 0x0102}, {7, 7}, {0x19, 14800}, {0, 0}, {0x1D, 0}}) {
        EXPECT_EQ(gauge.Write(0x00, written), ErrorCode::Ok);
        EXPECT_EQ(gauge.Word(0x00), read) << written;
    }
    Bytes block;
    for (const auto& [command, text] : {std::pair{0x20, "Tarnlo"}, {0x21, "SIM4S44"}, {0x22, "LION"}}) {
        ASSERT_EQ(gauge.ReadBlock(command, block), ErrorCode::Ok);
        EXPECT_EQ(std::string(block.begin(), block.end()), text);
    }
}

// A missing acknowledge of a write is known only after the transfer; of a read at once.
TEST(SimulatedAdapter, PostsTheMissingAcknowledgeOfAWriteForThePoll)
{
    AdapterOnClock gauge;
    std::int16_t command = 0x1D;
    int word = 0;
    EXPECT_EQ(gauge.Read(command, word), ErrorCode::NoAcknowledge);
    EXPECT_EQ(gauge.adapter.AdpGetLastError(), ErrorCode::Ok);
    EXPECT_EQ(gauge.adapter.AdpWriteSMBusCommand(command, gauge.address), ErrorCode::Ok);
    EXPECT_EQ(gauge.adapter.AdpGetLastError(), ErrorCode::NoAcknowledge);
    EXPECT_EQ(gauge.adapter.AdpGetLastError(), ErrorCode::Ok);
    EXPECT_EQ(gauge.Write(0x09, 1), ErrorCode::NoAcknowledge);
    gauge.address = 0x40; // nobody there
    EXPECT_EQ(gauge.Read(9, word), ErrorCode::NoAcknowledge);
    EXPECT_EQ(gauge.Write(1, 1), ErrorCode::NoAcknowledge);
    for (const int bad : {0x17, 256, -2}) {
        gauge.address = static_cast<std::int16_t>(bad);
        EXPECT_EQ(gauge.Read(9, word), ErrorCode::IncorrectParam);
    }
}

TEST(SimulatedAdapter, KeepsBytesInTheEeprom)
{
    AdapterOnClock part;
    std::int16_t address = 0xA0;
    std::int16_t reg = 0xFE;
    std::int16_t length = 3;
    EXPECT_EQ(part.adapter.AdpI2CWriteBlock(address, reg, {1, 2, 3}, length), ErrorCode::Ok);
    std::int16_t wrapped = 0;
    std::int16_t value = 0;
    EXPECT_EQ(part.adapter.AdpI2CFunction(2, address, wrapped, value), ErrorCode::Ok);
    EXPECT_EQ(value, 3); // ran on past the end
    value = 0x5A;
    EXPECT_EQ(part.adapter.AdpI2CFunction(1, address, wrapped, value), ErrorCode::Ok);
    Bytes bytes;
    EXPECT_EQ(part.adapter.AdpReadI2CBlockOnSMB(reg, bytes, length, address), ErrorCode::Ok);
    EXPECT_EQ(bytes, (Bytes{1, 2, 0x5A}));
    length = 2;
    EXPECT_EQ(part.adapter.AdpReadI2CBlockNoCmdOnSMB(bytes, length, address), ErrorCode::Ok);
    EXPECT_EQ(bytes, (Bytes{0xFF, 0xFF})); // goes on where the last read ended
    length = 0;
    EXPECT_EQ(part.adapter.AdpReadI2CBlockOnSMB(reg, bytes, length, address), ErrorCode::IncorrectParam);
}

namespace {

struct OneWireHost : AdapterOnClock {
    std::int32_t Get(std::int16_t mode, std::int32_t value = 0)
    {
        std::int16_t bits = OneWire::kBits;
        return Failed(adapter.AdpReadOneWire(mode, value, bits)) ? -1 : value;
    }
    void Send(const Bytes& bytes)
    {
        EXPECT_EQ(Get(OneWire::kReset), 1);
        for (const std::uint8_t byte : bytes)
            EXPECT_EQ(adapter.AdpWriteOneWire(OneWire::kWriteEightBits, byte, OneWire::kBits), ErrorCode::Ok);
    }
    Bytes Bits(int count)
    {
        Bytes bytes;
        for (int i = 0; i < count; ++i)
            bytes.push_back(static_cast<std::uint8_t>(Get(OneWire::kReadEightBits)));
        return bytes;
    }
};

} // namespace

TEST(SimulatedAdapter, CopiesTheOneWireScratchpadOnlyForWhoNamesItRight)
{
    OneWireHost host;
    host.Send({0xCC, 0x0F, 0x34, 0x00, 0xDE, 0xAD});
    host.Send({0xCC, 0xF0, 0x34, 0x00});
    EXPECT_EQ(host.Bits(2), (Bytes{0xFF, 0xFF})); // in the scratchpad, not yet in memory
    host.Send({0xCC, 0xAA});
    EXPECT_EQ(host.Bits(6), (Bytes{0x34, 0x00, 0x15, 0xDE, 0xAD, 0xFF}));
    host.Send({0xCC, 0x55, 0x34, 0x00, 0x14});
    EXPECT_EQ(host.Bits(1), Bytes{0xFF});
    host.Send({0xCC, 0x55, 0x34, 0x00, 0x15});
    EXPECT_EQ(host.Bits(1), Bytes{0xAA});
    host.Send({0xCC, 0xF0, 0x33, 0x00});
    EXPECT_EQ(host.Bits(4), (Bytes{0xFF, 0xDE, 0xAD, 0xFF}));
    host.Send({0xCC, 0xF0, 0xFF, 0x00});
    EXPECT_EQ(host.Bits(3), (Bytes{0xFF, 0xFF, 0xFF})); // past the end
    host.Send({0x33, 0xF0, 0x34, 0x00}); // a ROM command that the part does not have
    EXPECT_EQ(host.Bits(1), Bytes{0xFF});
}

// One gauge behind three buses: what the bytes say must be what the words say.
TEST(SimulatedAdapter, ShowsTheGaugesWordsAsRegistersOnEveryBus)
{
    OneWireHost host;
    for (int command = 0; command <= 0x1C; ++command) {
        const int word = host.Word(command);
        const int low = 2 * command;
        EXPECT_EQ(host.Get(OneWire::kReadTwoBytes, low), word);
        EXPECT_EQ(host.Get(OneWire::kReadPlainByte, low) | host.Get(OneWire::kReadPlainByte, low + 1) << 8,
                  word);
        const std::int32_t frames = host.Get(OneWire::kReadTwoBytes, low | OneWire::kFramed);
        EXPECT_EQ(frames & 0x80601, 0x80200) << "start bits clear, stop bits set";
        EXPECT_EQ((frames >> 1 & 0xFF) | (frames >> 11 & 0xFF) << 8, word);
        EXPECT_EQ(host.Get(OneWire::kReadFrame, low | OneWire::kFramed), (word & 0xFF) << 1 | 0x200);
        auto reg = static_cast<std::int16_t>(low);
        std::int16_t address = 0xAA;
        std::int16_t length = 2;
        Bytes bytes;
        EXPECT_EQ(host.adapter.AdpI2CReadBlock(address, reg, bytes, length), ErrorCode::Ok);
        EXPECT_EQ(bytes.at(0) | bytes.at(1) << 8, word);
    }
    EXPECT_EQ(host.adapter.AdpWriteOneWire(OneWire::kWriteRegister, 0 * 256 + 0x18, OneWire::kBits),
              ErrorCode::Ok);
    EXPECT_EQ(host.Get(OneWire::kReadTwoBytes, 0), 4400); // one byte alone is a subcommand
    std::int16_t reg = 2;
    std::int16_t address = 0xAA;
    std::int16_t length = 2;
    EXPECT_EQ(host.adapter.AdpI2CWriteBlock(address, reg, {0x34, 0x12}, length), ErrorCode::Ok);
    EXPECT_EQ(host.Word(0x01), 0x1234);
    EXPECT_EQ(host.Get(OneWire::kReadPlainByte, 128), -1);
}

class Lines : public testing::TestWithParam<bool> { }; // one-pin wiring

TEST_P(Lines, ChargeThenDischargeThenReleaseThePack)
{
    AdapterOnClock gauge;
    std::int16_t none = 0;
    const auto drive = [&](bool charge) {
        if (GetParam()) {
            auto level = static_cast<std::int16_t>(charge ? 1 : 0);
            EXPECT_EQ(gauge.adapter.AdpI2CFunction(0, level, none, none), ErrorCode::Ok);
            return;
        }
        for (std::int16_t line : {std::int16_t{0}, std::int16_t{1}}) {
            auto level = static_cast<std::int16_t>((line == 0) == charge ? 1 : 0);
            EXPECT_EQ(gauge.adapter.AdpGPIOWrite(line, level), ErrorCode::Ok);
        }
    };
    const auto after = [&](int seconds, int command) {
        gauge.time.Advance(seconds * 1000);
        return static_cast<std::int16_t>(gauge.Word(command));
    };
    EXPECT_NEAR(after(60, 0x0A), -2, 1);
    const int start = after(0, 0x0F);
    drive(true);
    EXPECT_GT(after(60, 0x0A), 2000);
    EXPECT_GT(after(600, 0x0F), start + 300);
    drive(false);
    EXPECT_LT(after(60, 0x0A), -2000);
    EXPECT_LT(after(1200, 0x0F), start);
    std::int16_t release = 0;
    EXPECT_EQ(gauge.adapter.AdpI2CFunction(3, release, none, none), ErrorCode::Ok);
    EXPECT_NEAR(after(60, 0x0A), -2, 1);
    std::int16_t line = 2;
    EXPECT_EQ(gauge.adapter.AdpGPIOWrite(line, release), ErrorCode::IncorrectParam);
}

INSTANTIATE_TEST_SUITE_P(Wirings, Lines, testing::Bool());

// An operation started by an event must not spoil the one that let the event run.
TEST(SimulatedAdapter, QueuesNestedOperationsBehindTheRunningOne)
{
    AdapterOnClock gauge({.Faults = {.Reentry = true}});
    gauge.Word(0x1A);
    int nested = 0;
    gauge.time.onEvents = [&] {
        ++nested;
        EXPECT_EQ(gauge.Word(0x19), 14800);
    };
    EXPECT_EQ(gauge.Word(0x18), 4400);
    EXPECT_GE(nested, 6); // once for each byte on the wire
    EXPECT_EQ(gauge.Write(0x1D, 0), ErrorCode::NoAcknowledge); // although reads went well in between
    EXPECT_EQ(gauge.Write(0x01, 77), ErrorCode::Ok);
    gauge.time.onEvents = [&] { EXPECT_EQ(gauge.Write(0x1D, 0), ErrorCode::NoAcknowledge); };
    EXPECT_EQ(gauge.Write(0x01, 78), ErrorCode::Ok);
    gauge.time.onEvents = {};
    EXPECT_EQ(gauge.Word(0x01), 78);
    const std::int64_t before = gauge.time.MonotonicMs();
    gauge.adapter.AdpDelay(250);
    EXPECT_EQ(gauge.time.MonotonicMs() - before, 250);
}
