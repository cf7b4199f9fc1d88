#pragma once

#include "comm/BusSequence.h"
#include "comm/GaugeContext.h"
#include "dataflash/AutoExport.h"
#include "dataflash/DataFlash.h"
#include "dataflash/DataFlashFilter.h"
#include "dataflash/DataFlashForm.h"
#include "dataflash/EditHistory.h"
#include "dataflash/EditJudge.h"
#include "dataflash/GgFile.h"
#include "dataflash/ItemFacts.h"
#include "dataflash/NoticeBar.h"
#include "dataflash/PreserveSettings.h"
#include "dataflash/ValueOffers.h"
#include "look/ChildView.h"
#include "look/Icons.h"
#include "settings/TableSettings.h"

#include <QLineEdit>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>
#include <QTabWidget>
#include <QTimer>
#include <QToolButton>

#include <functional>
#include <memory>
#include <optional>

class QLabel;
class ComparePane;
class DataFlashGrid;
class DataFlashItemModel;
class DataFlashTabs;
class ItemDetailsPane;
class PendingWritePane;
class WritePlanPane;

/// The data-flash editor: shows the values of a data flash, edits them and hands every transfer and file on
/// to the cores. Nothing is written before its plan stands on screen.
class frmDF final : public ChildView, private PeriodicWork {
    Q_OBJECT
public:
    explicit frmDF(GaugeContext& context);
    ~frmDF() override;

    void Applyskin() override;
    QList<QMenu*> Menus() const override;
    QList<QAction*> FileActions() const override;
    QList<QAction*> ViewActions() const override;
    bool MayClose() override;
    bool Busy() const override { return m_working || m_flash.Running(); }
    void Abandon() override;

    /// What fits folds: the words of buttons must not keep a window from getting narrow.
    [[nodiscard]] QSize minimumSizeHint() const override { return {480, 240}; }
    [[nodiscard]] DataFlash& Flash() { return m_flash; }
    /// Brings a file's values up beside the ones on screen.
    void ImportDF(const QString& path);
    void CompareWith(const QString& path);
    void ExportTo(const QString& path);

protected:
    void resizeEvent(QResizeEvent* event) override;
    bool Leave() override;

private:
    enum class Write { Changed, All, Preserve };
    enum class Bottom { Nothing, Plan, Compare };

    void Pause() override;
    void Resume() override;

    // layout and menus: frmDFLayout.cpp
    void LayOut();
    QWidget* MakeToolbar();
    QWidget* MakeFilterRow();
    QWidget* MakeGridPane();
    QWidget* MakeEmptyPage();
    void ConnectPanes();
    QPushButton* Command(const char* name, const char* icon, const QString& text, const QString& tip,
                         void (frmDF::*does)());
    QToolButton* FilterButton(const char* name, const char* icon, IconInk ink, const QString& words,
                              bool* on);
    QAction* Add(QMenu* menu, const char* name, const QString& text, const char* icon,
                 const QKeySequence& shortcut, void (frmDF::*does)());
    void MakeMenus();
    void MakePreserveMenu();
    void Fold(bool narrow);
    void ShowBottom(Bottom what);
    void PlaceSplitters();
    void FocusPane(bool forward);
    void SaveForm();

    // rows, marks and edits: frmDF.cpp
    void LoadConfiguration(const QString& path = {});
    void ShowRows();
    void ShowMarks(); ///< after any change of values
    void ShowItem();
    void ShowLastRead();
    void ShowLocked();
    void Changed(const QString& said); ///< values were changed here
    void ShowVerdict(const EditVerdict& verdict);
    void EndEdit();
    void Undo();
    void Redo();
    void RevertItems();
    void SetItemDefaults();
    void SetDefaults(std::optional<int> classIndex);
    void SetTabDefaults();
    void SetAllDefaults() { SetDefaults(std::nullopt); }
    void CopyItems();
    void GoTo(const ItemPlace& place);
    void FindNext() { FindOn(true); }
    void FindPrevious() { FindOn(false); }
    void FindOn(bool forward);
    void FocusSearch();
    void NextTab();
    void PreviousTab();
    void NextPane() { FocusPane(true); }
    void PreviousPane() { FocusPane(false); }
    void TogglePrivate();
    void ToggleDensity();
    void ToggleDetails();

    // transfers: frmDFTransfer.cpp
    using Sequence = std::function<TransferReport()>;
    using Then = std::function<void(const TransferReport& report, int replacedEdits)>;
    static constexpr int kTries = 250; ///< 5 s
    /// Runs a command once no sequence is under way further down the stack: a dialog that opened inside one
    /// would hold it, and perhaps the bus, until it closes.
    void WhenFree(const std::function<void()>& command, const std::function<void()>& orElse,
                  int triesLeft = kTries);
    /// Whether a dialog has to wait: it is then opened later, by itself.
    bool PutOff(void (frmDF::*dialog)());
    /// Runs a sequence when it is free to; a second call meanwhile does nothing.
    void Run(const QString& what, const Sequence& sequence, const Then& then);
    void RunNow();
    void ReadAll();
    void AfterRead(const TransferReport& report, int replaced);
    void NoteLastRead(const TransferReport& report);
    void WriteChanged() { ShowPlan(Write::Changed, 0); }
    void WriteAll() { ShowPlan(Write::All, 0); }
    void WritePreserve(int set) { ShowPlan(Write::Preserve, set); }
    void ShowPlan(Write what, int set);
    void StartWrite(bool withBackup);
    void AfterWrite(const TransferReport& report);
    void CancelTransfer();
    void LookForPendingWrite();
    void FinishPending();
    void RollBackPending();
    void AfterPending(const TransferReport& report);
    void ForgetPending();
    void WatchLink();

    // files: frmDFFiles.cpp
    void AskExport();
    void AskImport();
    void AskSpecialExport();
    void AskCompare();
    void CompareDefaults();
    void OpenConfiguration();
    void TakeOffers();
    void ShowOffers(ValueOffers offers);
    void NoteExport(const QString& path, const QString& problem, QStringList warnings);
    [[nodiscard]] QString AskForGg(bool save, const QString& title);
    void ToggleAutoExport();
    void SetAutoExportInterval();
    void SetAutoExportFile();
    void SetAutoExportTimer();
    void ExportTick();

    GaugeContext& m_context;
    TableSettings m_settings;
    DataFlashForm m_form;
    DataFlash m_flash;
    EditHistory m_history;
    ReadTrends m_trends;
    DataFlashFilter m_filter;
    MarkTally m_tally;
    AutoExport m_autoExport;
    PreserveSettings m_sets;

    struct Order {
        QString What; ///< in words, for the progress line and the undo list
        Sequence Do;
        Then Afterwards;
    };
    std::optional<Order> m_order; ///< waits for the bus, or runs
    bool m_working = false; ///< m_order runs further down the stack
    bool m_exportStuck = false; ///< the last automatic one wrote nothing, and a notice says so
    bool m_lookDue = false; ///< for a write that never ended, once the bus is free
    bool m_answered = false; ///< the gauge did when WatchLink last looked
    bool m_folded = false;
    bool m_placed = false;
    bool m_exportRan = false; ///< tmrExport as a pause found it
    Write m_write = Write::Changed; ///< of the plan on screen
    int m_preserveSet = 0;
    Bottom m_bottom = Bottom::Nothing;
    QString m_backup; ///< of the write under way
    QString m_lastRead;
    TransferReport m_exportRead; ///< the Read All of the last automatic export; no entry: there was none
    QString m_lastFolder; ///< of file dialogs

    DataFlashItemModel* m_model = nullptr;
    DataFlashGrid* grdDataFlash = nullptr;
    DataFlashTabs* m_classTabs = nullptr;
    ItemDetailsPane* m_details = nullptr;
    WritePlanPane* m_plan = nullptr;
    ComparePane* m_compare = nullptr;
    PendingWritePane* m_pending = nullptr;
    NoticeBar* m_notice = nullptr;
    QStackedWidget* m_pages = nullptr;
    QTimer* tmrExport;
    QTimer* m_watch;

    QWidget* m_filterRow = nullptr;
    QWidget* m_gridPane = nullptr;
    QPushButton* cmdReadAll = nullptr;
    QPushButton* cmdWriteChanged = nullptr;
    QPushButton* cmdWriteAll = nullptr;
    QPushButton* cmdWritePreserve = nullptr;
    QPushButton* cmdDefaults = nullptr;
    QList<std::pair<QPushButton*, QString>> m_commands; ///< with their words, which narrow windows drop
    QToolButton* cmdUndo = nullptr;
    QToolButton* cmdRedo = nullptr;
    QLineEdit* txtSearch = nullptr;
    QLabel* lblShowOnly = nullptr;
    QToolButton* cmdOnlyChanged = nullptr;
    QToolButton* cmdOnlyEdited = nullptr;
    QToolButton* cmdOnlyDiffers = nullptr;
    QLabel* lblLastRead = nullptr;
    QPushButton* cmdCancelTransfer = nullptr;
    QWidget* m_refusal = nullptr;
    QLabel* m_refusalIcon = nullptr;
    QLabel* lblRefusal = nullptr;
    QPushButton* cmdUseAnyway = nullptr;
    QLabel* lblEmptyText = nullptr;
    QSplitter* m_across = nullptr;
    QSplitter* m_down = nullptr;
    QTabWidget* m_allTabs = nullptr; ///< of a narrow window

    QMenu* mnuDataFlash = nullptr;
    QMenu* mnuDataFlashWrPreserve = nullptr;
    QList<QAction*> mnuDataFlashWrPreserveArr;
    QMenu* mnuDefaults = nullptr;
    QMenu* mnuOptions = nullptr;
    QAction* mnuExport = nullptr;
    QAction* mnuImport = nullptr;
    QAction* mnuFileSpecialExport = nullptr;
    QAction* mnuViewPrivate = nullptr;
    QAction* mnuViewRoomyItems = nullptr;
    QAction* mnuViewItemPane = nullptr;
    QAction* mnuOptionsVerifyWrite = nullptr;
    QAction* mnuOptionsAutoExport = nullptr;
    QAction* actUndo = nullptr;
    QAction* actRedo = nullptr;
    QList<QAction*> m_transferActions; ///< off while a sequence runs
    QList<QAction*> m_valueActions;
};
