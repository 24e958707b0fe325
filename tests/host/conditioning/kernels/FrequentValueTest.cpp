// Is the heaviest window the one that a plain search finds, and do the loops give what their rules give?
#include "conditioning/kernels/FrequentValue.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "GuardedBlocks.h"
#include "SeededRandom.h"

using namespace Host::Kernels;
using Kit::GuardedBlocks;
using Kit::GuardedSide;
using Kit::SeededRandom;

namespace {

// Every window by itself, the first of the best.
int PlainHeaviestWindow(const LumaHistogram& histogram) {
    int heaviest = 0;
    std::uint32_t mostWeight = 0;
    for (int lowest = 0; lowest <= 248; ++lowest) {
        std::uint32_t weight = 0;
        for (int level = lowest; level < lowest + 8; ++level) weight += histogram.weight[level];
        if (weight > mostWeight) {
            heaviest = lowest;
            mostWeight = weight;
        }
    }
    return heaviest;
}

// One array of a tile beside an unreadable page, of random bytes close to each other.
GuardedBlocks<std::uint8_t> Samples(std::size_t count, GuardedSide side, SeededRandom& random) {
    GuardedBlocks<std::uint8_t> samples(count, side);
    for (std::uint8_t& sample : samples) sample = static_cast<std::uint8_t>(random.Between(100, 115));
    return samples;
}

}  // namespace

TEST(FrequentValue, SampleIsStillUpToThreeLevels) {
    for (int luma = 0; luma < 256; ++luma)
        for (int later = 0; later < 256; ++later)
            ASSERT_EQ(WeightOfSample(luma, later), std::abs(luma - later) <= 3 ? 5u : 1u) << luma << ", " << later;
}

TEST(FrequentValue, WindowHoldsEightLevels) {
    for (int lowest = 0; lowest <= 248; ++lowest) {
        int inside = 0;
        for (int luma = 0; luma < 256; ++luma) inside += IsInWindow(luma, lowest);
        ASSERT_EQ(inside, 8);
        ASSERT_TRUE(IsInWindow(lowest, lowest));
        ASSERT_TRUE(IsInWindow(lowest + 7, lowest));
    }
}

TEST(FrequentValue, MeanIsRoundedToNearest) {
    EXPECT_EQ(WeightedMean(0, 5), 0);
    EXPECT_EQ(WeightedMean(7, 5), 1);
    EXPECT_EQ(WeightedMean(8, 5), 2);
    EXPECT_EQ(WeightedMean(3, 2), 2);  // a tie goes up
    EXPECT_EQ(WeightedMean(65535u * 255, 65535), 255);
}

TEST(FrequentValue, HeaviestWindowIsThatOfAPlainSearch) {
    SeededRandom random(1);
    for (int round = 0; round < 3000; ++round) {
        LumaHistogram histogram = {};
        constexpr int borders[] = {0, 1, 7, 8, 100, 103, 111, 247, 248, 255};
        const int samples = random.Between(1, 40), largest = random.OneIn(2) ? 5 : 1200;
        for (int sample = 0; sample < samples; ++sample)
            histogram.weight[random.OneIn(3) ? random.Byte() : random.Pick(borders)] =
                static_cast<std::uint16_t>(random.Between(1, largest));
        ASSERT_EQ(HeaviestWindow(histogram), PlainHeaviestWindow(histogram)) << "round " << round;
    }
}

TEST(FrequentValue, EqualWindowsGiveTheDarkest) {
    LumaHistogram histogram = {};
    histogram.weight[200] = histogram.weight[50] = 5;
    EXPECT_EQ(HeaviestWindow(histogram), 43);  // the first that reaches level 50
    histogram.weight[200] = 6;
    EXPECT_EQ(HeaviestWindow(histogram), 193);
    histogram.weight[0] = 7;
    EXPECT_EQ(HeaviestWindow(histogram), 0);
    histogram.weight[255] = 8;
    EXPECT_EQ(HeaviestWindow(histogram), 248);
}

TEST(FrequentValue, FullHistogramDoesNotOverflow) {
    LumaHistogram histogram = {};
    histogram.weight[10] = 32767;
    histogram.weight[12] = 32768;  // 65535 together
    histogram.weight[90] = 40000;
    EXPECT_EQ(HeaviestWindow(histogram), 5);
}

TEST(FrequentValue, LoopsGiveWhatTheRulesGiveAtEveryLength) {
    SeededRandom random(2);
    for (std::size_t count = 0; count <= tileLength; ++count)
        for (const GuardedSide side : {GuardedSide::End, GuardedSide::Front}) {
            const auto luma = Samples(count, side, random), later = Samples(count, side, random),
                       lowest = Samples(count, side, random), cb = Samples(count, side, random),
                       cr = Samples(count, side, random);
            GuardedBlocks<std::uint32_t> weight(count, side), y(count, side), blue(count, side), red(count, side);
            std::vector<LumaHistogram> histogram(count);
            for (int picture = 0; picture < 2; ++picture) {  // the second adds to the first
                AddToHistograms(luma.data(), later.data(), histogram.data(), count);
                AddInWindow({luma.data(), cb.data(), cr.data(), later.data(), lowest.data()},
                            {weight.data(), y.data(), blue.data(), red.data()}, count);
            }
            for (std::size_t i = 0; i < count; ++i) {
                const std::uint32_t one = WeightOfSample(luma[i], later[i]);
                const std::uint32_t expected = IsInWindow(luma[i], lowest[i]) ? 2 * one : 0;
                ASSERT_EQ(weight[i], expected) << "length " << count << ", block " << i;
                ASSERT_EQ(y[i], expected * luma[i]) << "length " << count << ", block " << i;
                ASSERT_EQ(blue[i], expected * cb[i]) << "length " << count << ", block " << i;
                ASSERT_EQ(red[i], expected * cr[i]) << "length " << count << ", block " << i;
                for (std::size_t level = 0; level < 256; ++level)
                    ASSERT_EQ(histogram[i].weight[level], level == luma[i] ? 2 * one : 0) << "length " << count;
            }
            for (const auto* sums : {&weight, &y, &blue, &red}) EXPECT_TRUE(sums->SlackIsIntact());
        }
}
