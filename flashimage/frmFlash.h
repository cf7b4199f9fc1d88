#pragma once

#include "comm/GaugeContext.h"
#include "flashimage/DifferenceModel.h"
#include "flashimage/FlashDesk.h"
#include "flashimage/FlashRunPane.h"
#include "flashimage/ImagePane.h"
#include "flashimage/clsSrecRW.h"
#include "look/ChildView.h"

#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QTabWidget>
#include <QTableView>
#include <QTimer>

#include <functional>
#include <memory>

class QSplitter;
class QStackedWidget;
class QToolButton;

/// Flash images: opens, shows and edits one, compares it with another, and programs or reads the gauge. Files
/// need neither adapter nor target.
class frmFlash final : public ChildView {
    Q_OBJECT
public:
    /// @param context  nothing while no adapter is open
    frmFlash(ProfileStore& profiles, const StartupState& state, UserMessages& messages,
             FlashDesk::LoadTargets loadTargets, GaugeContext* context);

    void Applyskin() override;
    QList<QMenu*> Menus() const override { return {mnuEdit, mnuImage}; }
    QList<QAction*> FileActions() const override { return {actOpen, actSave, actSaveAs}; }
    bool MayClose() override;
    bool MayAbandon() override;
    bool Busy() const override { return m_reading || m_looking || (m_run && m_run->Running()); }
    void Abandon() override;

    void OpenImage(const QString& path);
    void CompareWith(const QString& path);
    /// @return false when the file was not written
    bool SaveTo(const QString& path);

protected:
    bool Leave() override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void MakeActions();
    QAction* Add(const char* name, const QString& text, const char* icon, const QKeySequence& shortcut,
                 void (frmFlash::*does)());
    QToolButton* Button(QAction* action, bool withText);
    void LayOut();
    QWidget* MakeToolbar();
    QWidget* MakeRegionRow();
    QWidget* MakeBanner();
    QWidget* MakeEmptyPage();
    void Connect();
    void Fold();

    void AskOpen();
    void AskCompare();
    void Save();
    void AskSaveAs();
    bool SaveFirst(); ///< asks about edits that would be lost
    [[nodiscard]] QString AskForFile(const QString& title);
    void Load(const QString& path, ImagePane* pane);
    void Take(ImagePane* pane, clsSrecFlash image, const QString& path, const QString& name,
              std::int64_t badLines = 0);

    void ListProblems(const ImagePane* pane, const QString& file, const std::vector<SrecProblem>& problems);

    void ShowAll(); ///< after an image came or went
    void ShowRegion(ImageArea area);
    void ShowFacts();
    void ShowActions();
    void ShowDifferences();
    void LookAtMode();
    void ShowMode(); ///< banner
    /// Now, or as soon as nothing further down the stack holds the bus: a dialog would hold it too.
    void WhenFree(const std::function<void()>& act);
    void ShowCursor(const ImagePane& pane);
    void EndComparison();
    void GoToDifference(int row);
    void NextDifference();
    void PreviousDifference();
    void NextFound();
    void PreviousFound();
    void Find(bool forward);
    void FocusGoTo();
    void FocusFind();
    void GoToTyped();
    void GoTo(ImageArea area, std::uint32_t address, std::uint64_t count);
    void Undo();
    void Redo();
    void Step(std::optional<ImageDocument::Place> place);
    void ReadFromGauge();
    void CompareWithGauge();
    void Program();
    void VerifyGauge();
    void TakeFromGauge(bool toCompare);
    void Say(const QString& text);
    [[nodiscard]] bool Comparing() const { return !m_second->Document().Empty(); }

    ProfileStore& m_profiles;
    const StartupState& m_state;
    UserMessages& m_messages;
    std::unique_ptr<FlashDesk> m_desk; ///< nothing without an adapter
    FlashMemory m_memory;
    bool m_reading = false; ///< a file; its progress lets events run
    bool m_cancelReading = false;
    bool m_looking = false; ///< at the gauge's mode; events run meanwhile, and the bus is held

    ImagePane* m_first;
    ImagePane* m_second;
    DifferenceModel* m_differences;
    FlashRunPane* m_run = nullptr;
    QTimer* tmrMode;

    QAction* actOpen = nullptr;
    QAction* actSave = nullptr;
    QAction* actSaveAs = nullptr;
    QAction* actRead = nullptr;
    QAction* actProgram = nullptr;
    QAction* actVerify = nullptr;
    QAction* actCompare = nullptr;
    QAction* actCompareGauge = nullptr;
    QAction* actCompareEnd = nullptr;
    QAction* actPrevious = nullptr;
    QAction* actNext = nullptr;
    QAction* actUndo = nullptr;
    QAction* actRedo = nullptr;
    QMenu* mnuEdit = nullptr;
    QMenu* mnuImage = nullptr;

    QStackedWidget* m_pages;
    QFrame* m_banner = nullptr;
    QLabel* lblBanner = nullptr;
    QPushButton* cmdProgramFirmware = nullptr;
    QPushButton* cmdStartFirmware = nullptr;
    QComboBox* cboRegion;
    QLabel* lblRegion;
    QLabel* lblCursor;
    QLabel* lblDifference;
    QCheckBox* chkTogether;
    QCheckBox* chkOnlyDifferences;
    QLineEdit* txtGoTo;
    QLineEdit* txtFind;
    QSplitter* m_across;
    QSplitter* m_down;
    QTabWidget* m_tabs;
    QTableView* grdDifferences;
    QListWidget* lstProblems;
    QList<QToolButton*> m_wordButtons; ///< lose their words in a narrow window
};
