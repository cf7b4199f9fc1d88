// Writing: what is sent for a subclass, the walk over many of them with its journal, the proof, and the plan.

#include "dataflash/DataFlash.h"

#include "comm/BusSequence.h"
#include "comm/Wait.h"
#include "dataflash/ValueEncoding.h"
#include "platform/NoMessages.h"

#include <algorithm>
#include <utility>

namespace {

constexpr int kPingEveryMs = 100;
constexpr int kPingForMs = 20'000;

const QString kReadAllFirst
    = QStringLiteral("The last 'Read All' had errors. Tarnlo is unable to preserve data integrity.\n"
                     "The Write operation will be aborted! An automatic 'Read All' will be initiated!");
const QString kMayChange = QStringLiteral(
    "The data on screen may change! Please 'Read All' and modify before attempting to write.");
const QString kNotAllRead
    = QStringLiteral("The last 'Read All' had errors or all Data was not read before being modified.\n"
                     "Tarnlo is unable to preserve data integrity. The Write operation will be aborted!");
const QString kNoValue = QStringLiteral(
    "Incorrect value found. Please read all the values first before attempting to change them.");
const QString kNothingToPreserve
    = QStringLiteral("No preserve selection! Do you want to WriteAll without preserving any data?");
const QString kNoPing = QStringLiteral("Timeout waiting for packets to be sent. No response on ping.");

bool Contains(const std::vector<std::uint16_t>& ids, std::uint16_t id)
{
    return std::ranges::find(ids, id) != ids.end();
}

} // namespace

// ---- one subclass ----

bool DataFlash::Preserved(std::uint16_t id) const
{
    return Contains(m_preserveWhole, id) || Contains(m_preservePartly, id);
}

/// The image that a write sends. Items that nobody edited keep the bytes that were read: encoding their text
/// again could lose something.
std::int32_t DataFlash::Encode(SubClassPlace place, Outgoing& out)
{
    const SubClass& subClass = At(place);
    if (Contains(m_preserveWhole, subClass.Id) && !m_lastReadAllOK) {
        Say(kMayChange);
        return DataFlashResult::kNotRead;
    }
    if (Contains(m_preservePartly, subClass.Id) && !m_lastReadAllOK) {
        Say(kNotAllRead);
        return DataFlashResult::kNotRead;
    }
    const bool read = m_known[place].Read;
    NoMessages nobody; // what is wrong is told by the reason
    out = {place, subClass.Buffer, subClass.Buffer, {}};
    Bytes scratch = subClass.Buffer;
    for (const DataItem& item : subClass.Items) {
        QString why;
        if (!DataTypeToByte(scratch, item.Offset, item.DataType, item.Value, nobody, &why)) {
            Say(kNoValue);
            Say(QStringLiteral("Subclass %1, %2, item %3: %4")
                    .arg(subClass.Id)
                    .arg(NameOf(place), item.Name, why),
                true);
            return DataFlashResult::kNoValue;
        }
        out.Texts << item.Value;
    }
    for (const DataItem& item : subClass.Items)
        if (!read || item.Edited())
            DataTypeToByte(out.New, item.Offset, item.DataType, item.Value, nobody);
    return DataFlashResult::kOk;
}

/// What a preserving write keeps is what the gauge holds now, read just before it is written.
std::int32_t DataFlash::TakePreserved(SubClassTransfer& transfer, Outgoing& out)
{
    const SubClass& subClass = At(out.At);
    if (!Preserved(subClass.Id))
        return DataFlashResult::kOk;
    Bytes whole;
    if (const std::int32_t code = Fetch(transfer, out.At, whole); code != DataFlashResult::kOk) {
        m_lastReadAllOK = false;
        return code;
    }
    const auto end = whole.begin() + subClass.Length();
    out.Old.assign(whole.begin(), end);
    m_known[out.At].Tail.assign(end, whole.end());
    if (Contains(m_preserveWhole, subClass.Id)) {
        out.New = out.Old;
    } else {
        const PreserveSettings settings(m_links.profiles, m_links.state.TargetConfigPath);
        const std::vector<int> offsets = settings.GetDataOffsetsToPreserve(m_preserveSelection, subClass.Id);
        for (const DataItem& item : subClass.Items)
            if (std::ranges::find(offsets, item.Offset) != offsets.end())
                std::copy_n(out.Old.begin() + item.Offset, WidthOf(item.DataType).value_or(0),
                            out.New.begin() + item.Offset);
    }
    if (const QString problem = m_journal.Amend({subClass.Id, NameOf(out.At), out.Old, out.New});
        !problem.isEmpty()) {
        Say(problem);
        return DataFlashResult::kNoJournal;
    }
    return DataFlashResult::kOk;
}

std::int32_t DataFlash::Send(SubClassTransfer& transfer, const Outgoing& out)
{
    SubClass& subClass = At(out.At);
    const std::int32_t code
        = transfer.WriteSubClass_Style(subClass.Id, subClass.Length(), WithTail(transfer, out.At, out.New));
    if (code != DataFlashResult::kOk)
        return code;
    if (const QString problem = m_journal.Sent(subClass.Id); !problem.isEmpty())
        Say(problem, true); // only progress is lost: what was sent can be seen in the gauge
    subClass.Buffer = out.New;
    m_known[out.At].Read = true;
    const QStringList texts = Decoded(out.At, out.New);
    for (std::size_t i = 0; i < subClass.Items.size(); ++i) {
        DataItem& item = subClass.Items[i];
        const auto at = static_cast<qsizetype>(i);
        item.ReadValue = texts[at];
        if (item.Value == out.Texts[at]) // else it was edited while events ran
            item.Value = texts[at];
    }
    return code;
}

std::int32_t DataFlash::WriteDFSubClass(int classIndex, int subClassIndex)
{
    const Operation operation(*this, false);
    if (!operation)
        return Number(ErrorCode::UserCancelled);
    const SubClassPlace place{classIndex, subClassIndex};
    if (!Has(place))
        return Number(ErrorCode::IncorrectParam);
    SubClassTransfer transfer = MakeTransfer(m_style);
    std::int32_t code = DataFlashResult::kOk;
    if (!m_known[place].Read) { // else bytes that belong to no item would be overwritten
        Bytes whole;
        code = Fetch(transfer, place, whole);
        At(place).Buffer.assign(whole.begin(), whole.begin() + At(place).Length());
    }
    Outgoing out;
    if (code == DataFlashResult::kOk)
        code = Encode(place, out);
    if (code == DataFlashResult::kOk)
        code = BeginJournal({out});
    if (code == DataFlashResult::kOk)
        code = TakePreserved(transfer, out);
    if (code == DataFlashResult::kOk)
        code = Send(transfer, out);
    SayFaults(transfer);
    if (code == DataFlashResult::kOk)
        EndJournal({out});
    return code;
}

// ---- many ----

TransferReport DataFlash::WriteAll(bool verify)
{
    const Operation operation(*this);
    return operation ? GuardedWriteAll(verify) : AlreadyRunning();
}

TransferReport DataFlash::GuardedWriteAll(bool verify)
{
    if (m_lastReadAllOK)
        return Write(AllPlaces(), true, verify);
    m_links.messages.Show(kReadAllFirst); // before the bus is taken
    TransferReport report;
    report.Text = QStringLiteral("Nothing was written. ") + Read(AllPlaces(), true).Text;
    report.Result = DataFlashResult::kNotRead;
    return report;
}

TransferReport DataFlash::WriteChanged(bool verify) { return WriteSome(ChangedPlaces(), verify); }

TransferReport DataFlash::WriteSome(const std::vector<SubClassPlace>& places, bool verify)
{
    const Operation operation(*this);
    if (!operation)
        return AlreadyRunning();
    TransferReport report = ReportOf(places);
    for (TransferReport::Entry& entry : report.Entries) {
        if (m_known[{entry.Class, entry.SubClass}].Read)
            continue;
        Say(kNotAllRead);
        entry.What = TransferReport::Fate::Failed;
        report.Result = entry.Code = DataFlashResult::kNotRead;
        report.Text = Summary(report, QStringLiteral("Wrote"));
        return report;
    }
    if (!places.empty())
        return Write(places, false, verify);
    report.Verified = verify;
    report.Text = QStringLiteral("No value was edited; nothing was written.");
    return report;
}

TransferReport DataFlash::WritePreserve(int set, bool verify)
{
    const Operation operation(*this);
    if (!operation)
        return AlreadyRunning();
    const PreserveSettings settings(m_links.profiles, m_links.state.TargetConfigPath);
    const auto refused = [](std::int32_t code, bool cancelled, const QString& text) {
        TransferReport report;
        report.Result = code;
        report.Cancelled = cancelled;
        report.Text = text;
        return report;
    };
    QString problem = settings.Problem(set);
    const std::vector<std::uint16_t> whole = settings.GetSubClsIDArrToPreserve(set);
    const std::vector<std::uint16_t> partly = settings.GetSubClsIDArrContainingDataOffsetsToPreserve(set);
    for (const SubClassPlace place : AllPlaces())
        for (const int offset : settings.GetDataOffsetsToPreserve(set, At(place).Id))
            if (std::ranges::find(At(place).Items, offset, &DataItem::Offset) == At(place).Items.end())
                problem
                    = QStringLiteral("%1, section [DFWrPreserve%2]: no item of subclass %3 begins at offset "
                                     "%4, so it cannot be preserved. Nothing is written.")
                          .arg(m_links.state.TargetConfigPath)
                          .arg(set)
                          .arg(At(place).Id)
                          .arg(offset);
    if (!problem.isEmpty()) {
        Say(problem);
        return refused(Number(ErrorCode::IncorrectParam), false, problem);
    }
    if (whole.empty() && partly.empty()
        && m_links.messages.Ask(kNothingToPreserve, Answer::Yes | Answer::No | Answer::Cancel) != Answer::Yes)
        return refused(Number(ErrorCode::UserCancelled), true, QStringLiteral("Nothing was written."));
    m_preserveSelection = set;
    m_preserveWhole = whole;
    m_preservePartly = partly;
    TransferReport report = GuardedWriteAll(verify);
    m_preserveSelection = -1;
    m_preserveWhole.clear();
    m_preservePartly.clear();
    return report;
}

QStringList DataFlash::PreserveSets() const
{
    return PreserveSettings(m_links.profiles, m_links.state.TargetConfigPath).Names();
}

std::int32_t DataFlash::BeginJournal(const std::vector<Outgoing>& writes)
{
    JournalContent content;
    content.Pack = ReadPackIdentity(m_links.usb, m_links.state.TargetAddress);
    content.Begun = m_links.time.Now().toString(Qt::ISODateWithMs);
    content.LegacyString = m_tree.LegacyString;
    for (const Outgoing& out : writes)
        content.Entries.push_back({At(out.At).Id, NameOf(out.At), out.Old, out.New});
    const QString problem = m_journal.Begin(std::move(content));
    if (problem.isEmpty())
        return DataFlashResult::kOk;
    Say(QStringLiteral(
            "Nothing was written, because the journal that makes a write safe could not be saved. %1")
            .arg(problem));
    return DataFlashResult::kNoJournal;
}

void DataFlash::EndJournal(const std::vector<Outgoing>& writes)
{
    std::vector<std::uint16_t> ids;
    ids.reserve(writes.size());
    for (const Outgoing& out : writes)
        ids.push_back(At(out.At).Id);
    if (const QString problem = m_journal.End(ids); !problem.isEmpty())
        Say(problem);
}

TransferReport DataFlash::Write(const std::vector<SubClassPlace>& places, bool all, bool verify)
{
    TransferReport report = ReportOf(places);
    std::vector<Outgoing> writes(places.size());
    const auto ended = [&]() -> TransferReport {
        report.Cancelled = m_cancel;
        if (m_cancel && report.Result == 0)
            report.Result = Number(ErrorCode::UserCancelled);
        ProgressEnds();
        report.Text = Summary(report, QStringLiteral("Wrote"));
        const auto reached = [](const TransferReport::Entry& entry) {
            return entry.What == TransferReport::Fate::Failed
                || entry.What == TransferReport::Fate::NotVerified;
        };
        if (report.Result != 0 && !m_cancel && std::ranges::none_of(report.Entries, reached)) {
            report.Text.chop(1); // before the first or after the last subclass, so that none is named
            report.Text += QStringLiteral(": %1.").arg(CodeText(report.Result));
        }
        return report;
    };
    bool begun = false;
    {
        const BusSequence bus(m_links.access, kOwner);
        if (!bus)
            return Busy(std::move(report));
        for (std::size_t i = 0; i < places.size() && report.Result == 0; ++i)
            if (report.Result = Encode(places[i], writes[i]); report.Result != 0)
                Fail(report.Entries[i], report.Result);
        if (report.Result == 0 && !m_cancel)
            report.Result = BeginJournal(writes);
        begun = report.Result == 0 && !m_cancel;
        if (begun) {
            SubClassTransfer transfer = MakeTransfer(m_style);
            // The gauge may still have a subclass selected that is not to be written, and a selection that
            // gets lost would then hit it where no verify looks. In Write All it looks everywhere.
            Bytes ignored;
            if (const std::int32_t code = all ? 0 : Fetch(transfer, places.front(), ignored); code != 0) {
                report.Result = code;
                Fail(report.Entries.front(), code);
            }
            WalkWrites(transfer, writes, report);
            SayFaults(transfer);
        }
    }
    if (!begun)
        return ended();
    if (report.Result != Number(ErrorCode::NoUsb) && !Ping() && report.Result == 0 && !m_cancel)
        report.Result = Number(ErrorCode::Timeout);
    if (report.Result == 0 && verify && !m_cancel)
        Verify(writes, all, report);
    if (report.Result == 0 && !m_cancel)
        EndJournal(writes);
    return ended();
}

void DataFlash::Fail(TransferReport::Entry& entry, std::int32_t code)
{
    entry.What = TransferReport::Fate::Failed;
    entry.Code = code;
}

void DataFlash::WalkWrites(SubClassTransfer& transfer, std::vector<Outgoing>& writes, TransferReport& report)
{
    for (std::size_t i = 0; i < writes.size() && report.Result == 0; ++i) {
        Outgoing& out = writes[i];
        Progress(out.At, QStringLiteral("Writing"));
        if (m_cancel)
            return;
        std::int32_t code = TakePreserved(transfer, out);
        if (code == DataFlashResult::kOk)
            code = Send(transfer, out);
        if (code == Number(ErrorCode::UserCancelled))
            return; // while the bytes around it were read
        if (code == DataFlashResult::kOk) {
            report.Entries[i].What = TransferReport::Fate::Done;
            continue;
        }
        Fail(report.Entries[i], code);
        report.Result = code;
        SayFaults(transfer);
        Say(QStringLiteral("Error writing Data Flash, Code = %1").arg(code), true);
    }
}

/// Reads everything back as Read All does, so that the values that did not take show as changed, and compares
/// bytes. A read that differs is repeated before it is believed.
void DataFlash::Verify(const std::vector<Outgoing>& writes, bool all, TransferReport& report)
{
    const BusSequence bus(m_links.access, kOwner);
    m_lastReadAllOK = all || m_lastReadAllOK;
    SubClassTransfer transfer = MakeTransfer(m_style);
    std::int32_t result = bus ? 0 : Number(ErrorCode::BusBusy);
    for (std::size_t i = 0; i < writes.size() && bus; ++i) {
        TransferReport::Entry& entry = report.Entries[i];
        Progress(writes[i].At, QStringLiteral("Verifying"));
        const auto differs = [&](const Bytes& whole) {
            return !std::equal(writes[i].New.begin(), writes[i].New.end(), whole.begin());
        };
        Bytes whole;
        entry.Code = m_cancel ? Number(ErrorCode::UserCancelled) : Fetch(transfer, writes[i].At, whole);
        if (entry.Code == 0 && differs(whole))
            entry.Code = Fetch(transfer, writes[i].At, whole);
        if (entry.Code == 0) {
            for (std::size_t at = 0; at < writes[i].New.size(); ++at)
                if (whole[at] != writes[i].New[at])
                    entry.Offsets.push_back(static_cast<int>(at));
            Take(writes[i].At, whole);
            if (!entry.Offsets.empty())
                entry.Code = Number(ErrorCode::CompareDifferent);
        } else {
            m_known[writes[i].At].Read = false;
            m_lastReadAllOK = false;
            if (entry.Code != Number(ErrorCode::UserCancelled)) {
                SayFaults(transfer);
                SayReadError(writes[i].At, entry.Code);
            }
        }
        if (entry.Code != 0) {
            entry.What = TransferReport::Fate::NotVerified;
            result = result == 0 ? entry.Code : result;
        }
    }
    if (!bus)
        Say(kBusy, ExclusiveAccess::HeldBelow());
    report.Verified = result == 0;
    report.Result = result;
}

void DataFlash::WaitforPacketsToBeSent()
{
    if (const Operation operation(*this); operation)
        (void)Ping();
}

bool DataFlash::Ping()
{
    const BusSequence bus(m_links.access, kOwner);
    if (!bus) {
        (void)Busy({});
        return false;
    }
    const std::int64_t end = m_links.time.MonotonicMs() + kPingForMs;
    for (;;) {
        std::int16_t major = 0;
        std::int16_t minor = 0;
        ErrorCode err = ErrorCode::Ok;
        m_links.usb.GetHX5100Version(major, minor, err);
        if (!Failed(err) || err == ErrorCode::IncorrectParam) // a bus without a version of its own answers so
            m_links.usb.CheckForError(err);
        if (!Failed(err))
            return true;
        if (m_cancel)
            return false;
        if (m_links.time.MonotonicMs() >= end) {
            Say(kNoPing);
            return false;
        }
        WaitMs(m_links.time, kPingEveryMs);
    }
}

// ---- plans ----

WritePlan DataFlash::PlanAll() const { return Plan(AllPlaces(), true); }

WritePlan DataFlash::PlanChanged() const { return Plan(ChangedPlaces(), false); }

WritePlan DataFlash::Plan(const std::vector<SubClassPlace>& places, bool all) const
{
    const SubClassTransfer transfer(m_links.usb, SetupOf(m_style));
    const double hertz = m_links.usb.Facts().BusHertz;
    WritePlan plan;
    double microseconds = 0;
    for (const SubClassPlace place : places) {
        const SubClass& subClass = At(place);
        const int bytes = transfer.SentBytes(subClass.Id, subClass.Length());
        plan.Entries.push_back({place.Class, place.SubClass,
                                static_cast<int>(std::ranges::count_if(subClass.Items, &DataItem::Edited)),
                                bytes});
        plan.Bytes += bytes;
        const double read = transfer.ReadMicroseconds(subClass.Id, subClass.Length(), hertz);
        microseconds += transfer.WriteMicroseconds(subClass.Id, subClass.Length(), hertz) + read;
        if (!all && plan.Entries.size() == 1)
            microseconds += read;
    }
    plan.Seconds = microseconds / 1e6;
    return plan;
}
