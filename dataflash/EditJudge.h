#pragma once

#include "dataflash/DataFlashModel.h"

#include <QString>

/// What becomes of a text that somebody types over a value.
struct EditVerdict {
    QString Native; ///< the text that would be kept
    QString Problem; ///< empty, or why it is refused, in plain words
    bool RangeOnly = false; ///< only the configuration's limits stand against it; it may be used anyway
    [[nodiscard]] bool Ok() const { return Problem.isEmpty(); }
};

/// @param typed  as the item is shown; the text that is shown already gives the value as it stands
[[nodiscard]] EditVerdict JudgeEdit(const DataItem& item, const QString& typed);

/// A native text as a person sees it; one that the item's formulas cannot show comes as it stands.
[[nodiscard]] QString Shown(const DataItem& item, const QString& native);
/// The same with the item's unit behind it.
[[nodiscard]] QString ShownWithUnit(const DataItem& item, const QString& native);

/// Whether the item has a value and a default, and they are not the same one.
[[nodiscard]] bool DiffersFromDefault(const DataItem& item);
