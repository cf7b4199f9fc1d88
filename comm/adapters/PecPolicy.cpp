#include "comm/adapters/PecPolicy.h"

#include <utility>

namespace {

constexpr unsigned kVersionWithPec = 3; ///< SMBus 1.1 with optional packet error check
/// Operations, not transfers: one disturbance never lasts that long.
constexpr int kRefusalsThatSettle = 3;
/// More than the undefined commands that stand in a row in any table of registers.
constexpr int kFailuresThatForget = 8;

} // namespace

void PecPolicy::Answered(std::uint8_t addr, std::uint16_t specificationInfo, bool checked)
{
    Part& part = At(addr);
    const bool says = (specificationInfo >> 4U & 0xFU) == kVersionWithPec;
    if (checked) {
        // The check vouches for the version nibble as well.
        part = {.State = says ? Use::On : Use::Off};
        return;
    }
    // Without a good check a flipped bit can look like an old version, and a bus held low like version 0:
    // that there is no check is believed when two reads agree on a version that can be.
    const std::uint16_t before = std::exchange(part.Unchecked, specificationInfo);
    if (!says && !IsBlank(specificationInfo) && before == specificationInfo)
        part = {.State = Use::Off};
}

void PecPolicy::AnswersOthersOnly(std::uint8_t addr)
{
    if (++At(addr).Refusals >= kRefusalsThatSettle)
        At(addr) = {.State = Use::Off};
}

void PecPolicy::Went(std::uint8_t addr, bool well)
{
    Part& part = At(addr);
    if (well)
        part.Failures = 0;
    else if (++part.Failures >= kFailuresThatForget)
        part = {};
}
