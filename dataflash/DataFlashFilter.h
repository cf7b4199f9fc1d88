#pragma once

#include "dataflash/DataFlashModel.h"

#include <QString>

#include <vector>

/// Which items the editor shows.
struct DataFlashFilter {
    /// Words, each found somewhere in the names of item, subclass and class, the unit or the subclass id, in
    /// either case of letters.
    QString Text;
    // items with at least one of the marks that are switched on
    bool Changed = false; ///< by the last read
    bool Edited = false;
    bool Differs = false; ///< from the default
    bool Private = false; ///< private items too

    [[nodiscard]] bool Narrows() const { return !Text.trimmed().isEmpty() || Changed || Edited || Differs; }
    [[nodiscard]] bool Passes(const DataFlashTree& tree, const ItemPlace& place) const;
};

struct MarkCounts {
    int Changed = 0;
    int Edited = 0;
    int Differs = 0;
};

/// How many items carry each mark.
struct MarkTally {
    MarkCounts All;
    std::vector<MarkCounts> Classes;
    int PrivateEdits = 0; ///< edited items that are not shown; they count nowhere else
};
[[nodiscard]] MarkTally CountMarks(const DataFlashTree& tree, bool withPrivate);
