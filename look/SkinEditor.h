#pragma once

#include "look/SkinColours.h"
#include "settings/StartupState.h"

#include <QStringList>

/// How well a skin's colour can be told from what it meets.
struct ContrastCheck {
    const char* what; ///< "text", "focus" or "mark"
    double ratio;
    double least; ///< 4.5 for text, 3 for frames and marks
    [[nodiscard]] bool Ok() const { return ratio >= least; }
};

/// By the stored numbers, before any text is replaced by a more readable one.
[[nodiscard]] ContrastCheck CheckContrast(const Skin& skin, const SkinKey& key);

/// The skin in use and its changes: named by [GUI] Skin and SkinFile of the program settings, default
/// "Default" of "DefSkin.ini" in the program folder.
class SkinEditor {
public:
    SkinEditor(ProfileStore& profiles, const StartupState& state);

    [[nodiscard]] QStringList Names() const; ///< of the skin file, the chosen one always among them
    [[nodiscard]] const QString& Name() const { return m_name; }
    [[nodiscard]] const QString& FileName() const { return m_fileName; } ///< as written in the settings
    [[nodiscard]] const Skin& Edited() const { return m_edited; }
    [[nodiscard]] bool Changed() const { return m_edited != m_stored; }

    void Choose(const QString& name); ///< changes that were not saved are dropped
    void SetNumber(const SkinKey& key, std::int32_t number) { m_edited.*key.value = number; }
    void Reset() { m_edited = m_stored; }
    /// Writes changes into the skin file and remembers the skin in the program settings.
    /// @return empty, or what went wrong in plain words; nothing is then remembered
    [[nodiscard]] QString Save();
    /// The same under a new name: blanks at the ends are cut; an empty name, "[" and "]" are refused.
    [[nodiscard]] QString SaveAs(const QString& name);

private:
    ProfileStore& m_profiles;
    const StartupState& m_state;
    QString m_fileName;
    QString m_path;
    QString m_name;
    Skin m_stored;
    Skin m_edited;
};
