#include "dataflash/PreserveSettings.h"

#include <utility>

namespace {

QString Section(int set) { return QStringLiteral("DFWrPreserve%1").arg(set); }

/// Decimal or 0x; -1 for anything else and for more than 16 bits.
int NumberOf(QStringView text)
{
    text = text.trimmed();
    const bool hexadecimal = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    bool ok = false;
    const int number = (hexadecimal ? text.mid(2) : text).toInt(&ok, hexadecimal ? 16 : 10);
    return ok && number >= 0 && number <= 0xFFFF ? number : -1;
}

} // namespace

PreserveSettings::PreserveSettings(ProfileStore& profiles, QString targetFile)
    : m_profiles(profiles), m_file(std::move(targetFile))
{
}

QStringList PreserveSettings::Names() const
{
    QStringList names;
    const QStringList sections = m_profiles.File(m_file).SectionNames();
    for (int set = 1; sections.contains(Section(set), Qt::CaseInsensitive); ++set)
        names << m_profiles.String(m_file, Section(set), u"Name", QStringLiteral("Set %1").arg(set));
    return names;
}

QStringList PreserveSettings::Values(int set, QChar letter) const
{
    const ProfileFile& file = m_profiles.File(m_file);
    QStringList values;
    for (int i = 1;; ++i) {
        const QString key = letter + QString::number(i);
        if (!file.HasKey(Section(set), key))
            return values;
        values << file.String(Section(set), key);
    }
}

std::vector<std::uint16_t> PreserveSettings::GetSubClsIDArrToPreserve(int set) const
{
    std::vector<std::uint16_t> ids;
    for (const QString& value : Values(set, u'S'))
        if (const int id = NumberOf(value); id >= 0)
            ids.push_back(static_cast<std::uint16_t>(id));
    return ids;
}

std::vector<std::uint16_t> PreserveSettings::GetSubClsIDArrContainingDataOffsetsToPreserve(int set) const
{
    std::vector<std::uint16_t> ids;
    for (const QString& value : Values(set, u'D'))
        if (const int id = NumberOf(value.section(u'/', 0, 0)); id >= 0)
            ids.push_back(static_cast<std::uint16_t>(id));
    return ids;
}

std::vector<int> PreserveSettings::GetDataOffsetsToPreserve(int set, std::uint16_t id) const
{
    std::vector<int> offsets;
    for (const QString& value : Values(set, u'D')) {
        if (NumberOf(value.section(u'/', 0, 0)) != id)
            continue;
        for (const QString& offset : value.section(u'/', 1).split(u','))
            offsets.push_back(NumberOf(offset));
    }
    return offsets;
}

QString PreserveSettings::Problem(int set) const
{
    const auto problem = [&](QChar letter, qsizetype index, const QString& value, const QString& form) {
        return QStringLiteral("%1, section [%2], key %3%4: \"%5\" is not %6. Nothing is written, so that "
                              "nothing is lost that was to be preserved.")
            .arg(m_file, Section(set))
            .arg(letter)
            .arg(index + 1)
            .arg(value, form);
    };
    const QStringList whole = Values(set, u'S');
    for (qsizetype i = 0; i < whole.size(); ++i)
        if (NumberOf(whole[i]) < 0)
            return problem(u'S', i, whole[i], QStringLiteral("the number of a subclass"));
    const QStringList partly = Values(set, u'D');
    for (qsizetype i = 0; i < partly.size(); ++i) {
        bool good = partly[i].contains(u'/') && NumberOf(partly[i].section(u'/', 0, 0)) >= 0;
        for (const QString& offset : partly[i].section(u'/', 1).split(u','))
            good = good && NumberOf(offset) >= 0;
        if (!good)
            return problem(
                u'D', i, partly[i],
                QStringLiteral("a subclass, \"/\" and offsets with commas between, such as 48/0,12"));
    }
    return {};
}
