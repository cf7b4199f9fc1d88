// Actions and layout of frmFlash; frmFlash.cpp has what it does.
#include "flashimage/frmFlash.h"

#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"

#include <QAction>
#include <QBoxLayout>
#include <QHeaderView>
#include <QMenu>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>
#include <QToolButton>

namespace {

constexpr int kRowHeight = 20;
constexpr int kListRows = 7; // of the differences, with their header
constexpr int kWordWidth = 1180; // below it buttons show their icons alone
constexpr int kLow = 420;
constexpr int kAddressWidth = 14; // figures
constexpr int kFindWidth = 20;
constexpr int kIcon = 16;

} // namespace

QAction* frmFlash::Add(const char* name, const QString& text, const char* icon, const QKeySequence& shortcut,
                       void (frmFlash::*does)())
{
    QAction* action = ViewAction(this, name, text, icon, shortcut);
    connect(action, &QAction::triggered, this, [this, does] { WhenFree([this, does] { (this->*does)(); }); });
    return action;
}

void frmFlash::MakeActions()
{
    actOpen = Add("mnuFileOpenImage", tr("&Open image..."), "open", QKeySequence(tr("Ctrl+O")),
                  &frmFlash::AskOpen);
    actSave = Add("mnuFileSaveImage", tr("&Save image"), "save", QKeySequence(tr("Ctrl+S")), &frmFlash::Save);
    actSaveAs = Add("mnuFileSaveImageAs", tr("Save image &as..."), nullptr, {}, &frmFlash::AskSaveAs);

    mnuEdit = new QMenu(tr("&Edit"), this);
    const auto edit = [this](QAction* action) {
        mnuEdit->addAction(action);
        return action;
    };
    actUndo = edit(Add("mnuEditUndo", tr("&Undo"), "undo", QKeySequence(tr("Ctrl+Z")), &frmFlash::Undo));
    actRedo
        = edit(Add("mnuEditRedo", tr("&Redo"), "redo", QKeySequence(tr("Ctrl+Shift+Z")), &frmFlash::Redo));
    mnuEdit->addSeparator();
    edit(Add("mnuEditGoTo", tr("&Go to address"), "goto", QKeySequence(tr("Ctrl+G")), &frmFlash::FocusGoTo));
    edit(Add("mnuEditFind", tr("&Find bytes or text"), "search", QKeySequence(tr("Ctrl+F")),
             &frmFlash::FocusFind));
    edit(Add("mnuEditFindNext", tr("Find &next"), nullptr, QKeySequence(tr("F3")), &frmFlash::NextFound));
    edit(Add("mnuEditFindPrevious", tr("Find &previous"), nullptr, QKeySequence(tr("Shift+F3")),
             &frmFlash::PreviousFound));

    mnuImage = new QMenu(tr("&Image"), this);
    const auto image = [this](QAction* action) {
        mnuImage->addAction(action);
        return action;
    };
    actRead = image(Add("mnuImageRead", tr("&Read from gauge..."), "read", {}, &frmFlash::ReadFromGauge));
    actProgram = image(Add("mnuImageProgram", tr("&Program..."), "write", {}, &frmFlash::Program));
    actVerify = image(Add("mnuImageVerify", tr("&Verify gauge..."), "verify", {}, &frmFlash::VerifyGauge));
    mnuImage->addSeparator();
    actCompare
        = image(Add("mnuImageCompare", tr("&Compare with file..."), "compare", {}, &frmFlash::AskCompare));
    actCompareGauge = image(Add("mnuImageCompareGauge", tr("Compare with &gauge..."), "compare", {},
                                &frmFlash::CompareWithGauge));
    actCompareEnd
        = image(Add("mnuImageCompareEnd", tr("&End comparison"), "cross", {}, &frmFlash::EndComparison));
    actPrevious = image(Add("mnuImagePrevious", tr("Previous &difference"), "prev",
                            QKeySequence(tr("Alt+Up")), &frmFlash::PreviousDifference));
    actNext = image(Add("mnuImageNext", tr("&Next difference"), "next", QKeySequence(tr("Alt+Down")),
                        &frmFlash::NextDifference));
}

QToolButton* frmFlash::Button(QAction* action, bool withText)
{
    auto* button = new QToolButton(this);
    button->setDefaultAction(action);
    button->setObjectName(QLatin1String("cmd") + action->objectName().mid(3));
    button->setAccessibleName(action->toolTip());
    button->setToolButtonStyle(withText ? Qt::ToolButtonTextBesideIcon : Qt::ToolButtonIconOnly);
    if (withText)
        m_wordButtons << button;
    return button;
}

QWidget* frmFlash::MakeToolbar()
{
    auto* bar = new QWidget(this);
    // with its words it must not keep the view wide, which loses them only once it is narrow
    bar->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(8, 6, 8, 2);
    row->setSpacing(4);
    const auto word = [&](QAction* action, const QString& text) {
        action->setIconText(text); // the button keeps it when the action changes
        QToolButton* button = Button(action, true);
        row->addWidget(button);
        return button;
    };
    word(actOpen, tr("Open"));
    word(actSave, tr("Save"));
    row->addSpacing(8);
    word(actRead, tr("Read from gauge"));
    word(actProgram, tr("Program"));
    word(actVerify, tr("Verify"));
    row->addSpacing(8);
    QToolButton* compare = word(actCompare, tr("Compare"));
    auto* menu = new QMenu(this);
    menu->addActions({actCompare, actCompareGauge, actCompareEnd});
    compare->setMenu(menu);
    compare->setPopupMode(QToolButton::MenuButtonPopup);
    word(actPrevious, tr("Previous"));
    word(actNext, tr("Next"));
    MakeSecondary(lblDifference);
    row->addSpacing(4);
    row->addWidget(lblDifference);
    row->addSpacing(8);
    row->addWidget(Button(actUndo, false));
    row->addWidget(Button(actRedo, false));
    row->addStretch(1);
    const int figure = fontMetrics().horizontalAdvance(QLatin1Char('0'));
    txtGoTo->setPlaceholderText(tr("Address"));
    txtGoTo->setToolTip(tr("Go to a hexadecimal address (Ctrl+G)"));
    txtGoTo->setAccessibleName(tr("Go to address"));
    txtGoTo->setFont(Theme::Current().Font(Type::Mono));
    txtGoTo->setFixedWidth(kAddressWidth * figure);
    txtGoTo->addAction(ThemeIcon(QStringLiteral("goto")), QLineEdit::LeadingPosition);
    txtFind->setPlaceholderText(tr("Find hex or text"));
    txtFind->setToolTip(tr("Pairs of digits are bytes, anything else is text; \"1234\" in quotes is text.\n"
                           "Enter or F3: next, Shift+F3: previous. Empty: differences."));
    txtFind->setAccessibleName(tr("Find bytes or text"));
    txtFind->setMaximumWidth(kFindWidth * figure);
    txtFind->setMinimumWidth(kAddressWidth * figure / 2);
    txtFind->setClearButtonEnabled(true);
    txtFind->addAction(ThemeIcon(QStringLiteral("search")), QLineEdit::LeadingPosition);
    row->addWidget(txtGoTo);
    row->addWidget(txtFind);
    return bar;
}

QWidget* frmFlash::MakeRegionRow()
{
    auto* bar = new QWidget(this);
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(8, 2, 8, 6);
    row->setSpacing(8);
    auto* caption = new QLabel(tr("Region"), bar);
    MakeSecondary(caption);
    cboRegion->setAccessibleName(tr("Region"));
    cboRegion->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    MakeSecondary(lblRegion);
    lblRegion->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    chkTogether->setChecked(true);
    row->addWidget(caption);
    row->addWidget(cboRegion);
    MakeSecondary(lblCursor);
    row->addWidget(lblRegion, 1);
    row->addWidget(lblCursor);
    row->addWidget(chkTogether);
    row->addWidget(chkOnlyDifferences);
    return bar;
}

QWidget* frmFlash::MakeBanner()
{
    m_banner = Named(new QFrame(this), "bannerRom");
    m_banner->setFrameShape(QFrame::StyledPanel);
    m_banner->setAutoFillBackground(true);
    m_banner->setBackgroundRole(QPalette::ToolTipBase);
    auto* icon = new QLabel(m_banner);
    icon->setPixmap(ThemeIcon(QStringLiteral("warn"), IconInk::Caution).pixmap(kIcon, kIcon));
    lblBanner
        = Named(new QLabel(tr("The gauge has no firmware that runs: it is in its boot ROM (%1). It measures "
                              "nothing and answers no register.")
                               .arg(ErrorCodeToText(ErrorCode::DevRomMode)),
                           m_banner),
                "lblBanner");
    lblBanner->setWordWrap(true);
    cmdProgramFirmware = Named(new QPushButton(tr("Program firmware"), m_banner), "cmdProgramFirmware");
    cmdProgramFirmware->setToolTip(tr("Plans to program the open image, or one that you choose."));
    cmdStartFirmware = Named(new QPushButton(tr("Start firmware"), m_banner), "cmdStartFirmware");
    cmdStartFirmware->setToolTip(
        tr("Sends the return-from-ROM request and the firmware-execute value of Config.ini\n"
           "(RetROMCmd, RetROMWd, GG_FWEXEC). A firmware that is not whole does not start."));
    connect(cmdProgramFirmware, &QPushButton::clicked, this, [this] { WhenFree([this] { Program(); }); });
    connect(cmdStartFirmware, &QPushButton::clicked, this,
            [this] { WhenFree([this] { m_run->StartFirmware(); }); });
    auto* row = new QHBoxLayout(m_banner);
    row->setContentsMargins(12, 6, 12, 6);
    row->addWidget(icon);
    row->addWidget(lblBanner, 1);
    row->addWidget(cmdStartFirmware);
    row->addWidget(cmdProgramFirmware);
    m_banner->hide();
    return m_banner;
}

QWidget* frmFlash::MakeEmptyPage()
{
    auto* page = new QWidget(this);
    auto* title = Named(new QLabel(tr("No image is open"), page), "lblNoImage");
    auto* text = new QLabel(
        tr("Open an S-record file to see, edit and compare its bytes and to program it into a gauge, "
           "or read the flash of the gauge."),
        page);
    auto* open = Named(new QPushButton(ThemeIcon(QStringLiteral("open")), tr("Open image"), page),
                       "cmdOpenFirstImage");
    connect(open, &QPushButton::clicked, actOpen, &QAction::trigger);
    auto* read = Named(new QPushButton(ThemeIcon(QStringLiteral("read")), tr("Read from gauge"), page),
                       "cmdReadFirstImage");
    connect(read, &QPushButton::clicked, actRead, &QAction::trigger);
    connect(actRead, &QAction::changed, read, [this, read] {
        read->setEnabled(actRead->isEnabled());
        read->setToolTip(actRead->toolTip());
    });
    page->setFocusProxy(open);
    LayOutEmptyState(page, title, text, {open, read});
    return page;
}

void frmFlash::LayOut()
{
    m_across->setObjectName(QStringLiteral("splImages"));
    m_across->addWidget(m_first);
    m_across->addWidget(m_second);
    m_across->setChildrenCollapsible(false);
    m_across->setStretchFactor(0, 1);
    m_across->setStretchFactor(1, 1);
    grdDifferences->setModel(m_differences);
    grdDifferences->setAccessibleName(tr("Differences"));
    grdDifferences->setSelectionBehavior(QAbstractItemView::SelectRows);
    grdDifferences->setSelectionMode(QAbstractItemView::SingleSelection);
    grdDifferences->setAlternatingRowColors(true);
    grdDifferences->setShowGrid(false);
    grdDifferences->setTabKeyNavigation(false);
    grdDifferences->verticalHeader()->hide();
    grdDifferences->verticalHeader()->setMinimumSectionSize(kRowHeight);
    grdDifferences->verticalHeader()->setDefaultSectionSize(kRowHeight);
    grdDifferences->horizontalHeader()->setHighlightSections(false);
    grdDifferences->horizontalHeader()->setStretchLastSection(true);
    const int figure = fontMetrics().horizontalAdvance(QLatin1Char('0'));
    const std::array widths{6, 13, 10, 45, 45};
    for (int column = 0; column < static_cast<int>(widths.size()); ++column)
        grdDifferences->setColumnWidth(column, widths[static_cast<std::size_t>(column)] * figure);
    lstProblems->setAccessibleName(tr("Lines of the file that were not taken as they stand"));
    lstProblems->setAlternatingRowColors(true);
    m_tabs->setObjectName(QStringLiteral("tabImage"));
    m_tabs->addTab(grdDifferences, tr("Differences"));
    m_tabs->addTab(lstProblems, tr("Problems"));
    m_down->setObjectName(QStringLiteral("splImageDown"));
    m_down->addWidget(m_across);
    m_down->addWidget(m_tabs);
    m_down->setStretchFactor(0, 1);
    m_down->setStretchFactor(1, 0);
    m_down->setChildrenCollapsible(false);
    m_down->setSizes({100 * kRowHeight, kListRows * kRowHeight});

    auto* page = new QWidget(this);
    auto* inner = new QVBoxLayout(page);
    inner->setContentsMargins(0, 0, 0, 0);
    inner->setSpacing(0);
    inner->addWidget(MakeRegionRow());
    auto* framed = new QHBoxLayout;
    framed->setContentsMargins(8, 0, 8, 8);
    framed->addWidget(m_down);
    inner->addLayout(framed, 1);
    m_pages->addWidget(MakeEmptyPage());
    m_pages->addWidget(page);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(MakeToolbar());
    column->addWidget(MakeBanner());
    column->addWidget(m_pages, 1);
    if (m_run) {
        m_run->hide();
        column->addWidget(m_run);
    }
}

void frmFlash::resizeEvent(QResizeEvent* event)
{
    ChildView::resizeEvent(event);
    Fold();
}

void frmFlash::Fold()
{
    const bool narrow = width() < kWordWidth;
    const bool low = height() < kLow;
    for (QToolButton* button : std::as_const(m_wordButtons))
        button->setToolButtonStyle(narrow ? Qt::ToolButtonIconOnly : Qt::ToolButtonTextBesideIcon);
    lblCursor->setVisible(!narrow);
    // two images stand above each other where they do not fit side by side
    m_across->setOrientation(width() < 2 * m_first->Hex()->WidthNeeded() ? Qt::Vertical : Qt::Horizontal);
    const bool problems = lstProblems->count() > 0;
    m_tabs->setVisible(problems || (Comparing() && !low));
    m_pages->setVisible(!low || !m_run || m_run->isHidden()); // a plan needs the room that there is
}
