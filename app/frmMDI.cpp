#include "app/frmMDI.h"

#include "app/EmptyPage.h"
#include "app/SelectorPane.h"
#include "app/StatusPane.h"
#include "app/Views.h"
#include "app/frmAdapter.h"
#include "app/frmColours.h"
#include "app/frmSplash.h"
#include "app/frmTargets.h"
#include "dataflash/JournalFiles.h"
#include "look/Icons.h"
#include "look/TextWindow.h"
#include "platform/Interrupt.h"
#include "platform/ProgramFolder.h"
#include "plugins/PluginCatalogue.h"
#include "settings/TargetList.h"

#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QMenuBar>
#include <QScopedValueRollback>
#include <QScreen>
#include <QUrl>

#include <algorithm>
#include <utility>

namespace {

constexpr int kLinkMs = 1000;
constexpr int kRetryMs = 20;
constexpr int kTitleBar = 30;
constexpr int kNarrow = 900; // logical pixels below which a view folds into tabs and the selector shows icons
constexpr int kLow = 520;

} // namespace

frmMDI::frmMDI(Program& program, QtMessages& messages, frmErrMsg& errors, Theme& theme, QString commandLine)
    : m_program(program), m_messages(messages), m_errors(errors), m_theme(theme),
      m_commandLine(std::move(commandLine)), m_selector(new SelectorPane(this)),
      m_status(new StatusPane(this)), m_pages(new QStackedWidget(this)), mdiArea(new QMdiArea),
      m_empty(new EmptyPage), m_linkTimer(new QTimer(this))
{
    setObjectName(QStringLiteral("frmMDI"));
    setWindowTitle(QStringLiteral("Tarnlo"));
    setMinimumSize(640, 360);
    m_messages.SetParent(this);
    m_errors.setParent(this, m_errors.windowFlags()); // else it can lie behind a maximised window

    mdiArea->setObjectName(QStringLiteral("mdiArea"));
    // else every change of views makes the one that goes back small for a moment, and it lays itself out anew
    mdiArea->setOption(QMdiArea::DontMaximizeSubWindowOnActivation, true);
    m_pages->addWidget(m_empty);
    m_pages->addWidget(mdiArea);
    auto* centre = new QWidget(this);
    auto* row = new QHBoxLayout(centre);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    row->addWidget(m_selector);
    row->addWidget(m_pages, 1);
    setCentralWidget(centre);
    setStatusBar(m_status);
    MakeMenus();

    connect(m_selector, &SelectorPane::Chosen, this,
            [this](int index) { ShowView(index, m_selector->Button(index).Key); });
    connect(mdiArea, &QMdiArea::subWindowActivated, this, &frmMDI::ViewActivated);
    connect(m_empty, &EmptyPage::TryAgain, this, &frmMDI::Restart);
    connect(m_empty, &EmptyPage::ChooseAdapter, this, &frmMDI::ChooseAdapter);
    connect(m_empty, &EmptyPage::ShowErrorLog, this, &frmMDI::ShowErrorLog);
    connect(m_empty, &EmptyPage::ChooseTarget, this, &frmMDI::ChooseTarget);
    connect(m_empty, &EmptyPage::OpenRegisterLog, this, &frmMDI::OpenRegisterLog);
    connect(m_empty, &EmptyPage::UseSimulatedPack, this, &frmMDI::UseSimulatedPack);
    connect(&m_theme, &Theme::Changed, this, &frmMDI::Applyskin);
    m_linkTimer->setInterval(kLinkMs);
    connect(m_linkTimer, &QTimer::timeout, this, &frmMDI::UpdateLink);
    connect(m_linkTimer, &QTimer::timeout, this, &frmMDI::EndIfTold);
    m_linkTimer->start();
    RestoreWindowPlace();
    UpdateEmptyPage();
}

frmMDI::~frmMDI()
{
    m_messages.SetParent(nullptr);
    m_errors.setParent(nullptr);
}

void frmMDI::Load()
{
    if (m_loaded)
        return;
    m_loaded = true;
    ApplyPatches();
    ParseCommandLine();
    LoadConfiguration();
    if (const QString unkept = m_program.UnkeptText(); !unkept.isEmpty())
        m_messages.Show(unkept);
    Restart();
}

void frmMDI::Restart()
{
    if (m_restarting || !CloseViews())
        return;
    const QScopedValueRollback restarting(m_restarting, true);
    m_selector->Clear();
    const bool open = m_program.OpenAdapterConnection();
    const bool detect = m_program.State().TargetConfigPath.isEmpty() && m_program.State().AutoDetectMode != 0;
    if (open && detect)
        (void)m_program.AutoDetectTarget([this] { return m_closing ? QString() : AskForTarget(); });
    if (open && m_program.HasTarget())
        LoadTarget();
    DebugTesting();
    UpdateEmptyPage();
    UpdateLink();
}

void frmMDI::LoadTarget()
{
    LoadTargetSpecificGUI();
    m_program.ReadTargetAddress(
        ResolvePath(m_program.State().ProgramFolder, m_program.State().TargetConfigPath));
    // a write that never ended is told of now, and not when somebody opens the editor: it comes to the front
    if (!JournalFolder(JournalPath(m_program.State().ProgramFolder)).Names().isEmpty())
        for (int i = 1; i < m_selector->Count(); ++i)
            if (m_selector->Button(i).Key == QLatin1String("DF"))
                ShowView(i, QStringLiteral("DF"));
    if (m_selector->Count() > 0)
        ShowView(0, m_selector->Button(0).Key);
}

void frmMDI::ParseCommandLine() { m_program.ParseCommandLine(m_commandLine); }

void frmMDI::LoadConfiguration() { m_theme.ApplySkinToAllForms(m_program.LoadConfiguration()); }

void frmMDI::ApplyPatches()
{
    // the second caption of the selector as people know it, whatever stood there before a target brings its
    // own
    m_selector->SetCaption(1, QStringLiteral("Data Flash"));
}

void frmMDI::LoadTargetSpecificGUI()
{
    const QString file = ResolvePath(m_program.State().ProgramFolder, m_program.State().TargetConfigPath);
    setWindowTitle(TargetTitle(m_program.Profiles(), file));
    m_selector->Clear();
    m_selector->SetPluginFolders(PluginFolders(m_program.State().ProgramFolder));
    int index = 0;
    for (const ViewButton& button : TargetButtons(m_program.Profiles(), file))
        LoadMDIButton(index++, button);
}

void frmMDI::DebugTesting() { m_status->SetIdleText(m_program.HasTarget() ? tr("Ready") : tr("No target")); }

void frmMDI::SetFont()
{
    // the theme sets one font for the whole program; a new skin or screen takes it over here
    setFont(m_theme.Font(Type::Body));
}

void frmMDI::SetRemCap(std::int16_t value) { m_selector->SetRemCap(value); }

void frmMDI::LoadMDIButton(int index, const ViewButton& button) { m_selector->LoadMDIButton(index, button); }

void frmMDI::ShowView(int index, const QString& key)
{
    QPointer<QMdiSubWindow>& window = m_views[key];
    if (!window) {
        GaugeContext* context = m_program.Context();
        if (!context || !m_program.HasTarget()) {
            UpdateEmptyPage();
            return;
        }
        const QString caption
            = index >= 0 && index < m_selector->Count() ? m_selector->Button(index).Caption : key;
        Host(MakeView(key, *context), caption);
        m_views[key] = mdiArea->subWindowList().constLast();
    }
    mdiArea->setActiveSubWindow(m_views[key]);
    m_selector->Select(index);
    UpdateEmptyPage();
}

void frmMDI::Host(ChildView* view, const QString& title)
{
    auto* window = mdiArea->addSubWindow(view);
    window->setAttribute(Qt::WA_DeleteOnClose);
    connect(view, &ChildView::RemainingCapacityChanged, this,
            [this](int value) { SetRemCap(static_cast<std::int16_t>(value)); });
    connect(view, &ChildView::ProgressChanged, m_status, &StatusPane::SetProgress);
    connect(view, &ChildView::StatusText, m_status, &StatusPane::SetText);
    connect(view, &ChildView::IdleText, m_status, &StatusPane::SetIdleText);
    connect(view, &ChildView::WantsFront, window, [this, window] { mdiArea->setActiveSubWindow(window); });
    // a maximised child would put its own title behind the program's
    const auto setTitle = [this, window, view, title] {
        const QString own = view->windowTitle().isEmpty() ? title : view->windowTitle();
        window->setWindowTitle(window->isMaximized() ? QString() : own);
        const QString tail = QStringLiteral(" - [%1]").arg(own); // an empty title does not take it away again
        if (window->isMaximized() && windowTitle().endsWith(tail))
            setWindowTitle(windowTitle().chopped(tail.size()));
    };
    // queued: Qt passes through other states on the way
    connect(window, &QMdiSubWindow::windowStateChanged, view, setTitle, Qt::QueuedConnection);
    connect(view, &QWidget::windowTitleChanged, window, setTitle, Qt::QueuedConnection);
    connect(window, &QObject::destroyed, this, &frmMDI::UpdateEmptyPage, Qt::QueuedConnection);
    window->showMaximized();
    Dress(view);
    QTimer::singleShot(0, window, [this, window, view, setTitle] {
        setTitle(); // of a view that brought its own
        // a view that folded itself up needs less than at first, and lost the keyboard on the way
        if (window->isMaximized())
            window->setGeometry(mdiArea->viewport()->rect());
        if (ChildView* front = FrontView(); front && front == view)
            front->setFocus();
    });
}

QList<ChildView*> frmMDI::OpenViews() const
{
    QList<ChildView*> views;
    for (const QMdiSubWindow* window : mdiArea->subWindowList())
        if (auto* view = qobject_cast<ChildView*>(window->widget()))
            views << view;
    return views;
}

ChildView* frmMDI::FrontView() const
{
    const QMdiSubWindow* window = mdiArea->activeSubWindow();
    return window ? qobject_cast<ChildView*>(window->widget()) : nullptr;
}

bool frmMDI::Busy() const
{
    const QList<ChildView*> views = OpenViews();
    return m_restarting || ExclusiveAccess::HeldBelow()
        || std::any_of(views.begin(), views.end(), [](const ChildView* view) { return view->Busy(); });
}

bool frmMDI::MayAbandonAll()
{
    for (ChildView* view : OpenViews())
        if (!view->MayAbandon()) {
            mdiArea->setActiveSubWindow(qobject_cast<QMdiSubWindow*>(view->parentWidget()));
            return false;
        }
    return true;
}

bool frmMDI::CloseViews()
{
    // a plug-in's window can close by itself whenever events run
    QList<QPointer<ChildView>> views;
    for (ChildView* view : OpenViews()) {
        view->Abandon();
        views << view;
    }
    for (const QPointer<ChildView>& view : std::as_const(views)) {
        m_program.Access().TakeBack(); // no question opens while a plug-in has the bus
        if (view && (view->Busy() || !view->AskToClose()))
            return false;
    }
    QList<QPointer<QMdiSubWindow>> windows;
    for (QMdiSubWindow* window : mdiArea->subWindowList())
        windows << window;
    for (const QPointer<QMdiSubWindow>& window : std::as_const(windows)) {
        if (window && window->widget())
            window->widget()->close();
        delete window; // and the view with it
    }
    m_views.clear();
    ViewActivated();
    return true;
}

void frmMDI::ViewActivated()
{
    for (QAction* action : std::as_const(m_viewMenus))
        menuBar()->removeAction(action);
    for (QAction* action : std::as_const(m_viewEntries)) {
        mnuFile->removeAction(action);
        mnuView->removeAction(action);
    }
    m_viewMenus.clear();
    m_viewEntries.clear();
    const ChildView* view = FrontView();
    if (!view)
        return;
    for (QMenu* menu : view->Menus())
        m_viewMenus << menuBar()->insertMenu(mnuTools->menuAction(), menu);
    mnuFile->insertActions(m_fileEnd, view->FileActions());
    mnuView->insertActions(m_viewEnd, view->ViewActions());
    m_viewEntries = view->FileActions() + view->ViewActions();
    int selected = -1;
    for (int i = 0; i < m_selector->Count(); ++i)
        if (m_views.value(m_selector->Button(i).Key) == mdiArea->activeSubWindow())
            selected = i;
    m_selector->Select(selected);
}

void frmMDI::UpdateEmptyPage()
{
    m_pages->setCurrentIndex(mdiArea->subWindowList().isEmpty() ? 0 : 1);
    if (m_pages->currentIndex() != 0)
        return;
    m_selector->Select(-1);
    const StartupState& state = m_program.State();
    TargetList targets(m_program.Profiles(), m_messages, state);
    targets.Load();
    const auto known = targets.Entries().size();
    Readiness settings{Readiness::Mark::Good,
                       known == 1 ? tr("tarnlo.ini was read; it names one target.")
                                  : tr("tarnlo.ini was read; it names %1 targets.").arg(known)};
    if (known == 0)
        settings = {Readiness::Mark::Open,
                    tr("tarnlo.ini was read; it names no target: section [Targets] is empty or not there.")};
    if (!m_program.FolderProblem().isEmpty())
        settings = {Readiness::Mark::Failed, m_program.FolderProblem()};
    else if (const QString unkept = m_program.UnkeptText(); !unkept.isEmpty())
        settings = {Readiness::Mark::Open, unkept};
    else if (!QFileInfo(state.ProgramSettingsFile).isReadable())
        settings = {Readiness::Mark::Open,
                    tr("%1 is not there or cannot be read. Built-in defaults are used.")
                        .arg(state.ProgramSettingsFile)};

    Readiness adapter{Readiness::Mark::Failed, m_program.AdapterProblem()};
    if (m_program.AdapterOpen())
        adapter = {Readiness::Mark::Good,
                   m_program.Adapter().Kind == AdapterKind::Simulated
                       ? tr("The simulated pack is open. No USB adapter is in use.")
                       : tr("%1 is open.").arg(m_program.Usb()->Facts().Name)};
    Readiness target{Readiness::Mark::Open,
                     tr("None chosen. The register and data flash views need a target.")};
    if (!m_program.TargetProblem().isEmpty())
        target = {Readiness::Mark::Failed,
                  m_program.TargetProblem() + QLatin1Char(' ') + tr("Choose one of the list.")};
    else if (m_program.HasTarget())
        target = {Readiness::Mark::Good, tr("%1 is chosen.").arg(state.TargetConfigPath)};
    m_empty->Show(settings, adapter, target,
                  m_program.AdapterOpen() && m_program.Adapter().Kind == AdapterKind::Simulated);
}

void frmMDI::UpdateLink()
{
    LinkFacts facts;
    facts.Address = m_program.State().TargetAddress;
    facts.BusOwner = m_program.Access().Owner();
    if (GaugeContext* context = m_program.Context()) {
        const AdapterFacts adapter = context->usb.Facts();
        facts.Adapter = adapter.Name;
        facts.Simulated = adapter.Kind == QLatin1String("simulated");
        facts.Answering = context->link.Answering();
        if (Failed(context->link.LastError()))
            facts.LastError = ErrorCodeToText(context->link.LastError());
        const double elapsed = m_busClock.isValid() ? static_cast<double>(m_busClock.restart()) * 1000 : 0;
        if (elapsed > 0 && adapter.BusMicroseconds >= m_busMicroseconds)
            // a simulated bus takes no time, so it can carry more than a real one could
            m_busLoad = std::min(100.0, 100 * (adapter.BusMicroseconds - m_busMicroseconds) / elapsed);
        else
            m_busClock.start();
        m_busMicroseconds = adapter.BusMicroseconds;
        facts.BusLoad = m_busLoad;
    } else {
        facts.LastError = m_loaded ? ErrorCodeToText(ErrorCode::NoUsb) : QString();
    }
    m_status->SetLink(facts);
    if (m_program.Usb())
        mnuErrorLogOn->setChecked(!m_program.Usb()->ErrorLogPath().isEmpty());
}

void frmMDI::EndIfTold()
{
    if (!Interrupt::Asked() || std::exchange(m_told, true))
        return;
    StopAllLines(); // whatever a view still asks before it goes, no charger stays on behind a dead program
    close();
}

void frmMDI::StopAllLines()
{
    for (ChildView* view : OpenViews())
        view->StopLines();
}

QString frmMDI::AskForTarget()
{
    TargetList targets(m_program.Profiles(), m_messages, m_program.State());
    targets.Load();
    frmTargets dialog(targets, m_messages, m_program.State(), this);
    return dialog.exec() == QDialog::Accepted ? dialog.ChosenFile() : QString();
}

void frmMDI::ChooseTarget()
{
    const QString chosen = AskForTarget();
    if (chosen.isEmpty() || !CloseViews())
        return;
    m_program.SetTargetConfigPath(chosen);
    if (m_program.AdapterOpen() && m_program.HasTarget())
        LoadTarget();
    UpdateEmptyPage();
}

void frmMDI::ChooseAdapter()
{
    frmAdapter dialog(
        [this] {
            AdapterSettings all = m_program.Adapter();
            all.Kind = AdapterKind::Linux;
            all.Error.clear();
            return ListAdapters(all, m_program.Profiles(), m_program.State(), m_program.Time());
        },
        m_program.Adapter().Device, this);
    if (dialog.exec() != QDialog::Accepted || !CloseViews())
        return;
    if (dialog.Remember()) {
        const QString problem = m_program.Profiles().Write(m_program.State().ProgramSettingsFile, u"Adapter",
                                                           u"Device", dialog.Device());
        if (!problem.isEmpty())
            m_messages.Show(problem);
    }
    m_program.UseAdapter(dialog.Device());
    Restart();
}

void frmMDI::UseSimulatedPack()
{
    if (!CloseViews())
        return;
    m_program.UseAdapter(QStringLiteral("sim"));
    Restart();
}

void frmMDI::OpenTool(const ToolView& tool)
{
    QPointer<QMdiSubWindow>& window = m_views[QLatin1String(tool.Name)];
    if (!window) {
        Host(tool.Make({m_program.Profiles(), m_program.State(), m_messages, m_program.Watch(),
                        m_program.Context()}),
             tr(tool.Caption).remove(QLatin1Char('&')));
        window = mdiArea->subWindowList().constLast();
    }
    mdiArea->setActiveSubWindow(window);
    UpdateEmptyPage();
}

void frmMDI::OpenRegisterLog()
{
    const QString path = QFileDialog::getOpenFileName(this, tr("Open a register log"), {},
                                                      QStringLiteral("Log Files(*.log);;All Files(*.*)"));
    if (path.isEmpty())
        return;
    ChildView* viewer = MakeLogViewer(m_messages, path);
    Host(viewer, QFileInfo(path).fileName());
    mdiArea->setActiveSubWindow(mdiArea->subWindowList().constLast());
    viewer->setFocus(); // else the view that had the keyboard before the dialog comes to the front again
    UpdateEmptyPage();
}

void frmMDI::ShowErrorLog()
{
    constexpr qint64 kMostShown = 256 * 1024; // the newest lines of a log of months
    const QString name = QStringLiteral("CommErr.log");
    QFile file(m_program.State().ProgramFolder + QLatin1Char('/') + name);
    QString text = tr("No failed bus operation is recorded. File > Communication error log > On records "
                      "those that come.");
    if (file.open(QIODevice::ReadOnly)) {
        const bool all = file.size() <= kMostShown || !file.seek(file.size() - kMostShown);
        QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        if (!all && !lines.isEmpty())
            lines.removeFirst(); // cut in its middle
        std::reverse(lines.begin(), lines.end());
        if (!lines.isEmpty())
            text = lines.join(QLatin1Char('\n'));
    } else if (file.exists()) {
        return m_messages.Show(QStringLiteral("Error opening file ") + name);
    }
    (new TextWindow(tr("Tarnlo - %1, newest first").arg(name), text, this))->show();
}

void frmMDI::ShowHelp()
{
    const QString name = m_program.State().ProgramFolder + QStringLiteral("/Documentation/Help.html");
    if (!QFileInfo(name).isReadable())
        return m_messages.Show(QStringLiteral("Error opening file ") + name);
    if (!m_help)
        m_help = new TextWindow(tr("Tarnlo - Help"), QUrl::fromLocalFile(name), this);
    m_help->show();
    m_help->raise();
    m_help->activateWindow();
}

void frmMDI::Tile(Qt::Orientation rows)
{
    QList<QMdiSubWindow*> shown;
    for (QMdiSubWindow* window : mdiArea->subWindowList())
        if (!window->isMinimized())
            shown << window;
    const QRect area = mdiArea->viewport()->rect();
    const int count = static_cast<int>(shown.size());
    for (int i = 0; i < count; ++i) {
        shown[i]->showNormal();
        shown[i]->setGeometry(rows == Qt::Horizontal
                                  ? QRect(0, area.height() * i / count, area.width(), area.height() / count)
                                  : QRect(area.width() * i / count, 0, area.width() / count, area.height()));
    }
}

void frmMDI::ArrangeIcons()
{
    const QRect area = mdiArea->viewport()->rect();
    int x = 0;
    for (QMdiSubWindow* window : mdiArea->subWindowList())
        if (window->isMinimized()) {
            window->move(x, area.height() - window->height());
            x += window->width();
        }
}

bool frmMDI::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<const QKeyEvent*>(event);
        if (key->key() == Qt::Key_X && key->modifiers() == (Qt::ControlModifier | Qt::ShiftModifier)) {
            StopAllLines(); // in every window of the program, whatever box is open
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

void frmMDI::closeEvent(QCloseEvent* event)
{
    const bool refused = !MayAbandonAll();
    // what is under way further down the stack ends after its present step, then we close
    if (refused || m_restarting || ExclusiveAccess::HeldBelow() || !CloseViews()) {
        event->ignore();
        if (Busy() && !m_closing && (!refused || m_told)) {
            m_closing = true;
            QTimer::singleShot(kRetryMs, this, [this] {
                m_closing = false;
                close();
            });
        }
        return;
    }
    SaveWindowPlace();
    m_program.CloseAdapter();
    m_errors.close();
    event->accept();
}

void frmMDI::resizeEvent(QResizeEvent* event)
{
    QMainWindow::resizeEvent(event);
    ApplyRoom();
}

void frmMDI::ApplyRoom()
{
    const bool compact = width() < kNarrow || height() < kLow;
    m_selector->SetCompact(compact);
    m_status->SetRoom(compact ? 2 : width() < 1200 ? 1 : 0);
}

void frmMDI::Applyskin()
{
    const QPalette tools = ToolPalette(m_theme.Colours());
    mdiArea->setBackground(tools.window());
    menuBar()->setPalette(tools);
    m_pages->setPalette(tools);
    m_selector->Applyskin();
    m_status->Applyskin();
    m_empty->Applyskin();
    for (ChildView* view : OpenViews())
        Dress(view);
    SetFont();
}

void frmMDI::Dress(ChildView* view)
{
    view->setAutoFillBackground(true);
    view->setPalette(WindowPalette(m_theme.Colours()));
    view->Applyskin();
}

void frmMDI::SaveWindowPlace()
{
    const QString place = QString::fromLatin1(saveGeometry().toBase64());
    const QString problem
        = m_program.Profiles().Write(m_program.State().ProgramSettingsFile, u"GUI", u"WindowPlace", place);
    if (!problem.isEmpty())
        m_messages.Show(problem);
}

void frmMDI::RestoreWindowPlace()
{
    const QString place
        = m_program.Profiles().String(m_program.State().ProgramSettingsFile, u"GUI", u"WindowPlace");
    if (place.isEmpty() || !restoreGeometry(QByteArray::fromBase64(place.toLatin1())))
        resize(QSize(1366, 768).boundedTo(screen()->availableSize()) - QSize(0, kTitleBar));
}
