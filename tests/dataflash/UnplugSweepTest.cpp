// Whatever happens to whichever transaction of a write: afterwards every subclass is as before, as wanted, or
// named as torn, and both ways out lead there.

#include "tests/dataflash/FlashBench.h"

#include "simulator/Random.h"

#include <set>

namespace {

constexpr std::array kKinds{Fault::AddressNack, Fault::DataNack,   Fault::Timeout,
                            Fault::Unplug,      Fault::LyingWrite, Fault::PartialWrite};

using Images = std::map<std::uint16_t, Bytes>;

Images ImagesOf(const FlashBench& bench)
{
    Images images;
    for (const GaugeFlash::Place& place : bench.adapter.Bench().Flash().Places())
        images[place.Id] = bench.Held(place.Id);
    return images;
}

/// All items of the subclasses, or of all, changed; what the gauge must hold afterwards.
struct Wanted {
    Images Old, New;
    std::int64_t First = 0; ///< transaction of the write
    std::int64_t Last = 0;
};

void ChangeSome(DataFlashTree& tree, const std::set<std::uint16_t>& ids)
{
    for (DataClass& dataClass : tree.Classes)
        for (SubClass& subClass : dataClass.SubClasses)
            for (DataItem& item : subClass.Items)
                if (ids.empty() || ids.contains(subClass.Id))
                    Change(item);
}

TransferReport WriteThem(DataFlash& flash, bool all)
{
    return all ? flash.WriteAll(true) : flash.WriteChanged(true);
}

/// The same write without a fault.
Wanted WithoutFault(const SimulatorSettings& settings, const std::set<std::uint16_t>& ids)
{
    FlashBench bench(settings);
    Wanted wanted;
    wanted.Old = ImagesOf(bench);
    EXPECT_EQ(bench.flash.ReadAllDF().Result, 0) << bench.said.join(u'\n').toStdString();
    ChangeSome(bench.flash.Tree(), ids);
    wanted.First = bench.adapter.Faults().Transactions() + 1;
    EXPECT_EQ(bench.flash.WriteAll(false).Result, 0) << bench.said.join(u'\n').toStdString();
    wanted.Last = bench.adapter.Faults().Transactions();
    EXPECT_TRUE(bench.journals.files.empty());
    wanted.New = ImagesOf(bench);
    return wanted;
}

/// What is silently wrong or wrongly told; empty when all is well.
std::string Flaw(SimulatorSettings settings, const Wanted& wanted, const std::set<std::uint16_t>& ids,
                 std::int64_t transaction, Fault kind, bool finish)
{
    settings.Faults.Scheduled = {{transaction, kind}};
    FlashBench bench(settings);
    if (bench.flash.ReadAllDF().Result != 0)
        return "the read before failed";
    ChangeSome(bench.flash.Tree(), ids);
    const TransferReport report = WriteThem(bench.flash, ids.empty());
    if (report.Result == 0)
        return report.Verified && ImagesOf(bench) == wanted.New ? "" : "SILENT: reported well and is not";
    if (report.Text.isEmpty() || bench.said.isEmpty() != (report.Result == 11))
        return "nothing was said";

    // the next start, with the cable plugged in again
    bench.program.usb.CloseDevice();
    FlashProgram next(bench.adapter, bench.time, bench.journals);
    const Images now = ImagesOf(bench);
    const std::optional<PendingWrite> pending = next.flash.FindPendingWrite();
    if (!pending)
        return now == wanted.Old ? "" : "no write is pending"; // the journal was not even begun
    for (const auto& [id, bytes] : now) {
        const auto entry = std::ranges::find(pending->Entries, id, &PendingWrite::Entry::Id);
        const auto truth = bytes == wanted.New.at(id) ? PendingWrite::Now::New
            : bytes == wanted.Old.at(id)              ? PendingWrite::Now::Old
                                                      : PendingWrite::Now::Torn;
        if (entry == pending->Entries.end() ? bytes != wanted.Old.at(id) : entry->What != truth)
            return "subclass " + std::to_string(id) + " is told wrongly";
    }
    const TransferReport after = finish ? next.flash.FinishPendingWrite() : next.flash.RollBackPendingWrite();
    if (after.Result != 0 || ImagesOf(bench) != (finish ? wanted.New : wanted.Old))
        return "neither finished nor rolled back";
    return bench.journals.files.empty() ? "" : "the journal stays";
}

} // namespace

// Every bus operation of a Write All of 64 pages x six kinds of fault. The short run takes a part of them.
TEST(UnplugSweep, LeavesOldNewOrNamedAsTorn)
{
    const SimulatorSettings settings{.Seed = 5};
    const Wanted wanted = WithoutFault(settings, {});
    EXPECT_GE(wanted.Last - wanted.First + 1, 128);
    for (const auto& [id, bytes] : wanted.New)
        EXPECT_NE(bytes, wanted.Old.at(id)) << "subclass " << id << " must change, or nothing is seen in it";
    const int step = LongTests() ? 1 : 17;
    int runs = 0;
    for (std::int64_t at = wanted.First * static_cast<std::int64_t>(kKinds.size());
         at <= wanted.Last * static_cast<std::int64_t>(kKinds.size()) + 5; at += step) {
        const std::int64_t transaction = at / static_cast<std::int64_t>(kKinds.size());
        const Fault kind = kKinds[static_cast<std::size_t>(at) % kKinds.size()];
        EXPECT_EQ(Flaw(settings, wanted, {}, transaction, kind, at % 2 == 0), "")
            << "fault " << static_cast<int>(kind) << " at transaction " << transaction;
        ++runs;
    }
    RecordProperty("runs", runs);
}

// Writes that are acknowledged and not done, whole or in part, with and without packet error check; Write All
// and single subclasses. A gauge without the check programs the part that it heard.
TEST(UnplugSweep, VerifyFindsEveryLie)
{
    const int cases = LongTests() ? 1000 : 100;
    Random random(77);
    std::map<bool, Wanted> all;
    for (const bool pec : {false, true})
        all[pec] = WithoutFault({.Seed = 6, .Pec = pec}, {});
    for (int i = 0; i < cases; ++i) {
        const SimulatorSettings settings{.Seed = 6, .Pec = random.Below(2) == 0};
        std::set<std::uint16_t> ids;
        if (random.Below(2) == 0)
            for (const int id : {16, 24, 34, 55})
                if (random.Below(2) == 0)
                    ids.insert(static_cast<std::uint16_t>(id));
        Wanted wanted = all[settings.Pec];
        if (!ids.empty()) {
            wanted.Last = wanted.First + 8 + 2 * 10; // identity, a read, and the pages of these
            for (auto& [id, bytes] : wanted.New)
                if (!ids.contains(id))
                    bytes = wanted.Old[id];
        }
        const std::int64_t at
            = wanted.First + random.Below(static_cast<std::uint32_t>(wanted.Last - wanted.First + 1));
        const Fault kind = random.Below(2) == 0 ? Fault::LyingWrite : Fault::PartialWrite;
        EXPECT_EQ(Flaw(settings, wanted, ids, at, kind, random.Below(2) == 0), "")
            << "case " << i << ", fault " << static_cast<int>(kind) << " at transaction " << at;
    }
}
