#include "dataflash/DataFlashFilter.h"

#include "dataflash/EachItem.h"
#include "dataflash/EditJudge.h"

#include <QStringList>

#include <algorithm>

bool DataFlashFilter::Passes(const DataFlashTree& tree, const ItemPlace& place) const
{
    const DataItem& item = ItemAt(tree, place);
    if (item.Private && !Private)
        return false;
    if ((Changed || Edited || Differs)
        && !((Changed && item.ChangedFlag) || (Edited && item.Edited())
             || (Differs && DiffersFromDefault(item))))
        return false;
    const QStringList words = Text.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (words.isEmpty())
        return true;
    const DataClass& dataClass = tree.Classes[static_cast<std::size_t>(place.Class)];
    const SubClass& subClass = dataClass.SubClasses[static_cast<std::size_t>(place.SubClass)];
    const QString where
        = QStringList{item.Name,     item.FullName, item.Units, subClass.Name, QString::number(subClass.Id),
                      dataClass.Name}
              .join(QLatin1Char('\n'));
    return std::ranges::all_of(
        words, [&](const QString& word) { return where.contains(word, Qt::CaseInsensitive); });
}

MarkTally CountMarks(const DataFlashTree& tree, bool withPrivate)
{
    MarkTally tally;
    tally.Classes.resize(tree.Classes.size());
    ForEachItem(tree, [&](const ItemPlace& place, const DataClass&, const SubClass&, const DataItem& item) {
        if (item.Private && !withPrivate) {
            tally.PrivateEdits += item.Edited();
            return;
        }
        for (MarkCounts* counts : {&tally.All, &tally.Classes[static_cast<std::size_t>(place.Class)]}) {
            counts->Changed += item.ChangedFlag;
            counts->Edited += item.Edited();
            counts->Differs += DiffersFromDefault(item);
        }
    });
    return tally;
}
