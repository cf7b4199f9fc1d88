#pragma once

#include "flashimage/clsSrecFlash.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// Neighbouring bytes that differ in the same way.
struct DiffRange {
    enum class Kind {
        Differs,
        OnlyA, ///< B has no bytes there, not even erased ones
        OnlyB,
    };
    std::uint32_t Start = 0;
    std::uint64_t Size = 0;
    Kind What = Kind::Differs;
};

struct RegionDiff {
    static constexpr std::size_t kKeptRanges = 100'000;

    std::vector<DiffRange> Ranges; ///< ascending, the first kKeptRanges of them
    std::uint64_t RangeCount = 0; ///< all of them
    std::uint64_t ByteCount = 0; ///< bytes in all ranges
};

[[nodiscard]] RegionDiff CompareRegions(const clsSrecFlash::Region& a, const clsSrecFlash::Region& b);
