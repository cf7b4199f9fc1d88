// What the host adds to the time that the bus and the gauge's rows take by themselves. The simulated gauge
// runs on the same processor and is counted in, so the shares are upper bounds.

#include "comm/adapters/SimulatedAdapter.h"
#include "dataflash/DataFlash.h"
#include "dataflash/bCfgReader.h"
#include "platform/VirtualTime.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr double kRowDelaySeconds = 0.05;
constexpr int kPages = 64;

class Quiet final : public UserMessages {
public:
    void Show(const QString& text) override { std::fprintf(stderr, "%s\n", text.toUtf8().constData()); }
    Answer Ask(const QString& text, Answers /*offered*/) override
    {
        Show(text);
        return Answer::No;
    }
};

/// The journal is made and thrown away; a disk would be measured otherwise.
class NoJournals final : public JournalFiles {
public:
    QStringList Names() override { return {}; }
    QByteArray Read(const QString& /*name*/, QString& /*problem*/) override { return {}; }
    QString Save(const QString& /*name*/, const QByteArray& /*bytes*/) override { return {}; }
    QString Append(const QString& /*name*/, const QByteArray& /*bytes*/) override { return {}; }
    QString Remove(const QString& /*name*/) override { return {}; }
};

struct Bench {
    Bench()
    {
        bool open = false;
        usb.OpenFirstFreeDevice(open);
        bCfgReader reader;
        if (!open
            || !InitStructFromCfgFile(reader,
                                      QStringLiteral(TARNLO_SOURCE_DIR "/targets/sim4s/sim4s-dataflash.toml"),
                                      messages, flash.Tree())
            || flash.ReadAllDF().Result != 0)
            std::abort();
    }
    [[nodiscard]] double BusSeconds() const { return usb.Facts().BusMicroseconds / 1e6; }

    VirtualTime time;
    Quiet messages;
    ProfileStore profiles;
    StartupState state;
    NoJournals journals;
    SimulatedAdapter adapter{time, {}};
    frmUSB usb{adapter, time, messages, {}};
    GaugeAccess access{time, messages};
    DataFlash flash{{usb, access, time, messages, profiles, state, &journals}};
};

/// @param rows  seconds of row delays an operation
template <typename Operation>
void Share(benchmark::State& state, double rows, Operation operation)
{
    Bench bench;
    double wire = 0;
    double host = 0;
    for ([[maybe_unused]] auto step : state) {
        const double before = bench.BusSeconds();
        const auto begun = std::chrono::steady_clock::now();
        if (operation(bench.flash).Result != 0)
            std::abort();
        host += std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count();
        wire += bench.BusSeconds() - before + rows;
    }
    state.counters["host_percent_of_wire"] = 100 * host / wire;
    state.counters["wire_ms"] = 1000 * wire / static_cast<double>(state.iterations());
}

void ReadAll(benchmark::State& state)
{
    Share(state, 0, [](DataFlash& flash) { return flash.ReadAllDF(); });
}
BENCHMARK(ReadAll)->Unit(benchmark::kMillisecond);

void WriteAll(benchmark::State& state)
{
    Share(state, kPages * kRowDelaySeconds, [](DataFlash& flash) { return flash.WriteAll(false); });
}
BENCHMARK(WriteAll)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
