#include "dataflash/AccessStyle.h"

#include <QStringList>

#include <limits>
#include <optional>

namespace {

constexpr std::int16_t kBlockSize = 64;
constexpr std::int16_t kBaseCmd = 88;

/// The digits a text begins with, a sign before them included; what follows plays no part.
std::optional<std::int64_t> LeadingNumber(QStringView text)
{
    text = text.trimmed();
    qsizetype end = text.startsWith(u'-') || text.startsWith(u'+') ? 1 : 0;
    const qsizetype digits = end;
    while (end < text.size() && text.at(end) >= u'0' && text.at(end) <= u'9')
        ++end;
    if (end == digits)
        return std::nullopt;
    bool ok = false;
    const std::int64_t number = text.first(end).toLongLong(&ok);
    return ok ? number : std::numeric_limits<std::int64_t>::max(); // too many digits for any use
}

/// Takes "Name=64" for one of the two settings of style 1.
void TakeField(const QString& field, const QString& name, std::int64_t least, std::int16_t fallback,
               std::int16_t& setting, QString& problem)
{
    if (!field.contains(name, Qt::CaseInsensitive))
        return;
    QString value = field;
    value.remove(name, Qt::CaseInsensitive).remove(QLatin1Char('='));
    const std::optional<std::int64_t> number = LeadingNumber(value);
    if (number && *number >= least && *number <= 255) {
        setting = static_cast<std::int16_t>(*number);
        return;
    }
    setting = fallback;
    const QString reason = QStringLiteral("\"%1\" of the access style is not taken: %2 must be a number from "
                                          "%3 to 255. %4 is used.")
                               .arg(field.trimmed().left(80), name)
                               .arg(least)
                               .arg(fallback);
    problem += (problem.isEmpty() ? QString() : QStringLiteral("\n")) + reason;
}

} // namespace

AccessStyle ParseLegacyString(const QString& text, QString& problem)
{
    problem.clear();
    AccessStyle style;
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return style;
    const QStringList fields = trimmed.split(QLatin1Char(':'));
    const std::int64_t number = LeadingNumber(fields.first()).value_or(0);
    if (number < std::numeric_limits<std::int16_t>::min()
        || number > std::numeric_limits<std::int16_t>::max()) {
        // a style that nothing supports, so that nothing is transferred by mistake
        style.DFAccessStyle = std::numeric_limits<std::int16_t>::max();
        problem = QStringLiteral("\"%1\" is no access style of a data flash").arg(trimmed.left(80));
        return style;
    }
    style.DFAccessStyle = static_cast<std::int16_t>(number);
    if (number != 1)
        return style;
    for (const QString& field : fields.mid(1)) {
        TakeField(field, QStringLiteral("BlkSz"), 1, kBlockSize, style.DFBlockSize, problem);
        TakeField(field, QStringLiteral("BaseCmd"), 0, kBaseCmd, style.DFBaseCmd, problem);
    }
    return style;
}
