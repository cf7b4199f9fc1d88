#pragma once

#include "dataflash/DataFlashModel.h"

#include <QDateTime>
#include <QString>

/// What was saved before a write.
struct GgBackup {
    QString File; ///< empty when there is no backup that counts
    QString Problem; ///< why, in plain words
    [[nodiscard]] bool Ok() const { return Problem.isEmpty(); }
};

/// Saves what the gauge holds, as it was last read (edits play no part), as a dated .gg file that carries
/// the subclasses' bytes too. The file is read from disk again, and the backup counts only when every byte
/// and every value come back.
/// @param pack  for the file's name, such as the device name and the serial number
/// @param folder  made when it is not there
[[nodiscard]] GgBackup SaveBackup(const DataFlashTree& tree, const QString& deviceName, const QString& pack,
                                  const QDateTime& now, const QString& folder);

/// Folder "Backups" of the program folder.
[[nodiscard]] QString BackupFolder(const QString& programFolder);

/// The text as part of a file's name: letters, digits, blanks, ".", "_" and "-"; others become "_", at
/// most 80.
[[nodiscard]] QString FileNamePart(const QString& text);
