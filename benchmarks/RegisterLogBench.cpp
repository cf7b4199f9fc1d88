// A register log of seven days at 5 s with 40 columns, from the disk to what the viewer draws first, against
// splitting the same file into fields.

#include "benchmarks/WeekLog.h"
#include "sbs/RegisterLogFile.h"

#include <benchmark/benchmark.h>

#include <string_view>

namespace {

constexpr int kPictureColumns = 1000;
constexpr int kCurves = 8;

void SplitIntoFields(benchmark::State& state)
{
    for ([[maybe_unused]] auto step : state) {
        const QByteArray bytes = ReadWhole(WeekFile()).bytes;
        std::vector<std::string_view> fields;
        std::size_t count = 0;
        for (std::string_view rest(bytes.data(), static_cast<std::size_t>(bytes.size())); !rest.empty();) {
            const std::size_t lineEnd = std::min(rest.find('\n'), rest.size() - 1);
            std::string_view line = rest.substr(0, lineEnd);
            rest.remove_prefix(lineEnd + 1);
            fields.clear();
            for (std::size_t tab = 0; tab != std::string_view::npos;) {
                tab = line.find('\t');
                fields.push_back(line.substr(0, tab));
                if (tab != std::string_view::npos)
                    line.remove_prefix(tab + 1);
            }
            count += fields.size();
            benchmark::DoNotOptimize(fields.data());
        }
        benchmark::DoNotOptimize(count);
    }
}
BENCHMARK(SplitIntoFields)->Unit(benchmark::kMillisecond);

void ReadLog(benchmark::State& state)
{
    for ([[maybe_unused]] auto step : state)
        benchmark::DoNotOptimize(ReadRegisterLog(WeekFile()).Records());
}
BENCHMARK(ReadLog)->Unit(benchmark::kMillisecond);

void ReadLogToFirstPicture(benchmark::State& state)
{
    for ([[maybe_unused]] auto step : state) {
        const RegisterLogData data = ReadRegisterLog(WeekFile());
        const auto endMs = static_cast<std::int64_t>(data.Seconds.back() * 1000) + 1;
        for (std::size_t curve = 0; curve < kCurves; ++curve)
            benchmark::DoNotOptimize(HistoryOf(data, curve).Columns(0, 0, endMs, kPictureColumns).data());
    }
}
BENCHMARK(ReadLogToFirstPicture)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
