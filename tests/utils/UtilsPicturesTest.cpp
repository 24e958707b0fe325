// Does the background picture get the right colours, and nothing beside its pixels?  Conversion to BGR and masked fill.
#include "utils/Utils.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

#include "GuardedBlocks.h"

namespace {

using Kit::GuardedBlocks;
using Byte = unsigned char;

struct Pixel {
    int blue;
    int green;
    int red;

    bool operator==(const Pixel&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Pixel& pixel) {
    return out << "(" << pixel.blue << ", " << pixel.green << ", " << pixel.red << ")";
}

Pixel Convert(int y, int cb, int cr) {
    Byte luma = static_cast<Byte>(y), blue = static_cast<Byte>(cb), red = static_cast<Byte>(cr);
    std::array<Byte, 3> bgr = {};
    EXPECT_EQ(Utils::YCbCrToBGR(&luma, &blue, &red, bgr.data(), 1, 1, 3), 0);
    return {bgr[0], bgr[1], bgr[2]};
}

int ClampToByte(double value) { return static_cast<int>(std::clamp(value, 0.0, 255.0)); }

// The agreed fixed-point conversion, in other words: quotients by 65536 rounded downwards, exact in a double.
Pixel FixedPoint(int y, int cb, int cr) {
    const double blue = cb - 128.0, red = cr - 128.0;
    return {ClampToByte(y + std::floor((116130.0 * blue + 32768.0) / 65536.0)),
            ClampToByte(y + std::floor((-22554.0 * blue - 46802.0 * red + 32768.0) / 65536.0)),
            ClampToByte(y + std::floor((91881.0 * red + 32768.0) / 65536.0))};
}

// A picture of 256 x 256 blocks: every pair of chroma values at one luma. Planes and picture end at unreadable pages.
std::vector<Pixel> ConvertEveryChroma(int luma) {
    constexpr std::size_t pairs = 256 * 256;
    GuardedBlocks<Byte> y(pairs), cb(pairs), cr(pairs), bgr(3 * pairs);
    for (std::size_t i = 0; i < pairs; ++i) {
        y[i] = static_cast<Byte>(luma);
        cb[i] = static_cast<Byte>(i / 256);
        cr[i] = static_cast<Byte>(i % 256);
    }
    EXPECT_EQ(Utils::YCbCrToBGR(y.data(), cb.data(), cr.data(), bgr.data(), 256, 256, 3 * 256), 0);
    EXPECT_TRUE(bgr.SlackIsIntact());
    std::vector<Pixel> pixels(pairs);
    for (std::size_t i = 0; i < pairs; ++i) pixels[i] = {bgr[3 * i], bgr[3 * i + 1], bgr[3 * i + 2]};
    return pixels;
}

constexpr int someLumas[] = {0, 1, 16, 100, 127, 128, 179, 227, 235, 254, 255};

}  // namespace

TEST(UtilsTest, NeutralChromaGivesGrey) {
    for (int y = 0; y < 256; ++y) EXPECT_EQ(Convert(y, 128, 128), (Pixel{y, y, y}));
    EXPECT_EQ(Convert(0, 128, 128), (Pixel{0, 0, 0}));
    EXPECT_EQ(Convert(255, 128, 128), (Pixel{255, 255, 255}));
}

// 128 - 227 is clamped to 0; green gains (2919680 + 0) >> 16 = 44.
TEST(UtilsTest, LowestCbTakesBlueAwayAndAddsGreen) { EXPECT_EQ(Convert(128, 0, 128), (Pixel{0, 172, 128})); }

TEST(UtilsTest, ChromaOffsetsReachTheirEndValues) {
    EXPECT_EQ(Convert(255, 0, 128).blue, 255 - 227);
    EXPECT_EQ(Convert(0, 255, 128).blue, 225);
    EXPECT_EQ(Convert(255, 128, 0).red, 255 - 179);
    EXPECT_EQ(Convert(0, 128, 255).red, 178);
    EXPECT_EQ(Convert(0, 0, 0).green, (2919680 + 5990656) / 65536);  // 135: the products are summed before the shift
    EXPECT_EQ(Convert(0, 128, 0).green, (32768 + 5990656) / 65536);  // 91
}

// Negative sums with a fraction tell rounding downwards from rounding towards zero.
TEST(UtilsTest, ConversionIsExactForEveryChromaPair) {
    for (const int luma : someLumas) {
        const std::vector<Pixel> pixels = ConvertEveryChroma(luma);
        for (int i = 0; i < 256 * 256; ++i)
            ASSERT_EQ(pixels[static_cast<std::size_t>(i)], FixedPoint(luma, i / 256, i % 256))
                << luma << " " << i / 256 << " " << i % 256;
    }
}

// The fixed-point factors are those of the full-range conversion with 1.402, 0.344136, 0.714136 and 1.772.
TEST(UtilsTest, ConversionIsWithinOneLevelOfTheRealNumbers) {
    for (const int luma : someLumas) {
        const std::vector<Pixel> pixels = ConvertEveryChroma(luma);
        for (int i = 0; i < 256 * 256; ++i) {
            const double cb = i / 256 - 128, cr = i % 256 - 128;
            const Pixel& pixel = pixels[static_cast<std::size_t>(i)];
            ASSERT_NEAR(pixel.blue, std::clamp(luma + 1.772 * cb, 0.0, 255.0), 0.51) << luma << " " << i;
            ASSERT_NEAR(pixel.green, std::clamp(luma - 0.344136 * cb - 0.714136 * cr, 0.0, 255.0), 0.51) << luma << " " << i;
            ASSERT_NEAR(pixel.red, std::clamp(luma + 1.402 * cr, 0.0, 255.0), 0.51) << luma << " " << i;
        }
    }
}

TEST(UtilsTest, ConversionLeavesThePaddingOfRowsAlone) {
    std::mt19937 random(5);
    for (int width = 1; width <= 20; ++width)
        for (int padding = 0; padding <= 5; ++padding) {
            constexpr int height = 3;
            const int step = 3 * width + padding;
            const std::size_t count = static_cast<std::size_t>(width) * height;
            GuardedBlocks<Byte> y(count), cb(count), cr(count);
            GuardedBlocks<Byte> bgr(
                static_cast<std::size_t>((height - 1) * step + 3 * width));  // no padding after the last row
            for (GuardedBlocks<Byte>* plane : {&y, &cb, &cr})
                for (Byte& block : *plane) block = static_cast<Byte>(random());
            std::fill(bgr.begin(), bgr.end(), Byte{0x5A});
            ASSERT_EQ(Utils::YCbCrToBGR(y.data(), cb.data(), cr.data(), bgr.data(), width, height, step), 0);
            for (int offset = 0; offset < static_cast<int>(bgr.size()); ++offset) {
                const int row = offset / step, byte = offset % step;
                int expected = 0x5A;
                if (byte < 3 * width) {
                    const std::size_t block = static_cast<std::size_t>(row * width + byte / 3);
                    const Pixel pixel = FixedPoint(y[block], cb[block], cr[block]);
                    expected = byte % 3 == 0 ? pixel.blue : byte % 3 == 1 ? pixel.green : pixel.red;
                }
                ASSERT_EQ(bgr[static_cast<std::size_t>(offset)], expected) << width << " " << step << " " << offset;
            }
            ASSERT_TRUE(bgr.SlackIsIntact());
        }
}

TEST(UtilsTest, ConversionReportsNullThenStepThenSize) {
    Byte y = 50, cb = 60, cr = 70;
    std::array<Byte, 3> bgr = {1, 2, 3};
    Byte* const null = nullptr;
    for (const int step : {3, 0})
        for (const int height : {1, 0}) {
            EXPECT_EQ(Utils::YCbCrToBGR(null, &cb, &cr, bgr.data(), 1, height, step), -8);
            EXPECT_EQ(Utils::YCbCrToBGR(&y, null, &cr, bgr.data(), 1, height, step), -8);
            EXPECT_EQ(Utils::YCbCrToBGR(&y, &cb, null, bgr.data(), 1, height, step), -8);
            EXPECT_EQ(Utils::YCbCrToBGR(&y, &cb, &cr, null, 1, height, step), -8);
        }
    for (const int bad : {0, -1}) {
        EXPECT_EQ(Utils::YCbCrToBGR(&y, &cb, &cr, bgr.data(), 1, 1, bad), -14);
        EXPECT_EQ(Utils::YCbCrToBGR(&y, &cb, &cr, bgr.data(), 1, bad, bad), -14);
        EXPECT_EQ(Utils::YCbCrToBGR(&y, &cb, &cr, bgr.data(), 1, bad, 3), -6);
        EXPECT_LT(Utils::YCbCrToBGR(&y, &cb, &cr, bgr.data(), bad, 1, 3), 0);
    }
    EXPECT_EQ(bgr, (std::array<Byte, 3>{1, 2, 3}));
}

TEST(UtilsTest, ColourBytesAreStoredInReverse) {
    Byte mask = 1;
    std::array<Byte, 3> pixel = {};
    EXPECT_EQ(Utils::SetDefaultColor(pixel.data(), 1, 1, 3, 1, 2, 3, &mask), 0);
    EXPECT_EQ(pixel, (std::array<Byte, 3>{3, 2, 1}));
}

TEST(UtilsTest, MagentaIsMagentaInEitherOrder) {
    Byte mask = 255;
    std::array<Byte, 3> pixel = {};
    EXPECT_EQ(Utils::SetDefaultColor(pixel.data(), 1, 1, 3, 255, 0, 255, &mask), 0);
    EXPECT_EQ(pixel, (std::array<Byte, 3>{255, 0, 255}));
}

// Any mask byte but 0 paints. Unpainted pixels and the bytes between rows stay.
TEST(UtilsTest, MaskedFillPaintsMaskedPixelsOnly) {
    std::mt19937 random(6);
    constexpr Byte maskBytes[] = {0, 0, 1, 128, 255};
    for (int width = 1; width <= 20; ++width)
        for (int padding = 0; padding <= 5; ++padding) {
            constexpr int height = 4;
            const int step = 3 * width + padding;
            GuardedBlocks<Byte> mask(static_cast<std::size_t>(width) * height);
            GuardedBlocks<Byte> image(static_cast<std::size_t>((height - 1) * step + 3 * width));
            for (Byte& block : mask) block = maskBytes[random() % 5];
            for (Byte& byte : image) byte = static_cast<Byte>(random());
            const std::vector<Byte> before(image.begin(), image.end());
            ASSERT_EQ(Utils::SetDefaultColor(image.data(), width, height, step, 10, 20, 30, mask.data()), 0);
            for (int offset = 0; offset < static_cast<int>(image.size()); ++offset) {
                const int row = offset / step, byte = offset % step;
                const bool isPainted = byte < 3 * width && mask[static_cast<std::size_t>(row * width + byte / 3)] != 0;
                const int expected = isPainted ? 30 - 10 * (byte % 3) : int{before[static_cast<std::size_t>(offset)]};
                ASSERT_EQ(image[static_cast<std::size_t>(offset)], expected) << width << " " << step << " " << offset;
            }
            ASSERT_TRUE(image.SlackIsIntact());
        }
}

TEST(UtilsTest, MaskedFillReportsNullThenStepThenSize) {
    Byte mask = 1;
    std::array<Byte, 3> pixel = {7, 8, 9};
    Byte* const null = nullptr;
    for (const int step : {3, 0})
        for (const int height : {1, 0}) {
            EXPECT_EQ(Utils::SetDefaultColor(null, 1, height, step, 1, 2, 3, &mask), -8);
            EXPECT_EQ(Utils::SetDefaultColor(pixel.data(), 1, height, step, 1, 2, 3, null), -8);
        }
    for (const int bad : {0, -1}) {
        EXPECT_EQ(Utils::SetDefaultColor(pixel.data(), 1, 1, bad, 1, 2, 3, &mask), -16);
        EXPECT_EQ(Utils::SetDefaultColor(pixel.data(), 1, bad, bad, 1, 2, 3, &mask), -16);
        EXPECT_EQ(Utils::SetDefaultColor(pixel.data(), 1, bad, 3, 1, 2, 3, &mask), -6);
        EXPECT_LT(Utils::SetDefaultColor(pixel.data(), bad, 1, 3, 1, 2, 3, &mask), 0);
    }
    EXPECT_EQ(pixel, (std::array<Byte, 3>{7, 8, 9}));
}
