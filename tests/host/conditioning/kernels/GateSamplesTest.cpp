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

testing::AssertionResult MatchingEquals(PlainMatching rule) {
    KernelPlane<std::uint8_t> y, cb, cr, sampleY, sampleCb, sampleCr, limit, found, nearest;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        SeededRandom random(c.seed);
        for (auto* plane : {&y, &cb, &cr})
            plane->Fill(c, 0, 255, [&] { return static_cast<std::uint8_t>(random.Between(90, 120)); });
        for (auto* plane : {&sampleY, &sampleCb, &sampleCr})
            plane->Fill(c, 0, 250, [&] { return static_cast<std::uint8_t>(random.Between(90, 120)); });
        limit.Fill(c, 0, 255, [&] { return static_cast<std::uint8_t>(random.Between(5, 30)); });
        found.Fill(c, 0, 1, [&] { return static_cast<std::uint8_t>(random.Between(0, 2)); });
        nearest.Fill(c, 255, 3, [&] { return static_cast<std::uint8_t>(random.Between(0, 30)); });
        std::vector<std::uint8_t> expectedFound = found.Copy(c), expectedNearest = nearest.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i) {
            const int distance = PlainDistance(y(c, i), cb(c, i), cr(c, i), sampleY(c, i), sampleCb(c, i), sampleCr(c, i));
            const Matches matches = rule.With({expectedFound[i], expectedNearest[i]}, distance, limit(c, i));
            expectedFound[i] = matches.found;
            expectedNearest[i] = matches.nearest;
        }
        const BlockColours picture{y.At(c), cb.At(c), cr.At(c)}, sample{sampleY.At(c), sampleCb.At(c), sampleCr.At(c)};
        MatchSample(picture.From(c.first), sample.From(c.first), limit.At(c) + c.first, found.At(c) + c.first,
                    nearest.At(c) + c.first, c.Range().Count());
        comparison.Compare(c, "found", found, expectedFound);
        comparison.Compare(c, "nearest", nearest, expectedNearest);
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

TEST(GateSamples, MatchingEqualsTheRule) { EXPECT_TRUE(MatchingEquals({})); }
TEST(GateSamples, ComparisonNoticesOneMatchThatIsEnough) { EXPECT_FALSE(MatchingEquals({.enough = 1})); }
TEST(GateSamples, ComparisonNoticesALimitThatMatches) { EXPECT_FALSE(MatchingEquals({.strictness = 1})); }

TEST(GateSamples, MarksAndReplacementsEqualTheirRules) {
    KernelPlane<std::uint8_t> found, isMoving, from, to;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        SeededRandom random(c.seed);
        found.Fill(c, 0, 2, [&] { return static_cast<std::uint8_t>(random.Between(0, 2)); });
        isMoving.Draw(c, [&] { return random.Byte(); });
        from.Draw(c, [&] { return random.Byte(); });
        to.Draw(c, [&] { return random.Byte(); });
        std::vector<std::uint8_t> expected = isMoving.Copy(c), replaced = to.Copy(c);
        bool all = true;
        for (std::size_t i = c.first; i < c.last; ++i) {
            expected[i] = found(c, i) < 2 ? 255 : 0;
            if (found(c, i) < 2) all = false;
            if (expected[i] != 0) replaced[i] = from(c, i);
        }
        const std::size_t count = c.Range().Count();
        comparison.CompareValue(c, "AllMatched", AllMatched(found.At(c) + c.first, count), all);
        MarkMoving(found.At(c) + c.first, isMoving.At(c) + c.first, count);
        comparison.Compare(c, "isMoving", isMoving, expected);
        ReplaceTaken(isMoving.At(c) + c.first, from.At(c) + c.first, to.At(c) + c.first, count);
        comparison.Compare(c, "to", to, replaced);
    });
    EXPECT_TRUE(comparison.Result());
}

TEST(GateSamples, OneBlockWithoutAMatchIsFoundWhereverItIs) {
    for (std::size_t count = 1; count <= 150; ++count)
        for (std::size_t place = 0; place < count; ++place) {
            std::vector<std::uint8_t> found(count, 2);
            ASSERT_TRUE(AllMatched(found.data(), count));
            found[place] = 1;
            ASSERT_FALSE(AllMatched(found.data(), count)) << place << " of " << count;
        }
}
