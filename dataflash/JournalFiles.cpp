#include "dataflash/JournalFiles.h"

#include "platform/WholeFile.h"

#include <QDir>
#include <QFile>

#include <unistd.h>

namespace {
constexpr qint64 kLargest = 16LL * 1024 * 1024;
} // namespace

QStringList JournalFolder::Names()
{
    return QDir(m_folder).entryList({QStringLiteral("*.journal")}, QDir::Files, QDir::Name);
}

QByteArray JournalFolder::Read(const QString& name, QString& problem)
{
    FileBytes file = ReadWhole(Path(name), kLargest);
    problem = file.error;
    return file.bytes;
}

QString JournalFolder::Save(const QString& name, const QByteArray& bytes)
{
    if (!QDir().mkpath(m_folder))
        return QStringLiteral("the folder %1 could not be made").arg(m_folder);
    return SaveWhole(Path(name), bytes);
}

QString JournalFolder::Append(const QString& name, const QByteArray& bytes)
{
    QFile file(Path(name));
    if (file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::ExistingOnly)
        && file.write(bytes) == bytes.size() && file.flush() && ::fdatasync(file.handle()) == 0)
        return {};
    return QStringLiteral("%1 could not be written: %2").arg(Path(name), file.errorString());
}

QString JournalFolder::Remove(const QString& name)
{
    QFile file(Path(name));
    return file.remove() ? QString()
                         : QStringLiteral("%1 could not be removed: %2").arg(Path(name), file.errorString());
}
