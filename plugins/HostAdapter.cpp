#include "plugins/HostAdapter.h"

#include "comm/adapters/RecordedAdapter.h"

#include <QLocalSocket>

#include <algorithm>
#include <utility>

namespace {

constexpr int kAnswerMs = 30'000; // the host may wait for its own bus for 10 s
constexpr int kFlashMs = 15 * 60'000;
constexpr int kTurnMs = 50;

QString Key(const char* name) { return QString::fromLatin1(name); }

QByteArray ToArray(const Bytes& data)
{
    return {reinterpret_cast<const char*>(data.data()), static_cast<qsizetype>(data.size())};
}

/// Bytes come back as hexadecimal text.
Bytes BytesOf(const QVariantMap& answer)
{
    const QByteArray data = QByteArray::fromHex(answer.value(QStringLiteral("data")).toString().toLatin1());
    return {data.begin(), data.end()};
}

std::int16_t Short(const QVariantMap& answer, const char* name)
{
    return static_cast<std::int16_t>(answer.value(Key(name)).toInt());
}

} // namespace

HostAdapter::HostAdapter(TimeSource& time, QString socket, QString token)
    : m_time(time), m_path(std::move(socket)), m_token(std::move(token))
{
}

HostAdapter::~HostAdapter() = default;

AdapterFacts HostAdapter::Facts() const
{
    AdapterFacts facts;
    facts.Name = QStringLiteral("host");
    facts.Kind = QStringLiteral("host");
    facts.Functions
        = QStringList{QStringLiteral("word"), QStringLiteral("block"),    QStringLiteral("command"),
                      QStringLiteral("i2c"),  QStringLiteral("one-wire"), QStringLiteral("power")};
    facts.Problem = m_problem;
    return facts;
}

// The name is not looked at: the host holds one adapter, and that is it.
std::int16_t HostAdapter::AdpOpenDevice(QString& name)
{
    m_problem.clear();
    m_lines = {};
    m_answers.clear();
    m_host.clear();
    m_socket = std::make_unique<QLocalSocket>();
    QObject::connect(m_socket.get(), &QLocalSocket::readyRead, [this] { Read(); });
    m_socket->connectToServer(m_path);
    if (m_socket->waitForConnected(kAnswerMs)) {
        m_socket->write(PluginProtocol::Hello(QStringLiteral("adapter"), m_token));
        m_socket->flush();
        const std::int64_t end = m_time.MonotonicMs() + kAnswerMs;
        while (m_host.isEmpty() && m_problem.isEmpty() && m_time.MonotonicMs() < end
               && m_socket->state() == QLocalSocket::ConnectedState)
            m_time.ProcessEvents(kTurnMs);
        Read();
    } else {
        m_problem = QStringLiteral("The Tarnlo that started this is gone: %1.").arg(m_socket->errorString());
    }
    if (m_host.isEmpty()) {
        if (m_problem.isEmpty())
            m_problem = QStringLiteral("The Tarnlo that started this did not answer.");
        m_socket.reset();
        return -1;
    }
    name = m_host;
    return 0;
}

void HostAdapter::AdpCloseDevice() { m_socket.reset(); }

void HostAdapter::Read()
{
    if (!m_socket || !m_lines.Take(m_socket->readAll()))
        return;
    while (const std::optional<QByteArray> line = m_lines.Next()) {
        PluginProtocol::Message message = PluginProtocol::Parse(*line);
        if (message.What == PluginProtocol::Message::Kind::Hello)
            m_host = QStringLiteral("host");
        else if (message.What == PluginProtocol::Message::Kind::Error && message.Id == 0)
            m_problem = QStringLiteral("The Tarnlo that started this refused: %1.").arg(message.Text);
        else
            m_answers[message.Id] = std::move(message);
    }
}

ErrorCode HostAdapter::Ask(const QString& operation, const QVariantMap& arguments, QVariantMap& answer,
                           int limitMs)
{
    if (!m_socket)
        return ErrorCode::NoUsb;
    const std::int64_t id = m_nextId++;
    m_socket->write(PluginProtocol::Call(id, operation, arguments));
    m_socket->flush();
    const std::int64_t end = m_time.MonotonicMs() + limitMs;
    // events may make calls of their own meanwhile, so answers are kept by number
    m_time.ProcessEvents(0);
    while (!m_answers.contains(id)) {
        if (!m_socket || m_socket->state() != QLocalSocket::ConnectedState || m_time.MonotonicMs() > end) {
            m_problem = QStringLiteral("The Tarnlo that started this is gone or does not answer.");
            return ErrorCode::NoUsb;
        }
        m_time.ProcessEvents(kTurnMs);
    }
    const PluginProtocol::Message message = std::move(m_answers.extract(id).mapped());
    if (message.What == PluginProtocol::Message::Kind::Error)
        return ErrorCode::IncorrectParam;
    answer = message.Value.toMap();
    return static_cast<ErrorCode>(Short(answer, "err"));
}

ErrorCode HostAdapter::Ask(const QString& operation, const QVariantMap& arguments)
{
    QVariantMap answer;
    return Ask(operation, arguments, answer, kAnswerMs);
}

void HostAdapter::Perform(DriverCall& call)
{
    m_time.ProcessEvents(0);
    if (call.Number == AdapterCall::ListFreeDevices) // what the host holds is not free
        return;
    AnswerWith(call, ErrorCode::IncorrectParam);
}

ErrorCode HostAdapter::AdpReadSMBusWord(std::int16_t cmd, std::int16_t& word, std::int16_t& addr)
{
    QVariantMap answer;
    const ErrorCode code
        = Ask(Key("ReadSMBusWord_"), {{Key("cmd"), cmd}, {Key("addr"), addr}}, answer, kAnswerMs);
    word = Short(answer, "word");
    return code;
}

ErrorCode HostAdapter::AdpWriteSMBusWord(std::int16_t cmd, std::int16_t word, std::int16_t& addr)
{
    return Ask(Key("WriteSMBusWord_"), {{Key("cmd"), cmd}, {Key("word"), word}, {Key("addr"), addr}});
}

ErrorCode HostAdapter::AdpReadSMBusBlock(std::int16_t cmd, Bytes& data, std::int16_t& length,
                                         std::int16_t& addr)
{
    QVariantMap answer;
    const ErrorCode code
        = Ask(Key("ReadSMBusBlock_"), {{Key("cmd"), cmd}, {Key("addr"), addr}}, answer, kAnswerMs);
    data = BytesOf(answer);
    length = static_cast<std::int16_t>(data.size());
    return code;
}

ErrorCode HostAdapter::AdpWriteSMBusBlock(std::int16_t& cmd, const Bytes& data, std::int16_t& length,
                                          std::int16_t& addr)
{
    return Ask(
        Key("WriteSMBusBlock"),
        {{Key("cmd"), cmd}, {Key("data"), ToArray(data)}, {Key("length"), length}, {Key("addr"), addr}});
}

ErrorCode HostAdapter::AdpWriteSMBusCommand(std::int16_t& cmd, std::int16_t& addr)
{
    return Ask(Key("WriteSMBusCommand"), {{Key("cmd"), cmd}, {Key("addr"), addr}});
}

ErrorCode HostAdapter::AdpGetLastError() { return Ask(Key("CheckForError"), {}); }

ErrorCode HostAdapter::AdpReadI2CBlockOnSMB(std::int16_t cmd, Bytes& data, std::int16_t& length,
                                            std::int16_t& addr)
{
    QVariantMap answer;
    const ErrorCode code
        = Ask(Key("ReadI2CBlockOnSMB_"), {{Key("cmd"), cmd}, {Key("length"), length}, {Key("addr"), addr}},
              answer, kAnswerMs);
    data = BytesOf(answer);
    length = static_cast<std::int16_t>(data.size());
    return code;
}

ErrorCode HostAdapter::AdpWriteI2CBlockOnSMB(std::int16_t& cmd, const Bytes& data, std::int16_t& length,
                                             std::int16_t& addr)
{
    return Ask(
        Key("WriteI2CBlockOnSMB"),
        {{Key("cmd"), cmd}, {Key("data"), ToArray(data)}, {Key("length"), length}, {Key("addr"), addr}});
}

ErrorCode HostAdapter::AdpI2CReadBlock(std::int16_t& addr, std::int16_t& reg, Bytes& data,
                                       std::int16_t& length)
{
    QVariantMap answer;
    const ErrorCode code
        = Ask(Key("I2CReadBlock_"), {{Key("addr"), addr}, {Key("reg"), reg}, {Key("length"), length}}, answer,
              kAnswerMs);
    data = BytesOf(answer);
    length = static_cast<std::int16_t>(data.size());
    return code;
}

ErrorCode HostAdapter::AdpI2CWriteBlock(std::int16_t& addr, std::int16_t& reg, const Bytes& data,
                                        std::int16_t& length)
{
    return Ask(
        Key("I2CWriteBlock"),
        {{Key("addr"), addr}, {Key("reg"), reg}, {Key("data"), ToArray(data)}, {Key("length"), length}});
}

ErrorCode HostAdapter::AdpI2CFunction(std::int32_t selector, std::int16_t& first, std::int16_t& second,
                                      std::int16_t& third)
{
    if (selector != 0) // of the four only the power switch is lent
        return AdapterFunnel::AdpI2CFunction(selector, first, second, third);
    return Ask(Key("I2CPower"), {{Key("on"), first}});
}

ErrorCode HostAdapter::AdpReadOneWire(std::int16_t mode, std::int32_t& value, std::int16_t& /*extra*/)
{
    QVariantMap answer;
    const ErrorCode code
        = Ask(Key("ReadOneWire"), {{Key("mode"), mode}, {Key("value"), value}}, answer, kAnswerMs);
    value = answer.value(Key("value"), value).toInt();
    return code;
}

ErrorCode HostAdapter::AdpWriteOneWire(std::int16_t mode, std::int32_t value, std::int16_t /*extra*/)
{
    return Ask(Key("WriteOneWire"), {{Key("mode"), mode}, {Key("value"), value}});
}

void HostAdapter::AdpDelay(std::int32_t time) { (void)Ask(Key("Delay"), {{Key("time"), time}}); }

std::int32_t HostAdapter::AdpProgramSrec(QString& path, std::int16_t& status, std::int32_t& detail)
{
    QVariantMap answer;
    const ErrorCode code = Ask(Key("ProgramSrec"), {{Key("path"), path}}, answer, kFlashMs);
    status = Short(answer, "status");
    detail = answer.value(Key("detail")).toInt();
    return Number(code);
}

std::int32_t HostAdapter::AdpReadSrec(QString& path, std::int16_t /*zero*/, std::int16_t& status,
                                      std::int32_t& detail)
{
    QVariantMap answer;
    const ErrorCode code = Ask(Key("ReadSrec"), {{Key("path"), path}}, answer, kFlashMs);
    status = Short(answer, "status");
    detail = answer.value(Key("detail")).toInt();
    return Number(code);
}

bool EnvironmentNamesHost() { return !qEnvironmentVariableIsEmpty(PluginProtocol::kSocketVariable); }

std::unique_ptr<Pc61vRW> HostAdapterFromEnvironment(TimeSource& time, const QString& traceFile)
{
    if (!EnvironmentNamesHost())
        return nullptr;
    std::unique_ptr<Pc61vRW> made
        = std::make_unique<HostAdapter>(time, qEnvironmentVariable(PluginProtocol::kSocketVariable),
                                        qEnvironmentVariable(PluginProtocol::kTokenVariable));
    if (!traceFile.isEmpty())
        made = std::make_unique<RecordedAdapter>(std::move(made), time, traceFile);
    return made;
}
