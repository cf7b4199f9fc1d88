#pragma once

#include "dataflash/DataFlashModel.h"

#include <QString>

#include <vector>

/// Two sets of values for one layout.
struct DataFlashDiff {
    struct Entry {
        ItemPlace Place;
        QString A; ///< native text; empty: has none
        QString B;
    };
    std::vector<Entry> Entries; ///< differing items, and those without a value on one side or on both
    int Same = 0;
    int Missing = 0; ///< of Entries, without a value on one side or on both
    /// Nothing differs and nothing was left out.
    [[nodiscard]] bool Equal() const { return Entries.empty(); }
};

/// Values are the same when their bytes are. The trees come from one configuration; an item that only one of
/// them has counts as missing.
[[nodiscard]] DataFlashDiff Compare(const DataFlashTree& a, const DataFlashTree& b);

/// The tree with its default values as values.
[[nodiscard]] DataFlashTree WithDefaults(const DataFlashTree& tree);
