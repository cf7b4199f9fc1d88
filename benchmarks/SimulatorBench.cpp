#include "comm/adapters/SimulatedAdapter.h"
#include "simulator/SimulatedBench.h"

#include <benchmark/benchmark.h>

namespace {

class StandingTime final : public TimeSource {
public:
    double SecondsOfDay() override { return 0; }
    QDateTime Now() override { return {}; }
    std::int64_t MonotonicMs() override { return m_ms += 10; }
    void ProcessEvents(int) override { }

private:
    std::int64_t m_ms = 0;
};

/// Cells alone, one second a step.
void PackStep(benchmark::State& state)
{
    BatteryPack pack(1, 0.5, 25);
    double amps = 2.2;
    int left = 600;
    for ([[maybe_unused]] auto step : state) {
        if (--left == 0) {
            amps = -amps;
            left = 1200;
        }
        pack.Step(amps, 1);
    }
    benchmark::DoNotOptimize(pack.Volts());
    state.counters["x_real_time"]
        = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(PackStep);

/// Pack, gauge, charger and load, charged and discharged in full, one second a step.
void BenchCycle(benchmark::State& state)
{
    SimulatedBench bench{SimulatorSettings{}};
    std::int64_t seconds = 0;
    for ([[maybe_unused]] auto step : state) {
        if (seconds % 36'000 == 0)
            bench.SetCharger(seconds % 72'000 == 0);
        if (seconds % 36'000 == 0)
            bench.SetLoad(seconds % 72'000 != 0);
        bench.AdvanceTo(++seconds);
    }
    state.counters["x_real_time"]
        = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BenchCycle);

/// One word read through the adapter, wire and gauge included.
void WordRead(benchmark::State& state)
{
    StandingTime time;
    SimulatedAdapter adapter(time, {});
    QString name = QStringLiteral("Simulated");
    adapter.AdpOpenDevice(name);
    std::int16_t word = 0;
    std::int16_t address = GaugeTarget::kAddress;
    for ([[maybe_unused]] auto step : state)
        benchmark::DoNotOptimize(adapter.AdpReadSMBusWord(0x09, word, address));
}
BENCHMARK(WordRead);

} // namespace

BENCHMARK_MAIN();
