#include "platform/WholeFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// Without this a crash of the machine can undo the rename.
void FlushFolder(const QString& folder)
{
    const int handle = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (handle < 0)
        return;
    ::fsync(handle);
    ::close(handle);
}

/// Empty, or why the thing at this path is not treated as a file.
QString NoPlainFile(const QFileInfo& info)
{
    if (info.isDir())
        return QStringLiteral("it is a folder");
    if (info.exists() && !info.isFile())
        return QStringLiteral("it is a device, not a file");
    return {};
}

} // namespace

QString SaveWhole(const QString& path, const QByteArray& bytes)
{
    const auto problem = [&](const QString& reason) {
        return QStringLiteral("%1 could not be saved: %2").arg(path, reason);
    };
    const QFileInfo info(path);
    // a rename would put a plain file in the place of /dev/null
    if (const QString reason = NoPlainFile(info); !reason.isEmpty())
        return problem(reason);
    if (!info.absoluteDir().exists())
        return problem(QStringLiteral("the folder %1 does not exist").arg(info.absolutePath()));
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        return problem(file.errorString());
    FlushFolder(info.absolutePath());
    return {};
}

FileBytes ReadWhole(const QString& path, qint64 limit)
{
    const auto problem = [&](const QString& reason) {
        return FileBytes{{}, QStringLiteral("%1 could not be read: %2").arg(path, reason)};
    };
    const QFileInfo info(path);
    if (!info.exists())
        return problem(QStringLiteral("there is no such file"));
    if (const QString reason = NoPlainFile(info); !reason.isEmpty())
        return problem(reason);
    const QString tooLarge = QStringLiteral("it is larger than %1 bytes").arg(limit);
    if (info.size() > limit)
        return problem(tooLarge);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return problem(file.errorString());
    FileBytes result{file.readAll(), {}};
    if (file.error() != QFileDevice::NoError)
        return problem(file.errorString());
    if (result.bytes.size() > limit)
        return problem(tooLarge);
    return result;
}
