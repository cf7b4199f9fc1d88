#include "plugins/PluginConnection.h"

#include "comm/BusSequence.h"
#include "comm/BusTurn.h"
#include "comm/ErrorCodes.h"

#include <algorithm>
#include <utility>

namespace {

constexpr int kRetryMs = 2;
constexpr qint64 kMostUnfetched = 1024 * 1024; // bytes of answers

const QString kAcquire = QStringLiteral("AcquireUSBExclAccess");

} // namespace

using PluginProtocol::Message;

PluginConnection::PluginConnection(QLocalSocket* socket, PluginHost& host, const QString& token,
                                   QObject* parent)
    : QObject(parent), m_socket(socket), m_host(host), m_token(token)
{
    m_socket->setParent(this);
    m_socket->setReadBufferSize(PluginProtocol::kLongestLine);
    m_retry.setSingleShot(true);
    m_hello.setSingleShot(true);
    connect(m_socket, &QLocalSocket::readyRead, this, &PluginConnection::Read);
    connect(m_socket, &QLocalSocket::disconnected, this, &PluginConnection::Gone);
    connect(&m_retry, &QTimer::timeout, this, &PluginConnection::Serve);
    connect(&m_hello, &QTimer::timeout, this, [this] {
        if (m_role.isEmpty())
            End(tr("no hello came within %1 s").arg(kHelloMs / 1000));
    });
    m_hello.start(kHelloMs);
}

void PluginConnection::Read()
{
    if (m_ended) {
        (void)m_socket->readAll();
        return;
    }
    if (!m_lines.Take(m_socket->readAll())) {
        End(tr("a line was longer than %1 bytes").arg(PluginProtocol::kLongestLine));
        return;
    }
    if (m_lines.Waiting() > PluginProtocol::kMostWaiting) {
        End(tr("more than %1 requests were sent without waiting for answers")
                .arg(PluginProtocol::kMostWaiting));
        return;
    }
    Serve();
}

void PluginConnection::Serve()
{
    if (m_serving || m_ended)
        return; // inside a call of this client: its end goes on here
    m_serving = true;
    if (m_putOff) {
        const Message waiting = *std::exchange(m_putOff, std::nullopt);
        Answer(waiting);
    } else if (const std::optional<QByteArray> line = m_lines.Next()) {
        ServeLine(*line);
    }
    m_serving = false;
    if (m_ended)
        Gone();
    else if (m_putOff)
        m_retry.start(kRetryMs);
    else if (m_lines.Waiting() > 0)
        m_retry.start(0); // other events get their turn between two requests
}

void PluginConnection::ServeLine(const QByteArray& line)
{
    const Message message = PluginProtocol::Parse(line);
    if (m_role.isEmpty() && message.What != Message::Kind::Hello) {
        End(tr("the first line must be a hello"));
        return;
    }
    switch (message.What) {
    case Message::Kind::Hello:
        Greet(message);
        return;
    case Message::Kind::Call:
        m_putOffMs = 0;
        Answer(message);
        return;
    case Message::Kind::Result:
    case Message::Kind::Error:
        if (const auto asked = m_asked.find(message.Id); asked != m_asked.end()) {
            const Answered answered = std::move(asked->second);
            m_asked.erase(asked);
            answered(message);
        }
        return;
    case Message::Kind::Get:
    case Message::Kind::Set:
        Send(PluginProtocol::Error(message.Id, tr("the host has operations only; use \"call\"")));
        return;
    case Message::Kind::Bad:
        Send(PluginProtocol::Error(message.Id, message.Text));
        if (++m_bad >= kMostBad)
            End(tr("%1 lines were no messages, the last one because %2").arg(m_bad).arg(message.Text));
        return;
    }
}

void PluginConnection::Greet(const Message& hello)
{
    if (!m_role.isEmpty())
        return End(tr("it said hello twice"));
    if (hello.Value.toDouble() != PluginProtocol::kVersion)
        return End(tr("it speaks version %1 of the plug-in protocol, this Tarnlo speaks version %2; get the "
                      "plug-in for this version")
                       .arg(hello.Value.toString().left(20))
                       .arg(PluginProtocol::kVersion));
    if (hello.Text != m_token)
        return End(tr("the token is not the one of this socket"));
    if (hello.Name != QLatin1String("plugin") && hello.Name != QLatin1String("adapter"))
        return End(tr("it is neither \"plugin\" nor \"adapter\""));
    m_role = hello.Name;
    m_hello.stop();
    Send(PluginProtocol::HelloAnswer(QStringLiteral("Tarnlo " TARNLO_VERSION)));
    emit SaidHello();
}

void PluginConnection::Answer(const Message& request)
{
    const int patience = request.Name == kAcquire
        ? std::clamp(request.Arguments.value(QStringLiteral("timeout")).toInt(), 0, kPutOffMs)
        : kPutOffMs;
    // a sequence further down the stack goes on only when this returns; a long one is not waited for
    if (!BusSequence::Running() && PluginHost::NeedsBus(request.Name)
        && (!m_host.MayUseBus() || (BusTurn::Asked() && !m_host.Holds())) && m_putOffMs < patience) {
        m_putOffMs += kRetryMs;
        m_putOff = request;
        return;
    }
    QVariantMap arguments = request.Arguments;
    if (m_putOffMs > 0 && request.Name == kAcquire)
        arguments[QStringLiteral("timeout")] = patience - m_putOffMs;
    QVariantMap answer = m_host.Call(request.Name, arguments);
    if (request.Name == kAcquire && answer.value(QStringLiteral("result")).toBool())
        m_holds = true;
    if (const QVariant error = answer.value(QStringLiteral("error")); error.isValid())
        return Send(PluginProtocol::Error(request.Id, error.toString()));
    if (const int code = answer.value(QStringLiteral("err")).toInt(); code != 0)
        answer.insert(QStringLiteral("text"), ErrorCodeToText(static_cast<ErrorCode>(code)));
    Send(PluginProtocol::Result(request.Id, answer));
}

void PluginConnection::Send(const QByteArray& line)
{
    if (m_ended || m_socket->state() != QLocalSocket::ConnectedState)
        return;
    m_socket->write(line);
    m_socket->flush();
    if (m_socket->bytesToWrite() > kMostUnfetched)
        End(tr("it does not read what it is sent"));
}

void PluginConnection::Get(const QString& property, Answered answered)
{
    Send(PluginProtocol::Get(Remember(std::move(answered)), property));
}

void PluginConnection::Set(const QString& property, const QVariant& value, Answered answered)
{
    Send(PluginProtocol::Set(Remember(std::move(answered)), property, value));
}

void PluginConnection::Call(const QString& operation, const QVariantMap& arguments, Answered answered)
{
    Send(PluginProtocol::Call(Remember(std::move(answered)), operation, arguments));
}

std::int64_t PluginConnection::Remember(Answered answered)
{
    m_asked[m_nextId] = std::move(answered);
    return m_nextId++;
}

void PluginConnection::End(const QString& why)
{
    if (m_ended)
        return;
    m_why = why;
    m_ended = true; // first: this line has no answer and no limit
    m_socket->write(PluginProtocol::Error(std::nullopt, why));
    m_socket->flush();
    m_socket->abort();
    Gone();
}

void PluginConnection::Gone()
{
    m_ended = true;
    if (m_serving || m_left)
        return; // the call that is under way comes back here
    m_left = true;
    m_retry.stop();
    m_hello.stop();
    if (m_holds)
        m_host.GiveBack();
    emit Left(m_why);
}
