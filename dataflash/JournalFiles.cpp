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

QString JournalFolder::Lock(const QString& name)
{
    m_lock.reset();
    QDir().mkpath(m_folder);
    auto lock = std::make_unique<QLockFile>(Path(name) + QStringLiteral(".lock"));
    lock->setStaleLockTime(0); // only the end of its program frees it, however long a write takes
    if (lock->tryLock(0)) {
        m_lock = std::move(lock);
        return {};
    }
    if (lock->error() != QLockFile::LockFailedError)
        return {}; // a folder that takes no lock takes no journal either, and that says why
    qint64 process = 0;
    QString host;
    QString program;
    lock->getLockInfo(&process, &host, &program);
    return QStringLiteral("%1, process %2, is writing to this pack just now, or to one that says the same of "
                          "itself. Try again when it has ended; its journal %3 is left alone.")
        .arg(program.isEmpty() ? QStringLiteral("Another program") : program)
        .arg(process)
        .arg(name);
}

QString JournalPath(const QString& programFolder) { return programFolder + QStringLiteral("/Journal"); }
