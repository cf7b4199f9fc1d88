#pragma once

#include "plugins/PluginHost.h"
#include "plugins/PluginProtocol.h"

#include <QLocalSocket>
#include <QTimer>

#include <functional>
#include <map>

/// One client of a plug-in's socket: the plug-in's process itself, or a program that it started. Requests are
/// answered one after the other. One that needs the bus while another holds it is put off for at most 10 s;
/// a long sequence of another view answers code 94 at once. What the client holds goes back when it leaves.
///
/// Ends the connection, with a last line that says why, at a line that is too long, at more than kMostWaiting
/// requests that wait, at lines that are no messages, and when answers are not fetched.
class PluginConnection final : public QObject {
    Q_OBJECT
public:
    using Answered = std::function<void(const PluginProtocol::Message& answer)>;

    /// @param token  what a hello must bring
    PluginConnection(QLocalSocket* socket, PluginHost& host, const QString& token, QObject* parent);

    static constexpr int kHelloMs = 10'000;
    static constexpr int kPutOffMs = 10'000; ///< for the bus
    static constexpr int kMostBad = 8; ///< lines that are no messages

    [[nodiscard]] const QString& Role() const { return m_role; } ///< empty until it said hello
    [[nodiscard]] bool Busy() const { return m_serving; } ///< one of its calls is further down the stack
    /// Asks the client; answered is called once, unless the connection ends before.
    void Get(const QString& property, Answered answered);
    void Set(const QString& property, const QVariant& value, Answered answered);
    void Call(const QString& operation, const QVariantMap& arguments, Answered answered);
    /// The client may still answer this: it is not in a call of its own.
    [[nodiscard]] bool Expected() const
    {
        return !m_asked.empty() && !m_serving && !m_putOff && m_lines.Waiting() == 0;
    }
    void End(const QString& why);

signals:
    void SaidHello();
    void Left(const QString& why); ///< once; why is empty when the client went by itself

private:
    void Read();
    void Serve();
    void ServeLine(const QByteArray& line);
    void Greet(const PluginProtocol::Message& hello);
    void Answer(const PluginProtocol::Message& request);
    void Send(const QByteArray& line);
    void Gone();
    std::int64_t Remember(Answered answered);

    QLocalSocket* m_socket;
    PluginHost& m_host;
    QString m_token;
    QString m_role;
    QString m_why;
    PluginProtocol::Lines m_lines;
    std::optional<PluginProtocol::Message> m_putOff; ///< waits for the bus
    int m_putOffMs = 0;
    QTimer m_retry;
    QTimer m_hello;
    std::map<std::int64_t, Answered> m_asked;
    std::int64_t m_nextId = 1;
    int m_bad = 0;
    bool m_serving = false;
    bool m_holds = false; ///< acquired by this client
    bool m_ended = false;
    bool m_left = false;
};
