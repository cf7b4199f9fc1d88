#include "tests/simulator/AdapterFixture.h"

#include <gtest/gtest.h>

namespace {

SimulatorSettings At(int transaction, Fault kind, bool pec = true)
{
    return {.Seed = 3, .Pec = pec, .Faults = {.Scheduled = {{transaction, kind}}}};
}

struct Expected {
    const char* name;
    Fault kind;
    ErrorCode read; ///< of the word read that it happens to, with the packet error check
    ErrorCode write; ///< of the word write
    int kept; ///< RemainingCapacityAlarm afterwards, 440 before and 1000 written
};

} // namespace

class EachFault : public testing::TestWithParam<Expected> { };

// The third transaction goes wrong, once as a read and once as a write; before and after it all is well.
TEST_P(EachFault, ShowsAsItsErrorAndIsLogged)
{
    const Expected& expected = GetParam();
    AdapterOnClock reading(At(3, expected.kind));
    EXPECT_EQ(reading.Word(0x19), 14800); // the first two: packet error check and this
    int word = -1;
    EXPECT_EQ(reading.Read(0x18, word), expected.read);
    if (expected.kind == Fault::Unplug) {
        EXPECT_EQ(reading.Word(0x19), -1);
        EXPECT_TRUE(reading.adapter.Facts().Problem.contains(QStringLiteral("transaction 3")));
        reading.adapter.AdpCloseDevice();
        QString name = QStringLiteral("Simulated");
        EXPECT_EQ(reading.adapter.AdpOpenDevice(name), 0);
    }
    EXPECT_EQ(reading.Word(0x19), 14800);
    ASSERT_EQ(reading.adapter.Faults().Log().size(), 1U);
    EXPECT_EQ(reading.adapter.Faults().Log().front().Kind, expected.kind);
    EXPECT_EQ(reading.adapter.Faults().Log().front().Transaction, 3);

    AdapterOnClock writing(At(3, expected.kind));
    EXPECT_EQ(writing.Word(0x01), 440);
    EXPECT_EQ(writing.Write(0x01, 1000), expected.write);
    QString name = QStringLiteral("Simulated");
    writing.adapter.AdpCloseDevice();
    writing.adapter.AdpOpenDevice(name);
    EXPECT_EQ(writing.Word(0x01), expected.kept);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, EachFault,
    testing::Values(
        Expected{"AddressNack", Fault::AddressNack, ErrorCode::NoAcknowledge, ErrorCode::NoAcknowledge, 440},
        Expected{"DataNack", Fault::DataNack, ErrorCode::NoAcknowledge, ErrorCode::NoAcknowledge, 440},
        Expected{"BadPec", Fault::BadPec, ErrorCode::BadPec, ErrorCode::NoAcknowledge, 440},
        Expected{"Timeout", Fault::Timeout, ErrorCode::T2hTimeout, ErrorCode::T2hTimeout, 440},
        Expected{"ClockStretch", Fault::ClockStretch, ErrorCode::Ok, ErrorCode::Ok, 1000},
        Expected{"ArbitrationLoss", Fault::ArbitrationLoss, ErrorCode::BusBusy, ErrorCode::BusBusy, 440},
        Expected{"ShortAnswer", Fault::ShortAnswer, ErrorCode::WrongNumBytes, ErrorCode::Ok, 1000},
        Expected{"LyingWrite", Fault::LyingWrite, ErrorCode::Ok, ErrorCode::Ok, 440},
        Expected{"PartialWrite", Fault::PartialWrite, ErrorCode::Ok, ErrorCode::Ok, 440},
        Expected{"OtherAnswer", Fault::OtherAnswer, ErrorCode::BadPec, ErrorCode::Ok, 1000},
        Expected{"StaleAnswer", Fault::StaleAnswer, ErrorCode::Ok, ErrorCode::Ok, 1000},
        Expected{"DeviceReset", Fault::DeviceReset, ErrorCode::Ok, ErrorCode::Ok, 1000},
        Expected{"Unplug", Fault::Unplug, ErrorCode::NoUsb, ErrorCode::NoUsb, 440},
        Expected{"UnknownCode", Fault::UnknownCode, ErrorCode{119}, ErrorCode{119}, 440}),
    [](const auto& row) { return row.param.name; });

// Without the check a length that lies gives other bytes than were sent; with it, never.
TEST(Faults, SpoiltBlockLengthsPassOnlyWithoutTheCheck)
{
    for (const auto& [kind, size] :
         {std::pair{Fault::ShortBlock, 6}, {Fault::LongBlock, 8}, {Fault::ZeroLength, 0}}) {
        AdapterOnClock checked(At(2, kind));
        Bytes block;
        EXPECT_EQ(checked.ReadBlock(0x21, block), ErrorCode::BadPec);
        EXPECT_TRUE(block.empty());
        AdapterOnClock bare(At(3, kind, false)); // two reads settle that there is none
        EXPECT_EQ(bare.ReadBlock(0x21, block), size == 0 ? ErrorCode::WrongNumBytes : ErrorCode::Ok);
        if (size > 7)
            EXPECT_GE(block.size(), 8U);
        else
            EXPECT_LE(block.size(), 6U);
    }
}

// Settings are gone after a reset between two steps; a stale answer is an old one to the same question.
TEST(Faults, ResetForgetsSettingsAndStaleAnswersAreOld)
{
    AdapterOnClock reset(At(4, Fault::DeviceReset));
    EXPECT_EQ(reset.Write(0x01, 1000), ErrorCode::Ok);
    EXPECT_EQ(reset.Word(0x01), 1000);
    EXPECT_EQ(reset.Word(0x01), 440);
    AdapterOnClock stale(At(4, Fault::StaleAnswer));
    EXPECT_EQ(stale.Word(0x01), 440);
    EXPECT_EQ(stale.Write(0x01, 1000), ErrorCode::Ok);
    EXPECT_EQ(stale.Word(0x01), 440);
    EXPECT_EQ(stale.Word(0x01), 1000);
}

// One lie or flip while the check is being settled must not switch it off for good.
TEST(Faults, NoSingleFaultSwitchesThePacketErrorCheckOff)
{
    for (const FaultName& fault : kFaultNames)
        for (std::uint64_t seed = 0; seed < 60; ++seed) {
            SimulatorSettings settings = At(1, fault.Kind);
            settings.Seed = seed;
            settings.Faults.Scheduled.push_back({8, Fault::BadPec});
            AdapterOnClock gauge(settings);
            while (gauge.adapter.Faults().Transactions() < 7) {
                const int volts = gauge.Word(0x19);
                EXPECT_TRUE(volts == 14800 || volts == -1) << fault.Name << " " << seed;
                if (gauge.adapter.Faults().Unplugged())
                    break;
            }
            int word = 0;
            if (!gauge.adapter.Faults().Unplugged()) {
                EXPECT_EQ(gauge.Read(0x19, word), ErrorCode::BadPec) << fault.Name << " " << seed;
            }
        }
}

// Nobody drives the line when the read bit of the second address is lost: FF FF FF, which passes the check of
// command 1.
TEST(Faults, ASilentLineIsNoAnswer)
{
    for (std::uint64_t seed = 0; seed < 500; ++seed) {
        SimulatorSettings settings = At(2, Fault::BitFlip);
        settings.Seed = seed;
        AdapterOnClock gauge(settings);
        const int alarm = gauge.Word(0x01);
        EXPECT_TRUE(alarm == 440 || alarm == -1) << seed << " " << alarm;
    }
}

// The figure that a user relies on: a value on the screen is what the gauge holds, or it is not there.
TEST(Faults, NoWrongValueInTenThousandPassesUnderFaultsThatTheCheckSees)
{
    SimulatorSettings settings;
    settings.Faults.RatePpm = 10'000;
    settings.Faults.Kinds
        = {Fault::BitFlip, Fault::Burst,           Fault::BadPec,      Fault::AddressNack, Fault::DataNack,
           Fault::Timeout, Fault::ArbitrationLoss, Fault::ShortAnswer, Fault::OtherAnswer};
    AdapterOnClock faulty(settings);
    AdapterOnClock twin;
    int failed = 0;
    int wrong = 0;
    for (int pass = 0; pass < 10'000; ++pass) {
        if (pass % 3000 == 0)
            for (AdapterOnClock* gauge : {&faulty, &twin}) {
                auto level = static_cast<std::int16_t>(pass / 3000 % 2);
                std::int16_t none = 0;
                gauge->adapter.AdpI2CFunction(0, level, none, none);
            }
        for (int command = 0; command <= 0x1C; ++command) {
            const int mask = command == 0x16 ? 0xFFF0 : 0xFFFF; // the low bits tell of the last fault
            const int truth = twin.Word(command) & mask;
            int word = 0;
            if (Failed(faulty.Read(command, word)))
                ++failed;
            else if ((word & mask) != truth)
                ++wrong;
        }
        faulty.time.Advance(2000);
        twin.time.Advance(2000);
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_NEAR(failed, 2900, 300);
    EXPECT_GE(faulty.adapter.Faults().Log().size(), static_cast<std::size_t>(failed));
}
