// A word read through the command layer, beside the start of one process on the same machine in the same run.

#include "comm/adapters/AdapterFunnel.h"
#include "comm/adapters/WatchedAdapter.h"
#include "comm/frmUSB.h"
#include "platform/NoMessages.h"
#include "platform/SystemTime.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/wait.h>

namespace {

/// Answers at once and lets events run once, as every back end does.
class NullAdapter final : public AdapterFunnel {
public:
    explicit NullAdapter(TimeSource& time) : m_time(time) { }
    ErrorCode AdpReadSMBusWord(std::int16_t cmd, std::int16_t& word, std::int16_t& /*addr*/) override
    {
        m_time.ProcessEvents(0);
        word = cmd;
        return ErrorCode::Ok;
    }
    [[nodiscard]] AdapterFacts Facts() const override { return {}; }

private:
    void Perform(DriverCall& /*call*/) override { m_time.ProcessEvents(0); }
    TimeSource& m_time;
};

void ReadWords(benchmark::State& state, SystemTime& time, Pc61vRW& driver)
{
    NoMessages messages;
    frmUSB usb(driver, time, messages, QString());
    usb.EnableErrorLog(); // so that the check for a line to log is the one of a logged run
    for ([[maybe_unused]] auto step : state) {
        std::int16_t word = 0;
        ErrorCode err = ErrorCode::Unknown;
        usb.ReadSMBusWord_(9, word, 22, err);
        if (Failed(err))
            state.SkipWithError("the read failed");
        benchmark::DoNotOptimize(word);
    }
}

void WordRead(benchmark::State& state)
{
    SystemTime time;
    NullAdapter driver(time);
    ReadWords(state, time, driver);
}
BENCHMARK(WordRead);

/// With the counters of the bus health, and with the bus monitor on or off: what watching costs is the
/// difference.
void WatchedWordRead(benchmark::State& state)
{
    SystemTime time;
    BusWatch watch;
    watch.Monitor.Watch(state.range(0) != 0);
    WatchedAdapter driver(std::make_unique<NullAdapter>(time), time, watch);
    ReadWords(state, time, driver);
}
BENCHMARK(WatchedWordRead)->ArgName("monitor")->Arg(0)->Arg(1);

void OneProcess(benchmark::State& state)
{
    char path[] = "/bin/true";
    char* arguments[] = {path, nullptr};
    for ([[maybe_unused]] auto step : state) {
        pid_t child = 0;
        int status = 0;
        if (posix_spawn(&child, path, nullptr, nullptr, arguments, environ) != 0
            || waitpid(child, &status, 0) != child || status != 0)
            state.SkipWithError("the process failed");
    }
}
BENCHMARK(OneProcess)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv); // the event pump has real queues to look at
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
