// A write that never ended: what its journal says, what the gauge holds, and the two ways out.

#include "dataflash/DataFlash.h"

#include "comm/BusSequence.h"

#include <algorithm>

namespace {

Bytes Room(const SubClassTransfer& transfer, const JournalContent::Entry& entry)
{
    return Bytes(static_cast<std::size_t>(transfer.Padded(static_cast<int>(entry.Old.size()))), 0xFF);
}

bool Holds(const Bytes& whole, const Bytes& image)
{
    return std::equal(image.begin(), image.end(), whole.begin());
}

/// @return 0 or the code of the read
std::int32_t ReadEntry(SubClassTransfer& transfer, const JournalContent::Entry& entry, Bytes& whole)
{
    whole = Room(transfer, entry);
    return transfer.ReadSubClass_Style(entry.Id, static_cast<int>(entry.Old.size()), whole);
}

} // namespace

std::optional<PackIdentity> DataFlash::ReadPack()
{
    const Operation operation(*this);
    if (!operation)
        return std::nullopt;
    const BusSequence bus(m_links.access, kOwner);
    if (!bus)
        return std::nullopt;
    return ReadPackIdentity(m_links.usb, m_links.state.TargetAddress);
}

std::optional<JournalContent> DataFlash::OpenJournal(QString* unclear)
{
    QStringList problems;
    const PackIdentity pack = ReadPackIdentity(m_links.usb, m_links.state.TargetAddress);
    std::optional<JournalContent> content = m_journal.Open(pack, problems);
    for (const QString& problem : problems)
        Say(problem);
    if (unclear && !pack.Known())
        *unclear = QStringLiteral("The pack on the bus does not say who it is.");
    else if (unclear)
        *unclear = problems.join(QLatin1Char('\n'));
    return content;
}

std::optional<PendingWrite> DataFlash::FindPendingWrite(QString* unclear)
{
    const auto unknown = [unclear](const QString& why) {
        if (unclear)
            *unclear = why;
        return std::nullopt;
    };
    const Operation operation(*this);
    if (!operation)
        return unknown(AlreadyRunning().Text);
    if (!m_journal.Any())
        return std::nullopt;
    const BusSequence bus(m_links.access, kOwner);
    if (!bus)
        return unknown(Busy({}).Text);
    const std::optional<JournalContent> content = OpenJournal(unclear);
    if (!content)
        return std::nullopt;
    PendingWrite pending;
    pending.Pack = content->Pack.Text();
    pending.Begun = content->Begun;
    QString problem;
    SubClassTransfer transfer = MakeTransfer(ParseLegacyString(content->LegacyString, problem));
    for (const JournalContent::Entry& entry : content->Entries) {
        PendingWrite::Entry found{entry.Id, entry.Name, PendingWrite::Now::Unreadable, entry.Sent};
        Bytes whole;
        std::int32_t code = m_cancel ? Number(ErrorCode::UserCancelled) : ReadEntry(transfer, entry, whole);
        if (code == 0 && !Holds(whole, entry.New) && !Holds(whole, entry.Old))
            code = ReadEntry(transfer, entry, whole); // before it is called torn
        if (code == 0)
            found.What = Holds(whole, entry.New) ? PendingWrite::Now::New
                : Holds(whole, entry.Old)        ? PendingWrite::Now::Old
                                                 : PendingWrite::Now::Torn;
        pending.Entries.push_back(found);
    }
    SayFaults(transfer);
    return pending;
}

TransferReport DataFlash::FinishPendingWrite()
{
    const Operation operation(*this);
    return operation ? Recover(true) : AlreadyRunning();
}

TransferReport DataFlash::RollBackPendingWrite()
{
    const Operation operation(*this);
    return operation ? Recover(false) : AlreadyRunning();
}

bool DataFlash::ForgetPendingWrite()
{
    const Operation operation(*this);
    if (!operation)
        return false;
    const BusSequence bus(m_links.access, kOwner);
    if (!bus) {
        (void)Busy({});
        return false;
    }
    if (!OpenJournal())
        return false;
    const QString problem = m_journal.Forget();
    if (!problem.isEmpty())
        Say(problem);
    return problem.isEmpty();
}

SubClassPlace DataFlash::PlaceOf(std::uint16_t id) const
{
    for (const SubClassPlace place : AllPlaces())
        if (At(place).Id == id)
            return place;
    return {-1, -1};
}

TransferReport DataFlash::Recover(bool finish)
{
    using Fate = TransferReport::Fate;
    TransferReport report;
    const BusSequence bus(m_links.access, kOwner);
    if (!bus)
        return Busy(std::move(report));
    const std::optional<JournalContent> content = OpenJournal(); // the pack may be another one by now
    if (!content) {
        report.Result = Number(ErrorCode::IncorrectParam);
        report.Text = QStringLiteral("There is no unfinished write to the pack on the bus.");
        return report;
    }
    m_lastReadAllOK = false;
    for (auto& [place, known] : m_known)
        known.Read = false;
    QString problem;
    SubClassTransfer transfer = MakeTransfer(ParseLegacyString(content->LegacyString, problem));
    for (const JournalContent::Entry& entry : content->Entries) {
        const SubClassPlace place = PlaceOf(entry.Id);
        report.Entries.push_back({place.Class, place.SubClass, Fate::NotReached});
    }
    const auto step = [&](std::size_t i, const QString& verb) {
        if (OnProgress)
            OnProgress(static_cast<int>(i), static_cast<int>(content->Entries.size()),
                       QStringLiteral("%1 %2").arg(verb, content->Entries[i].Name));
        return report.Result == 0 && !m_cancel;
    };
    const auto fail = [&](std::size_t i, Fate what, std::int32_t code) {
        report.Entries[i].What = what;
        report.Entries[i].Code = report.Result = code;
        report.Text += QStringLiteral(" Subclass %1, %2: %3.")
                           .arg(content->Entries[i].Id)
                           .arg(content->Entries[i].Name,
                                ErrorCodeToText(static_cast<ErrorCode>(static_cast<std::int16_t>(code))));
    };
    for (std::size_t i = 0; i < content->Entries.size() && step(i, QStringLiteral("Writing")); ++i) {
        const JournalContent::Entry& entry = content->Entries[i];
        const Bytes& wanted = finish ? entry.New : entry.Old;
        Bytes whole;
        std::int32_t code = ReadEntry(transfer, entry, whole); // also for what lies behind its end
        if (code == 0 && !Holds(whole, wanted)) {
            std::ranges::copy(wanted, whole.begin());
            code = transfer.WriteSubClass_Style(entry.Id, static_cast<int>(wanted.size()), whole);
        }
        if (code == 0)
            report.Entries[i].What = Fate::Done;
        else if (code != Number(ErrorCode::UserCancelled))
            fail(i, Fate::Failed, code);
    }
    for (std::size_t i = 0; i < content->Entries.size() && step(i, QStringLiteral("Verifying")); ++i) {
        const JournalContent::Entry& entry = content->Entries[i];
        const Bytes& wanted = finish ? entry.New : entry.Old;
        Bytes whole;
        std::int32_t code = ReadEntry(transfer, entry, whole);
        if (code == 0 && !Holds(whole, wanted))
            code = ReadEntry(transfer, entry, whole);
        if (code != 0) {
            fail(i, Fate::NotVerified, code);
            continue;
        }
        for (std::size_t at = 0; at < wanted.size(); ++at)
            if (whole[at] != wanted[at])
                report.Entries[i].Offsets.push_back(static_cast<int>(at));
        if (!report.Entries[i].Offsets.empty())
            fail(i, Fate::NotVerified, Number(ErrorCode::CompareDifferent));
    }
    SayFaults(transfer);
    report.Cancelled = m_cancel;
    if (m_cancel && report.Result == 0)
        report.Result = Number(ErrorCode::UserCancelled);
    report.Verified = report.Result == 0;
    ProgressEnds();
    const auto done = std::ranges::count(report.Entries, Fate::Done, &TransferReport::Entry::What);
    report.Text = QStringLiteral("%1 %2 of %3 subclasses.%4")
                      .arg(finish ? QStringLiteral("Finished") : QStringLiteral("Rolled back"))
                      .arg(done)
                      .arg(report.Entries.size())
                      .arg(report.Text);
    if (report.Verified)
        if (const QString left = m_journal.Forget(); !left.isEmpty())
            Say(left);
    return report;
}
