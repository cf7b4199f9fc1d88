#include "sbs/frmSBS.h"

#include "comm/BusTurn.h"
#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"
#include "sbs/AutoCyclePane.h"
#include "sbs/CycleRows.h"
#include "sbs/EventsPane.h"
#include "sbs/FlagView.h"
#include "sbs/FlagsPane.h"
#include "sbs/LogHeadOf.h"
#include "sbs/PlotView.h"
#include "sbs/RegisterGrid.h"
#include "sbs/RowTexts.h"

#include <QApplication>
#include <QClipboard>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QMenu>
#include <QScopedValueRollback>

#include <algorithm>

namespace {

constexpr int kWatchMs = 1000;
constexpr int kRetryMs = 10;
constexpr int kPatienceMs = 1000; // then a command no longer waits for the whole pass
constexpr std::int64_t kOutcomeMs = 8000; // time to read a line
constexpr std::int64_t kWhileEditingMs = 86'400'000;

/// As the preview of an edit writes it; many rows show hexadecimal.
QString RawText(RawValue raw)
{
    return QStringLiteral("%1 (0x%2)").arg(raw).arg(raw & 0xFFFF, 4, 16, QLatin1Char('0'));
}

} // namespace

frmSBS::frmSBS(GaugeContext& context)
    : m_context(context), m_settings(context.profiles, context.state),
      m_registers(context.usb, context.state, context.target),
      m_scan(m_registers, context.access, context.time, context.messages, context.errors, m_tables),
      m_log(context.time, context.messages, [] { return !ExclusiveAccess::HeldBelow(); }),
      m_events(context.time), m_lines(context.usb, context.access),
      m_cycle(m_lines, context.time, context.messages), tmrScan(Named(new QTimer(this), "tmrScan")),
      tmrLog(Named(new QTimer(this), "tmrLog")), m_watch(new QTimer(this))
{
    setObjectName(QStringLiteral("frmSBS"));
    LoadInitSBSGrid();
    LayOut();
    MakeMenus();
    connect(tmrScan, &QTimer::timeout, this, &frmSBS::Tick);
    connect(tmrLog, &QTimer::timeout, this, &frmSBS::LogTick);
    connect(m_watch, &QTimer::timeout, this, &frmSBS::Watch);
    m_watch->start(kWatchMs);
    ApplyIntervals();
    chkContScan->setChecked(!m_scan.Form().ScanOff);
    EnableSBSContScan(chkContScan->isChecked());
    ShowLogState();
    ShowCounts();
    QTimer::singleShot(0, this, &frmSBS::Refresh); // the first values at once, not after the first interval
}

frmSBS::~frmSBS()
{
    m_plot->SetCurves({}); // it draws from the engine's history, which goes first
}

void frmSBS::LoadInitSBSGrid()
{
    const QString problem = LoadTables(m_tables, m_settings, m_context.state.ProgramFolder);
    if (!problem.isEmpty())
        m_context.messages.Show(problem);
    m_scan.Reset(LoadFormState(m_settings, m_tables.GetNumSBSRows()));
    m_cycle.SetSettings(LoadAutoCycleSettings(m_settings, m_scan.Form().RemCapRow));
    m_events.Clear();
}

void frmSBS::Tick()
{
    if (BusSequence::Running() || Busy() || m_closing || m_commandWaits)
        return;
    {
        const QScopedValueRollback working(m_working, true);
        CheckIdentity();
    }
    Refresh();
}

void frmSBS::CheckIdentity()
{
    if (m_context.link.Tick() == GaugeLink::State::ReadError)
        emit StatusText(QStringLiteral("Dev: Read Error"));
}

void frmSBS::Refresh()
{
    if (BusSequence::Running() || Busy() || m_closing)
        return;
    const QScopedValueRollback working(m_working, true);
    const std::int64_t started = m_context.time.MonotonicMs();
    const PassReport report = m_scan.ReadValues();
    m_lastPassMs = m_context.time.MonotonicMs() - started;
    if (report.End != PassEnd::Dropped) {
        AfterPass(report);
    } else if (ExclusiveAccess::HeldBelow()) { // by a call of somebody who may be at it again at once
        BusTurn::Ask();
        if (!std::exchange(m_passWaits, true))
            QTimer::singleShot(kRetryMs, this, [this] {
                m_passWaits = false;
                if (!m_commandWaits)
                    Refresh();
            });
    }
}

void frmSBS::AfterPass(const PassReport& report)
{
    ++m_pass;
    m_lastReport = report;
    m_transferFailed |= report.Failed > 0;
    m_context.link.NotePass(report.Answered, report.Failed, report.LastError);
    m_events.NotePass(m_scan, m_cycle.Settings().BattStatRow);
    MoveSBSDataToGrid();
    if (const auto remaining = m_scan.RemainingCapacity())
        emit RemainingCapacityChanged(*remaining);
    if (m_context.link.Now() != GaugeLink::State::ReadError)
        emit IdleText(tr("Pass %1 done").arg(m_pass));
    if (m_closing)
        return;
    const CycleState before = m_cycle.Facts().State;
    m_cycle.Step(ReadCycleValues(m_scan, m_cycle.Settings(), report));
    m_cyclePane->NoteState(before, m_events);
    if (m_staticDue && report.Answered > 0)
        ReadStatic();
}

void frmSBS::MoveSBSDataToGrid()
{
    m_model->MoveSBSDataToGrid();
    m_flags->RefreshPictFlags(m_scan);
    m_plot->Advance();
    ShowEvents();
    ShowCounts();
}

void frmSBS::ReadStatic()
{
    const QScopedValueRollback working(m_working, true);
    m_staticDue = false;
    m_static = ReadStaticData(m_context.usb, m_context.access, m_context.state.TargetAddress);
    ShowStatic();
}

void frmSBS::ShowStatic()
{
    grdStatic->setRowCount(static_cast<int>(m_static.size()));
    int row = 0;
    for (const StaticItem& item : m_static) {
        auto* value = new QTableWidgetItem(item.Text);
        value->setToolTip(item.Error);
        if (!item.Error.isEmpty())
            value->setIcon(ThemeIcon(QStringLiteral("error"), IconInk::Failed));
        grdStatic->setItem(row, 0, new QTableWidgetItem(item.Caption));
        grdStatic->setItem(row, 1, value);
        ++row;
    }
}

void frmSBS::Watch()
{
    m_model->RefreshAges();
    const CycleState before = m_cycle.Facts().State;
    if (!m_closing)
        m_cycle.Watch(); // also in the middle of a pass that does not end: it is what switches the lines off
    m_cyclePane->NoteState(before, m_events);
    ShowEvents();
}

void frmSBS::EnableSBSContScan(bool on)
{
    on && !m_closing ? tmrScan->start() : tmrScan->stop();
    mnuOptionsScanOn->setEnabled(!on);
    mnuOptionsScanOff->setEnabled(on);
    m_scan.Form().ScanOff = !on;
    m_flags->RefreshPictFlags(m_scan);
}

void frmSBS::SetCheckScan(bool on)
{
    m_scan.SetCheckScan(on);
    m_model->RefreshSwitches();
    m_flags->RefreshPictFlags(m_scan);
}

void frmSBS::SetCheckLog(bool on)
{
    m_scan.SetCheckLog(on);
    m_model->RefreshSwitches();
}

void frmSBS::WriteSBSValueFromGrid(int row, const QString& typed)
{
    if (BusSequence::Running()) {
        ShowFooter(tr("The bus is held by a running sequence. The value was not sent."), true, kOutcomeMs);
        return;
    }
    WhenIdle([this, row, typed] { SendValue(row, typed); });
}

void frmSBS::SendValue(int row, const QString& typed)
{
    const QScopedValueRollback working(m_working, true);
    const QString name = ShownDescription(m_tables.GetSBSDesc(static_cast<std::int16_t>(row)));
    const WriteReport report = m_scan.WriteSBSValueFromGrid(row, typed);
    QString outcome;
    if (!report.Ok()) {
        outcome = tr("%1 was not written: %2").arg(name, report.Reason);
    } else {
        RawValue back = 0;
        const ErrorCode code = m_scan.ReadBack(row, back);
        if (Failed(code))
            outcome = tr("%1: %2 was sent; it could not be read back: %3")
                          .arg(name)
                          .arg(report.Raw)
                          .arg(ErrorCodeToText(code));
        else if ((back & 0xFFFF) != (report.Raw & 0xFFFF))
            outcome
                = tr("%1: %2 was sent, the gauge now holds %3").arg(name, RawText(report.Raw), RawText(back));
        else
            outcome = tr("%1: %2 written and read back").arg(name).arg(report.Raw);
    }
    m_events.Add(RegisterEvent::Kind::Write, outcome);
    ShowEvents();
    ShowFooter(outcome, !report.Ok(), kOutcomeMs);
    emit StatusText(outcome);
}

void frmSBS::PreviewEdit(int row, const QString& typed)
{
    const WritePreview preview = PreviewWrite(m_scan, row, typed);
    if (auto* editor = grdSBS->findChild<QLineEdit*>(QStringLiteral("txtValue")))
        editor->setProperty("refused", !preview.Ok);
    ShowFooter(preview.Text, !preview.Ok, kWhileEditingMs);
    m_previewing = true;
}

void frmSBS::ShowCounts()
{
    const bool nothing = m_scan.RowCount() > 0 && grdSBS->model()->rowCount() == 0;
    txtFilter->setProperty("refused", nothing);
    txtFilter->update();
    if (m_context.time.MonotonicMs() < m_footerUntilMs)
        return;
    if (nothing)
        return ShowFooter(
            tr("\"%1\" stands in no row's description. Esc shows all rows.").arg(txtFilter->text()), false,
            0);
    int scanned = 0;
    for (int row = 0; row < m_scan.RowCount(); ++row)
        scanned += m_scan.ScanOn(row);
    ShowFooter(m_scan.RowCount() == 0
                   ? tr("The register table is empty. Choose another target, or edit the table.")
                   : tr("%1 rows \u00b7 %2 scanned \u00b7 %3 answered, %4 failed \u00b7 last pass %5 ms")
                         .arg(m_scan.RowCount())
                         .arg(scanned)
                         .arg(m_lastReport.Answered)
                         .arg(m_lastReport.Failed)
                         .arg(m_lastPassMs),
               false, 0);
}

void frmSBS::ShowFooter(const QString& text, bool refused, std::int64_t forMs)
{
    m_footerUntilMs = m_context.time.MonotonicMs() + forMs;
    m_previewing = false;
    QPalette palette = this->palette();
    const SkinColours& colours = Theme::Current().Colours();
    palette.setColor(QPalette::WindowText, ToColour(refused ? colours.Failed : colours.TextSecondary));
    lblFooter->setPalette(palette);
    lblFooter->setText(text);
}

void frmSBS::AskRefreshInterval()
{
    bool ok = false;
    const QString answer = QInputDialog::getText(
        this, QStringLiteral("Tarnlo - Refresh Interval"), QStringLiteral("Refresh Interval in milliseconds"),
        QLineEdit::Normal, QString::number(m_scan.Form().Interval.Refresh), &ok);
    const IntervalChange change = SetRefreshInterval(m_scan.Form().Interval, ok ? answer : QString());
    m_scan.Form().Interval = change.intervals;
    ApplyIntervals();
    for (const QString& message : change.messages)
        m_context.messages.Show(message);
}

void frmSBS::AskLoggingInterval()
{
    bool ok = false;
    const QString answer = QInputDialog::getText(
        this, QStringLiteral("Tarnlo - Logging Interval"),
        QStringLiteral("Logging Interval in milliseconds.\n(Specify Minimum interval - "
                       "Actual interval may be greater)"),
        QLineEdit::Normal, QString::number(m_scan.Form().Interval.Logging), &ok);
    const IntervalChange change = SetLoggingInterval(m_scan.Form().Interval, ok ? answer : QString());
    m_scan.Form().Interval = change.intervals;
    ApplyIntervals();
    for (const QString& message : change.messages)
        m_context.messages.Show(message);
}

void frmSBS::ApplyIntervals()
{
    const Intervals& intervals = m_scan.Form().Interval;
    tmrScan->setInterval(intervals.Refresh);
    tmrLog->setInterval(intervals.Logging);
    lblInterval->setText(tr("every %1 ms").arg(intervals.Refresh));
    ShowLogState();
}

void frmSBS::StartLogging()
{
    QFileDialog dialog(this, QStringLiteral("Save as ... (Log File name)"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QStringLiteral("log"));
    dialog.setNameFilters({QStringLiteral("Log Files(*.log)"), QStringLiteral("All Files(*.*)")});
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    const LogHead head = LogHeadOf(m_context.profiles, m_context.state.TargetConfigPath,
                                   m_context.link.Identity(), m_context.usb, m_static);
    const QString problem = m_log.Start(dialog.selectedFiles().constFirst(), head, LogColumnsOf(m_scan));
    if (!problem.isEmpty()) {
        m_context.messages.Show(problem);
        return;
    }
    m_transferFailed = false;
    tmrLog->start();
    ShowLogState();
}

void frmSBS::StopLogging()
{
    tmrLog->stop();
    m_log.Stop();
    ShowLogState();
}

void frmSBS::LogTick()
{
    if (m_log.Record([this](int row) { return m_scan.Row(row).Text; }, m_transferFailed))
        m_transferFailed = false;
    if (!m_log.IsLogging())
        tmrLog->stop(); // the question about a file that cannot be opened ended the run
    ShowLogState();
}

void frmSBS::ShowLogState()
{
    const bool logging = m_log.IsLogging();
    cmdStartLogging->setVisible(!logging);
    cmdStopLogging->setVisible(logging);
    if (mnuFileLogging)
        mnuFileLogging->setText(logging ? tr("Stop &logging") : tr("Start &logging..."));
    QString text;
    if (logging)
        text = tr("sample %1 \u00b7 every %2 ms \u00b7 %3")
                   .arg(m_log.Sample() - 1)
                   .arg(m_scan.Form().Interval.Logging)
                   .arg(QFileInfo(m_log.FileName()).fileName());
    lblLog->setText(m_log.LastProblem().isEmpty() ? text : m_log.LastProblem());
    lblLog->setToolTip(logging ? m_log.FileName() : QString());
}

void frmSBS::ResetStatistics()
{
    m_scan.ResetStatistics();
    m_model->MoveSBSDataToGrid();
}

void frmSBS::Copy(QChar separator)
{
    QApplication::clipboard()->setText(RowsAsText(m_scan, grdSBS->SelectedRows(), separator));
    const auto rows = grdSBS->SelectedRows().size();
    emit StatusText(rows == 1 ? tr("1 row copied") : tr("%1 rows copied").arg(rows));
}

void frmSBS::ShowEvents()
{
    if (!m_eventsPane->Show(m_events))
        return;
    using enum RegisterEvent::Kind;
    std::vector<PlotEvent> shown;
    for (const RegisterEvent& event : m_events.Events()) {
        const std::int64_t at = event.At.toMSecsSinceEpoch();
        switch (event.What) {
        case Alarm:
            shown.push_back({at, PlotEvent::Kind::Alarm, event.Text});
            break;
        case Write:
            shown.push_back({at, PlotEvent::Kind::Write, event.Text});
            break;
        case FailedRead:
            shown.push_back({at, PlotEvent::Kind::FailedRead, event.Text});
            break;
        case Charge:
            shown.push_back({at, PlotEvent::Kind::Charge, event.Text});
            break;
        case Discharge:
            shown.push_back({at, PlotEvent::Kind::Discharge, event.Text});
            break;
        case Relax:
        case Stop: // nothing flows then either
            shown.push_back({at, PlotEvent::Kind::Relax, event.Text});
            break;
        }
    }
    m_plot->SetEvents(std::move(shown));
}

void frmSBS::UpdateCurves()
{
    std::vector<PlotCurve> curves;
    const std::int64_t offset = m_context.time.Now().toMSecsSinceEpoch() - m_context.time.MonotonicMs();
    const std::int64_t bridge
        = 3LL * m_scan.Form().Interval.Refresh; // a line joins no two values around a pause
    int place = 0;
    for (const int row : m_model->Plotted()) {
        const auto at = static_cast<std::int16_t>(row);
        if (row >= 0)
            curves.push_back({&m_scan.History(), static_cast<std::size_t>(row), offset, bridge,
                              ShownDescription(m_tables.GetSBSDesc(at)), m_tables.GetSBSUnit(at), place});
        ++place;
    }
    m_plot->SetCurves(std::move(curves));
}

void frmSBS::StopLines()
{
    m_cycle.StopAndSwitchOff(tr("Stopped by hand."));
    m_cyclePane->Refresh();
}

void frmSBS::Pause()
{
    m_scanRan = tmrScan->isActive();
    m_logRan = tmrLog->isActive();
    tmrScan->stop();
    tmrLog->stop();
}

void frmSBS::Resume()
{
    if (m_scanRan && !m_closing)
        tmrScan->start();
    if (m_logRan && !m_closing)
        tmrLog->start();
}

void frmSBS::WhenIdle(const std::function<void()>& command, int waitedMs)
{
    m_commandWaits = Busy();
    if (!m_commandWaits)
        return command();
    if (waitedMs == kPatienceMs)
        Abandon();
    QTimer::singleShot(kRetryMs, this, [this, command, waitedMs] { WhenIdle(command, waitedMs + kRetryMs); });
}

void frmSBS::Abandon() { m_scan.RequestStop(); }

bool frmSBS::MayClose()
{
    const bool cycle = m_cycle.Facts().Running;
    if (!cycle && !m_log.IsLogging())
        return true;
    QStringList ends;
    if (cycle)
        ends << tr(
            "The auto-cycle is running. Closing the register view stops it and switches both lines off.");
    if (m_log.IsLogging())
        ends << tr("The register log %1 is being recorded. Closing the register view ends it; what was "
                   "recorded "
                   "stays.")
                    .arg(QFileInfo(m_log.FileName()).fileName());
    return m_context.messages.Choose(
               ends.join(QLatin1Char('\n')),
               {{Answer::Yes, tr("Stop and close")}, {Answer::Cancel, tr("Keep it running")}})
        == Answer::Yes;
}

bool frmSBS::Leave()
{
    m_closing = true;
    tmrScan->stop();
    if (!m_cycle.LeaveProgram())
        return false; // the lines do not stay on behind the view
    StopLogging();
    m_watch->stop();
    SaveFormState();
    return true;
}
