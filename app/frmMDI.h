#pragma once

#include "app/Program.h"
#include "app/QtMessages.h"
#include "comm/frmErrMsg.h"
#include "look/ChildView.h"
#include "look/Theme.h"
#include "settings/TargetInfo.h"

#include <QDialog>
#include <QElapsedTimer>
#include <QMainWindow>
#include <QMap>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPointer>
#include <QStackedWidget>
#include <QTimer>

class EmptyPage;
class TextWindow;
struct ToolView;
class SelectorPane;
class StatusPane;

/// The main window: frame around all views, selector, menus, status bar. It shows what Program knows and
/// passes clicks on.
class frmMDI final : public QMainWindow {
    Q_OBJECT
public:
    /// @param commandLine  everything behind the program's own name
    frmMDI(Program& program, QtMessages& messages, frmErrMsg& errors, Theme& theme, QString commandLine);
    ~frmMDI() override;

    /// The load sequence, once, after the window was shown.
    void Load();

    // operations in the order of their declaration
    void ParseCommandLine();
    void LoadConfiguration();
    void ApplyPatches();
    void LoadTargetSpecificGUI();
    void DebugTesting();
    void SetFont();
    void SetRemCap(std::int16_t value);
    void LoadMDIButton(int index, const ViewButton& button);

    /// Brings up the view of a key, highlighted in the selector.
    void ShowView(int index, const QString& key);

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void MakeMenus();
    void MakeFileMenu();
    void MakeViewMenu();
    void MakeErrorLogMenu(QMenu* menu);
    QAction* Add(QMenu* menu, const char* name, const QString& text, const QString& icon,
                 const QKeySequence& shortcut = {});
    void Dispatch(const QString& menuEntry);
    void SwitchErrorLog(bool on);

    void LoadTarget(); ///< title, buttons, address and first view of the chosen target
    void Restart(); ///< the load sequence again from the adapter on
    void ChooseTarget();
    void ChooseAdapter();
    void UseSimulatedPack();
    [[nodiscard]] QString AskForTarget(); ///< the list; gives the chosen file as written, or nothing
    void ShowErrorLog();
    void OpenTool(const ToolView& tool);
    void OpenRegisterLog();
    void ShowHelp();
    void ShowLegend();
    void Tile(Qt::Orientation rows); ///< one beside or below the other, over the whole area
    void ArrangeIcons();
    [[nodiscard]] bool Busy() const; ///< the load, or a bus sequence, is under way further down the stack
    [[nodiscard]] bool MayAbandonAll(); ///< else the view that must not be disturbed comes to the front
    /// @return false when a view stays open
    bool CloseViews();
    [[nodiscard]] QList<ChildView*> OpenViews() const;
    [[nodiscard]] ChildView* FrontView() const;
    void Host(ChildView* view, const QString& title);
    void ViewActivated();
    void UpdateEmptyPage();
    void UpdateLink();
    void EndIfTold(); ///< by a signal: a terminal that closes, a session that ends
    void StopAllLines();
    void ApplyRoom();
    void Applyskin();
    void Dress(ChildView* view); ///< in the skin: a view is lighter than the frame around it
    void SaveWindowPlace();
    void RestoreWindowPlace();

    Program& m_program;
    QtMessages& m_messages;
    frmErrMsg& m_errors;
    Theme& m_theme;
    QString m_commandLine;

    SelectorPane* m_selector;
    StatusPane* m_status;
    QStackedWidget* m_pages;
    QMdiArea* mdiArea;
    EmptyPage* m_empty;
    QMap<QString, QPointer<QMdiSubWindow>> m_views; ///< by view key
    QPointer<TextWindow> m_help;
    QPointer<QDialog> m_legend;
    QTimer* m_linkTimer;
    QElapsedTimer m_busClock;
    double m_busMicroseconds = 0;
    double m_busLoad = 0;
    bool m_loaded = false;
    bool m_told = false;
    bool m_restarting = false;
    bool m_closing = false; ///< as soon as nothing is under way

    QMenu* mnuFile = nullptr;
    QMenu* mnuView = nullptr;
    QMenu* mnuTools = nullptr;
    QMenu* mnuWindow = nullptr;
    QMenu* mnuHelp = nullptr;
    QAction* m_fileEnd = nullptr; ///< entries of the view in front stand before it
    QAction* m_viewEnd = nullptr;
    QAction* mnuErrorLogOn = nullptr;
    QAction* mnuViewToolbarHideSelector = nullptr;
    QList<QAction*> m_viewMenus; ///< of the view in front
    QList<QAction*> m_viewEntries;
};
