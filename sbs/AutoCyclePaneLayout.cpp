// Controls and menu of the auto-cycle's pane; AutoCyclePane.cpp has what they say.
#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"
#include "sbs/AutoCyclePane.h"
#include "sbs/PhaseStrip.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QScrollArea>
#include <QVBoxLayout>

AutoCyclePane::AutoCyclePane(AutoCycle& cycle, TableSettings& settings, UserMessages& messages,
                             ScanEngine& scan, QWidget* parent)
    : QWidget(parent), m_cycle(cycle), m_settings(settings), m_messages(messages), m_scan(scan),
      m_stateIcon(new QLabel(this)), lblCycleState(Named(new QLabel(this), "lblCycleState")),
      lblCycleElapsed(Named(new QLabel(this), "lblCycleElapsed")),
      lblCycleWhy(Named(new QLabel(this), "lblCycleWhy")), m_stopReason(new QWidget(this)),
      m_stopIcon(new QLabel(m_stopReason)),
      lblCycleStopReason(Named(new QLabel(m_stopReason), "lblCycleStopReason")),
      cmdStopCycle(Named(new QPushButton(tr("Stop and switch\nboth lines off"), this), "cmdStopCycle")),
      cmdStartCycle(
          Named(new QPushButton(ThemeIcon(QStringLiteral("play")), tr("Start"), this), "cmdStartCycle")),
      cmdCycleSettings(Named(new QPushButton(ThemeIcon(QStringLiteral("settings")), tr("Settings"), this),
                             "cmdCycleSettings")),
      lblCycleCount(Named(new QLabel(this), "lblCycleCount")), m_linesIcon(new QLabel(this)),
      lblCycleLines(Named(new QLabel(this), "lblCycleLines")),
      grdCyclePhases(Named(new PhaseStrip(this), "grdCyclePhases")),
      grdCycleTriggers(Named(new QTableWidget(3, 6, this), "grdCycleTriggers"))
{
    setObjectName(QStringLiteral("paneAutoCycle"));
    for (StopLine& line : m_stops)
        line = {new QLabel(this), new QLabel(this)};
    LayOut();
    cmdStartCycle->setToolTip(
        tr("Starts and waits until a limit is crossed. The Auto-Cycle menu starts by charging or\n"
           "by discharging at once."));
    connect(cmdStartCycle, &QPushButton::clicked, this, [this] { StartAutoCycle(); });
    connect(cmdStopCycle, &QPushButton::clicked, this, &AutoCyclePane::StopAndSwitchOff);
    connect(cmdCycleSettings, &QPushButton::clicked, this, &AutoCyclePane::ShowSettings);
    Applyskin();
}

void AutoCyclePane::LayOut()
{
    auto* area = new QScrollArea(this);
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    QWidget* content = MakeContent();
    area->setWidget(content);
    for (QWidget* page : {area->viewport(), content}) // as the other tabs
        page->setBackgroundRole(QPalette::Base);
    content->setAutoFillBackground(true);
    area->setFocusPolicy(Qt::NoFocus);
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->addWidget(area);
}

QWidget* AutoCyclePane::MakeContent()
{
    auto* content = new QWidget(this);
    const Theme& theme = Theme::Current();
    lblCycleState->setFont(theme.Font(Type::State));
    MakeSecondary(lblCycleElapsed);
    for (QLabel* text : {lblCycleWhy, lblCycleStopReason, lblCycleCount})
        text->setWordWrap(true);
    for (QLabel* text : {lblCycleWhy, lblCycleStopReason})
        text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* reason = new QHBoxLayout(m_stopReason);
    reason->setContentsMargins(0, 0, 0, 0);
    reason->setSpacing(6);
    reason->addWidget(m_stopIcon, 0, Qt::AlignTop);
    reason->addWidget(lblCycleStopReason, 1);

    auto* title = new QHBoxLayout;
    title->setSpacing(8);
    title->addWidget(lblCycleState);
    title->addWidget(lblCycleElapsed, 0, Qt::AlignBottom);
    title->addStretch();
    auto* texts = new QVBoxLayout;
    texts->setSpacing(0);
    texts->addLayout(title);
    texts->addWidget(lblCycleWhy);
    texts->addWidget(m_stopReason);
    texts->addStretch();

    cmdStopCycle->setFont(theme.Font(Type::Title));
    cmdStopCycle->setIconSize({24, 24});
    cmdStopCycle->setToolTip(tr("Ends the run and switches charger and load off (Ctrl+Shift+X)"));
    cmdStopCycle->setMinimumSize(200, 2 * QFontMetrics(cmdStopCycle->font()).lineSpacing() + 12);
    cmdStartCycle->setToolTip(tr("Start the auto-cycle"));
    auto* small = new QHBoxLayout;
    small->setSpacing(4);
    small->addWidget(cmdStartCycle);
    small->addWidget(cmdCycleSettings);
    auto* buttons = new QVBoxLayout;
    buttons->setSpacing(4);
    buttons->addWidget(cmdStopCycle);
    buttons->addLayout(small);
    buttons->addStretch();
    auto* head = new QHBoxLayout;
    head->setSpacing(12);
    head->addWidget(m_stateIcon, 0, Qt::AlignTop);
    head->addLayout(texts, 1);
    head->addLayout(buttons);

    auto* sums = new QHBoxLayout;
    sums->setSpacing(6);
    sums->addWidget(lblCycleCount, 1);
    sums->addWidget(m_linesIcon);
    sums->addWidget(lblCycleLines);

    FillTriggerTable();
    auto* stopsTitle = new QLabel(tr("Stops by itself"), content);
    stopsTitle->setFont(theme.Font(Type::Strong));
    auto* stops = new QHBoxLayout;
    stops->setSpacing(4);
    for (const StopLine& line : m_stops) {
        stops->addWidget(line.icon);
        stops->addWidget(line.text);
        stops->addSpacing(12);
    }
    stops->addStretch();

    auto* down = new QVBoxLayout(content);
    down->setContentsMargins(12, 8, 12, 8);
    down->setSpacing(6);
    down->addLayout(head);
    down->addLayout(sums);
    down->addWidget(grdCyclePhases);
    down->addWidget(grdCycleTriggers);
    down->addWidget(stopsTitle);
    down->addLayout(stops);
    down->addStretch();
    return content;
}

void AutoCyclePane::FillTriggerTable()
{
    QTableWidget& table = *grdCycleTriggers;
    table.setAccessibleName(tr("Limits of the auto-cycle"));
    table.setHorizontalHeaderLabels(
        {tr("Trigger"), tr("Now"), QString(), tr("State"), QString(), tr("State")});
    const QString names[]{tr("Remaining capacity"), tr("Voltage"), tr("Status bits")};
    for (int row = 0; row < table.rowCount(); ++row)
        for (int column = 0; column < table.columnCount(); ++column) {
            auto* item = new QTableWidgetItem(column == 0 ? names[row] : QString());
            item->setFlags(Qt::ItemIsEnabled);
            if (column == 1)
                item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
            table.setItem(row, column, item);
        }
    table.setSelectionMode(QAbstractItemView::NoSelection);
    table.setEditTriggers(QAbstractItemView::NoEditTriggers);
    table.setTabKeyNavigation(false);
    table.setShowGrid(false);
    table.setIconSize({16, 16});
    table.setAlternatingRowColors(true);
    table.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    table.verticalHeader()->hide();
    table.verticalHeader()->setMinimumSectionSize(20);
    table.verticalHeader()->setDefaultSectionSize(20);
    QHeaderView& header = *table.horizontalHeader();
    header.setHighlightSections(false);
    header.setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    header.setSectionResizeMode(QHeaderView::ResizeToContents);
    for (int column : {2, 4})
        header.setSectionResizeMode(column, QHeaderView::Stretch);
    table.horizontalHeaderItem(1)->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    table.setFixedHeight(header.sizeHint().height() + 3 * 20 + 2 * table.frameWidth());
}

QAction* AutoCyclePane::Add(const char* name, const QString& text, bool checkable)
{
    QAction* action = Named(mnuAutoCycle->addAction(text), name);
    action->setCheckable(checkable);
    return action;
}

QMenu* AutoCyclePane::MakeMenu(QWidget* parent)
{
    mnuAutoCycle = Named(new QMenu(tr("&Auto-Cycle"), parent), "mnuAutoCycle");
    mnuAutoCycleStart = Add("mnuAutoCycleStart", tr("&Start"));
    mnuAutoCycleStartCharge = Add("mnuAutoCycleStartCharge", tr("Start by ch&arging"));
    mnuAutoCycleStartDischarge = Add("mnuAutoCycleStartDischarge", tr("Start by &discharging"));
    mnuAutoCycleStop = Add("mnuAutoCycleStop", tr("Sto&p, leave the lines as they are"));
    // the main window owns the shortcut, which works in every window of the program
    mnuAutoCycleStopOff = Add("mnuAutoCycleStopOff",
                              tr("Stop and switch &both lines off") + QStringLiteral("\tCtrl+Shift+X"));
    mnuAutoCycle->addSeparator();
    mnuAutoCycle1Pin = Add("mnuAutoCycle1Pin", tr("&1 pin: the power line switches both"), true);
    mnuAutoCycle2Pin = Add("mnuAutoCycle2Pin", tr("&2 pins: charger and load apart"), true);
    mnuAutoCycle->addSeparator();
    mnuAutoCycleHi = Add("mnuAutoCycleHi", tr("Pin h&igh charges"), true);
    mnuAutoCycleLo = Add("mnuAutoCycleLo", tr("Pin lo&w charges"), true);
    mnuAutoCycleChgHi = Add("mnuAutoCycleChgHi", tr("&Charger on at a high line"), true);
    mnuAutoCycleLoadHi = Add("mnuAutoCycleLoadHi", tr("&Load on at a high line"), true);
    mnuAutoCycle->addSeparator();
    QAction* mnuAutoCycleSettings = Add("mnuAutoCycleSettings", tr("S&ettings..."));
    QAction* mnuAutoCycleHelp = Add("mnuAutoCycleHelp", tr("&Help"));
    auto* pins = new QActionGroup(mnuAutoCycle);
    auto* levels = new QActionGroup(mnuAutoCycle);
    for (QAction* pin : {mnuAutoCycle1Pin, mnuAutoCycle2Pin})
        pins->addAction(pin);
    for (QAction* level : {mnuAutoCycleHi, mnuAutoCycleLo})
        levels->addAction(level);

    connect(mnuAutoCycleStart, &QAction::triggered, this, [this] { StartAutoCycle(); });
    connect(mnuAutoCycleStartCharge, &QAction::triggered, this,
            [this] { StartAutoCycle(Direction::Charge); });
    connect(mnuAutoCycleStartDischarge, &QAction::triggered, this,
            [this] { StartAutoCycle(Direction::Discharge); });
    connect(mnuAutoCycleStop, &QAction::triggered, this, &AutoCyclePane::StopAutoCycle);
    connect(mnuAutoCycleStopOff, &QAction::triggered, this, &AutoCyclePane::StopAndSwitchOff);
    connect(mnuAutoCycle1Pin, &QAction::triggered, this, [this] { SetWiring(1); });
    connect(mnuAutoCycle2Pin, &QAction::triggered, this, [this] { SetWiring(2); });
    connect(mnuAutoCycleHi, &QAction::triggered, this, [this] { SetLevel(AutoCycle::Level::Pin, true); });
    connect(mnuAutoCycleLo, &QAction::triggered, this, [this] { SetLevel(AutoCycle::Level::Pin, false); });
    connect(mnuAutoCycleChgHi, &QAction::triggered, this,
            [this](bool high) { SetLevel(AutoCycle::Level::Charger, high); });
    connect(mnuAutoCycleLoadHi, &QAction::triggered, this,
            [this](bool high) { SetLevel(AutoCycle::Level::Load, high); });
    connect(mnuAutoCycleSettings, &QAction::triggered, this, &AutoCyclePane::ShowSettings);
    connect(mnuAutoCycleHelp, &QAction::triggered, this, &AutoCyclePane::ShowHelp);
    UpdateMenus(m_cycle.Facts());
    return mnuAutoCycle;
}

void AutoCyclePane::UpdateMenus(const CycleFacts& facts)
{
    if (!mnuAutoCycle)
        return;
    const AutoCycleSettings& settings = m_cycle.Settings();
    const bool twoPins = settings.TwoPins();
    for (QAction* start : {mnuAutoCycleStart, mnuAutoCycleStartCharge, mnuAutoCycleStartDischarge})
        start->setEnabled(!facts.Running);
    mnuAutoCycleStop->setEnabled(facts.Running);
    mnuAutoCycleStopOff->setEnabled(cmdStopCycle->isEnabled());
    for (QAction* wiring : {mnuAutoCycle1Pin, mnuAutoCycle2Pin})
        wiring->setEnabled(!facts.Running);
    for (QAction* level : {mnuAutoCycleHi, mnuAutoCycleLo})
        level->setEnabled(!facts.Running && !twoPins);
    for (QAction* level : {mnuAutoCycleChgHi, mnuAutoCycleLoadHi})
        level->setEnabled(!facts.Running && twoPins);
    (twoPins ? mnuAutoCycle2Pin : mnuAutoCycle1Pin)->setChecked(true);
    (settings.PinHi != 0 ? mnuAutoCycleHi : mnuAutoCycleLo)->setChecked(true);
    mnuAutoCycleChgHi->setChecked(settings.ChgHi != 0);
    mnuAutoCycleLoadHi->setChecked(settings.LoadHi != 0);
}

void AutoCyclePane::Applyskin()
{
    const SkinColours& c = Theme::Current().Colours();
    const Rgb off = Mix(c.Background, c.TextFore, .1);
    cmdStopCycle->setStyleSheet(
        QStringLiteral(
            "QPushButton { background: %1; color: %2; border: 2px solid %1; border-radius: 3px; padding: 2px "
            "12px; }"
            "QPushButton:hover, QPushButton:pressed { background: %3; border-color: %3; }"
            "QPushButton:focus { border-color: %4; }"
            "QPushButton:disabled { background: %5; color: %6; border-color: %5; }")
            .arg(RgbText(c.Stop), RgbText(kWhite), RgbText(Mix(c.Stop, kBlack, .15)), RgbText(c.TextFore),
                 RgbText(off), RgbText(c.TextDisabled)));
    QIcon stop;
    stop.addPixmap(IconPixmap(QStringLiteral("stop"), 24, ToColour(kWhite), devicePixelRatioF()));
    stop.addPixmap(IconPixmap(QStringLiteral("stop"), 24, ToColour(c.TextDisabled), devicePixelRatioF()),
                   QIcon::Disabled);
    cmdStopCycle->setIcon(stop);
    m_stopIcon->setPixmap(IconPixmap(QStringLiteral("info"), 16, ToColour(c.Caution), devicePixelRatioF()));
    Refresh();
}
