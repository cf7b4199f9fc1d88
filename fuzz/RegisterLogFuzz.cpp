// Any bytes as a register log, whole and in two pieces: both give the same, every series has a value a
// record, time never falls, and what is kept stays in proportion to what came in. Then the log is laid over
// itself.

#include "sbs/LogCompare.h"
#include "sbs/RegisterLogFile.h"

#include <bit>
#include <cstdlib>

namespace {

void Require(bool holds)
{
    if (!holds)
        std::abort();
}

bool Same(double a, double b) { return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b); }

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::span bytes(reinterpret_cast<const char*>(data), size);
    const RegisterLogData log = ParseRegisterLog(bytes);
    Require(log.Problems.size() <= RegisterLogData::kProblemsKept);
    Require(log.Records() * log.Series.size() <= 2 * size);
    for (std::size_t i = 1; i < log.Records(); ++i)
        Require(log.Seconds[i] >= log.Seconds[i - 1]);

    RegisterLogParser pieces;
    const std::size_t cut = size > 0 ? data[0] * size / 256 : 0;
    pieces.Feed(bytes.first(cut));
    pieces.Feed(bytes.subspan(cut));
    const RegisterLogData joined = pieces.Finish();
    Require(joined.Records() == log.Records() && joined.Series.size() == log.Series.size());
    for (std::size_t column = 0; column < log.Series.size(); ++column) {
        const LogSeries& series = log.Series[column];
        Require(series.Values.size() == log.Records());
        for (std::size_t i = 0; i < log.Records(); ++i)
            Require(Same(series.Values[i], joined.Series[column].Values[i]));
    }

    const LogComparison compared = CompareLogs(log, log);
    Require(compared.Series.size() == log.Series.size());
    for (const ComparedSeries& series : compared.Series)
        Require(series.Largest == 0);
    return 0;
}
