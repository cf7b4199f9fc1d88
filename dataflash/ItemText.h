#pragma once

#include "dataflash/DataFlashModel.h"

#include <QString>

/// A text on its way between what the bytes decode to (native) and what a person sees (shown), or why it
/// cannot be converted.
struct ItemText {
    QString Text;
    QString Error; ///< empty, or plain words
    [[nodiscard]] bool Ok() const { return Error.isEmpty(); }
};

enum class TextDirection { NativeToShown, ShownToNative };

/// Native to shown: ReadFormula and DisplayFmt. Shown to native: WriteFormula, rounded half to even for
/// integer types. Strings pass unchanged; an empty text stays empty.
[[nodiscard]] ItemText ConvertDisplayNative(const DataItem& item, const QString& text,
                                            TextDirection direction);

/// The number's digits with a point before the last `decimals`; and the reverse.
[[nodiscard]] QString InsertDecimalPoint(const QString& digits, int decimals);
[[nodiscard]] QString RemoveDecimalPoint(const QString& text, int decimals);

/// Whether a native text has the form that the item's type and display format ask for.
/// @return empty, or plain words
[[nodiscard]] QString ValidateDataFormat(const DataItem& item, const QString& native);

/// Against MinVal and MaxVal. @return empty, or plain words with the limit as a person sees it
[[nodiscard]] QString CheckRange(const DataItem& item, const QString& native);
