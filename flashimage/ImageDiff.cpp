#include "flashimage/ImageDiff.h"

#include <algorithm>
#include <cstring>

namespace {

using Region = clsSrecFlash::Region;

class Differences {
public:
    void Add(std::uint64_t from, std::uint64_t to, DiffRange::Kind what)
    {
        if (from >= to)
            return;
        ++m_diff.RangeCount;
        m_diff.ByteCount += to - from;
        if (m_diff.Ranges.size() < RegionDiff::kKeptRanges)
            m_diff.Ranges.push_back({static_cast<std::uint32_t>(from), to - from, what});
    }
    void AddBelow(const Region& region, const Region& other, DiffRange::Kind what)
    {
        Add(region.Start(), std::min<std::uint64_t>(region.End(), other.Start()), what);
    }
    void AddAbove(const Region& region, const Region& other, DiffRange::Kind what)
    {
        Add(std::max<std::uint64_t>(region.Start(), other.End()), region.End(), what);
    }
    void AddCommon(std::uint64_t from, const std::uint8_t* a, const std::uint8_t* b, std::size_t count)
    {
        constexpr std::size_t kSkipped = 4096; // equal stretches are the usual thing
        for (std::size_t at = 0; at < count;) {
            const std::size_t block = std::min(kSkipped, count - at);
            if (std::memcmp(a + at, b + at, block) == 0) {
                at += block;
                continue;
            }
            while (a[at] == b[at])
                ++at;
            const std::size_t first = at;
            while (at < count && a[at] != b[at])
                ++at;
            Add(from + first, from + at, DiffRange::Kind::Differs);
        }
    }
    RegionDiff Take() { return std::move(m_diff); }

private:
    RegionDiff m_diff;
};

} // namespace

RegionDiff CompareRegions(const Region& a, const Region& b)
{
    Differences differences;
    differences.AddBelow(a, b, DiffRange::Kind::OnlyA);
    differences.AddBelow(b, a, DiffRange::Kind::OnlyB);
    const std::uint64_t from = std::max(a.Start(), b.Start());
    const std::uint64_t to = std::min(a.End(), b.End());
    if (from < to)
        differences.AddCommon(from, a.View().data() + (from - a.Start()),
                              b.View().data() + (from - b.Start()), static_cast<std::size_t>(to - from));
    differences.AddAbove(a, b, DiffRange::Kind::OnlyA);
    differences.AddAbove(b, a, DiffRange::Kind::OnlyB);
    return differences.Take();
}
