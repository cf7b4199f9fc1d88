#include "platform/ProgramFolder.h"

#include "platform/WholeFile.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

QString Absolute(const QString& path) { return QDir::cleanPath(QFileInfo(path).absoluteFilePath()); }

/// Copies what is missing, never over a file that is there.
QString Fill(const QString& folder, const QString& installed)
{
    if (!QDir().mkpath(folder))
        return QStringLiteral("The program folder %1 could not be made").arg(folder);
    if (!QFileInfo(ProgramSettingsFileIn(installed)).isFile())
        return QStringLiteral(
                   "The program's own files are not in %1, so the program folder %2 could not be filled")
            .arg(installed, folder);
    QStringList names;
    for (QDirIterator all(installed, QDir::Files, QDirIterator::Subdirectories); all.hasNext();)
        names << all.next().mid(installed.size());
    // the settings file last: it tells that the copy is complete
    const QString last = ProgramSettingsFileIn(installed).mid(installed.size());
    names.removeAll(last);
    names << last;
    for (const QString& name : names) {
        const QString target = folder + name;
        if (QFileInfo::exists(target))
            continue;
        const FileBytes content = ReadWhole(installed + name);
        if (!content.error.isEmpty())
            return content.error;
        QDir().mkpath(QFileInfo(target).absolutePath());
        if (QString problem = SaveWhole(target, content.bytes); !problem.isEmpty())
            return problem;
    }
    return {};
}

} // namespace

QString ProgramFolder(const QString& override, QString* problem)
{
    return ProgramFolder(
        override,
        {.environment = qEnvironmentVariable("TARNLO_HOME"),
         .executableFolder = QFileInfo(QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget()).path(),
         .dataFolder
         = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/tarnlo")},
        problem);
}

QString ProgramFolder(const QString& override, const ProgramPlaces& places, QString* problem)
{
    for (const QString& given : {override, places.environment})
        if (!given.isEmpty())
            return Absolute(given);
    if (QFileInfo(ProgramSettingsFileIn(places.executableFolder)).isFile())
        return Absolute(places.executableFolder);
    QString folder = Absolute(places.dataFolder);
    if (!QFileInfo(ProgramSettingsFileIn(folder)).isFile()) {
        const QString trouble
            = Fill(folder, Absolute(places.executableFolder + QStringLiteral("/../share/tarnlo/home")));
        if (problem)
            *problem = trouble;
    }
    return folder;
}

QString ProgramSettingsFileIn(const QString& programFolder)
{
    return programFolder + QStringLiteral("/tarnlo.ini");
}

QString WhatIsNotKept(const QString& programFolder)
{
    const QFileInfo folder(programFolder);
    const QFileInfo settings(ProgramSettingsFileIn(programFolder));
    if (folder.isWritable() && (settings.isWritable() || !settings.exists()))
        return {};
    return QStringLiteral(
               "%1 cannot be written. Settings, the window's place, the error log and backups of the "
               "data flash are not kept there; logs and exports can go to any other folder.")
        .arg(folder.isWritable() ? settings.filePath() : folder.filePath());
}

QString ResolvePath(const QString& folder, const QString& written)
{
    QString path = written;
    path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    // only "/" makes a path absolute here: a leading "\" is one that was joined to the folder without a
    // thought
    if (!folder.isEmpty() && !written.startsWith(QLatin1Char('/')))
        path = folder + QLatin1Char('/') + path;
    if (path.isEmpty() || QFileInfo::exists(path))
        return path;
    QString found = path.startsWith(QLatin1Char('/')) ? QStringLiteral("/") : QString();
    for (const QString& part : path.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        QString name = part;
        if (!QFileInfo::exists(found + name)) {
            for (const QString& entry : QDir(found.isEmpty() ? QStringLiteral(".") : found)
                                            .entryList(QDir::AllEntries | QDir::Hidden, QDir::Name)) {
                if (entry.compare(name, Qt::CaseInsensitive) == 0) {
                    name = entry;
                    break;
                }
            }
        }
        found += name + QLatin1Char('/');
        if (!QFileInfo::exists(found.chopped(1)))
            return path;
    }
    return found.chopped(1);
}
