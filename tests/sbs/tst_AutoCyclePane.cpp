#include "sbs/AutoCyclePane.h"
#include "sbs/CycleRows.h"
#include "sbs/frmAutoCycle.h"
#include "tests/sbs/ScanBench.h"

#include <QLineEdit>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>

namespace {

class FakeLines final : public CycleLines {
public:
    bool Busy() const override { return false; }
    LineResult Switch(Direction direction, const AutoCycleSettings&) override
    {
        charger = direction == Direction::Charge;
        load = !charger;
        return {};
    }
    LineResult BothOff(const AutoCycleSettings&) override
    {
        if (offFails)
            return {ErrorCode::NoAcknowledge, {}};
        charger = load = false;
        return {};
    }
    bool charger = false;
    bool load = false;
    bool offFails = false;
};

/// The pane over a gauge of three registers; a pass reads them as the register view would.
struct AutoCyclePaneTest : testing::Test {
    ScanBench bench{{QStringLiteral("Charge;Charge;1;0;x;;0;u;%"),
                     QStringLiteral("Voltage;Volt;1;1;x;;0;u;mV"),
                     QStringLiteral("BatteryStatus;Stat;1;2;x;;0;hhhh;")},
                    {QStringLiteral("BatteryStatus;OCA|TCA||OTA|TDA||RCA|RTA|INIT|DSG|FC|FD||||;2;16")}};
    QTemporaryDir folder;
    ProfileStore profiles;
    StartupState state;
    TableSettings settings{profiles, state};
    FakeLines lines;
    RecordedMessages messages;
    EventLog events{bench.time};
    AutoCycle cycle{lines, bench.time, messages};
    AutoCycleSettings given;
    AutoCyclePane pane{cycle, settings, messages, bench.engine};
    QMenu* menu = nullptr;

    AutoCyclePaneTest()
    {
        state.ProgramFolder = folder.path();
        given.RemCapRow = 0;
        given.BattVoltRow = 1;
        given.BattStatRow = 2;
        cycle.SetSettings(given);
        menu = pane.MakeMenu(&pane);
        pane.Refresh();
    }
    void Pass(std::uint16_t charge, std::uint16_t voltage, std::uint16_t status)
    {
        bench.gauge.words[0] = charge;
        bench.gauge.words[1] = voltage;
        bench.gauge.words[2] = status;
        bench.time.Advance(2000);
        const PassReport report = bench.engine.ReadValues();
        const CycleState before = cycle.Facts().State;
        cycle.Step(ReadCycleValues(bench.engine, cycle.Settings(), report));
        pane.NoteState(before, events);
    }
    template <class Control>
    Control* Find(const char* name)
    {
        return pane.findChild<Control*>(QLatin1String(name));
    }
    QString Text(const char* label) { return Find<QLabel>(label)->text(); }
    void Click(const char* button) { QTest::mouseClick(Find<QPushButton>(button), Qt::LeftButton); }
    QAction* Entry(const char* name) { return menu->findChild<QAction*>(QLatin1String(name)); }
    QStringList TriggerRow(int row)
    {
        QStringList cells;
        const auto* table = Find<QTableWidget>("grdCycleTriggers");
        for (int column = 1; column < table->columnCount(); ++column)
            cells << table->item(row, column)->text();
        return cells;
    }
    QString Config()
    {
        return QString::fromUtf8(ReadWhole(folder.filePath(QStringLiteral("Config.ini"))).bytes);
    }
};

TEST_F(AutoCyclePaneTest, FollowsARunFromStartToTheStopButton)
{
    QSignalSpy changed(&pane, &AutoCyclePane::StateChanged);
    EXPECT_FALSE(Find<QPushButton>("cmdStopCycle")->isEnabled());
    EXPECT_TRUE(Text("lblCycleWhy").contains(QStringLiteral("press Start")));
    Click("cmdStartCycle");
    EXPECT_EQ(changed.count(), 1);
    EXPECT_FALSE(Find<QPushButton>("cmdStartCycle")->isEnabled());
    EXPECT_TRUE(Find<QPushButton>("cmdStopCycle")->isEnabled());
    EXPECT_FALSE(Entry("mnuAutoCycle2Pin")->isEnabled());

    Pass(50, 14800, 0);
    EXPECT_EQ(Text("lblCycleState"), QStringLiteral("Waiting"));
    Pass(0, 11900, 0);
    EXPECT_EQ(Text("lblCycleState"), QStringLiteral("Charging"));
    EXPECT_EQ(Text("lblCycleWhy"),
              QStringLiteral("Last switch: at 09:00:04 remaining capacity 0 % was below 1 %."));
    EXPECT_EQ(Text("lblCycleLines"), QStringLiteral("Charger on, load off"));
    Pass(60, 16000, 0);
    EXPECT_EQ(Text("lblCycleElapsed"), QStringLiteral("state 1, for 2.0 s of 24:00:00"));
    Pass(100, 16800, 0);
    Pass(40, 15000, 0);
    EXPECT_EQ(Text("lblCycleState"), QStringLiteral("Discharging"));
    EXPECT_TRUE(Text("lblCycleCount").endsWith(QStringLiteral("charged 100 % \u00b7 discharged 0 %")));
    EXPECT_EQ(Find<QWidget>("grdCyclePhases")->accessibleDescription(),
              QStringLiteral("Charging 4.0 s, Discharging 2.0 s"));
    ASSERT_TRUE(lines.load);

    Click("cmdStopCycle");
    EXPECT_FALSE(lines.charger || lines.load);
    EXPECT_EQ(changed.count(), 2);
    EXPECT_EQ(Text("lblCycleStopReason"), QStringLiteral("Stopped by hand. Charger and load are off."));
    EXPECT_FALSE(Find<QPushButton>("cmdStopCycle")->isEnabled());
    EXPECT_TRUE(Entry("mnuAutoCycle2Pin")->isEnabled());

    Pass(40, 15000, 0); // the stop came between two passes and is noted with the next one
    QStringList noted;
    for (const RegisterEvent& event : events.Events())
        noted << event.Text;
    EXPECT_EQ(
        noted,
        (QStringList{QStringLiteral("Charging: At 09:00:04 remaining capacity 0 % was below 1 %."),
                     QStringLiteral("Discharging: At 09:00:08 remaining capacity 100 % was above 99 %."),
                     QStringLiteral("Auto-cycle stopped: Stopped by hand. Charger and load are off.")}));
}

TEST_F(AutoCyclePaneTest, KeepsTheStopButtonWhileALineMayBeOn)
{
    Click("cmdStartCycle");
    Pass(0, 11900, 0);
    Entry("mnuAutoCycleStop")->trigger();
    EXPECT_TRUE(lines.charger);
    EXPECT_TRUE(Find<QPushButton>("cmdStopCycle")->isEnabled());
    EXPECT_TRUE(Find<QPushButton>("cmdStartCycle")->isEnabled());
    Pass(0, 11900, 0);
    EXPECT_EQ(events.Events().back().Text,
              QStringLiteral("Auto-cycle: Stopped. The lines were left as they are."));
    lines.offFails = true;
    Click("cmdStopCycle");
    EXPECT_EQ(Text("lblCycleLines"), QStringLiteral("Charger and load may still be on"));
    EXPECT_TRUE(Find<QPushButton>("cmdStopCycle")->isEnabled());
}

TEST_F(AutoCyclePaneTest, ShowsEveryLimitAgainstTheLastPass)
{
    given.ChgTrigType = 7;
    given.ChgAny = 0;
    given.ChgVal = 0x30;
    given.ChgBattvoltVal = 15000;
    cycle.SetSettings(given);
    bench.gauge.failAt = 1;
    Pass(50, 14800, 0x10);
    const auto row = [](const char* cells) { return QString::fromLatin1(cells).split(u'|'); };
    EXPECT_EQ(TriggerRow(0), row("|below 1 %|no value|above 99 %|no value"));
    EXPECT_EQ(TriggerRow(1), row("14800 mV|below 15000 mV|holds|above 15300 mV|not used"));
    EXPECT_EQ(TriggerRow(2), row("0010 hex|all bits of 0030|no|no bit chosen|not used"));
}

TEST_F(AutoCyclePaneTest, SavesWiringAndLevelsFromTheMenu)
{
    Entry("mnuAutoCycle2Pin")->trigger();
    EXPECT_FALSE(Entry("mnuAutoCycleLo")->isEnabled());
    Entry("mnuAutoCycleLoadHi")->trigger();
    EXPECT_EQ(cycle.Facts().State, CycleState::RelaxBeforeDischarge);
    const AutoCycleSettings saved = LoadAutoCycleSettings(settings, 0);
    EXPECT_EQ(saved.ChgPin, 2);
    EXPECT_EQ(saved.LoadHi, 0);
    Entry("mnuAutoCycleHelp")->trigger();
    EXPECT_EQ(messages.texts,
              QStringList{QStringLiteral("Error opening file Documentation/AutoCycleHlp.txt")});
}

struct frmAutoCycleTest : AutoCyclePaneTest {
    frmAutoCycle dialog{cycle, settings, bench.engine};
    template <class Control>
    Control* In(const char* name)
    {
        return dialog.findChild<Control*>(QLatin1String(name));
    }
};

TEST_F(frmAutoCycleTest, WritesTheKeysThatChangedAndPutsThemInForce)
{
    In<QSpinBox>("spnChgRemCapVal")->setValue(10);
    In<QCheckBox>("chkChgBattvolt")->setChecked(true);
    In<QRadioButton>("optDChgAll")->setChecked(true);
    In<QCheckBox>("chkDChgStatus")->setChecked(true);
    In<QLineEdit>("txtDChgVal")->setText(QStringLiteral("4000"));
    EXPECT_TRUE(In<QCheckBox>("chkDChgBit14")->isChecked());
    In<QCheckBox>("chkDChgBit5")->setChecked(true);
    EXPECT_EQ(In<QLineEdit>("txtDChgVal")->text(), QStringLiteral("4020"));
    In<QSpinBox>("spnChgRelax")->setValue(600);
    In<QRadioButton>("optTwoPins")->setChecked(true);
    In<QCheckBox>("chkLoadHi")->setChecked(false);
    dialog.accept();
    EXPECT_EQ(Config().simplified(),
              QStringLiteral("[AutoCycle] ChgRemCapVal=10 ChgTrigType=3 ChgRelax=600 DChgTrigType=5 "
                             "DChgVal=16416 DChgAny=0 ChgPin=2 LoadHi=0"));
    EXPECT_EQ(cycle.Settings().DChgVal, 0x4020);
}

// Nobody can type these, but files hold them: OK must not repair them.
TEST_F(frmAutoCycleTest, KeepsWhatItCannotShow)
{
    AutoCycleSettings odd = given;
    odd.BattVoltRow = 77;
    odd.ChgTrigType = 0x1F8;
    odd.ChgAny = 5;
    odd.DChgRemCapVal = -4;
    odd.DChgVal = -1;
    odd.ChgPin = 0;
    odd.PinHi = -1;
    odd.ChgLongest = 90'000'000;
    cycle.SetSettings(odd);
    frmAutoCycle second(cycle, settings, bench.engine);
    second.accept();
    EXPECT_EQ(cycle.Settings(), odd);
    EXPECT_EQ(Config(), QString());
}

TEST_F(frmAutoCycleTest, StaysOpenWithTheReasonWhenSavingFails)
{
    dialog.open();
    folder.remove();
    In<QSpinBox>("spnChgRemCapVal")->setValue(120);
    EXPECT_TRUE(
        In<QLabel>("lblCycleHints")->text().startsWith(QStringLiteral("Remaining capacity: the charge")));
    dialog.accept();
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_TRUE(In<QLabel>("lblProblem")->text().contains(QStringLiteral("Config.ini")));
    EXPECT_EQ(cycle.Settings(), given);
}

} // namespace
