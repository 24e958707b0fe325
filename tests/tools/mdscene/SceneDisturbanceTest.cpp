// Does every disturbance change the picture as it says, while it lasts and no longer, and leave the truth true?
#include "Scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "SceneComparison.h"

using namespace MdScene;

namespace {

constexpr double from = 10, until = 30;  // seconds

Settings With(DisturbanceKind kind, double begin = from, double end = until) {
    Settings settings = street;
    settings.noise = 0;
    settings.wind = 0;
    settings.disturbances[0] = {kind, begin, end};
    return settings;
}

Settings Undisturbed() { return With(DisturbanceKind::Light, 0, 0); }

std::vector<DisturbanceKind> AllKinds() {
    std::vector<DisturbanceKind> kinds;
    for (int kind = 0; kind <= static_cast<int>(DisturbanceKind::Frozen); ++kind)
        kinds.push_back(static_cast<DisturbanceKind>(kind));
    return kinds;
}

int NumberAt(double seconds) { return static_cast<int>(seconds * street.fps); }

Frame EmptyAt(const Settings& settings, double seconds) {
    Frame frame;
    Scene(settings).RenderEmpty(NumberAt(seconds), frame);
    return frame;
}

Frame At(const Scene& scene, int number) {
    Frame frame;
    scene.Render(number, frame);
    return frame;
}

double LightOf(const std::vector<std::uint8_t>& luma) {
    double sum = 0;
    for (const std::uint8_t value : luma) sum += value - 16;
    return sum / static_cast<double>(luma.size());
}

// Share of the pixels that differ from the undisturbed scene's.
double ShareChanged(DisturbanceKind kind, double seconds) {
    const Frame disturbed = EmptyAt(With(kind), seconds), plain = EmptyAt(Undisturbed(), seconds);
    return static_cast<double>(ChangedPixels(disturbed, plain).size()) / static_cast<double>(plain.y.size());
}

double LightChange(DisturbanceKind kind, double seconds) {
    return LightOf(EmptyAt(With(kind), seconds).y) / LightOf(EmptyAt(Undisturbed(), seconds).y);
}

bool IsEmpty(const std::vector<std::uint8_t>& mask) {
    return std::all_of(mask.begin(), mask.end(), [](std::uint8_t value) { return value == maskEmpty; });
}

}  // namespace

TEST(SceneDisturbance, IsThereWhileItLastsAndTheTruthSaysSo) {
    for (const DisturbanceKind kind : AllKinds()) {
        const Settings disturbed = With(kind), plain = Undisturbed();
        const Scene scene(disturbed), plainScene(plain);
        int changed = 0;
        for (const double seconds : {0.0, from - 0.2, from + 0.4, from + 2, from + 11.4, until - 0.4, until, until + 9}) {
            Frame frame, expected;
            scene.RenderEmpty(NumberAt(seconds), frame);
            plainScene.RenderEmpty(NumberAt(seconds), expected);
            const bool isOn = seconds >= from && seconds < until;
            EXPECT_EQ(frame.disturbances, isOn ? std::vector{kind} : std::vector<DisturbanceKind>())
                << NameOf(kind) << " at " << seconds;
            const bool isChanged = frame.y != expected.y;
            EXPECT_TRUE(isOn || !isChanged) << NameOf(kind) << " at " << seconds;
            changed += isChanged;
            EXPECT_TRUE(IsEmpty(frame.mask));
            EXPECT_EQ(frame.number, NumberAt(seconds));
            EXPECT_EQ(frame.seconds, expected.seconds);
        }
        EXPECT_GE(changed, 2) << NameOf(kind);
    }
}

TEST(SceneDisturbance, IsAFunctionOfSettingsAndNumberAlone) {
    for (const DisturbanceKind kind : AllKinds()) {
        Settings settings = With(kind);
        settings.noise = 2;
        const Scene scene(settings);
        Frame used;
        scene.Render(NumberAt(25), used);
        for (const double seconds : {12.0, 29.0, 10.0}) {
            const Frame alone = At(Scene(settings), NumberAt(seconds));
            scene.Render(NumberAt(seconds), used);
            EXPECT_TRUE(used.y == alone.y && used.cb == alone.cb && used.cr == alone.cr) << NameOf(kind);
            EXPECT_EQ(used.mask, alone.mask) << NameOf(kind);
        }
    }
}

// Equal on g++ and clang, at -O0 and -O3.  They change with every change of the picture: then look at the pictures first.
TEST(SceneDisturbance, BytesAreTheSameOnEveryMachine) {
    std::uint64_t digest = 0xCBF29CE484222325;
    const auto add = [&](const std::vector<std::uint8_t>& plane) {
        for (const std::uint8_t sample : plane) digest = (digest ^ sample) * 0x100000001B3;
    };
    const auto addScene = [&](Settings settings) {
        settings.noise = 1.5;
        settings.wind = 3;
        const Scene scene(settings);
        for (const double seconds : {11.0, 19.4, 27.0}) {
            const Frame frame = At(scene, NumberAt(seconds));
            for (const auto* plane : {&frame.y, &frame.cb, &frame.cr, &frame.mask}) add(*plane);
        }
    };
    for (const DisturbanceKind kind : AllKinds()) addScene(With(kind));
    Settings nature = Undisturbed();
    nature.foliage = 0.3;
    nature.water = 0.3;
    addScene(nature);
    EXPECT_EQ(digest, 8810150519489408249u);
}

TEST(SceneDisturbance, LightStepsUpAndDown) {
    EXPECT_NEAR(LightChange(DisturbanceKind::Light, from), 1.2, 0.015);  // white is cut off
    EXPECT_NEAR(LightChange(DisturbanceKind::Light, 19.8), 1.2, 0.015);
    EXPECT_NEAR(LightChange(DisturbanceKind::Light, 20), 0.8, 0.005);
    EXPECT_NEAR(LightChange(DisturbanceKind::Light, 29.8), 0.8, 0.005);
}

TEST(SceneDisturbance, RampIsDeepestInItsMiddle) {
    EXPECT_NEAR(LightChange(DisturbanceKind::Ramp, from), 1, 0.005);
    EXPECT_NEAR(LightChange(DisturbanceKind::Ramp, 15), 0.8, 0.005);
    EXPECT_NEAR(LightChange(DisturbanceKind::Ramp, 20), 0.6, 0.005);
    EXPECT_NEAR(LightChange(DisturbanceKind::Ramp, 27.4), 0.896, 0.01);
}

TEST(SceneDisturbance, ExposureSwingsAndRests) {
    EXPECT_NEAR(LightChange(DisturbanceKind::Exposure, from + 0.8), 1.15, 0.02);
    EXPECT_NEAR(LightChange(DisturbanceKind::Exposure, from + 2.2), 0.85, 0.02);
    EXPECT_EQ(ShareChanged(DisturbanceKind::Exposure, from + 7), 0);
}

TEST(SceneDisturbance, BarsAreBrightHereAndDarkThere) {
    const Frame bars = EmptyAt(With(DisturbanceKind::Banding), 12), plain = EmptyAt(Undisturbed(), 12);
    double most = 0, least = 9;
    for (int y = 0; y < bars.height; ++y) {
        double with = 0, without = 0;
        for (int x = 0; x < bars.width; ++x) {
            const auto index = static_cast<std::size_t>(y * bars.width + x);
            with += bars.y[index] - 16, without += plain.y[index] - 16;
        }
        most = std::max(most, with / without);
        least = std::min(least, with / without);
    }
    EXPECT_NEAR(most, 1.08, 0.015);
    EXPECT_NEAR(least, 0.92, 0.015);
}

TEST(SceneDisturbance, InfraredIsGreyToTheBit) {
    Settings settings = With(DisturbanceKind::Infrared);
    settings.noise = 3;
    const Frame frame = At(Scene(settings), NumberAt(20));
    for (const auto* chroma : {&frame.cb, &frame.cr})
        EXPECT_TRUE(std::all_of(chroma->begin(), chroma->end(), [](std::uint8_t value) { return value == 128; }));
    const Frame before = At(Scene(settings), NumberAt(from) - 1);
    EXPECT_FALSE(std::all_of(before.cb.begin(), before.cb.end(), [](std::uint8_t value) { return value == 128; }));
}

TEST(SceneDisturbance, HeadlightsBrightenTheGroundOnly) {
    const Frame lit = EmptyAt(With(DisturbanceKind::Headlights), 11.6), plain = EmptyAt(Undisturbed(), 11.6);
    int brighter = 0;
    for (const Pixel& pixel : ChangedPixels(lit, plain)) {
        const auto index = static_cast<std::size_t>(pixel.y * lit.width + pixel.x);
        ASSERT_GE(lit.y[index], plain.y[index]);
        ASSERT_GT(pixel.y, lit.height * 3 / 10);
        ++brighter;
    }
    EXPECT_GT(brighter, lit.width * lit.height / 20);
    EXPECT_EQ(ShareChanged(DisturbanceKind::Headlights, 14), 0);  // they have passed
}

TEST(SceneDisturbance, ShakeStaysWithinItsPixels) {
    // How far is the picture?  As far as the shift that makes it fit best.
    const Settings shaking = With(DisturbanceKind::Shake);
    const Scene scene(shaking);
    Frame plain;
    Scene(Undisturbed()).RenderEmpty(NumberAt(from), plain);
    std::set<int> shifts;
    for (int number = NumberAt(from); number < NumberAt(until); number += 2) {
        Frame frame;
        scene.RenderEmpty(number, frame);
        int best = 99;
        double least = 1e18;
        for (int shift = -6; shift <= 6; ++shift) {
            double sum = 0;
            for (int y = 20; y < 100; ++y)
                for (int x = 20; x < frame.width - 20; ++x)
                    sum += std::abs(frame.y[static_cast<std::size_t>(y * frame.width + x)] -
                                    plain.y[static_cast<std::size_t>(y * frame.width + x + shift)]);
            if (sum < least) least = sum, best = shift;
        }
        const int quarter = (number - NumberAt(from)) * 4 / (NumberAt(until) - NumberAt(from));
        EXPECT_LE(std::abs(best), 1 + quarter) << number;
        shifts.insert(best);
    }
    EXPECT_GE(shifts.size(), 4u);
}

TEST(SceneDisturbance, TruthMovesWithTheCamera) {
    for (const DisturbanceKind kind : {DisturbanceKind::Shake, DisturbanceKind::Moved}) {
        const Scene scene(With(kind, 0, 60));
        int checked = 0;
        for (int number = 0; number < street.frames; number += 15) {
            Frame frame, empty;
            scene.Render(number, frame);
            scene.RenderEmpty(number, empty);
            for (const Pixel& pixel : ChangedPixels(frame, empty)) {
                const auto isIn = [&](const PixelBox& box) {  // or one that shares its chroma sample
                    return box.Contains(pixel.x & ~1, pixel.y & ~1) || box.Contains(pixel.x | 1, pixel.y | 1) ||
                           box.Contains(pixel.x & ~1, pixel.y | 1) || box.Contains(pixel.x | 1, pixel.y & ~1);
                };
                ASSERT_TRUE(std::any_of(frame.things.begin(), frame.things.end(),
                                        [&](const Thing& thing) { return isIn(thing.box) || isIn(thing.shadow); }))
                    << NameOf(kind) << " frame " << number << ", pixel " << pixel;
                const auto index = static_cast<std::size_t>(pixel.y * frame.width + pixel.x);
                ASSERT_TRUE(frame.mask[index] != maskEmpty || frame.y[index] == empty.y[index]);
                ++checked;
            }
        }
        EXPECT_GT(checked, 1000) << NameOf(kind);
    }
}

TEST(SceneDisturbance, MovedCameraSeesAnotherPicture) {
    EXPECT_GT(ShareChanged(DisturbanceKind::Moved, 20), 0.9);
    EXPECT_NEAR(LightChange(DisturbanceKind::Moved, 20), 1, 0.1);
}

TEST(SceneDisturbance, RainAndSnowAreManySmallBrightPlaces) {
    for (const DisturbanceKind kind : {DisturbanceKind::Rain, DisturbanceKind::Snow}) {
        const double share = ShareChanged(kind, 20);
        EXPECT_GT(share, 0.01) << NameOf(kind);
        EXPECT_LT(share, 0.35) << NameOf(kind);
    }
    const Frame one = EmptyAt(With(DisturbanceKind::Rain), 20), next = EmptyAt(With(DisturbanceKind::Rain), 20.2);
    EXPECT_GT(ChangedPixels(one, next).size(), 500u);
}

TEST(SceneDisturbance, InsectsAreLargeAndBright) {
    int seen = 0;
    for (double seconds = from; seconds < until; seconds += 1) {
        const Frame frame = EmptyAt(With(DisturbanceKind::Insects), seconds), plain = EmptyAt(Undisturbed(), seconds);
        const double share = static_cast<double>(ChangedPixels(frame, plain).size()) / static_cast<double>(frame.y.size());
        EXPECT_LT(share, 0.35);
        seen += share > 0.01;
    }
    EXPECT_GE(seen, 8);  // of 20 looks
}

TEST(SceneDisturbance, ThreadSwings) {
    const double share = ShareChanged(DisturbanceKind::Web, 20);
    EXPECT_GT(share, 0.01);
    EXPECT_LT(share, 0.15);
    EXPECT_FALSE(ChangedPixels(EmptyAt(With(DisturbanceKind::Web), 20), EmptyAt(With(DisturbanceKind::Web), 20.4)).empty());
}

TEST(SceneDisturbance, CoverTakesEverythingAway) {
    const Scene scene(With(DisturbanceKind::Covered)), plain(Undisturbed());
    int hidden = 0;
    for (int number = NumberAt(11); number < NumberAt(29); number += 5) {
        const Frame frame = At(scene, number);
        const auto [least, most] = std::minmax_element(frame.y.begin(), frame.y.end());
        EXPECT_LT(*most - *least, 12);
        EXPECT_LT(*most, 30);
        EXPECT_TRUE(IsEmpty(frame.mask));
        EXPECT_TRUE(frame.things.empty());
        hidden += !At(plain, number).things.empty();
    }
    EXPECT_GT(hidden, 0);
}

TEST(SceneDisturbance, FrozenPictureKeepsItsBytesAndItsThings) {
    Settings settings = With(DisturbanceKind::Frozen);
    settings.noise = 2;
    settings.disturbances[1] = {DisturbanceKind::Rain, 9, 12};
    const Scene scene(settings);
    const Frame first = At(scene, NumberAt(from));
    for (int number = NumberAt(from); number < NumberAt(until); number += 7) {
        const Frame frame = At(scene, number);
        EXPECT_TRUE(frame.y == first.y && frame.cb == first.cb && frame.cr == first.cr) << number;
        EXPECT_EQ(frame.mask, first.mask);
        EXPECT_EQ(frame.number, number);
        EXPECT_EQ(frame.disturbances, (std::vector{DisturbanceKind::Rain, DisturbanceKind::Frozen}));
    }
    EXPECT_NE(At(scene, NumberAt(from) - 1).y, first.y);
    EXPECT_NE(At(scene, NumberAt(until)).y, first.y);
}

TEST(SceneDisturbance, NobodyComesToAnEmptyScene) {
    Settings settings = street;
    settings.isEmpty = true;
    const Scene scene(settings), busy(street);
    EXPECT_TRUE(scene.Actors().empty());
    Frame frame, empty;
    scene.Render(60, frame);
    busy.RenderEmpty(60, empty);
    EXPECT_EQ(frame.y, empty.y);
}

TEST(SceneDisturbanceDeathTest, TimesInWrongOrderStopTheProcess) {
    EXPECT_DEATH(Scene(With(DisturbanceKind::Rain, 5, 4)), "end");
    EXPECT_DEATH(Scene(With(DisturbanceKind::Rain, -1, 4)), "begin");
}
