#include "platform/Windows1252.h"

#include <algorithm>
#include <array>

namespace {

/// Bytes 80 to 9F; all others have their own number.
constexpr std::array<char16_t, 32> kUpperControls{
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

/// @return the byte, or -1 when the character does not fit
int ByteOf(char16_t character)
{
    if (character < 0x80 || (character >= 0xA0 && character <= 0xFF))
        return character;
    const auto found = std::find(kUpperControls.begin(), kUpperControls.end(), character);
    return found == kUpperControls.end() ? -1 : 0x80 + static_cast<int>(found - kUpperControls.begin());
}

QString Named(QStringView text, qsizetype at)
{
    const bool pair = text[at].isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate();
    const char32_t number = pair ? QChar::surrogateToUcs4(text[at], text[at + 1]) : text[at].unicode();
    return QStringLiteral("%1 (U+%2)")
        .arg(text.mid(at, pair ? 2 : 1))
        .arg(QString::number(number, 16).toUpper().rightJustified(4, QLatin1Char('0')));
}

} // namespace

QString DecodeWindows1252(QByteArrayView bytes)
{
    QString text(bytes.size(), Qt::Uninitialized);
    std::transform(bytes.begin(), bytes.end(), text.begin(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return QChar(byte >= 0x80 && byte < 0xA0 ? kUpperControls[byte - 0x80] : char16_t{byte});
    });
    return text;
}

Windows1252Text EncodeWindows1252(QStringView text)
{
    Windows1252Text result;
    result.bytes.reserve(text.size());
    for (qsizetype at = 0; at < text.size(); ++at) {
        const int byte = ByteOf(text[at].unicode());
        if (byte < 0 && result.misfit.isEmpty())
            result.misfit = Named(text, at);
        result.bytes.append(byte < 0 ? '?' : static_cast<char>(byte));
    }
    return result;
}
