#pragma once

#include "comm/GaugeContext.h"
#include "look/ChildView.h"
#include "sbs/TableDocument.h"
#include "settings/TableSettings.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QTableView>

class TableModel;
class TablePreviewPane;
class QSplitter;
class QToolButton;

/// Edits register, flag and flash-target tables, with a preview of what the register view makes of the
/// current row. It needs neither adapter nor target.
class frmTables final : public ChildView {
    Q_OBJECT
public:
    /// Opens the register table of the target, when there is one.
    /// @param context  nullptr: nothing is read from a gauge. All of it outlives the view.
    frmTables(ProfileStore& profiles, const StartupState& state, UserMessages& messages,
              GaugeContext* context);
    ~frmTables() override;

    void Applyskin() override;
    QList<QMenu*> Menus() const override;
    QList<QAction*> FileActions() const override;
    bool MayClose() override;
    bool Busy() const override { return m_reading; }
    void Abandon() override;

    /// Asks about changes first. A file of any kind: the kind is guessed.
    void OpenTable(const QString& path);
    bool SaveTable(const QString& path); ///< false after a message; the old file then stands
    void ReadNow(); ///< reads the register of the current row from the gauge

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void LayOut();
    QWidget* MakeToolbar();
    QToolButton* Button(QAction* action, bool withText);
    void MakeActions();
    QAction* Add(const char* name, const QString& text, const char* icon, const QKeySequence& shortcut,
                 void (frmTables::*does)());
    void MakeOpenMenu();

    void AskOpen();
    void NewTable();
    bool Save();
    void SaveNow() { Save(); }
    bool SaveAs();
    void AskSaveAs() { SaveAs(); }
    void ChooseKind(int kind);
    bool Load(const QString& path, TableKind kind);
    void StartNew(TableKind kind);
    void FitColumns();

    void InsertRow();
    void RemoveRows();
    void DuplicateRows();
    void MoveUp() { Move(-1); }
    void MoveDown() { Move(1); }
    void Move(int by);
    void Undo() { GoTo({m_document.Undo(), m_column}); }
    void Redo() { GoTo({m_document.Redo(), m_column}); }
    void Cut();
    void Copy();
    void Paste();
    void ShowSearch();
    void FindNext() { Find(true); }
    void FindPrevious() { Find(false); }
    void Find(bool forward);

    struct Selection {
        int First = -1;
        int Last = -1;
        int FirstColumn = 0;
        int LastColumn = 0;
        std::vector<int> Rows;
    };
    [[nodiscard]] Selection Selected() const; ///< the current cell when nothing is selected
    void GoTo(TablePlace place);
    void ShowAll(); ///< after any change
    void ShowPreview();
    void ShowFooter(const QString& text, bool refused = false);
    void NoteNumbers(); ///< that row numbers have changed
    [[nodiscard]] QString Name() const;
    [[nodiscard]] bool LeaveChanges(); ///< asks; false: stay
    void TryRead(int triesLeft);
    void EndReading();
    void LoadRegisters();

    ProfileStore& m_profiles;
    const StartupState& m_state;
    UserMessages& m_messages;
    GaugeContext* m_context;
    clsSBSCfgRW m_registers; ///< of the target: what flag rows point into
    TableDocument m_document;
    TableModel* m_model;
    QString m_cutRows; ///< as they went to the clipboard
    int m_column = 0; ///< current one, kept while rows come and go
    bool m_reading = false;
    bool m_waiting = false; ///< for the bus, between two tries of a read

    QWidget* m_toolbar = nullptr;
    QComboBox* cboKind;
    QTableView* grdTable;
    QLineEdit* txtFind;
    QLabel* lblFooter;
    QLabel* lblEmpty;
    TablePreviewPane* m_preview;
    QMenu* mnuTable = nullptr;
    QMenu* m_openMenu = nullptr;
    QAction* actOpen = nullptr;
    QAction* actNew = nullptr;
    QAction* actSave = nullptr;
    QAction* actSaveAs = nullptr;
    QAction* actUndo = nullptr;
    QAction* actRedo = nullptr;
    QAction* actInsert = nullptr;
    QAction* actDuplicate = nullptr;
    QAction* actRemove = nullptr;
    QAction* actUp = nullptr;
    QAction* actDown = nullptr;
    QList<QToolButton*> m_wordButtons; ///< lose their words in a narrow window
};
