#include "simulator/Firmware.h"

#include "simulator/GaugeFlash.h"
#include "simulator/Random.h"

#include <algorithm>
#include <numeric>
#include <string_view>

namespace {

constexpr std::size_t kCodeEnd = 0x3400; // behind it the flash is erased
constexpr std::size_t kSumSize = 4;
constexpr std::string_view kText = "Gas gauge firmware 1.02, built 2025-03-14";
constexpr std::uint64_t kCodeSeed = 0x800102;

std::uint32_t SumOf(std::span<const std::uint8_t> bytes)
{
    return std::accumulate(bytes.begin(), bytes.end(), std::uint32_t{0});
}

} // namespace

Bytes Firmware::Factory()
{
    Bytes program(GaugeFlash::kProgramSize, 0xFF);
    const std::array<std::uint8_t, 4> head{0x08, 0x00, 0x01, 0x02};
    auto end = std::copy(head.begin(), head.end(), program.begin());
    end = std::copy(kText.begin(), kText.end(), end);
    Random random(kCodeSeed);
    std::generate(end, program.begin() + kCodeEnd,
                  [&] { return static_cast<std::uint8_t>(random.Below(256)); });
    std::uint32_t sum = SumOf(std::span(program).first(program.size() - kSumSize));
    for (auto byte = program.rbegin(); byte != program.rbegin() + kSumSize; ++byte, sum >>= 8U)
        *byte = static_cast<std::uint8_t>(sum & 0xFFU);
    return program;
}

bool Firmware::IsWhole(std::span<const std::uint8_t> program)
{
    if (program.size() != GaugeFlash::kProgramSize)
        return false;
    std::uint32_t stored = 0;
    for (const std::uint8_t byte : program.last(kSumSize))
        stored = stored << 8U | byte;
    return stored == SumOf(program.first(program.size() - kSumSize));
}
