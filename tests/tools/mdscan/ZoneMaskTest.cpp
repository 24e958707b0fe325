// Does a relative rectangle cover the right blocks?
#include "ZoneMask.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <vector>

namespace Scan {
namespace {

constexpr PictureGrid fourByThree{.pictureWidth = 40, .pictureHeight = 30, .blockSize = 10, .columns = 4, .rows = 3};

int Blocks(const std::vector<std::uint8_t>& mask) {
    return std::accumulate(mask.begin(), mask.end(), 0);
}

TEST(ZoneMask, TheWholePictureIsEveryBlock) { EXPECT_EQ(Blocks(ZoneMask({0, 0, 1, 1}, fourByThree)), 12); }

TEST(ZoneMask, TheLeftHalfIsTheLeftColumns) {
    EXPECT_EQ(ZoneMask({0, 0, 0.5, 1}, fourByThree), (std::vector<std::uint8_t>{1, 1, 0, 0, 1, 1, 0, 0, 1, 1, 0, 0}));
}

TEST(ZoneMask, RowsAndColumnsAreNotConfused) {
    EXPECT_EQ(ZoneMask({0.25, 0.34, 0.5, 0.3}, fourByThree), (std::vector<std::uint8_t>{0, 0, 0, 0, 0, 1, 1, 0, 0, 0, 0, 0}));
}

TEST(ZoneMask, ABlockBelongsToTheZoneWhereItsCentreIs) {
    EXPECT_EQ(Blocks(ZoneMask({0, 0, 0.126, 1}, fourByThree)), 3);        // centres at 1/8 of the width
    EXPECT_EQ(Blocks(ZoneMask({0.126, 0, 0.24, 1}, fourByThree)), 3 * 1); // only the one in the middle, by necessity
}

TEST(ZoneMask, ATinyZoneIsOneBlock) {
    EXPECT_EQ(ZoneMask({0.99, 0.99, 0.005, 0.005}, fourByThree),
              (std::vector<std::uint8_t>{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}));
    EXPECT_EQ(ZoneMask({0, 0, 0.001, 0.001}, fourByThree), (std::vector<std::uint8_t>{1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(ZoneMask, LastBlocksThatReachBeyondThePictureBelongToTheWhole) {
    const PictureGrid ragged{.pictureWidth = 41, .pictureHeight = 31, .blockSize = 10, .columns = 5, .rows = 4};
    const std::vector<std::uint8_t> mask = ZoneMask({0, 0, 1, 1}, ragged);
    EXPECT_EQ(Blocks(mask), 20);
}

}  // namespace
}  // namespace Scan
