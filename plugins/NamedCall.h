#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>

/// Calls an invokable method of an object's own class by its name, with arguments by the names of its
/// parameters. Methods have one form each; parameters are whole numbers, texts, bytes and maps of texts.
/// @return what it wrote (its "&" parameters) by name and its result as "result"; or "error" in plain words,
///         and then it was not called
[[nodiscard]] QVariantMap CallByName(QObject& object, const QString& method, const QVariantMap& arguments);
