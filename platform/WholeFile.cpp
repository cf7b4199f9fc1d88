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

QString CouldNotBeRead(const QString& path, const QString& reason)
{
    return QStringLiteral("%1 could not be read: %2").arg(path, reason);
}

} // namespace

QString SaveWhole(const QString& path, const QByteArray& bytes)
{
    return SaveWhole(path, [&](QIODevice& file) {
        return file.write(bytes) == bytes.size() ? QString() : file.errorString();
    });
}

QString SaveWhole(const QString& path, const std::function<QString(QIODevice&)>& fill)
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
    if (!file.open(QIODevice::WriteOnly))
        return problem(file.errorString());
    if (const QString reason = fill(file); !reason.isEmpty())
        return problem(reason);
    if (!file.commit())
        return problem(file.errorString());
    FlushFolder(info.absolutePath());
    return {};
}

QString OpenPlainFile(QFile& file)
{
    const QFileInfo info(file.fileName());
    QString reason = info.exists() ? NoPlainFile(info) : QStringLiteral("there is no such file");
    if (reason.isEmpty() && !file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        reason = file.errorString();
    return reason.isEmpty() ? QString() : CouldNotBeRead(file.fileName(), reason);
}

FileBytes ReadWhole(const QString& path, qint64 limit)
{
    QFile file(path);
    if (const QString problem = OpenPlainFile(file); !problem.isEmpty())
        return {{}, problem};
    FileBytes tooLarge{{}, CouldNotBeRead(path, QStringLiteral("it is larger than %1 bytes").arg(limit))};
    if (file.size() > limit)
        return tooLarge;
    FileBytes result{file.readAll(), {}};
    if (file.error() != QFileDevice::NoError)
        return {{}, CouldNotBeRead(path, file.errorString())};
    return result.bytes.size() > limit ? tooLarge : result;
}
