// Every bus sequence of this folder: what it sends, what it makes of the answers, and that it sends nothing
// after the step that failed. Half a sequence can leave a gauge in the wrong mode.

#include "comm/GaugeIdentity.h"
#include "comm/OneWireMemory.h"
#include "comm/WriteTwoWords.h"

#include "tests/support/FaultyAdapter.h"
#include "tests/support/ScriptedAdapter.h"
#include "tests/support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

const QString kPoll = QStringLiteral("AdpGetLastError []");
const QString kReset = QStringLiteral("AdpReadOneWire [4,0,8]");
const QString kReadEight = QStringLiteral("AdpReadOneWire [3,0,8]");

QString Send(int byte) { return QStringLiteral("AdpWriteOneWire [1,%1,8]").arg(byte); }
QString SetRegister(int value) { return QStringLiteral("AdpWriteOneWire [6,%1,8]").arg(value); }
QString GetRegister(int value) { return QStringLiteral("AdpReadOneWire [1,%1,8]").arg(value); }

/// A number that stands for whatever a sequence reads; -1 stays when it reads nothing.
using Run = ErrorCode (*)(frmUSB& usb, std::int32_t& result);

struct Sequence {
    const char* name;
    Run run;
    QStringList calls;
    std::vector<QJsonArray> answers; ///< to the calls in order; an empty one is a plain success
    std::int32_t result = -1;
    ErrorCode code = ErrorCode::Ok;
};

void PrintTo(const Sequence& sequence, std::ostream* out) { *out << sequence.name; }

class Sequences : public testing::TestWithParam<Sequence> {
protected:
    ErrorCode RunWithFaultAt(int failAt)
    {
        ScriptedAdapter gauge;
        for (const QJsonArray& answer : GetParam().answers)
            gauge.Will(0, answer);
        FaultyAdapter driver(gauge, failAt, ErrorCode::BusBusy);
        frmUSB usb(driver, m_time, m_messages, QString());
        const ErrorCode err = GetParam().run(usb, result);
        sent = gauge.calls;
        calls = driver.Calls();
        return err;
    }
    std::int32_t result = -1;
    QStringList sent;
    int calls = 0;

private:
    TestTime m_time;
    RecordedMessages m_messages;
};

TEST_P(Sequences, SendTheirStepsInOrder)
{
    EXPECT_EQ(RunWithFaultAt(0), GetParam().code);
    EXPECT_EQ(sent, GetParam().calls);
    EXPECT_EQ(result, GetParam().result);
}

TEST_P(Sequences, SendNothingAfterTheStepThatFailed)
{
    for (int failAt = 1; failAt <= GetParam().calls.size(); ++failAt) {
        EXPECT_EQ(RunWithFaultAt(failAt), ErrorCode::BusBusy) << failAt;
        EXPECT_EQ(calls, failAt);
        EXPECT_EQ(sent, GetParam().calls.mid(0, failAt - 1));
        EXPECT_EQ(result, -1);
    }
}

const QJsonArray kPresent{1};

INSTANTIATE_TEST_SUITE_P(
    Table, Sequences,
    testing::Values(Sequence{"WriteTwoWords",
                             [](frmUSB& usb, std::int32_t&) {
                                 return WriteTwoWords(usb, 0x1234, 0x51, 0x50, 0x5678, 22);
                             },
                             {QStringLiteral("AdpWriteSMBusWord [80,4660,22]"), kPoll,
                              QStringLiteral("AdpWriteSMBusWord [81,22136,22]"), kPoll, kPoll},
                             {}},
                    Sequence{"ReadMemoryOfNoBytes",
                             [](frmUSB& usb, std::int32_t&) {
                                 Bytes data;
                                 return OneWireReadMemory(usb, 0x34, data, 0);
                             },
                             {kReset, Send(0xCC), Send(0xF0), Send(0x34), Send(0)},
                             {kPresent}},
                    Sequence{"ReadMemoryWithoutADevice",
                             [](frmUSB& usb, std::int32_t&) {
                                 Bytes data;
                                 return OneWireReadMemory(usb, 0x34, data, 1);
                             },
                             {kReset},
                             {{0}},
                             -1,
                             ErrorCode::NoAcknowledge},
                    Sequence{"ReadMemoryPastTheEnd",
                             [](frmUSB& usb, std::int32_t&) {
                                 Bytes data;
                                 return OneWireReadMemory(usb, 0x134, data, 1);
                             },
                             {kReset, Send(0xCC), Send(0xF0)},
                             {kPresent},
                             -1,
                             ErrorCode::IncorrectParam},
                    Sequence{"ReadByte",
                             [](frmUSB& usb, std::int32_t& result) {
                                 std::uint8_t byte = 0;
                                 const ErrorCode err = OneWireReadByteAt(usb, 255, byte);
                                 result = Failed(err) ? -1 : byte;
                                 return err;
                             },
                             {kReset, Send(0xCC), Send(0xF0), Send(255), Send(0), kReadEight},
                             {kPresent, {}, {}, {}, {}, {0x81}},
                             0x81},
                    Sequence{"ReadWordLowByteFirst",
                             [](frmUSB& usb, std::int32_t& result) {
                                 std::int16_t word = 0;
                                 const ErrorCode err = OneWireReadWordAt(usb, 0, word);
                                 result = Failed(err) ? -1 : word;
                                 return err;
                             },
                             {kReset, Send(0xCC), Send(0xF0), Send(0), Send(0), kReadEight, kReadEight},
                             {kPresent, {}, {}, {}, {}, {0x34}, {0xF2}},
                             static_cast<std::int16_t>(0xF234)},
                    Sequence{"WriteByte",
                             [](frmUSB& usb, std::int32_t&) { return OneWireWriteByteAt(usb, 7, 0xA5); },
                             {kReset, Send(0xCC), Send(0x0F), Send(7), Send(0), Send(0xA5)},
                             {kPresent}},
                    Sequence{"WriteWordLowByteFirst",
                             [](frmUSB& usb, std::int32_t&) { return OneWireWriteWordAt(usb, 7, -2); },
                             {kReset, Send(0xCC), Send(0x0F), Send(7), Send(0), Send(0xFE), Send(0xFF)},
                             {kPresent}},
                    Sequence{"WriteMemoryWithoutADevice",
                             [](frmUSB& usb, std::int32_t&) { return OneWireWriteByteAt(usb, 7, 0xA5); },
                             {kReset},
                             {{0}},
                             -1,
                             ErrorCode::NoAcknowledge},
                    Sequence{"ReadRegisters",
                             [](frmUSB& usb, std::int32_t& result) {
                                 Bytes data;
                                 const ErrorCode err = OneWireReadRegs(usb, 254, data, 2);
                                 result = Failed(err) ? -1 : data[0] * 256 + data[1];
                                 return err;
                             },
                             {GetRegister(254), GetRegister(255)},
                             {{0x12}, {0x34}},
                             0x1234},
                    Sequence{"WriteRegisters",
                             [](frmUSB& usb, std::int32_t&) {
                                 return OneWireWriteRegs(usb, 0x10, Bytes{1, 2, 3});
                             },
                             {SetRegister(0x1001), SetRegister(0x1102), SetRegister(0x1203)},
                             {}},
                    Sequence{"WriteRegistersPastTheEnd",
                             [](frmUSB& usb, std::int32_t&) { return OneWireWriteRegWord(usb, 255, 0x1234); },
                             {SetRegister(0xFF34)},
                             {},
                             -1,
                             ErrorCode::IncorrectParam},
                    Sequence{"Identity",
                             [](frmUSB& usb, std::int32_t& result) {
                                 QString identity;
                                 const ErrorCode err = ReadGaugeIdentity(usb, {}, 22, identity);
                                 if (!identity.isEmpty())
                                     result = identity == QStringLiteral("Device:800, Ver:1.02") ? 1 : 0;
                                 return err;
                             },
                             {QStringLiteral("AdpReadSMBusWord [26,22]"),
                              QStringLiteral("AdpWriteSMBusWord [0,1,22]"), kPoll,
                              QStringLiteral("AdpReadSMBusWord [0,22]"),
                              QStringLiteral("AdpWriteSMBusWord [0,2,22]"), kPoll,
                              QStringLiteral("AdpReadSMBusWord [0,22]")},
                             {{0x31}, {}, {}, {0x0800}, {}, {}, {0x0102}},
                             1},
                    Sequence{"IdentityThatIsForbidden",
                             [](frmUSB& usb, std::int32_t&) {
                                 QString identity;
                                 return ReadGaugeIdentity(usb, {.Allowed = false, .Problem = {}}, 22,
                                                          identity);
                             },
                             {},
                             {},
                             -1,
                             ErrorCode::IncorrectParam}),
    [](const auto& row) { return row.param.name; });

TEST(GaugeIdentity, TakesItsRequestFromProgramSettingsAndTarget)
{
    const QTemporaryDir folder;
    StartupState state;
    state.TargetConfigPath = folder.filePath(QStringLiteral("target.ini"));
    state.ProgramSettingsFile = folder.filePath(QStringLiteral("tarnlo.ini"));
    struct Case {
        const char* program;
        const char* target;
        IdentityRequest expected;
        const char* problem;
    };
    for (const Case& row :
         {Case{"", "", {}, ""},
          Case{"Command=62\nTypeWord=0xFFFF\nVersionWord=-3", "", {62, -1, -3, true, {}}, ""},
          Case{"Command=62", "MA=68\nIdentity=0", {68, 1, 2, false, {}}, ""},
          Case{"Command=62", "MA=0\nIdentity=1", {62, 1, 2, true, {}}, ""},
          Case{"Command=256", "", {}, "tarnlo.ini: [AutoDetect] Command is 256"},
          Case{"TypeWord=65536", "", {}, "tarnlo.ini: [AutoDetect] TypeWord is 65536"},
          Case{"", "MA=-1", {}, "target.ini: [AutoDetect] MA is -1"}}) {
        for (const auto& [path, text] :
             {std::pair{state.ProgramSettingsFile, row.program}, {state.TargetConfigPath, row.target}}) {
            QFile file(path);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(QByteArray("[AutoDetect]\n") + text);
        }
        ProfileStore profiles;
        const IdentityRequest request = ReadIdentityRequest(profiles, state);
        EXPECT_EQ(request.Command, row.expected.Command) << row.program;
        EXPECT_EQ(request.TypeWord, row.expected.TypeWord) << row.program;
        EXPECT_EQ(request.VersionWord, row.expected.VersionWord) << row.program;
        EXPECT_EQ(request.Allowed, row.expected.Allowed) << row.target;
        EXPECT_TRUE(request.Problem.contains(QString::fromLatin1(row.problem)))
            << request.Problem.toStdString();
        EXPECT_EQ(request.Problem.isEmpty(), *row.problem == 0) << request.Problem.toStdString();
    }
}

} // namespace
