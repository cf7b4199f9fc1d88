#include "settings/Width.h"

#include <limits>

bool FitsWord(std::int64_t value)
{
    return value >= std::numeric_limits<std::int16_t>::min()
        && value <= std::numeric_limits<std::int16_t>::max();
}

QString SettingProblem(const QString& file, QStringView section, QStringView key, const QString& reason)
{
    return QStringLiteral(
               "%1, section [%2], key %3: %4. The previous settings stay in force; please correct the file.")
        .arg(file, section, key, reason);
}

QString WidthProblem(const QString& file, QStringView section, QStringView key, std::int64_t value)
{
    return SettingProblem(file, section, key, QStringLiteral("%1 is outside -32768 to 32767").arg(value));
}
