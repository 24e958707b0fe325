// Is a change of light taken out, a still picture left alone to the bit, and a collapsed one told and kept out of the
// reference?
#include "conditioning/BrightnessBalance.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "SeededRandom.h"

using Host::BrightnessBalance;
using Host::ColourRange;
using Host::PictureState;
using Kit::SeededRandom;

namespace {

constexpr int columns = 40, rows = 30;
constexpr std::size_t blocks = columns * rows;
using Planes = std::vector<std::uint8_t>;

std::uint8_t Clipped(double value) { return static_cast<std::uint8_t>(std::clamp(std::floor(value + 0.5), 0.0, 255.0)); }

// A coloured scene of smooth areas, 50 to 170.
Planes Scene(std::uint64_t seed) {
    SeededRandom random(seed);
    Planes planes(3 * blocks);
    for (int row = 0; row < rows; row += 5)
        for (int column = 0; column < columns; column += 5) {
            const int y = random.Between(50, 170), cb = random.Between(100, 150), cr = random.Between(100, 150);
            for (int i = 0; i < 25; ++i) {
                const auto block = static_cast<std::size_t>((row + i / 5) * columns + column + i % 5);
                planes[block] = static_cast<std::uint8_t>(y + i / 5);
                planes[blocks + block] = static_cast<std::uint8_t>(cb);
                planes[2 * blocks + block] = static_cast<std::uint8_t>(cr);
            }
        }
    return planes;
}

// Light of every block times a factor; black: luma without light.
Planes Lit(const Planes& scene, double factor, int black) {
    Planes lit = scene;
    for (std::size_t i = 0; i < blocks; ++i) lit[i] = Clipped(black + factor * (scene[i] - black));
    return lit;
}

Planes Noisy(Planes planes, int amplitude, SeededRandom& random) {
    for (std::uint8_t& value : planes)
        value = static_cast<std::uint8_t>(std::clamp(value + random.Between(-amplitude, amplitude), 0, 255));
    return planes;
}

Planes Grey(Planes planes) {
    std::fill(planes.begin() + blocks, planes.end(), std::uint8_t{128});
    return planes;
}

Planes Flat(int luma, SeededRandom& random) {
    return Noisy(Grey(Planes(3 * blocks, static_cast<std::uint8_t>(luma))), 1, random);
}

int LargestLumaDifference(const Planes& a, const Planes& b) {
    int largest = 0;
    for (std::size_t i = 0; i < blocks; ++i) largest = std::max(largest, std::abs(a[i] - b[i]));
    return largest;
}

// What the balance makes of a picture.
Planes Shown(BrightnessBalance& balance, Planes planes) {
    balance.Balance(planes.data());
    return planes;
}

}  // namespace

TEST(BrightnessBalance, NoisyStillPicturesStayToTheBit) {
    for (const int amplitude : {0, 1, 3, 6}) {
        SeededRandom random(1);
        const Planes scene = Scene(2);
        BrightnessBalance balance(columns, rows);
        for (int picture = 0; picture < 400; ++picture) {
            const Planes seen = Noisy(scene, amplitude, random);
            ASSERT_EQ(Shown(balance, seen), seen) << "amplitude " << amplitude << ", picture " << picture;
            ASSERT_EQ(balance.State(), PictureState::Normal);
            ASSERT_EQ(balance.Ratio(), BrightnessBalance::unit);
        }
    }
}

TEST(BrightnessBalance, LightStepIsBalancedToOneLevel) {
    struct Case {
        ColourRange range;
        int black;
    };
    for (const Case c : {Case{ColourRange::Full, 0}, Case{ColourRange::Limited, 16}})
        for (const double factor : {0.7, 0.9, 1.2, 1.4}) {
            const Planes scene = Scene(3), lit = Lit(scene, factor, c.black);
            BrightnessBalance balance(columns, rows, c.range);
            for (int picture = 0; picture < 10; ++picture) ASSERT_EQ(Shown(balance, scene), scene);
            Planes shown = lit;
            EXPECT_EQ(balance.Balance(shown.data()), PictureState::Light) << factor;
            EXPECT_NEAR(balance.Ratio() / 4096.0, factor, 0.03);
            EXPECT_LE(LargestLumaDifference(shown, scene), factor == 0.9 || factor == 1.2 ? 1 : 3)
                << factor << ", black " << c.black;
            EXPECT_GT(LargestLumaDifference(lit, scene), 10);
            EXPECT_TRUE(std::equal(shown.begin() + blocks, shown.end(), scene.begin() + blocks));
        }
}

// The obviously right form of the first picture after the reference, in floating point.
TEST(BrightnessBalance, RatioAndPictureAreThoseOfFloatingPoint) {
    SeededRandom random(4);
    for (int round = 0; round < 50; ++round) {
        const Planes scene = Scene(static_cast<std::uint64_t>(round));
        const Planes seen = Noisy(Lit(scene, random.Between(50, 190) / 100.0, 0), random.Between(0, 4), random);
        std::vector<double> ratios(blocks);
        for (std::size_t i = 0; i < blocks; ++i) ratios[i] = (seen[i] + 8.0) / (scene[i] + 8.0);
        std::nth_element(ratios.begin(), ratios.begin() + blocks / 2, ratios.end());
        const double median = ratios[blocks / 2];
        BrightnessBalance balance(columns, rows, ColourRange::Full);
        ASSERT_EQ(Shown(balance, scene), scene);
        const Planes shown = Shown(balance, seen);
        if (std::abs(median - 1) < 0.012) continue;  // at the dead band either is right
        EXPECT_NEAR(balance.Ratio(), median * 4096, 0.51) << "round " << round;
        for (std::size_t i = 0; i < blocks; ++i)
            ASSERT_NEAR(shown[i], std::clamp((seen[i] + 8) / median - 8, 0.0, 255.0), 0.8) << "round " << round;
    }
}

TEST(BrightnessBalance, ObjectOfALargePartDoesNotCount) {
    const Planes scene = Scene(5);
    BrightnessBalance balance(columns, rows);
    for (int picture = 0; picture < 5; ++picture) Shown(balance, scene);
    Planes covered = scene;
    std::fill_n(covered.begin(), blocks * 2 / 5, std::uint8_t{230});
    EXPECT_EQ(Shown(balance, covered), covered);
    Planes lit = Lit(scene, 1.3, 16);
    std::fill_n(lit.begin(), blocks * 2 / 5, std::uint8_t{235});
    const Planes shown = Shown(balance, lit);
    for (std::size_t i = blocks * 2 / 5; i < blocks; ++i) ASSERT_NEAR(shown[i], scene[i], 4);
}

TEST(BrightnessBalance, LightThatStaysIsHandedOnSlowly) {
    const Planes scene = Scene(6), lit = Lit(scene, 1.3, 16);
    BrightnessBalance balance(columns, rows);
    for (int picture = 0; picture < 5; ++picture) Shown(balance, scene);
    Planes before = Shown(balance, lit);
    int pictures = 0;
    while (balance.Ratio() != BrightnessBalance::unit) {
        ASSERT_LT(++pictures, 1000);
        const Planes shown = Shown(balance, lit);
        ASSERT_LE(LargestLumaDifference(shown, before), 3) << "picture " << pictures;  // the last step is the dead band's
        before = shown;
    }
    EXPECT_EQ(before, lit);
    EXPECT_GT(pictures, 150);  // 1/1024 a picture
    EXPECT_EQ(balance.State(), PictureState::Normal);
    const Planes dark = Shown(balance, scene);  // the new light is the reference now
    EXPECT_EQ(balance.State(), PictureState::Light);
    EXPECT_LE(LargestLumaDifference(dark, lit), 5);
}

TEST(BrightnessBalance, CoveredLensFreezesReferenceAndPicture) {
    for (const int cover : {3, 20, 128, 240}) {
        SeededRandom random(7);
        const Planes scene = Scene(8);
        BrightnessBalance balance(columns, rows);
        for (int picture = 0; picture < 20; ++picture) Shown(balance, scene);
        for (int picture = 0; picture < 500; ++picture) {
            const Planes flat = Flat(cover, random);
            ASSERT_EQ(Shown(balance, flat), flat) << cover << ", picture " << picture;
            ASSERT_EQ(balance.State(), PictureState::Covered) << cover << ", picture " << picture;
            ASSERT_EQ(balance.Ratio(), BrightnessBalance::unit);
        }
        EXPECT_EQ(Shown(balance, scene), scene);
        EXPECT_EQ(balance.State(), PictureState::Normal);
    }
}

TEST(BrightnessBalance, FlatSceneIsNotCovered) {
    SeededRandom random(9);
    BrightnessBalance balance(columns, rows);
    for (int picture = 0; picture < 50; ++picture) {
        Planes flat = Flat(100, random);
        ASSERT_EQ(balance.Balance(flat.data()), PictureState::Normal);
    }
}

TEST(BrightnessBalance, SwitchToInfraredIsToldAndBecomesTheReference) {
    const Planes day = Scene(10);
    Planes night = Grey(day);
    for (std::size_t i = 0; i < blocks; ++i) night[i] = Clipped(255 * 0.9 * std::pow(day[i] / 255.0, 0.8));
    for (const bool comesBack : {false, true}) {
        const Planes& first = comesBack ? night : day;
        const Planes& second = comesBack ? day : night;
        BrightnessBalance balance(columns, rows);
        for (int picture = 0; picture < 20; ++picture) ASSERT_EQ(Shown(balance, first), first);
        Planes before = second;
        for (int picture = 0; picture < 40; ++picture) {
            const Planes shown = Shown(balance, second);
            EXPECT_EQ(balance.State() == PictureState::Infrared, picture < 6) << "picture " << picture;
            EXPECT_LT(LargestLumaDifference(shown, first), LargestLumaDifference(second, first) + 3);
            EXPECT_LE(picture == 0 ? 0 : LargestLumaDifference(shown, before), 1) << "picture " << picture;
            before = shown;
        }
    }
}

TEST(BrightnessBalance, InfraredPictureUnlikeTheDayIsLeftAlone) {
    const Planes day = Scene(11);
    Planes night = Grey(day);
    for (std::size_t i = 0; i < blocks; ++i) night[i] = static_cast<std::uint8_t>(240 - day[i]);
    BrightnessBalance balance(columns, rows);
    for (int picture = 0; picture < 20; ++picture) Shown(balance, day);
    for (int picture = 0; picture < 40; ++picture) {
        EXPECT_EQ(Shown(balance, night), night);
        EXPECT_EQ(balance.State(), picture < 6 ? PictureState::Infrared : PictureState::Normal) << picture;
    }
}

TEST(BrightnessBalance, LightThatGoesOutTakesItsColoursAlong) {
    const Planes scene = Scene(12);
    BrightnessBalance balance(columns, rows);
    for (int picture = 0; picture < 20; ++picture) Shown(balance, scene);
    const Planes dark = Grey(Lit(scene, 0.35, 16));
    for (int picture = 0; picture < 1500; ++picture) {
        Planes planes = dark;
        ASSERT_NE(balance.Balance(planes.data()), PictureState::Infrared) << picture;
    }
    Planes planes = scene;
    EXPECT_EQ(balance.Balance(planes.data()), PictureState::Light);
}

TEST(BrightnessBalance, ResetTakesTheNextPictureAsReference) {
    const Planes scene = Scene(13), lit = Lit(scene, 1.4, 16);
    BrightnessBalance balance(columns, rows);
    Shown(balance, scene);
    EXPECT_NE(Shown(balance, lit), lit);
    balance.Reset();
    EXPECT_EQ(Shown(balance, lit), lit);
    EXPECT_EQ(balance.State(), PictureState::Normal);
    EXPECT_EQ(Shown(balance, lit), lit);
}

TEST(BrightnessBalanceDeathTest, BrokenGridsStopTheProcess) {
    EXPECT_DEATH(BrightnessBalance(0, 1), "columns > 0");
    EXPECT_DEATH(BrightnessBalance(1, 10000), "rows <= largestGridSize");
}
