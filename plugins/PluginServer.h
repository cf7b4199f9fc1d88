#pragma once

#include "plugins/PluginConnection.h"

#include <QLocalServer>
#include <QTemporaryDir>

#include <vector>

/// The private socket of one plug-in in a process of its own: in a folder that only this user may enter, open
/// to who knows the token. At most one client is the plug-in itself; others, programs that it started, use
/// the operations alone.
class PluginServer final : public QObject {
    Q_OBJECT
public:
    explicit PluginServer(PluginHost& host, QObject* parent = nullptr);
    ~PluginServer() override;

    static constexpr std::size_t kMostClients = 8;

    /// @return empty, or what went wrong in plain words
    [[nodiscard]] QString Listen();
    [[nodiscard]] QString SocketPath() const { return m_server.fullServerName(); }
    [[nodiscard]] const QString& Token() const { return m_token; }
    [[nodiscard]] PluginConnection* Plugin() const { return m_plugin; } ///< nothing until it said hello
    [[nodiscard]] bool Busy() const;

signals:
    void Joined(); ///< the plug-in itself
    void PluginLeft(const QString& why);
    /// A client was sent away: a wrong version, token or line.
    void Refused(const QString& why);

private:
    void Accept();

    PluginHost& m_host;
    QTemporaryDir m_folder;
    QLocalServer m_server;
    QString m_token;
    std::vector<PluginConnection*> m_clients;
    PluginConnection* m_plugin = nullptr;
};
