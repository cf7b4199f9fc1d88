#include "sbs/Conversion.h"

#include "platform/Evaluator.h"

#include <cmath>

namespace {

constexpr int kMostTyped = 256; ///< a factor can repeat the typed text many times

} // namespace

Converted ApplyFactor(RawValue raw, ReadStyle style, const QString& factor)
{
    if (LeavesUnchanged(factor))
        return {static_cast<double>(raw), IsByteStyle(style), {}};
    const Evaluated evaluated = EvaluateWithX(factor, QString::number(raw));
    if (!evaluated.Ok())
        return {0, false, QStringLiteral("factor ") + evaluated.error};
    return {evaluated.value, false, {}};
}

Formatted FormatValue(const Converted& converted, const QString& displayFormat)
{
    return FormatNumber(converted.value, converted.isByte, displayFormat);
}

WriteWord ConvertForWrite(const QString& typed, const QString& factor)
{
    const QString text = typed.trimmed();
    if (text.isEmpty())
        return {0, QStringLiteral("nothing was typed")};
    if (text.size() > kMostTyped)
        return {0, QStringLiteral("the text is longer than %1 characters").arg(kMostTyped)};
    const QString effective = LeavesUnchanged(factor) ? QStringLiteral("x") : factor;
    const Evaluated evaluated = EvaluateWithX(effective, text);
    if (!evaluated.Ok())
        return {0, QStringLiteral("factor ") + evaluated.error};
    const double rounded = std::nearbyint(evaluated.value);
    if (rounded < -32768 || rounded > 65535)
        return {0, QStringLiteral("%1 is outside -32768 to 65535").arg(NumberAsItIs(evaluated.value))};
    return {static_cast<RawValue>(rounded), {}};
}
