#include "comm/Wait.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kSecondsADay = 86400;
constexpr double kLongestSleep = 1; // seconds; the clock may be set while we sleep
constexpr double kHair = 1e-6; // single precision holds 0.2 s as a hair more than 0.2 s

} // namespace

void Wait(TimeSource& time, float seconds)
{
    const double start = time.SecondsOfDay();
    const double end = start + static_cast<double>(seconds);
    time.ProcessEvents(0);
    for (double now = time.SecondsOfDay(); end - now > kHair && now >= start; now = time.SecondsOfDay()) {
        const double sleep = std::min({end - now, kSecondsADay - now, kLongestSleep});
        time.ProcessEvents(std::max(1, static_cast<int>(std::ceil((sleep - kHair) * 1000))));
    }
}

void WaitMs(TimeSource& time, std::int32_t milliseconds)
{
    Wait(time, static_cast<float>(milliseconds) / 1000);
}
