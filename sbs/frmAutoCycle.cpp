#include "sbs/frmAutoCycle.h"

#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"
#include "sbs/CycleDirectionBox.h"
#include "sbs/CycleHints.h"
#include "sbs/RowTexts.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QResizeEvent>
#include <QScreen>
#include <QScrollArea>
#include <QShortcut>

frmAutoCycle::frmAutoCycle(AutoCycle& cycle, TableSettings& settings, const ScanEngine& scan, QWidget* parent)
    : QDialog(parent), m_cycle(cycle), m_settings(settings), m_scan(scan),
      m_shownStatusRow(cycle.Settings().BattStatRow), m_content(new QWidget(this)),
      m_directions(new QBoxLayout(QBoxLayout::LeftToRight)),
      m_charge(new CycleDirectionBox(Direction::Charge, scan, m_content)),
      m_discharge(new CycleDirectionBox(Direction::Discharge, scan, m_content)),
      cboBattVoltRow(Named(new QComboBox(m_content), "cboBattVoltRow")),
      cboBattStatRow(Named(new QComboBox(m_content), "cboBattStatRow")),
      optOnePin(Named(new QRadioButton(tr("1 pin: the power line switches both"), m_content), "optOnePin")),
      optTwoPins(Named(new QRadioButton(tr("2 pins: GPIO 0 is the charger, GPIO 1 the load"), m_content),
                       "optTwoPins")),
      chkPinHi(
          Named(new QCheckBox(tr("Charges at a high line, discharges at a low one"), m_content), "chkPinHi")),
      chkChgHi(Named(new QCheckBox(tr("Charger on at a high line"), m_content), "chkChgHi")),
      chkLoadHi(Named(new QCheckBox(tr("Load on at a high line"), m_content), "chkLoadHi")),
      m_hintIcon(new QLabel(this)), lblCycleHints(Named(new QLabel(this), "lblCycleHints")),
      lblProblem(Named(new QLabel(this), "lblProblem")),
      cmdCancel(Named(new QPushButton(tr("Cancel"), this), "cmdCancel")),
      cmdOK(Named(new QPushButton(tr("OK"), this), "cmdOK"))
{
    setObjectName(QStringLiteral("frmAutoCycle"));
    setWindowTitle(tr("Tarnlo - Auto-cycle settings"));
    const AutoCycleSettings& now = m_cycle.Settings();
    m_charge->Load(now);
    m_discharge->Load(now);
    FillRows(cboBattVoltRow, now.BattVoltRow);
    FillRows(cboBattStatRow, now.BattStatRow);
    (now.TwoPins() ? optTwoPins : optOnePin)->setChecked(true);
    chkPinHi->setChecked(now.PinHi != 0);
    chkChgHi->setChecked(now.ChgHi != 0);
    chkLoadHi->setChecked(now.LoadHi != 0);
    LayOut();

    for (CycleDirectionBox* box : {m_charge, m_discharge})
        connect(box, &CycleDirectionBox::Changed, this, &frmAutoCycle::Review);
    for (QComboBox* box : {cboBattVoltRow, cboBattStatRow})
        connect(box, &QComboBox::currentIndexChanged, this, &frmAutoCycle::Review);
    connect(optTwoPins, &QRadioButton::toggled, this, &frmAutoCycle::Review);
    for (QCheckBox* box : {chkPinHi, chkChgHi, chkLoadHi})
        connect(box, &QCheckBox::toggled, this, &frmAutoCycle::Review);
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(cmdOK, &QPushButton::clicked, this, &frmAutoCycle::accept);
    connect(&Theme::Current(), &Theme::Changed, this, &frmAutoCycle::Applyskin);
    // this window stands before the main window during a run and keeps its shortcuts away
    auto* stop = new QShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_X), this);
    connect(stop, &QShortcut::activated, this, [this] { m_cycle.StopAndSwitchOff(tr("Stopped by hand.")); });
    Applyskin();
    Review();

    const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    const QSize whole = m_content->sizeHint() + QSize(2 * 12 + bar, 110);
    resize(whole.boundedTo(screen()->availableSize() - QSize(16, 48)));
}

void frmAutoCycle::LayOut()
{
    m_directions->setSpacing(8);
    m_directions->addWidget(m_charge);
    m_directions->addWidget(m_discharge);
    auto* content = new QVBoxLayout(m_content);
    content->setContentsMargins(0, 0, 0, 0);
    content->setSpacing(8);
    content->addLayout(m_directions);
    content->addWidget(MakeWiring());
    content->addWidget(MakeRows());
    content->addStretch();
    auto* area = new QScrollArea(this);
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setWidget(m_content);

    lblCycleHints->setWordWrap(true);
    lblProblem->setWordWrap(true);
    lblProblem->hide();
    auto* hints = new QHBoxLayout;
    hints->setSpacing(6);
    hints->addWidget(m_hintIcon, 0, Qt::AlignTop);
    hints->addWidget(lblCycleHints, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdCancel);
    buttons->addWidget(cmdOK);
    cmdCancel->setAutoDefault(false);
    cmdOK->setDefault(true);
    auto* down = new QVBoxLayout(this);
    down->setContentsMargins(12, 12, 12, 12);
    down->setSpacing(8);
    down->addWidget(area, 1);
    down->addLayout(hints);
    down->addWidget(lblProblem);
    down->addLayout(buttons);
}

QWidget* frmAutoCycle::MakeWiring()
{
    auto* box = new QGroupBox(tr("Wiring"), m_content);
    auto* grid = new QGridLayout(box);
    grid->setVerticalSpacing(4);
    grid->setHorizontalSpacing(16);
    grid->addWidget(optOnePin, 0, 0);
    grid->addWidget(chkPinHi, 0, 1, 1, 2);
    grid->addWidget(optTwoPins, 1, 0);
    grid->addWidget(chkChgHi, 1, 1);
    grid->addWidget(chkLoadHi, 2, 1);
    grid->setColumnStretch(2, 1);
    return box;
}

QWidget* frmAutoCycle::MakeRows()
{
    auto* box = new QGroupBox(tr("Register rows"), m_content);
    auto* form = new QFormLayout(box);
    form->setVerticalSpacing(4);
    form->setHorizontalSpacing(16);
    const std::int32_t row = m_cycle.Settings().RemCapRow;
    const bool known = row >= 0 && row < m_scan.RowCount();
    auto* remCap = new QLabel(
        known ? tr("%1, row %2, as in the register view")
                    .arg(ShownDescription(m_scan.Tables().GetSBSDesc(static_cast<std::int16_t>(row))))
                    .arg(row)
              : tr("not available: the register view's settings name no row (RemCapRow)"),
        box);
    remCap->setWordWrap(true);
    MakeSecondary(remCap);
    form->addRow(tr("Remaining capacity"), remCap);
    form->addRow(tr("&Voltage"), cboBattVoltRow);
    form->addRow(tr("&Status"), cboBattStatRow);
    return box;
}

void frmAutoCycle::FillRows(QComboBox* box, std::int32_t chosen) const
{
    box->addItem(tr("not available"), -1);
    for (int row = 0; row < m_scan.RowCount(); ++row)
        box->addItem(tr("%1, row %2")
                         .arg(ShownDescription(m_scan.Tables().GetSBSDesc(static_cast<std::int16_t>(row))))
                         .arg(row),
                     row);
    if (box->findData(chosen) < 0) // a row of another table: shown and kept
        box->addItem(tr("row %1, which this register table does not have").arg(chosen), chosen);
    box->setCurrentIndex(box->findData(chosen));
}

AutoCycleSettings frmAutoCycle::Edited() const
{
    AutoCycleSettings edited = m_cycle.Settings();
    m_charge->Store(edited);
    m_discharge->Store(edited);
    edited.BattVoltRow = cboBattVoltRow->currentData().toInt();
    edited.BattStatRow = cboBattStatRow->currentData().toInt();
    if (optTwoPins->isChecked() != edited.TwoPins())
        edited.ChgPin = optTwoPins->isChecked() ? 2 : 1;
    const auto setLevel = [](std::int32_t& level, const QCheckBox* box) {
        if ((level != 0) != box->isChecked())
            level = box->isChecked();
    };
    setLevel(edited.PinHi, chkPinHi);
    setLevel(edited.ChgHi, chkChgHi);
    setLevel(edited.LoadHi, chkLoadHi);
    return edited;
}

void frmAutoCycle::Review()
{
    const AutoCycleSettings edited = Edited();
    chkPinHi->setEnabled(!edited.TwoPins());
    chkChgHi->setEnabled(edited.TwoPins());
    chkLoadHi->setEnabled(edited.TwoPins());
    for (CycleDirectionBox* box : {m_charge, m_discharge}) {
        box->ShowUnits(RawUnit(m_scan, edited.RemCapRow), RawUnit(m_scan, edited.BattVoltRow));
        if (edited.BattStatRow != m_shownStatusRow)
            box->ShowBits(edited.BattStatRow);
    }
    m_shownStatusRow = edited.BattStatRow;
    QStringList hints = CycleHints(edited);
    const AutoCycleSettings& now = m_cycle.Settings();
    const CycleFacts facts = m_cycle.Facts();
    if ((facts.ChargerOn || facts.LoadOn)
        && (edited.ChgPin != now.ChgPin || edited.PinHi != now.PinHi || edited.ChgHi != now.ChgHi
            || edited.LoadHi != now.LoadHi))
        hints << tr("A line is on: changing the wiring stops the run and switches both lines off.");
    lblCycleHints->setText(hints.join(QLatin1Char('\n')));
    lblCycleHints->setVisible(!hints.isEmpty());
    m_hintIcon->setVisible(!hints.isEmpty());
}

void frmAutoCycle::accept()
{
    const AutoCycleSettings edited = Edited();
    const QString problem = SaveAutoCycleSettings(m_settings, m_cycle.Settings(), edited);
    lblProblem->setText(tr("The settings were not saved. %1").arg(problem));
    lblProblem->setVisible(!problem.isEmpty());
    if (!problem.isEmpty())
        return;
    m_cycle.SetSettings(edited);
    QDialog::accept();
}

void frmAutoCycle::Applyskin()
{
    const SkinColours& colours = Theme::Current().Colours();
    m_hintIcon->setPixmap(
        IconPixmap(QStringLiteral("warn"), 16, ToColour(colours.Caution), devicePixelRatioF()));
    QPalette red = palette();
    red.setColor(QPalette::WindowText, ToColour(colours.Failed));
    lblProblem->setPalette(red);
}

void frmAutoCycle::resizeEvent(QResizeEvent* event)
{
    QDialog::resizeEvent(event);
    const QMargins margins = layout()->contentsMargins();
    const int room
        = width() - margins.left() - margins.right() - style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    const int needed = m_charge->minimumSizeHint().width() + m_discharge->minimumSizeHint().width() + 8;
    m_directions->setDirection(needed <= room ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
}
