#include "sbs/RegisterReader.h"

#include "tests/sbs/FakeGauge.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

namespace {

class Bench {
public:
    FakeGauge gauge;
    TestTime time;
    RecordedMessages messages;
    frmUSB usb{gauge, time, messages, {}};
    StartupState state;
    TargetSettings target{.VxMAC = 0x1240, .TgtAddr = 170};
    RegisterReader reader{usb, state, target};
    Bench()
    {
        gauge.words[0x0A] = 0xF234;
        gauge.words[0x0B] = 0xF2;
        gauge.words[0x40] = 0xF234;
        gauge.words[0x41] = 0xF2;
    }
};

constexpr RawValue kByte = 0x34;
constexpr RawValue kWord = -3532; // F234: both bytes count, low byte first, and the sign shows

struct StyleCase {
    const char* name;
    int style;
    RawValue raw;
    const char* calls; ///< of a read, " / " between them
    const char* writes; ///< of a write of the same raw value
};

QString Joined(const QStringList& calls)
{
    return calls.join(QStringLiteral(" / "))
        .replace(QStringLiteral("AdpGetLastError []"), QStringLiteral("poll"));
}

class EachStyle : public testing::TestWithParam<StyleCase> { };

} // namespace

TEST_P(EachStyle, ReadsAndWritesWithTheTransfersOfItsBus)
{
    Bench bench;
    RawValue raw = 0;
    EXPECT_EQ(bench.reader.Read(static_cast<ReadStyle>(GetParam().style), 0x0A, raw), ErrorCode::Ok);
    EXPECT_EQ(raw, GetParam().raw);
    EXPECT_EQ(Joined(bench.gauge.calls), QString::fromLatin1(GetParam().calls));

    bench.gauge.calls.clear();
    EXPECT_EQ(bench.reader.Write(static_cast<ReadStyle>(GetParam().style), 0x0A, raw), ErrorCode::Ok);
    EXPECT_EQ(Joined(bench.gauge.calls), QString::fromLatin1(GetParam().writes));
}

// Half a sequence must not go on, and its answer must not become a value.
TEST_P(EachStyle, EndsAtTheStepThatFailed)
{
    for (bool write : {false, true}) {
        int steps = 1;
        for (int failAt = 1; failAt <= steps; ++failAt) {
            Bench bench;
            const auto run = [&](RawValue& raw) {
                const auto style = static_cast<ReadStyle>(GetParam().style);
                return write ? bench.reader.Write(style, 0x0A, raw) : bench.reader.Read(style, 0x0A, raw);
            };
            RawValue raw = 77;
            ASSERT_EQ(run(raw), ErrorCode::Ok);
            steps = static_cast<int>(bench.gauge.calls.size());
            if (bench.gauge.calls[failAt - 1].startsWith(QStringLiteral("AdpDelay")))
                continue; // the pause gives no answer that could fail
            bench.gauge.calls.clear();
            bench.gauge.failAt = failAt;
            raw = 77;
            EXPECT_EQ(run(raw), ErrorCode::NoAcknowledge);
            EXPECT_EQ(bench.gauge.calls.size(), failAt);
            EXPECT_EQ(raw, 77);
        }
    }
}

#define SMB_SUB(word) "AdpWriteSMBusWord [64," word ",170] / poll"
#define I2CSMB_SUB(bytes) "AdpWriteI2CBlockOnSMB [64,\"" bytes "\",2,170] / poll"
#define I2CSMB_GET "AdpReadI2CBlockOnSMB [64,1,170] / AdpReadI2CBlockOnSMB [65,1,170]"
#define I2C_SUB(bytes) "AdpI2CWriteBlock [170,64,\"" bytes "\",2] / poll"
#define I2C_GET "AdpI2CReadBlock [170,64,1] / AdpI2CReadBlock [170,65,1]"
#define WIRE(first, second) "AdpWriteOneWire [6," first ",8] / AdpWriteOneWire [6," second ",8]"
#define PAUSE "AdpDelay [66] / poll"
#define THEN " / "
#define SUBCOMMAND(write, get, open, row, close)                                                             \
    write(open) THEN get THEN write(row)                                                                     \
    THEN get THEN write(close)

INSTANTIATE_TEST_SUITE_P(
    Styles, EachStyle,
    testing::Values(
        StyleCase{"SMBusWord", 1, kWord, "AdpReadSMBusWord [10,22]",
                  "AdpWriteSMBusWord [10,-3532,22] / poll" THEN PAUSE},
        StyleCase{"SMBusSubcommand", 2, kWord,
                  SUBCOMMAND(SMB_SUB, "AdpReadSMBusWord [64,170]", "7", "10", "0"),
                  "AdpWriteSMBusWord [10,-3532,170] / poll" THEN PAUSE},
        StyleCase{"I2COnSMBByte", 3, kByte, "AdpReadI2CBlockOnSMB [10,1,22]",
                  "AdpWriteI2CBlockOnSMB [10,\"34\",1,22] / poll" THEN PAUSE},
        StyleCase{"I2COnSMBWord", 4, kWord, "AdpReadI2CBlockOnSMB [10,1,22] / AdpReadI2CBlockOnSMB [11,1,22]",
                  "AdpWriteI2CBlockOnSMB [10,\"34F2\",2,22] / poll" THEN PAUSE},
        StyleCase{"I2COnSMBSubcommand", 5, kWord, SUBCOMMAND(I2CSMB_SUB, I2CSMB_GET, "0700", "0A00", "0000"),
                  "AdpWriteI2CBlockOnSMB [10,\"34F2\",2,170] / poll" THEN PAUSE},
        StyleCase{"FramedByte", 6, kByte, "AdpReadOneWire [8,65546,8]",
                  "AdpWriteOneWire [6,68148,8]" THEN PAUSE},
        StyleCase{"FramedWord", 7, kWord, "AdpReadOneWire [2,65546,8]", WIRE("68148", "68594") THEN PAUSE},
        StyleCase{"FramedSubcommand", 8, kWord,
                  WIRE("81927", "82176") THEN "AdpReadOneWire [2,65600,8]" THEN WIRE("81930", "82176") THEN
                  "AdpReadOneWire [2,65600,8]" THEN WIRE("81920", "82176"),
                  WIRE("68148", "68594") THEN PAUSE},
        StyleCase{"PlainByte", 9, kByte, "AdpReadOneWire [1,10,8]", "AdpWriteOneWire [6,2612,8]" THEN PAUSE},
        StyleCase{"PlainWord", 10, kWord, "AdpReadOneWire [2,10,8]", WIRE("2612", "3058") THEN PAUSE},
        StyleCase{"PlainSubcommand", 11, kWord,
                  WIRE("16391", "16640") THEN "AdpReadOneWire [2,64,8]" THEN WIRE("16394", "16640") THEN
                  "AdpReadOneWire [2,64,8]" THEN WIRE("16384", "16640"),
                  WIRE("2612", "3058") THEN PAUSE},
        StyleCase{"I2CByte", 12, kByte, "AdpI2CReadBlock [22,10,1]",
                  "AdpI2CWriteBlock [22,10,\"34\",1] / poll" THEN PAUSE},
        StyleCase{"I2CWord", 13, kWord, "AdpI2CReadBlock [22,10,1] / AdpI2CReadBlock [22,11,1]",
                  "AdpI2CWriteBlock [22,10,\"34F2\",2] / poll" THEN PAUSE},
        StyleCase{"I2CSubcommand", 14, kWord, SUBCOMMAND(I2C_SUB, I2C_GET, "0700", "0A00", "0000"),
                  "AdpI2CWriteBlock [170,10,\"34F2\",2] / poll" THEN PAUSE}),
    [](const auto& row) { return row.param.name; });

// A line held low or high, or a byte out of step, must not pass for a value.
TEST(RegisterReader, RefusesFramesWithoutStartOrStopBit)
{
    for (std::int32_t frames : {0x00000, 0xFFFFF, 0x00069, 0x80269 & 0x7FFFF}) {
        Bench bench;
        bench.gauge.frames = frames;
        RawValue raw = 77;
        EXPECT_EQ(bench.reader.Read(ReadStyle::FramedWord, 0x0A, raw), ErrorCode::InvalidData);
        EXPECT_EQ(raw, 77);
    }
}

TEST(RegisterReader, SendsNothingForStylesWithoutABusAndBytesThatDoNotFit)
{
    Bench bench;
    RawValue raw = 0;
    for (int style : {-1, 0, 15}) {
        EXPECT_EQ(bench.reader.Read(static_cast<ReadStyle>(style), 1, raw), ErrorCode::IncorrectParam);
        EXPECT_EQ(bench.reader.Write(static_cast<ReadStyle>(style), 1, raw), ErrorCode::IncorrectParam);
    }
    EXPECT_EQ(bench.reader.Write(ReadStyle::I2CByte, 1, 256), ErrorCode::IncorrectParam);
    EXPECT_TRUE(bench.gauge.calls.isEmpty());
}
