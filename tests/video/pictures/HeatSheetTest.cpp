// Does the legend say what the colours of a heat map stand for, however narrow the picture is?
#include "video/pictures/HeatSheet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "video/base/BgrPicture.h"
#include "video/watch/HeatMap.h"

namespace Video {
namespace {

// Columns of 4 pixels, each moved as often as stated.
HeatMap Columns(const std::vector<std::uint32_t>& counts, std::uint64_t frames) {
    const int columns = static_cast<int>(counts.size());
    return {.grid = {4 * columns, 4, 4, columns, 1}, .counts = counts, .frames = frames};
}

bool Has(const BgrPicture& picture, int fromRow, const std::array<std::uint8_t, 3>& bgr) {
    const auto from = picture.pixels.begin() + 3 * std::ptrdiff_t{fromRow} * picture.width;
    for (auto pixel = from; pixel != picture.pixels.end(); pixel += 3) {
        if (std::equal(bgr.begin(), bgr.end(), pixel)) {
            return true;
        }
    }
    return false;
}

TEST(HeatSheet, TheMapStandsAboveItsLegend) {
    std::vector<std::uint32_t> counts(80);
    for (std::size_t i = 0; i < counts.size(); ++i) {
        counts[i] = static_cast<std::uint32_t>(i * i);
    }
    const HeatMap map = Columns(counts, 10'000);
    const BgrPicture plain = HeatPicture(map, {}), sheet = HeatSheet(map, {});
    EXPECT_EQ(sheet.width, plain.width);
    ASSERT_GT(sheet.height, plain.height);
    EXPECT_EQ(sheet.pixels.size(), 3u * static_cast<std::size_t>(sheet.width) * static_cast<std::size_t>(sheet.height));
    EXPECT_TRUE(std::equal(plain.pixels.begin(), plain.pixels.end(), sheet.pixels.begin()));
    const std::vector<HeatColour> legend = HeatLegend(map);
    ASSERT_EQ(legend.size(), 5u);
    for (const HeatColour& colour : legend) {
        EXPECT_TRUE(Has(sheet, plain.height, colour.bgr)) << colour.share;
    }
}

TEST(HeatSheet, NarrowOnesTellTheColdestAndTheWarmest) {
    const HeatMap map = Columns({1, 2, 4, 8, 16, 32, 64, 128, 256, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 300);
    const std::vector<HeatColour> legend = HeatLegend(map);
    ASSERT_EQ(legend.size(), 5u);
    const BgrPicture sheet = HeatSheet(map, {});
    EXPECT_TRUE(Has(sheet, 4, legend.front().bgr));
    EXPECT_FALSE(Has(sheet, 4, legend[2].bgr));
    EXPECT_TRUE(Has(sheet, 4, legend.back().bgr));
}

TEST(HeatSheet, WhereNothingMovedThereIsNone) { EXPECT_EQ(HeatSheet(Columns({0, 0, 0}, 100), {}).height, 4); }

TEST(HeatSheet, SharesAreShort) {
    EXPECT_EQ(ShareText(1), "100%");
    EXPECT_EQ(ShareText(0.125), "12%");
    EXPECT_EQ(ShareText(0.0994), "9.9%");
    EXPECT_EQ(ShareText(0.0996), "10%");
    EXPECT_EQ(ShareText(0.005), "0.5%");
    EXPECT_EQ(ShareText(0.0004), "0.04%");
    EXPECT_EQ(ShareText(0.00004), "<0.01%");
}

}  // namespace
}  // namespace Video
