// The register view's core at the size of a real pack: 29 word rows, and a history of ten million passes.

#include "comm/adapters/AdapterFunnel.h"
#include "platform/NoMessages.h"
#include "platform/SystemTime.h"
#include "platform/WholeFile.h"
#include "sbs/ScanEngine.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cmath>

namespace {

constexpr int kRows = 29;
constexpr double kBusMicroseconds = kRows * 471.4; ///< a pass of word reads at 100 kHz

struct RowKind {
    const char16_t* factor;
    const char16_t* format;
};
constexpr RowKind kKinds[]
    = {{u"x", u"u"}, {u"x/10-273.15", u"f"}, {u"x/10", u"d.0"}, {u"x", u"hhhh"}, {u"x*2.5+(x-7)/3", u"d"}};

/// Answers at once with a changing word and lets events run once, as every back end does.
class NullAdapter final : public AdapterFunnel {
public:
    explicit NullAdapter(TimeSource& time) : m_time(time) { }
    ErrorCode AdpReadSMBusWord(std::int16_t cmd, std::int16_t& word, std::int16_t& /*addr*/) override
    {
        m_time.ProcessEvents(0);
        word = static_cast<std::int16_t>(cmd * 97 + m_count++);
        return ErrorCode::Ok;
    }
    [[nodiscard]] AdapterFacts Facts() const override { return {}; }

private:
    void Perform(DriverCall& /*call*/) override { m_time.ProcessEvents(0); }
    TimeSource& m_time;
    int m_count = 0;
};

void SubstituteAndEvaluate29(benchmark::State& state)
{
    RawValue raw = 0;
    for ([[maybe_unused]] auto step : state) {
        for (int row = 0; row < kRows; ++row) {
            // every factor is an expression, none is a bare x
            const QString factor = QString::fromRawData(reinterpret_cast<const QChar*>(u"x*2.5+(x-7)/3"), 13);
            benchmark::DoNotOptimize(ApplyFactor(raw++ & 0x7FFF, ReadStyle::SMBusWord, factor));
        }
    }
}
BENCHMARK(SubstituteAndEvaluate29)->Unit(benchmark::kMicrosecond);

void ConvertAndFormat29(benchmark::State& state)
{
    std::vector<std::pair<QString, QString>> rows;
    rows.reserve(kRows);
    for (int row = 0; row < kRows; ++row)
        rows.emplace_back(QString::fromUtf16(kKinds[row % 5].factor),
                          QString::fromUtf16(kKinds[row % 5].format));
    RawValue raw = 0;
    for ([[maybe_unused]] auto step : state)
        for (const auto& [factor, format] : rows)
            benchmark::DoNotOptimize(
                FormatValue(ApplyFactor(raw++ & 0x7FFF, ReadStyle::SMBusWord, factor), format));
}
BENCHMARK(ConvertAndFormat29)->Unit(benchmark::kMicrosecond);

void ScanPass29(benchmark::State& state)
{
    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("t.sbs"));
    TextGrid grid{{QStringList()}};
    for (int row = 0; row < kRows; ++row)
        grid.cells.push_back({QStringLiteral("Row"), QStringLiteral("Row"), QStringLiteral("1"),
                              QString::number(row, 16), QString::fromUtf16(kKinds[row % 5].factor),
                              QStringLiteral("x"), QStringLiteral("0"),
                              QString::fromUtf16(kKinds[row % 5].format), QStringLiteral("mV")});
    clsSBSCfgRW tables;
    if (!tables.WriteSBSInfo(grid, file).isEmpty())
        state.SkipWithError("no table");
    tables.LoadSBSInfo(file);

    SystemTime time;
    NoMessages messages;
    NullAdapter driver(time);
    frmUSB usb(driver, time, messages, QString());
    GaugeAccess access(time, messages);
    StartupState startup;
    TargetSettings target;
    RegisterReader reader(usb, startup, target);
    ErrorList errors(time);
    ScanEngine engine(reader, access, time, messages, errors, tables);
    engine.Reset({});
    double seconds = 0;
    for ([[maybe_unused]] auto step : state) {
        const auto start = std::chrono::steady_clock::now();
        if (engine.ReadValues().Answered != kRows)
            state.SkipWithError("a read failed");
        seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    state.counters["percent_of_bus_time"]
        = 100 * seconds * 1e6 / static_cast<double>(state.iterations()) / kBusMicroseconds;
}
BENCHMARK(ScanPass29)->Unit(benchmark::kMicrosecond);

constexpr std::size_t kPasses = 10'000'000;

const ValueHistory& LongHistory()
{
    static const ValueHistory history = [] {
        ValueHistory filled(1);
        for (std::size_t pass = 0; pass < kPasses; ++pass) {
            const double value
                = 3700 + 300 * std::sin(static_cast<double>(pass) * 1e-5) + static_cast<double>(pass % 13);
            filled.Append(static_cast<std::int64_t>(pass) * 2000, std::array{value});
        }
        return filled;
    }();
    return history;
}

/// Argument: the share of the history asked for, in millionths.
void HistoryColumns2000(benchmark::State& state)
{
    const ValueHistory& history = LongHistory();
    const std::int64_t end = history.TimeMs(kPasses - 1) + 1;
    const std::int64_t from = end - end / 1'000'000 * state.range(0);
    for ([[maybe_unused]] auto step : state)
        benchmark::DoNotOptimize(history.Columns(0, from, end, 2000));
    state.counters["bytes_per_value"]
        = (static_cast<double>(history.MemoryBytes()) - 8.0 * kPasses) / static_cast<double>(kPasses);
}
BENCHMARK(HistoryColumns2000)
    ->Arg(1'000'000)
    ->Arg(100'000)
    ->Arg(1'000)
    ->Arg(10)
    ->Unit(benchmark::kMicrosecond);

void HistoryAppend29(benchmark::State& state)
{
    ValueHistory history(kRows);
    std::vector<double> values(kRows);
    std::int64_t pass = 0;
    for ([[maybe_unused]] auto step : state) {
        values.assign(kRows, static_cast<double>(pass % 5000) / 10);
        history.Append(pass++ * 2000, values);
    }
}
BENCHMARK(HistoryAppend29)->Iterations(300'000);

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv); // events are only taken with one
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
