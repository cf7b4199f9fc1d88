#include "engineering/frmPro.h"

#include "engineering/AccessPane.h"
#include "engineering/MonitorPane.h"
#include "engineering/SequencePane.h"
#include "engineering/TransactionPane.h"
#include "engineering/ViewParts.h"
#include "engineering/frmConfirm.h"
#include "look/Controls.h"
#include "platform/WholeFile.h"

#include <QBoxLayout>
#include <QFileInfo>
#include <QShortcut>
#include <QSplitter>
#include <QTabWidget>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace {

constexpr int kNarrow = 800; // logical pixels of the view, below which its panes fold into tabs
constexpr int kLow = 400;
constexpr int kRetryMs = 20;
constexpr int kLeft = 720; // at first
constexpr int kRight = 540;

} // namespace

frmPro::frmPro(GaugeContext& context)
    : m_context(context), m_settings(ReadProSettings(context.profiles, context.state)),
      m_sender(context.usb, context.time, context.state.TargetAddress, m_settings.Memory),
      m_repeat(m_sender, context.access, m_history),
      m_runner(m_sender, context.usb, context.access, context.time),
      tmrSend(Named(new QTimer(this), "tmrSend")),
      m_transactions(new TransactionPane(m_history, context.state.TargetAddress, this)),
      m_access(new AccessPane(m_settings.Access, this)),
      m_sequence(new SequencePane(context.messages, context.state.ProgramFolder, this)),
      m_across(Named(new QSplitter(Qt::Horizontal, this), "splitterPro")),
      m_tabs(Named(new QTabWidget(this), "tabsPro"))
{
    setObjectName(QStringLiteral("frmPro"));
    if (context.watch)
        m_monitor = new MonitorPane(context.watch->Monitor, this);
    LayOut();
    tmrSend->setSingleShot(true);
    connect(tmrSend, &QTimer::timeout, this, &frmPro::NextTurn);
    connect(m_transactions, &TransactionPane::SendRequested, this, &frmPro::AskSend);
    connect(m_transactions, &TransactionPane::StopRequested, this, &frmPro::Abandon);
    connect(m_transactions, &TransactionPane::SaveRequested, this, &frmPro::SaveCsv);
    connect(m_access, &AccessPane::SendRequested, this, &frmPro::AskAccess);
    connect(m_sequence, &SequencePane::RunRequested, this, &frmPro::AskRunSequence);
    connect(m_sequence, &SequencePane::CancelRequested, this, &frmPro::Abandon);
    if (m_monitor)
        connect(m_monitor, &MonitorPane::SaveRequested, this, &frmPro::SaveTrace);
    const auto shortcut = [this](const QKeySequence& key, auto act) {
        auto* made = new QShortcut(key, this, nullptr, nullptr, Qt::WidgetWithChildrenShortcut);
        connect(made, &QShortcut::activated, this, act);
    };
    shortcut(QKeySequence(Qt::Key_Escape), [this] {
        if (!m_monitor || !m_monitor->LeaveFilter())
            Abandon();
    });
    shortcut(QKeySequence(tr("Ctrl+F")), [this] {
        if (m_monitor && m_tabs->currentWidget() == m_monitor)
            m_monitor->GoToFilter();
    });
    shortcut(QKeySequence(Qt::Key_F5), [this] {
        if (m_tabs->currentWidget() == m_sequence)
            AskRunSequence();
    });
    setFocusProxy(m_transactions);

    const ViewState state(m_context.profiles, m_context.state.ProgramSettingsFile, QStringLiteral("ProMode"));
    m_transactions->Recall(state);
    m_sequence->Recall(state);
    if (m_monitor)
        m_monitor->Recall(state);
    m_across->restoreState(QByteArray::fromBase64(state.Text(u"Splitter").toLatin1()));
    m_tabs->setCurrentIndex(state.Number(u"Tab", 0, 0, m_tabs->count() - 1));
    if (!m_settings.Problem.isEmpty())
        m_transactions->ShowState(m_settings.Problem, true);
    ShowBusy();
}

frmPro::~frmPro() = default;

void frmPro::LayOut()
{
    m_across->addWidget(m_transactions);
    m_across->addWidget(m_tabs);
    m_across->setStretchFactor(0, 1);
    m_across->setStretchFactor(1, 1);
    m_across->setChildrenCollapsible(false);
    m_across->setSizes({kLeft, kRight});
    m_tabs->addTab(m_access, tr("Access commands"));
    m_tabs->addTab(m_sequence, tr("Sequence"));
    if (m_monitor)
        m_tabs->addTab(m_monitor, tr("Bus monitor"));
    m_tabs->setDocumentMode(false);
    auto* down = new QVBoxLayout(this);
    down->setContentsMargins(6, 6, 6, 6);
    down->addWidget(m_across);
}

void frmPro::Fold(bool narrow)
{
    if (narrow == m_narrow)
        return;
    m_narrow = narrow;
    if (narrow)
        m_tabs->insertTab(0, m_transactions, tr("Transaction"));
    else
        m_across->insertWidget(0, m_transactions);
    m_transactions->show();
    if (narrow)
        m_tabs->setCurrentIndex(0);
}

void frmPro::resizeEvent(QResizeEvent* event)
{
    ChildView::resizeEvent(event);
    Fold(width() < kNarrow || height() < kLow);
}

QString frmPro::AddressText(const Transaction& transaction) const
{
    return HexNumber(transaction.Address.value_or(m_context.state.TargetAddress));
}

void frmPro::AskSend(const RepeatedSend::Request& request)
{
    if (m_running || m_repeat.Running())
        return;
    if (!FormOf(request.Sent.Kind).Writes)
        return StartSending(request);
    const QString times = request.Times > 1 ? tr(" It is sent %1 times.").arg(request.Times) : QString();
    WhenBusFree(
        this,
        [this, request, times] {
            frmConfirm::Ask(
                this, Danger::Write,
                tr("This changes something in the part at address %1.").arg(AddressText(request.Sent))
                    + times,
                {TransactionText(request.Sent)}, QString::fromLatin1(FormOf(request.Sent.Kind).Caption),
                [this, request] { StartSending(request); });
        },
        [this](const QString& why) { m_transactions->ShowState(why, true); });
}

void frmPro::StartSending(const RepeatedSend::Request& request)
{
    if (m_running || m_repeat.Running())
        return;
    m_repeat.Start(request);
    ShowBusy();
    NextTurn();
}

void frmPro::NextTurn()
{
    if (!m_repeat.Running() || m_repeat.Sending())
        return;
    switch (m_repeat.Next(objectName())) {
    case RepeatedSend::Turn::BusBusy:
        tmrSend->start(kRetryMs);
        return;
    case RepeatedSend::Turn::GoesOn:
        tmrSend->start(m_transactions->IntervalMs());
        break;
    case RepeatedSend::Turn::Ended:
        break;
    }
    m_transactions->ShowHistory();
    const std::int64_t times = m_repeat.Asked().Times;
    const HistoryEntry* last = m_history.Find(m_history.End() - 1);
    const bool failed = last && Failed(last->Code);
    QString text = failed && last ? last->Text : QString();
    if (times > 1) {
        text = tr("%1 of %2 sent, %3 failed").arg(m_repeat.Done()).arg(times).arg(m_repeat.Failures());
        if (!m_repeat.Running() && m_repeat.Done() < times)
            text += failed && m_repeat.Asked().StopAtFailure
                ? tr(". Stopped at this failure: %1").arg(last->Text)
                : tr(". Stopped by hand");
    }
    m_transactions->ShowState(text, m_repeat.Failures() > 0);
    ShowBusy();
}

void frmPro::AskRunSequence()
{
    if (m_running || m_repeat.Running())
        return;
    const Sequence sequence = m_sequence->Check();
    if (!sequence.Problems.empty() || sequence.Steps.empty())
        return;
    const auto refused = [this](const QString& why) { m_sequence->ShowState(why, true); };
    // once more when the answer comes: the click may arrive in the middle of a scan's row
    const auto run = [this, sequence, refused] {
        WhenBusFree(
            this, [this, sequence] { Run(sequence, Source::Sequence, tr("Sequence")); }, refused);
    };
    const QStringList writes = sequence.Writes();
    WhenBusFree(
        this,
        [this, writes, run] {
            if (writes.isEmpty())
                run();
            else
                frmConfirm::Ask(
                    this, Danger::Sequence,
                    tr("The sequence changes something in the gauge or switches lines. These of its lines "
                       "write:"),
                    writes, tr("Run sequence"), run);
        },
        refused);
}

void frmPro::AskAccess(int command)
{
    if (m_running || m_repeat.Running() || command < 0)
        return;
    const AccessCommand& access = m_settings.Access[static_cast<std::size_t>(command)];
    const auto refused = [this](const QString& why) { m_access->ShowState(why, true); };
    const auto run = [this, &access, refused] {
        WhenBusFree(
            this, [this, &access] { Run(access.Steps, Source::Access, access.Name); }, refused);
    };
    WhenBusFree(
        this,
        [this, &access, run] {
            if (access.Steps.Writes().isEmpty())
                run();
            else
                frmConfirm::Ask(this, Danger::Write,
                                tr("\"%1\" changes something in the gauge. It writes:").arg(access.Name),
                                access.Steps.Writes(), access.Name, run);
        },
        refused);
}

// by value: whoever asked may go away in the events of the run
void frmPro::Run(Sequence asked, Source source, const QString& name)
{
    if (m_running || m_repeat.Running())
        return;
    const Sequence sequence = std::move(asked);
    m_running = true;
    m_cancelled = false;
    m_transactions->ShowState({}, false);
    const std::int64_t turns = sequence.Turns();
    const bool fromFile = source == Source::Sequence;
    if (fromFile)
        m_sequence->SetRunning(true, false, turns);
    ShowBusy();
    std::int64_t shownMs = 0;
    const auto onStep = [&](const StepReport& report) {
        m_history.Add(EntryOf(report));
        // a fast bus has thousands of steps a second, and each of them painted would be the slowest part
        const std::int64_t now = m_context.time.MonotonicMs();
        constexpr std::int64_t kPaintMs = 50;
        if (report.Number > 1 && now - shownMs < kPaintMs)
            return;
        shownMs = now;
        m_transactions->ShowHistory();
        if (fromFile)
            m_sequence->ShowStep(report);
        emit ProgressChanged(static_cast<int>(std::min<std::int64_t>(
                                 1000 * report.Number / std::max<std::int64_t>(turns, 1), 999)),
                             1000, name);
    };
    const SequenceEnd end = m_runner.Run(sequence, {!fromFile || m_sequence->StopAtFailure(), objectName()},
                                         onStep, [this] { return m_cancelled; });
    m_running = false;
    emit ProgressChanged(0, 0, name);
    m_transactions->ShowHistory();
    if (fromFile) {
        m_sequence->SetRunning(false, false, 0);
        m_sequence->ShowEnd(end);
    } else {
        m_access->ShowState(end.Ended == SequenceEnd::How::Done ? tr("%1: done").arg(name) : end.Text,
                            end.Ended != SequenceEnd::How::Done);
    }
    ShowBusy();
}

void frmPro::ShowBusy()
{
    m_transactions->SetBusy(m_repeat.Running(), m_running);
    m_access->SetBusy(m_running || m_repeat.Running());
    if (!m_running)
        m_sequence->SetRunning(false, m_repeat.Running(), 0);
}

void frmPro::Abandon()
{
    m_cancelled = true;
    const bool waiting = m_repeat.Running() && !m_repeat.Sending();
    m_repeat.Stop();
    tmrSend->stop();
    if (waiting) {
        m_transactions->ShowState(tr("%1 of %2 sent, %3 failed. Stopped by hand")
                                      .arg(m_repeat.Done())
                                      .arg(m_repeat.Asked().Times)
                                      .arg(m_repeat.Failures()),
                                  m_repeat.Failures() > 0);
        ShowBusy();
    }
}

bool frmPro::MayClose() { return m_sequence->LeaveChanges(); }

bool frmPro::Leave()
{
    ViewState state(m_context.profiles, m_context.state.ProgramSettingsFile, QStringLiteral("ProMode"));
    m_transactions->Remember(state);
    m_sequence->Remember(state);
    if (m_monitor)
        m_monitor->Remember(state);
    if (!m_narrow) {
        state.Keep(u"Splitter", QString::fromLatin1(m_across->saveState().toBase64()));
        state.Keep(u"Tab", m_tabs->currentIndex());
    }
    if (const QString problem = state.Save(); !problem.isEmpty())
        m_context.messages.Show(problem);
    return true;
}

void frmPro::SaveCsv(const QString& csv)
{
    AskForFile(this, tr("Save history"), m_context.state.ProgramFolder,
               tr("CSV files (*.csv);;All files (*)"), QStringLiteral("csv"),
               [this, csv](const QString& path) {
                   const QString problem = SaveWhole(path, csv.toUtf8());
                   m_transactions->ShowState(
                       problem.isEmpty() ? tr("%1 saved").arg(QFileInfo(path).fileName()) : problem,
                       !problem.isEmpty());
               });
}

void frmPro::SaveTrace(const QByteArray& trace)
{
    AskForFile(this, tr("Save trace"), m_context.state.ProgramFolder, tr("Traces (*.trace);;All files (*)"),
               QStringLiteral("trace"), [this, trace](const QString& path) {
                   const QString problem = SaveWhole(path, trace);
                   if (!problem.isEmpty())
                       m_context.messages.Show(problem);
                   else
                       emit StatusText(tr("%1 saved").arg(QFileInfo(path).fileName()));
               });
}

void frmPro::Applyskin() { m_sequence->Applyskin(); }
