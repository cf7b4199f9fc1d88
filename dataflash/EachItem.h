#pragma once

#include "dataflash/DataFlashModel.h"

#include <type_traits>

/// Calls use(place, class, subclass, item) for every item in configuration order; const follows the tree.
template <typename Tree, typename Use>
void ForEachItem(Tree& tree, Use use)
{
    static_assert(std::is_same_v<std::remove_const_t<Tree>, DataFlashTree>);
    for (ItemPlace at{}; at.Class < static_cast<int>(tree.Classes.size()); ++at.Class) {
        auto& dataClass = tree.Classes[static_cast<std::size_t>(at.Class)];
        for (at.SubClass = 0; at.SubClass < static_cast<int>(dataClass.SubClasses.size()); ++at.SubClass) {
            auto& subClass = dataClass.SubClasses[static_cast<std::size_t>(at.SubClass)];
            for (at.Item = 0; at.Item < static_cast<int>(subClass.Items.size()); ++at.Item)
                use(at, dataClass, subClass, subClass.Items[static_cast<std::size_t>(at.Item)]);
        }
    }
}

/// The item at a place that the tree has.
template <typename Tree>
auto& ItemAt(Tree& tree, const ItemPlace& at)
{
    static_assert(std::is_same_v<std::remove_const_t<Tree>, DataFlashTree>);
    return tree.Classes[static_cast<std::size_t>(at.Class)]
        .SubClasses[static_cast<std::size_t>(at.SubClass)]
        .Items[static_cast<std::size_t>(at.Item)];
}
