#pragma once

#include <QString>

/// One field of a line with commas between, as RFC 4180 has it: in quotes where it holds a comma, a quote or
/// a line end.
[[nodiscard]] inline QString CsvField(QString text)
{
    if (!text.contains(QLatin1Char(',')) && !text.contains(QLatin1Char('"'))
        && !text.contains(QLatin1Char('\n')))
        return text;
    text.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return QLatin1Char('"') + text + QLatin1Char('"');
}
