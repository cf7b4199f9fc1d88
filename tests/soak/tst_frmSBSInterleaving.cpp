#include "comm/adapters/SimulatedAdapter.h"
#include "sbs/frmSBS.h"
#include "simulator/Random.h"
#include "tests/soak/CoreBench.h"
#include "tests/support/TargetFolder.h"

#include <QCoreApplication>
#include <QPointer>

namespace {

class YesMessages final : public UserMessages {
public:
    void Show(const QString& text) override
    {
        EXPECT_FALSE(text.contains(QStringLiteral("Sync error"))) << "a second release";
    }
    Answer Ask(const QString&, Answers offered) override
    {
        return offered.testFlag(Answer::Yes) ? Answer::Yes : Answer::Cancel;
    }
};

/// One seed: a register view that a user works with and its timers drive, inside one another, until the main
/// window's rule allows to close it, which may be anywhere on the stack.
class WindowInterleaving {
public:
    WindowInterleaving(std::uint64_t seed, TargetFolder& home)
        : m_random(Random::Mix(seed)), m_home(home), m_sim(m_time, Pack(seed))
    {
        bool open = false;
        m_usb.OpenFirstFreeDevice(open);
        m_view = new frmSBS(m_context);
        m_view->resize(1200, 700);
        m_view->show();
        m_time.deepest = 3;
        m_time.onEvents = [this] {
            if (m_random.Below(6) == 0)
                Act();
        };
    }
    ~WindowInterleaving() { delete m_view; }

    void Run()
    {
        for (int step = 0; step < 30 && m_view; ++step) {
            m_time.Advance(m_random.Below(3000));
            Act();
            EXPECT_FALSE(GaugeAccess::Held()) << "the lock is stuck";
        }
        m_time.onEvents = nullptr;
        while (m_view)
            Close();
        std::int16_t charger = 0;
        std::int16_t load = 1;
        std::int16_t chargerLevel = 0;
        std::int16_t loadLevel = 0;
        m_sim.AdpGPIORead(charger, chargerLevel);
        m_sim.AdpGPIORead(load, loadLevel);
        EXPECT_EQ(chargerLevel + loadLevel, 0) << "a line was left on";
    }

private:
    static SimulatorSettings Pack(std::uint64_t seed)
    {
        SimulatorSettings settings;
        settings.Seed = seed;
        settings.Faults.Reentry = seed % 2 == 0;
        return settings;
    }

    void Act()
    {
        if (!m_view)
            return;
        switch (m_random.Below(10)) {
        case 0:
            return Click("cmdRefresh");
        case 1:
            return Click("cmdStartCycle");
        case 2:
            return Click("cmdStopCycle");
        case 3:
            return Click("chkContScan");
        case 4:
            return m_view->WriteSBSValueFromGrid(0, QString::number(m_random.Below(30'000)));
        case 5:
            return m_view->resize(m_random.Below(2) == 0 ? 500 : 1200, 700); // folds into tabs and back
        case 6:
            return m_view->StopLines();
        case 7:
            return m_random.Below(6) == 0 ? Close() : m_view->Applyskin();
        default:
            return QCoreApplication::processEvents(); // its timers
        }
    }
    void Click(const char* name)
    {
        if (auto* button = m_view->findChild<QAbstractButton*>(QLatin1String(name)))
            button->click();
    }
    /// As the main window does it.
    void Close()
    {
        m_view->Abandon();
        if (m_view->Busy() || !m_view->AskToClose() || !m_view)
            return QCoreApplication::processEvents();
        m_view->close();
        delete m_view;
    }

    Random m_random;
    TargetFolder& m_home;
    TestTime m_time;
    YesMessages m_messages;
    SimulatedAdapter m_sim;
    TargetSettings m_target;
    ErrorList m_errors{m_time};
    frmUSB m_usb{m_sim, m_time, m_messages, {}};
    GaugeAccess m_access{m_time, m_messages};
    GaugeLink m_link{m_usb, m_access, m_home.profiles, m_messages, m_home.state, m_target};
    GaugeContext m_context{m_home.profiles, m_home.state, m_target,   m_usb,   m_access,
                           m_link,          m_time,       m_messages, m_errors};
    QPointer<frmSBS> m_view;
};

} // namespace

TEST(RegisterView, ClosesCleanlyWhateverItIsDoing)
{
    TargetFolder home("");
    home.Put(QStringLiteral("Config.ini"),
             "[SBS]\nConfigFile=t.sbs\nScanInterval=1\nLogInterval=1\n[FuelGauge]\nRemCapRow=3\n"
             "[AutoCycle]\nChgPin=2\nBattVoltRow=1\nBattStatRow=4\nChgRemCapVal=70\nDChgRemCapVal=50\n");
    const QString table = home.state.ProgramFolder + QStringLiteral("/t.sbs");
    TextGrid grid;
    WordTable({0x04, 0x09, 0x0A, 0x0D, 0x16}).PopulateSBSInfo(grid);
    ASSERT_EQ(clsSBSCfgRW().WriteSBSInfo(grid, table), QString());
    const std::uint64_t seeds = LongTests() ? 1000 : 200;
    for (std::uint64_t seed = 1; seed <= seeds; ++seed) {
        WindowInterleaving(seed, home).Run();
        ASSERT_FALSE(HasFailure()) << "seed " << seed;
    }
}
