// Do leaves and water cover what was asked for, move in the wind, and stay where they are?
#include <gtest/gtest.h>

#include <cmath>

#include "Scene.h"
#include "SceneComparison.h"

using namespace MdScene;

namespace {

Settings Quiet(double wind) {
    Settings settings = street;
    settings.noise = 0;
    settings.wind = wind;
    return settings;
}

Frame EmptyAt(const Settings& settings, int number) {
    Frame frame;
    Scene(settings).RenderEmpty(number, frame);
    return frame;
}

double ShareChanged(const Frame& one, const Frame& other) {
    return static_cast<double>(ChangedPixels(one, other).size()) / static_cast<double>(one.y.size());
}

Settings WithFoliage(double share, double wind) {
    Settings settings = Quiet(wind);
    settings.foliage = share;
    return settings;
}

Settings WithWater(double share, double wind) {
    Settings settings = Quiet(wind);
    settings.water = share;
    return settings;
}

}  // namespace

TEST(Foliage, CoversItsShareOfThePicture) {
    const Frame bare = EmptyAt(Quiet(0), 0);
    for (const double share : {0.1, 0.3, 0.6})
        EXPECT_NEAR(ShareChanged(EmptyAt(WithFoliage(share, 0), 0), bare), share, 0.07) << share;
}

TEST(Foliage, MovesWithTheWindAndOnlyThen) {
    const int oneCycle = 47 * static_cast<int>(street.fps);  // of the light
    EXPECT_EQ(ShareChanged(EmptyAt(WithFoliage(0.4, 0), 3), EmptyAt(WithFoliage(0.4, 0), 3 + oneCycle)), 0);
    double shares[3] = {};
    for (int i = 0; i < 3; ++i) {
        const Settings settings = WithFoliage(0.4, 1 + 2 * i);
        const Frame one = EmptyAt(settings, 20), next = EmptyAt(settings, 21);
        for (std::size_t k = 0; k < one.y.size(); ++k) shares[i] += std::abs(one.y[k] - next.y[k]) > 12;
        shares[i] /= static_cast<double>(one.y.size());
    }
    EXPECT_GT(shares[1], shares[0]);
    EXPECT_GT(shares[2], 0.08);
}

TEST(Foliage, StandsBehindWhoeverPasses) {
    Settings settings = WithFoliage(0.6, 3);
    const Scene scene(settings), bare(Quiet(3));
    Frame frame, expected;
    int things = 0;
    for (int number = 0; number < settings.frames; number += 25) {
        scene.Render(number, frame);
        bare.Render(number, expected);
        EXPECT_EQ(frame.mask, expected.mask);
        things += static_cast<int>(frame.things.size());
    }
    EXPECT_GT(things, 0);
}

TEST(Water, FloodsTheLowerPartOnly) {
    const Frame dry = EmptyAt(Quiet(1), 8), wet = EmptyAt(WithWater(0.25, 1), 8);
    const int shore = street.height - static_cast<int>(0.25 * street.height + 0.5);
    for (const Pixel& pixel : ChangedPixels(wet, dry)) ASSERT_GE(pixel.y, shore & ~1);  // chroma is shared by two rows
    EXPECT_GT(ShareChanged(wet, dry), 0.24);
}

TEST(Water, ShimmersTheMoreTheWindBlows) {
    double changes[3] = {};
    for (int i = 0; i < 3; ++i) {
        const Settings settings = WithWater(0.5, 2 * i);
        const Frame one = EmptyAt(settings, 20), next = EmptyAt(settings, 21);
        for (std::size_t k = 0; k < one.y.size(); ++k) changes[i] += std::abs(one.y[k] - next.y[k]);
    }
    EXPECT_GT(changes[0], 0);
    EXPECT_GT(changes[1], changes[0]);
    EXPECT_GT(changes[2], changes[1]);
}

TEST(NatureDeathTest, SharesOutsideTheirRangeStopTheProcess) {
    EXPECT_DEATH(Scene(WithFoliage(0.81, 1)), "foliage");
    EXPECT_DEATH(Scene(WithWater(-0.1, 1)), "water");
}
