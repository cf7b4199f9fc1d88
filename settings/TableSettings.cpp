#include "settings/TableSettings.h"

#include <QStringList>

#include <map>
#include <vector>

QString TableSettings::FileOf(QStringView section, QStringView key) const
{
    const QString& target = m_state.TargetConfigPath;
    if (!target.isEmpty() && m_profiles.File(target).HasKey(section, key))
        return target;
    return m_state.ProgramFolder + QStringLiteral("/Config.ini");
}

QString TableSettings::String(QStringView section, QStringView key, const QString& fallback) const
{
    return m_profiles.String(FileOf(section, key), section, key, fallback);
}

std::int32_t TableSettings::Integer(QStringView section, QStringView key, std::int32_t fallback) const
{
    return m_profiles.Integer(FileOf(section, key), section, key, fallback);
}

QString TableSettings::Write(QStringView section, QStringView key, const QString& value)
{
    const ProfileChange change{section.toString(), key.toString(), value};
    return Write(std::span(&change, 1));
}

QString TableSettings::Write(std::span<const ProfileChange> changes)
{
    std::map<QString, std::vector<ProfileChange>> files;
    for (const ProfileChange& change : changes) {
        QString file = FileOf(change.Section, change.Key);
        if (!m_profiles.File(file).HasKey(change.Section, change.Key))
            file = FileOf(u"SBS", u"ConfigFile");
        files[file].push_back(change);
    }
    QStringList problems;
    for (const auto& [file, itsChanges] : files)
        problems << m_profiles.Write(file, itsChanges);
    problems.removeAll(QString());
    return problems.join(QLatin1Char('\n'));
}
