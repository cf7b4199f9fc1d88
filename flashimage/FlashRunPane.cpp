#include "flashimage/FlashRunPane.h"

#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"

#include <QBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QTimer>

#include <utility>

namespace {

constexpr int kRowHeight = 20;
constexpr int kIcon = 16;
constexpr int kRetryMs = 20;
enum Column { kRegion, kAddresses, kErased, kMoved, kColumns };

QString Hex(std::uint64_t value)
{
    return QStringLiteral("%1").arg(value, 8, 16, QLatin1Char('0')).toUpper();
}

} // namespace

FlashRunPane::FlashRunPane(FlashDesk& desk, QWidget* parent)
    : QFrame(parent), m_desk(desk), lblFlashTitle(Named(new QLabel(this), "lblFlashTitle")),
      cboFlashTarget(Named(new QComboBox(this), "cboFlashTarget")),
      chkData(Named(new QCheckBox(tr("&Data flash"), this), "chkData")),
      chkInstruction(Named(new QCheckBox(tr("In&struction flash"), this), "chkInstruction")),
      chkMassErase(Named(new QCheckBox(tr("&Mass erase first"), this), "chkMassErase")),
      chkVerify(Named(new QCheckBox(tr("Ve&rify"), this), "chkVerify")),
      grdFlashPlan(Named(new QTableWidget(0, kColumns, this), "grdFlashPlan")),
      lstFindings(Named(new QListWidget(this), "lstFindings")),
      lblFlashPlan(Named(new QLabel(this), "lblFlashPlan")), lblFlashIcon(new QLabel(this)),
      pbFlash(Named(new QProgressBar(this), "pbFlash")),
      cmdRunFlash(Named(new QPushButton(this), "cmdRunFlash")),
      cmdStopFlash(Named(new QPushButton(this), "cmdStopFlash"))
{
    setObjectName(QStringLiteral("paneFlash"));
    setFrameShape(QFrame::StyledPanel);
    LayOut();
    connect(cboFlashTarget, &QComboBox::activated, this, [this](int row) {
        m_desk.Choose(row);
        ShowPlan();
    });
    for (QCheckBox* box : {chkData, chkInstruction, chkMassErase, chkVerify})
        connect(box, &QCheckBox::clicked, this, &FlashRunPane::ShowPlan);
    connect(cmdRunFlash, &QPushButton::clicked, this, &FlashRunPane::RunIt);
    connect(cmdStopFlash, &QPushButton::clicked, this, &FlashRunPane::Stop);
}

void FlashRunPane::LayOut()
{
    lblFlashTitle->setFont(Theme::Current().Font(Type::Title));
    lblFlashTitle->setMinimumWidth(1); // a long name must not widen the window
    chkMassErase->setToolTip(tr("Erases data flash and instruction flash as a whole before programming,\n"
                                "what the image does not hold included."));
    chkVerify->setToolTip(tr("Reads back what was programmed and compares it."));
    chkVerify->setChecked(true);
    cboFlashTarget->setAccessibleName(tr("Flash target"));
    cboFlashTarget->setToolTip(tr("Which gauge this is and where its flash lies, from Srec.tgt."));
    grdFlashPlan->setAccessibleName(tr("What is erased and moved"));
    grdFlashPlan->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grdFlashPlan->setSelectionMode(QAbstractItemView::NoSelection);
    grdFlashPlan->setFocusPolicy(Qt::NoFocus);
    grdFlashPlan->setShowGrid(false);
    grdFlashPlan->verticalHeader()->hide();
    grdFlashPlan->verticalHeader()->setMinimumSectionSize(kRowHeight);
    grdFlashPlan->verticalHeader()->setDefaultSectionSize(kRowHeight);
    grdFlashPlan->horizontalHeader()->setHighlightSections(false);
    grdFlashPlan->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    grdFlashPlan->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    grdFlashPlan->horizontalHeader()->setStretchLastSection(true);
    lstFindings->setAccessibleName(tr("What is to be known before"));
    lstFindings->setWordWrap(true);
    lstFindings->setMinimumWidth(120);
    lblFlashPlan->setWordWrap(true);
    lblFlashPlan->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    pbFlash->setTextVisible(false);
    pbFlash->setMaximumWidth(200);
    pbFlash->setAccessibleName(tr("Progress of the flash run"));
    pbFlash->hide();
    cmdRunFlash->setAutoDefault(false);

    auto* options = new QHBoxLayout;
    options->setSpacing(12);
    options->addWidget(chkData);
    options->addWidget(chkInstruction);
    options->addWidget(chkMassErase);
    options->addWidget(chkVerify);
    options->addStretch(1);
    auto* head = new QHBoxLayout;
    head->addWidget(lblFlashTitle, 1);
    head->addWidget(cboFlashTarget);
    auto* middle = new QHBoxLayout;
    const int height = fontMetrics().lineSpacing() * 7;
    for (QWidget* list : std::initializer_list<QWidget*>{grdFlashPlan, lstFindings}) {
        list->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Expanding); // half each, whatever they hold
        middle->addWidget(list, 1);
        list->setMinimumHeight(height / 2);
        list->setMaximumHeight(height);
    }
    auto* end = new QHBoxLayout;
    end->addWidget(lblFlashIcon);
    end->addWidget(lblFlashPlan, 1);
    end->addWidget(pbFlash);
    end->addWidget(cmdStopFlash);
    end->addWidget(cmdRunFlash);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(12, 8, 12, 8);
    column->addLayout(head);
    column->addLayout(options);
    column->addLayout(middle);
    column->addLayout(end);
}

void FlashRunPane::Open(Kind kind, ImageDocument* document)
{
    if (m_running)
        return;
    m_kind = kind;
    m_document = document;
    m_desk.Look();
    chkData->setChecked(true);
    chkInstruction->setChecked(true);
    chkMassErase->setChecked(false);
    FillTargets();
    ShowPlan();
    show();
    (cmdRunFlash->isEnabled() ? cmdRunFlash : cmdStopFlash)->setFocus();
}

void FlashRunPane::FillTargets()
{
    cboFlashTarget->clear();
    for (const FlashTarget& target : m_desk.Targets())
        cboFlashTarget->addItem(target.Name);
    cboFlashTarget->setCurrentIndex(m_desk.Chosen());
    cboFlashTarget->setPlaceholderText(tr("Choose a flash target"));
    cboFlashTarget->setEnabled(cboFlashTarget->count() > 0);
}

FlashOptions FlashRunPane::Options() const
{
    return {.MassErase = chkMassErase->isChecked(),
            .Verify = chkVerify->isChecked(),
            .Data = chkData->isChecked()};
}

void FlashRunPane::AddRow(const QString& region, std::uint32_t start, std::size_t size, const QString& erased,
                          const QString& moved)
{
    const int row = grdFlashPlan->rowCount();
    grdFlashPlan->insertRow(row);
    const QString addresses
        = size > 0 ? tr("%1 to %2").arg(Hex(start), Hex(std::uint64_t{start} + size - 1)) : QString();
    int column = 0;
    for (const QString& text : {region, addresses, erased, moved})
        grdFlashPlan->setItem(row, column++, new QTableWidgetItem(text));
    grdFlashPlan->item(row, kAddresses)->setFont(Theme::Current().Font(Type::Mono));
}

void FlashRunPane::FillPlan(const FlashPlan& plan)
{
    if (plan.MassErase)
        AddRow(tr("Whole gauge"), 0, 0, tr("everything"), {});
    for (const FlashPart& part : plan.Parts) {
        const ImageArea area = part.Area == FlashCall::kDataArea ? ImageArea::Data : ImageArea::Program;
        AddRow(AreaName(area), part.Start, part.Size,
               m_kind == Kind::Verify ? tr("nothing") : tr("%1 rows").arg(part.EraseRows),
               m_kind == Kind::Verify ? tr("%1 bytes").arg(part.Size) : tr("%1 rows").arg(part.ProgramRows));
    }
}

void FlashRunPane::FillRead()
{
    if (const FlashTarget* target = m_desk.Target()) {
        AddRow(AreaName(ImageArea::Data), target->DataStart, target->DataSize, tr("nothing"),
               tr("%1 bytes").arg(target->DataSize));
        AddRow(AreaName(ImageArea::Program), target->ProgramStart, target->ProgramSize, tr("nothing"),
               tr("%1 bytes").arg(target->ProgramSize));
    }
}

void FlashRunPane::FillFindings(const std::vector<FlashFinding>& findings)
{
    lstFindings->clear();
    for (const FlashFinding& finding : findings) {
        const QString code
            = Failed(finding.Code) ? ErrorCodeToText(finding.Code) + QStringLiteral(": ") : QString();
        const char* icon = finding.Refuses ? "error" : Failed(finding.Code) ? "warn" : "info";
        const IconInk ink = finding.Refuses ? IconInk::Failed
            : Failed(finding.Code)          ? IconInk::Caution
                                            : IconInk::Secondary;
        lstFindings->addItem(new QListWidgetItem(ThemeIcon(QLatin1String(icon), ink), code + finding.Text));
    }
    if (findings.empty())
        lstFindings->addItem(
            new QListWidgetItem(ThemeIcon(QStringLiteral("ok"), IconInk::Good),
                                m_kind == Kind::Read || m_kind == Kind::ReadToCompare
                                    ? tr("The gauge is known, and so is its flash.")
                                    : tr("Image, flash target, chosen target and gauge go together.")));
}

void FlashRunPane::PlanAgain()
{
    if (m_planned && m_document && !m_document->Empty())
        ShowPlan();
}

std::vector<FlashFinding> FlashRunPane::Check() const
{
    std::vector<FlashFinding> findings = m_desk.Check(m_document->Image(), Options());
    if (m_kind == Kind::Program && m_document->BadLines() > 0)
        findings.push_back({ErrorCode::Ok, true,
                            tr("Lines of %1 were not taken (%2, listed under Problems), so that bytes may be "
                               "missing. Save what was taken under another name to program it all the same.")
                                .arg(m_document->Name())
                                .arg(m_document->BadLines())});
    return findings;
}

void FlashRunPane::Entitle()
{
    const QString name = m_document ? m_document->Name() : QString();
    QString title;
    QString moved = tr("Read");
    QString run = tr("Read");
    switch (m_kind) {
    case Kind::Program:
        title = tr("Program %1 into the gauge").arg(name);
        moved = tr("Programmed");
        run = tr("Program");
        break;
    case Kind::Verify:
        title = tr("Compare the gauge's flash with %1").arg(name);
        moved = tr("Compared");
        run = tr("Verify");
        break;
    case Kind::Start: // has neither plan nor button
        title = tr("Start the gauge's firmware");
        moved.clear();
        run.clear();
        break;
    case Kind::Read:
        title = tr("Read the gauge's flash");
        break;
    case Kind::ReadToCompare:
        title = tr("Read the gauge's flash to compare with");
        break;
    }
    lblFlashTitle->setText(title);
    grdFlashPlan->setHorizontalHeaderLabels({tr("Region"), tr("Addresses"), tr("Erased"), moved});
    cmdRunFlash->setText(run);
}

void FlashRunPane::ShowPlan()
{
    m_planned = true;
    Entitle();
    const bool program = m_kind == Kind::Program;
    const bool image = program || m_kind == Kind::Verify;
    for (QCheckBox* box : {chkData, chkInstruction, chkMassErase, chkVerify})
        box->setVisible(program);
    grdFlashPlan->setRowCount(0);
    bool refused = false;
    QString what;
    const QString stops = tr("The gauge does not measure meanwhile.");
    if (!m_desk.CanFlash()) {
        FillFindings({{ErrorCode::IncorrectParam, true, tr("This adapter cannot read or program flash.")}});
        refused = true;
    } else if (m_desk.ModeError() == ErrorCode::NoUsb) {
        FillFindings({{ErrorCode::NoUsb, true,
                       tr("The adapter is gone. Plug it in and choose File > Connect again.")}});
        refused = true;
    } else if (image) {
        m_document->SetMode(chkInstruction->isChecked() ? ProgramMode::kWrite : ProgramMode::kLeave);
        const std::vector<FlashFinding> findings = Check();
        const FlashPlan plan = m_desk.Plan(m_document->Image(), Options());
        FillFindings(findings);
        FillPlan(plan);
        refused = Refused(findings);
        what = tr("%1 bytes, about %2 s. %3").arg(plan.Bytes).arg(std::max(plan.Seconds, 1)).arg(stops);
        chkData->setEnabled(!m_document->Image().DF.Empty());
        chkInstruction->setEnabled(!m_document->Image().PF.Empty());
        if (program)
            cmdRunFlash->setText(tr("Program %1 bytes").arg(plan.Bytes));
    } else {
        std::vector<FlashFinding> findings;
        const FlashTarget* target = m_desk.Target();
        if (!m_desk.TargetsProblem().isEmpty())
            findings.push_back({ErrorCode::ConfigOpenFail, true, m_desk.TargetsProblem()});
        else if (!target)
            findings.push_back(
                {ErrorCode::Ok, true, tr("Choose the flash target, which says where the flash lies.")});
        FillFindings(findings);
        FillRead();
        refused = !findings.empty();
        const std::size_t bytes = target ? target->DataSize + target->ProgramSize : 0;
        what = stops;
        cmdRunFlash->setText(tr("Read %1 bytes").arg(bytes));
    }
    lblFlashIcon->clear();
    lblFlashPlan->setText(refused ? tr("This cannot be done as it stands.") : what);
    cmdRunFlash->setEnabled(!refused);
    cmdRunFlash->show();
    cmdStopFlash->setText(tr("Cancel"));
}

void FlashRunPane::ShowRunning(bool running)
{
    m_running = running;
    m_planned = false;
    for (QWidget* widget : std::initializer_list<QWidget*>{cboFlashTarget, chkData, chkInstruction,
                                                           chkMassErase, chkVerify, cmdRunFlash})
        widget->setEnabled(!running);
    pbFlash->setVisible(running);
    pbFlash->setRange(0, 0);
    cmdStopFlash->setText(running ? tr("Stop") : tr("Close"));
    if (running) {
        cmdStopFlash->setFocus();
        emit Began();
    }
}

void FlashRunPane::RunIt()
{
    if (m_running)
        return;
    if (ExclusiveAccess::HeldBelow()) { // somebody further down the stack, who cannot go on meanwhile
        QTimer::singleShot(kRetryMs, this, &FlashRunPane::RunIt);
        return;
    }
    cmdRunFlash->setEnabled(false);
    m_desk.Look(); // the gauge may be another one than that of the plan
    FillTargets();
    ShowPlan();
    if (cmdRunFlash->isEnabled())
        Execute();
}

void FlashRunPane::Execute()
{
    ShowRunning(true);
    lblFlashIcon->clear();
    FlashProgrammer& programmer = m_desk.Programmer();
    programmer.OnProgress = [this](const FlashProgress& progress) {
        pbFlash->setRange(0, static_cast<int>(progress.Of));
        pbFlash->setValue(static_cast<int>(progress.Done));
        lblFlashPlan->setText(
            tr("%1, %2 of %3 bytes").arg(progress.What).arg(progress.Done).arg(progress.Of));
        emit Progress(static_cast<int>(progress.Done), static_cast<int>(progress.Of));
    };
    FlashOutcome outcome;
    switch (m_kind) {
    case Kind::Program:
        outcome = programmer.Program(m_document->Image(), Options());
        break;
    case Kind::Verify:
        outcome = programmer.Verify(m_document->Image());
        break;
    case Kind::Read:
    case Kind::ReadToCompare:
        outcome = m_desk.Read(m_read);
        break;
    case Kind::Start:
        outcome = programmer.StartFirmware();
        break;
    }
    programmer.OnProgress = nullptr;
    ShowRunning(false);
    ShowOutcome(outcome);
    if (outcome.Bytes > 0 && (m_kind == Kind::Read || m_kind == Kind::ReadToCompare))
        emit ImageRead(m_kind == Kind::ReadToCompare);
    emit Ended();
}

void FlashRunPane::StartFirmware()
{
    if (m_running)
        return;
    m_kind = Kind::Start;
    m_desk.Look();
    FillTargets();
    for (QCheckBox* box : {chkData, chkInstruction, chkMassErase, chkVerify})
        box->hide();
    grdFlashPlan->setRowCount(0);
    lstFindings->clear();
    Entitle();
    cmdRunFlash->hide();
    lblFlashPlan->clear();
    show();
    Execute();
}

void FlashRunPane::ShowOutcome(const FlashOutcome& outcome)
{
    const bool cancelled = outcome.Code == ErrorCode::UserCancelled;
    const QIcon icon = outcome.Ok() ? ThemeIcon(QStringLiteral("ok"), IconInk::Good)
        : cancelled                 ? ThemeIcon(QStringLiteral("warn"), IconInk::Caution)
                                    : ThemeIcon(QStringLiteral("error"), IconInk::Failed);
    lblFlashIcon->setPixmap(icon.pixmap(kIcon, kIcon));
    lblFlashPlan->setText(outcome.Text);
    delete std::exchange(m_goesOn, nullptr);
    cmdRunFlash->hide(); // the plan has run; a second run is planned anew
    cmdStopFlash->setFocus();
    emit Progress(0, 0);
}

void FlashRunPane::SayThatItGoesOn()
{
    if (!m_goesOn) {
        m_goesOn = new QListWidgetItem(
            ThemeIcon(QStringLiteral("warn"), IconInk::Caution),
            tr("Programming goes on. Closed in the middle of it, the gauge would be left without a "
               "firmware that runs: press Stop if that is what you want."));
        lstFindings->insertItem(0, m_goesOn);
    }
    lstFindings->scrollToTop();
    cmdStopFlash->setFocus();
}

void FlashRunPane::Stop()
{
    if (m_running) {
        m_desk.Programmer().Cancel();
        return;
    }
    m_planned = false;
    hide();
    emit Closed();
}

void FlashRunPane::showEvent(QShowEvent* event)
{
    QFrame::showEvent(event);
    emit Opened();
}

void FlashRunPane::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape && !m_running)
        Stop();
    else
        QFrame::keyPressEvent(event);
}
