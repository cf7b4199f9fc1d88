#pragma once

#include "platform/ProfileFile.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <vector>

/// The preserve sets of a target's configuration file: section DFWrPreserve and a number, keys S1, S2, ...
/// with whole subclasses ("48") and D1, D2, ... with single offsets of one ("48/0,12").
class PreserveSettings {
public:
    PreserveSettings(ProfileStore& profiles, QString targetFile);

    [[nodiscard]] QStringList Names() const; ///< key Name, or "Set 1"; set 1 first, up to the first gap
    [[nodiscard]] std::vector<std::uint16_t> GetSubClsIDArrToPreserve(int set) const;
    [[nodiscard]] std::vector<std::uint16_t> GetSubClsIDArrContainingDataOffsetsToPreserve(int set) const;
    /// Of every D key of this subclass.
    [[nodiscard]] std::vector<int> GetDataOffsetsToPreserve(int set, std::uint16_t id) const;
    /// @return empty, or which key does not say what to preserve; a write must not guess
    [[nodiscard]] QString Problem(int set) const;

private:
    [[nodiscard]] QStringList Values(int set, QChar letter) const;
    ProfileStore& m_profiles;
    QString m_file;
};
