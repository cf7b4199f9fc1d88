#include "sbs/RegisterReader.h"

#include "tests/sbs/FakeGauge.h"
#include "tests/support/TestSupport.h"

#include <QRegularExpression>

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
    const char* calls; ///< of a read
    const char* writes; ///< of a write of the same raw value, without the pause
};

/// The calls in short: without "Adp", "Block" and "Word", polls as "!".
QString Joined(const QStringList& calls)
{
    static const QRegularExpression noise(QStringLiteral("Adp|Block|Word|Bus|Wire|\""));
    QStringList shortened;
    for (const QString& call : calls)
        shortened << (call.startsWith(QStringLiteral("AdpGet")) ? QStringLiteral("!")
                                                                : QString(call).remove(noise));
    return shortened.join(u' ');
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
    EXPECT_EQ(Joined(bench.gauge.calls),
              QString::fromLatin1(GetParam().writes) + QStringLiteral(" Delay [66] !"));
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

INSTANTIATE_TEST_SUITE_P(
    Styles, EachStyle,
    testing::Values(
        StyleCase{"SMBusWord", 1, kWord, "ReadSM [10,22]", "WriteSM [10,-3532,22] !"},
        StyleCase{
            "SMBusSubcommand", 2, kWord,
            "WriteSM [64,7,170] ! ReadSM [64,170] WriteSM [64,10,170] ! ReadSM [64,170] WriteSM [64,0,170] !",
            "WriteSM [10,-3532,170] !"},
        StyleCase{"I2COnSMBByte", 3, kByte, "ReadI2COnSMB [10,1,22]", "WriteI2COnSMB [10,34,1,22] !"},
        StyleCase{"I2COnSMBWord", 4, kWord, "ReadI2COnSMB [10,1,22] ReadI2COnSMB [11,1,22]",
                  "WriteI2COnSMB [10,34F2,2,22] !"},
        StyleCase{"I2COnSMBSubcommand", 5, kWord,
                  "WriteI2COnSMB [64,0700,2,170] ! ReadI2COnSMB [64,1,170] ReadI2COnSMB [65,1,170] "
                  "WriteI2COnSMB [64,0A00,2,170] ! ReadI2COnSMB [64,1,170] ReadI2COnSMB [65,1,170] "
                  "WriteI2COnSMB [64,0000,2,170] !",
                  "WriteI2COnSMB [10,34F2,2,170] !"},
        StyleCase{"FramedByte", 6, kByte, "ReadOne [8,65546,8]", "WriteOne [6,68148,8]"},
        StyleCase{"FramedWord", 7, kWord, "ReadOne [2,65546,8]", "WriteOne [6,68148,8] WriteOne [6,68594,8]"},
        StyleCase{"FramedSubcommand", 8, kWord,
                  "WriteOne [6,81927,8] WriteOne [6,82176,8] ReadOne [2,65600,8] WriteOne [6,81930,8] "
                  "WriteOne [6,82176,8] ReadOne [2,65600,8] WriteOne [6,81920,8] WriteOne [6,82176,8]",
                  "WriteOne [6,68148,8] WriteOne [6,68594,8]"},
        StyleCase{"PlainByte", 9, kByte, "ReadOne [1,10,8]", "WriteOne [6,2612,8]"},
        StyleCase{"PlainWord", 10, kWord, "ReadOne [2,10,8]", "WriteOne [6,2612,8] WriteOne [6,3058,8]"},
        StyleCase{"PlainSubcommand", 11, kWord,
                  "WriteOne [6,16391,8] WriteOne [6,16640,8] ReadOne [2,64,8] WriteOne [6,16394,8] WriteOne "
                  "[6,16640,8] ReadOne [2,64,8] WriteOne [6,16384,8] WriteOne [6,16640,8]",
                  "WriteOne [6,2612,8] WriteOne [6,3058,8]"},
        StyleCase{"I2CByte", 12, kByte, "I2CRead [22,10,1]", "I2CWrite [22,10,34,1] !"},
        StyleCase{"I2CWord", 13, kWord, "I2CRead [22,10,1] I2CRead [22,11,1]", "I2CWrite [22,10,34F2,2] !"},
        StyleCase{"I2CSubcommand", 14, kWord,
                  "I2CWrite [170,64,0700,2] ! I2CRead [170,64,1] I2CRead [170,65,1] I2CWrite [170,64,0A00,2] "
                  "! I2CRead [170,64,1] I2CRead [170,65,1] I2CWrite [170,64,0000,2] !",
                  "I2CWrite [170,10,34F2,2] !"}),
    [](const auto& row) { return row.param.name; });

// A line held low or high, or a byte out of step, must not pass for a value.
TEST(RegisterReader, RefusesFramesWithoutStartOrStopBit)
{
    for (std::int32_t frames : {0x00000, 0xFFFFF, 0x80069, 0x00269}) {
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
