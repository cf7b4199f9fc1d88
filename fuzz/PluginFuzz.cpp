// Any bytes as what a plug-in sends: lines are cut, parsed and called on a host without an adapter behind it,
// and every answer is a line that the other end can parse.

#include "comm/adapters/AdapterFunnel.h"
#include "platform/NoMessages.h"
#include "plugins/PluginHost.h"
#include "plugins/PluginProtocol.h"

#include <QCoreApplication>

#include <cstdlib>

namespace {

class NoTime final : public TimeSource {
public:
    double SecondsOfDay() override { return static_cast<double>(m_ms % 86'400'000) / 1000; }
    QDateTime Now() override { return {}; }
    std::int64_t MonotonicMs() override { return m_ms; }
    void ProcessEvents(int atMostMs) override { m_ms += atMostMs; }

private:
    std::int64_t m_ms = 0;
};

/// Answers every call with what the caller gave.
class NoAdapter final : public AdapterFunnel {
public:
    [[nodiscard]] AdapterFacts Facts() const override { return {}; }

private:
    void Perform(DriverCall&) override { }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static int count = 0;
    static const QCoreApplication application(count, nullptr);
    NoTime time;
    NoMessages messages;
    NoAdapter adapter;
    frmUSB usb(adapter, time, messages, {});
    GaugeAccess access(time, messages);
    PluginHost host({usb, access, time, messages, [] { return DefaultSkin(); }}, QStringLiteral("fuzz"));
    PluginProtocol::Lines lines;
    (void)lines.Take(QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    while (const std::optional<QByteArray> line = lines.Next()) {
        const PluginProtocol::Message message = PluginProtocol::Parse(*line);
        if (message.What == PluginProtocol::Message::Kind::Bad && message.Text.isEmpty())
            std::abort();
        if (message.What != PluginProtocol::Message::Kind::Call)
            continue;
        QByteArray answer = PluginProtocol::Result(message.Id, host.Call(message.Name, message.Arguments));
        answer.chop(1);
        const PluginProtocol::Message back = PluginProtocol::Parse(answer);
        if (back.What != PluginProtocol::Message::Kind::Result || back.Id != message.Id
            || answer.contains('\n'))
            std::abort();
    }
    return 0;
}
