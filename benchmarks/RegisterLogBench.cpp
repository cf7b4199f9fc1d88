// A register log of seven days at 5 s with 40 columns, from the disk to what the viewer draws first, against
// splitting the same file into fields.

#include "platform/WholeFile.h"
#include "sbs/RegisterLogFile.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <array>
#include <cstring>
#include <random>
#include <string_view>

namespace {

constexpr int kRecords = 121'000;
constexpr int kRegisters = 37;
constexpr int kPictureColumns = 1000;
constexpr int kCurves = 8;

/// Words, negative currents, fractions, hexadecimal, percents and now and then a failed read.
QByteArray WeekOfRecords()
{
    std::mt19937 random(1);
    const auto below = [&](unsigned limit) { return static_cast<int>(random() % limit); };
    QByteArray log = "GG Version: 1.02 for Simulated\r\n2026-01-05\r\n           \r\nMaker: A "
                     "\r\nSample\tStamp\t~Elapsed(s)";
    for (int i = 0; i < kRegisters; ++i)
        log += "\tRegister" + QByteArray::number(i);
    log += "\r\n";
    for (int record = 0; record < kRecords; ++record) {
        std::array<char, 64> text{};
        const int t = record * 5;
        std::snprintf(text.data(), text.size(), "%d\t%02d:%02d:%02d\t%d", record + 1, t / 3600 % 24,
                      t / 60 % 60, t % 60, t);
        log += text.data();
        for (int i = 0; i < kRegisters; ++i) {
            switch (i % 6) {
            case 0:
                std::snprintf(text.data(), text.size(), "\t%d", 14000 + below(3000));
                break;
            case 1:
                std::snprintf(text.data(), text.size(), "\t-%d", below(3000));
                break;
            case 2:
                std::snprintf(text.data(), text.size(), "\t%d.%d", below(60), below(10));
                break;
            case 3:
                std::snprintf(text.data(), text.size(), "\t%04X", static_cast<unsigned>(below(65536)));
                break;
            case 4:
                std::snprintf(text.data(), text.size(), "\t%d", below(100));
                break;
            default:
                std::snprintf(text.data(), text.size(), below(100) == 0 ? "\t" : "\t65535");
                break;
            }
            log += text.data();
        }
        log += "\r\n";
    }
    return log;
}

const QString& WeekFile()
{
    static const QTemporaryDir folder;
    static const QString path = [] {
        const QString name = folder.filePath(QStringLiteral("week.log"));
        if (!SaveWhole(name, WeekOfRecords()).isEmpty())
            std::abort();
        return name;
    }();
    return path;
}

void SplitIntoFields(benchmark::State& state)
{
    for (auto step : state) {
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
    for (auto step : state)
        benchmark::DoNotOptimize(ReadRegisterLog(WeekFile()).Records());
}
BENCHMARK(ReadLog)->Unit(benchmark::kMillisecond);

void ReadLogToFirstPicture(benchmark::State& state)
{
    for (auto step : state) {
        const RegisterLogData data = ReadRegisterLog(WeekFile());
        const auto endMs = static_cast<std::int64_t>(data.Seconds.back() * 1000) + 1;
        for (std::size_t curve = 0; curve < kCurves; ++curve)
            benchmark::DoNotOptimize(HistoryOf(data, curve).Columns(0, 0, endMs, kPictureColumns).data());
    }
}
BENCHMARK(ReadLogToFirstPicture)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
