// Are the stepped statistics those of the frames themselves?  Random frames against direct sums, through changes of mode.
#include "statistics/FrameStatistics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using MD::FrameStatistics;
using Byte = unsigned char;
using Plane = std::vector<Byte>;

// What the statistics have to be, kept the slow way: all frames since the start, every sum from scratch.
class Model {
public:
    explicit Model(std::size_t blockCount)
        : first(blockCount), second(blockCount), center(blockCount), min(blockCount, 255), max(blockCount, 0) {}

    void Feed(const Plane& luma, bool isH264Partly) {
        _frames.push_back(luma);
        if (_frames.size() < 11) return;
        const bool sumsAnew = _frames.size() == 11 || isH264Partly != _lastIsH264;
        _lastIsH264 = isH264Partly;
        SumWindow(first, 0, 4);
        if (isH264Partly) {
            if (sumsAnew) FoldExtremes(0, 4);
            return;
        }
        SumWindow(second, 5, 9);
        SumWindow(center, 2, 6);
        std::fill(min.begin(), min.end(), Byte{255});
        std::fill(max.begin(), max.end(), Byte{0});
        FoldExtremes(0, 9);
    }

    struct Window {
        explicit Window(std::size_t blockCount) : sum(blockCount), squareSum(blockCount) {}
        std::vector<int> sum;
        std::vector<int> squareSum;
    };
    Window first, second, center;
    Plane min, max;

private:
    const Plane& OfAge(std::size_t age) const { return _frames[_frames.size() - 1 - age]; }

    void SumWindow(Window& window, std::size_t start, std::size_t end) {
        for (std::size_t i = 0; i < window.sum.size(); ++i) {
            window.sum[i] = window.squareSum[i] = 0;
            for (std::size_t age = start; age <= end; ++age) {
                window.sum[i] += OfAge(age)[i];
                window.squareSum[i] += OfAge(age)[i] * OfAge(age)[i];
            }
        }
    }

    void FoldExtremes(std::size_t start, std::size_t end) {
        for (std::size_t i = 0; i < min.size(); ++i)
            for (std::size_t age = start; age <= end; ++age) {
                min[i] = std::min(min[i], OfAge(age)[i]);
                max[i] = std::max(max[i], OfAge(age)[i]);
            }
    }

    std::vector<Plane> _frames;
    bool _lastIsH264 = false;
};

testing::AssertionResult WindowIs(const Model::Window& expected, const float* sum, const float* squareSum) {
    for (std::size_t i = 0; i < expected.sum.size(); ++i)  // integers below 2^24: a float holds them exactly
        if (sum[i] != static_cast<float>(expected.sum[i]) || squareSum[i] != static_cast<float>(expected.squareSum[i]))
            return testing::AssertionFailure() << "block " << i << " is " << sum[i] << ", " << squareSum[i] << " instead of "
                                               << expected.sum[i] << ", " << expected.squareSum[i];
    return testing::AssertionSuccess();
}

testing::AssertionResult StatisticsAre(const Model& model, const FrameStatistics& s) {
    if (const auto result = WindowIs(model.first, s._firstPartSum, s._firstPartSquareSum); !result) return result;
    if (const auto result = WindowIs(model.second, s._secondPartSum, s._secondPartSquareSum); !result) return result;
    if (const auto result = WindowIs(model.center, s._centerPartSum, s._centerPartSquareSum); !result) return result;
    if (!std::equal(model.min.begin(), model.min.end(), s._min)) return testing::AssertionFailure() << "minimum";
    if (!std::equal(model.max.begin(), model.max.end(), s._max)) return testing::AssertionFailure() << "maximum";
    return testing::AssertionSuccess();
}

struct AllocatedStatistics : FrameStatistics {
    explicit AllocatedStatistics(std::size_t blockCount) { AllocateBuffers(static_cast<int>(blockCount)); }
};

// Luma is `luma`, the chroma planes are noise, which must not show.
void Feed(FrameStatistics& s, const Plane& luma, bool isH264Partly, std::mt19937& random) {
    s.ShiftToNewFrame();
    Byte* const frame = s.FrameOfAge(0);
    std::generate_n(frame, s._frameSize, [&random] { return static_cast<Byte>(random()); });
    std::copy(luma.begin(), luma.end(), frame);
    s.Update(isH264Partly);
}

Plane RandomPlane(std::size_t blockCount, std::mt19937& random) {
    Plane plane(blockCount);
    const auto kind = random() % 8;  // all black and all white now and then: the ends of the range
    for (Byte& block : plane) block = kind == 0 ? Byte{0} : kind == 1 ? Byte{255} : static_cast<Byte>(random());
    return plane;
}

}  // namespace

TEST(FrameStatisticsTest, StepsEqualDirectSumsForFiveHundredFrames) {
    std::mt19937 random(500);
    for (const std::size_t blockCount : {1u, 15u, 16u, 17u, 67u, 320u}) {
        AllocatedStatistics s(blockCount);
        Model model(blockCount);
        for (int frame = 0; frame < 500; ++frame) {
            const Plane luma = RandomPlane(blockCount, random);
            Feed(s, luma, false, random);
            model.Feed(luma, false);
            ASSERT_TRUE(StatisticsAre(model, s)) << blockCount << " blocks, frame " << frame;
        }
    }
}

TEST(FrameStatisticsTest, StepsEqualDirectSumsThroughChangesOfMode) {
    std::mt19937 random(501);
    for (const unsigned changeEvery : {1u, 2u, 5u, 12u, 40u}) {
        AllocatedStatistics s(33);
        Model model(33);
        bool isH264Partly = changeEvery % 2 == 0;  // the first full ring comes in either mode
        int changes = 0;
        for (int frame = 0; frame < 500; ++frame) {
            if (random() % changeEvery == 0) {
                isH264Partly = !isH264Partly;
                ++changes;
            }
            const Plane luma = RandomPlane(33, random);
            Feed(s, luma, isH264Partly, random);
            model.Feed(luma, isH264Partly);
            ASSERT_TRUE(StatisticsAre(model, s)) << "change every " << changeEvery << ", frame " << frame;
        }
        ASSERT_GT(changes, 4);
    }
}

TEST(FrameStatisticsTest, ExtremesNeverNarrowWhileH264ModeLasts) {
    std::mt19937 random(502);
    AllocatedStatistics s(33);
    for (int frame = 0; frame < 11; ++frame) Feed(s, RandomPlane(33, random), false, random);
    for (int frame = 0; frame < 300; ++frame) {
        const Plane minBefore(s._min, s._min + 33), maxBefore(s._max, s._max + 33);
        Plane luma(33, 128);
        if (random() % 9 == 0) luma = RandomPlane(33, random);
        s._needReCalculate = random() % 5 == 0;
        Feed(s, luma, true, random);
        for (std::size_t i = 0; i < 33; ++i) {
            ASSERT_LE(s._min[i], minBefore[i]);
            ASSERT_GE(s._max[i], maxBefore[i]);
        }
    }
}

// The comparison is worth something: one wrong unit in one block of one window is noticed.
TEST(FrameStatisticsTest, ComparisonNoticesPlantedFaults) {
    std::mt19937 random(503);
    AllocatedStatistics s(17);
    Model model(17);
    for (int frame = 0; frame < 30; ++frame) {
        const Plane luma = RandomPlane(17, random);
        Feed(s, luma, false, random);
        model.Feed(luma, false);
    }
    ASSERT_TRUE(StatisticsAre(model, s));
    for (float* const sum : {s._firstPartSum, s._secondPartSum, s._centerPartSum, s._firstPartSquareSum,
                             s._secondPartSquareSum, s._centerPartSquareSum}) {
        sum[16] += 1.0f;
        EXPECT_FALSE(StatisticsAre(model, s));
        sum[16] -= 1.0f;
    }
    for (Byte* const extreme : {s._min, s._max}) {
        extreme[16] = static_cast<Byte>(extreme[16] ^ 1u);
        EXPECT_FALSE(StatisticsAre(model, s));
        extreme[16] = static_cast<Byte>(extreme[16] ^ 1u);
    }
    EXPECT_TRUE(StatisticsAre(model, s));
}
