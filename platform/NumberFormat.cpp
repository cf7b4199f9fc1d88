#include "platform/NumberFormat.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>

namespace {

QString WithoutMinusZero(QString text)
{
    if (text == u"-0")
        text = QStringLiteral("0");
    return text;
}

QString RoundedText(double value) { return WithoutMinusZero(QString::number(std::nearbyint(value), 'f', 0)); }

/// Formats d and u: "d.00" puts a point before the last two digits.
QString WithPoint(double value, QStringView format)
{
    const qsizetype point = format.indexOf(u'.');
    if (point < 0)
        return NumberAsItIs(value);
    return InsertDecimalPoint(RoundedText(value), static_cast<int>(format.size() - point - 1));
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
        return {{}, {}, QStringLiteral("%1 is too large for hexadecimal").arg(NumberAsItIs(value))};
    if (format.front() == u'h') // as many digits as the format has characters: padded, or cut from the left
        return {Hex(*bits).rightJustified(format.size(), u'0').right(format.size()), {}, {}};

    const qsizetype bar = format.indexOf(u'|');
    bool ok = false;
    const std::uint64_t mask = format.mid(1, bar < 0 ? -1 : bar - 1).toULongLong(&ok, 16);
    return ok ? Formatted{Hex(*bits & mask), {}, {}} : UnknownFormat();
}

} // namespace

QString NumberAsItIs(double value)
{
    constexpr int kDigits = 15;
    constexpr int kMostDecimals = 40;
    if (value == 0 || value == std::floor(value))
        return PlainNumber(value, 0);
    const int before = static_cast<int>(std::floor(std::log10(std::abs(value)))) + 1;
    return PlainNumber(value, std::clamp(kDigits - before, 0, kMostDecimals));
}

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

QString InsertDecimalPoint(const QString& digits, int decimals)
{
    const bool negative = digits.startsWith(u'-');
    QString text = digits.mid(negative ? 1 : 0).rightJustified(qsizetype{decimals} + 1, u'0');
    text.insert(text.size() - decimals, u'.');
    return negative ? u'-' + text : text;
}

QString RemoveDecimalPoint(const QString& text, int decimals)
{
    const bool negative = text.startsWith(u'-');
    const QString number = text.mid(negative ? 1 : 0);
    const qsizetype point = number.indexOf(u'.');
    const QString before = point < 0 ? number : number.left(point);
    const QString behind = point < 0 ? QString() : number.mid(point + 1);
    QString digits = before + behind.left(decimals).leftJustified(decimals, u'0');
    qsizetype zeros = 0;
    while (zeros < digits.size() - 1 && digits.at(zeros) == u'0')
        ++zeros;
    digits.remove(0, zeros);
    if (behind.size() > decimals)
        digits += u'.' + behind.mid(decimals);
    return negative ? u'-' + digits : digits;
}

QString SubstituteX(QStringView formula, QStringView text)
{
    QString expression;
    expression.reserve(formula.size() + text.size());
    for (const QChar character : formula) {
        if (character == u'x' || character == u'X')
            expression += text;
        else
            expression += character;
    }
    return expression;
}

bool LeavesUnchanged(QStringView formula)
{
    return formula == u"x" || formula == u"X" || formula.trimmed().isEmpty();
}

Evaluated EvaluateWithX(const QString& formula, QStringView x)
{
    Evaluated evaluated = Evaluate(SubstituteX(formula, x));
    if (!evaluated.Ok())
        evaluated.error = QStringLiteral("\"%1\" with x = %2: %3 (column %4)")
                              .arg(formula.left(80), x.toString(), evaluated.error)
                              .arg(evaluated.column);
    return evaluated;
}

Formatted FormatNumber(double value, bool isByte, const QString& displayFormat)
{
    const QStringView format = QStringView(displayFormat).trimmed();
    switch (format.isEmpty() ? 0 : format.front().unicode()) {
    case u'd':
        return {WithPoint(isByte && value > 127 ? value - 256 : value, format), {}, {}};
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
