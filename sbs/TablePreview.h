#pragma once

#include "sbs/Conversion.h"
#include "sbs/FlagView.h"

#include <QString>
#include <QStringList>

#include <optional>

/// A raw value as a person types it: decimal, or hexadecimal behind "0x" or "&H".
struct TypedRaw {
    std::optional<RawValue> Raw; ///< as a read of the style gives it: a word signed, a byte 0 to 255
    QString Problem; ///< why there is none
};
[[nodiscard]] TypedRaw ParseRaw(const QString& text, ReadStyle style);

/// What the register view would show of a raw value, and how it comes about.
struct RegisterPreview {
    QString Shown; ///< empty where the row gives no text
    QString Unit;
    QString Problem; ///< why there is no text, or why writing does not undo reading
    QStringList Steps; ///< factor, format, way back, log; one short line each
};
/// @param cells  of a row of the register table
[[nodiscard]] RegisterPreview PreviewRegister(const QStringList& cells, RawValue raw);

/// The line of bits that the register view would show.
/// @param cells  of a row of the flags table
[[nodiscard]] FlagLine PreviewFlag(const QStringList& cells, std::optional<RawValue> raw);
