// Is the rendered scene the same everywhere, and does it have the noise, light and wind that were asked for?
#include "Scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "SceneComparison.h"

using namespace MdScene;

namespace {

// FNV-1a over all that a frame shows and tells.
std::uint64_t DigestOf(const Frame& frame) {
    std::uint64_t digest = 0xCBF29CE484222325;
    const auto add = [&](std::uint64_t byte) { digest = (digest ^ byte) * 0x100000001B3; };
    for (const auto* plane : {&frame.y, &frame.cb, &frame.cr, &frame.mask})
        for (const std::uint8_t sample : *plane) add(sample);
    for (const Thing& thing : frame.things)
        for (const PixelBox& box : {thing.box, thing.shadow})
            for (const int number : {thing.id, box.left, box.top, box.right, box.bottom})
                add(static_cast<std::uint64_t>(number));
    return digest;
}

std::uint64_t DigestOf(const Settings& settings, const std::vector<int>& numbers) {
    const Scene scene(settings);
    Frame frame;
    std::uint64_t digest = 0;
    for (const int number : numbers) {
        scene.Render(number, frame);
        digest = digest * 31 + DigestOf(frame);
    }
    return digest;
}

double MeanOf(const std::vector<std::uint8_t>& plane) {
    double sum = 0;
    for (const std::uint8_t sample : plane) sum += sample;
    return sum / static_cast<double>(plane.size());
}

}  // namespace

TEST(Scene, SameSeedGivesTheSameBytesInAnyOrder) {
    const Scene scene(street), again(street);
    Frame frame, other, used;
    again.Render(200, used);
    for (const int number : {0, 61, 122, 30}) {
        scene.Render(number, frame);
        again.Render(number, used);
        again.Render(number, other);
        EXPECT_EQ(DigestOf(frame), DigestOf(used)) << number;
        EXPECT_EQ(DigestOf(frame), DigestOf(other)) << number;
    }
}

TEST(Scene, OtherSeedGivesAnotherScene) {
    Settings other = street;
    other.seed = 6;
    EXPECT_NE(DigestOf(street, {0}), DigestOf(other, {0}));
    EXPECT_NE(DigestOf(street, {0}), DigestOf(street, {1}));  // noise is new in every frame
}

// The digests are equal on g++ and clang, at -O0 and -O3, with and without AVX2.  They change with every change of the
// picture: then look at the pictures first.
TEST(Scene, BytesAreTheSameOnEveryMachine) {
    EXPECT_EQ(DigestOf(street, {0, 40, 80, 120, 160, 200, 240, 280}), 5969159000017011450u);
    EXPECT_EQ(DigestOf(crowd, {20, 60, 100, 140, 180}), 16964570362892265208u);
}

TEST(Scene, LightDriftsSlowly) {
    Settings still = street;
    still.noise = 0;
    still.wind = 0;
    const Scene scene(still);
    Frame frame;
    double darkest = 255, brightest = 0, previous = -1, largestStep = 0;
    for (int number = 0; number < still.frames; ++number) {
        scene.RenderEmpty(number, frame);
        const double mean = MeanOf(frame.y);
        darkest = std::min(darkest, mean);
        brightest = std::max(brightest, mean);
        if (previous >= 0) largestStep = std::max(largestStep, std::abs(mean - previous));
        previous = mean;
    }
    EXPECT_GT(brightest - darkest, 3);
    EXPECT_LT(largestStep, 0.3);
}

TEST(Scene, NoiseHasTheDeviationThatWasAskedFor) {
    for (const double noise : {1.0, 3.0, 6.0}) {
        Settings noisy = street, clean = street;
        noisy.noise = noise;
        clean.noise = 0;
        Frame with, without;
        Scene(noisy).RenderEmpty(7, with);
        Scene(clean).RenderEmpty(7, without);
        double sum = 0, squares = 0;
        for (std::size_t i = 0; i < with.y.size(); ++i) {
            const double difference = with.y[i] - without.y[i];
            sum += difference;
            squares += difference * difference;
        }
        const double count = static_cast<double>(with.y.size()), mean = sum / count;
        EXPECT_NEAR(mean, 0, noise * 0.05);
        const double withRounding = std::sqrt(noise * noise + 1.0 / 12);
        EXPECT_NEAR(std::sqrt(squares / count - mean * mean), withRounding, noise * 0.05);
    }
}

TEST(Scene, WindMovesTheTreeAndNothingElse) {
    Settings calm = street;
    calm.noise = 0;
    calm.wind = 0;
    Settings windy = calm;
    windy.wind = 3;
    Frame still, moved;
    Scene(calm).RenderEmpty(4, still);
    Scene(windy).RenderEmpty(4, moved);
    const std::vector<Pixel> changed = ChangedPixels(moved, still);
    EXPECT_GT(changed.size(), 100u);
    Frame later;  // one cycle of the light later, 47 s
    Scene(calm).RenderEmpty(4 + 47 * 5, later);
    EXPECT_TRUE(ChangedPixels(later, still).empty());
    for (const Pixel& pixel : changed) {
        EXPECT_LT(pixel.x, street.width * 2 / 5);
        EXPECT_LT(pixel.y, street.height / 2 + 2);
    }
}

TEST(SceneDeathTest, SettingsOutsideTheirRangeStopTheProcess) {
    const auto with = [](auto change) {
        Settings settings = street;
        change(settings);
        return settings;
    };
    EXPECT_DEATH(Scene(with([](Settings& s) { s.width = 31; })), "width");
    EXPECT_DEATH(Scene(with([](Settings& s) { s.height = 4321; })), "height");
    EXPECT_DEATH(Scene(with([](Settings& s) { s.fps = 0; })), "fps");
    EXPECT_DEATH(Scene(with([](Settings& s) { s.noise = -1; })), "noise");
    EXPECT_DEATH(Scene(with([](Settings& s) { s.wind = 11; })), "wind");
}
