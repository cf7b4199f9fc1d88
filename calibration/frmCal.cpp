#include "calibration/frmCal.h"

#include "comm/BusSequence.h"
#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"

#include <QApplication>
#include <QDir>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QScopedValueRollback>
#include <QTimer>
#include <QVBoxLayout>

#include <cmath>

namespace {

constexpr int kRetryMs = 20;
constexpr int kIcon = 16;
constexpr int kStepsWidth = 190;
constexpr int kGuideWidth = 620;
constexpr int kFieldWidth = 110;
constexpr int kGuidePage = 0;
constexpr int kProblemPage = 1;
enum Row { kCount, kMean, kDeviation, kLeast, kMost, kError, kRows };

QLabel* Wrapped(QWidget* parent, const char* name)
{
    auto* label = Named(new QLabel(parent), name);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

} // namespace

frmCal::frmCal(GaugeContext& context)
    : m_context(context),
      m_calibration({context.usb, context.access, context.time, context.target, context.state}),
      m_pages(new QStackedWidget(this))
{
    setObjectName(QStringLiteral("frmCal"));
    setWindowTitle(tr("Calibration"));
    lblPack = Named(new QLabel(tr("Reading the gauge's calibration"), this), "lblPack");
    cmdRead = Command("cmdRead", "read", tr("Read status"), tr("Read the constants that the gauge has (F5)"),
                      &frmCal::ReadStatus);
    cmdRead->setShortcut(Qt::Key_F5);
    cmdRestore
        = Command("cmdRestore", "undo", tr("Restore previous"),
                  tr("Put back the constants from before this pack's last calibration"), &frmCal::Restore);
    auto* bar = new QHBoxLayout;
    bar->setSpacing(8);
    bar->addWidget(cmdRead);
    bar->addWidget(cmdRestore);
    bar->addWidget(lblPack, 1);

    auto* guide = new QWidget(this);
    auto* row = new QHBoxLayout(guide);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(MakeStepPane());
    row->addWidget(MakeGuidePane(), 1);
    m_pages->addWidget(guide);
    m_pages->addWidget(MakeProblemPage());

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(8, 6, 8, 8);
    column->addLayout(bar);
    column->addWidget(m_pages, 1);

    m_calibration.OnReading = [this](const ReadingStatistics& readings, int of) {
        ShowReadings(m_canStore ? 1 : 0, readings);
        emit ProgressChanged(readings.Count, of, tr("Calibration"));
    };
    connect(lstSteps, &QListWidget::currentRowChanged, this, &frmCal::ShowStep);
    SetRunning(false);
    lstSteps->setCurrentRow(0);
    setFocusProxy(lstSteps);
    m_hadFocus = lstSteps; // once the status is read
    ShowMarks();
    QTimer::singleShot(0, this, &frmCal::ReadStatus);
}

QPushButton* frmCal::Command(const char* name, const char* icon, const QString& text, const QString& tip,
                             void (frmCal::*does)())
{
    auto* button = Named(new QPushButton(ThemeIcon(QLatin1String(icon)), text, this), name);
    button->setToolTip(tip);
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, does);
    return button;
}

QWidget* frmCal::MakeStepPane()
{
    lstSteps = Named(new QListWidget(this), "lstSteps");
    lstSteps->setAccessibleName(tr("Steps"));
    lstSteps->setFixedWidth(kStepsWidth);
    lstSteps->setIconSize({kIcon, kIcon});
    lstSteps->setSpacing(2);
    for (const CalibrationStep step : kCalibrationSteps)
        lstSteps->addItem(FactsOf(step).Name);
    return lstSteps;
}

QWidget* frmCal::MakeGuidePane()
{
    auto* pane = new QWidget(this);
    lblStep = Named(new QLabel(pane), "lblStep");
    lblStep->setFont(Theme::Current().Font(Type::Title));
    lblGuide = Wrapped(pane, "lblGuide");

    lblSensor = new QLabel(tr("&Sensor"), pane);
    cboSensor = Named(new QComboBox(pane), "cboSensor");
    for (int sensor = 0; sensor < kTemperatureSensors; ++sensor)
        cboSensor->addItem(SensorName(sensor));
    cboSensor->setCurrentIndex(1);
    cboSensor->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    lblSensor->setBuddy(cboSensor);
    connect(cboSensor, &QComboBox::currentIndexChanged, this, &frmCal::ShowStep);

    lblReference = new QLabel(tr("&Reference"), pane);
    txtReference = Named(new QLineEdit(pane), "txtReference");
    txtReference->setAccessibleName(tr("Reference"));
    txtReference->setFixedWidth(kFieldWidth);
    txtReference->setAlignment(Qt::AlignRight);
    lblReference->setBuddy(txtReference);
    connect(txtReference, &QLineEdit::returnPressed, this, &frmCal::Measure);
    connect(txtReference, &QLineEdit::textEdited, this, [this] {
        txtReference->setProperty("refused", false);
        txtReference->update();
        if (m_canStore)
            ShowStep(); // what was measured with another reference no longer counts
    });
    lblUnit = Named(new QLabel(pane), "lblUnit");
    cmdMeter = Command("cmdMeter", "sim", {}, tr("Take over what the simulated bench's meter shows"),
                       &frmCal::TakeMeter);
    auto* reference = new QHBoxLayout;
    reference->setSpacing(4);
    reference->addWidget(txtReference);
    reference->addWidget(lblUnit);
    reference->addSpacing(8);
    reference->addWidget(cmdMeter);
    reference->addStretch(1);

    numReadings = Named(new QSpinBox(pane), "numReadings");
    numReadings->setAccessibleName(tr("Readings"));
    numReadings->setRange(4, 1000);
    numReadings->setValue(16);
    numReadings->setFixedWidth(kFieldWidth);

    auto* form = new QFormLayout;
    form->setHorizontalSpacing(12);
    form->addRow(lblSensor, cboSensor);
    form->addRow(lblReference, reference);
    form->addRow(tr("Readin&gs"), numReadings);

    cmdMeasure = Command("cmdMeasure", "play", tr("&Measure"),
                         tr("Take readings and compute new constants; nothing is written"), &frmCal::Measure);
    cmdStore = Command("cmdStore", "write", tr("&Store constants"),
                       tr("Store the new constants in the gauge"), &frmCal::Store);
    cmdCancel = Command("cmdCancel", "cross", tr("Cancel"), tr("End after the present reading (Esc)"),
                        &frmCal::Abandon);
    cmdCancel->setShortcut(Qt::Key_Escape);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    for (QPushButton* button : {cmdMeasure, cmdStore, cmdCancel})
        buttons->addWidget(button);
    buttons->addStretch(1);

    grdReadings = Named(new QTableWidget(kRows, 2, pane), "grdReadings");
    grdReadings->setAccessibleName(tr("Readings before and after"));
    grdReadings->setHorizontalHeaderLabels({tr("Before"), tr("After")});
    grdReadings->setVerticalHeaderLabels({tr("Readings"), tr("Mean"), tr("Standard deviation"), tr("Least"),
                                          tr("Most"), tr("Off the reference")});
    grdReadings->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grdReadings->setSelectionMode(QAbstractItemView::NoSelection);
    grdReadings->setFocusPolicy(Qt::NoFocus); // nothing in it can be chosen
    grdReadings->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    grdReadings->horizontalHeader()->setHighlightSections(false);
    grdReadings->verticalHeader()->setMinimumSectionSize(20);
    grdReadings->verticalHeader()->setDefaultSectionSize(20);
    grdReadings->verticalHeader()->setHighlightSections(false);
    grdReadings->setFixedHeight(kRows * 20 + grdReadings->horizontalHeader()->sizeHint().height()
                                + 2 * grdReadings->frameWidth());
    grdReadings->setMaximumWidth(kGuideWidth);

    lblChange = Wrapped(pane, "lblChange");
    lblChange->setFont(Theme::Current().Font(Type::Strong));
    lblPlan = Wrapped(pane, "lblPlan");
    MakeSecondary(lblPlan);
    lblNoteMark = new QLabel(pane);
    lblNote = Wrapped(pane, "lblNote");
    auto* note = new QHBoxLayout;
    note->setSpacing(6);
    note->addWidget(lblNoteMark, 0, Qt::AlignTop);
    note->addWidget(lblNote, 1);

    auto* column = new QVBoxLayout(pane);
    column->setContentsMargins(12, 4, 8, 0);
    column->setSpacing(8);
    column->addWidget(lblStep);
    column->addWidget(lblGuide);
    column->addSpacing(4);
    column->addLayout(form);
    column->addLayout(buttons);
    column->addSpacing(4);
    column->addWidget(grdReadings);
    column->addWidget(lblChange);
    column->addWidget(lblPlan);
    column->addLayout(note);
    column->addStretch(1);
    for (QLabel* label : {lblGuide, lblChange, lblPlan})
        label->setMaximumWidth(kGuideWidth);

    m_scroll = new QScrollArea(this); // of a low window
    m_scroll->setWidgetResizable(true);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setWidget(pane);
    return m_scroll;
}

QWidget* frmCal::MakeProblemPage()
{
    auto* page = new QWidget(this);
    auto* title = new QLabel(tr("This gauge cannot be calibrated now"), page);
    lblProblem = Wrapped(page, "lblProblem");
    cmdRetry = Command("cmdRetry", "refresh", tr("Try again"), tr("Read the gauge's calibration again"),
                       &frmCal::ReadStatus);
    LayOutEmptyState(page, title, lblProblem, {cmdRetry});
    return page;
}

void frmCal::Applyskin() { ShowMarks(); }

void frmCal::WhenBusFree(const std::function<void()>& act)
{
    if (m_calibration.Running())
        return; // a second click
    if (BusSequence::Running() || ExclusiveAccess::HeldBelow())
        QTimer::singleShot(kRetryMs, this, [this, act] { WhenBusFree(act); });
    else
        act();
}

CalibrationStep frmCal::Step() const
{
    return kCalibrationSteps[static_cast<std::size_t>(std::max(0, lstSteps->currentRow()))];
}

// ---- operations ----

void frmCal::ReadStatus()
{
    WhenBusFree([this] {
        SetRunning(true, tr("Reading the gauge's calibration"));
        Calibration::Status status;
        const ErrorCode err = TakeGaugeSettings(m_context.usb, m_context.access, m_context.profiles,
                                                m_context.messages, m_context.state, m_context.target);
        if (Failed(err)) {
            status.Result.Ended = CalibrationResult::Kind::Failed;
            status.Result.Problem
                = tr("The gauge does not say who it is: %1. Look at the cable and the pack.")
                      .arg(ErrorCodeToText(err));
        } else {
            status = m_calibration.ReadStatus();
        }
        SetRunning(false);
        ShowPack(status);
    });
}

void frmCal::Measure()
{
    WhenBusFree([this] {
        CalibrationRequest request{Step()};
        if (!TakeReference(request.Reference))
            return;
        request.Sensor = cboSensor->currentIndex();
        request.Readings = numReadings->value();
        m_canStore = false;
        ShowStep();
        SetRunning(true, tr("Measuring"));
        m_measured = m_calibration.Measure(request);
        m_canStore = m_measured.Ok() && !m_measured.ModeInDoubt;
        SetRunning(false);
        ShowResult(m_measured);
    });
}

void frmCal::Store()
{
    WhenBusFree([this] {
        if (!m_canStore)
            return;
        SetRunning(true, tr("Storing constants"));
        const CalibrationResult result = m_calibration.Store(m_measured);
        m_canStore = false;
        SetRunning(false);
        m_marks[static_cast<std::size_t>(lstSteps->currentRow())]
            = result.Ok() && result.Stored ? Mark::Done : Mark::Failed;
        ShowMarks();
        ShowResult(result);
    });
}

void frmCal::Restore()
{
    WhenBusFree([this] {
        if (m_context.messages.Ask(tr("Put back the constants from before this pack's last calibration? 24 "
                                      "bytes of constants are stored "
                                      "in the gauge."),
                                   Answer::Ok | Answer::Cancel)
            != Answer::Ok)
            return;
        SetRunning(true, tr("Restoring constants"));
        const CalibrationResult result = m_calibration.Restore();
        SetRunning(false);
        if (result.Stored) {
            m_marks.fill(Mark::Open);
            ShowMarks();
        }
        ShowStep();
        ShowNote(result.Stored ? tr("The constants from before the last calibration are back.")
                               : result.Problem,
                 !result.Stored);
    });
}

void frmCal::TakeMeter()
{
    WhenBusFree([this] {
        const std::optional<double> shown = SimulatedMeter(m_context.usb, m_context.access, Step());
        if (shown)
            txtReference->setText(QString::number(*shown, 'f', FactsOf(Step()).Decimals));
        ShowMeter();
    });
}

bool frmCal::TakeReference(double& reference)
{
    const StepFacts& facts = FactsOf(Step());
    if (!facts.NeedsReference)
        return true;
    bool ok = false;
    reference = QLocale::c().toDouble(txtReference->text().trimmed(), &ok);
    if (ok && reference >= facts.Least && reference <= facts.Most)
        return true;
    ShowNote(
        tr("Enter what the instrument shows, %1 to %2 %3.").arg(facts.Least).arg(facts.Most).arg(facts.Unit),
        true);
    txtReference->setProperty("refused", true);
    txtReference->update();
    txtReference->setFocus();
    return false;
}

// ---- what is shown ----

void frmCal::ShowStep()
{
    const StepFacts& facts = FactsOf(Step());
    m_canStore = false;
    lblStep->setText(facts.Name);
    lblGuide->setText(facts.Guide);
    const bool temperature = Step() == CalibrationStep::Temperature;
    lblSensor->setVisible(temperature);
    cboSensor->setVisible(temperature);
    lblReference->setVisible(facts.NeedsReference);
    txtReference->setVisible(facts.NeedsReference);
    lblUnit->setVisible(facts.NeedsReference);
    lblUnit->setText(facts.Unit);
    txtReference->setProperty("refused", false);
    if (m_measured.Request.Step != Step())
        txtReference->clear();
    m_measured.Request.Step = Step();
    ShowReadings(0, {});
    ShowReadings(1, {});
    lblChange->clear();
    lblPlan->clear();
    ShowNote({}, false);
    cmdStore->setEnabled(false);
    // later: it asks the bench, which lets events run, and the next key must not move the list in the middle
    // of this one
    QTimer::singleShot(0, this, &frmCal::ShowMeter);
}

void frmCal::ShowPack(const Calibration::Status& status)
{
    const CalibrationResult& result = status.Result;
    m_pages->setCurrentIndex(result.Ok() ? kGuidePage : kProblemPage);
    cmdRestore->setEnabled(result.Ok());
    lblPack->setText(result.Ok() ? status.Pack.Text() : tr("No calibration was read"));
    lblPack->setToolTip(lblPack->text());
    lblProblem->setText(result.Problem);
    if (!result.Ok())
        return;
    const CalibrationConstants& has = result.Old;
    emit StatusText(tr("Voltage gain %1, current gain %2, current offset %3, board offset %4")
                        .arg(has.VoltageGain())
                        .arg(has.CurrentGain(), 0, 'f', 6)
                        .arg(has.CurrentOffset())
                        .arg(has.BoardOffset()));
    ShowMeter();
}

void frmCal::ShowMarks()
{
    QPixmap nothing(kIcon, kIcon); // keeps the names in line
    nothing.fill(Qt::transparent);
    for (int i = 0; i < lstSteps->count(); ++i) {
        const Mark mark = m_marks[static_cast<std::size_t>(i)];
        QListWidgetItem* item = lstSteps->item(i);
        item->setIcon(mark == Mark::Done         ? ThemeIcon(QStringLiteral("ok"), IconInk::Good)
                          : mark == Mark::Failed ? ThemeIcon(QStringLiteral("error"), IconInk::Failed)
                                                 : QIcon(nothing));
        item->setToolTip(mark == Mark::Done         ? tr("Calibrated since the view was opened")
                             : mark == Mark::Failed ? tr("Failed")
                                                    : tr("Not done since the view was opened"));
    }
}

void frmCal::ShowReadings(int column, const ReadingStatistics& readings)
{
    const StepFacts& facts = FactsOf(Step());
    const auto cell = [&](int row, const QString& text) {
        auto* item = new QTableWidgetItem(readings.Count > 0 ? text : QString());
        item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
        grdReadings->setItem(row, column, item);
    };
    const auto value
        = [&](double number) { return QString::number(number, 'f', facts.Decimals) + u' ' + facts.Unit; };
    bool ok = false;
    const double reference
        = facts.NeedsReference ? QLocale::c().toDouble(txtReference->text().trimmed(), &ok) : 0;
    cell(kCount, QString::number(readings.Count));
    cell(kMean, value(readings.Mean));
    cell(kDeviation, value(readings.Deviation));
    cell(kLeast, value(readings.Least));
    cell(kMost, value(readings.Most));
    cell(kError, ok || !facts.NeedsReference ? value(readings.Mean - reference) : QString());
}

void frmCal::ShowResult(const CalibrationResult& result)
{
    ShowReadings(0, result.Before);
    ShowReadings(1, result.After);
    const bool known = result.Ok() || result.Stored;
    lblChange->setText(known ? ChangeText(result) + u'.' : QString());
    cmdStore->setEnabled(m_canStore);
    lblPlan->setText(
        m_canStore
            ? tr("Storing sends: calibration mode on, 24 bytes of constants, the words %1 and %2, mode off. "
                 "Then the constants are read back and the gauge measures again, about %3 s in all.")
                  .arg(m_context.target.CalWr & 0xFFFF, 4, 16, QLatin1Char('0'))
                  .arg(m_context.target.CalWrSig & 0xFFFF, 4, 16, QLatin1Char('0'))
                  .arg(std::ceil(2 + numReadings->value() * 0.25))
            : QString());
    if (!result.Problem.isEmpty())
        ShowNote(result.Problem, true);
    else if (result.Stored)
        ShowNote(tr("Stored, read back and measured again. The record is in %1 of the program folder.")
                     .arg(QDir(m_context.state.ProgramFolder).relativeFilePath(result.Record)),
                 false);
    else
        ShowNote({}, false);
    if (m_canStore)
        cmdStore->setFocus();
}

void frmCal::ShowNote(const QString& text, bool failed)
{
    lblNote->setText(text);
    const SkinColours& colours = Theme::Current().Colours();
    lblNoteMark->setPixmap(
        text.isEmpty() ? QPixmap()
                       : IconPixmap(failed ? QStringLiteral("warn") : QStringLiteral("ok"), kIcon,
                                    ToColour(failed ? colours.Failed : colours.Good), devicePixelRatioF()));
    if (!text.isEmpty()) // once it has its place
        QTimer::singleShot(0, this, [this] { m_scroll->ensureWidgetVisible(lblNote, 0, 0); });
}

void frmCal::ShowMeter()
{
    const QScopedValueRollback running(m_running, true);
    const StepFacts& facts = FactsOf(Step());
    const std::optional<double> shown = BusSequence::Running() || ExclusiveAccess::HeldBelow()
        ? std::nullopt
        : SimulatedMeter(m_context.usb, m_context.access, Step());
    const bool simulated = facts.NeedsReference && m_context.usb.Facts().Kind == QLatin1String("simulated");
    cmdMeter->setVisible(simulated);
    cmdMeter->setText(
        shown ? tr("Bench meter (simulated): %1").arg(QString::number(*shown, 'f', facts.Decimals))
              : tr("Bench meter (simulated)"));
}

void frmCal::SetRunning(bool running, const QString& what)
{
    m_running = running;
    if (running && !m_hadFocus)
        m_hadFocus = focusWidget(); // who is disabled loses it
    for (QWidget* control :
         std::initializer_list<QWidget*>{lstSteps, cmdMeasure, cmdRead, cmdRestore, cmdMeter, cmdRetry,
                                         txtReference, cboSensor, numReadings})
        control->setEnabled(!running);
    cmdStore->setEnabled(!running && m_canStore);
    if (!running && m_hadFocus && isAncestorOf(QApplication::focusWidget()))
        m_hadFocus->setFocus();
    if (!running)
        m_hadFocus.clear();
    cmdCancel->setEnabled(running);
    if (running) {
        emit StatusText(what);
    } else {
        emit ProgressChanged(0, 0, {});
        emit StatusText(tr("Ready"));
    }
}
