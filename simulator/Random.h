#pragma once

#include <cstdint>

/// SplitMix64: small, fast and the same on every machine, unlike the distributions of the standard library.
class Random {
public:
    explicit Random(std::uint64_t seed) : m_state(seed) { }

    [[nodiscard]] static constexpr std::uint64_t Mix(std::uint64_t value)
    {
        value += 0x9E3779B97F4A7C15U;
        value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9U;
        value = (value ^ (value >> 27U)) * 0x94D049BB133111EBU;
        return value ^ (value >> 31U);
    }
    std::uint64_t Next() { return Mix(m_state++); }
    /// 0 up to below count, which is above 0.
    std::uint32_t Below(std::uint32_t count) { return static_cast<std::uint32_t>(Next() % count); }
    /// Evenly between -1 and 1.
    double Spread() { return static_cast<double>(Next() >> 11U) * 0x1p-52 - 1.0; }

private:
    std::uint64_t m_state;
};
