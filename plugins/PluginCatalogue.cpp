#include "plugins/PluginCatalogue.h"

#include "plugins/QtPlugin.h"
#include "plugins/ScriptPlugin.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

namespace {

/// A class name is also the name of a file, so it names nothing but itself.
bool IsClassName(const QString& name)
{
    static const QRegularExpression form(QStringLiteral("\\A[A-Za-z_][A-Za-z0-9_ ]{0,63}\\z"));
    return form.match(name).hasMatch();
}

} // namespace

QStringList PluginFolders(const QString& programFolder)
{
    const QString beside = QCoreApplication::applicationDirPath();
    QStringList folders{programFolder + QStringLiteral("/plugins"), beside + QStringLiteral("/plugins"),
                        QDir::cleanPath(beside + QStringLiteral("/../lib/tarnlo/plugins"))};
    folders.removeDuplicates();
    return folders;
}

PluginObject* MakePluginObject(const QString& className, const QStringList& folders, PluginHost& host,
                               QObject* parent, QString& problem)
{
    problem.clear();
    QStringList strange; // libraries of that name that do not say what they hold
    if (!IsClassName(className)) {
        problem = QStringLiteral("\"%1\" is no name of a plug-in class: letters, digits and \"_\" make one.")
                      .arg(className.left(80));
        return nullptr;
    }
    for (const QString& folder : folders) {
        const QDir dir(folder);
        for (const QString& name : dir.entryList({QStringLiteral("*.so")}, QDir::Files, QDir::Name)) {
            const QString path = dir.absoluteFilePath(name);
            const LibraryFacts facts = ReadLibraryFacts(path);
            if (!facts.Classes.contains(className)) {
                if (QFileInfo(name).completeBaseName() == className)
                    strange << (facts.Problem.isEmpty()
                                    ? QStringLiteral("%1 does not list the class.").arg(path)
                                    : facts.Problem);
                continue;
            }
            if (facts.Problem.isEmpty())
                return new QtPlugin(path, className, host, parent);
            problem = facts.Problem;
        }
        for (const QString& name : {className + QStringLiteral(".py"), className}) {
            const QFileInfo file(dir.absoluteFilePath(name));
            if (file.isFile() && (name != className || file.isExecutable()))
                return new ScriptPlugin(file.absoluteFilePath(), className, host, parent);
        }
    }
    if (problem.isEmpty())
        problem
            = QStringLiteral("No plug-in \"%1\" was found in %2. A library (*.so) that lists the class, a "
                             "script %1.py or a program %1 is looked for.")
                  .arg(className, folders.join(QStringLiteral(", ")))
            + (strange.isEmpty() ? QString() : QLatin1Char('\n') + strange.join(QLatin1Char('\n')));
    return nullptr;
}

QString PluginIconFile(const QString& className, const QStringList& folders)
{
    for (const QString& folder : folders) {
        QString file = folder + QLatin1Char('/') + className + QStringLiteral(".svg");
        if (IsClassName(className) && QFileInfo(file).isFile())
            return file;
    }
    return {};
}
