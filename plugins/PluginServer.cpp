#include "plugins/PluginServer.h"

#include <QRandomGenerator>

#include <algorithm>
#include <array>

PluginServer::PluginServer(PluginHost& host, QObject* parent) : QObject(parent), m_host(host)
{
    std::array<quint32, 8> words{};
    QRandomGenerator::system()->generate(words.begin(), words.end());
    m_token
        = QString::fromLatin1(QByteArray(reinterpret_cast<const char*>(words.data()), sizeof words).toHex());
    connect(&m_server, &QLocalServer::newConnection, this, &PluginServer::Accept);
}

PluginServer::~PluginServer()
{
    for (PluginConnection* client : m_clients) {
        client->disconnect(this);
        client->End(tr("the plug-in's window was closed"));
    }
}

QString PluginServer::Listen()
{
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    m_server.setMaxPendingConnections(static_cast<int>(kMostClients));
    if (!m_folder.isValid())
        return tr("No folder for the plug-in's socket could be made: %1.").arg(m_folder.errorString());
    if (!m_server.listen(m_folder.filePath(QStringLiteral("socket"))))
        return tr("The plug-in's socket could not be opened: %1.").arg(m_server.errorString());
    return {};
}

bool PluginServer::Busy() const { return std::ranges::any_of(m_clients, &PluginConnection::Busy); }

void PluginServer::Accept()
{
    while (QLocalSocket* socket = m_server.nextPendingConnection()) {
        if (m_clients.size() >= kMostClients) {
            delete socket;
            emit Refused(tr("more than %1 programs connected at once").arg(kMostClients));
            continue;
        }
        auto* client = new PluginConnection(socket, m_host, m_token, this);
        m_clients.push_back(client);
        connect(client, &PluginConnection::SaidHello, this, [this, client] {
            if (client->Role() != QLatin1String("plugin"))
                return;
            if (m_plugin) {
                client->End(tr("the plug-in is connected already; others connect as \"adapter\""));
                return;
            }
            m_plugin = client;
            emit Joined();
        });
        connect(client, &PluginConnection::Left, this, [this, client](const QString& why) {
            std::erase(m_clients, client);
            client->deleteLater();
            if (client == m_plugin) {
                m_plugin = nullptr;
                m_host.GiveBack();
                emit PluginLeft(why);
            } else if (!why.isEmpty()) {
                emit Refused(why);
            }
        });
    }
}
