#pragma once

#include "platform/Evaluator.h"

#include <QString>
#include <QStringView>

/// A number as a person reads it, or why there is no text.
struct Formatted {
    QString text;
    QString message; ///< the fixed text of a bad display format; text is then empty
    QString error; ///< plain words when the number does not fit the format; text is then empty
};

/// The text with every x and X replaced, as it is handed to the evaluator: the replacement is textual, so
/// "2-x" with -5 becomes "2--5".
[[nodiscard]] QString SubstituteX(QStringView formula, QStringView text);

/// Whether a formula is "x", "X" or empty.
[[nodiscard]] bool LeavesUnchanged(QStringView formula);

/// Evaluates a formula for a text in the place of x. The error names both.
[[nodiscard]] Evaluated EvaluateWithX(const QString& formula, QStringView x);

/// Formats by the first letter of the display format: d, u, h, b or f; docs/tables.md has the rules.
/// @param isByte  an unchanged 8-bit value: format "d" shows it signed
[[nodiscard]] Formatted FormatNumber(double value, bool isByte, const QString& displayFormat);

/// A number without exponent below 1e15, "." as the decimal point, never "-0".
[[nodiscard]] QString PlainNumber(double value, int mostDecimals);

/// 15 significant digits, which hides the noise of binary fractions and keeps everything a gauge can say.
[[nodiscard]] QString NumberAsItIs(double value);

/// The number's digits, a "-" in front or not, with a point before the last `decimals`.
[[nodiscard]] QString InsertDecimalPoint(const QString& digits, int decimals);
/// The point of a plain decimal number moved `decimals` places to the right: "12.3" with 2 is "1230", and
/// "0.125" is "12.5".
[[nodiscard]] QString RemoveDecimalPoint(const QString& text, int decimals);
