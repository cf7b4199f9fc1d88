// A word read that a plug-in asks for over its socket, beside the same read made directly, in the same run.
// The plug-in is a thread with a plain socket, so that the main thread's CPU time is the host's alone.

#include "comm/adapters/AdapterFunnel.h"
#include "platform/NoMessages.h"
#include "platform/SystemTime.h"
#include "plugins/PluginServer.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>

#include <array>
#include <benchmark/benchmark.h>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace {

/// Answers at once and lets events run once, as every back end does.
class NullAdapter final : public AdapterFunnel {
public:
    explicit NullAdapter(TimeSource& time) : m_time(time) { }
    ErrorCode AdpReadSMBusWord(std::int16_t cmd, std::int16_t& word, std::int16_t& /*addr*/) override
    {
        m_time.ProcessEvents(0);
        word = cmd;
        ++calls;
        return ErrorCode::Ok;
    }
    [[nodiscard]] AdapterFacts Facts() const override { return {}; }
    std::int64_t calls = 0;

private:
    void Perform(DriverCall& /*call*/) override { m_time.ProcessEvents(0); }
    TimeSource& m_time;
};

struct Bench {
    SystemTime time;
    NoMessages messages;
    NullAdapter driver{time};
    frmUSB usb{driver, time, messages, QString()};
    GaugeAccess access{time, messages};
};

void AdapterCallDirect(benchmark::State& state)
{
    Bench bench;
    for ([[maybe_unused]] auto step : state) {
        const ExclusiveAccess access(bench.access, QStringLiteral("bench"));
        std::int16_t word = 0;
        ErrorCode err = ErrorCode::Unknown;
        bench.usb.ReadSMBusWord_(9, word, 22, err);
        if (Failed(err))
            state.SkipWithError("the read failed");
        benchmark::DoNotOptimize(word);
    }
}
BENCHMARK(AdapterCallDirect)->UseRealTime();

/// Asks, waits for the answer, asks again, until the other end closes.
void PlayPlugin(const std::string& path, const std::string& token)
{
    const int end = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    std::array<char, 4096> answer{};
    if (::connect(end, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
        std::string line = R"({"hello":1,"as":"plugin","token":")" + token + "\"}\n";
        const std::string call = R"({"id":1,"call":"ReadSMBusWord_","args":{"cmd":9,"addr":22}})"
                                 "\n";
        while (::send(end, line.data(), line.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(line.size())
               && ::recv(end, answer.data(), answer.size(), 0) > 0)
            line = call;
    }
    ::close(end);
}

void PluginCallOverTheSocket(benchmark::State& state)
{
    Bench bench;
    PluginHost host({bench.usb, bench.access, bench.time, bench.messages, {}}, QStringLiteral("bench"));
    auto server = std::make_unique<PluginServer>(host);
    if (!server->Listen().isEmpty())
        return state.SkipWithError("no socket");
    std::thread plugin(PlayPlugin, server->SocketPath().toStdString(), server->Token().toStdString());
    QAbstractEventDispatcher* events = QAbstractEventDispatcher::instance();
    std::int64_t before = 0;
    for ([[maybe_unused]] auto step : state) {
        while (bench.driver.calls == before)
            events->processEvents(QEventLoop::WaitForMoreEvents);
        before = bench.driver.calls;
    }
    server.reset();
    plugin.join();
}
BENCHMARK(PluginCallOverTheSocket)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
