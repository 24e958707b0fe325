// Are shifts found to a quarter of a pixel, and none at all where the camera stands still?
#include "conditioning/Stabiliser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "GuardedBlocks.h"
#include "SeededRandom.h"

using Host::PictureFormat;
using Host::PictureView;
using Host::PixelFormat;
using Host::Shift;
using Host::Stabiliser;
using Kit::GuardedBlocks;
using Kit::SeededRandom;

namespace {

PictureFormat Format(int width, int height) {
    return {.width = width, .height = height, .format = PixelFormat::Grey, .blockSize = 8};
}

// A scene that is known between pixels, too: soft-edged boxes on a slope.
class Scene {
public:
    explicit Scene(std::uint64_t seed, double contrast = 1.0) : _contrast(contrast) {
        SeededRandom random(seed);
        for (int box = 0; box < 24; ++box)
            _boxes.push_back({random.Between(-10, 100) / 100.0, random.Between(-10, 100) / 100.0,
                              random.Between(5, 40) / 100.0, random.Between(5, 40) / 100.0,
                              static_cast<double>(random.Between(-50, 50))});
    }

    double At(double x, double y, double width, double height) const {
        double value = 0;
        for (const Box& box : _boxes)
            value +=
                box.light * Inside(x - box.x * width, box.width * width) * Inside(y - box.y * height, box.height * height);
        return 120 + _contrast * (value / 2 + 30 * x / width - 20 * y / height);
    }

private:
    struct Box {
        double x, y, width, height, light;
    };
    // 1 from 0 to the length, with edges two pixels wide.
    static double Inside(double at, double length) { return std::clamp(std::min(at, length - at) / 2 + 0.5, 0.0, 1.0); }

    double _contrast;
    std::vector<Box> _boxes;
};

struct Picture {
    Picture(const Scene& scene, int wantedWidth, int wantedHeight, double dx = 0, double dy = 0, double factor = 1)
        : width(wantedWidth),
          height(wantedHeight),
          luma(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                At(x, y) = static_cast<std::uint8_t>(
                    std::clamp(std::floor(factor * scene.At(x - dx, y - dy, width, height) + 0.5), 0.0, 255.0));
    }

    std::uint8_t& At(int x, int y) {
        return luma[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
    }

    Picture Noisy(int amplitude, SeededRandom& random) const {
        Picture noisy = *this;
        for (std::uint8_t& value : noisy.luma)
            value = static_cast<std::uint8_t>(
                std::clamp(value + random.Between(-amplitude, amplitude) + random.Between(-amplitude, amplitude), 0, 255));
        return noisy;
    }

    PictureView View() const { return {.plane = {luma.data()}, .stride = {width}}; }

    int width, height;
    std::vector<std::uint8_t> luma;
};

// The obviously right form of what is compared with the first picture: means, derivatives, all shifts, a parabola, in
// floating point. Sixteenths of a pixel; columns only.
double PlainColumnShift(const Picture& reference, const Picture& current) {
    const auto derivative = [](const Picture& picture) {
        std::vector<double> mean(static_cast<std::size_t>(picture.width)), difference;
        for (std::size_t i = 0; i < picture.luma.size(); ++i)
            mean[i % mean.size()] += static_cast<double>(picture.luma[i]) / picture.height;
        for (std::size_t i = 1; i < mean.size(); ++i) difference.push_back(mean[i] - mean[i - 1]);
        return difference;
    };
    const std::vector<double> a = derivative(reference), b = derivative(current);
    std::vector<double> error;
    for (std::size_t shift = 0; shift <= 24; ++shift) {
        double sum = 0;
        for (std::size_t i = 12; i + 12 < a.size(); ++i) sum += std::min(std::abs(a[i] - b[i - 12 + shift]), 20.0);
        error.push_back(sum);
    }
    const auto best = static_cast<std::size_t>(std::min_element(error.begin(), error.end()) - error.begin());
    if (best == 0 || best == 24) return 16.0 * (static_cast<double>(best) - 12);
    const double before = error[best - 1], behind = error[best + 1];
    return 16.0 * (static_cast<double>(best) - 12) + 8 * (before - behind) / (before - 2 * error[best] + behind);
}

}  // namespace

TEST(Stabiliser, ShiftsAreFoundToAQuarterOfAPixel) {
    struct Case {
        int width, height;
    };
    for (const Case c : {Case{320, 240}, Case{640, 360}, Case{101, 173}}) {
        const Scene scene(1, 1.5);
        SeededRandom random(2);
        for (int round = 0; round < (c.width > 400 ? 8 : 20); ++round) {
            const double dx = random.Between(-190, 190) / 16.0, dy = random.Between(-190, 190) / 16.0;
            Stabiliser stabiliser(Format(c.width, c.height));
            const Picture still(scene, c.width, c.height);
            for (int picture = 0; picture < 3; ++picture)
                ASSERT_EQ(stabiliser.Measure(still.Noisy(2, random).View()), Shift()) << "picture " << picture;
            const Shift shift = stabiliser.Measure(Picture(scene, c.width, c.height, dx, dy).Noisy(2, random).View());
            // What is less than a third of a pixel may be none.
            EXPECT_NEAR(shift.dx16 / 16.0, dx, shift.dx16 == 0 ? 0.34 : 0.25) << c.width << ", round " << round;
            EXPECT_NEAR(shift.dy16 / 16.0, dy, shift.dy16 == 0 ? 0.34 : 0.25) << c.width << ", round " << round;
        }
    }
}

TEST(Stabiliser, ShiftIsThatOfFloatingPoint) {
    SeededRandom random(3);
    int found = 0;
    for (int round = 0; round < 60; ++round) {
        const Scene scene(static_cast<std::uint64_t>(round));
        const double dx = random.Between(8, 190) / 16.0 * (random.OneIn(2) ? 1 : -1);
        const Picture still(scene, 200, 100), moved = Picture(scene, 200, 100, dx).Noisy(3, random);
        Stabiliser stabiliser(Format(200, 100));
        ASSERT_EQ(stabiliser.Measure(still.View()), Shift());
        const Shift shift = stabiliser.Measure(moved.View());
        if (shift.dx16 == 0) continue;  // lost in the noise
        EXPECT_NEAR(shift.dx16, PlainColumnShift(still, moved), 1.01) << "round " << round;
        ++found;
    }
    EXPECT_GE(found, 50);
}

TEST(Stabiliser, StillCameraGivesNoShiftAtAll) {
    struct Case {
        int width, height, amplitude;
        double contrast;
    };
    std::uint64_t seed = 5;
    for (const Case c : {Case{320, 240, 0, 1}, Case{320, 240, 3, 1}, Case{320, 240, 8, 0.1}, Case{320, 240, 8, 0},
                         Case{64, 64, 6, 0}, Case{64, 64, 2, 0}, Case{80, 64, 12, 0}, Case{160, 120, 5, 0.2},
                         Case{160, 120, 5, 0.5}, Case{64, 80, 4, 1}, Case{128, 96, 15, 0.3}, Case{500, 300, 4, 0.5}}) {
        const Picture still(Scene(4, c.contrast), c.width, c.height);
        SeededRandom random(seed++);
        Stabiliser stabiliser(Format(c.width, c.height));
        for (int picture = 0; picture < (c.width > 400 ? 30 : 200); ++picture)
            ASSERT_EQ(stabiliser.Measure(still.Noisy(c.amplitude, random).View()), Shift())
                << c.width << " x " << c.height << ", noise " << c.amplitude << ", contrast " << c.contrast << ", picture "
                << picture;
    }
}

TEST(Stabiliser, ObjectsAndLightAreNoShift) {
    const Scene scene(6);
    SeededRandom random(7);
    Stabiliser stabiliser(Format(320, 240));
    for (int picture = 0; picture < 120; ++picture) {
        Picture seen = Picture(scene, 320, 240, 0, 0, picture / 30 % 2 == 0 ? 1.0 : 1.2).Noisy(2, random);
        for (int y = 60; y < 180; ++y)  // as a van crosses, three pixels a picture
            for (int x = std::max(3 * picture - 90, 0); x < std::min(3 * picture, 320); ++x)
                seen.At(x, y) = static_cast<std::uint8_t>(x % 40 < 20 ? 220 : 30);
        ASSERT_EQ(stabiliser.Measure(seen.View()), Shift()) << "picture " << picture;
    }
}

TEST(Stabiliser, ShakingCameraDoesNotTakeTheReferenceAlong) {
    const Scene scene(8);
    SeededRandom random(9);
    Stabiliser stabiliser(Format(320, 240));
    stabiliser.Measure(Picture(scene, 320, 240).View());
    for (int picture = 0; picture < 200; ++picture) {
        const double dx = random.Between(-4, 6), dy = random.Between(-6, 4);
        const Shift shift = stabiliser.Measure(Picture(scene, 320, 240, dx, dy).View());
        ASSERT_NEAR(shift.dx16 / 16.0, dx, 0.3) << "picture " << picture;
        ASSERT_NEAR(shift.dy16 / 16.0, dy, 0.3) << "picture " << picture;
    }
}

TEST(Stabiliser, CameraMovedFarIsTheNewReference) {
    const Scene scene(10);
    Stabiliser stabiliser(Format(320, 240));
    for (int picture = 0; picture < 10; ++picture) stabiliser.Measure(Picture(scene, 320, 240).View());
    Shift shift;
    for (int picture = 0; picture < 150; ++picture) shift = stabiliser.Measure(Picture(scene, 320, 240, 40, -35).View());
    EXPECT_EQ(shift, Shift());
    shift = stabiliser.Measure(Picture(scene, 320, 240, 43, -37).View());
    EXPECT_NEAR(shift.dx16, 48, 4);
    EXPECT_NEAR(shift.dy16, -32, 4);
    stabiliser.Reset();
    EXPECT_EQ(stabiliser.Measure(Picture(scene, 320, 240).View()), Shift());
    EXPECT_EQ(stabiliser.Measure(Picture(scene, 320, 240).View()), Shift());
}

TEST(Stabiliser, StridesDoNotMatterAndNothingBesideThePictureIsRead) {
    const Scene scene(11);
    for (const int width : {100, 127, 1290}) {
        const int height = 90, padding = 7;
        Stabiliser tight(Format(width, height)), padded(Format(width, height)), upsideDown(Format(width, height));
        for (const double dx : {0.0, 3.4, -5.0}) {
            const Picture picture(scene, width, height, dx, -dx);
            const std::size_t rows = height, columns = static_cast<std::size_t>(width), stride = columns + padding;
            GuardedBlocks<std::uint8_t> memory(rows * stride - padding);
            GuardedBlocks<std::uint8_t> turned(rows * stride - padding, Kit::GuardedSide::Front);
            for (std::size_t y = 0; y < rows; ++y) {
                std::copy_n(picture.luma.begin() + static_cast<std::ptrdiff_t>(y * columns), columns,
                            memory.data() + y * stride);
                std::copy_n(picture.luma.begin() + static_cast<std::ptrdiff_t>(y * columns), columns,
                            turned.data() + (rows - 1 - y) * stride);
            }
            const Shift shift = tight.Measure(picture.View());
            EXPECT_EQ(padded.Measure({.plane = {memory.data()}, .stride = {static_cast<std::ptrdiff_t>(stride)}}), shift);
            EXPECT_EQ(upsideDown.Measure({.plane = {turned.data() + (rows - 1) * stride},
                                          .stride = {-static_cast<std::ptrdiff_t>(stride)}}),
                      shift);
            EXPECT_NEAR(shift.dx16 / 16.0, dx, 0.25);
        }
    }
}

TEST(Stabiliser, OfTenBitsTheUpperEightCount) {
    const Scene scene(13);
    SeededRandom random(13);
    constexpr int width = 130, height = 90;
    for (const PixelFormat deep : {PixelFormat::P010, PixelFormat::Yuv420P10}) {
        PictureFormat format = Format(width, height);
        Stabiliser bytes(format);
        format.format = deep;
        Stabiliser pairs(format);
        for (const double dx : {0.0, 3.4, -5.0}) {
            const Picture picture(scene, width, height, dx, -dx);
            GuardedBlocks<std::uint8_t> samples(2 * picture.luma.size());
            for (std::size_t i = 0; i < picture.luma.size(); ++i) {
                const int more = random.Between(0, deep == PixelFormat::P010 ? 255 : 3);  // what does not count
                const int both = (picture.luma[i] << (deep == PixelFormat::P010 ? 8 : 2)) + more;
                samples[2 * i] = static_cast<std::uint8_t>(both & 255);
                samples[2 * i + 1] = static_cast<std::uint8_t>(both >> 8);
            }
            const Shift shift = bytes.Measure(picture.View());
            EXPECT_EQ(pairs.Measure({.plane = {samples.data()}, .stride = {2 * width}}), shift);
            EXPECT_NEAR(shift.dx16 / 16.0, dx, 0.25);
        }
    }
}

TEST(Stabiliser, SmallPicturesAreNeverShifted) {
    const Scene scene(12);
    for (const int side : {1, 2, 13, 24, 25, 26, 63}) {
        Stabiliser stabiliser(Format(side, side));
        for (const double dx : {0.0, 2.0, 5.0})
            EXPECT_EQ(stabiliser.Measure(Picture(scene, side, side, dx, dx).View()), Shift()) << side;
    }
}

TEST(StabiliserDeathTest, BrokenPreconditionsStopTheProcess) {
    EXPECT_DEATH(Stabiliser(Format(0, 10)), "side > 0");
    EXPECT_DEATH(Stabiliser(Format(10, 10)).Measure({}), "luma");
}
