#pragma once

#include "dataflash/DataFlashModel.h"
#include "platform/NumberFormat.h"

#include <QString>

/// A text on its way between what the bytes decode to (native) and what a person sees (shown), or why it
/// cannot be converted.
struct ItemText {
    QString Text;
    QString Error; ///< empty, or plain words
    [[nodiscard]] bool Ok() const { return Error.isEmpty(); }
};

enum class TextDirection { NativeToShown, ShownToNative };

/// Native to shown: ReadFormula and DisplayFmt; without a formula and a format the native text itself,
/// without a format at most 6 decimals. Shown to native: the format's point taken out, WriteFormula, rounded
/// half to even for integer types and to 6 decimals for floats, refused outside the type's range. Strings
/// pass unchanged; an empty text stays empty.
[[nodiscard]] ItemText ConvertDisplayNative(const DataItem& item, const QString& text,
                                            TextDirection direction);

/// A native text in the one spelling that its bytes decode to: "0x1f" of an H2 is "001F", "+5.0" is "5".
/// Numbers beyond the type's range and floats beyond their format's are refused.
[[nodiscard]] ItemText NormalNative(const DataItem& item, const QString& native);

/// Whether a native text has the form that the item's type asks for.
/// @return empty, or plain words
[[nodiscard]] QString ValidateDataFormat(const DataItem& item, const QString& native);

/// Against MinVal and MaxVal; a text that is no number is inside.
/// @return empty, or plain words with the limit as a person sees it
[[nodiscard]] QString CheckRange(const DataItem& item, const QString& native);
