#pragma once

#include <QString>
#include <QStringView>

/// Where the program's own files lie: the override if given (--home), else TARNLO_HOME, else the folder of
/// the executable when tarnlo.ini lies there, else the user's data folder, filled on first use from the
/// installed copy. Absolute, without a trailing "/".
/// @param problem  receives plain words when the user's folder could not be made or filled; the path still
/// counts
[[nodiscard]] QString ProgramFolder(const QString& override, QString* problem = nullptr);

/// Where the search looks; the installed copy lies in ../share/tarnlo/home beside the executable's folder.
struct ProgramPlaces {
    QString environment; ///< TARNLO_HOME
    QString executableFolder;
    QString dataFolder; ///< the user's
};
[[nodiscard]] QString ProgramFolder(const QString& override, const ProgramPlaces& places,
                                    QString* problem = nullptr);

/// The program settings file of both programs, the window's and tarnlo-cli's.
[[nodiscard]] QString ProgramSettingsFileIn(const QString& programFolder);

/// Empty, or what cannot be kept because the program folder or the settings file in it cannot be written.
/// Everything else works.
[[nodiscard]] QString WhatIsNotKept(const QString& programFolder);

/// A path as written in a settings file, made openable: "\" becomes "/", a relative path is joined to folder,
/// and where no such file is there a match that ignores letter case is taken, part by part.
[[nodiscard]] QString ResolvePath(const QString& folder, const QString& written);
