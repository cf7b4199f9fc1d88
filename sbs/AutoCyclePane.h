#pragma once

#include "platform/UserMessages.h"
#include "sbs/AutoCycle.h"
#include "sbs/EventLog.h"
#include "sbs/ScanEngine.h"
#include "settings/TableSettings.h"

#include <QMenu>
#include <QWidget>

/// The auto-cycle as a tab of the register view: its state, why the last switch happened, the limits, the
/// phases, and the big button that stops and switches both lines off.
class AutoCyclePane final : public QWidget {
    Q_OBJECT
public:
    AutoCyclePane(AutoCycle& cycle, TableSettings& settings, UserMessages& messages, ScanEngine& scan,
                  QWidget* parent = nullptr);

    /// The Auto-Cycle menu: start, stop, wiring and levels, settings, help.
    [[nodiscard]] QMenu* MakeMenu(QWidget* parent);
    void Refresh(); ///< after a pass, and about once a second
    /// Notes a change of the state since before in the events.
    void NoteState(CycleState before, EventLog& events);
    void Applyskin();

signals:
    void StateChanged(); ///< a run began or ended
};
