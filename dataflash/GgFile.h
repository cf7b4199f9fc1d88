#pragma once

#include "dataflash/DataFlashModel.h"
#include "platform/ProfileFile.h"
#include "platform/UserMessages.h"
#include "settings/StartupState.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

/// A .gg file brought against a tree: what an import would do, before anything is done.
/// docs/dataflash-files.md describes the file.
struct GgImport {
    /// So many lines of each list are kept; a hostile file does not fill the memory.
    static constexpr qsizetype kListed = 1000;

    struct Entry {
        ItemPlace Place;
        QString Old; ///< native text
        QString New;
        QString Note; ///< why it is refused, or which limit it passes; empty otherwise
    };
    QString Error; ///< the file cannot be read at all; names it
    QString DeviceName; ///< of the file's header, "Unknown" when it has none
    bool OtherDevice = false;
    std::vector<Entry> Changed;
    std::vector<Entry> OutOfRange; ///< also in Changed
    std::vector<Entry> Refused; ///< not in Changed
    int Same = 0;
    QStringList Missing; ///< the fixed texts "Missing value: ..."
    QStringList Unknown; ///< "section key" that the target does not have; the first kListed
    int UnknownCount = 0;
    bool LooksCut = false; ///< the last line has no end
    QStringList Warnings; ///< what stands twice, where the file looks cut; the first kListed
    [[nodiscard]] bool Ok() const { return Error.isEmpty(); }
    /// Every item was found and taken: nothing is missing and nothing refused.
    [[nodiscard]] bool Complete() const { return Ok() && Missing.isEmpty() && Refused.empty(); }
};

[[nodiscard]] GgImport ReadGg(const QString& path, const DataFlashTree& tree, const QString& deviceName);
/// The same from a file's bytes. Error then lacks the file's name.
[[nodiscard]] GgImport ParseGg(const QByteArray& bytes, const DataFlashTree& tree, const QString& deviceName);
/// Asks about a file that was made for another device.
/// @return false: the import ends, nothing was changed
[[nodiscard]] bool AcceptDevice(const GgImport& import, UserMessages& messages);
/// Puts the changed values into the tree, and nothing else.
void ApplyGg(const GgImport& import, DataFlashTree& tree);

/// "3 changed, 247 same, ..."; "new" are those where no value was known before. The report adds a line for
/// everything that a person should know before accepting.
[[nodiscard]] QString GgSummary(const GgImport& import);
[[nodiscard]] QStringList GgReport(const GgImport& import, const DataFlashTree& tree);
/// "subclass(class)", as the section of an item is called.
[[nodiscard]] QString GgSection(const DataFlashTree& tree, const ItemPlace& at);

/// The file's bytes as they are written: UTF-8, CR LF line ends. A line end inside a text becomes a blank.
/// @param warnings  values that the file cannot carry back, one line each; found by reading the bytes again
[[nodiscard]] QByteArray GgText(const DataFlashTree& tree, const QString& deviceName, const QString& isoTime,
                                QStringList& warnings);
/// Writes the file whole. @return empty, or what went wrong
[[nodiscard]] QString ExportDF(const DataFlashTree& tree, const QString& deviceName, const QString& isoTime,
                               const QString& path, QStringList& warnings);

/// The subclasses' bytes as a section of their own, which backups carry: an import takes from it what the
/// texts cannot carry (blanks at the ends of a string, quotes, line ends).
[[nodiscard]] QByteArray GgBytesSection(const DataFlashTree& tree);
/// The subclass's bytes from that section; empty when they are not all there.
[[nodiscard]] Bytes GgBytes(const ProfileFile& file, const SubClass& subClass);

/// Key Defaults of section DataFlash of the target's configuration file, opened in that file's folder, else
/// in the program folder; empty when there is none.
[[nodiscard]] QString DefaultsPath(ProfileStore& profiles, const StartupState& state);
/// Takes a .gg file's values in place of the configuration's default values; an item that the file lacks
/// keeps its own.
/// @return the file against the defaults before
GgImport UseDefaultsFile(const QString& path, DataFlashTree& tree, const QString& deviceName);
