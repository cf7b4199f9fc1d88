#include "flashimage/clsSrecFlash.h"
#include "flashimage/ImageDiff.h"
#include "platform/Bytes.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

using Region = clsSrecFlash::Region;

TEST(clsSrecFlash, RegionsGrowAtBothEndsLikeAMapOfBytes)
{
    std::mt19937 random(3);
    for (int round = 0; round < 8; ++round) {
        Region region;
        std::map<std::uint32_t, std::uint8_t> model;
        // the last rounds end with the last address
        const std::uint32_t base = round < 5 ? 0x4000 : 0xFFFFFFFF - 999;
        for (int step = 0; step < 150; ++step) {
            const auto at = static_cast<std::uint32_t>(random() % 1000);
            Bytes bytes(std::min<std::size_t>(random() % 50, 1000 - at));
            for (std::uint8_t& byte : bytes)
                byte = static_cast<std::uint8_t>(random());
            const std::uint64_t fill = region.FillFor(base + at, bytes.size());
            const std::size_t before = region.Size();
            region.Store(base + at, bytes);
            for (std::size_t index = 0; index < bytes.size(); ++index)
                model[base + at + static_cast<std::uint32_t>(index)] = bytes[index];
            const std::size_t own = model.size();
            if (step % 4 == 0) {
                region.Cover(base + at);
                model.try_emplace(base + at, 0xFF);
            }
            if (model.empty())
                continue;
            for (std::uint32_t address = model.begin()->first; address != model.rbegin()->first; ++address)
                model.try_emplace(address, 0xFF);
            if (step % 4 != 0) {
                ASSERT_EQ(fill, before == 0 ? 0 : model.size() - own) << step;
            }
            ASSERT_EQ(region.Size(), model.size()) << step;
        }
        ASSERT_EQ(region.Start(), model.begin()->first);
        const auto view = std::as_const(region).View();
        EXPECT_TRUE(std::ranges::equal(view, model, {}, {}, [](const auto& byte) { return byte.second; }));
    }
}

TEST(clsSrecFlash, ACopyStaysWhenTheOtherIsChangedOrCleared)
{
    clsSrecFlash image;
    image.S0Comment = QStringLiteral("a");
    image.SetDFAddressCapability(0x10);
    image.SetPFAddressCapability(0x100000);
    clsSrecFlash copy = image;
    image.DF.View()[0] = 1;
    EXPECT_EQ(std::as_const(copy).DF.View()[0], 0xFF);
    image.Clear();
    EXPECT_TRUE(image.DF.Empty() && image.PF.Empty() && image.S0Comment.isEmpty());
    EXPECT_EQ(image.DFStart(), 0U);
    EXPECT_EQ(copy.DFStart(), 0x10U);
    EXPECT_EQ(copy.PFSize(), 1U);
}

TEST(clsSrecFlash, WordsHaveTheirMostSignificantByteFirst)
{
    const std::array<std::uint8_t, 4> bytes{0x12, 0x34, 0x56, 0xF8};
    EXPECT_EQ(clsSrecFlash::ByteFromDWord(0x123456F8), bytes);
    EXPECT_EQ(clsSrecFlash::DWordFromByte(bytes), 0x123456F8U);
}

TEST(ImageDiff, NamesEveryRangeWithItsKind)
{
    const auto region = [](std::uint32_t start, const char* hex) {
        Region made;
        made.Store(start, ParseHex(QLatin1String(hex).toString()).value_or(Bytes()));
        return made;
    };
    Region long1, long2;
    long1.Store(0, Bytes(10'000, 1));
    long2.Store(0, Bytes(10'000, 1));
    long2.Store(4095, Bytes{2, 2});
    long2.Store(9'999, Bytes{2});
    const struct {
        Region a, b;
        const char* ranges;
    } rows[] = {
        {{}, {}, ""},
        {region(8, "0102"), region(8, "0102"), ""},
        {region(8, "0102"), {}, "a8+2 "},
        {region(8, "01020304"), region(8, "05020006"), "!8+1 !10+2 "},
        {region(8, "01020304"), region(6, "FFFF0102"), "b6+2 a10+2 "},
        {region(8, "FFFF"), region(4, "01020304FF000506"), "b4+4 !9+1 b10+2 "},
        {region(0, "01"), region(8, "01"), "a0+1 b8+1 "},
        {region(0xFFFFFFFF, "01"), region(0xFFFFFFFE, "02"), "b4294967294+1 a4294967295+1 "},
        {long1, long2, "!4095+2 !9999+1 "},
    };
    for (const auto& row : rows) {
        const RegionDiff diff = CompareRegions(row.a, row.b);
        std::string ranges;
        std::uint64_t bytes = 0;
        for (const DiffRange& range : diff.Ranges) {
            ranges += range.What == DiffRange::Kind::Differs ? '!'
                : range.What == DiffRange::Kind::OnlyA       ? 'a'
                                                             : 'b';
            ranges += std::to_string(range.Start) + '+' + std::to_string(range.Size) + ' ';
            bytes += range.Size;
        }
        EXPECT_EQ(ranges, row.ranges);
        EXPECT_EQ(diff.ByteCount, bytes);
        EXPECT_EQ(diff.RangeCount, diff.Ranges.size());
    }
}
