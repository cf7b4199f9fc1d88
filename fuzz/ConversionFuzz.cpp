// Any text as factor, display format and typed value, separated by line ends, with any raw value: an answer
// or a reason, in a length that the input justifies.

#include "sbs/Conversion.h"

#include <QStringList>

#include <cmath>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 3)
        return 0;
    const RawValue raw = (data[0] | data[1] << 8) - (data[2] & 0x80 ? 32768 : 0);
    const auto style = static_cast<ReadStyle>(data[2] & 0xF);
    const QString text
        = QString::fromUtf8(reinterpret_cast<const char*>(data) + 3, static_cast<qsizetype>(size) - 3);
    const QStringList parts = text.split(u'\n');
    const QString format = parts.value(1);

    const Converted converted = ApplyFactor(raw, style, parts.value(0));
    const Formatted formatted = FormatValue(converted, format);
    if (!std::isfinite(converted.value) || formatted.text.size() > format.size() + 400)
        std::abort();
    const WriteWord word = ConvertForWrite(parts.value(2), parts.value(0));
    if (word.raw < -32768 || word.raw > 65535)
        std::abort();
    return 0;
}
