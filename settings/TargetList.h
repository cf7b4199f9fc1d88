#pragma once

#include "platform/ProfileFile.h"
#include "platform/UserMessages.h"
#include "settings/StartupState.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <vector>

/// One line of the target list.
struct TargetEntry {
    QString key; ///< device type and version as [Targets] has them: "800_1_02"
    QString file; ///< the target's configuration file as written, relative to the program folder
    QString name; ///< [Device] Name of that file; empty when the file or the key is missing
    QString line; ///< what a person chooses from: "zm41k36 (Dev:800,Ver:1.02) -800_1_02"
};

/// What a target's file says, for the person who chooses.
struct TargetDetails {
    QString file; ///< as written in the settings
    bool found = false; ///< the file is there
    QString offers; ///< captions of its views
    std::int32_t address = 0; ///< the gauge's bus address in 8-bit form
};

/// The targets that the program settings file knows, and the remembered default among them.
class TargetList {
public:
    TargetList(ProfileStore& profiles, UserMessages& messages, const StartupState& state)
        : m_profiles(profiles), m_messages(messages), m_state(state)
    {
    }

    /// Reads the list anew. A section longer than the 4096 characters that it may have gives a message, and
    /// the whole entries that fit.
    void Load();
    [[nodiscard]] const std::vector<TargetEntry>& Entries() const { return m_entries; }
    /// The entry of a line, compared exactly; nothing when no entry has it.
    [[nodiscard]] const TargetEntry* Find(const QString& line) const;

    [[nodiscard]] TargetDetails Details(const TargetEntry& entry) const;

    /// "All", then the categories in alphabetical order: a name's first word up to and with its first number,
    /// so that "zm41k36" and "zm41k48" stand together in "zm41".
    [[nodiscard]] QStringList Categories() const;
    /// "All" in either case gives every line, any other category the lines that begin with its text.
    [[nodiscard]] QStringList LinesOf(const QString& category) const;

    /// The line of the target that is chosen now; empty when none is, or one that is not in the list.
    [[nodiscard]] QString LineInUse() const;
    /// First line that begins with the remembered text; nothing when none is remembered.
    [[nodiscard]] std::optional<QString> DefaultLine() const;
    /// @return empty, or what went wrong in plain words
    [[nodiscard]] QString SetDefault(const QString& line);

    /// The target file of a line as written in the settings; an empty line means that none is selected.
    /// @return empty after a message
    [[nodiscard]] QString Choose(const QString& line);

private:
    ProfileStore& m_profiles;
    UserMessages& m_messages;
    const StartupState& m_state;
    std::vector<TargetEntry> m_entries;
};

/// Device type and version from a key of [Targets]: "800_1_02" gives "800,Ver:1.02".
[[nodiscard]] QString ShownDevice(const QString& key);
