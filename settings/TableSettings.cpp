#include "settings/TableSettings.h"

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
    QString file = FileOf(section, key);
    if (!m_profiles.File(file).HasKey(section, key))
        file = FileOf(u"SBS", u"ConfigFile");
    return m_profiles.Write(file, section, key, value);
}
