#pragma once

#include <QByteArray>
#include <QString>

/// Replaces a file as a whole: temporary file beside it, flush, rename, folder flush. A crash at any point
/// leaves the old or the new content.
/// @return empty, or what went wrong in plain words with the file's name; the old file then stands
[[nodiscard]] QString SaveWhole(const QString& path, const QByteArray& bytes);

struct FileBytes {
    QByteArray bytes;
    QString error; ///< empty, or plain words with the file's name
};
/// Reads a regular file; refuses folders, devices and files above the limit instead of filling the memory.
[[nodiscard]] FileBytes ReadWhole(const QString& path, qint64 limit = 256LL * 1024 * 1024);
