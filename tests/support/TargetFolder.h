#pragma once

#include "platform/ProfileFile.h"
#include "settings/StartupState.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

/// A program folder with a few targets, thrown away after the test.
class TargetFolder {
public:
    explicit TargetFolder(const QByteArray& settings)
    {
        state.ProgramFolder = m_folder.path();
        state.ProgramSettingsFile = m_folder.filePath(QStringLiteral("tarnlo.ini"));
        Put(QStringLiteral("tarnlo.ini"), settings);
        Put(QStringLiteral("a/Config.ini"),
            "[Device]\nName=zm41k36\n[Communication]\nTargetAddress=24\n[MDIButtons]\n1B=SBS.Registers\n");
        Put(QStringLiteral("b/Config.ini"), "[Device]\nName=zm41k48\n");
        Put(QStringLiteral("g/Config.ini"), "[Device]\nName=Generic gauge\n");
    }
    void Put(const QString& name, const QByteArray& bytes)
    {
        const QString path = m_folder.filePath(name);
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.write(bytes);
    }
    StartupState state;
    ProfileStore profiles;

private:
    QTemporaryDir m_folder;
};

inline constexpr char kFewTargets[] = "[Targets]\r\n"
                                      "; a comment=not an entry\r\n"
                                      "  800_1_02 = a\\Config.ini \r\n"
                                      "no equals sign\r\n"
                                      "801_2_00=b\\Config.ini\r\n"
                                      "generic=g\\Config.ini\r\n"
                                      "9_0=missing\\Config.ini\r\n";
