#include "dataflash/ValueEncoding.h"

#include <QLocale>

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

namespace {

constexpr int kExactDigits = 15; ///< that a double holds
constexpr int kLongestText = 256; ///< bytes of a counted string, its length byte included

bool IsDigit(QChar c) { return c >= u'0' && c <= u'9'; }

/// Sign, digits with at most one ".", and an exponent: no words, no separators, no hexadecimal.
bool IsDecimal(QStringView text)
{
    qsizetype at = text.startsWith(u'-') || text.startsWith(u'+') ? 1 : 0;
    const auto digits = [&] {
        const qsizetype from = at;
        while (at < text.size() && IsDigit(text.at(at)))
            ++at;
        return at - from;
    };
    qsizetype seen = digits();
    if (at < text.size() && text.at(at) == u'.') {
        ++at;
        seen += digits();
    }
    if (seen == 0)
        return false;
    if (at < text.size() && (text.at(at) == u'e' || text.at(at) == u'E')) {
        ++at;
        if (at < text.size() && (text.at(at) == u'-' || text.at(at) == u'+'))
            ++at;
        if (digits() == 0)
            return false;
    }
    return at == text.size();
}

std::optional<double> ParseDecimal(QStringView text)
{
    text = text.trimmed();
    if (!IsDecimal(text))
        return std::nullopt;
    const bool negative = text.startsWith(u'-');
    if (const QStringView digits = text.mid(negative ? 1 : 0);
        digits.size() <= kExactDigits && std::ranges::all_of(digits, IsDigit)) { // most of them, and quick
        std::int64_t number = 0;
        for (const QChar digit : digits)
            number = number * 10 + (digit.unicode() - u'0');
        return static_cast<double>(negative ? -number : number);
    }
    return QLocale::c().toDouble(text); // infinity or zero where the exponent is beyond a double
}

std::optional<double> ParseHexadecimal(QStringView text)
{
    text = text.trimmed();
    if (text.startsWith(u"0x", Qt::CaseInsensitive) || text.startsWith(u"&h", Qt::CaseInsensitive))
        text = text.mid(2);
    if (text.isEmpty())
        return std::nullopt;
    double number = 0; // 2^53 is far beyond what any type holds, so the rest need not be exact
    for (const QChar c : text) {
        const int digit = IsDigit(c) ? c.unicode() - u'0'
            : c >= u'a' && c <= u'f' ? c.unicode() - u'a' + 10
            : c >= u'A' && c <= u'F' ? c.unicode() - u'A' + 10
                                     : -1;
        if (digit < 0)
            return std::nullopt;
        number = number * 16 + digit;
    }
    return number;
}

std::uint32_t BigEndian(std::span<const std::uint8_t> bytes)
{
    std::uint32_t number = 0;
    for (const std::uint8_t byte : bytes)
        number = number << 8U | byte;
    return number;
}

QString CountedString(std::span<const std::uint8_t> bytes)
{
    const std::size_t length = std::min<std::size_t>(bytes.front(), bytes.size() - 1);
    if (length == 0)
        return QStringLiteral(""); // there is a text, and it is empty
    return QString::fromLatin1(reinterpret_cast<const char*>(bytes.data()) + 1,
                               static_cast<qsizetype>(length));
}

/// Empty, or why the text does not become these bytes.
QString EncodeString(const QString& text, std::span<std::uint8_t> bytes)
{
    const std::size_t most = bytes.size() - 1;
    if (text.isEmpty() && most > 0)
        return QStringLiteral("there is no value");
    if (static_cast<std::size_t>(text.size()) > most)
        return QStringLiteral("the text has %1 characters, %2 fit").arg(text.size()).arg(most);
    const auto misfit = std::ranges::find_if(text, [](QChar c) { return c.unicode() > 0xFF; });
    if (misfit != text.end())
        return QStringLiteral("the character \"%1\" is none of the 256 that fit a byte").arg(*misfit);
    std::ranges::fill(bytes, std::uint8_t{0});
    bytes[0] = static_cast<std::uint8_t>(text.size());
    std::ranges::transform(text, bytes.begin() + 1,
                           [](QChar c) { return static_cast<std::uint8_t>(c.unicode()); });
    return {};
}

/// Empty, or why the text does not become these bytes.
QString EncodeNumber(const DataTypeForm& type, const QString& text, std::span<std::uint8_t> bytes)
{
    if (text.trimmed().isEmpty())
        return QStringLiteral("there is no value");
    const std::optional<double> number = NativeNumber(type, text);
    if (!number)
        return QStringLiteral("\"%1\" is no %2number")
            .arg(text.left(80),
                 type.What == DataTypeForm::Kind::Hex ? QStringLiteral("hexadecimal ") : QString());
    if (type.What == DataTypeForm::Kind::Float) {
        std::ranges::copy(IEEEToXemics(*number), bytes.begin());
        return {};
    }
    if (*number < static_cast<double>(type.Least()) || *number > static_cast<double>(type.Most()))
        return QStringLiteral("%1 is outside %2 to %3")
            .arg(text.trimmed().left(80), NativeText(type, static_cast<double>(type.Least())),
                 NativeText(type, static_cast<double>(type.Most())));
    if (*number != std::floor(*number))
        return QStringLiteral("%1 is no whole number").arg(text.trimmed().left(80));
    auto left = static_cast<std::uint32_t>(static_cast<std::int64_t>(*number));
    for (std::size_t i = bytes.size(); i-- > 0; left /= 256)
        bytes[i] = static_cast<std::uint8_t>(left % 256);
    return {};
}

void ReportUnknownType(const QString& dataType, int offset, UserMessages& messages)
{
    // the two parts run together: scripts look for this text
    messages.Show(QStringLiteral("Unknown Datatype %1Offset = %2").arg(dataType).arg(offset));
}

bool Inside(const Bytes& buffer, int offset, int width)
{
    return offset >= 0 && static_cast<std::size_t>(width) <= buffer.size()
        && static_cast<std::size_t>(offset) <= buffer.size() - static_cast<std::size_t>(width);
}

} // namespace

std::int64_t DataTypeForm::Least() const
{
    return What == Kind::Signed ? -(std::int64_t{1} << (8 * Width - 1)) : 0;
}

std::int64_t DataTypeForm::Most() const
{
    return (std::int64_t{1} << (What == Kind::Signed ? 8 * Width - 1 : 8 * Width)) - 1;
}

std::optional<DataTypeForm> ParseDataType(const QString& dataType)
{
    using Kind = DataTypeForm::Kind;
    if (dataType.size() < 2)
        return std::nullopt;
    const char16_t letter = dataType.front().toUpper().unicode();
    const QStringView size = QStringView(dataType).mid(1);
    if (!std::ranges::all_of(size, IsDigit) || size.front() == u'0' || size.size() > 3)
        return std::nullopt;
    const int width = size.toInt();
    if (letter == u'S' && width <= kLongestText)
        return DataTypeForm{Kind::Text, width};
    if (letter == u'F' && width == 4)
        return DataTypeForm{Kind::Float, width};
    if (width != 1 && width != 2 && width != 4)
        return std::nullopt;
    switch (letter) {
    case u'I':
        return DataTypeForm{Kind::Signed, width};
    case u'U':
        return DataTypeForm{Kind::Unsigned, width};
    case u'H':
        return DataTypeForm{Kind::Hex, width};
    default:
        return std::nullopt;
    }
}

std::optional<int> WidthOf(const QString& dataType)
{
    const std::optional<DataTypeForm> type = ParseDataType(dataType);
    return type ? std::optional(type->Width) : std::nullopt;
}

std::optional<double> NativeNumber(const DataTypeForm& type, const QString& text)
{
    if (type.What == DataTypeForm::Kind::Text)
        return std::nullopt;
    return type.What == DataTypeForm::Kind::Hex ? ParseHexadecimal(text) : ParseDecimal(text);
}

QString NativeText(const DataTypeForm& type, double number)
{
    if (type.What == DataTypeForm::Kind::Hex)
        return QString::number(static_cast<qulonglong>(number), 16)
            .toUpper()
            .rightJustified(qsizetype{2} * type.Width, u'0');
    if (std::abs(number) < 1e15 && number == std::floor(number))
        return QString::number(static_cast<qlonglong>(number)); // most of them, and quick
    // All digits and no exponent: 15 of them would not lead back to the same float.
    QString text = QString::number(number, 'f', number == std::floor(number) ? 0 : 6);
    if (text.contains(u'.')) {
        qsizetype end = text.size();
        while (text.at(end - 1) == u'0')
            --end;
        text.truncate(text.at(end - 1) == u'.' ? end - 1 : end);
    }
    return text == u"-0" ? QStringLiteral("0") : text;
}

QString ByteToDataType(const Bytes& buffer, int offset, const QString& dataType, UserMessages& messages)
{
    const std::optional<DataTypeForm> type = ParseDataType(dataType);
    if (!type) {
        ReportUnknownType(dataType, offset, messages);
        return {};
    }
    if (!Inside(buffer, offset, type->Width))
        return {};
    const auto bytes
        = std::span(buffer).subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(type->Width));
    switch (type->What) {
    case DataTypeForm::Kind::Text:
        return CountedString(bytes);
    case DataTypeForm::Kind::Float:
        return NativeText(*type, XemicsToIEEE({bytes[0], bytes[1], bytes[2], bytes[3]}));
    default:
        const std::int64_t number = BigEndian(bytes);
        return NativeText(*type,
                          static_cast<double>(number > type->Most() ? number + 2 * type->Least() : number));
    }
}

bool DataTypeToByte(Bytes& buffer, int offset, const QString& dataType, const QString& text,
                    UserMessages& messages, QString* why)
{
    const auto refuse = [&](const QString& reason) {
        if (why != nullptr)
            *why = reason;
        return false;
    };
    const std::optional<DataTypeForm> type = ParseDataType(dataType);
    if (!type) {
        ReportUnknownType(dataType, offset, messages);
        return refuse(QStringLiteral("there is no data type \"%1\"").arg(dataType.left(80)));
    }
    if (!Inside(buffer, offset, type->Width))
        return refuse(QStringLiteral("%1 bytes at offset %2 do not fit into %3 bytes")
                          .arg(type->Width)
                          .arg(offset)
                          .arg(buffer.size()));
    Bytes bytes(static_cast<std::size_t>(type->Width));
    const QString problem = type->What == DataTypeForm::Kind::Text ? EncodeString(text, bytes)
                                                                   : EncodeNumber(*type, text, bytes);
    if (!problem.isEmpty())
        return refuse(problem);
    std::ranges::copy(bytes, buffer.begin() + offset);
    return true;
}

double XemicsToIEEE(const XemicsBytes& bytes)
{
    const bool negative = (bytes[1] & 0x80U) != 0;
    // The sign takes the exponent's top bit with it: gauges in the field have been read and written with this
    // for years, so a negative number of 0.5 and more decodes 2^128 times smaller, which is 0.
    const int exponent = negative ? bytes[0] & 0x7F : bytes[0];
    const double mantissa = (bytes[1] & 0x7F) * 65536.0 + bytes[2] * 256.0 + bytes[3];
    double value = std::ldexp(mantissa * 0x1p-24 + 0.5, exponent - 128);
    if (value < 0x1p24) // from there on it is a whole number
        value = std::nearbyint(value * 1e6) / 1e6; // 24 bits times a million is exact
    if (value == 0)
        return 0; // not the negative one
    return negative ? -value : value;
}

XemicsBytes IEEEToXemics(double value)
{
    constexpr int kLeastExponent = -128;
    constexpr int kMostExponent = 127;
    const double magnitude = std::abs(value);
    if (!(magnitude >= 0x1p-129))
        return {};
    const std::uint8_t sign = value < 0 ? 0x80 : 0;
    if (magnitude >= kXemicsLimit)
        return {0xFF, static_cast<std::uint8_t>(0x7FU | sign), 0xFF, 0xFF};

    // A magnitude a hair below a power of two takes the next exponent; the factor serves this search alone.
    int exponent = 0;
    double x = magnitude * (1 + 0x1p-25);
    while (x < 0.5) {
        x *= 2;
        --exponent;
    }
    while (x >= 1) {
        x /= 2;
        ++exponent;
    }
    exponent = std::clamp(exponent, kLeastExponent, kMostExponent);

    // That hair leaves less than nothing for the mantissa.
    x = std::max(0.0, std::ldexp(magnitude, 8 - exponent) - 128);
    XemicsBytes bytes{static_cast<std::uint8_t>(exponent + 128)};
    for (std::size_t i = 1; i < bytes.size(); ++i) { // what is left behind the last byte is dropped
        bytes[i] = static_cast<std::uint8_t>(static_cast<unsigned>(x) & 0xFFU);
        x = (x - bytes[i]) * 256;
    }
    bytes[1] |= sign;
    return bytes;
}
