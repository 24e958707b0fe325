// Are the planes of a moved picture those of the picture before it moved, and does nothing change at its border?
#include "conditioning/ShiftedReduction.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "GuardedBlocks.h"
#include "SeededRandom.h"

using Host::BlockReducer;
using Host::PictureFormat;
using Host::PictureView;
using Host::PixelFormat;
using Host::Shift;
using Host::ShiftedReduction;
using Kit::GuardedBlocks;
using Kit::SeededRandom;

namespace {

constexpr PixelFormat allFormats[] = {PixelFormat::Yuv420, PixelFormat::Yuv422, PixelFormat::Yuv444,   PixelFormat::Nv12,
                                      PixelFormat::Grey,   PixelFormat::P010,   PixelFormat::Yuv420P10};
using Planes = std::vector<std::uint8_t>;

// What a camera looks at: a value for each sample of each component, as far out as a shift leads. Smooth, so that a fraction
// of a sample changes little.
std::uint8_t WorldAt(int component, int column, int row) {
    constexpr int farthest = 512;
    static const auto waves = [] {
        std::array<std::array<double, 2 * farthest>, 6> made;
        for (std::size_t c = 0; c < 3; ++c)
            for (int at = -farthest; at < farthest; ++at) {
                const auto index = static_cast<std::size_t>(at + farthest);
                made[c][index] = 128 + 60 * std::sin(at * 0.21 + static_cast<double>(c));
                made[3 + c][index] = 50 * std::cos(at * 0.17 - static_cast<double>(c));
            }
        return made;
    }();
    const auto c = static_cast<std::size_t>(component);
    return static_cast<std::uint8_t>(waves[c][static_cast<std::size_t>(column + farthest)] +
                                     waves[3 + c][static_cast<std::size_t>(row + farthest)]);
}

bool HalvesRows(PixelFormat format) {
    return format != PixelFormat::Yuv422 && format != PixelFormat::Yuv444 && format != PixelFormat::Grey;
}
bool HalvesColumns(PixelFormat format) { return format == PixelFormat::Yuv422 || HalvesRows(format); }

// A sample's bytes: ten bits are four times what eight are.
int BytesOf(PixelFormat format) { return format == PixelFormat::P010 || format == PixelFormat::Yuv420P10 ? 2 : 1; }
std::uint8_t ByteOf(PixelFormat format, int byte, std::uint8_t value) {
    const int both = format == PixelFormat::P010 ? value << 8 : format == PixelFormat::Yuv420P10 ? value << 2 : value;
    return static_cast<std::uint8_t>(both >> 8 * byte);
}

// A picture of the world, whose content lies (dx, dy) pixels further right and down. Even shifts only, where chroma is
// halved. Its planes end at unreadable pages.
struct Picture {
    Picture(const PictureFormat& format, int dx, int dy) {
        const bool isAlternating = format.format == PixelFormat::Nv12 || format.format == PixelFormat::P010;
        const int planes = format.format == PixelFormat::Grey ? 1 : isAlternating ? 2 : 3;
        const int bytes = BytesOf(format.format);
        for (int plane = 0; plane < planes; ++plane) {
            const int stepX = plane > 0 && HalvesColumns(format.format) ? 2 : 1;
            const int stepY = plane > 0 && HalvesRows(format.format) ? 2 : 1;
            const int perColumn = plane > 0 && isAlternating ? 2 : 1;
            const int columns = (format.width + stepX - 1) / stepX, rows = (format.height + stepY - 1) / stepY;
            GuardedBlocks<std::uint8_t> samples(static_cast<std::size_t>(columns * perColumn * bytes * rows));
            std::size_t at = 0;
            for (int row = 0; row < rows; ++row)
                for (int column = 0; column < columns; ++column)
                    for (int part = 0; part < perColumn * bytes; ++part)
                        samples[at++] = ByteOf(format.format, part % bytes,
                                               WorldAt(plane + part / bytes, column - dx / stepX, row - dy / stepY));
            view.plane[static_cast<std::size_t>(plane)] = samples.data();
            view.stride[static_cast<std::size_t>(plane)] = columns * perColumn * bytes;
            memory.push_back(std::move(samples));
        }
    }

    PictureView view;
    std::vector<GuardedBlocks<std::uint8_t>> memory;
};

Planes PlanesOf(const ShiftedReduction& reduction) {
    return Planes(reduction.Ycbcr(), reduction.Ycbcr() + 3 * reduction.BlockCount());
}

Planes Reduced(const PictureFormat& format, const PictureView& view) {
    BlockReducer reducer(format);
    reducer.Reduce(view);
    return Planes(reducer.Ycbcr(), reducer.Ycbcr() + 3 * reducer.BlockCount());
}

int CountUncovered(const ShiftedReduction& reduction) {
    return static_cast<int>(std::count(reduction.Uncovered(), reduction.Uncovered() + reduction.BlockCount(), 255));
}

// Largest difference of covered blocks, and whether the others are what they were.
struct Outcome {
    int largest = 0;
    bool isBorderKept = true;
};
Outcome Compare(const ShiftedReduction& reduction, const Planes& expected, const Planes& before) {
    Outcome outcome;
    const auto blocks = static_cast<std::size_t>(reduction.BlockCount());
    for (std::size_t i = 0; i < 3 * blocks; ++i) {
        const int value = reduction.Ycbcr()[i];
        if (reduction.Uncovered()[i % blocks] != 0) outcome.isBorderKept = outcome.isBorderKept && value == before[i];
        else outcome.largest = std::max(outcome.largest, std::abs(value - expected[i]));
    }
    return outcome;
}

}  // namespace

TEST(ShiftedReduction, WithoutAShiftIsBlockReducer) {
    for (const PixelFormat pixels : allFormats)
        for (const int blockSize : {1, 3, 4, 8, 64}) {
            const PictureFormat format = {.width = 133, .height = 97, .format = pixels, .blockSize = blockSize};
            ShiftedReduction reduction(format);
            for (const int move : {0, 2, -6}) {
                const Picture picture(format, move, move);
                reduction.Reduce(picture.view, {});
                ASSERT_EQ(PlanesOf(reduction), Reduced(format, picture.view));
                ASSERT_EQ(CountUncovered(reduction), 0);
            }
        }
}

TEST(ShiftedReduction, WholePixelsAreExact) {
    for (const PixelFormat pixels : allFormats)
        for (const int blockSize : {1, 2, 3, 4, 5, 8, 16})
            for (const int width : {160, 163}) {
                const PictureFormat format = {
                    .width = width, .height = width - 34, .format = pixels, .blockSize = blockSize};
                const int step = HalvesColumns(pixels) ? 2 : 1;  // chroma of the moved picture is known at whole samples
                const Picture still(format, 0, 0);
                const Planes expected = Reduced(format, still.view);
                for (const int d : {-12, -8 + step, -step, 0, step, 4, 12 - step})
                    for (const Shift shift : {Shift{16 * d, 0}, Shift{0, 16 * d}, Shift{-16 * d, 16 * d}}) {
                        ShiftedReduction reduction(format);
                        const Picture strange(format, 50, 20);
                        reduction.Reduce(strange.view, {});
                        const Planes before = PlanesOf(reduction);
                        const Picture moved(format, shift.dx16 / 16, shift.dy16 / 16);
                        reduction.Reduce(moved.view, shift);
                        const Outcome outcome = Compare(reduction, expected, before);
                        ASSERT_EQ(outcome.largest, 0) << "format " << static_cast<int>(pixels) << ", blocks of " << blockSize
                                                      << ", shift " << shift.dx16 << ", " << shift.dy16;
                        ASSERT_TRUE(outcome.isBorderKept);
                        ASSERT_EQ(CountUncovered(reduction) == 0, shift.IsNone());
                    }
            }
}

// The obviously right form: each pixel between its neighbours, then the mean of the block, in floating point.
TEST(ShiftedReduction, FractionsAreLinearBetweenPixels) {
    SeededRandom random(1);
    for (const PixelFormat pixels : allFormats)
        for (const int blockSize : {4, 5, 8})
            for (int round = 0; round < 20; ++round) {
                const PictureFormat format = {.width = 96, .height = 80, .format = pixels, .blockSize = blockSize};
                const Shift shift = {random.Between(-200, 200), random.Between(-200, 200)};
                const Picture picture(format, 0, 0);
                ShiftedReduction reduction(format);
                reduction.Reduce(picture.view, {});
                reduction.Reduce(picture.view, shift);
                int compared = 0;
                for (int block = 0; block < reduction.BlockCount(); ++block) {
                    if (reduction.Uncovered()[block] != 0) continue;
                    for (int component = 0; component < (pixels == PixelFormat::Grey ? 1 : 3); ++component) {
                        const int stepX = component > 0 && HalvesColumns(pixels) ? 2 : 1;
                        const int stepY = component > 0 && HalvesRows(pixels) ? 2 : 1;
                        const double dx = shift.dx16 / 16.0 / stepX, dy = shift.dy16 / 16.0 / stepY;
                        const auto between = [&](int column, int row) {
                            const double x = column + dx, y = row + dy, x0 = std::floor(x), y0 = std::floor(y);
                            const int left = static_cast<int>(x0), top = static_cast<int>(y0);
                            const double upper =
                                WorldAt(component, left, top) * (1 - x + x0) + WorldAt(component, left + 1, top) * (x - x0);
                            const double lower = WorldAt(component, left, top + 1) * (1 - x + x0) +
                                                 WorldAt(component, left + 1, top + 1) * (x - x0);
                            return upper * (1 - y + y0) + lower * (y - y0);
                        };
                        const int left = block % reduction.Columns() * blockSize,
                                  top = block / reduction.Columns() * blockSize;
                        double sum = 0;
                        int count = 0;
                        for (int row = top / stepY; row < (top + blockSize + stepY - 1) / stepY; ++row)
                            for (int column = left / stepX; column < (left + blockSize + stepX - 1) / stepX;
                                 ++column, ++count)
                                sum += between(column, row);
                        ASSERT_NEAR(reduction.Ycbcr()[component * reduction.BlockCount() + block], sum / count, 1.01)
                            << "format " << static_cast<int>(pixels) << ", component " << component << ", block " << block
                            << " of " << blockSize << ", shift " << shift.dx16 << ", " << shift.dy16;
                        ++compared;
                    }
                }
                ASSERT_GT(compared, 0);
            }
}

TEST(ShiftedReduction, FrameIsAsWideAsTheShiftNeeds) {
    const PictureFormat format = {.width = 320, .height = 160, .format = PixelFormat::Yuv420, .blockSize = 8};
    ShiftedReduction reduction(format);
    const Picture picture(format, 0, 0);
    reduction.Reduce(picture.view, {16, 0});  // the first picture has nothing to keep
    EXPECT_EQ(CountUncovered(reduction), 0);
    EXPECT_EQ(PlanesOf(reduction), Reduced(format, picture.view));
    reduction.Reduce(picture.view, {16 * 6, -3});
    EXPECT_EQ(CountUncovered(reduction), 40 * 20 - 38 * 18);
    reduction.Reduce(picture.view, {1, 16 * 6 + 1});
    EXPECT_EQ(CountUncovered(reduction), 40 * 20 - 36 * 16);
    reduction.Reduce(picture.view, {});
    EXPECT_EQ(CountUncovered(reduction), 0);
}

TEST(ShiftedReduction, RestoredBlocksAreThoseShownLast) {
    const PictureFormat format = {.width = 160, .height = 96, .format = PixelFormat::Yuv420, .blockSize = 8};
    ShiftedReduction reduction(format);
    const Picture picture(format, 0, 0);
    reduction.Reduce(picture.view, {});
    const Planes first = PlanesOf(reduction);
    for (int round = 0; round < 3; ++round) {
        reduction.Reduce(picture.view, {32, 32});
        Planes changed = PlanesOf(reduction);
        for (std::uint8_t& value : changed) value = static_cast<std::uint8_t>(value / 2);
        std::copy(changed.begin(), changed.end(), reduction.Ycbcr());
        reduction.RestoreUncovered();
        const Outcome outcome = Compare(reduction, changed, first);
        EXPECT_EQ(outcome.largest, 0);
        EXPECT_TRUE(outcome.isBorderKept);
    }
    reduction.Reduce(picture.view, {});
    std::fill_n(reduction.Ycbcr(), 3 * reduction.BlockCount(), std::uint8_t{9});
    reduction.RestoreUncovered();
    EXPECT_EQ(PlanesOf(reduction), Planes(first.size(), 9));
}

TEST(ShiftedReduction, TinyPicturesAreReducedWhereTheyAre) {
    for (const int side : {1, 2, 5, 17, 33}) {
        const PictureFormat format = {.width = side, .height = side, .format = PixelFormat::Yuv420, .blockSize = 16};
        ShiftedReduction reduction(format);
        const Picture picture(format, 0, 0);
        reduction.Reduce(picture.view, {});
        reduction.Reduce(picture.view, {200, -200});
        EXPECT_EQ(PlanesOf(reduction), Reduced(format, picture.view)) << side;
        EXPECT_EQ(CountUncovered(reduction), 0);
    }
}

TEST(ShiftedReductionDeathTest, ShiftsBeyondTheLargestStopTheProcess) {
    const PictureFormat format = {.width = 160, .height = 96, .format = PixelFormat::Grey, .blockSize = 8};
    ShiftedReduction reduction(format);
    const Picture picture(format, 0, 0);
    EXPECT_DEATH(reduction.Reduce(picture.view, {209, 0}), "largestShift");
    EXPECT_DEATH(reduction.Reduce(picture.view, {0, -209}), "largestShift");
}
