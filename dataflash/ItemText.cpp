#include "dataflash/ItemText.h"

#include "dataflash/ValueEncoding.h"

#include <cmath>
#include <optional>

namespace {

constexpr int kMostDecimals = 6;
constexpr int kMostTyped = 256; ///< a formula can repeat the typed text many times

using Kind = DataTypeForm::Kind;

QChar FormatLetter(const DataItem& item)
{
    const QString format = item.DisplayFmt.trimmed();
    return format.isEmpty() ? QChar() : format.front();
}

/// Decimals of a format that puts a point into a whole number, such as d.00.
int PointPlaces(const DataItem& item)
{
    const QString format = item.DisplayFmt.trimmed();
    const qsizetype point = format.indexOf(u'.');
    const QChar letter = FormatLetter(item);
    return point < 0 || (letter != u'd' && letter != u'u') ? 0 : static_cast<int>(format.size() - point - 1);
}

/// Whether a person sees hexadecimal digits.
bool ShownAsHex(const DataItem& item, const DataTypeForm& type)
{
    const QChar letter = FormatLetter(item);
    return letter == u'h' || letter == u'b'
        || (letter.isNull() && type.What == Kind::Hex && LeavesUnchanged(item.ReadFormula));
}

ItemText Refusal(const QString& error) { return {{}, error}; }

ItemText UnknownType(const DataItem& item)
{
    return Refusal(QStringLiteral("there is no data type \"%1\"").arg(item.DataType.left(80)));
}

ItemText NoNumber(const QString& text, bool hexadecimal)
{
    return Refusal(QStringLiteral("\"%1\" is no %2number")
                       .arg(text.left(80), hexadecimal ? QStringLiteral("hexadecimal ") : QString()));
}

/// Empty, or why a number cannot be a float of the gauge.
QString FloatMisfit(double number)
{
    if (std::abs(number) >= kXemicsLimit)
        return QStringLiteral("the number is too large: its magnitude must stay below 1.7014e38");
    if (number != 0 && NativeText({Kind::Float, 4}, number) == u"0")
        return QStringLiteral("the number is too small: it would read back as 0");
    return {};
}

ItemText ToShown(const DataItem& item, const DataTypeForm& type, const QString& native)
{
    const std::optional<double> number = NativeNumber(type, native);
    if (!number)
        return NoNumber(native, type.What == Kind::Hex);
    const bool unchanged = LeavesUnchanged(item.ReadFormula);
    const QString format = item.DisplayFmt.trimmed();
    if (unchanged && format.isEmpty())
        return {native.trimmed(), {}};
    double value = *number;
    if (!unchanged) {
        const QString x = type.What == Kind::Hex ? QString::number(value, 'f', 0) : native.trimmed();
        const Evaluated evaluated = EvaluateWithX(item.ReadFormula, x);
        if (!evaluated.Ok())
            return Refusal(QStringLiteral("read formula ") + evaluated.error);
        value = evaluated.value;
    }
    if (format.isEmpty())
        return {PlainNumber(value, kMostDecimals), {}};
    const Formatted formatted = FormatNumber(value, false, format);
    return {formatted.text, formatted.message + formatted.error};
}

/// What a person typed as the text of a decimal number, in the place of x.
std::optional<QString> TypedNumber(const DataItem& item, const DataTypeForm& type, const QString& shown)
{
    const DataTypeForm hex{Kind::Hex, 4};
    const bool prefixed
        = shown.startsWith(u"0x", Qt::CaseInsensitive) || shown.startsWith(u"&h", Qt::CaseInsensitive);
    if (prefixed || ShownAsHex(item, type)) {
        std::optional<double> number = NativeNumber(hex, shown);
        if (!number)
            return std::nullopt;
        if (type.What == Kind::Signed && *number > static_cast<double>(type.Most())
            && *number <= static_cast<double>(2 * type.Most() + 1)) // the bits of a negative number
            *number += 2 * static_cast<double>(type.Least());
        return QString::number(*number, 'f', 0);
    }
    if (!NativeNumber({Kind::Float, 4}, shown))
        return std::nullopt;
    const int places = PointPlaces(item);
    if (places == 0)
        return shown;
    // an exponent stays behind the digits whose point moves
    const qsizetype exponent = shown.indexOf(u'e', 0, Qt::CaseInsensitive);
    const QString digits = shown.left(exponent < 0 ? shown.size() : exponent);
    const bool plus = digits.startsWith(u'+');
    return RemoveDecimalPoint(plus ? digits.mid(1) : digits, places) + shown.mid(digits.size());
}

ItemText ToNative(const DataItem& item, const DataTypeForm& type, const QString& typed)
{
    const QString shown = typed.trimmed();
    if (shown.size() > kMostTyped)
        return Refusal(QStringLiteral("the text is longer than %1 characters").arg(kMostTyped));
    const std::optional<QString> x = TypedNumber(item, type, shown);
    if (!x)
        return NoNumber(shown, ShownAsHex(item, type));
    const QString formula = LeavesUnchanged(item.WriteFormula) ? QStringLiteral("x") : item.WriteFormula;
    const Evaluated evaluated = EvaluateWithX(formula, *x);
    if (!evaluated.Ok())
        return Refusal(QStringLiteral("write formula ") + evaluated.error);
    if (type.What == Kind::Float) {
        const QString misfit = FloatMisfit(evaluated.value);
        return misfit.isEmpty() ? ItemText{NativeText(type, evaluated.value), {}} : Refusal(misfit);
    }
    const double rounded = std::nearbyint(evaluated.value);
    const auto least = static_cast<double>(type.Least());
    const auto most = static_cast<double>(type.Most());
    if (rounded < least || rounded > most)
        return Refusal(
            QStringLiteral("%1 is outside %2 to %3, which is all that %4 holds")
                .arg(NumberAsItIs(evaluated.value), NumberAsItIs(least), NumberAsItIs(most), item.DataType));
    return {NativeText(type, rounded), {}};
}

} // namespace

ItemText ConvertDisplayNative(const DataItem& item, const QString& text, TextDirection direction)
{
    const std::optional<DataTypeForm> type = ParseDataType(item.DataType);
    if (!type)
        return UnknownType(item);
    if (type->What == Kind::Text || text.trimmed().isEmpty())
        return {type->What == Kind::Text ? text : QString(), {}};
    return direction == TextDirection::NativeToShown ? ToShown(item, *type, text)
                                                     : ToNative(item, *type, text);
}

ItemText NormalNative(const DataItem& item, const QString& native)
{
    const std::optional<DataTypeForm> type = ParseDataType(item.DataType);
    if (!type)
        return UnknownType(item);
    struct Silent final : UserMessages {
        void Show(const QString&) override { }
        Answer Ask(const QString&, Answers) override { return Answer::Cancel; }
    } silent; // the type is known, so there is nothing to say
    Bytes bytes(static_cast<std::size_t>(type->Width));
    QString why;
    if (!DataTypeToByte(bytes, 0, item.DataType, native, silent, &why))
        return Refusal(why);
    if (type->What != Kind::Float)
        return {ByteToDataType(bytes, 0, item.DataType, silent), {}};
    // Not through the bytes: a negative float of 0.5 or more would come back as 0.
    const double number = NativeNumber(*type, native).value_or(0);
    const QString misfit = FloatMisfit(number);
    return misfit.isEmpty() ? ItemText{NativeText(*type, number), {}} : Refusal(misfit);
}

QString ValidateDataFormat(const DataItem& item, const QString& native)
{
    return NormalNative(item, native).Error;
}

QString CheckRange(const DataItem& item, const QString& native)
{
    const std::optional<DataTypeForm> type = ParseDataType(item.DataType);
    const std::optional<double> number = type ? NativeNumber(*type, native) : std::nullopt;
    if (!number)
        return {};
    const auto passed = [&](const QString& limit, const QString& name) {
        const ItemText shown = ConvertDisplayNative(item, limit, TextDirection::NativeToShown);
        const QString text = shown.Ok() ? shown.Text : limit;
        return QStringLiteral("%1 is %2 %3")
            .arg(ConvertDisplayNative(item, native, TextDirection::NativeToShown).Text, name,
                 item.Units.isEmpty() ? text : text + u' ' + item.Units);
    };
    if (const auto least = NativeNumber(*type, item.MinVal); least && *number < *least)
        return passed(item.MinVal, QStringLiteral("below the minimum"));
    if (const auto most = NativeNumber(*type, item.MaxVal); most && *number > *most)
        return passed(item.MaxVal, QStringLiteral("above the maximum"));
    return {};
}
