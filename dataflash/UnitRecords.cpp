#include "dataflash/UnitRecords.h"

#include "dataflash/GgBackup.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <unistd.h>

QString RecordFolder(const QString& programFolder) { return programFolder + QStringLiteral("/Records"); }

QString MakeRecordFolder(const QString& folder)
{
    if (!QDir().mkpath(folder))
        return QStringLiteral("the folder %1 cannot be made").arg(folder);
    return QFileInfo(folder).isWritable() ? QString()
                                          : QStringLiteral("the folder %1 cannot be written to").arg(folder);
}

QString AppendRecord(const QString& folder, const UnitRecord& record)
{
    QJsonObject line{{QStringLiteral("time"), record.Time.toString(Qt::ISODate)},
                     {QStringLiteral("serial"), record.Serial},
                     {QStringLiteral("unit"), record.Unit},
                     {QStringLiteral("device"), record.DeviceName},
                     {QStringLiteral("file"), record.File},
                     {QStringLiteral("sha256"), record.Sha256},
                     {QStringLiteral("passed"), record.Passed},
                     {QStringLiteral("changed"), record.Changed},
                     {QStringLiteral("same"), record.Same},
                     {QStringLiteral("missing"), record.Missing},
                     {QStringLiteral("verified"), record.Verified},
                     {QStringLiteral("code"), record.Code},
                     {QStringLiteral("backup"), record.Backup}};
    if (!record.Error.isEmpty())
        line[QStringLiteral("error")] = record.Error;
    QString path;
    return AppendRecordLine(folder, record.Serial, line, path);
}

QString AppendRecordLine(const QString& folder, const QString& serial, const QJsonObject& line, QString& path)
{
    const QString name = serial.isEmpty() ? QStringLiteral("unknown") : FileNamePart(serial);
    path = QStringLiteral("%1/%2.jsonl").arg(folder, name);
    if (QString problem = MakeRecordFolder(folder); !problem.isEmpty())
        return problem;
    QFile file(path);
    const auto problem = [&file] {
        return QStringLiteral("%1 could not be written: %2").arg(file.fileName(), file.errorString());
    };
    if (!file.open(QIODevice::ReadWrite | QIODevice::Append | QIODevice::Unbuffered))
        return problem();
    QByteArray bytes = QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n';
    if (file.size() > 0 && file.seek(file.size() - 1) && file.read(1) != "\n")
        bytes.prepend('\n');
    if (file.write(bytes) != bytes.size() || ::fsync(file.handle()) != 0)
        return problem();
    return {};
}
