#pragma once

#include "sbs/ReadStyle.h"

#include <QString>
#include <QStringView>

#include <cstdint>

/// A register's raw value: a byte, or a word as a signed bit pattern; -32768..65535.
using RawValue = std::int32_t;

/// A converted number, or why there is none.
struct Converted {
    double value = 0;
    bool isByte = false; ///< an unchanged 8-bit value: format "d" shows it signed
    QString error; ///< empty, or plain words
    [[nodiscard]] bool Ok() const { return error.isEmpty(); }
};

/// A number as a person reads it, or why there is no text.
struct Formatted {
    QString text;
    QString message; ///< the fixed text of a bad display format; text is then empty
    QString error; ///< plain words when the number does not fit the format; text is then empty
};

/// The text with every x and X replaced, as it is handed to the evaluator: the replacement is textual, so
/// "2-x" with -5 becomes "2--5".
[[nodiscard]] QString SubstituteX(QStringView factor, QStringView text);

/// Converts a raw value by a register row's ReadFactor. "x", "X" and an empty factor leave it unchanged.
/// @param style  decides whether an unchanged value counts as a byte
[[nodiscard]] Converted ApplyFactor(RawValue raw, ReadStyle style, const QString& factor);

/// Formats by the first letter of the display format: d, u, h, b or f; docs/tables.md has the rules.
[[nodiscard]] Formatted FormatValue(const Converted& converted, const QString& displayFormat);

/// Converts a typed text by a register row's WriteFactor for a write: rounded half to even, refused outside
/// -32768..65535.
struct WriteWord {
    RawValue raw = 0;
    QString error; ///< empty, or plain words
};
[[nodiscard]] WriteWord ConvertForWrite(const QString& typed, const QString& factor);

/// A number without exponent below 1e15, "." as the decimal point, never "-0".
[[nodiscard]] QString PlainNumber(double value, int mostDecimals);
