#include "flashimage/clsSrecRW.h"
#include "platform/WholeFile.h"
#include "simulator/Firmware.h"
#include "tests/simulator/AdapterFixture.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

struct LoaderOnDisk : testing::Test {
    QTemporaryDir folder;
    AdapterOnClock bench;
    RecordedMessages messages;

    QString Put(const char* name, const QByteArray& bytes)
    {
        const QString path = folder.filePath(QLatin1String(name));
        EXPECT_EQ(SaveWhole(path, bytes), QString());
        return path;
    }
    std::int32_t Program(QString path)
    {
        status = 0;
        return bench.adapter.AdpProgramSrec(path, status, detail);
    }
    std::int16_t status = 0;
    std::int32_t detail = 0;
};

TEST_F(LoaderOnDisk, WritesAndReadsTheFilesOfTheProgram)
{
    QString path = folder.filePath(QStringLiteral("gauge.srec"));
    EXPECT_EQ(bench.adapter.AdpReadSrec(path, 0, status, detail), 0);
    EXPECT_EQ(status, 14);
    clsSrecFlash image;
    clsSrecRW files(messages);
    ASSERT_TRUE(files.ReadSrec(path, image)) << messages.texts.join(u' ').toStdString();
    EXPECT_EQ(detail, static_cast<std::int32_t>(image.DFSize() + image.PFSize()));
    EXPECT_TRUE(Firmware::IsWhole(image.PF.View()));

    image.DF.View()[5] ^= 0xFF;
    image.PF.View()[9] ^= 0xFF;
    ASSERT_EQ(files.WriteSrec(path, image), QString());
    EXPECT_EQ(Program(path), 0);
    EXPECT_TRUE(std::ranges::equal(bench.adapter.Bench().Flash().Data(), image.DF.View()));
    EXPECT_TRUE(std::ranges::equal(bench.adapter.Bench().Flash().Program(), image.PF.View()));
    EXPECT_EQ(bench.adapter.AdpReadSMBusWord(9, status, bench.address), ErrorCode::DevRomMode);
}

TEST_F(LoaderOnDisk, RefusesFilesBeforeTheGaugeIsTouched)
{
    struct Case {
        const char* Text;
        ErrorCode Code;
        int Line;
    };
    for (const Case& c : {Case{"S00600004844521B\nhello\n", ErrorCode::SrecBadStartRecord, 2},
                          Case{"S4030000FC\n", ErrorCode::SrecUnknownType, 1},
                          Case{"S00600004844521C\n", ErrorCode::SrecBadChecksum, 1},
                          Case{"S1044000AA11\nS503000 2FA\n", ErrorCode::SrecBadChecksum, 2},
                          Case{"S1044000AA11\nS5030002FA\n", ErrorCode::SrecBadRecordCount, 2},
                          Case{"S1043000AA21\n", ErrorCode::SrecDevMismatch, 2}}) {
        EXPECT_EQ(Program(Put("bad.srec", c.Text)), Number(c.Code)) << c.Text;
        EXPECT_EQ(detail, c.Line) << c.Text;
        EXPECT_EQ(bench.Word(0x18), 4400) << "its firmware still runs";
    }
    EXPECT_EQ(Program(folder.filePath(QStringLiteral("none.srec"))), Number(ErrorCode::SrecOpenFail));
}

TEST_F(LoaderOnDisk, ComparesConfigurationImageAndGauge)
{
    const QString comment
        = Put("good.srec", "S0170000" + QByteArray("Device:800, Ver:1.02").toHex() + "52\nS1044000AA11\n");
    struct Case {
        const char* Config; ///< nullptr: no such file
        const char* Third;
        ErrorCode Code;
    };
    for (const Case& c : {Case{nullptr, "", ErrorCode::ConfigOpenFail},
                          Case{"Device=800\n", "", ErrorCode::ConfigUnexpectedEof},
                          Case{"Device=800\nVersion\n", "", ErrorCode::ConfigBadFormat},
                          Case{"Device=900\nVersion=1.02\n", "", ErrorCode::PcfgDevMismatch},
                          Case{"Device=800\nVersion=1.03\n", "", ErrorCode::PcfgDevVerMismatch},
                          Case{"Device=800\nVersion=1.02\n", "900.1.02", ErrorCode::BcfgDevMismatch},
                          Case{"Device=800\nVersion=1.02\n", "800.2.00", ErrorCode::BcfgDevVerMismatch},
                          Case{"; for all\n[Gauge]\nDevice=800\nVersion=1.02\n", "", ErrorCode::Ok},
                          // now the gauge is in its boot ROM and cannot say what it is
                          Case{"Device=900\nVersion=1.02\n", "", ErrorCode::PcfgSrecDevMismatch},
                          Case{"Device=800\nVersion=1.03\n", "", ErrorCode::PcfgSrecDevVerMismatch}}) {
        QString srec = comment;
        QString config = c.Config ? Put("gauge.cfg", c.Config) : folder.filePath(QStringLiteral("none.cfg"));
        QString third = QString::fromLatin1(c.Third);
        EXPECT_EQ(bench.adapter.AdpProgramFromSrecWithCfg(srec, config, third), Number(c.Code))
            << (c.Config ? c.Config : "") << c.Third;
    }
    EXPECT_EQ(bench.adapter.Bench().Flash().Data()[0], 0xAA);
}

TEST_F(LoaderOnDisk, AsksForTheBootRomBeforeItTouchesAnything)
{
    EXPECT_EQ(bench.adapter.AdpProgramFlash(0, 0x4000, Bytes{0}, 1, {}, 0, 0, status),
              Number(ErrorCode::DevGgMode));
    EXPECT_EQ(status, 13);
    Bytes bytes;
    EXPECT_EQ(bench.adapter.AdpReadFlash(0, 0x4000, bytes, 1, 0, 0, status), Number(ErrorCode::DevGgMode));
    const Bytes wrongRows{64, 0, 64, 0};
    EXPECT_EQ(bench.adapter.AdpProgramFlash(0, 0x4000, Bytes{0}, 1, wrongRows, 4, 1, status), 7);
    EXPECT_EQ(bench.adapter.AdpProgramFlash(1, 0x107FFF, Bytes(2), 2, {}, 0, 1, status), 7);
    EXPECT_EQ(bench.adapter.AdpReadFlash(0, 0, bytes, 0, 0, 0, status), 0);
    EXPECT_EQ(status, 13);
    // programming clears bits and no more
    const std::uint8_t old = bench.adapter.Bench().Flash().Data()[3];
    EXPECT_EQ(bench.adapter.AdpProgramFlash(0, 0x4003, Bytes{0x0F}, 1, {}, 0, 1, status), 0);
    EXPECT_EQ(bench.adapter.Bench().Flash().Data()[3], old & 0x0F);
}

} // namespace
