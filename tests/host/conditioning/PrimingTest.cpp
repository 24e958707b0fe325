// Is the primed background what was most often to be seen, does a detector know it after the showings, and do quick stamps
// rise as they should?
#include "conditioning/Priming.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "DetectorHost.h"
#include "SeededRandom.h"

using Host::Priming;
using Host::QuickStart;
using Host::ShowBackground;
using Host::Ticks;
using Host::ticksPerSecond;
using Kit::SeededRandom;

namespace {

using Planes = std::vector<std::uint8_t>;

// What goes wrong in the plain form, to show that the comparison would notice.
enum class Fault { None, AllWeighOne, LooksBackOnly, BrightestWins };

// The obviously right form: all windows of all blocks, one sample at a time, in floating point.
Planes PlainMostFrequent(const std::vector<Planes>& pictures, std::size_t ahead, Fault fault = Fault::None) {
    const std::size_t blocks = pictures[0].size() / 3, count = pictures.size();
    Planes result(3 * blocks);
    for (std::size_t i = 0; i < blocks; ++i) {
        const auto weightOf = [&](std::size_t t) {
            std::size_t other = t + ahead;
            if (other >= count || fault == Fault::LooksBackOnly) other = t >= ahead ? t - ahead : 0;
            const bool isStill = std::abs(pictures[t][i] - pictures[other][i]) <= 3;
            return isStill && fault != Fault::AllWeighOne ? 1.0 : 0.2;
        };
        double mostWeight = 0;
        int heaviest = 0;
        for (int lowest = 0; lowest <= 248; ++lowest) {
            double weight = 0;
            for (std::size_t t = 0; t < count; ++t)
                if (pictures[t][i] >= lowest && pictures[t][i] < lowest + 8) weight += weightOf(t);
            if (weight > mostWeight + (fault == Fault::BrightestWins ? -1e-9 : 1e-9)) {
                mostWeight = weight;
                heaviest = lowest;
            }
        }
        for (std::size_t plane = 0; plane < 3; ++plane) {
            double sum = 0;
            for (std::size_t t = 0; t < count; ++t)
                if (pictures[t][i] >= heaviest && pictures[t][i] < heaviest + 8)
                    sum += weightOf(t) * pictures[t][plane * blocks + i];
            result[plane * blocks + i] = static_cast<std::uint8_t>(std::floor(sum / mostWeight + 0.5 + 1e-9));
        }
    }
    return result;
}

// Blocks with a few values that come and go, noise on them, and chroma that goes with the value.
std::vector<Planes> BusyPictures(std::size_t blocks, int count, std::uint64_t seed) {
    SeededRandom random(seed);
    std::vector<Planes> pictures(static_cast<std::size_t>(count), Planes(3 * blocks));
    for (std::size_t i = 0; i < blocks; ++i) {
        const int values[] = {random.Byte(), random.Byte(), random.Byte()};
        const int noise = random.Between(0, 6);
        int value = values[0];
        for (Planes& picture : pictures) {
            if (random.OneIn(4)) value = random.Pick(values);
            const int luma = std::clamp(value + random.Between(-noise, noise), 0, 255);
            picture[i] = static_cast<std::uint8_t>(luma);
            picture[blocks + i] = static_cast<std::uint8_t>(255 - luma);
            picture[2 * blocks + i] = random.Byte();
        }
    }
    return pictures;
}

Planes MostFrequent(const std::vector<Planes>& pictures, int columns, int rows, int ahead) {
    Priming priming(columns, rows, static_cast<int>(pictures.size()) + 2);
    for (const Planes& picture : pictures) priming.Add(picture.data());
    Planes result(pictures[0].size());
    priming.MostFrequent(ahead, result.data());
    return result;
}

}  // namespace

TEST(Priming, MostFrequentIsThePlainForm) {
    struct Case {
        int columns, rows, pictures, ahead;
    };
    for (const Case c : {Case{1, 1, 1, 1}, Case{7, 9, 2, 4}, Case{8, 8, 3, 1}, Case{13, 5, 20, 4}, Case{129, 3, 100, 4},
                         Case{64, 2, 33, 32}, Case{65, 1, 33, 33}, Case{30, 4, 12, 1000}}) {
        const auto blocks = static_cast<std::size_t>(c.columns * c.rows);
        const std::vector<Planes> pictures = BusyPictures(blocks, c.pictures, static_cast<std::uint64_t>(c.columns));
        EXPECT_EQ(MostFrequent(pictures, c.columns, c.rows, c.ahead),
                  PlainMostFrequent(pictures, static_cast<std::size_t>(c.ahead)))
            << c.columns << " x " << c.rows << ", " << c.pictures << " pictures, ahead " << c.ahead;
    }
}

TEST(Priming, ComparisonNoticesPlantedFaults) {
    const std::vector<Planes> pictures = BusyPictures(400, 30, 7);
    const Planes result = MostFrequent(pictures, 20, 20, 4);
    EXPECT_EQ(result, PlainMostFrequent(pictures, 4));
    for (const Fault fault : {Fault::AllWeighOne, Fault::LooksBackOnly, Fault::BrightestWins})
        EXPECT_NE(result, PlainMostFrequent(pictures, 4, fault)) << static_cast<int>(fault);
}

TEST(Priming, WhatIsSeenSeldomButStillPrevails) {
    std::vector<Planes> pictures;
    for (int t = 0; t < 60; ++t) {
        const bool isPassing = t % 10 < 6;  // six of ten pictures show traffic, never the same twice
        pictures.push_back({static_cast<std::uint8_t>(isPassing ? 110 + 37 * t % 140 : 90 + t % 2),
                            static_cast<std::uint8_t>(isPassing ? 7 : 140), static_cast<std::uint8_t>(isPassing ? 9 : 120)});
    }
    const Planes background = MostFrequent(pictures, 1, 1, 2);
    EXPECT_NEAR(background[0], 90, 1);
    EXPECT_EQ(background[1], 140);
    EXPECT_EQ(background[2], 120);
}

TEST(Priming, KeepsCopiesInOrderUntilCleared) {
    Priming priming(4, 2, 3);
    EXPECT_EQ(priming.Pictures(), 0);
    EXPECT_EQ(priming.MostPictures(), 3);
    Planes planes(24);
    for (int value = 1; value <= 3; ++value) {
        std::fill(planes.begin(), planes.end(), static_cast<std::uint8_t>(value));
        priming.Add(planes.data());
    }
    ASSERT_EQ(priming.Pictures(), 3);
    for (int index = 0; index < 3; ++index)
        EXPECT_TRUE(std::all_of(priming.Picture(index), priming.Picture(index) + 24,
                                [&](std::uint8_t value) { return value == index + 1; }));
    priming.Clear();
    EXPECT_EQ(priming.Pictures(), 0);
    priming.Add(planes.data());
    EXPECT_EQ(priming.Picture(0)[0], 3);
}

TEST(PrimingDeathTest, BrokenPreconditionsStopTheProcess) {
    EXPECT_DEATH(Priming(0, 1, 1), "columns > 0");
    EXPECT_DEATH(Priming(1, 10000, 1), "rows <= largestGridSize");
    EXPECT_DEATH(Priming(1, 1, 0), "mostPictures > 0");
    EXPECT_DEATH(Priming(1, 1, Priming::largestPictures + 1), "largestPictures");
    Priming priming(1, 1, 1);
    Planes planes(3);
    EXPECT_DEATH(priming.MostFrequent(1, planes.data()), "_pictures > 0");
    EXPECT_DEATH(priming.Picture(0), "index < _pictures");
    priming.Add(planes.data());
    EXPECT_DEATH(priming.Add(planes.data()), "_pictures < _mostPictures");
    EXPECT_DEATH(priming.MostFrequent(0, planes.data()), "ahead > 0");
}

TEST(ShowBackground, EndsASecondBeforeTheFirstPicture) {
    for (const Ticks first : {14 * ticksPerSecond, 14 * ticksPerSecond + 1, 1000 * ticksPerSecond}) {
        std::vector<Ticks> times;
        const std::uint8_t background[] = {1, 2, 3};
        const Ticks offset = ShowBackground(background, first, [&](const std::uint8_t* planes, Ticks time) {
            EXPECT_EQ(planes, background);
            times.push_back(time);
        });
        EXPECT_EQ(offset, 0);
        ASSERT_EQ(times.size(), 14u);
        EXPECT_EQ(times.back(), first - ticksPerSecond);
        for (std::size_t i = 1; i < times.size(); ++i) EXPECT_EQ(times[i] - times[i - 1], ticksPerSecond);
    }
}

TEST(ShowBackground, MovesThePicturesWhereThereIsNoTimeBeforeThem) {
    for (const Ticks first : {Ticks{0}, Ticks{1}, 14 * ticksPerSecond - 1, Ticks{-5}, -100 * ticksPerSecond}) {
        std::vector<Ticks> times;
        const std::uint8_t background[] = {1, 2, 3};
        const Ticks offset =
            ShowBackground(background, first, [&](const std::uint8_t*, Ticks time) { times.push_back(time); });
        ASSERT_EQ(times.size(), 14u);
        EXPECT_EQ(times.front(), 0);
        EXPECT_EQ(times.back() + ticksPerSecond, first + offset) << first;
    }
}

TEST(ShowBackground, DetectorKnowsEveryBlockAndReportsFromTheFirstPicture) {
    constexpr int columns = 40, rows = 30, blocks = columns * rows;
    SeededRandom random(3);
    Planes background(3 * blocks);
    for (std::uint8_t& value : background) value = static_cast<std::uint8_t>(random.Between(30, 220));
    for (const bool shadows : {false, true})
        for (const double fps : {1.0, 6.25, 25.0}) {
            Kit::DetectorHost detector;
            detector.AddWholeFrame();
            Planes bgr(background.size());
            const auto detect = [&](const std::uint8_t* planes, Ticks time) {
                DetectionInfo info = {};
                info.width = columns;
                info.height = rows;
                info.bgr24stride = 3 * columns;
                info.bgr24ForEachBlock = bgr.data();
                info.ycbcrForEachBlock = const_cast<std::uint8_t*>(planes);
                info.timestamp = time;
                info.fps = fps;
                info.detectShadow = shadows;
                return detector.Detect(info);
            };
            const Ticks offset = ShowBackground(background.data(), 0, detect);
            EXPECT_EQ(detector.Background().KnownBlocks(), blocks) << "fps " << fps << ", shadows " << shadows;
            Planes picture = background;
            for (int row = 10; row < 16; ++row)
                for (int column = 10; column < 16; ++column) {
                    std::uint8_t& luma = picture[static_cast<std::size_t>(row * columns + column)];
                    luma = static_cast<std::uint8_t>(luma ^ 0x80);
                }
            const Kit::FrameResult first = detect(picture.data(), offset);
            ASSERT_EQ(first.objects.size(), 1u) << "fps " << fps << ", shadows " << shadows;
            EXPECT_EQ(first.objects[0].left, 10);
            EXPECT_EQ(first.objects[0].bottom, 15);
        }
}

TEST(QuickStart, FourteenIntervalsCountTenTimes) {
    QuickStart quick;
    constexpr Ticks start = 500, interval = 1600000;
    Ticks expected = start;
    EXPECT_EQ(quick.Stamp(start), start);
    for (int picture = 1; picture < 40; ++picture) {
        expected += picture <= 14 ? 10 * interval : interval;
        EXPECT_EQ(quick.Stamp(start + picture * interval), expected) << "picture " << picture;
    }
    EXPECT_EQ(quick.Ahead(), 14 * 9 * interval);
}

TEST(QuickStart, AJumpOfCenturiesStaysInRange) {
    QuickStart quick;
    constexpr Ticks last = (Ticks{1} << 62) - 1;
    EXPECT_EQ(quick.Stamp(-last), -last);
    Ticks before = quick.Stamp(-last / 2);
    EXPECT_EQ(before, -last + 10 * (Ticks{1} << 53));
    for (const Ticks time : {Ticks{0}, last - 1, last}) {
        const Ticks stamp = quick.Stamp(time);
        EXPECT_GT(stamp, before);
        before = stamp;
    }
}

TEST(QuickStart, StampsRiseWhateverTheTimesDo) {
    SeededRandom random(4);
    QuickStart quick;
    Ticks time = -7 * ticksPerSecond, before = std::numeric_limits<Ticks>::min();
    for (int picture = 0; picture < 200; ++picture) {
        const Ticks stamp = quick.Stamp(time);
        EXPECT_GT(stamp, before);
        before = stamp;
        time += random.Between(-20, 60) * ticksPerSecond / 10;
    }
    const Ticks again = quick.Stamp(time), same = quick.Stamp(time);
    EXPECT_EQ(same, again + 1);
    EXPECT_EQ(quick.Stamp(time + 12345), same + 12345);
}
