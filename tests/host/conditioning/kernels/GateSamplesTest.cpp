// Does a block match its samples as the rule says, at every length and start, without leaving its arrays?
#include "conditioning/kernels/GateSamples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "KernelCases.h"
#include "KernelComparison.h"
#include "SeededRandom.h"

using namespace Host::Kernels;
using namespace Kit;

namespace {

int PlainDistance(int y, int cb, int cr, int sampleY, int sampleCb, int sampleCr) {
    return std::min(255, std::abs(y - sampleY) + std::max(std::abs(cb - sampleCb), std::abs(cr - sampleCr)) / 2);
}

// The rule in plain numbers; a fault is one of its numbers, changed.
struct PlainMatching {
    int enough = 2;
    int strictness = 0;  // added to the limit

    Matches With(Matches before, int distance, int limit) const {
        if (before.found >= enough || distance >= limit + strictness) return before;
        return {static_cast<std::uint8_t>(before.found + 1),
                static_cast<std::uint8_t>(std::min<int>(before.nearest, distance))};
    }
};

testing::AssertionResult MatchingEquals(PlainMatching rule, std::size_t known) {
    KernelPlane<std::uint8_t> y, cb, cr, limit, nearest, isMoving;
    KernelComparison comparison;
    std::uint8_t widest = 0;  // so many levels samples lie apart: few or many of them match
    ForEachKernelCase([&](const KernelCase& c) {
        SeededRandom random(c.seed);
        widest = static_cast<std::uint8_t>((widest + 7) % 60);
        const auto any = [&] { return static_cast<std::uint8_t>(100 + random.Between(0, widest)); };
        for (auto* plane : {&y, &cb, &cr}) plane->Fill(c, 0, 255, any);
        limit.Fill(c, 0, 255, [&] { return static_cast<std::uint8_t>(random.Between(5, 30)); });
        for (auto* plane : {&nearest, &isMoving}) plane->Draw(c, [&] { return random.Byte(); });
        const std::size_t count = c.Range().Count();
        GuardedBlocks<std::uint8_t> samples(3 * known * count, c.side);
        for (std::uint8_t& sample : samples) sample = c.level == Level::High ? std::uint8_t{250} : any();

        std::vector<std::uint8_t> expectedNearest = nearest.Copy(c), expectedMoving = isMoving.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i) {
            Matches matches = {0, 255};
            for (std::size_t sample = 0; sample < known; ++sample) {
                const std::uint8_t* const known3 = samples.data() + 3 * sample * count + (i - c.first);
                const int distance = PlainDistance(y(c, i), cb(c, i), cr(c, i), known3[0], known3[count], known3[2 * count]);
                matches = rule.With(matches, distance, limit(c, i));
            }
            expectedNearest[i] = matches.nearest;
            expectedMoving[i] = matches.found < rule.enough ? 255 : 0;
        }
        const BlockColours picture{y.At(c), cb.At(c), cr.At(c)};
        FindMatches(picture.From(c.first), {samples.data(), count, known}, limit.At(c) + c.first, nearest.At(c) + c.first,
                    isMoving.At(c) + c.first, count);
        comparison.Compare(c, "nearest", nearest, expectedNearest);
        comparison.Compare(c, "isMoving", isMoving, expectedMoving);
    });
    return comparison.Result();
}

}  // namespace

TEST(GateSamples, DistanceIsLumaAndHalfTheLargerChroma) {
    for (int y = 0; y < 256; ++y)
        for (int sample = 0; sample < 256; ++sample) {
            const auto a = static_cast<std::uint8_t>(y), b = static_cast<std::uint8_t>(sample);
            ASSERT_EQ(ColourDistance(a, 128, 128, b, 128, 128), PlainDistance(y, 0, 0, sample, 0, 0));
            ASSERT_EQ(ColourDistance(128, a, 128, 128, b, 128), PlainDistance(0, y, 0, 0, sample, 0));
            ASSERT_EQ(ColourDistance(128, 128, a, 128, 128, b), PlainDistance(0, 0, y, 0, 0, sample));
            ASSERT_EQ(ColourDistance(a, b, 3, b, a, 90), PlainDistance(y, sample, 3, sample, y, 90));
        }
}

TEST(GateSamples, DistanceStopsAt255) {
    EXPECT_EQ(ColourDistance(0, 0, 0, 255, 255, 255), 255);
    EXPECT_EQ(ColourDistance(0, 0, 255, 254, 1, 253), 255);
    EXPECT_EQ(ColourDistance(0, 0, 0, 200, 108, 110), 255);
    EXPECT_EQ(ColourDistance(0, 0, 0, 200, 109, 109), 254);
}

TEST(GateSamples, SampleAtTheLimitDoesNotMatch) {
    EXPECT_EQ(WithSample({0, 255}, 10, 10).found, 0);
    EXPECT_EQ(WithSample({0, 255}, 9, 10).found, 1);
    EXPECT_EQ(WithSample({0, 255}, 9, 10).nearest, 9);
}

TEST(GateSamples, NearestIsThatOfTheFirstTwoMatches) {
    EXPECT_EQ(WithSample({1, 5}, 7, 10).nearest, 5);
    EXPECT_EQ(WithSample({1, 5}, 3, 10).nearest, 3);
    EXPECT_EQ(WithSample({2, 5}, 3, 10).nearest, 5);
    EXPECT_EQ(WithSample({2, 5}, 3, 10).found, 2);
}

TEST(GateSamples, MatchingEqualsTheRule) {
    for (const std::size_t known : {1, 2, 7}) EXPECT_TRUE(MatchingEquals({}, known)) << known << " samples";
}
TEST(GateSamples, ComparisonNoticesOneMatchThatIsEnough) { EXPECT_FALSE(MatchingEquals({.enough = 1}, 7)); }
TEST(GateSamples, ComparisonNoticesALimitThatMatches) { EXPECT_FALSE(MatchingEquals({.strictness = 1}, 7)); }

TEST(GateSamples, ReplacementsEqualTheirRule) {
    KernelPlane<std::uint8_t> isTaken, from, to;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        SeededRandom random(c.seed);
        isTaken.Fill(c, 0, 255, [&] { return static_cast<std::uint8_t>(random.OneIn(3) ? 255 : 0); });
        from.Draw(c, [&] { return random.Byte(); });
        to.Draw(c, [&] { return random.Byte(); });
        std::vector<std::uint8_t> replaced = to.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i)
            if (isTaken(c, i) != 0) replaced[i] = from(c, i);
        ReplaceTaken(isTaken.At(c) + c.first, from.At(c) + c.first, to.At(c) + c.first, c.Range().Count());
        comparison.Compare(c, "to", to, replaced);
    });
    EXPECT_TRUE(comparison.Result());
}

TEST(GateSamples, LastSampleDecidesForOneBlockWhereverItIs) {
    constexpr std::size_t known = 3;
    for (std::size_t count = 1; count <= 70; ++count)
        for (std::size_t place = 0; place < count; ++place) {
            const std::vector<std::uint8_t> grey(count, 100), limit(count, 10);
            std::vector<std::uint8_t> samples(3 * known * count, 100), nearest(count), isMoving(count);
            samples[place] = 110;  // the first is too far: the second and third match
            samples[6 * count + place] = 104;
            FindMatches({grey.data(), grey.data(), grey.data()}, {samples.data(), count, known}, limit.data(),
                        nearest.data(), isMoving.data(), count);
            for (std::size_t i = 0; i < count; ++i) ASSERT_EQ(isMoving[i], 0) << i << " of " << count;
            samples[6 * count + place] = 90;
            FindMatches({grey.data(), grey.data(), grey.data()}, {samples.data(), count, known}, limit.data(),
                        nearest.data(), isMoving.data(), count);
            for (std::size_t i = 0; i < count; ++i) ASSERT_EQ(isMoving[i], i == place ? 255 : 0) << i << " of " << count;
        }
}
