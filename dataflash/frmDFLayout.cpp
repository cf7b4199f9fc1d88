// Layout and menus of the data-flash editor; frmDF.cpp has what it does.
#include "dataflash/ComparePane.h"
#include "dataflash/DataFlashGrid.h"
#include "dataflash/DataFlashTabs.h"
#include "dataflash/ItemDetailsPane.h"
#include "dataflash/PendingWritePane.h"
#include "dataflash/WritePlanPane.h"
#include "dataflash/frmDF.h"
#include "look/Controls.h"
#include "look/ElidedLabel.h"
#include "look/Icons.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QMenu>
#include <QResizeEvent>
#include <QShortcut>
#include <QVBoxLayout>

namespace {

constexpr int kNarrow = 800; // logical pixels of the view, below which its panes fold into tabs
constexpr int kLow = 400;
constexpr int kAllWords = 1180; // below it the file buttons show their icons alone
constexpr int kReadWriteButtons = 4; // keep their words longer than the others
constexpr int kDetailsWidth = 290; // at first
constexpr int kPlanHeight = 170;
constexpr int kCompareHeight = 240;

QFrame* Divider(QWidget* parent)
{
    auto* line = new QFrame(parent);
    line->setFrameShape(QFrame::VLine);
    line->setFrameShadow(QFrame::Plain);
    line->setForegroundRole(QPalette::Mid);
    line->setFixedHeight(22);
    return line;
}

} // namespace

QPushButton* frmDF::Command(const char* name, const char* icon, const QString& text, const QString& tip,
                            void (frmDF::*does)())
{
    auto* button = Named(new QPushButton(ThemeIcon(QLatin1String(icon)), text, this), name);
    button->setToolTip(tip);
    button->setAccessibleName(text);
    if (does)
        connect(button, &QPushButton::clicked, this, [this, does] { (this->*does)(); });
    m_commands.emplace_back(button, text);
    return button;
}

QWidget* frmDF::MakeToolbar()
{
    auto* bar = Named(new QWidget(this), "toolbarDF");
    cmdReadAll = Command("cmdReadAll", "read", tr("Read All"),
                         tr("Read every subclass from the gauge (Ctrl+R)"), &frmDF::ReadAll);
    cmdWriteChanged = Command("cmdWriteChanged", "write", tr("Write changed"),
                              tr("Show what a write of the edited subclasses would do (Ctrl+Shift+W)"),
                              &frmDF::WriteChanged);
    cmdWriteAll = Command("cmdWriteAll", "write", tr("Write All"),
                          tr("Show what a write of all subclasses would do"), &frmDF::WriteAll);
    cmdWritePreserve
        = Command("cmdWritePreserve", "lock", tr("Write preserving"),
                  tr("Write all subclasses, but keep what a set of the target's file names"), nullptr);
    auto* export_ = Command("cmdExport", "export", tr("Export"),
                            tr("Save the values on screen to a *.gg file"), &frmDF::AskExport);
    auto* import = Command("cmdImport", "import", tr("Import"),
                           tr("Show what a *.gg file would change, and take it over"), &frmDF::AskImport);
    auto* compare = Command("cmdCompare", "compare", tr("Compare"),
                            tr("Show a *.gg file's values beside the ones on screen"), &frmDF::AskCompare);
    cmdDefaults = Command("cmdDefaults", "star", tr("Defaults"), tr("Default values for this tab or for all"),
                          nullptr);
    const auto small = [bar](const char* name, const char* icon) {
        auto* button = Named(new QToolButton(bar), name);
        button->setIcon(ThemeIcon(QLatin1String(icon)));
        return button;
    };
    cmdUndo = small("cmdUndo", "undo");
    cmdRedo = small("cmdRedo", "redo");
    txtSearch = Named(new QLineEdit(bar), "txtSearch");
    txtSearch->setPlaceholderText(tr("Search all classes (Ctrl+F)"));
    txtSearch->setAccessibleName(tr("Search all classes"));
    txtSearch->setClearButtonEnabled(true);
    txtSearch->addAction(ThemeIcon(QStringLiteral("search")), QLineEdit::LeadingPosition);
    txtSearch->setMinimumWidth(fontMetrics().horizontalAdvance(QLatin1Char('x')) * 16);
    txtSearch->setMaximumWidth(fontMetrics().horizontalAdvance(QLatin1Char('x')) * 34);

    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(0, 5, 0, 1);
    row->setSpacing(6);
    for (QWidget* widget : {static_cast<QWidget*>(cmdReadAll), static_cast<QWidget*>(cmdWriteChanged),
                            static_cast<QWidget*>(cmdWriteAll), static_cast<QWidget*>(cmdWritePreserve),
                            static_cast<QWidget*>(Divider(bar)), static_cast<QWidget*>(export_),
                            static_cast<QWidget*>(import), static_cast<QWidget*>(compare),
                            static_cast<QWidget*>(cmdDefaults), static_cast<QWidget*>(Divider(bar)),
                            static_cast<QWidget*>(cmdUndo), static_cast<QWidget*>(cmdRedo)})
        row->addWidget(widget);
    row->addStretch(1);
    row->addWidget(txtSearch, 2);

    connect(txtSearch, &QLineEdit::textChanged, this, &frmDF::ShowRows);
    const auto leaves = [this](const QKeySequence& key, bool clears) {
        auto* shortcut = new QShortcut(key, txtSearch, nullptr, nullptr, Qt::WidgetShortcut);
        connect(shortcut, &QShortcut::activated, this, [this, clears] {
            if (clears)
                txtSearch->clear();
            grdDataFlash->setFocus();
        });
    };
    leaves(QKeySequence(Qt::Key_Escape), true);
    leaves(QKeySequence(Qt::Key_Return), false);
    leaves(QKeySequence(Qt::Key_Down), false);
    return bar;
}

QToolButton* frmDF::FilterButton(const char* name, const char* icon, IconInk ink, const QString& words,
                                 bool* on)
{
    auto* button = Named(new QToolButton(m_filterRow), name);
    button->setIcon(ThemeIcon(QLatin1String(icon), ink));
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setCheckable(true);
    button->setToolTip(tr("Show only items of all classes with this mark: %1").arg(words));
    connect(button, &QToolButton::toggled, this, [this, on](bool checked) {
        *on = checked;
        ShowRows();
    });
    return button;
}

QWidget* frmDF::MakeFilterRow()
{
    m_filterRow = Named(new QWidget(this), "rowFilters");
    lblShowOnly = new QLabel(tr("Show only"), m_filterRow);
    MakeSecondary(lblShowOnly);
    cmdOnlyChanged = FilterButton("cmdOnlyChanged", "changed", IconInk::Changed, tr("changed by last read"),
                                  &m_filter.Changed);
    cmdOnlyEdited
        = FilterButton("cmdOnlyEdited", "edit", IconInk::Edited, tr("edited, not written"), &m_filter.Edited);
    cmdOnlyDiffers = FilterButton("cmdOnlyDiffers", "neq", IconInk::Secondary, tr("differs from default"),
                                  &m_filter.Differs);
    lblLastRead = Named(new ElidedLabel(m_filterRow), "lblLastRead");
    lblLastRead->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    MakeSecondary(lblLastRead);
    cmdCancelTransfer = Named(new QPushButton(tr("Cancel"), m_filterRow), "cmdCancelTransfer");
    cmdCancelTransfer->setToolTip(
        tr("Ends a read after its present page, a write after its present subclass"));
    cmdCancelTransfer->hide();
    auto* row = new QHBoxLayout(m_filterRow);
    row->setContentsMargins(0, 1, 0, 1);
    row->setSpacing(6);
    row->addWidget(lblShowOnly);
    row->addWidget(cmdOnlyChanged);
    row->addWidget(cmdOnlyEdited);
    row->addWidget(cmdOnlyDiffers);
    row->addWidget(lblLastRead, 1);
    row->addWidget(cmdCancelTransfer);
    connect(cmdCancelTransfer, &QPushButton::clicked, this, &frmDF::CancelTransfer);
    return m_filterRow;
}

QWidget* frmDF::MakeGridPane()
{
    m_gridPane = new QWidget(this);
    m_refusal = Named(new QWidget(m_gridPane), "paneRefusal");
    m_refusalIcon = new QLabel(m_refusal);
    lblRefusal = Named(new QLabel(m_refusal), "lblRefusal");
    lblRefusal->setWordWrap(true);
    cmdUseAnyway = Named(new QPushButton(tr("Use anyway"), m_refusal), "cmdUseAnyway");
    cmdUseAnyway->setToolTip(tr("Keeps a value past the configuration's limit (Ctrl+Enter)"));
    cmdUseAnyway->setFocusPolicy(Qt::NoFocus); // the field keeps the keyboard
    auto* line = new QHBoxLayout(m_refusal);
    line->setContentsMargins(6, 2, 6, 2);
    line->setSpacing(6);
    line->addWidget(m_refusalIcon);
    line->addWidget(lblRefusal, 1);
    line->addWidget(cmdUseAnyway);
    m_refusal->hide();
    auto* column = new QVBoxLayout(m_gridPane);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(grdDataFlash, 1);
    column->addWidget(m_refusal);
    return m_gridPane;
}

QWidget* frmDF::MakeEmptyPage()
{
    auto* page = new QWidget(this);
    auto* title = Named(new QLabel(tr("No data-flash configuration"), page), "lblEmptyConfiguration");
    lblEmptyText = Named(new QLabel(page), "lblEmptyConfigurationText");
    auto* open
        = Named(new QPushButton(ThemeIcon(QStringLiteral("open")), tr("Open a configuration..."), page),
                "cmdOpenConfiguration");
    connect(open, &QPushButton::clicked, this, [this] { OpenConfiguration(); });
    LayOutEmptyState(page, title, lblEmptyText, {open});
    return page;
}

void frmDF::LayOut()
{
    m_model = new DataFlashItemModel(m_flash.Tree(), m_history, m_trends, this);
    grdDataFlash = new DataFlashGrid(*m_model, this);
    grdDataFlash->SetRoomy(m_form.Roomy);
    m_classTabs = new DataFlashTabs(this);
    m_details = new ItemDetailsPane(this);
    m_plan = new WritePlanPane(this);
    m_compare = new ComparePane(this);
    m_pending = new PendingWritePane(this);
    m_notice = new NoticeBar(this);
    QWidget* toolbar = MakeToolbar();
    MakeFilterRow();
    MakeGridPane();

    m_across = Named(new QSplitter(Qt::Horizontal, this), "splitterItems");
    m_across->addWidget(m_gridPane);
    m_across->addWidget(m_details);
    m_across->setStretchFactor(0, 1);
    m_across->setStretchFactor(1, 0);
    m_across->setChildrenCollapsible(false);
    m_details->setVisible(m_form.Details);
    m_down = Named(new QSplitter(Qt::Vertical, this), "splitterPlan");
    m_down->addWidget(m_across);
    m_down->addWidget(m_plan);
    m_down->addWidget(m_compare);
    m_down->setStretchFactor(0, 1);
    m_down->setStretchFactor(1, 0);
    m_down->setStretchFactor(2, 0);
    m_down->setChildrenCollapsible(false);
    m_plan->hide();
    m_compare->hide();
    m_allTabs = Named(new QTabWidget(this), "tabsAllPanes");
    m_allTabs->setDocumentMode(true);

    auto* panes = new QWidget(this);
    auto* over = new QVBoxLayout(panes);
    over->setContentsMargins(0, 0, 0, 0);
    over->setSpacing(0);
    over->addWidget(m_classTabs);
    over->addWidget(m_down, 1);
    over->addWidget(m_allTabs, 1);
    m_allTabs->hide();
    m_pages = Named(new QStackedWidget(this), "pagesDF");
    m_pages->addWidget(MakeEmptyPage());
    m_pages->addWidget(panes);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(8, 0, 8, 6);
    column->setSpacing(4);
    column->addWidget(toolbar);
    column->addWidget(m_filterRow);
    column->addWidget(m_pending);
    column->addWidget(m_notice);
    column->addWidget(m_pages, 1);
}

void frmDF::ConnectPanes()
{
    connect(grdDataFlash, &DataFlashGrid::CurrentChanged, this, &frmDF::ShowItem);
    connect(grdDataFlash, &DataFlashGrid::Refused, this, &frmDF::StatusText);
    connect(&grdDataFlash->Delegate(), &DataFlashDelegate::Judged, this, &frmDF::ShowVerdict);
    connect(&grdDataFlash->Delegate(), &DataFlashDelegate::EditEnded, this, &frmDF::EndEdit);
    connect(cmdUseAnyway, &QPushButton::clicked, &grdDataFlash->Delegate(), &DataFlashDelegate::UseAnyway);
    connect(m_model, &DataFlashItemModel::Edited, this, [this] { Changed({}); });
    connect(m_classTabs, &DataFlashTabs::ClassChosen, this, &frmDF::ShowRows);
    connect(m_details, &ItemDetailsPane::Revert, this, &frmDF::RevertItems);
    connect(m_details, &ItemDetailsPane::SetDefault, this, &frmDF::SetItemDefaults);
    connect(m_plan, &WritePlanPane::Write, this, [this] { StartWrite(true); });
    connect(m_plan, &WritePlanPane::Cancelled, this, [this] { ShowBottom(Bottom::Nothing); });
    connect(m_compare, &ComparePane::Take, this, &frmDF::TakeOffers);
    connect(m_compare, &ComparePane::Closed, this, [this] { ShowBottom(Bottom::Nothing); });
    connect(m_compare, &ComparePane::ItemChosen, this, &frmDF::GoTo);
    connect(m_pending, &PendingWritePane::Finish, this, &frmDF::FinishPending);
    connect(m_pending, &PendingWritePane::RollBack, this, &frmDF::RollBackPending);
    connect(m_pending, &PendingWritePane::Forget, this, [this] { ForgetPending(); });
}

QAction* frmDF::Add(QMenu* menu, const char* name, const QString& text, const char* icon,
                    const QKeySequence& shortcut, void (frmDF::*does)())
{
    QAction* action = ViewAction(this, name, text, icon, shortcut);
    if (menu)
        menu->addAction(action);
    connect(action, &QAction::triggered, this, [this, does] { (this->*does)(); });
    return action;
}

void frmDF::MakeMenus()
{
    mnuExport = Add(nullptr, "mnuExport", tr("E&xport data flash..."), "export", {}, &frmDF::AskExport);
    mnuImport = Add(nullptr, "mnuImport", tr("&Import data flash..."), "import", {}, &frmDF::AskImport);
    mnuFileSpecialExport = Add(nullptr, "mnuFileSpecialExport", tr("&Special export..."), nullptr, {},
                               &frmDF::AskSpecialExport);
    mnuViewPrivate
        = Add(nullptr, "mnuViewPrivate", tr("Show &private items"), nullptr, {}, &frmDF::TogglePrivate);
    mnuViewRoomyItems
        = Add(nullptr, "mnuViewRoomyItems", tr("Roomy ro&ws"), nullptr, {}, &frmDF::ToggleDensity);
    mnuViewItemPane = Add(nullptr, "mnuViewItemPane", tr("&Item pane"), nullptr, {}, &frmDF::ToggleDetails);
    for (const auto& [action, on] :
         {std::pair{mnuViewPrivate, m_form.ShowPrivate}, std::pair{mnuViewRoomyItems, m_form.Roomy},
          std::pair{mnuViewItemPane, m_form.Details}}) {
        action->setCheckable(true);
        action->setChecked(on);
    }

    mnuDataFlash = new QMenu(tr("&Data Flash"), this);
    const auto transfer = [this](QAction* action) {
        m_transferActions << action;
        return action;
    };
    const auto values = [this](QAction* action) {
        m_valueActions << action;
        return action;
    };
    transfer(Add(mnuDataFlash, "mnuDataFlashReadAll", tr("&Read All"), "read", QKeySequence(tr("Ctrl+R")),
                 &frmDF::ReadAll));
    transfer(Add(mnuDataFlash, "mnuDataFlashWriteChanged", tr("&Write changed"), "write",
                 QKeySequence(tr("Ctrl+Shift+W")), &frmDF::WriteChanged));
    transfer(Add(mnuDataFlash, "mnuDataFlashWriteAll", tr("Write &All"), "write", {}, &frmDF::WriteAll));
    mnuDataFlashWrPreserve
        = mnuDataFlash->addMenu(ThemeIcon(QStringLiteral("lock")), tr("Write &preserving"));
    cmdWritePreserve->setMenu(mnuDataFlashWrPreserve);
    mnuDataFlash->addSeparator();
    actUndo = Add(mnuDataFlash, "mnuDataFlashUndo", tr("&Undo"), "undo", QKeySequence(tr("Ctrl+Z")),
                  &frmDF::Undo);
    actRedo = Add(mnuDataFlash, "mnuDataFlashRedo", tr("R&edo"), "redo", QKeySequence(tr("Ctrl+Shift+Z")),
                  &frmDF::Redo);
    cmdUndo->setDefaultAction(actUndo);
    cmdRedo->setDefaultAction(actRedo);
    values(Add(mnuDataFlash, "mnuDataFlashRevert", tr("Re&vert items"), nullptr, {}, &frmDF::RevertItems));
    values(Add(mnuDataFlash, "mnuDataFlashItemDefault", tr("&Set default of items"), nullptr, {},
               &frmDF::SetItemDefaults));
    mnuDefaults = mnuDataFlash->addMenu(ThemeIcon(QStringLiteral("star")), tr("&Defaults"));
    values(Add(mnuDefaults, "mnuDefaultsTab", tr("Into this &tab"), nullptr, {}, &frmDF::SetTabDefaults));
    values(Add(mnuDefaults, "mnuDefaultsAll", tr("Into &all classes"), nullptr, {}, &frmDF::SetAllDefaults));
    mnuDefaults->addSeparator();
    values(Add(mnuDefaults, "mnuDefaultsCompare", tr("&Compare with the values on screen"), "compare", {},
               &frmDF::CompareDefaults));
    cmdDefaults->setMenu(mnuDefaults);
    mnuDataFlash->addSeparator();
    values(Add(mnuDataFlash, "mnuDataFlashCompare", tr("&Compare with a file..."), "compare", {},
               &frmDF::AskCompare));
    Add(mnuDataFlash, "mnuDataFlashCopy", tr("C&opy as text"), "copy", QKeySequence(tr("Ctrl+C")),
        &frmDF::CopyItems);
    mnuDataFlash->addSeparator();
    Add(mnuDataFlash, "mnuDataFlashFind", tr("&Find"), "search", QKeySequence(tr("Ctrl+F")),
        &frmDF::FocusSearch);
    Add(mnuDataFlash, "mnuDataFlashNext", tr("&Next match or mark"), nullptr, QKeySequence(tr("F3")),
        &frmDF::FindNext);
    Add(mnuDataFlash, "mnuDataFlashPrevious", tr("Previous &match or mark"), nullptr,
        QKeySequence(tr("Shift+F3")), &frmDF::FindPrevious);
    m_valueActions << mnuExport << mnuImport << mnuFileSpecialExport;

    mnuOptions = new QMenu(tr("&Options"), this);
    mnuOptionsVerifyWrite
        = Named(mnuOptions->addAction(tr("&Verify after writing")), "mnuOptionsVerifyWrite");
    mnuOptionsVerifyWrite->setCheckable(true);
    mnuOptionsVerifyWrite->setChecked(m_form.VerifyWrite);
    mnuOptions->addSeparator();
    mnuOptionsAutoExport = Add(mnuOptions, "mnuOptionsAutoExport", tr("Automatic &export"), nullptr, {},
                               &frmDF::ToggleAutoExport);
    mnuOptionsAutoExport->setCheckable(true);
    Add(mnuOptions, "mnuOptionsSetAutoExportInterval", tr("Automatic export &interval..."), nullptr, {},
        &frmDF::SetAutoExportInterval);
    Add(mnuOptions, "mnuOptionsSetAutoExportFile", tr("Automatic export &file..."), nullptr, {},
        &frmDF::SetAutoExportFile);

    Add(nullptr, "actNextTab", tr("Next class"), nullptr, QKeySequence(tr("Ctrl+PgDown")), &frmDF::NextTab);
    Add(nullptr, "actPreviousTab", tr("Previous class"), nullptr, QKeySequence(tr("Ctrl+PgUp")),
        &frmDF::PreviousTab);
    Add(nullptr, "actNextPane", tr("Next pane"), nullptr, QKeySequence(tr("F6")), &frmDF::NextPane);
    Add(nullptr, "actPreviousPane", tr("Previous pane"), nullptr, QKeySequence(tr("Shift+F6")),
        &frmDF::PreviousPane);
}

void frmDF::MakePreserveMenu()
{
    qDeleteAll(mnuDataFlashWrPreserveArr);
    mnuDataFlashWrPreserveArr.clear();
    const QStringList names = m_flash.PreserveSets();
    for (int set = 1; set <= names.size(); ++set) {
        QAction* action = mnuDataFlashWrPreserve->addAction(names[set - 1]);
        action->setObjectName(QStringLiteral("mnuDataFlashWrPreserveArr%1").arg(set));
        connect(action, &QAction::triggered, this, [this, set] { WritePreserve(set); });
        mnuDataFlashWrPreserveArr << action;
    }
    if (names.isEmpty()) {
        QAction* none
            = mnuDataFlashWrPreserve->addAction(tr("The target's file has no section DFWrPreserve1"));
        none->setEnabled(false);
        mnuDataFlashWrPreserveArr << none;
    }
}

QList<QMenu*> frmDF::Menus() const { return {mnuDataFlash, mnuOptions}; }

QList<QAction*> frmDF::FileActions() const { return {mnuExport, mnuImport, mnuFileSpecialExport}; }

QList<QAction*> frmDF::ViewActions() const { return {mnuViewPrivate, mnuViewItemPane, mnuViewRoomyItems}; }

void frmDF::ShowBottom(Bottom what)
{
    QWidget* const before = QApplication::focusWidget();
    const bool hadFocus = before && (m_plan->isAncestorOf(before) || m_compare->isAncestorOf(before));
    m_bottom = what;
    QWidget* shown = what == Bottom::Plan ? static_cast<QWidget*>(m_plan)
        : what == Bottom::Compare         ? static_cast<QWidget*>(m_compare)
                                          : nullptr;
    for (QWidget* pane : {static_cast<QWidget*>(m_plan), static_cast<QWidget*>(m_compare)})
        if (m_folded) {
            const int tab = m_allTabs->indexOf(pane);
            m_allTabs->setTabVisible(tab, pane == shown);
            if (pane == shown)
                m_allTabs->setCurrentIndex(tab);
        } else {
            pane->setVisible(pane == shown);
        }
    if (shown && !m_folded) {
        const int height
            = std::max(m_form.PlanHeight, what == Bottom::Compare ? kCompareHeight : kPlanHeight);
        m_down->setSizes({std::max(1, m_down->height() - height), height, height});
    }
    if (!shown && m_folded)
        m_allTabs->setCurrentIndex(0);
    if (!shown && hadFocus)
        grdDataFlash->setFocus();
}

void frmDF::FocusPane(bool forward)
{
    QList<QWidget*> panes{txtSearch, m_classTabs, grdDataFlash};
    if (m_details->isVisible())
        panes << m_details->findChild<QWidget*>(QStringLiteral("txtItemHelp"));
    if (m_plan->isVisible())
        panes << m_plan->findChild<QWidget*>(QStringLiteral("grdPlan"));
    if (m_compare->isVisible())
        panes << m_compare->findChild<QWidget*>(QStringLiteral("grdCompare"));
    panes.removeIf([](const QWidget* pane) { return !pane || !pane->isVisible(); });
    if (panes.isEmpty())
        return;
    const auto at = panes.indexOf(QApplication::focusWidget());
    panes[(at + (forward ? 1 : panes.size() - 1)) % panes.size()]->setFocus(Qt::ShortcutFocusReason);
}

void frmDF::resizeEvent(QResizeEvent* event)
{
    ChildView::resizeEvent(event);
    const bool narrow = width() < kNarrow || height() < kLow;
    if (narrow != m_folded)
        Fold(narrow);
    else if (!narrow && !m_placed)
        PlaceSplitters();
    qsizetype at = 0;
    for (const auto& [button, words] : m_commands) {
        const bool shows = width() >= kAllWords || (!narrow && at < kReadWriteButtons);
        button->setText(shows ? words : QString());
        ++at;
    }
}

void frmDF::PlaceSplitters()
{
    const int details = m_form.DetailsWidth > 0 ? m_form.DetailsWidth : kDetailsWidth;
    m_across->setSizes({std::max(1, width() - details), details});
    m_placed = true;
}

void frmDF::Fold(bool narrow)
{
    m_folded = narrow;
    if (narrow) {
        static_cast<QBoxLayout*>(m_gridPane->layout())->insertWidget(0, m_classTabs);
        m_allTabs->addTab(m_gridPane, tr("Items"));
        m_allTabs->addTab(m_details, tr("Item"));
        m_allTabs->addTab(m_plan, tr("Write plan"));
        m_allTabs->addTab(m_compare, tr("Comparison"));
    } else {
        static_cast<QBoxLayout*>(m_down->parentWidget()->layout())->insertWidget(0, m_classTabs);
        m_across->addWidget(m_gridPane);
        m_across->addWidget(m_details);
        m_down->addWidget(m_plan);
        m_down->addWidget(m_compare);
        m_gridPane->show();
        m_details->setVisible(m_form.Details);
        PlaceSplitters();
    }
    m_down->setVisible(!narrow);
    m_allTabs->setVisible(narrow);
    lblShowOnly->setVisible(!narrow);
    txtSearch->setPlaceholderText(narrow ? tr("Search") : tr("Search all classes (Ctrl+F)"));
    m_pending->SetNarrow(narrow);
    m_plan->SetNarrow(narrow);
    grdDataFlash->ShowLimits(!narrow);
    ShowBottom(m_bottom);
    ShowMarks();
}

void frmDF::SaveForm()
{
    m_form.Class = std::max(0, m_classTabs->ChosenClass());
    m_form.VerifyWrite = mnuOptionsVerifyWrite->isChecked();
    if (!m_folded && m_placed && m_details->isVisible())
        m_form.DetailsWidth = m_across->sizes().value(1);
    if (!m_folded && m_bottom != Bottom::Nothing)
        m_form.PlanHeight = m_down->sizes().value(m_bottom == Bottom::Plan ? 1 : 2);
    const QString problem = SaveDataFlashForm(m_settings, m_form);
    if (!problem.isEmpty())
        m_context.messages.Show(problem);
}
