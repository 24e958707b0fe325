// Is the BGR picture the BT.601 picture of its planes?
#include "kernels/BlockColour.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "GuardedBlocks.h"

using namespace Host::Kernels;
using Kit::GuardedBlocks;
using Kit::GuardedSide;

namespace {

constexpr std::uint8_t Byte(int value) { return static_cast<std::uint8_t>(value); }

// Largest difference of a channel from the conversion in double, over all 2^24 blocks.
double LargestError(const ColourMatrix& matrix, double black, double lumaRange, double chromaRange) {
    double largest = 0;
    const auto note = [&](double exact, std::uint8_t channel) {
        largest = std::max(largest, std::abs(std::clamp(exact, 0.0, 255.0) - channel));
    };
    for (int y = 0; y < 256; ++y)
        for (int cb = 0; cb < 256; ++cb)
            for (int cr = 0; cr < 256; ++cr) {
                const BgrPixel pixel = BgrOfYcbcr(Byte(y), Byte(cb), Byte(cr), matrix);
                const double luma = (y - black) * 255 / lumaRange;
                const double blueness = (cb - 128) * 255 / chromaRange, redness = (cr - 128) * 255 / chromaRange;
                note(luma + 1.772 * blueness, pixel.blue);
                note(luma - 0.344136 * blueness - 0.714136 * redness, pixel.green);
                note(luma + 1.402 * redness, pixel.red);
            }
    return largest;
}

}  // namespace

TEST(BlockColour, FullRangeIsWithinOneStepOfTheExactConversion) {
    EXPECT_LT(LargestError(fullRangeMatrix, 0, 255, 255), 0.55);  // half a step of rounding and a little of the factors
}

TEST(BlockColour, LimitedRangeIsWithinOneStepOfTheExactConversion) {
    EXPECT_LT(LargestError(limitedRangeMatrix, 16, 219, 224), 0.55);
}

TEST(BlockColour, RangesAreToldApart) {
    EXPECT_GT(LargestError(fullRangeMatrix, 16, 219, 224), 10);
    EXPECT_GT(LargestError(limitedRangeMatrix, 0, 255, 255), 10);
}

TEST(BlockColour, GreyStaysGreyAndReachesBothEnds) {
    for (int y = 0; y < 256; ++y) {
        const BgrPixel full = BgrOfYcbcr(Byte(y), 128, 128, fullRangeMatrix);
        EXPECT_EQ(full.blue, y);
        EXPECT_EQ(full.green, y);
        EXPECT_EQ(full.red, y);
        const BgrPixel limited = BgrOfYcbcr(Byte(y), 128, 128, limitedRangeMatrix);
        EXPECT_EQ(limited.blue, limited.green);
        EXPECT_EQ(limited.green, limited.red);
        EXPECT_EQ(limited.red == 0, y <= 16);
        EXPECT_EQ(limited.red == 255, y >= 235);
    }
}

TEST(BlockColour, ChannelsAreInTheOrderBlueGreenRed) {
    const std::uint8_t y = 80, neutral = 128, strong = 255;
    std::uint8_t blueish[3], reddish[3];
    ColourBlocks(&y, &strong, &neutral, fullRangeMatrix, blueish, 1);
    ColourBlocks(&y, &neutral, &strong, fullRangeMatrix, reddish, 1);
    EXPECT_GT(blueish[0], 250);
    EXPECT_EQ(blueish[2], 80);
    EXPECT_GT(reddish[2], 250);
    EXPECT_EQ(reddish[0], 80);
}

TEST(BlockColour, LoopEqualsTheRule) {
    std::mt19937 random(1);
    std::vector<std::size_t> lengths = {255, 256, 257, 511, 512, 513, 1000};  // around the batches
    for (std::size_t length = 0; length <= 67; ++length) lengths.push_back(length);
    for (const GuardedSide side : {GuardedSide::End, GuardedSide::Front})
        for (const ColourMatrix& matrix : {fullRangeMatrix, limitedRangeMatrix})
            for (const std::size_t length : lengths) {
                GuardedBlocks<std::uint8_t> y(length, side), cb(length, side), cr(length, side), bgr(3 * length, side);
                for (GuardedBlocks<std::uint8_t>* plane : {&y, &cb, &cr})
                    for (std::uint8_t& value : *plane) value = static_cast<std::uint8_t>(random());
                ColourBlocks(y.data(), cb.data(), cr.data(), matrix, bgr.data(), length);
                for (std::size_t i = 0; i < length; ++i) {
                    const BgrPixel pixel = BgrOfYcbcr(y[i], cb[i], cr[i], matrix);
                    ASSERT_EQ(bgr[3 * i], pixel.blue);
                    ASSERT_EQ(bgr[3 * i + 1], pixel.green);
                    ASSERT_EQ(bgr[3 * i + 2], pixel.red);
                }
                ASSERT_TRUE(bgr.SlackIsIntact());
            }
}
