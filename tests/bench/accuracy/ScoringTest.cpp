// Are blocks, pictures and sequences scored by the rules?
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "BlockMasks.h"
#include "FiguresText.h"
#include "LabelRules.h"
#include "Score.h"
#include "ThirdEvents.h"

namespace Accuracy {
namespace {

TEST(LabelRules, ValuesCountAsTheNearestLabelTheLowerOfTwo) {
    constexpr std::array<int, 5> labels = {0, 50, 85, 170, 255};
    for (int value = 0; value < 256; ++value) {
        int nearest = 0;
        for (const int label : labels) {
            nearest = std::abs(value - label) < std::abs(value - nearest) ? label : nearest;
        }
        EXPECT_EQ(static_cast<int>(LabelOf(value)), nearest) << value;
    }
}

TEST(LabelRules, ShadowsAreKnownAndStill) {
    EXPECT_TRUE(IsKnown(Label::Shadow));
    EXPECT_TRUE(IsKnown(Label::Still));
    EXPECT_TRUE(IsKnown(Label::Moving));
    EXPECT_FALSE(IsKnown(Label::Outside));
    EXPECT_FALSE(IsKnown(Label::Unknown));
}

TEST(LabelRules, HalfKnownIsKnownAndAQuarterMovingMoves) {
    EXPECT_EQ(TruthOfBlock(64, 31, 31), Truth::Unknown);
    EXPECT_EQ(TruthOfBlock(64, 32, 0), Truth::Still);
    EXPECT_EQ(TruthOfBlock(64, 32, 7), Truth::Still);
    EXPECT_EQ(TruthOfBlock(64, 32, 8), Truth::Moving);
    EXPECT_EQ(TruthOfBlock(64, 64, 15), Truth::Still);
    EXPECT_EQ(TruthOfBlock(64, 64, 16), Truth::Moving);
    EXPECT_EQ(TruthOfBlock(63, 31, 31), Truth::Unknown);
    EXPECT_EQ(TruthOfBlock(1, 1, 0), Truth::Still);
}

// One block at a time, by words rather than by loops over borders.
std::size_t PlainPixels(int width, int height, int column, int row, int (*counts)(const void*, int, int), const void* of) {
    std::size_t count = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            if (x / 8 == column && y / 8 == row) count += static_cast<std::size_t>(counts(of, x, y));
    return count;
}

int Always(const void*, int, int) { return 1; }
int LabelAt(const GreyPicture& labels, int x, int y) {
    return labels.values[static_cast<std::size_t>(y * labels.width + x)];
}
int IsKnownAt(const void* of, int x, int y) {
    const int label = LabelAt(*static_cast<const GreyPicture*>(of), x, y);
    return label != 85 && label != 170;
}
int IsMovingAt(const void* of, int x, int y) { return LabelAt(*static_cast<const GreyPicture*>(of), x, y) == 255; }
int IsCoveredAt(const void* of, int x, int y) {
    const Mask& mask = *static_cast<const Mask*>(of);
    const int columns = (mask.width + mask.blockSize - 1) / mask.blockSize;
    return mask.moving[static_cast<std::size_t>(y / mask.blockSize * columns + x / mask.blockSize)] != 0;
}

TEST(BlockMasks, PicturesOfAllSizesAreCountedPixelByPixel) {
    std::mt19937 random(7);
    int moving = 0, unknown = 0;
    for (const auto& [width, height] : {std::pair{1, 1}, {7, 9}, {8, 8}, {16, 24}, {17, 23}, {31, 40}, {33, 15}}) {
        GreyPicture labels{width, height, {}};
        for (int i = 0; i < width * height; ++i) {
            labels.values.push_back(std::array<std::uint8_t, 9>{0, 0, 50, 85, 85, 170, 170, 255, 255}[random() % 9]);
        }
        const std::vector<Truth> truth = TruthOf(labels);
        const int columns = (width + 7) / 8, rows = (height + 7) / 8;
        ASSERT_EQ(truth.size(), static_cast<std::size_t>(columns * rows));
        for (int row = 0; row < rows; ++row) {
            for (int column = 0; column < columns; ++column) {
                const std::size_t pixels = PlainPixels(width, height, column, row, Always, nullptr);
                const std::size_t known = PlainPixels(width, height, column, row, IsKnownAt, &labels);
                const std::size_t moves = PlainPixels(width, height, column, row, IsMovingAt, &labels);
                const Truth expected = known < pixels - known            ? Truth::Unknown
                                       : moves > 0 && moves * 4 >= known ? Truth::Moving
                                                                         : Truth::Still;
                EXPECT_EQ(truth[static_cast<std::size_t>(row * columns + column)], expected)
                    << width << "x" << height << ", block " << column << ", " << row;
                moving += expected == Truth::Moving;
                unknown += expected == Truth::Unknown;
            }
        }
    }
    EXPECT_GT(moving, 3);
    EXPECT_GT(unknown, 3);
}

TEST(BlockMasks, MasksOfAllBlockSizesCoverTheirPixels) {
    std::mt19937 random(8);
    for (const auto& [width, height] : {std::pair{1, 1}, {7, 9}, {16, 24}, {17, 23}, {33, 40}}) {
        for (const int blockSize : {1, 2, 3, 4, 5, 8, 11}) {
            Mask mask{width, height, blockSize, {}};
            for (int i = 0; i < mask.Columns() * mask.Rows(); ++i) {
                mask.moving.push_back(random() % 3 == 0 ? 255 : 0);
            }
            const int columns = (width + 7) / 8, rows = (height + 7) / 8;
            const std::vector<std::uint8_t> quarter = Reduced(mask, 0.25), half = Reduced(mask, 0.5);
            ASSERT_EQ(quarter.size(), static_cast<std::size_t>(columns * rows));
            ASSERT_EQ(half.size(), quarter.size());
            for (int row = 0; row < rows; ++row) {
                for (int column = 0; column < columns; ++column) {
                    const std::size_t pixels = PlainPixels(width, height, column, row, Always, nullptr);
                    const std::size_t covered = PlainPixels(width, height, column, row, IsCoveredAt, &mask);
                    const auto block = static_cast<std::size_t>(row * columns + column);
                    EXPECT_EQ(quarter[block] != 0, 4 * covered >= pixels)
                        << blockSize << ", block " << column << ", " << row;
                    EXPECT_EQ(half[block] != 0, 2 * covered >= pixels) << blockSize << ", block " << column << ", " << row;
                }
            }
        }
    }
}

constexpr Truth S = Truth::Still, M = Truth::Moving, U = Truth::Unknown;

TEST(Score, BlocksAndPicturesAreCountedWhereTheyAreKnown) {
    Score score;
    score.Add({M, M, M, S, U}, {1, 1, 0, 1, 1});  // two hits, one miss, one extra
    score.Add({M, S, S, S, U}, {0, 0, 0, 0, 1});  // missed: what lies in the unknown was not found
    score.Add({S, S, S, S, S}, {0, 1, 0, 0, 0});  // false
    score.Add({S, S, U, U, U}, {0, 0, 1, 1, 1});  // still, and silent
    const Figures figures = score.Of();
    EXPECT_DOUBLE_EQ(figures.precision, 2 / 4.);
    EXPECT_DOUBLE_EQ(figures.recall, 2 / 4.);
    EXPECT_DOUBLE_EQ(figures.f, 0.5);
    EXPECT_DOUBLE_EQ(figures.missed, 1 / 2.);
    EXPECT_DOUBLE_EQ(figures.falseShare, 1 / 2.);
    EXPECT_EQ(score.Moving(), 2);
    EXPECT_EQ(score.Still(), 2);
}

TEST(Score, FIsTheHarmonicMeanAndNothingIsZero) {
    Score score;
    score.Add({M, M, M, M, S, S}, {1, 0, 0, 0, 1, 0});
    const Figures figures = score.Of();
    EXPECT_DOUBLE_EQ(figures.f, 2 * figures.precision * figures.recall / (figures.precision + figures.recall));
    EXPECT_DOUBLE_EQ(figures.f, 1 / 3.);
    const Figures none = Score().Of();
    EXPECT_EQ(none.f + none.precision + none.recall + none.missed + none.falseShare, 0);
}

TEST(Score, EverySequenceWeighsTheSameInTheMean) {
    std::map<std::string, Score> sequences;
    for (int i = 0; i < 100; ++i) sequences["long"].Add({M, M}, {1, 1});
    sequences["short"].Add({M, S}, {0, 1});
    sequences["short"].Add({S, S}, {0, 1});
    const Figures mean = MeanOf(sequences);
    EXPECT_DOUBLE_EQ(mean.f, 0.5);
    EXPECT_DOUBLE_EQ(mean.precision, 0.5);
    EXPECT_DOUBLE_EQ(mean.missed, 0);
    EXPECT_DOUBLE_EQ(mean.falseShare, 1) << "the long one has no still picture, so it has no share of them";
}

TEST(ThirdEvents, AThirdIsAPictureOfItsOwn) {
    ThirdEvents events;
    for (int i = 0; i < 60; ++i) {
        const bool moves = i >= 10 && i < 20;
        const std::vector<Truth> truth = {moves ? M : S, S, S, U};
        const std::vector<std::uint8_t> found = {0, static_cast<std::uint8_t>(i >= 30 && i < 40), 0,
                                                 static_cast<std::uint8_t>(moves)};
        events.Add(i * Video::oneSecond / 5, 4, truth, found);
    }
    const std::array<EventCount, 3> thirds = events.Close();
    EXPECT_EQ(thirds[0].real, 1);
    EXPECT_EQ(thirds[0].found, 0) << "four columns: the second one belongs to the left third, too, but at another time";
    EXPECT_EQ(thirds[0].falseFound, 1);
    EXPECT_EQ(thirds[1].real + thirds[1].falseFound, 0);
    EXPECT_EQ(thirds[2].real + thirds[2].falseFound, 0) << "unknown blocks find nothing";
}

TEST(FiguresText, NamesAreQuotedAndFiguresHaveFourDecimals) {
    EXPECT_EQ(JsonOf(Figures{.f = 2 / 3., .precision = 1, .recall = 0.5, .missed = 0, .falseShare = 0.25}),
              "{\"f\":0.6667,\"precision\":1.0000,\"recall\":0.5000,\"missed\":0.0000,\"false\":0.2500}");
    EXPECT_EQ(Quoted("a\"b\xFF"), "\"a\\\"b\xEF\xBF\xBD\"");
}

}  // namespace
}  // namespace Accuracy
