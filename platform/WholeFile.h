#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

class QFile;
class QIODevice;

/// Replaces a file as a whole: temporary file beside it, flush, rename, folder flush. A crash at any point
/// leaves the old or the new content.
/// @return empty, or what went wrong in plain words with the file's name; the old file then stands
[[nodiscard]] QString SaveWhole(const QString& path, const QByteArray& bytes);

/// The same for a content that is made while it is written.
/// @param fill  writes it; empty, or what went wrong, and then nothing is replaced
[[nodiscard]] QString SaveWhole(const QString& path, const std::function<QString(QIODevice&)>& fill);

/// Opens a regular file for reading, without a buffer of its own.
/// @return empty, or what is wrong in plain words with the file's name; folders and devices are refused
[[nodiscard]] QString OpenPlainFile(QFile& file);

struct FileBytes {
    QByteArray bytes;
    QString error; ///< empty, or plain words with the file's name
};
/// Reads a regular file; refuses folders, devices and files above the limit instead of filling the memory.
[[nodiscard]] FileBytes ReadWhole(const QString& path, qint64 limit = 256LL * 1024 * 1024);
