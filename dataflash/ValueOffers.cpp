#include "dataflash/ValueOffers.h"

#include <QCoreApplication>

#include <algorithm>

namespace {

QString Tr(const char* text) { return QCoreApplication::translate("ValueOffers", text); }

} // namespace

int ValueOffers::Ticked() const
{
    return static_cast<int>(
        std::ranges::count_if(Offers, [](const Offer& offer) { return offer.CanTake && offer.Ticked; }));
}

std::vector<EditHistory::Value> ValueOffers::Taken() const
{
    std::vector<EditHistory::Value> values;
    for (const Offer& offer : Offers)
        if (offer.CanTake && offer.Ticked)
            values.push_back({offer.Place, offer.Theirs});
    return values;
}

ValueOffers OffersOf(const GgImport& import, const DataFlashTree& tree, const QString& title,
                     const QString& source)
{
    ValueOffers offers;
    offers.Title = title;
    offers.Source = source;
    const auto beyond = [&import](const ItemPlace& place) {
        return std::ranges::any_of(import.OutOfRange,
                                   [&](const GgImport::Entry& entry) { return entry.Place == place; });
    };
    for (const GgImport::Entry& entry : import.Changed)
        offers.Offers.push_back({entry.Place, entry.Old, entry.New, entry.Note, true, !beyond(entry.Place)});
    for (const GgImport::Entry& entry : import.Refused)
        offers.Offers.push_back({entry.Place, entry.Old, entry.New, entry.Note, false, false});
    std::ranges::stable_sort(offers.Offers, {}, &ValueOffers::Offer::Place);

    offers.Summary = GgSummary(import);
    offers.Remarks = GgReport(import, tree).mid(1); // behind the summary
    return offers;
}

ValueOffers OffersOfDefaults(const DataFlashTree& tree, const QString& title, const QString& source)
{
    ValueOffers offers;
    offers.Title = title;
    offers.Source = source;
    const DataFlashDiff diff = Compare(tree, WithDefaults(tree));
    for (const DataFlashDiff::Entry& entry : diff.Entries) {
        const bool takes = !entry.B.isEmpty();
        offers.Offers.push_back(
            {entry.Place, entry.A, entry.B, takes ? QString() : Tr("has no default"), takes, takes});
    }
    offers.Summary = Tr("%1 differ, %2 are the same").arg(diff.Entries.size()).arg(diff.Same);
    if (diff.Missing > 0)
        offers.Summary += Tr("; %1 of the differing ones have no value or no default").arg(diff.Missing);
    return offers;
}
