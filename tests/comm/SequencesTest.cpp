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

/// What a sequence may read into; all of it stays as it is when nothing was read.
struct Places {
    std::uint8_t byte = 1;
    std::int16_t word = 1;
    Bytes bytes;
    QString text;
    [[nodiscard]] QString Shown() const
    {
        return QStringLiteral("%1 %2 ").arg(byte).arg(word) + HexText(bytes) + text;
    }
};

struct Sequence {
    const char* name;
    ErrorCode (*run)(frmUSB& usb, Places& at);
    const char* calls; ///< get and set are one-wire transfers, read and write those of words
    std::vector<QJsonArray> answers; ///< to the calls in order; an empty one is a plain success
    const char* shown = "1 1 ";
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
        TestTime time;
        RecordedMessages messages;
        frmUSB usb(driver, time, messages, QString());
        Places at;
        const ErrorCode err = GetParam().run(usb, at);
        shown = at.Shown();
        sent = gauge.calls;
        sent.replaceInStrings(QStringLiteral("AdpReadOneWire "), QStringLiteral("get"))
            .replaceInStrings(QStringLiteral("AdpWriteOneWire "), QStringLiteral("set"))
            .replaceInStrings(QStringLiteral("AdpReadSMBusWord "), QStringLiteral("read"))
            .replaceInStrings(QStringLiteral("AdpWriteSMBusWord "), QStringLiteral("write"))
            .replaceInStrings(QStringLiteral("AdpGetLastError []"), QStringLiteral("poll"));
        calls = driver.Calls();
        return err;
    }
    QStringList expected = QString::fromLatin1(GetParam().calls).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    QString shown;
    QStringList sent;
    int calls = 0;
};

TEST_P(Sequences, SendTheirStepsInOrder)
{
    EXPECT_EQ(RunWithFaultAt(0), GetParam().code);
    EXPECT_EQ(sent, expected);
    EXPECT_EQ(shown, QString::fromLatin1(GetParam().shown));
}

TEST_P(Sequences, SendNothingAfterTheStepThatFailed)
{
    for (int failAt = 1; failAt <= expected.size(); ++failAt) {
        EXPECT_EQ(RunWithFaultAt(failAt), ErrorCode::BusBusy) << failAt;
        EXPECT_EQ(calls, failAt);
        EXPECT_EQ(sent, expected.mid(0, failAt - 1));
        EXPECT_TRUE(shown.startsWith(QStringLiteral("1 1 "))) << "nothing half-read is handed out";
    }
}

using U = frmUSB;
using P = Places;
const QJsonArray kHere{1};
const QJsonArray kNobody{0};
const QJsonArray kNone;

// One-wire modes: get 4 resets, get 3 reads 8 bits, set 1 sends 8 bits; get 1 and set 6 move a register.
// clang-format off
const std::vector<Sequence> kSequences{
    {"WriteTwoWords", [](U& u, P&) { return WriteTwoWords(u, 0x1234, 0x51, 0x50, 0x5678, 22); },
     "write[80,4660,22] poll write[81,22136,22] poll poll", {}},
    {"ReadMemoryOfNoBytes", [](U& u, P& at) { return OneWireReadMemory(u, 0x34, at.bytes, 0); },
     "get[4,0,8] set[1,204,8] set[1,240,8] set[1,52,8] set[1,0,8]", {kHere}},
    {"ReadMemoryWithoutADevice", [](U& u, P& at) { return OneWireReadMemory(u, 0x34, at.bytes, 1); },
     "get[4,0,8]", {kNobody}, "1 1 ", ErrorCode::NoAcknowledge},
    {"ReadMemoryPastTheEnd", [](U& u, P& at) { return OneWireReadMemory(u, 0x134, at.bytes, 1); },
     "get[4,0,8] set[1,204,8] set[1,240,8]", {kHere}, "1 1 ", ErrorCode::IncorrectParam},
    {"ReadByte", [](U& u, P& at) { return OneWireReadByteAt(u, 255, at.byte); },
     "get[4,0,8] set[1,204,8] set[1,240,8] set[1,255,8] set[1,0,8] get[3,0,8]",
     {kHere, kNone, kNone, kNone, kNone, {0x81}}, "129 1 "},
    {"ReadWordLowByteFirst", [](U& u, P& at) { return OneWireReadWordAt(u, 0, at.word); },
     "get[4,0,8] set[1,204,8] set[1,240,8] set[1,0,8] set[1,0,8] get[3,0,8] get[3,0,8]",
     {kHere, kNone, kNone, kNone, kNone, {0xFE}, {0xFF}}, "1 -2 "},
    {"WriteByte", [](U& u, P&) { return OneWireWriteByteAt(u, 7, 0xA5); },
     "get[4,0,8] set[1,204,8] set[1,15,8] set[1,7,8] set[1,0,8] set[1,165,8]", {kHere}},
    {"WriteWordLowByteFirst", [](U& u, P&) { return OneWireWriteWordAt(u, 7, -2); },
     "get[4,0,8] set[1,204,8] set[1,15,8] set[1,7,8] set[1,0,8] set[1,254,8] set[1,255,8]", {kHere}},
    {"WriteMemoryWithoutADevice", [](U& u, P&) { return OneWireWriteByteAt(u, 7, 0xA5); },
     "get[4,0,8]", {kNobody}, "1 1 ", ErrorCode::NoAcknowledge},
    {"ReadRegisters", [](U& u, P& at) { return OneWireReadRegs(u, 254, at.bytes, 2); },
     "get[1,254,8] get[1,255,8]", {{0x12}, {0x34}}, "1 1 1234"},
    {"ReadRegistersPastTheEnd", [](U& u, P& at) { return OneWireReadRegs(u, 255, at.bytes, 2); },
     "get[1,255,8]", {{0x12}}, "1 1 12", ErrorCode::IncorrectParam},
    {"WriteRegisters", [](U& u, P&) { return OneWireWriteRegs(u, 0x10, Bytes{1, 2, 3}); },
     "set[6,4097,8] set[6,4354,8] set[6,4611,8]", {}},
    {"WriteRegistersPastTheEnd", [](U& u, P&) { return OneWireWriteRegWord(u, 255, 0x1234); },
     "set[6,65332,8]", {}, "1 1 ", ErrorCode::IncorrectParam},
    {"Identity", [](U& u, P& at) { return ReadGaugeIdentity(u, {}, 22, at.text); },
     "read[26,22] write[0,1,22] poll read[0,22] write[0,2,22] poll read[0,22]",
     {{0x31}, kNone, kNone, {0x0800}, kNone, kNone, {0x0102}}, "1 1 Device:800, Ver:1.02"},
    {"IdentityOfHighNumbers",
     [](U& u, P& at) { return ReadGaugeIdentity(u, {62, -1, 3, true, {}}, 22, at.text); },
     "read[26,22] write[62,-1,22] poll read[62,22] write[62,3,22] poll read[62,22]",
     {{0x31}, kNone, kNone, {-2}, kNone, kNone, {-0x5FF1}}, "1 1 Device:FFFE, Ver:A0.0F"},
    {"IdentityThatIsForbidden",
     [](U& u, P& at) { return ReadGaugeIdentity(u, {0, 1, 2, false, {}}, 22, at.text); },
     "", {}, "1 1 ", ErrorCode::IncorrectParam},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Table, Sequences, testing::ValuesIn(kSequences),
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
