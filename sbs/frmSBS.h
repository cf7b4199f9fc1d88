#pragma once

#include "comm/BusSequence.h"
#include "comm/GaugeContext.h"
#include "look/ChildView.h"
#include "sbs/AutoCycle.h"
#include "sbs/EventLog.h"
#include "sbs/RegisterLog.h"
#include "sbs/ScanEngine.h"
#include "sbs/StaticData.h"
#include "settings/TableSettings.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSplitter>
#include <QTabWidget>
#include <QTableWidget>
#include <QTimer>
#include <QToolButton>

#include <functional>
#include <optional>

class AutoCyclePane;
class EventsPane;
class FlagsPane;
class PlotView;
class RegisterGrid;
class RegisterModel;

/// The register view: shows what the scan engine knows, live, and forwards clicks to it, to the register log
/// and to the auto-cycle.
class frmSBS final : public ChildView, private PeriodicWork {
    Q_OBJECT
public:
    explicit frmSBS(GaugeContext& context);
    ~frmSBS() override;

    void Applyskin() override;
    QList<QMenu*> Menus() const override;
    QList<QAction*> FileActions() const override;
    QList<QAction*> ViewActions() const override;
    bool MayClose() override;
    bool Busy() const override { return m_working || m_scan.Running() || m_cycle.Working(); }
    void Abandon() override;
    void StopLines() override;

    // operations
    void LoadInitSBSGrid(); ///< loads the tables and fills the grid
    void MoveSBSDataToGrid();
    void WriteSBSValueFromGrid(int row, const QString& typed);
    void EnableSBSContScan(bool on);
    void SetCheckScan(bool on);
    void SetCheckLog(bool on);

protected:
    void resizeEvent(QResizeEvent* event) override;
    bool Leave() override;

private:
    void Pause() override;
    void Resume() override;

    void LayOut();
    QWidget* MakeToolbar();
    QWidget* MakeGridPane();
    void MakeMenus();
    /// Runs a command of the user once no sequence of this view is under way further down the stack: a dialog
    /// that opened in the middle of a pass would hold the pass, and perhaps the bus, until it closes.
    void WhenIdle(const std::function<void()>& command, int waitedMs = 0);
    QAction* Add(QMenu* menu, const char* name, const QString& text, const QKeySequence& shortcut,
                 void (frmSBS::*does)());
    void PlaceSplitters(); ///< as they were, or as one begins
    void Fold(bool narrow); ///< side by side, or all panes as tabs of one

    void Tick(); ///< of tmrScan
    void Refresh(); ///< one pass now
    void AfterPass(const PassReport& report);
    void CheckIdentity();
    void ReadStatic();
    void ShowStatic();
    void Watch(); ///< once a second: ages, and lines that are on

    void StartLogging();
    void StopLogging();
    void ToggleLogging() { m_log.IsLogging() ? StopLogging() : StartLogging(); }
    void LogTick();
    void ShowLogState();

    void ToggleContScan() { chkContScan->toggle(); }
    void ScanAll() { SetCheckScan(true); }
    void ScanNone() { SetCheckScan(false); }
    void LogAll() { SetCheckLog(true); }
    void LogNone() { SetCheckLog(false); }
    void AskRefreshInterval();
    void AskLoggingInterval();
    void ApplyIntervals();
    void ResetStatistics();
    void ShowColumns();
    void ToggleButtonBar();
    void ToggleDensity();
    void ShowPlot();

    void SendValue(int row, const QString& typed);
    void PreviewEdit(int row, const QString& typed);
    /// @param forMs  passes leave the text alone for so long
    void ShowFooter(const QString& text, bool refused, std::int64_t forMs);
    void ShowCounts(); ///< of the last pass, unless the footer keeps another text
    void Copy(QChar separator);
    void CopyText() { Copy(QLatin1Char('\t')); }
    void CopyCsv() { Copy(QLatin1Char(',')); }
    void FocusFilter() { txtFilter->setFocus(); }
    void UpdateCurves();
    void ShowEvents();
    void SaveFormState();

    GaugeContext& m_context;
    TableSettings m_settings;
    clsSBSCfgRW m_tables;
    RegisterReader m_registers;
    ScanEngine m_scan;
    RegisterLog m_log;
    EventLog m_events;
    AdapterLines m_lines;
    AutoCycle m_cycle;
    std::vector<StaticItem> m_static;
    bool m_staticDue = true;
    bool m_working = false; ///< an operation of this view is under way further down the stack
    bool m_commandWaits = false; ///< no pass begins before it
    bool m_passWaits = false; ///< it was due in the middle of somebody's call
    bool m_closing = false;
    bool m_transferFailed = false; ///< since the last record of the log
    bool m_folded = false;
    bool m_placed = false; ///< the splitters were, in a view of full size
    bool m_scanRan = false; ///< timers as a pause found them
    bool m_logRan = false;
    std::uint64_t m_pass = 0;
    PassReport m_lastReport;
    std::int64_t m_lastPassMs = 0; ///< length of the latest pass
    std::int64_t m_footerUntilMs = 0; ///< until then the footer keeps its text
    bool m_previewing = false; ///< the footer shows what is being typed

    RegisterModel* m_model;
    RegisterGrid* grdSBS;
    FlagsPane* m_flags;
    QTableWidget* grdStatic;
    AutoCyclePane* m_cyclePane;
    EventsPane* m_eventsPane;
    PlotView* m_plot;

    QTimer* tmrScan;
    QTimer* tmrLog;
    QTimer* m_watch;
    QWidget* m_toolbar;
    QWidget* m_gridPane;
    QCheckBox* chkContScan;
    QPushButton* cmdRefresh;
    QLabel* lblInterval;
    QPushButton* cmdStartLogging;
    QPushButton* cmdStopLogging;
    QLabel* lblLog;
    QLineEdit* txtFilter;
    QToolButton* cmdColumns;
    QToolButton* cmdCopy;
    QToolButton* cmdPlot;
    QLabel* lblFooter;
    QSplitter* m_across;
    QSplitter* m_down;
    QTabWidget* m_tabs; ///< beside the grid
    QTabWidget* m_allTabs; ///< of a narrow window
    QWidget* m_sideTab = nullptr; ///< in front beside the registers, before the window became narrow

    QMenu* mnuOptions;
    QMenu* mnuAutoCycle;
    QMenu* m_columnMenu;
    QAction* mnuFileLogging = nullptr;
    QAction* mnuViewRefresh = nullptr;
    QAction* mnuViewButtons = nullptr;
    QAction* mnuViewRoomy = nullptr;
    QAction* mnuOptionsScanOn = nullptr;
    QAction* mnuOptionsScanOff = nullptr;
    QAction* mnuColumnMin = nullptr;
    QAction* mnuColumnMax = nullptr;
    QAction* mnuColumnAge = nullptr;
};
