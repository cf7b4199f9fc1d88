#include "sbs/Conversion.h"

#include "platform/Evaluator.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace {

constexpr int kMostTyped = 256; ///< a factor can repeat the typed text many times

bool LeavesUnchanged(QStringView factor)
{
    return factor == u"x" || factor == u"X" || factor.trimmed().isEmpty();
}

QString EvaluationError(const QString& factor, QStringView x, const Evaluated& evaluated)
{
    return QStringLiteral("factor \"%1\" with x = %2: %3 (column %4)")
        .arg(factor.left(80), x.toString(), evaluated.error)
        .arg(evaluated.column);
}

QString WithoutMinusZero(QString text)
{
    if (text == u"-0")
        text = QStringLiteral("0");
    return text;
}

/// 15 significant digits, which hides the noise of binary fractions and keeps everything a gauge can say.
QString AsItIs(double value)
{
    constexpr int kDigits = 15;
    constexpr int kMostDecimals = 40;
    if (value == 0 || value == std::floor(value))
        return PlainNumber(value, 0);
    const int before = static_cast<int>(std::floor(std::log10(std::abs(value)))) + 1;
    return PlainNumber(value, std::clamp(kDigits - before, 0, kMostDecimals));
}

QString RoundedText(double value) { return WithoutMinusZero(QString::number(std::nearbyint(value), 'f', 0)); }

/// Formats d and u: "d.00" puts a point before the last two digits.
QString WithPoint(double value, QStringView format)
{
    const qsizetype point = format.indexOf(u'.');
    if (point < 0)
        return AsItIs(value);
    const qsizetype decimals = format.size() - point - 1;
    QString digits = RoundedText(value);
    const bool negative = digits.startsWith(u'-');
    digits = digits.mid(negative ? 1 : 0).rightJustified(decimals + 1, u'0');
    digits.insert(digits.size() - decimals, u'.');
    return negative ? u'-' + digits : digits;
}

/// The number as bits: a negative one in the narrowest of 16, 32 or 64 bits that holds it.
std::optional<std::uint64_t> BitPattern(double value)
{
    const double rounded = std::nearbyint(value);
    if (rounded >= 0x1p64 || rounded < -0x1p63)
        return std::nullopt;
    if (rounded >= 0)
        return static_cast<std::uint64_t>(rounded);
    const auto bits = static_cast<std::uint64_t>(static_cast<std::int64_t>(rounded));
    if (rounded >= -0x1p15)
        return bits & 0xFFFF;
    return rounded >= -0x1p31 ? bits & 0xFFFF'FFFF : bits;
}

QString Hex(std::uint64_t bits) { return QString::number(bits, 16).toUpper(); }

Formatted UnknownFormat() { return {{}, QStringLiteral("Error: Unknown display format encountered!"), {}}; }

Formatted Unsigned(double value, QStringView format)
{
    const bool whole = format.contains(u'.') || value == std::floor(value);
    if (whole)
        value = std::nearbyint(value);
    if (whole && value < 0 && value >= -0x1p15)
        value += 0x1p16; // (v and 32767) + 32768
    return {WithPoint(value, format), {}, {}};
}

Formatted InBits(double value, QStringView format)
{
    const std::optional<std::uint64_t> bits = BitPattern(value);
    if (!bits)
        return {{}, {}, QStringLiteral("%1 is too large for hexadecimal").arg(AsItIs(value))};
    if (format.front() == u'h') // as many digits as the format has characters: padded, or cut from the left
        return {Hex(*bits).rightJustified(format.size(), u'0').right(format.size()), {}, {}};

    const qsizetype bar = format.indexOf(u'|');
    bool ok = false;
    const std::uint64_t mask = format.mid(1, bar < 0 ? -1 : bar - 1).toULongLong(&ok, 16);
    return ok ? Formatted{Hex(*bits & mask), {}, {}} : UnknownFormat();
}

} // namespace

QString PlainNumber(double value, int mostDecimals)
{
    if (std::abs(value) >= 1e15)
        return QString::number(value, 'g', 15);
    if (value == std::floor(value))
        return QString::number(static_cast<qlonglong>(value));
    QString text = QString::number(value, 'f', mostDecimals);
    if (text.contains(u'.')) {
        qsizetype end = text.size();
        while (text.at(end - 1) == u'0')
            --end;
        if (text.at(end - 1) == u'.')
            --end;
        text.truncate(end);
    }
    return WithoutMinusZero(text);
}

QString SubstituteX(QStringView factor, QStringView text)
{
    QString expression;
    expression.reserve(factor.size() + text.size());
    for (const QChar character : factor) {
        if (character == u'x' || character == u'X')
            expression += text;
        else
            expression += character;
    }
    return expression;
}

Converted ApplyFactor(RawValue raw, ReadStyle style, const QString& factor)
{
    if (LeavesUnchanged(factor))
        return {static_cast<double>(raw), IsByteStyle(style), {}};
    const QString x = QString::number(raw);
    const Evaluated evaluated = Evaluate(SubstituteX(factor, x));
    if (!evaluated.Ok())
        return {0, false, EvaluationError(factor, x, evaluated)};
    return {evaluated.value, false, {}};
}

Formatted FormatValue(const Converted& converted, const QString& displayFormat)
{
    const QStringView format = QStringView(displayFormat).trimmed();
    const double value = converted.value;
    switch (format.isEmpty() ? 0 : format.front().unicode()) {
    case u'd':
        return {WithPoint(converted.isByte && value > 127 ? value - 256 : value, format), {}, {}};
    case u'u':
        return Unsigned(value, format);
    case u'h':
    case u'b':
        return InBits(value, format);
    case u'f':
        return {PlainNumber(value, 6), {}, {}};
    default:
        return UnknownFormat();
    }
}

WriteWord ConvertForWrite(const QString& typed, const QString& factor)
{
    const QString text = typed.trimmed();
    if (text.isEmpty())
        return {0, QStringLiteral("nothing was typed")};
    if (text.size() > kMostTyped)
        return {0, QStringLiteral("the text is longer than %1 characters").arg(kMostTyped)};
    const QString effective = LeavesUnchanged(factor) ? QStringLiteral("x") : factor;
    const Evaluated evaluated = Evaluate(SubstituteX(effective, text));
    if (!evaluated.Ok())
        return {0, EvaluationError(effective, text, evaluated)};
    const double rounded = std::nearbyint(evaluated.value);
    if (rounded < -32768 || rounded > 65535)
        return {0, QStringLiteral("%1 is outside -32768 to 65535").arg(AsItIs(evaluated.value))};
    return {static_cast<RawValue>(rounded), {}};
}
