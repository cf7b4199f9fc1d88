#pragma once

#include "dataflash/DataFlashModel.h"

#include <QString>

/// An item in words, for the pane beside the grid and for tooltips.
struct ItemFacts {
    QString InTheGauge;
    QString OnScreen;
    QString Default;
    QString Range;
    QString Type; ///< with the offset
    QString Bytes; ///< as read, and as they would be written when that differs
    QString Formula;
};

[[nodiscard]] ItemFacts FactsOf(const SubClass& subClass, const DataItem& item);
/// Offset, type and bytes in two short lines.
[[nodiscard]] QString ItemToolTip(const SubClass& subClass, const DataItem& item);

/// Which way the values of a read went, by comparison with the ones before it.
class ReadTrends {
public:
    void NoteBefore(const DataFlashTree& tree);
    [[nodiscard]] bool Rose(const DataFlashTree& tree, const ItemPlace& place) const;

private:
    DataFlashTree m_before; ///< empty: nothing noted
};
