// Transfers of the data-flash editor; frmDF.cpp has the rest of it.
#include "dataflash/DataFlashGrid.h"
#include "dataflash/EachItem.h"
#include "dataflash/GgBackup.h"
#include "dataflash/PendingWritePane.h"
#include "dataflash/WritePlanPane.h"
#include "dataflash/frmDF.h"

#include <QFileInfo>
#include <QMenu>

#include <algorithm>
#include <set>

namespace {

constexpr int kRetryMs = 20;

int PagesOf(const AccessStyle& style, int bytes)
{
    const int page = style.DFAccessStyle == 1 ? style.DFBlockSize : style.DFAccessStyle == 6 ? 64 : 32;
    return (bytes + page - 1) / page;
}

int Count(const TransferReport& report, TransferReport::Fate fate)
{
    return static_cast<int>(std::ranges::count(report.Entries, fate, &TransferReport::Entry::What));
}

QString SubClasses(int count)
{
    return count == 1 ? frmDF::tr("1 subclass") : frmDF::tr("%1 subclasses").arg(count);
}

} // namespace

void frmDF::WhenFree(const std::function<void()>& command, const std::function<void()>& orElse, int triesLeft)
{
    if (!BusSequence::Running() && !ExclusiveAccess::HeldBelow())
        return command();
    if (triesLeft == 0 || m_working)
        return orElse();
    QTimer::singleShot(kRetryMs, this,
                       [this, command, orElse, triesLeft] { WhenFree(command, orElse, triesLeft - 1); });
}

void frmDF::Run(const QString& what, const Sequence& sequence, const Then& then)
{
    if (m_order || m_flash.Running())
        return;
    m_order = Order{what, sequence, then};
    ShowLocked();
    lblLastRead->setText(tr("%1: waiting for the bus").arg(what));
    WhenFree(
        [this] {
            if (m_order && !m_working) // it can have been cancelled while it waited
                RunNow();
        },
        [this] {
            if (!m_order || m_working)
                return;
            m_order.reset();
            ShowLocked();
            m_notice->Show(NoticeBar::Kind::Caution,
                           tr("The bus is held by a running sequence. Nothing was read or written; try again "
                              "when it has ended."));
        });
}

void frmDF::RunNow()
{
    const Order order = *m_order;
    std::vector<EditHistory::Change> edits;
    ForEachItem(std::as_const(m_flash).Tree(),
                [&](const ItemPlace& place, const DataClass&, const SubClass&, const DataItem& item) {
                    if (item.Edited())
                        edits.push_back({place, item.Value, {}});
                });
    m_working = true;
    const TransferReport report = order.Do();
    m_working = false;
    m_order.reset();

    // a read takes the gauge's values in place of edits; undo brings these back
    std::erase_if(edits, [this](EditHistory::Change& edit) {
        edit.After = ItemAt(std::as_const(m_flash).Tree(), edit.Place).Value;
        return edit.After == edit.Before;
    });
    const int replaced = static_cast<int>(edits.size());
    m_history.Note(order.What, std::move(edits));
    emit ProgressChanged(0, 0, QStringLiteral("DF"));
    if (m_filter.Narrows())
        ShowRows();
    ShowLocked();
    order.Afterwards(report, replaced);
}

void frmDF::ReadAll()
{
    if (!m_flash.Loaded())
        return;
    Run(
        tr("Read All"),
        [this] {
            m_trends.NoteBefore(m_flash.Tree());
            return m_flash.ReadAllDF();
        },
        [this](const TransferReport& report, int replaced) { AfterRead(report, replaced); });
}

void frmDF::NoteLastRead(const TransferReport& report)
{
    const int failed = Count(report, TransferReport::Fate::Failed);
    const int done = Count(report, TransferReport::Fate::Done);
    const QString time = m_context.time.Now().toString(QStringLiteral("hh:mm:ss"));
    m_lastRead = tr("Last Read All %1, %2, %3")
                     .arg(time, SubClasses(done),
                          report.Cancelled                        ? tr("cancelled")
                              : failed == 0 && report.Result == 0 ? tr("no errors")
                                                                  : tr("%1 failed").arg(failed));
    ShowLastRead();
}

void frmDF::AfterRead(const TransferReport& report, int replaced)
{
    NoteLastRead(report);
    const int done = Count(report, TransferReport::Fate::Done);
    if (report.Cancelled) {
        m_notice->Show(NoticeBar::Kind::Caution,
                       tr("Read All was cancelled after %1 of %2 subclasses. The other values are as they "
                          "were; Write All wants a whole Read All first.")
                           .arg(done)
                           .arg(m_flash.Tree().SubClassCount()));
    } else if (report.Result != 0) {
        m_notice->Show(NoticeBar::Kind::Failed,
                       report.Text.isEmpty() ? tr("Read All ended with code %1.").arg(report.Result)
                                             : report.Text,
                       tr("Read All again"), [this] { ReadAll(); });
    } else if (replaced > 0) {
        m_notice->Show(NoticeBar::Kind::Note,
                       tr("Read All put the gauge's values in place of %1. Undo brings the edits back "
                          "(Ctrl+Z).")
                           .arg(replaced == 1 ? tr("1 edit") : tr("%1 edits").arg(replaced)),
                       tr("Undo"), [this] {
                           m_notice->Clear();
                           Undo();
                       });
    } else {
        m_notice->Clear();
    }
    emit StatusText(m_lastRead);
}

void frmDF::ShowPlan(Write what, int set)
{
    if (m_order || !m_flash.Loaded())
        return;
    if (what != Write::Changed && !m_flash.LastReadAllOK()) {
        // without a clean Read All there is nothing to plan with: the core says so and reads
        Run(
            tr("Write All"),
            [this, what, set] {
                m_trends.NoteBefore(m_flash.Tree());
                return what == Write::All ? m_flash.WriteAll(false) : m_flash.WritePreserve(set, false);
            },
            [this](const TransferReport& report, int /*replaced*/) { AfterWrite(report); });
        return;
    }
    const WritePlan wanted = what == Write::Changed ? m_flash.PlanChanged() : m_flash.PlanAll();
    if (wanted.Entries.empty()) {
        emit StatusText(tr("Nothing is edited, so there is nothing to write."));
        return;
    }
    WritePlanPane::Plan plan;
    plan.Title = what == Write::Changed ? tr("Write plan")
        : what == Write::All            ? tr("Write All plan")
                                        : tr("Write plan, preserving: %1").arg(m_sets.Names().value(set - 1));
    plan.Ticks = what == Write::Changed;
    plan.Seconds = wanted.Seconds;
    const std::vector<std::uint16_t> whole = m_sets.GetSubClsIDArrToPreserve(set);
    for (const WritePlan::Entry& entry : wanted.Entries) {
        const DataClass& dataClass = m_flash.Tree().Classes[static_cast<std::size_t>(entry.Class)];
        const SubClass& subClass = dataClass.SubClasses[static_cast<std::size_t>(entry.SubClass)];
        WritePlanPane::Row row{entry.Class,
                               entry.SubClass,
                               subClass.Id,
                               QStringLiteral("%1 / %2").arg(dataClass.Name, subClass.Name),
                               entry.Items,
                               entry.Bytes,
                               PagesOf(m_flash.Style(), entry.Bytes),
                               {},
                               {}};
        if (what == Write::Preserve) {
            QStringList offsets;
            for (const int offset : m_sets.GetDataOffsetsToPreserve(set, subClass.Id))
                offsets << QString::number(offset);
            if (std::ranges::find(whole, subClass.Id) != whole.end())
                row.Preserved = tr("keeps all bytes of the gauge");
            else if (!offsets.isEmpty())
                row.Preserved
                    = tr("offset %1 keeps the bytes of the gauge").arg(offsets.join(QStringLiteral(", ")));
        }
        const auto unknown
            = std::ranges::count_if(subClass.Items, [](const DataItem& item) { return item.Value.isNull(); });
        if (unknown > 0)
            row.Caution = tr("%1 items have no value: read first").arg(unknown);
        plan.Rows.push_back(row);
    }
    plan.BackupFolder = BackupFolder(m_context.state.ProgramFolder);
    m_write = what;
    m_preserveSet = set;
    m_plan->Show(plan, mnuOptionsVerifyWrite->isChecked());
    ShowBottom(Bottom::Plan);
}

void frmDF::StartWrite(bool withBackup)
{
    if (m_order || m_bottom != Bottom::Plan)
        return;
    m_backup.clear();
    if (withBackup) {
        const GgBackup backup = SaveBackup(m_flash.Tree(), m_flash.DeviceName(), m_flash.DeviceName(),
                                           m_context.time.Now(), BackupFolder(m_context.state.ProgramFolder));
        if (!backup.Ok()) {
            m_notice->Show(NoticeBar::Kind::Failed, tr("%1. Nothing was written.").arg(backup.Problem),
                           tr("Write without a backup"), [this] { StartWrite(false); });
            return;
        }
        m_backup = backup.File;
    }
    m_notice->Clear();
    const bool verify = m_plan->Verify();
    const auto ticked = m_plan->Ticked();
    const Write what = m_write;
    const int set = m_preserveSet;
    ShowBottom(Bottom::Nothing);
    Run(
        tr("Write"),
        [this, what, set, verify, ticked] {
            m_trends.NoteBefore(m_flash.Tree());
            switch (what) {
            case Write::All:
                return m_flash.WriteAll(verify);
            case Write::Preserve:
                return m_flash.WritePreserve(set, verify);
            case Write::Changed:
                break;
            }
            return m_flash.WriteSome(ticked, verify);
        },
        [this](const TransferReport& report, int /*replaced*/) { AfterWrite(report); });
}

void frmDF::AfterWrite(const TransferReport& report)
{
    using enum TransferReport::Fate;
    const QString time = m_context.time.Now().toString(QStringLiteral("hh:mm:ss"));
    const int done = Count(report, Done);
    const int unverified = Count(report, NotVerified);
    const QString backup = m_backup.isEmpty() ? QString()
                                              : QLatin1Char(' ')
            + tr("What the gauge held before is in %1.")
                  .arg(QFileInfo(BackupFolder(m_context.state.ProgramFolder)).fileName() + QLatin1Char('/')
                       + QFileInfo(m_backup).fileName());
    if (report.Result == 0 && !report.Cancelled && unverified == 0) {
        m_notice->Show(
            NoticeBar::Kind::Good,
            (report.Verified ? tr("%1 written and verified at %2.") : tr("%1 written at %2, not read back."))
                    .arg(SubClasses(done), time)
                + backup);
        emit StatusText(tr("%1 written").arg(SubClasses(done)));
        return;
    }
    QString text = report.Text;
    if (report.Cancelled && text.isEmpty())
        text = tr("The write was cancelled after %1.").arg(SubClasses(done));
    if (text.isEmpty())
        text = tr("The write ended with code %1 after %2.").arg(report.Result).arg(SubClasses(done));
    m_notice->Show(report.Result == DataFlashResult::kNotRead ? NoticeBar::Kind::Caution
                                                              : NoticeBar::Kind::Failed,
                   text + backup);
    emit StatusText(tr("Write not complete"));
    if (report.Result != DataFlashResult::kNotRead && report.Result != DataFlashResult::kNoValue)
        LookForPendingWrite();
}

void frmDF::CancelTransfer()
{
    if (m_order && !m_working) { // it waits for the bus
        m_order.reset();
        ShowLocked();
    }
    m_flash.Cancel();
}

void frmDF::LookForPendingWrite()
{
    m_lookDue = m_order || BusSequence::Running() || ExclusiveAccess::HeldBelow();
    if (m_lookDue) // WatchLink tries again: nobody asked for it, so nobody is told
        return;
    Run(
        tr("Looking for an unfinished write"),
        [this] {
            const std::optional<PendingWrite> pending = m_flash.FindPendingWrite();
            m_pending->setVisible(pending.has_value());
            if (pending)
                m_pending->Show(*pending);
            return TransferReport{};
        },
        [this](const TransferReport& /*report*/, int /*replaced*/) {
            if (m_pending->isVisibleTo(this))
                emit WantsFront();
        });
}

void frmDF::FinishPending()
{
    Run(
        tr("Finishing the write"), [this] { return m_flash.FinishPendingWrite(); },
        [this](const TransferReport& report, int /*replaced*/) { AfterPending(report); });
}

void frmDF::RollBackPending()
{
    Run(
        tr("Rolling back"), [this] { return m_flash.RollBackPendingWrite(); },
        [this](const TransferReport& report, int /*replaced*/) { AfterPending(report); });
}

void frmDF::AfterPending(const TransferReport& report)
{
    m_backup.clear();
    const bool good = report.Result == 0 && !report.Cancelled;
    m_notice->Show(
        good ? NoticeBar::Kind::Good : NoticeBar::Kind::Failed,
        report.Text.isEmpty()
            ? tr("%1 written and verified.").arg(SubClasses(Count(report, TransferReport::Fate::Done)))
            : report.Text,
        good ? tr("Read All") : QString(), [this] { ReadAll(); });
    LookForPendingWrite();
}

bool frmDF::PutOff(void (frmDF::*dialog)())
{
    if (!BusSequence::Running() && !ExclusiveAccess::HeldBelow())
        return false;
    WhenFree([this, dialog] { (this->*dialog)(); }, [] {});
    return true;
}

void frmDF::ForgetPending()
{
    if (PutOff(&frmDF::ForgetPending))
        return;
    const Answer answer
        = m_context.messages.Choose(tr("The gauge stays as it is, and the old and the new bytes that were "
                                       "kept for its repair are dropped."),
                                    {{Answer::Yes, tr("Forget the write")}, {Answer::Cancel, tr("Keep it")}});
    if (answer != Answer::Yes)
        return;
    if (m_flash.ForgetPendingWrite())
        m_pending->hide();
}

void frmDF::WatchLink()
{
    const bool answers = m_context.link.Answering();
    const bool again = answers && !m_answered;
    m_answered = answers;
    if ((again || m_lookDue) && !m_order && !grdDataFlash->Editing()) // the cable is back
        LookForPendingWrite();
}

void frmDF::Pause()
{
    m_exportRan = tmrExport->isActive();
    tmrExport->stop();
}

void frmDF::Resume()
{
    if (m_exportRan)
        tmrExport->start();
}
