// Are light, ratio and reference what floating point says, and do the loops give what their rules give?
#include "conditioning/kernels/Brightness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "GuardedBlocks.h"
#include "SeededRandom.h"

using namespace Host::Kernels;
using Kit::GuardedBlocks;
using Kit::GuardedSide;
using Kit::SeededRandom;

namespace {

double PlainLight(double luma, int black) { return std::max(luma - black, 0.0) + 8; }

// Blocks of a picture and its reference, each beside an unreadable page.
struct SomeBlocks {
    SomeBlocks(std::size_t count, GuardedSide side, SeededRandom& random)
        : luma(count, side), other(count, side), reference(count, side) {
        for (std::size_t i = 0; i < count; ++i) {
            luma[i] = random.OneIn(3) ? random.Byte() : random.Pick(borders);
            other[i] = random.OneIn(3) ? random.Byte() : static_cast<std::uint8_t>(random.Between(124, 132));
            reference[i] = static_cast<std::uint16_t>(random.OneIn(3) ? 128 * luma[i] : random.Between(0, 255 * 128));
        }
    }

    static constexpr std::uint8_t borders[] = {0, 1, 8, 15, 16, 17, 127, 128, 129, 254, 255};
    GuardedBlocks<std::uint8_t> luma, other;
    GuardedBlocks<std::uint16_t> reference;
};

template <class Visit>
void ForEachLength(Visit visit) {
    SeededRandom random(1);
    for (std::size_t count = 0; count <= 67; ++count)
        for (const GuardedSide side : {GuardedSide::End, GuardedSide::Front}) visit(count, SomeBlocks(count, side, random));
}

}  // namespace

TEST(Brightness, RatioIsTheNearestOfAllLevels) {
    for (const int black : {0, 16})
        for (int luma = 0; luma < 256; ++luma)
            for (int reference = 0; reference <= 255 * 128; reference += 61) {
                const double exact = PlainLight(luma, black) / PlainLight(reference / 128.0, black) * 4096;
                ASSERT_NEAR(RatioOf(luma, reference, black), std::clamp(exact, 1024.0, 16384.0), 0.5001)
                    << luma << " by " << reference << ", black " << black;
            }
}

TEST(Brightness, BalancedLumaIsTheNearestOfAllRatios) {
    for (const int black : {0, 16})
        for (int ratio = 1024; ratio <= 16384; ratio += ratio / 500)
            for (int luma = 0; luma < 256; ++luma) {
                const double exact = PlainLight(luma, black) * 4096 / ratio - 8 + black;
                ASSERT_NEAR(Balanced(luma, ratio, black), std::clamp(exact, 0.0, 255.0), 0.5001) << luma << " by " << ratio;
                ASSERT_NEAR(BalancedReference(luma, ratio, black), std::clamp(exact * 128, 0.0, 255.0 * 128), 0.5001);
            }
}

TEST(Brightness, RatioOfOneChangesNothingAboveBlack) {
    for (int luma = 0; luma < 256; ++luma) {
        EXPECT_EQ(Balanced(luma, 4096, 0), luma);
        EXPECT_EQ(Balanced(luma, 4096, 16), std::max(luma, 16));
    }
}

TEST(Brightness, ReferenceFollowsByHalfALevel) {
    for (int luma = 0; luma < 256; ++luma)
        for (int reference = 0; reference <= 255 * 128; ++reference)
            ASSERT_EQ(Followed(reference, 128 * luma), reference + std::clamp(128 * luma - reference, -64, 64));
}

TEST(Brightness, ReferenceRelaxesByAThousandthOfItsLight) {
    for (const int black : {0, 16})
        for (int reference = 0; reference <= 255 * 128; ++reference)
            for (const int direction : {-1, 1}) {
                const double exact = reference + direction * PlainLight(reference / 128.0, black) * 128 / 1024;
                ASSERT_NEAR(Relaxed(reference, black, direction), std::clamp(exact, 0.0, 255.0 * 128), 0.5001) << reference;
            }
}

TEST(Brightness, ColourBeginsFourLevelsFromGrey) {
    for (int cb = 0; cb < 256; ++cb)
        for (int cr = 0; cr < 256; ++cr)
            ASSERT_EQ(HasColour(cb, cr), std::abs(cb - 128) + std::abs(cr - 128) >= 4) << cb << ", " << cr;
}

TEST(Brightness, RatioCountsAgreeWithTheRatioOfEveryPair) {
    std::vector<std::uint8_t> luma(256);
    for (std::size_t i = 0; i < luma.size(); ++i) luma[i] = static_cast<std::uint8_t>(i);
    for (const int black : {0, 16})
        for (int reference = 0; reference <= 255 * 128; reference += reference % 128 == 0 ? 1 : 3) {
            const std::vector<std::uint16_t> known(luma.size(), static_cast<std::uint16_t>(reference));
            std::size_t upToLow = 0, upToHigh = 0;
            for (int seen = 0; seen < 256; ++seen) {
                upToLow += RatioOf(seen, reference, black) <= 4055 ? 1 : 0;
                upToHigh += RatioOf(seen, reference, black) <= 4136 ? 1 : 0;
            }
            const RatioCounts counts = CountRatiosUpTo(luma.data(), known.data(), black, 4055, 4136, luma.size());
            ASSERT_EQ(counts.low, upToLow) << reference << ", black " << black;
            ASSERT_EQ(counts.high, upToHigh) << reference << ", black " << black;
        }
}

TEST(Brightness, ColoursOfEveryPairAreCounted) {
    for (int cb = 0; cb < 256; ++cb)
        for (int cr = 0; cr < 256; ++cr) {
            const auto blue = static_cast<std::uint8_t>(cb), red = static_cast<std::uint8_t>(cr);
            ASSERT_EQ(CountColoured(&blue, &red, 1), HasColour(cb, cr) ? 1u : 0u) << cb << ", " << cr;
        }
}

TEST(Brightness, LoopsGiveWhatTheRulesGiveAtEveryLength) {
    ForEachLength([](std::size_t count, SomeBlocks blocks) {
        std::size_t coloured = 0;
        LumaSums sums = {};
        std::vector<std::uint32_t> histogram(ratioBins, 7), expectedHistogram(ratioBins);
        for (std::size_t i = 0; i < count; ++i) {
            coloured += HasColour(blocks.luma[i], blocks.other[i]);
            const auto y = static_cast<std::uint64_t>(blocks.luma[i]);
            const auto r = static_cast<std::uint64_t>(std::floor(blocks.reference[i] / 128.0 + 0.5));
            sums = {sums.y + y, sums.r + r, sums.yy + y * y, sums.rr + r * r, sums.yr + y * r};
            ++expectedHistogram[RatioOf(blocks.luma[i], blocks.reference[i], 16) - 1024];
        }
        const LumaSums got = SumLuma(blocks.luma.data(), blocks.reference.data(), count);
        EXPECT_EQ(got.y, sums.y) << count;
        EXPECT_EQ(got.r, sums.r) << count;
        EXPECT_EQ(got.yy, sums.yy) << count;
        EXPECT_EQ(got.rr, sums.rr) << count;
        EXPECT_EQ(got.yr, sums.yr) << count;
        EXPECT_EQ(CountColoured(blocks.luma.data(), blocks.other.data(), count), coloured) << count;
        CountRatios(blocks.luma.data(), blocks.reference.data(), 16, histogram.data(), count);
        EXPECT_EQ(histogram, expectedHistogram) << count;
        for (const auto& [low, high] : {std::pair{4055, 4136}, {1024, 8192}, {4096, 4096}}) {
            std::size_t upToLow = 0, upToHigh = 0;
            for (std::size_t ratio = 1024; ratio <= 16384; ++ratio) {
                upToLow += ratio <= static_cast<std::size_t>(low) ? histogram[ratio - 1024] : 0;
                upToHigh += ratio <= static_cast<std::size_t>(high) ? histogram[ratio - 1024] : 0;
            }
            const RatioCounts counts = CountRatiosUpTo(blocks.luma.data(), blocks.reference.data(), 16, low, high, count);
            EXPECT_EQ(counts.low, upToLow) << count << " blocks, up to " << low;
            EXPECT_EQ(counts.high, upToHigh) << count << " blocks, up to " << high;
        }

        const std::vector<std::uint16_t> before(blocks.reference.begin(), blocks.reference.end());
        FollowLuma(blocks.reference.data(), blocks.luma.data(), count);
        for (std::size_t i = 0; i < count; ++i)
            ASSERT_EQ(blocks.reference[i], Followed(before[i], 128 * blocks.luma[i]))
                << "length " << count << ", block " << i;
        const std::vector<std::uint16_t> followed(blocks.reference.begin(), blocks.reference.end());
        FollowBalancedLuma(blocks.reference.data(), blocks.luma.data(), 5000, 16, count);
        for (std::size_t i = 0; i < count; ++i)
            ASSERT_EQ(blocks.reference[i], Followed(followed[i], BalancedReference(blocks.luma[i], 5000, 16))) << count;
        const std::vector<std::uint16_t> balanced(blocks.reference.begin(), blocks.reference.end());
        RelaxReference(blocks.reference.data(), 16, -1, count);
        for (std::size_t i = 0; i < count; ++i)
            ASSERT_EQ(blocks.reference[i], Relaxed(balanced[i], 16, -1)) << "length " << count << ", block " << i;
        TakeReference(blocks.reference.data(), blocks.luma.data(), count);
        for (std::size_t i = 0; i < count; ++i)
            ASSERT_EQ(blocks.reference[i], 128 * blocks.luma[i]) << "length " << count << ", block " << i;
        const std::vector<std::uint8_t> luma(blocks.luma.begin(), blocks.luma.end());
        BalanceLuma(blocks.luma.data(), 5000, 16, count);
        for (std::size_t i = 0; i < count; ++i)
            ASSERT_EQ(blocks.luma[i], Balanced(luma[i], 5000, 16)) << "length " << count << ", block " << i;
        EXPECT_TRUE(blocks.luma.SlackIsIntact() && blocks.reference.SlackIsIntact());
    });
}

TEST(Brightness, SumsOfManyBrightBlocksDoNotOverflow) {
    const std::size_t count = 200001;
    const std::vector<std::uint8_t> luma(count, 255);
    const std::vector<std::uint16_t> reference(count, 255 * 128);
    const LumaSums sums = SumLuma(luma.data(), reference.data(), count);
    EXPECT_EQ(sums.y, 255 * count);
    EXPECT_EQ(sums.yy, 255 * 255 * count);
    EXPECT_EQ(sums.yr, 255 * 255 * count);
    EXPECT_EQ(sums.rr, 255 * 255 * count);
}

TEST(Brightness, MedianIsTheMiddleOfTheSortedRatios) {
    SeededRandom random(2);
    for (std::size_t count = 1; count < 60; ++count) {
        std::vector<int> ratios(count);
        std::vector<std::uint32_t> histogram(ratioBins);
        for (int& ratio : ratios) {
            ratio = random.OneIn(5) ? 16384 : random.OneIn(5) ? 1024 : random.Between(4000, 4200);
            ++histogram[static_cast<std::size_t>(ratio - 1024)];
        }
        std::sort(ratios.begin(), ratios.end());
        ASSERT_EQ(MedianRatio(histogram.data(), count), ratios[count / 2]) << count;
    }
}
