#include "engineering/Consent.h"
#include "engineering/frmConfirm.h"
#include "engineering/frmI2C.h"

#include "tests/engineering/EngineeringBench.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>

#include <gtest/gtest.h>

namespace {

struct I2CWindow : testing::Test {
    EngineeringBench bench;
    frmI2C window{bench.context};

    I2CWindow()
    {
        window.resize(1200, 700);
        window.show();
    }
    ~I2CWindow() override { Consent::OfThisRun().WithdrawAll(); }
    template <class Control>
    Control* Find(const char* name)
    {
        return window.findChild<Control*>(QLatin1String(name));
    }
    QString State() { return Find<QLabel>("lblI2CState")->text(); }
    void Confirm()
    {
        auto* question = window.findChild<frmConfirm*>(QStringLiteral("frmConfirm"));
        ASSERT_TRUE(question);
        question->findChild<QPushButton*>(QStringLiteral("cmdConfirm"))->click();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    QString File(const char* name) { return bench.folder.filePath(QLatin1String(name)); }
};

TEST_F(I2CWindow, ScansAndTakesAnAddressOver)
{
    Find<QPushButton>("cmdScan")->click();
    auto* found = Find<QTableWidget>("grdFound");
    ASSERT_EQ(found->rowCount(), 4);
    EXPECT_EQ(found->item(0, 0)->text(), QStringLiteral("0x16"));
    EXPECT_TRUE(State().startsWith(QStringLiteral("4 addresses answered")));
    found->setCurrentCell(3, 0);
    EXPECT_EQ(Find<QLineEdit>("txtI2CAddress")->text(), QStringLiteral("AA"));
    const auto calls = bench.calls.size();
    Find<QCheckBox>("chkRisky")->setChecked(true);
    Find<QPushButton>("cmdScan")->click();
    EXPECT_EQ(bench.calls.size(), calls); // asks first
    Confirm();
    EXPECT_EQ(bench.calls.size(), calls + 112);
}

TEST_F(I2CWindow, LoadAsksWritesVerifiesAndDumpsTheSame)
{
    QByteArray bytes;
    for (int i = 0; i < 256; ++i)
        bytes += static_cast<char>(i ^ 0x5A);
    bench.Put(QStringLiteral("in.bin"), bytes);
    bench.calls.clear();
    window.LoadFrom(File("in.bin"));
    EXPECT_EQ(bench.calls.size(), 0);
    Confirm();
    EXPECT_EQ(State(), QStringLiteral("256 bytes written and verified, no difference."));
    window.DumpTo(File("out.bin"));
    QFile out(File("out.bin"));
    ASSERT_TRUE(out.open(QIODevice::ReadOnly));
    EXPECT_EQ(out.readAll(), bytes);
    EXPECT_TRUE(Find<QPlainTextEdit>("txtDump")->toPlainText().startsWith(QStringLiteral("0000  5A 5B 58")));
    bytes[200] = 0;
    bench.Put(QStringLiteral("in.bin"), bytes);
    window.VerifyWith(File("in.bin"));
    EXPECT_EQ(
        State(),
        QStringLiteral("1 of 256 bytes differ, the first at 0x0C8: the part holds 0x92, the file 0x00."));
    bench.Put(QStringLiteral("in.bin"), bytes + 'x');
    window.LoadFrom(File("in.bin"));
    EXPECT_EQ(State(), QStringLiteral("in.bin has 257 bytes, the part only 256. Nothing was sent."));
}

TEST_F(I2CWindow, AFailedDumpWritesNoFileAndACloseEndsIt)
{
    bench.onCall = [this] {
        if (bench.calls.size() == 3) {
            EXPECT_FALSE(window.close()); // the step under way ends first
        }
    };
    bench.calls.clear();
    window.DumpTo(File("cut.bin"));
    EXPECT_TRUE(State().startsWith(QStringLiteral("Cancelled: 96 of 256 bytes were read")));
    EXPECT_FALSE(QFile::exists(File("cut.bin")));
    EXPECT_FALSE(GaugeAccess::Held());
    QTRY_VERIFY(!window.isVisible());
}

TEST_F(I2CWindow, SingleTransfers)
{
    Find<QLineEdit>("txtBytes")->setText(QStringLiteral("11 22"));
    Find<QLineEdit>("txtRegister")->setText(QStringLiteral("10"));
    Find<QPushButton>("cmdWriteI2C")->click();
    Confirm();
    Find<QPushButton>("cmdReadI2C")->click();
    EXPECT_TRUE(Find<QPlainTextEdit>("txtDump")->toPlainText().startsWith(QStringLiteral("0010  11 22 FF")));
    Find<QLineEdit>("txtI2CAddress")->setText(QStringLiteral("A1"));
    Find<QPushButton>("cmdReadI2C")->click();
    EXPECT_TRUE(Find<QLineEdit>("txtI2CAddress")->property("refused").toBool());
    Find<QLineEdit>("txtI2CAddress")->setText(QStringLiteral("50"));
    Find<QPushButton>("cmdReadI2C")->click();
    EXPECT_TRUE(State().contains(ErrorCodeToText(ErrorCode::NoAcknowledge)));
}

} // namespace
