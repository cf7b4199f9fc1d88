#pragma once

#include "dataflash/DataFlashModel.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

/// {"class": {"subclass": {"item": "native text"}}}; items without a value are left out.
[[nodiscard]] QJsonObject ValuesJson(const DataFlashTree& tree);

/// Puts values of that form into the tree, also when they stand in a member "values" as commands print them.
/// A number stands for its native text. Names ignore case.
/// @return empty, or the names that the configuration does not have
[[nodiscard]] QStringList PutValues(DataFlashTree& tree, const QJsonObject& values);

/// The same from a file. @return empty, or what is wrong with it
[[nodiscard]] QString PutValuesFile(DataFlashTree& tree, const QString& path);
