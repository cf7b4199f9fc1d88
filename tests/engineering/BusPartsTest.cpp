// Scan and EEPROM on the simulated bus.
#include "comm/BusSequence.h"
#include "engineering/BusScan.h"
#include "engineering/EepromTransfer.h"

#include "tests/engineering/EngineeringBench.h"

#include <gtest/gtest.h>

namespace {

QString Found(const BusScan::Result& result, ScannedAddress::State state)
{
    QStringList found;
    for (const ScannedAddress& scanned : result.Addresses)
        if (scanned.Found == state)
            found << QString::number(scanned.Address, 16);
    return found.join(QLatin1Char(' '));
}

TEST(BusScan, FindsThePartsWithoutWritingAndLeavesOutWhatIsAtRisk)
{
    EngineeringBench bench;
    BusScan scan(bench.usb, bench.access, 0x16);
    const auto all = [](const ScannedAddress&, int, int) { return true; };
    bench.failAt = 1; // a disturbed bus says nothing about a part: asked again
    bench.fault = ErrorCode::T2hTimeout;
    const BusScan::Result result = scan.Run(false, {}, all);
    EXPECT_EQ(Found(result, ScannedAddress::State::Present), QStringLiteral("16 92 a0 aa"));
    EXPECT_EQ(Found(result, ScannedAddress::State::Failed), QString());
    EXPECT_EQ(Found(result, ScannedAddress::State::LeftOut),
              QStringLiteral("60 62 64 66 68 6a 6c 6e d0 d2 d4 d6 d8 da dc de"));
    EXPECT_EQ(bench.calls.filter(QStringLiteral("Write")).size(), 0);
    EXPECT_EQ(Found(scan.Run(true, {}, all), ScannedAddress::State::LeftOut), QString());
    EXPECT_FALSE(BusSequence::Running());
}

TEST(BusScan, EndsAtACancelAndAtAnAdapterThatCannot)
{
    EngineeringBench bench;
    BusScan scan(bench.usb, bench.access, 0x16);
    BusScan::Result result
        = scan.Run(false, {}, [](const ScannedAddress&, int done, int) { return done < 5; });
    EXPECT_TRUE(result.Cancelled);
    EXPECT_EQ(bench.calls.size(), 5);
    bench.functions = QStringList{QStringLiteral("word")};
    bench.failAt = 6;
    bench.fault = ErrorCode::IncorrectParam;
    result = scan.Run(false, {}, [](const ScannedAddress&, int, int) { return true; });
    EXPECT_TRUE(result.Problem.contains(QStringLiteral("it offers: word"))) << result.Problem.toStdString();
}

struct EepromTest : testing::Test {
    EngineeringBench bench;
    EepromTransfer transfer{bench.usb, bench.access, bench.time};
    EepromPart part;
    Bytes bytes;
    EepromTransfer::Progress all = [](int, int) { return true; };

    EepromTest()
    {
        for (int i = 0; i < 256; ++i)
            bytes.push_back(static_cast<std::uint8_t>(i * 7 + 3));
    }
    void Poke(int place, std::uint8_t value)
    {
        ErrorCode err = ErrorCode::Ok;
        bench.usb.EEWriteByte(static_cast<std::int16_t>(place), value, err);
    }
};

TEST_F(EepromTest, LoadsVerifiesAndReadsBack)
{
    const EepromResult loaded = transfer.Load(part, bytes, {}, all);
    EXPECT_EQ(loaded.Code, ErrorCode::Ok) << loaded.Text.toStdString();
    EXPECT_EQ(bench.Calls("AdpI2CWriteBlock"), 32);
    EXPECT_EQ(bench.time.MonotonicMs(), 32 * part.WriteMs); // a part that writes is left alone
    EXPECT_EQ(transfer.Read(part, {}, all).Data, bytes);
    EXPECT_FALSE(GaugeAccess::Held());
}

TEST_F(EepromTest, VerifyFindsEachWrongByte)
{
    ASSERT_EQ(transfer.Load(part, bytes, {}, all).Code, ErrorCode::Ok);
    for (const int place : {0, 31, 32, 255}) {
        Poke(place, static_cast<std::uint8_t>(bytes[static_cast<std::size_t>(place)] ^ 1));
        const EepromResult result = transfer.Verify(part, bytes, {}, all);
        EXPECT_EQ(result.Code, ErrorCode::CompareDifferent);
        EXPECT_EQ(result.FirstWrong, place);
        EXPECT_EQ(result.Wrong, 1);
        Poke(place, bytes[static_cast<std::size_t>(place)]);
    }
    EXPECT_EQ(transfer.Verify(part, bytes, {}, all).Code, ErrorCode::Ok);
}

TEST_F(EepromTest, ALoadThatTheBusSwallowsIsFoundOut)
{
    SimulatorSettings lying;
    lying.Faults.Scheduled = {{3, Fault::LyingWrite}};
    EngineeringBench other(lying);
    EepromTransfer load(other.usb, other.access, other.time);
    const EepromResult result = load.Load(part, bytes, {}, all);
    EXPECT_EQ(result.Code, ErrorCode::CompareDifferent) << result.Text.toStdString();
    EXPECT_EQ(result.Wrong, 8); // the third page
    EXPECT_EQ(result.FirstWrong, 16);
}

TEST_F(EepromTest, TriesADisturbedTransferAgainAndSaysHowFarItCame)
{
    bench.failAt = 3;
    EXPECT_EQ(transfer.Load(part, bytes, {}, all).Code, ErrorCode::Ok);
    bench.onCall
        = [this] { bench.failAt = static_cast<int>(bench.calls.size()) + 1; }; // fails for good from here on
    bench.failAt = 0;
    EepromResult result = transfer.Load(part, bytes, {}, all);
    EXPECT_EQ(result.Code, ErrorCode::NoAcknowledge);
    EXPECT_TRUE(result.Text.startsWith(QStringLiteral("0 of 256 bytes were written")))
        << result.Text.toStdString();
    bench.onCall = {};
    result = transfer.Load(part, bytes, {}, [](int done, int) { return done < 64; });
    EXPECT_EQ(result.Code, ErrorCode::UserCancelled);
    EXPECT_EQ(result.Written, 64);
    EXPECT_FALSE(BusSequence::Running());
}

TEST_F(EepromTest, RefusesWhatDoesNotFitAndStaysInsidePagesAndBanks)
{
    bytes.push_back(0);
    EXPECT_EQ(transfer.Load(part, bytes, {}, all).Code, ErrorCode::IncorrectParam);
    EXPECT_EQ(bench.calls.size(), 0);
    bench.failAt = -1;
    part = {0xA0, 512, 16, 0};
    bytes.assign(300, 5);
    bench.onCall = [this] { bench.failAt = 0; };
    (void)transfer.Load(part, bytes, {}, all); // the second bank is not there: 772 after three tries
    EXPECT_EQ(bench.Calls("AdpI2CWriteBlock \\[160,"), 16);
    EXPECT_EQ(bench.Calls("AdpI2CWriteBlock \\[162,0,"), 3);
}

TEST(HexDump, ShowsPlaceBytesAndCharacters)
{
    EXPECT_EQ(HexDump({0x41, 0x00, 0x7E}, 0x10),
              QStringLiteral("0010  41 00 7E ") + QString(40, QLatin1Char(' ')) + QStringLiteral(" A.~\n"));
}

} // namespace
