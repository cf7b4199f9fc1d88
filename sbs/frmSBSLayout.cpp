// Layout and menus of the register view; frmSBS.cpp has what it does.
#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"
#include "sbs/AutoCyclePane.h"
#include "sbs/EventsPane.h"
#include "sbs/FlagsPane.h"
#include "sbs/PlotView.h"
#include "sbs/RegisterGrid.h"
#include "sbs/frmSBS.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QMenu>
#include <QResizeEvent>
#include <QShortcut>
#include <QVBoxLayout>

namespace {

constexpr int kNarrow = 800; // logical pixels of the view, below which its panes fold into tabs
constexpr int kLow = 400;
constexpr int kGridWidth = 590; // at first
constexpr int kAllColumns = 1090; // below it the optional columns hide first
constexpr int kMinHidden = 1; // of FormState::HiddenColumns
constexpr int kMaxHidden = 2;
constexpr int kAgeHidden = 4;

QToolButton* ToolButton(const char* name, const QString& icon, const QString& tip, QWidget* parent)
{
    auto* button = Named(new QToolButton(parent), name);
    button->setIcon(ThemeIcon(icon));
    button->setToolTip(tip);
    button->setAccessibleName(tip);
    return button;
}

} // namespace

void frmSBS::LayOut()
{
    m_model = new RegisterModel(m_scan, this);
    grdSBS = new RegisterGrid(*m_model, this);
    m_flags = new FlagsPane(this);
    m_flags->InitPictFlags(m_scan.Form().BitsPerRow);
    m_plot = new PlotView(this);
    m_plot->SetGate([this](const std::function<void()>& command) { WhenIdle(command); });
    m_eventsPane = new EventsPane(this);
    m_cyclePane = new AutoCyclePane(m_cycle, m_settings, m_context.messages, m_scan, this);
    grdStatic = Named(new QTableWidget(0, 2, this), "grdStatic");
    grdStatic->setAccessibleName(tr("Static data"));
    grdStatic->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grdStatic->setFrameShape(QFrame::NoFrame);
    grdStatic->setShowGrid(false);
    grdStatic->setHorizontalHeaderLabels({tr("Item"), tr("Value")});
    grdStatic->horizontalHeader()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    grdStatic->horizontalHeader()->setStretchLastSection(true);
    grdStatic->horizontalHeader()->setHighlightSections(false);
    grdStatic->verticalHeader()->hide();
    grdStatic->verticalHeader()->setMinimumSectionSize(20);
    grdStatic->verticalHeader()->setDefaultSectionSize(20);

    m_toolbar = MakeToolbar();
    m_toolbar->setVisible(m_scan.Form().ViewButtons != 0);
    m_gridPane = MakeGridPane();
    m_tabs = Named(new QTabWidget(this), "tabsSBS");
    m_tabs->addTab(m_flags, tr("Flags"));
    m_tabs->addTab(grdStatic, tr("Static data"));
    m_tabs->addTab(m_cyclePane, tr("Auto-cycle"));
    m_tabs->addTab(m_eventsPane, tr("Events"));
    m_down = Named(new QSplitter(Qt::Vertical, this), "splitterDown");
    m_down->addWidget(m_plot);
    m_down->addWidget(m_tabs);
    m_down->setStretchFactor(0, 3);
    m_down->setStretchFactor(1, 2);
    m_across = Named(new QSplitter(Qt::Horizontal, this), "splitterAcross");
    m_across->addWidget(m_gridPane);
    m_across->addWidget(m_down);
    m_across->setStretchFactor(0, 0);
    m_across->setStretchFactor(1, 1);
    m_across->setSizes({kGridWidth, kGridWidth});
    m_allTabs = Named(new QTabWidget(this), "tabsAll");
    m_allTabs->hide();

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(6, 0, 6, 6);
    column->setSpacing(4);
    column->addWidget(m_toolbar);
    column->addWidget(m_across, 1);
    column->addWidget(m_allTabs, 1);

    connect(m_model, &RegisterModel::PlottedChanged, this, &frmSBS::UpdateCurves);
    connect(m_model, &RegisterModel::WriteRequested, this, &frmSBS::WriteSBSValueFromGrid);
    connect(&grdSBS->Delegate(), &RegisterDelegate::Typed, this,
            [this](const QModelIndex& index, const QString& text) {
                const auto* proxy = static_cast<const QSortFilterProxyModel*>(index.model());
                if (proxy)
                    PreviewEdit(proxy->mapToSource(index).row(), text);
            });
    connect(&grdSBS->Delegate(), &RegisterDelegate::EditEnded, this, [this] {
        if (m_previewing)
            m_footerUntilMs = 0;
        m_previewing = false;
        ShowCounts();
    });
    connect(m_plot, &PlotView::StatusText, this, &frmSBS::StatusText);
    connect(m_plot, &PlotView::Failed, this,
            [this](const QString& problem) { m_context.messages.Show(problem); });
    connect(grdSBS, &RegisterGrid::CopyRequested, this, &frmSBS::Copy);
    connect(grdSBS, &RegisterGrid::Refused, this, [this](const QString& why) { emit StatusText(why); });
    connect(m_cyclePane, &AutoCyclePane::StateChanged, this, [this] {
        chkContScan->setEnabled(!m_cycle.Facts().Running); // a step needs the pass of its tick
        if (m_cycle.Facts().Running)
            chkContScan->setChecked(true);
    });

    // the curves people look at first; what is ticked is theirs to change
    for (const int row : {m_cycle.Settings().BattVoltRow, m_cycle.Settings().RemCapRow})
        if (row >= 0 && row < m_scan.RowCount() && m_scan.ScanOn(row))
            m_model->SetPlotted(row, true);
    m_flags->RefreshPictFlags(m_scan);
    m_eventsPane->Show(m_events);
}

QWidget* frmSBS::MakeToolbar()
{
    auto* bar = Named(new QWidget(this), "toolbarSBS");
    chkContScan = Named(new QCheckBox(tr("Scan continuously"), bar), "chkContScan");
    chkContScan->setToolTip(tr("Scan again and again (Ctrl+Shift+S)"));
    cmdRefresh
        = Named(new QPushButton(ThemeIcon(QStringLiteral("refresh")), tr("Refresh"), bar), "cmdRefresh");
    cmdRefresh->setToolTip(tr("One pass now (F5)"));
    lblInterval = Named(new QLabel(bar), "lblInterval");
    cmdStartLogging = Named(new QPushButton(ThemeIcon(QStringLiteral("log")), tr("Start logging"), bar),
                            "cmdStartLogging");
    cmdStartLogging->setToolTip(tr("Write the values to a file (Ctrl+L)"));
    cmdStopLogging
        = Named(new QPushButton(ThemeIcon(QStringLiteral("rec")), tr("Stop logging"), bar), "cmdStopLogging");
    cmdStopLogging->setToolTip(tr("End the log (Ctrl+L)"));
    lblLog = Named(new QLabel(bar), "lblLog");
    txtFilter = Named(new QLineEdit(bar), "txtFilter");
    txtFilter->setPlaceholderText(tr("Filter rows (Ctrl+F)"));
    txtFilter->setAccessibleName(tr("Filter rows"));
    txtFilter->setClearButtonEnabled(true);
    txtFilter->addAction(ThemeIcon(QStringLiteral("filter")), QLineEdit::LeadingPosition);
    txtFilter->setFixedWidth(fontMetrics().horizontalAdvance(QLatin1Char('x')) * 26);
    cmdColumns = ToolButton("cmdColumns", QStringLiteral("columns"), tr("Columns"), bar);
    cmdColumns->setPopupMode(QToolButton::InstantPopup);
    cmdCopy = ToolButton("cmdCopy", QStringLiteral("copy"), tr("Copy as text (Ctrl+C)"), bar);
    cmdPlot = ToolButton("cmdPlot", QStringLiteral("plot"), tr("Show the plot"), bar);
    cmdPlot->setCheckable(true);
    cmdPlot->setChecked(true);
    for (QLabel* label : {lblInterval, lblLog})
        MakeSecondary(label);

    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(0, 5, 0, 1);
    row->setSpacing(8);
    for (QWidget* widget : {static_cast<QWidget*>(chkContScan), static_cast<QWidget*>(cmdRefresh),
                            static_cast<QWidget*>(lblInterval), static_cast<QWidget*>(cmdStartLogging),
                            static_cast<QWidget*>(cmdStopLogging), static_cast<QWidget*>(lblLog)})
        row->addWidget(widget);
    row->addStretch();
    for (QWidget* widget : {static_cast<QWidget*>(txtFilter), static_cast<QWidget*>(cmdColumns),
                            static_cast<QWidget*>(cmdCopy), static_cast<QWidget*>(cmdPlot)})
        row->addWidget(widget);

    connect(chkContScan, &QCheckBox::toggled, this, &frmSBS::EnableSBSContScan);
    connect(cmdRefresh, &QPushButton::clicked, this, &frmSBS::Refresh);
    connect(cmdStartLogging, &QPushButton::clicked, this, [this] { WhenIdle([this] { StartLogging(); }); });
    connect(cmdStopLogging, &QPushButton::clicked, this, &frmSBS::StopLogging);
    connect(txtFilter, &QLineEdit::textChanged, this, [this](const QString& text) {
        grdSBS->Filter(text);
        ShowCounts();
    });
    connect(cmdCopy, &QToolButton::clicked, this, &frmSBS::CopyText);
    connect(cmdPlot, &QToolButton::toggled, this, &frmSBS::ShowPlot);
    auto* leave
        = new QShortcut(QKeySequence(Qt::Key_Escape), txtFilter, nullptr, nullptr, Qt::WidgetShortcut);
    connect(leave, &QShortcut::activated, this, [this] {
        txtFilter->clear();
        grdSBS->setFocus();
    });
    return bar;
}

QWidget* frmSBS::MakeGridPane()
{
    auto* pane = new QWidget(this);
    lblFooter = Named(new QLabel(pane), "lblFooter");
    lblFooter->setContentsMargins(6, 2, 6, 2);
    lblFooter->setWordWrap(true);
    auto* column = new QVBoxLayout(pane);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(2);
    column->addWidget(grdSBS, 1);
    column->addWidget(lblFooter);
    return pane;
}

QAction* frmSBS::Add(QMenu* menu, const char* name, const QString& text, const QKeySequence& shortcut,
                     void (frmSBS::*does)())
{
    QAction* action = Named(new QAction(text, this), name);
    action->setShortcut(shortcut);
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    addAction(action); // the shortcut works while the view is in front, wherever the entry stands
    if (menu)
        menu->addAction(action);
    connect(action, &QAction::triggered, this, [this, does] { WhenIdle([this, does] { (this->*does)(); }); });
    return action;
}

void frmSBS::MakeMenus()
{
    mnuFileLogging = Add(nullptr, "mnuFileLogging", tr("Start &logging..."), QKeySequence(tr("Ctrl+L")),
                         &frmSBS::ToggleLogging);
    mnuViewRefresh = Add(nullptr, "mnuViewRefresh", tr("&Refresh"), QKeySequence(tr("F5")), &frmSBS::Refresh);
    mnuViewButtons = Add(nullptr, "mnuViewButtons", tr("&Button bar"), {}, &frmSBS::ToggleButtonBar);
    mnuViewButtons->setCheckable(true);
    mnuViewButtons->setChecked(m_scan.Form().ViewButtons != 0);
    mnuViewRoomy = Add(nullptr, "mnuViewRoomy", tr("Roomy ro&ws"), {}, &frmSBS::ToggleDensity);
    mnuViewRoomy->setCheckable(true);
    mnuViewRoomy->setChecked(m_scan.Form().Roomy != 0);
    grdSBS->SetRoomy(mnuViewRoomy->isChecked());

    m_columnMenu = new QMenu(tr("Colu&mns"), this);
    for (auto [action, name, text, hidden] :
         {std::tuple{&mnuColumnMin, "mnuColumnMin", tr("Mi&nimum"), kMinHidden},
          std::tuple{&mnuColumnMax, "mnuColumnMax", tr("Ma&ximum"), kMaxHidden},
          std::tuple{&mnuColumnAge, "mnuColumnAge", tr("&Age"), kAgeHidden}}) {
        *action = Add(m_columnMenu, name, text, {}, &frmSBS::ShowColumns);
        (*action)->setCheckable(true);
        (*action)->setChecked((m_scan.Form().HiddenColumns & hidden) == 0);
    }
    cmdColumns->setMenu(m_columnMenu);

    mnuOptions = new QMenu(tr("&Options"), this);
    mnuOptionsScanOn = Add(mnuOptions, "mnuOptionsScanOn", tr("Scanning &on"), {}, &frmSBS::ToggleContScan);
    mnuOptionsScanOff
        = Add(mnuOptions, "mnuOptionsScanOff", tr("Scanning o&ff"), {}, &frmSBS::ToggleContScan);
    mnuOptions->addSeparator();
    Add(mnuOptions, "mnuOptionsScanAll", tr("Scan &all rows"), {}, &frmSBS::ScanAll);
    Add(mnuOptions, "mnuOptionsScanNone", tr("Scan &no row"), {}, &frmSBS::ScanNone);
    Add(mnuOptions, "mnuOptionsLogAll", tr("&Log all rows"), {}, &frmSBS::LogAll);
    Add(mnuOptions, "mnuOptionsLogNone", tr("Log no ro&w"), {}, &frmSBS::LogNone);
    mnuOptions->addSeparator();
    Add(mnuOptions, "mnuOptionsSetRefreshInterval", tr("&Refresh interval..."), {},
        &frmSBS::AskRefreshInterval);
    Add(mnuOptions, "mnuOptionsSetLoggingInterval", tr("Loggin&g interval..."), {},
        &frmSBS::AskLoggingInterval);
    mnuOptions->addSeparator();
    Add(mnuOptions, "mnuOptionsResetStatistics", tr("Reset &minimum and maximum"), {},
        &frmSBS::ResetStatistics);
    Add(mnuOptions, "mnuOptionsReadStatic", tr("Read &static data again"), {}, &frmSBS::ReadStatic);
    mnuOptions->addSeparator();
    Add(mnuOptions, "mnuOptionsCopyText", tr("&Copy as text\tCtrl+C"), {}, &frmSBS::CopyText);
    Add(mnuOptions, "mnuOptionsCopyCsv", tr("Copy as CS&V"), QKeySequence(tr("Ctrl+Shift+C")),
        &frmSBS::CopyCsv);

    Add(nullptr, "actToggleScan", tr("Scan continuously"), QKeySequence(tr("Ctrl+Shift+S")),
        &frmSBS::ToggleContScan);
    Add(nullptr, "actFilter", tr("Filter"), QKeySequence(tr("Ctrl+F")), &frmSBS::FocusFilter);
    mnuAutoCycle = m_cyclePane->MakeMenu(this);
}

QList<QMenu*> frmSBS::Menus() const { return {mnuOptions, mnuAutoCycle}; }

QList<QAction*> frmSBS::FileActions() const { return {mnuFileLogging}; }

QList<QAction*> frmSBS::ViewActions() const
{
    return {mnuViewRefresh, mnuViewButtons, mnuViewRoomy, m_columnMenu->menuAction()};
}

void frmSBS::ShowColumns()
{
    const bool room = width() >= kAllColumns || m_folded;
    m_scan.Form().HiddenColumns = (mnuColumnMin->isChecked() ? 0 : kMinHidden)
        | (mnuColumnMax->isChecked() ? 0 : kMaxHidden) | (mnuColumnAge->isChecked() ? 0 : kAgeHidden);
    grdSBS->ShowStatistics(mnuColumnMin->isChecked() && room, mnuColumnMax->isChecked() && room,
                           mnuColumnAge->isChecked() && room);
}

void frmSBS::ToggleButtonBar()
{
    m_scan.Form().ViewButtons = mnuViewButtons->isChecked();
    m_toolbar->setVisible(mnuViewButtons->isChecked());
}

void frmSBS::ToggleDensity()
{
    m_scan.Form().Roomy = mnuViewRoomy->isChecked();
    grdSBS->SetRoomy(mnuViewRoomy->isChecked());
}

void frmSBS::ShowPlot() { m_plot->setVisible(cmdPlot->isChecked()); }

void frmSBS::resizeEvent(QResizeEvent* event)
{
    ChildView::resizeEvent(event);
    const bool narrow = width() < kNarrow || height() < kLow;
    if (narrow != m_folded)
        Fold(narrow);
    else if (!narrow && !m_placed)
        PlaceSplitters();
    ShowColumns();
}

void frmSBS::PlaceSplitters()
{
    const FormState& form = m_scan.Form();
    const int top = form.CustomSplit != 0 && form.SplitterTop > 0 ? form.SplitterTop : height() / 2;
    m_across->setSizes({kGridWidth, std::max(1, width() - kGridWidth)});
    m_down->setSizes({top, std::max(1, height() - top)});
    m_placed = true;
}

void frmSBS::Fold(bool narrow)
{
    m_folded = narrow;
    if (narrow) {
        m_sideTab = m_tabs->currentWidget();
        m_allTabs->addTab(m_gridPane, tr("Registers"));
        m_allTabs->addTab(m_plot, tr("Plot"));
        while (m_tabs->count() > 0)
            m_allTabs->addTab(m_tabs->widget(0), m_tabs->tabText(0));
    } else {
        QWidget* front = m_allTabs->currentIndex() < 2 ? m_sideTab : m_allTabs->currentWidget();
        while (m_allTabs->count() > 2)
            m_tabs->addTab(m_allTabs->widget(2), m_allTabs->tabText(2));
        m_tabs->setCurrentWidget(front);
        m_down->insertWidget(0, m_plot);
        m_across->insertWidget(0, m_gridPane);
        m_plot->setVisible(cmdPlot->isChecked());
        m_gridPane->show();
        PlaceSplitters();
    }
    m_across->setVisible(!narrow);
    m_allTabs->setVisible(narrow);
    cmdRefresh->setText(narrow ? QString() : tr("Refresh"));
    cmdStartLogging->setText(narrow ? QString() : tr("Start logging"));
    cmdStopLogging->setText(narrow ? QString() : tr("Stop logging"));
    chkContScan->setText(narrow ? tr("Scan") : tr("Scan continuously"));
    lblInterval->setVisible(!narrow);
    cmdPlot->setVisible(!narrow);
}

void frmSBS::SaveFormState()
{
    FormState& form = m_scan.Form();
    if (!m_folded && m_plot->isVisible()) {
        form.CustomSplit = 1;
        form.SplitterTop = m_down->sizes().constFirst();
    }
    const QString problem = ::SaveFormState(m_settings, form);
    if (!problem.isEmpty())
        m_context.messages.Show(problem);
}

void frmSBS::Applyskin()
{
    m_flags->Applyskin();
    m_cyclePane->Applyskin();
    grdSBS->viewport()->update();
    ShowCounts();
}
