#pragma once

#include "platform/ProfileFile.h"
#include "settings/StartupState.h"

#include <QString>

#include <cstdint>
#include <span>

/// The keys of the register view and the auto-cycle ([SBS], [SBSScan], [SBSLog], [SBSGUI], [SBSFlags],
/// [FuelGauge], [CustomMod], [AutoCycle]) in their two files: a key is looked up in the target's file when a
/// target is chosen and the key stands there, else in Config.ini of the program folder, else the default.
/// A changed key goes back to the file that holds it; a key that stands in neither goes to the file that
/// names the register table ([SBS] ConfigFile), since row numbers belong to that table, else to Config.ini.
class TableSettings {
public:
    TableSettings(ProfileStore& profiles, const StartupState& state)
        : m_profiles(profiles), m_state(state) { }
    [[nodiscard]] QString String(QStringView section, QStringView key, const QString& fallback = {}) const;
    [[nodiscard]] std::int32_t Integer(QStringView section, QStringView key, std::int32_t fallback) const;
    /// @return empty, or what went wrong in plain words with the file's name
    [[nodiscard]] QString Write(QStringView section, QStringView key, const QString& value);
    /// The same for several keys; each file that they go to is saved once.
    [[nodiscard]] QString Write(std::span<const ProfileChange> changes);
    /// Where the tables and the documents that go with them lie.
    [[nodiscard]] const QString& ProgramFolder() const { return m_state.ProgramFolder; }

private:
    [[nodiscard]] QString FileOf(QStringView section, QStringView key) const;
    ProfileStore& m_profiles;
    const StartupState& m_state;
};
