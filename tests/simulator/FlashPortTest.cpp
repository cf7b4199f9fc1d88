// The data flash from the bus side: which commands answer in which style, what a write leaves, and how long
// the gauge is deaf after it.

#include "simulator/FlashKeeper.h"
#include "tests/simulator/AdapterFixture.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

struct FlashOnBus : AdapterOnClock {
    explicit FlashOnBus(const SimulatorSettings& settings = {}) : AdapterOnClock(settings) { }
    ErrorCode WriteBlock(int cmd, const Bytes& block)
    {
        auto command = static_cast<std::int16_t>(cmd);
        auto length = static_cast<std::int16_t>(block.size());
        const ErrorCode err = adapter.AdpWriteSMBusBlock(command, block, length, address);
        return Failed(err) ? err : adapter.AdpGetLastError();
    }
    Bytes Block(int cmd)
    {
        Bytes block;
        return Failed(ReadBlock(cmd, block)) ? Bytes() : block;
    }
    GaugeFlash& Flash() { return adapter.Bench().Flash(); }
    Bytes Held(std::uint16_t id, int offset, int count) { return Flash().Copy(id, offset, count); }
};

constexpr int kNotes = 24; // 128 bytes
const Bytes kFew{1, 2, 3, 4};

} // namespace

TEST(FlashPort, PagesFollowTheSelectedSubclass)
{
    FlashOnBus bus;
    EXPECT_TRUE(bus.Block(0x78).empty()) << "nothing is selected";
    ASSERT_EQ(bus.Write(0x77, 18), ErrorCode::Ok); // 8 bytes
    EXPECT_EQ(bus.Block(0x78).size(), 32U) << "a page is a row, the rest of it erased";
    EXPECT_EQ(bus.Block(0x78)[8], 0xFF);
    EXPECT_TRUE(bus.Block(0x79).empty());
    ASSERT_EQ(bus.Write(0x77, kNotes), ErrorCode::Ok);
    EXPECT_EQ(bus.Word(0x77), kNotes);
    EXPECT_EQ(bus.Block(0x7B).size(), 32U);
    EXPECT_TRUE(bus.Block(0x7C).empty());
    ASSERT_EQ(bus.WriteBlock(0x7B, Bytes(32, 0x5A)), ErrorCode::Ok);
    EXPECT_EQ(bus.Held(kNotes, 96, 32), Bytes(32, 0x5A));
    EXPECT_EQ(bus.Held(kNotes, 95, 1), Bytes(1, 0));
    ASSERT_EQ(bus.Write(0x77, 15), ErrorCode::NoAcknowledge) << "still busy";
    bus.time.Advance(40);
    ASSERT_EQ(bus.Write(0x77, 15), ErrorCode::Ok);
    EXPECT_TRUE(bus.Block(0x78).empty()) << "there is no subclass 15";
}

TEST(FlashPort, IsDeafToEverythingWhileItPrograms)
{
    FlashOnBus bus({.FlashRowTime = 25});
    ASSERT_EQ(bus.Write(0x77, kNotes), ErrorCode::Ok);
    ASSERT_EQ(bus.WriteBlock(0x78, Bytes(32, 1)), ErrorCode::Ok);
    bus.time.Advance(24);
    EXPECT_EQ(bus.Word(0x19), -1);
    Bytes byte;
    std::int16_t length = 1;
    std::int16_t registers = 0xAA;
    EXPECT_EQ(bus.adapter.AdpReadI2CBlockOnSMB(0, byte, length, registers), ErrorCode::NoAcknowledge);
    bus.time.Advance(1);
    EXPECT_EQ(bus.Word(0x19), 14800);
}

TEST(FlashPort, WrongSizesAndChecksChangeNothing)
{
    for (const bool pec : {true, false}) {
        FlashOnBus bus({.Pec = pec});
        ASSERT_EQ(bus.Write(0x77, kNotes), ErrorCode::Ok);
        const Bytes before = bus.Held(kNotes, 0, 128);
        EXPECT_EQ(bus.WriteBlock(0x78, Bytes(33, 0)), ErrorCode::Ok) << "known only to the gauge";
        EXPECT_EQ(bus.Word(0x16) & 0xF, 6) << "wrong size";
        EXPECT_EQ(bus.Held(kNotes, 0, 128), before);
        EXPECT_EQ(bus.WriteBlock(0x40, kFew), ErrorCode::NoAcknowledge);
        EXPECT_EQ(bus.WriteBlock(0x78, kFew), ErrorCode::Ok) << "a part of a page is one, too";
        EXPECT_EQ(bus.Held(kNotes, 0, 4), kFew);
        EXPECT_EQ(bus.Held(kNotes, 4, 124), Bytes(before.begin() + 4, before.end()));
    }
    FlashOnBus spoilt({.Faults = {.Scheduled = {{3, Fault::BadPec}}}});
    ASSERT_EQ(spoilt.Write(0x77, kNotes), ErrorCode::Ok);
    const Bytes before = spoilt.Held(kNotes, 0, 128);
    EXPECT_EQ(spoilt.WriteBlock(0x78, kFew), ErrorCode::NoAcknowledge);
    EXPECT_EQ(spoilt.Held(kNotes, 0, 128), before);
}

// A write that breaks off is thrown away by the check; without one the gauge programs what it heard.
TEST(FlashPort, ABrokenWriteTearsAPageOnlyWithoutTheCheck)
{
    for (const bool pec : {true, false}) {
        int torn = 0;
        for (std::uint64_t seed = 1; seed <= 20; ++seed) {
            FlashOnBus bus(
                {.Seed = seed, .Pec = pec, .Faults = {.Scheduled = {{pec ? 3 : 4, Fault::PartialWrite}}}});
            ASSERT_EQ(bus.Write(0x77, kNotes), ErrorCode::Ok);
            const Bytes before = bus.Held(kNotes, 0, 32);
            ASSERT_EQ(bus.WriteBlock(0x78, Bytes(32, 0xEE)), ErrorCode::Ok) << "it lies";
            const Bytes after = bus.Held(kNotes, 0, 32);
            torn += after != before && after != Bytes(32, 0xEE) ? 1 : 0;
        }
        EXPECT_EQ(torn > 0, !pec);
    }
}

TEST(FlashPort, ModeBytesAndChunksReachTheSameBytes)
{
    FlashOnBus bus({.FlashRowTime = 0});
    EXPECT_TRUE(bus.Block(0x63).empty()) << "no transfer mode";
    for (const auto& [mode, offset] : {std::pair{1, 8}, {4, 2}}) {
        ASSERT_EQ(bus.Write(0x60, mode), ErrorCode::Ok);
        ASSERT_EQ(bus.Write(0x61, kNotes), ErrorCode::Ok);
        ASSERT_EQ(bus.Write(0x62, offset), ErrorCode::Ok);
        EXPECT_EQ(bus.Block(0x63), bus.Held(kNotes, 8, 32)) << mode;
        ASSERT_EQ(bus.WriteBlock(0x63, {static_cast<std::uint8_t>(mode), 9}), ErrorCode::Ok);
        EXPECT_EQ(bus.Held(kNotes, 8, 2), (Bytes{static_cast<std::uint8_t>(mode), 9}));
        ASSERT_EQ(bus.Write(0x60, 0), ErrorCode::Ok);
        EXPECT_TRUE(bus.Block(0x63).empty());
    }
    for (const auto& [unit, offset] : {std::pair{1, 120}, {8, 15}}) {
        ASSERT_EQ(
            bus.WriteBlock(
                0x64, {static_cast<std::uint8_t>(unit), 0, kNotes, 0, static_cast<std::uint8_t>(offset), 32}),
            ErrorCode::Ok);
        EXPECT_EQ(bus.Block(0x65).size(), 8U) << "to the subclass's end";
        ASSERT_EQ(bus.WriteBlock(0x65, {7, static_cast<std::uint8_t>(unit)}), ErrorCode::Ok);
        EXPECT_EQ(bus.Held(kNotes, 120, 2), (Bytes{7, static_cast<std::uint8_t>(unit)}));
    }
    EXPECT_EQ(bus.WriteBlock(0x64, kFew), ErrorCode::Ok);
    EXPECT_EQ(bus.Word(0x16) & 0xF, 6) << "an address is six bytes";
}

TEST(FlashPort, RowsTakeThePlaceOfPages)
{
    FlashOnBus bus({.DataFlashStyle = 6, .FlashRowTime = 0});
    EXPECT_EQ(bus.Write(0x77, kNotes), ErrorCode::Ok);
    EXPECT_EQ(bus.Word(0x16) & 0xF, 6) << "here it is the last row, which takes blocks";
    const Bytes last = bus.Block(0x77);
    EXPECT_EQ(last, Bytes(bus.Flash().Data().end() - 64, bus.Flash().Data().end()));
    ASSERT_EQ(bus.WriteBlock(0x58, Bytes(64, 0x11)), ErrorCode::Ok);
    EXPECT_EQ(bus.Held(1, 0, 20), Bytes(20, 0x11));
    EXPECT_TRUE(bus.Block(0x78).empty());
}

// What the gauge says of itself is what its data flash holds.
TEST(FlashPort, TheGaugeLooksAtItsConstantsAgain)
{
    FlashOnBus bus({.Seed = 0x12345, .FlashRowTime = 0});
    EXPECT_EQ(bus.Word(0x1C), 0x2345);
    EXPECT_EQ(bus.Block(0x20), (Bytes{'T', 'a', 'r', 'n', 'l', 'o'}));
    ASSERT_EQ(bus.Write(0x77, 16), ErrorCode::Ok);
    Bytes page = bus.Block(0x78);
    page[0] = 2;
    page[12] = 3;
    page[29] = 0x11;
    page[31] = 0x22;
    ASSERT_EQ(bus.WriteBlock(0x78, page), ErrorCode::Ok);
    EXPECT_EQ(bus.Block(0x20), (Bytes{'T', 'a'}));
    EXPECT_EQ(bus.Block(0x21), (Bytes{'S', 'I', 'M'}));
    EXPECT_EQ(bus.Word(0x1B), 0x116E);
    EXPECT_EQ(bus.Word(0x1C), 0x2245);
    page = bus.Block(0x79);
    page[1] = 0x08; // design capacity 2096
    page[2] = 0x30;
    page[5] = 0x38; // design voltage 14400
    page[6] = 0x40;
    ASSERT_EQ(bus.WriteBlock(0x79, page), ErrorCode::Ok);
    EXPECT_EQ(bus.Word(0x18), 2096);
    EXPECT_EQ(bus.Word(0x19), 14400);
    ASSERT_EQ(bus.WriteBlock(0x79, Bytes(32, 0)), ErrorCode::Ok) << "nothing may be divided by it";
    EXPECT_GE(bus.Word(0x0E), 0);
}

TEST(FlashKeeper, KeepsTheFlashAcrossRunsAndLeavesOtherFilesAlone)
{
    const QTemporaryDir folder;
    const SimulatorSettings settings{.FlashFile = folder.filePath(QStringLiteral("flash.bin"))};
    {
        FlashOnBus bus(settings);
        EXPECT_FALSE(QFile::exists(settings.FlashFile)) << "nothing changed yet";
        ASSERT_EQ(bus.Write(0x77, kNotes), ErrorCode::Ok);
        ASSERT_EQ(bus.WriteBlock(0x78, kFew), ErrorCode::Ok);
        EXPECT_EQ(QFile(settings.FlashFile).size(), 2048 + 0x8000) << "kept at once, not at the end";
    }
    FlashOnBus again(settings);
    EXPECT_EQ(again.Held(kNotes, 0, 4), kFew);
    EXPECT_EQ(again.adapter.Facts().Problem, QString());
    QFile file(settings.FlashFile);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("somebody's letter");
    file.close();
    FlashOnBus other(settings);
    EXPECT_TRUE(other.adapter.Facts().Problem.contains(settings.FlashFile));
    ASSERT_EQ(other.Write(0x77, kNotes), ErrorCode::Ok);
    ASSERT_EQ(other.WriteBlock(0x78, kFew), ErrorCode::Ok);
    EXPECT_EQ(file.size(), 17);
}
