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

struct Wrapper {
    const char* name;
    void (*run)(frmUSB& usb, ErrorCode& err);
    const char* call; ///< what reaches the driver
    const char* log; ///< text of a failure's one line; empty: none
    bool polls = false;
};

void PrintTo(const Wrapper& wrapper, std::ostream* out) { *out << wrapper.name; }

std::int16_t g_word = 0;
std::int32_t g_long = 0;
std::uint8_t g_byte = 0;
Bytes g_bytes;
QString g_text;

class Wrappers : public testing::TestWithParam<Wrapper> { };

TEST_P(Wrappers, MakesOneCallAndPollsOnlyAfterAWrite)
{
    Bench bench;
    ErrorCode err = ErrorCode::Unknown;
    GetParam().run(bench.usb, err);
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
        GetParam().run(bench.usb, err);
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

INSTANTIATE_TEST_SUITE_P(
    Table, Wrappers,
    testing::Values(
        Wrapper{"CheckForError", [](auto& usb, auto& err) { usb.CheckForError(err); }, "AdpGetLastError []",
                "CheckForError()"},
        Wrapper{"Version", [](auto& usb, auto& err) { usb.GetHX5100Version(g_word, g_word, err); },
                "AdpGetVersion []", "GetHX5100Version()"},
        Wrapper{"ReadWord", [](auto& usb, auto& err) { usb.ReadSMBusWord_(9, g_word, 22, err); },
                "AdpReadSMBusWord [9,22]", "ReadSMBusWord_(9)"},
        Wrapper{"ReadWordBytes",
                [](auto& usb, auto& err) { usb.ReadSMBusWord(0xAB, g_byte, g_byte, 22, err); },
                "AdpReadSMBusWord [171,22]", "ReadSMBusWord_(AB)"},
        Wrapper{"WriteWord", [](auto& usb, auto& err) { usb.WriteSMBusWord_(0x0F, -2, 22, err); },
                "AdpWriteSMBusWord [15,-2,22]", "WriteSMBusWord_(F,FFFE)", true},
        Wrapper{"WriteWordBytes", [](auto& usb, auto& err) { usb.WriteSMBusWord(0, 0xFF, 0x0A, 22, err); },
                "AdpWriteSMBusWord [0,-246,22]", "WriteSMBusWord_(0,FF0A)", true},
        Wrapper{"ReadBlockQuietly",
                [](auto& usb, auto& err) { usb.ReadSMBusBlock_(32, g_bytes, g_word, 22, err); },
                "AdpReadSMBusBlock [32,22]", ""},
        Wrapper{"ReadBlockAsText", [](auto& usb, auto& err) { usb.ReadSMBusBlock(32, g_text, 22, 0, err); },
                "AdpReadSMBusBlock [32,22]", "ReadSMBusBlock(20)"},
        Wrapper{"WriteBlock", [](auto& usb, auto& err) { usb.WriteSMBusBlock(0x2F, kThree, 3, 22, err); },
                "AdpWriteSMBusBlock [47,\"0102FE\",3,22]", "WriteSMBusWord(2F,...,3)", true},
        Wrapper{"Command", [](auto& usb, auto& err) { usb.WriteSMBusCommand(0x41, 22, err); },
                "AdpWriteSMBusCommand [65,22]", "WriteSMBusCommand(41)", true},
        Wrapper{"ReadI2CBlock",
                [](auto& usb, auto& err) {
                    std::int16_t length = 8;
                    usb.ReadI2CBlockOnSMB_(0x1F, g_bytes, length, 22, err);
                },
                "AdpReadI2CBlockOnSMB [31,8,22]", "ReadI2CBlockOnSMB_(1F)"},
        Wrapper{"ReadI2CBlockAsText",
                [](auto& usb, auto& err) { usb.ReadI2CBlockOnSMB(0x1F, g_text, 22, err); },
                "AdpReadI2CBlockOnSMB [31,32,22]", "ReadI2CBlockOnSMB(1F)"},
        Wrapper{"WriteReadI2CBlock",
                [](auto& usb, auto& err) {
                    std::int16_t count = 16;
                    usb.WriteReadI2CBlockOnSMB(0x1F, kThree, 3, g_bytes, count, 22, err);
                },
                "AdpWriteReadI2CBlockOnSMB [31,\"0102FE\",3,16,22]", "WriteReadI2CBlockOnSMB(1F,3,10)"},
        Wrapper{"WriteI2CBlock",
                [](auto& usb, auto& err) { usb.WriteI2CBlockOnSMB(0x1F, kThree, 3, 22, err); },
                "AdpWriteI2CBlockOnSMB [31,\"0102FE\",3,22]", "WriteI2CBlockOnSMB(1F,...,3)", true},
        Wrapper{"ReadWithoutCommand",
                [](auto& usb, auto& err) {
                    std::int16_t length = 8;
                    usb.ReadI2CBlockNoCmdOnSMB(g_bytes, length, 22, err);
                },
                "AdpReadI2CBlockNoCmdOnSMB [8,22]", "WriteI2CBlockOnSMB()"},
        Wrapper{"I2CReadBlock",
                [](auto& usb, auto& err) {
                    std::int16_t length = 10;
                    usb.I2CReadBlock(0xA0, 0x10, g_bytes, length, err);
                },
                "AdpI2CReadBlock [160,16,10]", "I2CReadBlock_(A0,10,...,A)"},
        Wrapper{"I2CWriteBlock", [](auto& usb, auto& err) { usb.I2CWriteBlock(0xA0, 0x10, kThree, 3, err); },
                "AdpI2CWriteBlock [160,16,\"0102FE\",3]", "I2CWriteBlock(A0,10,...,3)", true},
        Wrapper{"I2CPower", [](auto& usb, auto& err) { usb.I2CPower(1, err); }, "AdpI2CFunction [0,1,0,0]",
                "I2CPower(1)", true},
        Wrapper{"I2CWriteByte", [](auto& usb, auto& err) { usb.I2CWriteByte(0xA0, 5, 0xC3, err); },
                "AdpI2CFunction [1,160,5,195]", "I2CWriteByte(A0,5,C3)", true},
        Wrapper{"I2CReadByte", [](auto& usb, auto& err) { usb.I2CReadByte(0xA0, 5, g_byte, err); },
                "AdpI2CFunction [2,160,5,0]", "I2CReadByte(A0,5)"},
        Wrapper{"WireControl", [](auto& usb, auto& err) { usb.I2CWireControl(3, err); },
                "AdpI2CFunction [3,3,0,0]", "I2CWireControl(3)", true},
        Wrapper{"EEPower", [](auto& usb, auto& err) { usb.EEPower(1, err); }, "AdpI2CFunction [0,1,0,0]",
                "EEPower(1)", true},
        Wrapper{"EEWriteByte", [](auto& usb, auto& err) { usb.EEWriteByte(0x7F, 0xC3, err); },
                "AdpI2CFunction [1,160,127,195]", "EEWriteByte(7F,C3)", true},
        Wrapper{"EEWrite", [](auto& usb, auto& err) { usb.EEWrite(0xA2, 0x7F, 0xC3, err); },
                "AdpI2CFunction [1,162,127,195]", "EEWrite(A2,7F,C3)", true},
        Wrapper{"EEReadByte", [](auto& usb, auto& err) { usb.EEReadByte(0x7F, g_byte, err); },
                "AdpI2CFunction [2,160,127,0]", "EEReadByte(7F)"},
        Wrapper{"EERead", [](auto& usb, auto& err) { usb.EERead(0xA2, 0x7F, g_byte, err); },
                "AdpI2CFunction [2,162,127,0]", "EERead(A2,7F)"},
        Wrapper{"ReadOneWire",
                [](auto& usb, auto& err) {
                    std::int32_t value = 0x1002A;
                    usb.ReadOneWire(8, value, err);
                },
                "AdpReadOneWire [8,65578,8]", "ReadOneWire(81002A)"},
        Wrapper{"WriteOneWire", [](auto& usb, auto& err) { usb.WriteOneWire(1, 0xCC, err); },
                "AdpWriteOneWire [1,204,8]", "WriteOneWire(1CC8)"},
        Wrapper{"SrecWithCfg",
                [](auto& usb, auto& err) {
                    usb.ProgramFromSrecWithCfg(QStringLiteral("a%1.srec"), QStringLiteral("b"),
                                               QStringLiteral("c"), err);
                },
                "AdpProgramFromSrecWithCfg [\"a%1.srec\",\"b\",\"c\"]", "ProgramFromSrecWithCfg(a%1.srec)"},
        Wrapper{"ProgramSrec",
                [](auto& usb, auto& err) { usb.ProgramSrec(QStringLiteral("a"), g_word, g_long, err); },
                "AdpProgramSrec [\"a\"]", "ProgramSrec(a)"},
        Wrapper{"ReadSrec",
                [](auto& usb, auto& err) { usb.ReadSrec(QStringLiteral("a"), g_word, g_long, err); },
                "AdpReadSrec [\"a\",0]", "ReadSrec(a)"},
        Wrapper{"ProgramFlash",
                [](auto& usb, auto& err) { usb.ProgramFlash(1, 0x4000, kThree, 3, {}, 0, -7, g_word, err); },
                "AdpProgramFlash [1,16384,\"0102FE\",3,\"\",0,-7]", "ProgramFlash(1,16384,...,3,...,0)"},
        Wrapper{"ReadFlash",
                [](auto& usb, auto& err) { usb.ReadFlash(1, 0x4000, g_bytes, 32, 6, 7, g_word, err); },
                "AdpReadFlash [1,16384,32,6,7]", "ReadFlash(1,16384,...,32,...,7)"},
        Wrapper{"GPIOWrite", [](auto& usb, auto& err) { usb.GPIOWrite(1, 0, err); }, "AdpGPIOWrite [1,0]",
                ""},
        Wrapper{"GPIORead", [](auto& usb, auto& err) { usb.GPIORead(1, g_word, err); }, "AdpGPIORead [1]",
                ""}),
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
        ErrorCode err = ErrorCode::Ok;
        bench.usb.ProgramSrec(QString(), g_word, g_long, err);
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
