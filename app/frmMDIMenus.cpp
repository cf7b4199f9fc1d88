// The menus of the main window; frmMDI.cpp has the rest of it.
#include "app/SelectorPane.h"
#include "app/StatusPane.h"
#include "app/Views.h"
#include "app/frmColours.h"
#include "app/frmLegend.h"
#include "app/frmMDI.h"
#include "app/frmSplash.h"
#include "comm/BusSequence.h"
#include "look/Icons.h"

#include <QApplication>
#include <QFileInfo>
#include <QMenuBar>
#include <QShortcut>
#include <QTimer>

namespace {

constexpr int kRetryMs = 10;

/// Entries that open no box of their own, and leaving, which ends what is under way by itself.
bool NeedsNoBus(const QString& entry)
{
    static const QStringList kEntries{
        QStringLiteral("mnuFileExit"),      QStringLiteral("mnuErrorLogOn"),
        QStringLiteral("mnuErrorLogClear"), QStringLiteral("mnuErrorLogOpen"),
        QStringLiteral("mnuErrorWindow"),   QStringLiteral("mnuViewToolbarHideSelector"),
        QStringLiteral("mnuWindowCascade"), QStringLiteral("mnuWindowTileH"),
        QStringLiteral("mnuWindowTileV"),   QStringLiteral("mnuWindowArrange"),
        QStringLiteral("mnuWindowNext"),    QStringLiteral("mnuHelpContents"),
        QStringLiteral("mnuHelpLegend"),    QStringLiteral("mnuViewSBSData"),
        QStringLiteral("mnuViewDataFlash"), QStringLiteral("mnuViewCalibration"),
    };
    return kEntries.contains(entry);
}

} // namespace

QAction* frmMDI::Add(QMenu* menu, const char* name, const QString& text, const QString& icon,
                     const QKeySequence& shortcut)
{
    QAction* action = icon.isEmpty() ? menu->addAction(text) : menu->addAction(ThemeIcon(icon), text);
    action->setObjectName(QLatin1String(name));
    action->setShortcut(shortcut);
    connect(action, &QAction::triggered, this, [this, action] { Dispatch(action->objectName()); });
    return action;
}

void frmMDI::MakeMenus()
{
    MakeFileMenu();
    MakeViewMenu();

    mnuTools = menuBar()->addMenu(tr("&Tools"));
    Add(mnuTools, "mnuToolsColor", tr("&Colours..."), QStringLiteral("palette"));
    mnuTools->addSeparator();
    for (const ToolView& tool : ToolViews())
        Add(mnuTools, tool.Name, tr(tool.Caption), QLatin1String(tool.Icon),
            QKeySequence(QLatin1String(tool.Shortcut)));

    mnuWindow = menuBar()->addMenu(tr("&Window"));
    Add(mnuWindow, "mnuWindowCascade", tr("&Cascade"), {});
    Add(mnuWindow, "mnuWindowTileH", tr("Tile &horizontally"), {});
    Add(mnuWindow, "mnuWindowTileV", tr("Tile &vertically"), {});
    Add(mnuWindow, "mnuWindowArrange", tr("&Arrange icons"), {});
    mnuWindow->addSeparator();
    Add(mnuWindow, "mnuWindowNext", tr("&Next"), {}, QKeySequence(tr("Ctrl+Tab")));

    mnuHelp = menuBar()->addMenu(tr("&Help"));
    Add(mnuHelp, "mnuHelpContents", tr("&Contents"), QStringLiteral("help"), QKeySequence::HelpContents);
    Add(mnuHelp, "mnuHelpLegend", tr("&Legend"), {});
    mnuHelp->addSeparator();
    Add(mnuHelp, "mnuHelpAbout", tr("&About"), QStringLiteral("info"));

    // Ctrl+1 to Ctrl+9: the buttons of the selector
    for (int i = 0; i < 9; ++i) {
        auto* shortcut = new QShortcut(QKeySequence(Qt::CTRL | static_cast<Qt::Key>(Qt::Key_1 + i)), this);
        connect(shortcut, &QShortcut::activated, this, [this, i] {
            if (i < m_selector->Count())
                ShowView(i, m_selector->Button(i).Key);
        });
    }
    // Ctrl+Shift+X, seen by eventFilter: a shortcut would not reach through a modal box
    QApplication::instance()->installEventFilter(this);
}

void frmMDI::MakeFileMenu()
{
    mnuFile = menuBar()->addMenu(tr("&File"));
    Add(mnuFile, "mnuFileTarget", tr("Choose &target..."), QStringLiteral("target"),
        QKeySequence(tr("Ctrl+T")));
    Add(mnuFile, "mnuFileAdapter", tr("Choose &adapter..."), QStringLiteral("adapter"));
    Add(mnuFile, "mnuFileReconnect", tr("&Connect again"), QStringLiteral("refresh"));
    Add(mnuFile, "mnuFileOpenLog", tr("Open register lo&g..."), QStringLiteral("open"));
    mnuFile->addSeparator();
    MakeErrorLogMenu(mnuFile->addMenu(tr("Communication &error log")));
    mnuFile->addSeparator();
    m_fileEnd = mnuFile->addSeparator();
    Add(mnuFile, "mnuFileExit", tr("E&xit"), {}, QKeySequence(tr("Ctrl+Q")));
}

void frmMDI::MakeErrorLogMenu(QMenu* menu)
{
    mnuErrorLogOn = Add(menu, "mnuErrorLogOn", tr("&On"), {});
    mnuErrorLogOn->setCheckable(true);
    Add(menu, "mnuErrorLogClear", tr("&Clear"), QStringLiteral("erase"));
    Add(menu, "mnuErrorLogOpen", tr("O&pen"), QStringLiteral("open"));
    menu->addSeparator();
    Add(menu, "mnuErrorWindow", tr("&Messages of this run"), QStringLiteral("error"));
}

void frmMDI::MakeViewMenu()
{
    mnuView = menuBar()->addMenu(tr("&View"));
    Add(mnuView, "mnuViewSBSData", tr("&SBS data"), QStringLiteral("sbs"));
    Add(mnuView, "mnuViewDataFlash", tr("&Data flash"), QStringLiteral("df"));
    Add(mnuView, "mnuViewCalibration", tr("&Calibration"), QStringLiteral("cal"));
    // the entries of the view in front stand between two; a menu draws two in a row as one
    mnuView->addSeparator();
    m_viewEnd = mnuView->addSeparator();
    auto* toolbars = mnuView->addMenu(tr("&Toolbars"));
    toolbars->menuAction()->setObjectName(QStringLiteral("mnuViewToolbars"));
    mnuViewToolbarHideSelector = Add(toolbars, "mnuViewToolbarHideSelector", tr("&Hide selector"), {});
    mnuViewToolbarHideSelector->setCheckable(true);
}

void frmMDI::Dispatch(const QString& menuEntry)
{
    // a dialog that opened in the middle of a pass would hold the pass until it closes; leaving ends the pass
    // itself
    const bool waits = Busy() && !NeedsNoBus(menuEntry);
    if (waits && BusSequence::Running()) // that takes minutes: a dialog which opens then surprises
        return m_status->SetRefusal(
            tr("%1: not while a sequence runs on the bus. Try again when it has ended.")
                .arg(QString(findChild<QAction*>(menuEntry)->text())
                         .remove(QLatin1Char('&'))
                         .remove(QStringLiteral("..."))));
    if (waits) {
        QTimer::singleShot(kRetryMs, this, [this, menuEntry] { Dispatch(menuEntry); });
        return;
    }
    auto show = [this](const char* key) {
        int index = -1;
        for (int i = 0; i < m_selector->Count(); ++i)
            if (m_selector->Button(i).Key == QLatin1String(key))
                index = i;
        ShowView(index, QLatin1String(key));
    };
    const QHash<QString, std::function<void()>> actions{
        {QStringLiteral("mnuFileTarget"), [this] { ChooseTarget(); }},
        {QStringLiteral("mnuFileAdapter"), [this] { ChooseAdapter(); }},
        {QStringLiteral("mnuFileReconnect"), [this] { Restart(); }},
        {QStringLiteral("mnuFileExit"), [this] { close(); }},
        {QStringLiteral("mnuFileOpenLog"), [this] { OpenRegisterLog(); }},
        {QStringLiteral("mnuErrorLogOn"), [this] { SwitchErrorLog(mnuErrorLogOn->isChecked()); }},
        {QStringLiteral("mnuErrorLogClear"),
         [this] {
             if (frmUSB* usb = m_program.Usb())
                 usb->ClearErrorLog();
         }},
        {QStringLiteral("mnuErrorLogOpen"), [this] { ShowErrorLog(); }},
        {QStringLiteral("mnuErrorWindow"), [this] { m_errors.show(); }},
        {QStringLiteral("mnuViewSBSData"), [show] { show("SBS"); }},
        {QStringLiteral("mnuViewDataFlash"), [show] { show("DF"); }},
        {QStringLiteral("mnuViewCalibration"), [show] { show("Cal"); }},
        {QStringLiteral("mnuViewToolbarHideSelector"),
         [this] { m_selector->setVisible(!mnuViewToolbarHideSelector->isChecked()); }},
        {QStringLiteral("mnuToolsColor"),
         [this] {
             frmColours dialog(m_theme, m_program.Profiles(), m_program.State(), this);
             dialog.exec();
         }},
        {QStringLiteral("mnuWindowCascade"), [this] { mdiArea->cascadeSubWindows(); }},
        {QStringLiteral("mnuWindowTileH"), [this] { Tile(Qt::Horizontal); }},
        {QStringLiteral("mnuWindowTileV"), [this] { Tile(Qt::Vertical); }},
        {QStringLiteral("mnuWindowArrange"), [this] { ArrangeIcons(); }},
        {QStringLiteral("mnuWindowNext"), [this] { mdiArea->activateNextSubWindow(); }},
        {QStringLiteral("mnuHelpContents"), [this] { ShowHelp(); }},
        {QStringLiteral("mnuHelpLegend"), [this] { ShowLegend(); }},
        {QStringLiteral("mnuHelpAbout"),
         [this] {
             frmSplash about(this);
             about.ShowAsAboutBox();
         }},
    };
    if (const auto found = actions.find(menuEntry); found != actions.end())
        found.value()();
    for (const ToolView& tool : ToolViews())
        if (menuEntry == QLatin1String(tool.Name))
            OpenTool(tool);
}

void frmMDI::SwitchErrorLog(bool on)
{
    frmUSB* usb = m_program.Usb();
    const QString folder = m_program.State().ProgramFolder;
    if (on && !QFileInfo(folder).isWritable())
        m_messages.Show(
            tr("CommErr.log cannot be written in %1. Failed bus operations are not recorded.").arg(folder));
    else if (usb)
        on ? usb->EnableErrorLog() : usb->DisableErrorLog();
    mnuErrorLogOn->setChecked(usb && !usb->ErrorLogPath().isEmpty());
}

void frmMDI::ShowLegend()
{
    if (!m_legend) {
        m_legend = new frmLegend(this);
        m_legend->setAttribute(Qt::WA_DeleteOnClose);
    }
    m_legend->show();
    m_legend->raise();
    m_legend->activateWindow();
}
