#pragma once

// All that a plug-in in C++ needs to know of Tarnlo at compile time; docs/plugins.md shows a whole one.
// Everything else goes by name through Qt's meta-object, so a plug-in built today runs with a later Tarnlo.
//
// A library holds one QObject with Q_PLUGIN_METADATA(IID TarnloPlugin_iid FILE "x.json"), its factory, with
//     Q_INVOKABLE QObject* Create(const QString& className, QObject* host);
// and x.json lists what it can create: {"Classes": ["CellBalance"]}.

#include <QMetaObject>
#include <QObject>
#include <QVariantMap>

/// The number is the version of this contract.
#define TarnloPlugin_iid "tarnlo.plugin/1"

/// Calls an operation of the host by name, with arguments by name.
/// @return what it wrote, its result as "result", or "error" in plain words when nothing was done
inline QVariantMap CallHost(QObject* host, const QString& operation, const QVariantMap& arguments = {})
{
    QVariantMap answer;
    QMetaObject::invokeMethod(host, "Call", Qt::DirectConnection, Q_RETURN_ARG(QVariantMap, answer),
                              Q_ARG(QString, operation), Q_ARG(QVariantMap, arguments));
    return answer;
}
