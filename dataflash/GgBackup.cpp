#include "dataflash/GgBackup.h"

#include "dataflash/EachItem.h"
#include "dataflash/GgFile.h"
#include "dataflash/ItemBytes.h"
#include "platform/WholeFile.h"

#include <QDir>

#include <algorithm>

namespace {

constexpr int kLongestPart = 80;

/// Whether the bytes are those that the value was read from, or was written as.
bool StandsIn(const Bytes& buffer, const DataItem& item)
{
    if (item.Value == TextOf(item, buffer))
        return true;
    const std::optional<Bytes> bytes = BytesOf(item, item.Value);
    const std::size_t offset = static_cast<std::size_t>(item.Offset);
    return bytes && offset + bytes->size() <= buffer.size()
        && std::ranges::equal(*bytes, std::span(buffer).subspan(offset, bytes->size()));
}

/// Empty, or what the file on disk does not give back.
QString WhatIsLost(const QString& path, const DataFlashTree& held, const QString& deviceName)
{
    const FileBytes saved = ReadWhole(path);
    if (!saved.error.isEmpty())
        return saved.error;
    const ProfileFile file(saved.bytes);
    for (const DataClass& dataClass : held.Classes)
        for (const SubClass& subClass : dataClass.SubClasses)
            if (GgBytes(file, subClass) != subClass.Buffer)
                return QStringLiteral("the bytes of subclass %1 (%2) do not come back")
                    .arg(subClass.Name, dataClass.Name);

    DataFlashTree again = held;
    ClearValues(again);
    const GgImport import = ParseGg(saved.bytes, again, deviceName);
    ApplyGg(import, again);
    for (const GgImport::Entry& refused : import.Refused) // read from the gauge, so it was no value before
        ItemAt(again, refused.Place).Value = refused.New;
    QString lost = import.Error;
    ForEachItem(
        held,
        [&](const ItemPlace& at, const DataClass& dataClass, const SubClass& subClass, const DataItem& item) {
            if (lost.isEmpty() && ItemAt(again, at).Value != item.Value)
                lost = QStringLiteral("the value of %1 in subclass %2 (%3) does not come back")
                           .arg(item.Name, subClass.Name, dataClass.Name);
        });
    return lost;
}

QString FreeName(const QString& folder, const QString& name)
{
    QString path = QStringLiteral("%1/%2.gg").arg(folder, name);
    for (int copy = 2; QFileInfo::exists(path); ++copy)
        path = QStringLiteral("%1/%2 (%3).gg").arg(folder, name).arg(copy);
    return path;
}

} // namespace

GgBackup SaveBackup(const DataFlashTree& tree, const QString& deviceName, const QString& pack,
                    const QDateTime& now, const QString& folder)
{
    const auto problem = [](const QString& reason) {
        return GgBackup{{}, QStringLiteral("No backup was made: ") + reason};
    };
    DataFlashTree held = tree;
    QString unread;
    ForEachItem(
        held,
        [&unread](const ItemPlace&, const DataClass& dataClass, const SubClass& subClass, DataItem& item) {
            item.Value = item.ReadValue;
            if (unread.isEmpty() && !StandsIn(subClass.Buffer, item))
                unread = QStringLiteral("subclass %1 (%2) was not read from the gauge")
                             .arg(subClass.Name, dataClass.Name);
        });
    if (!unread.isEmpty())
        return problem(unread);
    if (!QDir().mkpath(folder))
        return problem(QStringLiteral("the folder %1 cannot be made").arg(folder));

    QStringList warnings; // what the texts cannot carry is in the bytes
    const QByteArray bytes
        = GgText(held, deviceName, now.toString(Qt::ISODate), warnings) + GgBytesSection(held);
    const QString path = FreeName(
        folder, FileNamePart(pack) + QLatin1Char(' ') + now.toString(QStringLiteral("yyyy-MM-dd HH-mm-ss")));
    if (const QString reason = SaveWhole(path, bytes); !reason.isEmpty())
        return problem(reason);
    if (const QString lost = WhatIsLost(path, held, deviceName); !lost.isEmpty()) {
        QFile::remove(path); // one that does not bring everything back must not look like one that does
        return problem(lost);
    }
    return {path, {}};
}

QString BackupFolder(const QString& programFolder) { return programFolder + QStringLiteral("/Backups"); }

QString FileNamePart(const QString& text)
{
    QString part = text.trimmed().left(kLongestPart);
    for (QChar& c : part)
        if (!c.isLetterOrNumber() && !QStringLiteral(" ._-").contains(c))
            c = QLatin1Char('_');
    return part.isEmpty() || part.startsWith(QLatin1Char('.')) ? QLatin1Char('_') + part : part;
}
