#include "calibration/frmCal.h"
#include "comm/adapters/SimulatedAdapter.h"
#include "tests/support/TestSupport.h"

#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace {

/// The view on a gauge whose converters are wrong.
struct CalibrationView : testing::Test {
    CalibrationView()
        : adapter(time, [] {
              SimulatorSettings settings;
              settings.Uncalibrated = true;
              return settings;
          }())
    {
        state.ProgramFolder = folder.path();
        QFile config(folder.filePath(QStringLiteral("Config.ini")));
        EXPECT_TRUE(config.open(QIODevice::WriteOnly));
        config.write("[D800]\nCalWr=17217\nCalWrSig=22354\n");
        bool open = false;
        usb.OpenFirstFreeDevice(open);
        EXPECT_TRUE(open);
    }
    template <class Widget>
    Widget* Find(const char* name)
    {
        auto* found = view->findChild<Widget*>(QLatin1String(name));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    void Open()
    {
        view = std::make_unique<frmCal>(context);
        view->show();
        QTest::qWait(0); // the status is read once the view stands
    }

    TestTime time;
    RecordedMessages messages;
    QTemporaryDir folder;
    StartupState state;
    TargetSettings target;
    ProfileStore profiles;
    ErrorList errors{time};
    SimulatedAdapter adapter;
    frmUSB usb{adapter, time, messages, {}};
    GaugeAccess access{time, messages};
    GaugeLink link{usb, access, profiles, messages, state, target};
    GaugeContext context{profiles, state, target, usb, access, link, time, messages, errors};
    std::unique_ptr<frmCal> view;
};

} // namespace

TEST_F(CalibrationView, StoresOnlyWhatWasMeasuredAndStandsOnScreen)
{
    Open();
    EXPECT_TRUE(Find<QLabel>("lblPack")->text().contains(QStringLiteral("SIM4S44")));
    Find<QListWidget>("lstSteps")->setCurrentRow(3);
    EXPECT_FALSE(Find<QPushButton>("cmdStore")->isEnabled());
    Find<QLineEdit>("txtReference")->setText(QStringLiteral("12"));
    Find<QPushButton>("cmdMeasure")->click();
    EXPECT_TRUE(Find<QLabel>("lblNote")->text().contains(QStringLiteral("1000 to 60000")));

    Find<QPushButton>("cmdMeter")->click();
    Find<QPushButton>("cmdMeasure")->click();
    ASSERT_TRUE(Find<QPushButton>("cmdStore")->isEnabled());
    EXPECT_TRUE(Find<QLabel>("lblPlan")->text().contains(QStringLiteral("4341 and 5752")));
    Find<QListWidget>("lstSteps")->setCurrentRow(4); // another step: what was measured no longer counts
    EXPECT_FALSE(Find<QPushButton>("cmdStore")->isEnabled());
    Find<QListWidget>("lstSteps")->setCurrentRow(3);
    EXPECT_FALSE(Find<QPushButton>("cmdStore")->isEnabled());

    Find<QPushButton>("cmdMeter")->click();
    Find<QPushButton>("cmdMeasure")->click();
    Find<QPushButton>("cmdStore")->click();
    EXPECT_TRUE(Find<QLabel>("lblNote")->text().startsWith(QStringLiteral("Stored, read back")));
    EXPECT_FALSE(GaugeAccess::Held());
}

TEST_F(CalibrationView, SaysWhyAGaugeCannotBeCalibrated)
{
    bool open = false;
    usb.CloseDevice();
    Open();
    EXPECT_TRUE(Find<QPushButton>("cmdRetry")->isVisible());
    EXPECT_FALSE(Find<QLabel>("lblProblem")->text().isEmpty());
    usb.OpenFirstFreeDevice(open);
    Find<QPushButton>("cmdRetry")->click();
    EXPECT_FALSE(Find<QPushButton>("cmdRetry")->isVisible());
}
