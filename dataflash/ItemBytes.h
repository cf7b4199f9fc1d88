#pragma once

#include "dataflash/DataFlashModel.h"

#include <optional>

/// The bytes that a native text stands for, as long as the item's type.
/// @param why  in plain words when there are none; may be null
[[nodiscard]] std::optional<Bytes> BytesOf(const DataItem& item, const QString& native,
                                           QString* why = nullptr);

/// Whether a text of the item is a value. An empty one is that of a string alone, and only once it was read:
/// an unknown value is a null text.
[[nodiscard]] bool HasValue(const DataItem& item, const QString& native);

/// The same bytes, however they are written: "7" and "007", "ff" and "0xFF". A text without bytes is the same
/// as nothing else.
[[nodiscard]] bool SameBytes(const DataItem& item, const QString& a, const QString& b);

/// The native text of the item's bytes in a subclass; empty when they are past its end.
[[nodiscard]] QString TextOf(const DataItem& item, const Bytes& subClass);
