// Flash images of 64 MiB against the tools that people have: CPU time and memory of whole processes, side by
// side in the same run. The flush of a saved file is in our time, theirs do not flush.

#include "flashimage/clsSrecRW.h"
#include "platform/NoMessages.h"

#include <QBuffer>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <random>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>

namespace {

constexpr std::uint32_t kMiB = 1 << 20;
constexpr std::uint32_t kPayloadMiB = 64;

/// A folder with in.srec, 1 MiB of it data flash. It is made piece by piece: a child's peak memory counts
/// from that of the process that starts it.
const std::string& Folder()
{
    static const QTemporaryDir folder;
    static const std::string path = [] {
        NoMessages silent;
        clsSrecRW rw(silent);
        QFile file(folder.filePath(QStringLiteral("in.srec")));
        file.open(QIODevice::WriteOnly);
        const auto put
            = [&](QByteArrayView lines) { return file.write(lines.data(), lines.size()) == lines.size(); };
        std::mt19937 random(1);
        for (std::uint32_t piece = 0; piece < kPayloadMiB; ++piece) {
            Bytes bytes(kMiB);
            for (std::uint8_t& byte : bytes)
                byte = static_cast<std::uint8_t>(random());
            clsSrecFlash image;
            (piece == 0 ? image.DF : image.PF).Store(piece * kMiB, bytes);
            rw.ClassDFToArray(image, SrecForm::EightDigits, put);
            rw.ClassPFToArray(image, SrecForm::EightDigits, put);
        }
        return folder.path().toStdString() + '/';
    }();
    return path;
}

struct Use {
    double Seconds = 0; ///< of the processor, user and system
    double PeakMiB = 0;
    bool Ok = false;
};

/// Runs a program on the files of the folder, its output thrown away.
Use Run(std::vector<std::string> words)
{
    std::vector<char*> arguments;
    for (std::string& word : words) {
        if (word.find(".srec") != std::string::npos)
            word.insert(0, Folder());
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const bool started
        = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ) == 0;
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    rusage usage{};
    if (!started || wait4(child, &status, 0, &usage) != child || status != 0)
        return {};
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return {seconds(usage.ru_utime) + seconds(usage.ru_stime), static_cast<double>(usage.ru_maxrss) / 1024,
            true};
}

/// Ours and theirs in turns; the time is ours.
void Against(benchmark::State& state, const std::vector<std::string>& ours,
             const std::vector<std::string>& theirs)
{
    Use mine, peer;
    for ([[maybe_unused]] auto step : state) {
        const Use own = Run(ours);
        const Use other = Run(theirs);
        if (!own.Ok || !other.Ok)
            return state.SkipWithError("a program failed or is not installed");
        state.SetIterationTime(own.Seconds);
        mine.Seconds += own.Seconds;
        peer.Seconds += other.Seconds;
        mine.PeakMiB = std::max(mine.PeakMiB, own.PeakMiB);
        peer.PeakMiB = std::max(peer.PeakMiB, other.PeakMiB);
    }
    state.counters["times_as_fast"] = peer.Seconds / mine.Seconds;
    state.counters["peer_ms"] = peer.Seconds / static_cast<double>(state.iterations()) * 1e3;
    state.counters["MiB_over_payload"] = mine.PeakMiB - kPayloadMiB;
    state.counters["peer_MiB_over_payload"] = peer.PeakMiB - kPayloadMiB;
}

void InfoAgainstSrecInfo(benchmark::State& state)
{
    Against(state, {TARNLO_CLI, "srec", "info", "in.srec"}, {"srec_info", "in.srec"});
}
void RewriteAgainstSrecCat(benchmark::State& state)
{
    Against(state, {TARNLO_CLI, "srec", "write", "in.srec", "ours.srec"},
            {"srec_cat", "in.srec", "-o", "theirs.srec"});
}
void RewriteAgainstObjcopy(benchmark::State& state)
{
    Against(state, {TARNLO_CLI, "srec", "write", "in.srec", "ours.srec"},
            {"objcopy", "-I", "srec", "-O", "srec", "in.srec", "theirs.srec"});
}
BENCHMARK(InfoAgainstSrecInfo)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(RewriteAgainstSrecCat)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(RewriteAgainstObjcopy)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);

QByteArray OneByteRecord(std::uint32_t address)
{
    std::array<char, 20> text{};
    const std::uint32_t sum
        = 6 + (address >> 24) + (address >> 16 & 255) + (address >> 8 & 255) + (address & 255);
    std::snprintf(text.data(), text.size(), "S306%08X00%02X\n", address, ~sum & 255);
    return text.data();
}

/// A million one-byte records, in descending order or from the middle outwards to both ends.
void ReadMillionOneByteRecords(benchmark::State& state)
{
    constexpr std::uint32_t kCount = 1'000'000;
    const bool descending = state.range(0) == 0;
    QByteArray text;
    for (std::uint32_t record = 0; record < kCount; ++record)
        text += OneByteRecord(descending ? 0x20000000 - record
                                         : 0x20000000 + (record % 2 == 0 ? record / 2 : 0 - record / 2));
    NoMessages silent;
    for ([[maybe_unused]] auto step : state) {
        clsSrecRW rw(silent);
        clsSrecFlash image;
        QBuffer file(&text);
        file.open(QIODevice::ReadOnly);
        if (!rw.ReadRecords(file, image) || image.PFSize() < kCount - 1)
            state.SkipWithError("not read");
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}
BENCHMARK(ReadMillionOneByteRecords)->ArgName("outwards")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
