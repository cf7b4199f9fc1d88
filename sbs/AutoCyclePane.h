#pragma once

#include "platform/UserMessages.h"
#include "sbs/AutoCycle.h"
#include "sbs/EventLog.h"
#include "sbs/ScanEngine.h"
#include "settings/TableSettings.h"

#include <QActionGroup>
#include <QLabel>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QTableWidget>
#include <QWidget>

#include <array>
#include <functional>
#include <optional>

class PhaseStrip;

/// The auto-cycle as a tab of the register view: its state, why the last switch happened, the limits, the
/// phases, and the big button that stops and switches both lines off.
class AutoCyclePane final : public QWidget {
    Q_OBJECT
public:
    AutoCyclePane(AutoCycle& cycle, TableSettings& settings, UserMessages& messages, ScanEngine& scan,
                  QWidget* parent = nullptr);

    /// The Auto-Cycle menu: start, stop, wiring and levels, settings, help.
    [[nodiscard]] QMenu* MakeMenu(QWidget* parent);
    void Refresh(); ///< about once a second
    /// Notes a change of the state since before in the events, and shows it. Call it after each step.
    void NoteState(CycleState before, EventLog& events);
    void Applyskin();

signals:
    void StateChanged(); ///< a run began or ended

private:
    /// One of the reasons for which a run ends without anybody's doing.
    struct StopLine {
        QLabel* icon;
        QLabel* text;
    };

    void LayOut();
    [[nodiscard]] QWidget* MakeContent();
    void FillTriggerTable();
    [[nodiscard]] QAction* Add(const char* name, const QString& text, bool checkable = false);

    /// Runs a command once it can be: at once, or when the pass and the line operation under way have ended.
    /// The program would drop it otherwise, or keep the pass waiting for as long as a question is open.
    void WhenFree(const std::function<void()>& command);
    void StartAutoCycle(std::optional<Direction> first = {});
    void StopAutoCycle();
    void StopAndSwitchOff();
    void SetWiring(std::int32_t pins);
    void SetLevel(AutoCycle::Level line, bool high);
    void Save(const AutoCycleSettings& before);
    void ShowSettings();
    void ShowHelp();

    void ShowState(const CycleFacts& facts);
    void ShowWhy(const CycleFacts& facts);
    void ShowLines(const CycleFacts& facts);
    void ShowTriggers();
    void ShowTrigger(int row, int column, const CycleTrigger& trigger, Direction direction);
    [[nodiscard]] bool AnySuffices(Direction direction) const;
    [[nodiscard]] QString LimitText(const CycleTrigger& trigger, Direction direction) const;
    [[nodiscard]] QString StartText(Direction direction) const; ///< what it waits for
    void ShowStops(const CycleFacts& facts);
    void UpdateMenus(const CycleFacts& facts);
    bool Note(CycleState state, EventLog& events);

    AutoCycle& m_cycle;
    TableSettings& m_settings;
    UserMessages& m_messages;
    ScanEngine& m_scan;
    bool m_running = false; ///< as last shown
    CycleState m_noted = CycleState::Idle;
    bool m_runNoted = false; ///< a run was under way when events were last noted
    QPointer<QDialog> m_help;

    QLabel* m_stateIcon;
    QLabel* lblCycleState;
    QLabel* lblCycleElapsed;
    QLabel* lblCycleWhy;
    QWidget* m_stopReason;
    QLabel* m_stopIcon;
    QLabel* lblCycleStopReason;
    QPushButton* cmdStopCycle;
    QPushButton* cmdStartCycle;
    QPushButton* cmdCycleSettings;
    QLabel* lblCycleCount;
    QLabel* m_linesIcon;
    QLabel* lblCycleLines;
    PhaseStrip* grdCyclePhases;
    QTableWidget* grdCycleTriggers;
    std::array<StopLine, 3> m_stops{}; ///< no answer, alarms, longest phase

    QMenu* mnuAutoCycle = nullptr;
    QAction* mnuAutoCycleStart = nullptr;
    QAction* mnuAutoCycleStartCharge = nullptr;
    QAction* mnuAutoCycleStartDischarge = nullptr;
    QAction* mnuAutoCycleStop = nullptr;
    QAction* mnuAutoCycleStopOff = nullptr;
    QAction* mnuAutoCycle1Pin = nullptr;
    QAction* mnuAutoCycle2Pin = nullptr;
    QAction* mnuAutoCycleHi = nullptr;
    QAction* mnuAutoCycleLo = nullptr;
    QAction* mnuAutoCycleChgHi = nullptr;
    QAction* mnuAutoCycleLoadHi = nullptr;
};
