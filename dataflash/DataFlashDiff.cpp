#include "dataflash/DataFlashDiff.h"

#include "dataflash/EachItem.h"
#include "dataflash/ItemBytes.h"

namespace {

bool Has(const DataFlashTree& tree, const ItemPlace& at)
{
    const auto within = [](int index, const auto& list) { return index < static_cast<int>(list.size()); };
    return within(at.Class, tree.Classes)
        && within(at.SubClass, tree.Classes[static_cast<std::size_t>(at.Class)].SubClasses)
        && within(at.Item,
                  tree.Classes[static_cast<std::size_t>(at.Class)]
                      .SubClasses[static_cast<std::size_t>(at.SubClass)]
                      .Items);
}

} // namespace

DataFlashDiff Compare(const DataFlashTree& a, const DataFlashTree& b)
{
    DataFlashDiff diff;
    ForEachItem(a, [&](const ItemPlace& at, const DataClass&, const SubClass&, const DataItem& item) {
        const bool inBoth = Has(b, at);
        const QString other = inBoth ? ItemAt(b, at).Value : QString();
        const bool missing = !inBoth || !HasValue(item, item.Value) || !HasValue(item, other);
        if (!missing && (item.Value == other || SameBytes(item, item.Value, other))) {
            ++diff.Same;
            return;
        }
        diff.Entries.push_back({at, item.Value, other});
        diff.Missing += missing ? 1 : 0;
    });
    return diff;
}

DataFlashTree WithDefaults(const DataFlashTree& tree)
{
    DataFlashTree defaults = tree;
    ForEachItem(defaults, [](const ItemPlace&, const DataClass&, const SubClass&, DataItem& item) {
        item.Value = item.DefValue;
    });
    return defaults;
}
