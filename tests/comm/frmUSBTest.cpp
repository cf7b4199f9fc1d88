#include "comm/frmUSB.h"

#include "tests/support/ScriptedAdapter.h"
#include "tests/support/TestSupport.h"

#include <QFile>
#include <QLocale>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

/// A command layer over a scripted driver, with its log on in a folder of its own.
struct Bench {
    Bench() { usb.EnableErrorLog(); }
    QStringList LogLines() const
    {
        QFile file(folder.filePath(QStringLiteral("CommErr.log")));
        return file.open(QIODevice::ReadOnly)
            ? QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts)
            : QStringList();
    }
    QString Line(const char* text) const
    {
        return QLocale::system().toString(QDateTime(QDate(2026, 1, 5), QTime(9, 0)), QLocale::ShortFormat)
            + QString::fromLatin1("  ") + QString::fromLatin1(text);
    }

    QTemporaryDir folder;
    TestTime time;
    RecordedMessages messages;
    ScriptedAdapter driver;
    frmUSB usb{driver, time, messages, folder.path()};
};

/// Arguments for the wrappers to read and write.
struct Places {
    std::uint8_t byte = 0;
    std::int16_t word = 0;
    std::int16_t length = 10;
    std::int32_t wide = 0x1002A;
    Bytes bytes;
    QString text;
};

struct Wrapper {
    const char* name;
    void (*run)(frmUSB& usb, Places& at, ErrorCode& err);
    const char* call; ///< what reaches the driver
    const char* log; ///< text of a failure's one line; empty: none
    bool polls = false;
};

void PrintTo(const Wrapper& wrapper, std::ostream* out) { *out << wrapper.name; }

class Wrappers : public testing::TestWithParam<Wrapper> { };

TEST_P(Wrappers, MakesOneCallAndPollsOnlyAfterAWrite)
{
    Bench bench;
    ErrorCode err = ErrorCode::Unknown;
    Places at;
    GetParam().run(bench.usb, at, err);
    EXPECT_EQ(err, ErrorCode::Ok);
    QStringList expected{QString::fromLatin1(GetParam().call)};
    if (GetParam().polls)
        expected << QStringLiteral("AdpGetLastError []");
    EXPECT_EQ(bench.driver.calls, expected);
    EXPECT_EQ(bench.LogLines(), QStringList());
}

TEST_P(Wrappers, LogsARefusalOnceAndAFailedPollTwice)
{
    const QString own = QString::fromLatin1(GetParam().log);
    for (int failAt = 1; failAt <= (GetParam().polls ? 2 : 1); ++failAt) {
        Bench bench;
        if (failAt == 2)
            bench.driver.Will(ErrorCode::Ok);
        bench.driver.Will(ErrorCode::NoAcknowledge);
        ErrorCode err = ErrorCode::Ok;
        Places at;
        GetParam().run(bench.usb, at, err);
        EXPECT_EQ(err, ErrorCode::NoAcknowledge);
        EXPECT_EQ(bench.driver.calls.size(), failAt);
        QStringList lines;
        if (failAt == 2)
            lines << bench.Line("No Acknowledge: VB_T2H_NACK - CheckForError()");
        if (!own.isEmpty())
            lines << bench.Line("No Acknowledge: VB_T2H_NACK - ") + own;
        EXPECT_EQ(bench.LogLines(), lines);
    }
}

const Bytes kThree{1, 2, 0xFE};

using U = frmUSB;
using P = Places;
using E = ErrorCode;

const Wrapper kWrappers[] = {
    {"CheckForError", [](U& u, P&, E& e) { u.CheckForError(e); }, "AdpGetLastError []", "CheckForError()"},
    {"Version", [](U& u, P& at, E& e) { u.GetHX5100Version(at.word, at.word, e); }, "AdpGetVersion []",
     "GetHX5100Version()"},
    {"ReadWord", [](U& u, P& at, E& e) { u.ReadSMBusWord_(9, at.word, 22, e); }, "AdpReadSMBusWord [9,22]",
     "ReadSMBusWord_(9)"},
    {"ReadWordBytes", [](U& u, P& at, E& e) { u.ReadSMBusWord(0xAB, at.byte, at.byte, 22, e); },
     "AdpReadSMBusWord [171,22]", "ReadSMBusWord_(AB)"},
    {"WriteWord", [](U& u, P&, E& e) { u.WriteSMBusWord_(0x0F, -2, 22, e); }, "AdpWriteSMBusWord [15,-2,22]",
     "WriteSMBusWord_(F,FFFE)", true},
    {"WriteWordBytes", [](U& u, P&, E& e) { u.WriteSMBusWord(0, 0xFF, 0x0A, 22, e); },
     "AdpWriteSMBusWord [0,-246,22]", "WriteSMBusWord_(0,FF0A)", true},
    {"ReadBlockQuietly", [](U& u, P& at, E& e) { u.ReadSMBusBlock_(32, at.bytes, at.word, 22, e); },
     "AdpReadSMBusBlock [32,22]", ""},
    {"ReadBlockAsText", [](U& u, P& at, E& e) { u.ReadSMBusBlock(32, at.text, 22, 0, e); },
     "AdpReadSMBusBlock [32,22]", "ReadSMBusBlock(20)"},
    {"WriteBlock", [](U& u, P&, E& e) { u.WriteSMBusBlock(0x2F, kThree, 3, 22, e); },
     "AdpWriteSMBusBlock [47,\"0102FE\",3,22]", "WriteSMBusWord(2F,...,3)", true},
    {"Command", [](U& u, P&, E& e) { u.WriteSMBusCommand(0x41, 22, e); }, "AdpWriteSMBusCommand [65,22]",
     "WriteSMBusCommand(41)", true},
    {"ReadI2CBlock", [](U& u, P& at, E& e) { u.ReadI2CBlockOnSMB_(0x1F, at.bytes, at.length, 22, e); },
     "AdpReadI2CBlockOnSMB [31,10,22]", "ReadI2CBlockOnSMB_(1F)"},
    {"ReadI2CBlockAsText", [](U& u, P& at, E& e) { u.ReadI2CBlockOnSMB(0x1F, at.text, 22, e); },
     "AdpReadI2CBlockOnSMB [31,32,22]", "ReadI2CBlockOnSMB(1F)"},
    {"WriteReadI2CBlock",
     [](U& u, P& at, E& e) { u.WriteReadI2CBlockOnSMB(0x1F, kThree, 3, at.bytes, at.length, 22, e); },
     "AdpWriteReadI2CBlockOnSMB [31,\"0102FE\",3,10,22]", "WriteReadI2CBlockOnSMB(1F,3,A)"},
    {"WriteI2CBlock", [](U& u, P&, E& e) { u.WriteI2CBlockOnSMB(0x1F, kThree, 3, 22, e); },
     "AdpWriteI2CBlockOnSMB [31,\"0102FE\",3,22]", "WriteI2CBlockOnSMB(1F,...,3)", true},
    {"ReadWithoutCommand", [](U& u, P& at, E& e) { u.ReadI2CBlockNoCmdOnSMB(at.bytes, at.length, 22, e); },
     "AdpReadI2CBlockNoCmdOnSMB [10,22]", "WriteI2CBlockOnSMB()"},
    {"I2CReadBlock", [](U& u, P& at, E& e) { u.I2CReadBlock(0xA0, 0x10, at.bytes, at.length, e); },
     "AdpI2CReadBlock [160,16,10]", "I2CReadBlock_(A0,10,...,A)"},
    {"I2CWriteBlock", [](U& u, P&, E& e) { u.I2CWriteBlock(0xA0, 0x10, kThree, 3, e); },
     "AdpI2CWriteBlock [160,16,\"0102FE\",3]", "I2CWriteBlock(A0,10,...,3)", true},
    {"I2CPower", [](U& u, P&, E& e) { u.I2CPower(1, e); }, "AdpI2CFunction [0,1,0,0]", "I2CPower(1)", true},
    {"I2CWriteByte", [](U& u, P&, E& e) { u.I2CWriteByte(0xA0, 5, 0xC3, e); }, "AdpI2CFunction [1,160,5,195]",
     "I2CWriteByte(A0,5,C3)", true},
    {"I2CReadByte", [](U& u, P& at, E& e) { u.I2CReadByte(0xA0, 5, at.byte, e); },
     "AdpI2CFunction [2,160,5,0]", "I2CReadByte(A0,5)"},
    {"WireControl", [](U& u, P&, E& e) { u.I2CWireControl(3, e); }, "AdpI2CFunction [3,3,0,0]",
     "I2CWireControl(3)", true},
    {"EEPower", [](U& u, P&, E& e) { u.EEPower(1, e); }, "AdpI2CFunction [0,1,0,0]", "EEPower(1)", true},
    {"EEWriteByte", [](U& u, P&, E& e) { u.EEWriteByte(0x7F, 0xC3, e); }, "AdpI2CFunction [1,160,127,195]",
     "EEWriteByte(7F,C3)", true},
    {"EEWrite", [](U& u, P&, E& e) { u.EEWrite(0xA2, 0x7F, 0xC3, e); }, "AdpI2CFunction [1,162,127,195]",
     "EEWrite(A2,7F,C3)", true},
    {"EEReadByte", [](U& u, P& at, E& e) { u.EEReadByte(0x7F, at.byte, e); }, "AdpI2CFunction [2,160,127,0]",
     "EEReadByte(7F)"},
    {"EERead", [](U& u, P& at, E& e) { u.EERead(0xA2, 0x7F, at.byte, e); }, "AdpI2CFunction [2,162,127,0]",
     "EERead(A2,7F)"},
    {"ReadOneWire", [](U& u, P& at, E& e) { u.ReadOneWire(8, at.wide, e); }, "AdpReadOneWire [8,65578,8]",
     "ReadOneWire(81002A)"},
    {"WriteOneWire", [](U& u, P&, E& e) { u.WriteOneWire(1, 0xCC, e); }, "AdpWriteOneWire [1,204,8]",
     "WriteOneWire(1CC8)"},
    {"SrecWithCfg",
     [](U& u, P&, E& e) {
         u.ProgramFromSrecWithCfg(QStringLiteral("a%1.srec"), QStringLiteral("b"), QStringLiteral("c"), e);
     },
     "AdpProgramFromSrecWithCfg [\"a%1.srec\",\"b\",\"c\"]", "ProgramFromSrecWithCfg(a%1.srec)"},
    {"ProgramSrec", [](U& u, P& at, E& e) { u.ProgramSrec(QStringLiteral("a"), at.word, at.wide, e); },
     "AdpProgramSrec [\"a\"]", "ProgramSrec(a)"},
    {"ReadSrec", [](U& u, P& at, E& e) { u.ReadSrec(QStringLiteral("a"), at.word, at.wide, e); },
     "AdpReadSrec [\"a\",0]", "ReadSrec(a)"},
    {"ProgramFlash", [](U& u, P& at, E& e) { u.ProgramFlash(1, 0x4000, kThree, 3, {}, 0, -7, at.word, e); },
     "AdpProgramFlash [1,16384,\"0102FE\",3,\"\",0,-7]", "ProgramFlash(1,16384,...,3,...,0)"},
    {"ReadFlash", [](U& u, P& at, E& e) { u.ReadFlash(1, 0x4000, at.bytes, 32, 6, 7, at.word, e); },
     "AdpReadFlash [1,16384,32,6,7]", "ReadFlash(1,16384,...,32,...,7)"},
    {"GPIOWrite", [](U& u, P&, E& e) { u.GPIOWrite(1, 0, e); }, "AdpGPIOWrite [1,0]", ""},
    {"GPIORead", [](U& u, P& at, E& e) { u.GPIORead(1, at.word, e); }, "AdpGPIORead [1]", ""},
};
INSTANTIATE_TEST_SUITE_P(Table, Wrappers, testing::ValuesIn(kWrappers),
                         [](const auto& row) { return row.param.name; });

TEST(frmUSB, PollsAfterTheAdaptersPauseAndLogsBoth)
{
    Bench bench;
    bench.driver.Will(ErrorCode::Ok);
    bench.driver.Will(ErrorCode::DataLow);
    ErrorCode err = ErrorCode::Ok;
    bench.usb.Delay(200, err);
    EXPECT_EQ(err, ErrorCode::DataLow);
    EXPECT_EQ(bench.driver.calls,
              (QStringList{QStringLiteral("AdpDelay [200]"), QStringLiteral("AdpGetLastError []")}));
    EXPECT_EQ(
        bench.LogLines(),
        (QStringList{bench.Line("VB_SMBD_LOW - CheckForError()"), bench.Line("VB_SMBD_LOW - Delay(C8)")}));
}

TEST(frmUSB, OpensTheFirstNameOfTheListAndFailsOnMinusOneOnly)
{
    struct Case {
        int count;
        QString names;
        int answer;
        bool ok;
        QString opened;
    };
    for (const Case& row :
         {Case{1, QStringLiteral("HX-1"), 0, true, QStringLiteral("HX-1")},
          Case{2, QStringLiteral("HX-1,HX-2"), 5, true, QStringLiteral("HX-1")},
          Case{1, QStringLiteral("HX-1"), 772, true, QStringLiteral("HX-1")},
          Case{1, QStringLiteral("HX-1"), -1, false, QStringLiteral("HX-1")},
          Case{2, QStringLiteral(",HX-2"), -2, true, QString()}, Case{0, {}, 0, false, {}}}) {
        Bench bench;
        bench.driver.Will(0, {row.count, row.names});
        bench.driver.Will(row.answer);
        bool ok = !row.ok;
        bench.usb.OpenFirstFreeDevice(ok);
        EXPECT_EQ(ok, row.ok) << row.answer;
        QStringList calls{QStringLiteral("AdpListFreeDevices [16]")};
        if (row.count > 0)
            calls << QStringLiteral("AdpOpenDevice [\"%1\"]").arg(row.opened);
        EXPECT_EQ(bench.driver.calls, calls);
    }
}

TEST(frmUSB, SaysWhyTheHostsAdapterCouldNotBeOpened)
{
    Bench bench;
    bench.driver.Will(-1);
    bool ok = true;
    bench.usb.OpenFirstUsedDevice(ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(bench.driver.calls, QStringList{QStringLiteral("AdpOpenDevice [\"dummy\"]")});
    EXPECT_EQ(bench.messages.texts,
              QStringList{QStringLiteral("Could not open device!Make sure that this plugin is started from "
                                         "Brevik. Or you may have started Brevik by ignoring errors!")});
}

TEST(frmUSB, SplitsAWordIntoItsBitPattern)
{
    for (int word : {0, 1, 0x00FF, 0x0100, 0x7FFF, -0x8000, -1, -256}) {
        Bench bench;
        bench.driver.Will(0, {word});
        std::uint8_t msb = 0;
        std::uint8_t lsb = 0;
        ErrorCode err = ErrorCode::Unknown;
        bench.usb.ReadSMBusWord(0, msb, lsb, 22, err);
        EXPECT_EQ(msb, (word & 0xFF00) >> 8) << word;
        EXPECT_EQ(lsb, word & 0xFF) << word;
        bench.usb.WriteSMBusWord(0, msb, lsb, 22, err);
        EXPECT_EQ(bench.driver.calls[1], QStringLiteral("AdpWriteSMBusWord [0,%1,22]").arg(word));
    }
}

TEST(frmUSB, ShowsABlockAsHexOrCharactersAndNothingElse)
{
    const QJsonArray block{QStringLiteral("4A00E90B"), 4};
    const std::vector<std::pair<int, QString>> texts{
        {0, QStringLiteral("4A00E90B")}, {1, QString::fromLatin1("J\0\xE9\x0B", 4)}, {2, QString()}};
    for (const auto& [format, expected] : texts) {
        Bench bench;
        bench.driver.Will(0, block);
        bench.driver.Will(ErrorCode::BadPec, block);
        QString text = QStringLiteral("before");
        ErrorCode err = ErrorCode::Unknown;
        bench.usb.ReadSMBusBlock(32, text, 22, static_cast<std::int16_t>(format), err);
        EXPECT_EQ(text, expected);
        bench.usb.ReadSMBusBlock(32, text, 22, static_cast<std::int16_t>(format), err);
        EXPECT_EQ(text, QString()) << "bytes of a failed read are not shown";
    }
}

TEST(frmUSB, CountsAnyFlashResultButZeroAsAFailure)
{
    for (const auto& [result, code] :
         {std::pair{0, 0}, {51, 51}, {-1, -1}, {0x8004, -0x7FFC}, {0x10000, 100}, {-0x8001, 100}}) {
        Bench bench;
        bench.driver.Will(result);
        Places at;
        ErrorCode err = ErrorCode::Ok;
        bench.usb.ProgramSrec(QString(), at.word, at.wide, err);
        EXPECT_EQ(Number(err), code) << result;
    }
}

TEST(frmUSB, LeavesNoFileWhileLoggingIsOffAndClearsInEitherState)
{
    Bench bench;
    const QString path = bench.usb.ErrorLogPath();
    bench.usb.DisableErrorLog();
    bench.usb.LogError(ErrorCode::NoUsb, QStringLiteral("x"));
    EXPECT_FALSE(QFile::exists(path));
    for (bool on : {false, true}) {
        bench.usb.EnableErrorLog();
        bench.usb.LogError(ErrorCode::Ok, QStringLiteral("x"));
        bench.usb.LogError(ErrorCode::NoUsb, QStringLiteral("x"));
        EXPECT_EQ(bench.LogLines(), QStringList{bench.Line("No USB: VB_NO_USB - x")});
        if (!on)
            bench.usb.DisableErrorLog();
        bench.usb.ClearErrorLog();
        EXPECT_FALSE(QFile::exists(path));
        EXPECT_EQ(bench.usb.ErrorLogPath(), on ? path : QString());
    }
}

TEST(ErrorCodeToText, FallsBackToTheNumber)
{
    for (int code : {4, -1, 230, 53, 32767})
        EXPECT_EQ(ErrorCodeToText(static_cast<ErrorCode>(code)),
                  QStringLiteral("Error Code (decimal) %1").arg(code));
    EXPECT_EQ(ErrorCodeToText(ErrorCode::Ok), QStringLiteral("Communication OK"));
    EXPECT_EQ(ErrorCodeToText(ErrorCode::BusLocked), QStringLiteral("VB_SMB_LOCKED"));
}

} // namespace
