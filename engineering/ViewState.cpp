#include "engineering/ViewState.h"

#include <algorithm>
#include <utility>

ViewState::ViewState(ProfileStore& profiles, QString file, QString section)
    : m_profiles(profiles), m_file(std::move(file)), m_section(std::move(section))
{
}

QString ViewState::Text(QStringView key, const QString& fallback) const
{
    return m_profiles.String(m_file, m_section, key, fallback);
}

int ViewState::Number(QStringView key, int fallback, int min, int max) const
{
    return std::clamp(m_profiles.Integer(m_file, m_section, key, fallback), min, max);
}

void ViewState::Keep(QStringView key, const QString& value)
{
    if (Text(key) != value)
        m_changes.push_back({m_section, key.toString(), value});
}

QString ViewState::Save() { return m_profiles.Write(m_file, std::exchange(m_changes, {})); }
