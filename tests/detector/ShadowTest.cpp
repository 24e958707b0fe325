// Which foreground blocks are only shadows?  Texture and colour in the block's window, their score, whole scenes.
#include <algorithm>
#include <cmath>

#include "DetectorFixture.h"

namespace {

using DetectorKit::Copied;
using DetectorKit::Frame;
using DetectorKit::Paint;
using DetectorKit::Picture;
using DetectorKit::PictureOf;
using DetectorKit::second;

using Bytes = std::vector<std::uint8_t>;

// A filled ring, a known background of (200, 128, 128) everywhere and a newest frame of (60, 128, 128).
class ShadowTest : public DetectorKit::DetectorTest {
protected:
    void UseGrid(int columns, int rows) {
        Frame frame(columns, rows, 60);
        detector._currentTime = 1;
        FillRing(frame);
        const int count = columns * rows;
        std::fill_n(detector._isBackground, count, std::uint8_t{255});
        std::fill_n(detector._backgroundY, count, std::uint8_t{200});
        std::fill_n(detector._backgroundCb, count, std::uint8_t{128});
        std::fill_n(detector._backgroundCr, count, std::uint8_t{128});
        std::fill_n(detector._isObject, count, std::uint8_t{0});
    }

    int At(int x, int y) const { return y * detector.blockCountX + x; }
    std::uint8_t* Luma() { return detector._frameStatistics.FrameOfAge(0); }
    std::uint8_t* Cb() { return Luma() + detector._frameStatistics._secondPlaneOffset; }
    std::uint8_t* Cr() { return Luma() + detector._frameStatistics._thirdPlaneOffset; }

    // Shadows among the blocks of the picture: what is left of them, and the zone result map.
    void Detect(const Picture& foreground) {
        Paint(detector._isObject, foreground);
        detector.DetectShadow(nullptr);
    }
    Picture Foreground() const { return PictureOf(detector._isObject, detector.blockCountX, detector.blockCountY); }
    Picture ResultMap() const { return PictureOf(detector._zoneResultMap, detector.blockCountX, detector.blockCountY); }

    // Texture and colour that differ from block to block and from the background.
    void MakeRestless() {
        for (int i = 0; i < detector.blockCount; ++i) {
            detector._backgroundY[i] = static_cast<std::uint8_t>(90 + i * 29 % 80);
            Luma()[i] = static_cast<std::uint8_t>(60 + i * 37 % 100);
            Cb()[i] = static_cast<std::uint8_t>(128 + i * 13 % 100);
            Cr()[i] = static_cast<std::uint8_t>(128 - i * 17 % 100);
        }
    }

    std::vector<float*> WorkPlanes() {
        return {detector._backgroundLogGradientX, detector._backgroundLogGradientY, detector._currentLogGradientX,
                detector._currentLogGradientY,    detector._shadowGradientSum,      detector._shadowChromaSum,
                detector._shadowCbDifference,     detector._shadowCrDifference};
    }
};

TEST_F(ShadowTest, WithoutForegroundOnlyWorkArraysAndMapAreCleared) {
    UseGrid(3, 3);
    MakeRestless();
    Detect({"###", "###", "###"});
    for (const float* plane : WorkPlanes()) EXPECT_NE(Copied(plane, 9), std::vector<float>(9, 0.0f));
    std::fill_n(detector._isObject, 9, std::uint8_t{0});
    std::fill_n(detector._isMotionPixel, 9, std::uint8_t{5});
    const Bytes background = Copied(detector._backgroundY, 9);
    detector.DetectShadow(nullptr);
    for (const float* plane : WorkPlanes()) EXPECT_EQ(Copied(plane, 9), std::vector<float>(9, 0.0f));
    EXPECT_EQ(Copied(detector._shadowSearchMask, 9), Bytes(9, 0));
    EXPECT_EQ(Copied(detector._zoneResultMap, 9), Bytes(9, 0));
    EXPECT_EQ(Copied(detector._isObject, 9), Bytes(9, 0));
    EXPECT_EQ(Copied(detector._isMotionPixel, 9), Bytes(9, 5));
    EXPECT_EQ(Copied(detector._isBackground, 9), Bytes(9, 255));
    EXPECT_EQ(Copied(detector._backgroundY, 9), background);
}

// What an examination leaves in the work arrays does not show in the next one, wherever the foreground goes.
TEST_F(ShadowTest, EveryExaminationStartsFromZeros) {
    const Picture foregrounds[] = {{"....", "....", "....", "....", ".##."}, {"#...", "....", "....", "....", "...."},
                                   {"####", "####", "####", "####", "####"}, {"....", "....", "..#.", "....", "...."},
                                   {"....", "....", "....", "....", "...."}, {"..##", "....", "....", "....", "#..."}};
    struct Outcome {
        std::vector<std::vector<float>> planes;
        Picture foreground, map;
        bool operator==(const Outcome&) const = default;
    };
    const auto examine = [this](const Picture& foreground) {
        Detect(foreground);
        Outcome outcome{.planes = {}, .foreground = Foreground(), .map = ResultMap()};
        for (const float* plane : WorkPlanes()) outcome.planes.push_back(Copied(plane, 20));
        return outcome;
    };
    std::vector<Outcome> oneAfterAnother;
    UseGrid(4, 5);
    MakeRestless();
    for (const Picture& foreground : foregrounds) oneAfterAnother.push_back(examine(foreground));
    for (std::size_t i = 0; i < oneAfterAnother.size(); ++i) {
        UseGrid(4, 5);  // new work arrays
        MakeRestless();
        EXPECT_TRUE(examine(foregrounds[i]) == oneAfterAnother[i]) << i;
    }
}

TEST_F(ShadowTest, SmallerGridStartsAfresh) {
    UseGrid(40, 30);
    MakeRestless();
    std::fill_n(detector._isObject + 1160, 40, std::uint8_t{255});
    detector.DetectShadow(nullptr);
    UseGrid(3, 3);
    Detect({"...", ".#.", "..."});
    EXPECT_EQ(ResultMap(), (Picture{"...", ".2.", "..."}));
}

TEST_F(ShadowTest, UniformDarkeningIsShadow) {
    UseGrid(4, 4);
    Detect({"....", ".##.", ".##.", "...."});
    EXPECT_EQ(Foreground(), (Picture{"....", "....", "....", "...."}));
    EXPECT_EQ(ResultMap(), (Picture{"....", ".22.", ".22.", "...."}));
}

TEST_F(ShadowTest, BlockWithoutBackgroundStaysForeground) {
    UseGrid(4, 4);
    detector._isBackground[At(1, 1)] = 0;
    Detect({"....", ".##.", "....", "...."});
    EXPECT_EQ(Copied(detector._isObject, 16), DetectorKit::MaskOf({"....", ".#..", "....", "...."}));
    EXPECT_EQ(ResultMap(), (Picture{"....", ".12.", "....", "...."}));
}

TEST_F(ShadowTest, ForegroundOfAnyValueBecomes255OrZero) {
    UseGrid(3, 3);
    std::fill_n(detector._isBackground, 4, std::uint8_t{0});
    std::fill_n(detector._isObject, 9, std::uint8_t{7});
    detector.DetectShadow(nullptr);
    EXPECT_EQ(Copied(detector._isObject, 9), (Bytes{255, 255, 255, 255, 0, 0, 0, 0, 0}));
    EXPECT_EQ(ResultMap(), (Picture{"111", "122", "222"}));
}

TEST_F(ShadowTest, SearchReachesTheEightNeighboursInsideTheGrid) {
    UseGrid(5, 4);
    Detect({"#....", ".....", "...#.", "....."});
    EXPECT_EQ(PictureOf(detector._shadowSearchMask, 5, 4), (Picture{"11...", "11111", "..111", "..111"}));
}

// A change of 6 contributes 0.06, one of 7 only 0.01.
TEST_F(ShadowTest, ChromaDeadZoneJumps) {
    UseGrid(9, 2);
    const std::uint8_t cbs[] = {128, 129, 134, 135, 122, 121, 255, 0, 138};
    const std::uint8_t crs[] = {0, 255, 121, 122, 135, 134, 129, 128, 118};
    std::copy(std::begin(cbs), std::end(cbs), Cb());
    std::copy(std::begin(crs), std::end(crs), Cr());
    Detect({"#########", "........."});
    const int expectedCb[] = {0, 1, 6, 1, 6, 1, 121, 122, 4}, expectedCr[] = {122, 121, 1, 6, 1, 6, 1, 0, 4};
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(detector._shadowCbDifference[i], static_cast<float>(expectedCb[i]) * 0.01f) << i;
        EXPECT_EQ(detector._shadowCrDifference[i], static_cast<float>(expectedCr[i]) * 0.01f) << i;
    }
}

TEST_F(ShadowTest, GradientsPointRightAndDownAndBackAtTheLastLine) {
    UseGrid(3, 2);
    const std::uint8_t lumas[] = {10, 20, 40, 80, 160, 255}, backgrounds[] = {0, 255, 100, 50, 25, 12};
    std::copy(std::begin(lumas), std::end(lumas), Luma());
    std::copy(std::begin(backgrounds), std::end(backgrounds), detector._backgroundY);
    Detect({"###", "###"});
    const auto gradient = [](const std::uint8_t* luma, int from, int to) {
        return static_cast<float>(std::log(luma[from] + 1.0) - std::log(luma[to] + 1.0));
    };
    const int right[][2] = {{0, 1}, {1, 2}, {1, 2}, {3, 4}, {4, 5}, {4, 5}};
    const int down[][2] = {{0, 3}, {1, 4}, {2, 5}, {0, 3}, {1, 4}, {2, 5}};
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(detector._currentLogGradientX[i], gradient(lumas, right[i][0], right[i][1])) << i;
        EXPECT_EQ(detector._backgroundLogGradientX[i], gradient(backgrounds, right[i][0], right[i][1])) << i;
        EXPECT_EQ(detector._currentLogGradientY[i], gradient(lumas, down[i][0], down[i][1])) << i;
        EXPECT_EQ(detector._backgroundLogGradientY[i], gradient(backgrounds, down[i][0], down[i][1])) << i;
    }
}

// 150 * 0.66 = 99 of colour and 75 * ln(151 / 149) of texture are exactly 100 in single precision.
TEST_F(ShadowTest, ScoreOfExactlyHundredStaysForeground) {
    for (const int cbChange : {72, 71}) {
        UseGrid(2, 2);  // the window of block (0, 0) is the block itself
        for (std::uint8_t* luma : {detector._backgroundY, Luma()}) {
            luma[0] = luma[2] = 49;
            luma[1] = luma == Luma() ? 150 : 148;
        }
        Cb()[0] = static_cast<std::uint8_t>(128 + cbChange);
        Detect({"#.", ".."});
        const float score = 75.0f * detector._shadowGradientSum[0] + 150.0f * detector._shadowChromaSum[0];
        if (cbChange == 72) ASSERT_EQ(score, 100.0f);
        else ASSERT_LT(score, 100.0f);
        EXPECT_EQ(detector._isObject[0], cbChange == 72 ? 255 : 0);
        EXPECT_EQ(detector._zoneResultMap[0], cbChange == 72 ? 1 : 2);
    }
}

TEST_F(ShadowTest, HighScoresStayForegroundToo) {
    UseGrid(2, 2);
    Luma()[0] = 0;
    Luma()[1] = 255;
    Cb()[0] = Cr()[0] = 0;
    Detect({"#.", ".."});
    EXPECT_GT(75.0f * detector._shadowGradientSum[0] + 150.0f * detector._shadowChromaSum[0], 255.0f);
    EXPECT_EQ(detector._isObject[0], 255);
    EXPECT_EQ(detector._zoneResultMap[0], 1);
}

// A coloured block decides about the block to its right, below and below right, and about itself.
TEST_F(ShadowTest, WindowOfInnerBlockIsItsUpperLeftSquare) {
    Picture counted(3, "...");
    for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) {
            UseGrid(5, 5);
            Cb()[At(2 + dx, 2 + dy)] = 255;
            Detect({".....", ".....", "..#..", ".....", "....."});
            if (detector._isObject[At(2, 2)])
                counted[static_cast<std::size_t>(dy + 1)][static_cast<std::size_t>(dx + 1)] = '#';
        }
    }
    EXPECT_EQ(counted, (Picture{"##.", "##.", "..."}));
}

// Rows from y - 1 up to, not including, y + 1, and never the last row; columns alike.
TEST_F(ShadowTest, WindowsShrinkAtTheEdges) {
    constexpr int columns = 4, rows = 3;
    const auto isCounted = [](int place, int centre, int extent) {
        return place >= std::max(centre - 1, 0) && place < std::min(centre + 1, extent - 1);
    };
    for (int block = 0; block < columns * rows; ++block) {
        for (int coloured = 0; coloured < columns * rows; ++coloured) {
            UseGrid(columns, rows);
            Cr()[coloured] = 0;
            detector._isObject[block] = 255;
            detector.DetectShadow(nullptr);
            const bool expected = isCounted(coloured % columns, block % columns, columns) &&
                                  isCounted(coloured / columns, block / columns, rows);
            ASSERT_EQ(detector._isObject[block] != 0, expected) << block << ' ' << coloured;
            ASSERT_EQ(detector._shadowChromaSum[block] > 0.0f, expected) << block << ' ' << coloured;
        }
    }
}

TEST_F(ShadowTest, NeighbourWithoutBackgroundContributesNothing) {
    UseGrid(5, 5);
    Cb()[At(1, 1)] = 255;
    detector._isBackground[At(1, 1)] = 0;
    Detect({".....", ".....", "..#..", ".....", "....."});
    EXPECT_EQ(detector._isObject[At(2, 2)], 0);
    EXPECT_EQ(detector._shadowChromaSum[At(2, 2)], 0.0f);
}

// (1, 1) scores 150 * 0.44 = 66 and is shadow. (2, 1) scores 150 * (0.44 + 0.54) = 147; without its neighbour it would
// be 81.
TEST_F(ShadowTest, ShadowBlocksStillCountForTheirNeighbours) {
    UseGrid(5, 5);
    Cb()[At(1, 1)] = 128 + 50;
    Cb()[At(2, 1)] = 128 + 60;
    Detect({".....", ".##..", ".....", ".....", "....."});
    EXPECT_EQ(ResultMap(), (Picture{".....", ".21..", ".....", ".....", "....."}));
}

// Nothing beside the only row or column is read, and every window is empty: colour and texture do not save a block.
TEST_F(ShadowTest, GridOfOneRowOrColumnHoldsShadowsOnly) {
    for (const auto& [columns, rows] : {std::pair{6, 1}, {1, 6}, {1, 1}, {2, 1}, {1, 2}}) {
        UseGrid(columns, rows);
        const int count = columns * rows;
        for (int i = 0; i < count; ++i) {
            Luma()[i] = static_cast<std::uint8_t>(i % 2 ? 255 : 0);
            Cb()[i] = 0;
        }
        std::fill_n(detector._isObject, count, std::uint8_t{255});
        if (count > 2) detector._isBackground[2] = 0;
        detector.DetectShadow(nullptr);
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(detector._isObject[i], i == 2 ? 255 : 0) << columns << ' ' << rows << ' ' << i;
            EXPECT_EQ(detector._zoneResultMap[i], i == 2 ? 1 : 2);
            EXPECT_EQ(detector._shadowGradientSum[i], 0.0f);
            EXPECT_EQ(detector._shadowChromaSum[i], 0.0f);
        }
    }
}

TEST_F(ShadowTest, NothingHappensBeforeTheRingIsFilledOrInPartlyDecodedMode) {
    for (const bool isPartly : {false, true}) {
        UseGrid(3, 3);
        detector._frameStatistics._isFilled = isPartly;
        detector._h264PartlyIsOptimized = isPartly;
        std::fill_n(detector._isObject, 9, std::uint8_t{255});
        std::fill_n(detector._zoneResultMap, 9, std::uint8_t{5});
        std::fill_n(detector._shadowGradientSum, 9, 5.0f);
        detector.DetectShadow(nullptr);
        EXPECT_EQ(Copied(detector._isObject, 9), Bytes(9, 255));
        EXPECT_EQ(Copied(detector._zoneResultMap, 9), Bytes(9, 5));
        EXPECT_EQ(detector._shadowGradientSum[0], 5.0f);
    }
}

// ---- Whole scenes, through the detection pass ------------------------------------------------------------------------

// The background of a scene of luma 200 is known from second 11 on. Then the whole scene gets darker.
TEST_F(ShadowTest, DarkeningOfTheSceneIsMotionOnlyWithoutShadowDetection) {
    for (const int detectShadow : {0, 1}) {
        Frame bright(6, 5, 200), dark(6, 5, 100);
        bright.info.detectShadow = detectShadow;
        if (detectShadow == 0) AddFullZone();
        detector._currentTime = 1;
        Feed(bright, 0, second, 12);
        ASSERT_EQ(Copied(detector._isBackground, 30), Bytes(30, 255));
        Feed(dark, 12 * second);
        EXPECT_EQ(detector._mergedPool._busyList._objectsCount, detectShadow ? 0 : 1);
        EXPECT_EQ(Copied(detector._isObject, 30), Bytes(30, detectShadow ? 0 : 255));
        EXPECT_EQ(Copied(detector._zoneResultMap, 30), Bytes(30, detectShadow ? 2 : 0));
    }
}

// A thing of another colour stays: every one of its blocks has such a block in its window.
TEST_F(ShadowTest, ColouredThingIsMotion) {
    Frame bright(6, 5, 200), thing(6, 5, 200);
    bright.info.detectShadow = 1;
    AddFullZone();
    detector._currentTime = 1;
    Feed(bright, 0, second, 12);
    for (const int block : {7, 8, 13, 14}) {
        thing.Y()[block] = 100;
        thing.Cb()[block] = 220;
    }
    Feed(thing, 12 * second);
    EXPECT_EQ(ResultMap(), (Picture{"......", ".11...", ".11...", "......", "......"}));
    EXPECT_EQ(Labels(), (Picture{"......", ".11...", ".11...", "......", "......"}));
}

}  // namespace
