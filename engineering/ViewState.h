#pragma once

#include "platform/ProfileFile.h"

#include <QString>

#include <vector>

/// What a view remembers from one time to the next: keys of one section of the program settings.
class ViewState {
public:
    ViewState(ProfileStore& profiles, QString file, QString section);

    [[nodiscard]] QString Text(QStringView key, const QString& fallback = {}) const;
    [[nodiscard]] int Number(QStringView key, int fallback, int min, int max) const;
    [[nodiscard]] bool On(QStringView key, bool fallback) const
    {
        return Number(key, fallback ? 1 : 0, 0, 1) != 0;
    }

    void Keep(QStringView key, const QString& value);
    void Keep(QStringView key, int value) { Keep(key, QString::number(value)); }
    /// Writes what was kept and differs from what stands there, all at once.
    /// @return empty, or what went wrong in plain words
    [[nodiscard]] QString Save();

private:
    ProfileStore& m_profiles;
    QString m_file;
    QString m_section;
    std::vector<ProfileChange> m_changes;
};
