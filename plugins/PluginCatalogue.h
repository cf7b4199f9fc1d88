#pragma once

#include "plugins/PluginObject.h"

#include <QStringList>

class PluginHost;

/// Where plug-ins lie: "plugins" in the program folder, beside the program, and where installed ones go.
[[nodiscard]] QStringList PluginFolders(const QString& programFolder);

/// A new object of a class: from the first library of the folders that lists the class, else from the script
/// CLASS.py or the executable CLASS.
/// @param problem  why there is none, with what was looked through
[[nodiscard]] PluginObject* MakePluginObject(const QString& className, const QStringList& folders,
                                             PluginHost& host, QObject* parent, QString& problem);

/// The icon of a class: CLASS.svg in one of the folders; empty: none.
[[nodiscard]] QString PluginIconFile(const QString& className, const QStringList& folders);
