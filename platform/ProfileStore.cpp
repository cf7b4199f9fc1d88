#include "platform/ProfileFile.h"
#include "platform/ProgramFolder.h"
#include "platform/WholeFile.h"

#include <QFile>

#include <cstdlib>
#include <ctime>

#include <sys/stat.h>

namespace {

/// Kernels before 6.13 stamp files with their tick: two changes this close together can carry one stamp.
constexpr std::int64_t kStampGrainNs = 20'000'000;

/// What tells one state of a file from another.
struct Stamp {
    bool there = false;
    std::int64_t changedNs
        = 0; ///< the inode's change time: unlike the modification time nobody can set it back
    std::int64_t size = 0;
    std::uint64_t inode = 0;
    std::uint64_t device = 0;
    bool operator==(const Stamp&) const = default;
};

std::int64_t Nanoseconds(const timespec& time)
{
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

Stamp StampOf(const QString& path)
{
    struct stat status { };
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return {};
    return {true, Nanoseconds(status.st_ctim), status.st_size, status.st_ino, status.st_dev};
}

/// Whether a later change must show in another stamp.
bool Settled(const Stamp& stamp)
{
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return std::abs(Nanoseconds(now) - stamp.changedNs) > kStampGrainNs;
}

} // namespace

struct ProfileStore::Entry {
    QString opened; ///< the path as it could be opened
    ProfileFile file;
    QString problem;
    Stamp stamp;
    bool settled = true;
};

ProfileStore::ProfileStore() = default;
ProfileStore::~ProfileStore() = default;

ProfileStore::Entry& ProfileStore::Fresh(const QString& path)
{
    std::unique_ptr<Entry>& place = m_files[path];
    if (!place)
        place = std::make_unique<Entry>();
    Entry& entry = *place;
    QString opened = path;
    Stamp stamp = StampOf(opened);
    if (!stamp.there) {
        opened = ResolvePath({}, path);
        stamp = StampOf(opened);
    }
    if (entry.opened == opened && entry.stamp == stamp && entry.settled)
        return entry;
    entry.opened = opened;
    entry.stamp = stamp; // taken before the reading: what changes meanwhile is read again
    entry.settled = !stamp.there || Settled(stamp);
    const FileBytes content = stamp.there ? ReadWhole(opened) : FileBytes{};
    entry.problem = content.error;
    entry.file = ProfileFile(content.bytes);
    return entry;
}

const ProfileFile& ProfileStore::File(const QString& path) { return Fresh(path).file; }

QString ProfileStore::Problem(const QString& path) { return Fresh(path).problem; }

QString ProfileStore::String(const QString& path, QStringView section, QStringView key,
                             const QString& fallback)
{
    return File(path).String(section, key, fallback);
}

std::int32_t ProfileStore::Integer(const QString& path, QStringView section, QStringView key,
                                   std::int32_t fallback)
{
    return File(path).Integer(section, key, fallback);
}

QString ProfileStore::Write(const QString& path, QStringView section, QStringView key, const QString& value)
{
    const ProfileChange change{section.toString(), key.toString(), value};
    return Write(path, std::span(&change, 1));
}

QString ProfileStore::Write(const QString& path, std::span<const ProfileChange> changes)
{
    Entry& entry = Fresh(path);
    ProfileFile changed = entry.file;
    for (const ProfileChange& change : changes) {
        if (!ProfileFile::CanHold(change.Section, change.Key, change.Value))
            return QStringLiteral(
                       "%1 cannot hold key \"%2\" of section \"%3\": names and values stand on one line, "
                       "and names have no blanks around them, no \"]\" or \"=\" inside and no \";\" or \"[\" "
                       "in front")
                .arg(path, change.Key, change.Section);
        changed.Set(change.Section, change.Key, change.Value);
    }
    return Save(entry, std::move(changed));
}

QString ProfileStore::Remove(const QString& path, QStringView section, QStringView key)
{
    Entry& entry = Fresh(path);
    ProfileFile changed = entry.file;
    if (key.isEmpty())
        changed.UnsetSection(section);
    else
        changed.Unset(section, key);
    return Save(entry, std::move(changed));
}

QString ProfileStore::Save(Entry& entry, ProfileFile changed)
{
    if (!entry.problem.isEmpty())
        return entry.problem; // saving would replace what could not be read
    const QByteArray bytes = changed.ToBytes();
    if (bytes == entry.file.ToBytes())
        return {};
    if (!changed.FitsEncoding())
        return QStringLiteral(
                   "%1 could not be saved: the text does not fit the file's encoding; save the file "
                   "as UTF-8 first")
            .arg(entry.opened);
    if (QString problem = SaveWhole(entry.opened, bytes); !problem.isEmpty())
        return problem;
    entry.file = std::move(changed);
    entry.stamp = StampOf(entry.opened);
    entry.settled = false;
    return {};
}
