#include "simulator/SimulatorSettings.h"

#include "platform/ProfileFile.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

SimulatorSettings Read(const QByteArray& lines)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("tarnlo.ini"));
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[Simulator]\n" + lines);
    file.close();
    ProfileStore profiles;
    return ReadSimulatorSettings(profiles, path);
}

} // namespace

TEST(SimulatorSettings, TakesEveryKey)
{
    const SimulatorSettings read
        = Read("Seed=9\nSpeed=60\nCharge=12.5\nLoadCurrent=1000\nChargeCurrent=500\n"
               "Ambient=-5\nPec=0\nBusClock=400000\nDataFlashStyle=6\n"
               "FlashRowTime=7\nFlashFile=kept.bin\nFaultRate=250\n"
               "Faults=bitflip, Timeout\nFaultAt=3:LyingWrite, 12:unplug\nReentry=1\n");
    EXPECT_EQ(read.Problems, QStringList());
    EXPECT_EQ(std::tuple(read.Seed, read.Speed, read.Charge, read.LoadCurrent, read.ChargeCurrent),
              std::tuple(9U, 60, 12.5, 1000, 500));
    EXPECT_EQ(std::tuple(read.Ambient, read.Pec, read.BusClock), std::tuple(-5, false, 400'000));
    EXPECT_EQ(std::tuple(read.DataFlashStyle, read.FlashRowTime, read.FlashFile),
              std::tuple(6, 7, QStringLiteral("kept.bin")));
    EXPECT_EQ(read.Faults.RatePpm, 250);
    EXPECT_EQ(read.Faults.Kinds, (std::vector{Fault::BitFlip, Fault::Timeout}));
    ASSERT_EQ(read.Faults.Scheduled.size(), 2U);
    EXPECT_EQ(read.Faults.Scheduled[1].Transaction, 12);
    EXPECT_EQ(read.Faults.Scheduled[1].Kind, Fault::Unplug);
    EXPECT_TRUE(read.Faults.Reentry);
    EXPECT_EQ(Read("Faults=ALL").Faults.Kinds.size(), kFaultNames.size() - 1);
}

struct BadLine {
    const char* name;
    const char* line;
    const char* key; ///< named in the problem
};

class BadSimulatorSettings : public testing::TestWithParam<BadLine> { };

TEST_P(BadSimulatorSettings, AreNamedAndLeaveTheDefault)
{
    const SimulatorSettings read = Read(GetParam().line);
    ASSERT_EQ(read.Problems.size(), 1);
    EXPECT_TRUE(
        read.Problems[0].contains(QStringLiteral("[Simulator], key ") + QLatin1String(GetParam().key)))
        << read.Problems[0].toStdString();
    EXPECT_EQ(read.Charge, SimulatorSettings{}.Charge);
    EXPECT_EQ(read.Speed, SimulatorSettings{}.Speed);
    EXPECT_FALSE(read.Faults.Any());
}

INSTANTIATE_TEST_SUITE_P(Lines, BadSimulatorSettings,
                         testing::Values(BadLine{"Above", "Charge=101", "Charge"},
                                         BadLine{"NotANumber", "Speed=nan", "Speed"},
                                         BadLine{"Comma", "Charge=50,5", "Charge"},
                                         BadLine{"Negative", "FaultRate=-1", "FaultRate"},
                                         BadLine{"UnknownFault", "FaultRate=5\nFaults=Gremlin", "Faults"},
                                         BadLine{"NoTransaction", "FaultAt=Unplug", "FaultAt"},
                                         BadLine{"TransactionZero", "FaultAt=0:Unplug", "FaultAt"}),
                         [](const auto& row) { return row.param.name; });
