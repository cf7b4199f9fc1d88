#include "platform/Bytes.h"

namespace {

std::optional<std::uint8_t> Digit(QChar character)
{
    const char16_t c = character.unicode();
    if (c >= u'0' && c <= u'9')
        return static_cast<std::uint8_t>(c - u'0');
    if (c >= u'a' && c <= u'f')
        return static_cast<std::uint8_t>(c - u'a' + 10);
    if (c >= u'A' && c <= u'F')
        return static_cast<std::uint8_t>(c - u'A' + 10);
    return std::nullopt;
}

} // namespace

QString HexText(std::span<const std::uint8_t> bytes)
{
    constexpr const char16_t* kDigits = u"0123456789ABCDEF";
    QString text;
    text.reserve(static_cast<qsizetype>(bytes.size()) * 2);
    for (const std::uint8_t byte : bytes) {
        text += QChar(kDigits[byte >> 4]);
        text += QChar(kDigits[byte & 15]);
    }
    return text;
}

std::optional<Bytes> ParseHex(QStringView text)
{
    text = text.trimmed();
    if (text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
        text = text.mid(2);
    Bytes bytes;
    bytes.reserve(static_cast<std::size_t>(text.size() / 2));
    for (qsizetype at = 0; at < text.size(); at += 2) {
        while (at < text.size() && text[at].isSpace())
            ++at;
        if (at >= text.size())
            break;
        const auto high = Digit(text[at]);
        const auto low = at + 1 < text.size() ? Digit(text[at + 1]) : std::nullopt;
        if (!high || !low)
            return std::nullopt;
        bytes.push_back(static_cast<std::uint8_t>(*high << 4 | *low));
    }
    return bytes;
}
