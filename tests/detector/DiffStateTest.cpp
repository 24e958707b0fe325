// How restless is a rectangle of blocks?  Its mean total variation over the ring, or 255 where that says nothing.
#include <climits>

#include "BackgroundFixture.h"
#include "GuardedBlocks.h"

namespace {

using DetectorKit::flat;
using DetectorKit::Frame;
using DetectorKit::History;

// A step of `height` between the frames of age `age` and `age` + 1.
constexpr History Step(std::size_t age, int height) {
    History history = flat;
    for (std::size_t newer = 0; newer <= age; ++newer) history[newer] = static_cast<std::uint8_t>(100 + height);
    return history;
}

class DiffStateTest : public DetectorKit::BackgroundFixture {
protected:
    double StateOf(std::vector<std::uint8_t> mask, int x0, int x1, int y0, int y1) {
        return detector.GetDiffState(mask.data(), 1, x0, x1, y0, y1);
    }
};

class DiffStateDeathTest : public DiffStateTest {};

TEST_F(DiffStateTest, OneChangeOfNineGivesNine) {
    UseHistories({Step(4, 9)});
    EXPECT_EQ(StateOf({1}, 0, 1, 0, 1), 9.0);
}

TEST_F(DiffStateTest, StillRegionGivesZero) {
    UseGridOf({flat, flat, flat, flat}, 2, 2);
    EXPECT_EQ(StateOf({1, 255, 2, 1}, 0, 2, 0, 2), 0.0);
}

TEST_F(DiffStateTest, EveryStepOfTheRingCounts) {
    for (std::size_t age = 0; age < 10; ++age) {
        UseHistories({Step(age, -7)});
        EXPECT_EQ(StateOf({1}, 0, 1, 0, 1), 7.0) << age;
    }
    UseHistories({{100, 103, 100, 103, 100, 103, 100, 103, 100, 103, 100}});
    EXPECT_EQ(StateOf({1}, 0, 1, 0, 1), 30.0);  // ten steps of 3
}

// (1 + 1) * (1 + 1) * 8 = 32.
TEST_F(DiffStateTest, BoundOfOneBlockIsThirtyTwo) {
    UseHistories({Step(3, 32), Step(3, 33)});
    EXPECT_EQ(StateOf({1, 1}, 0, 1, 0, 1), 32.0);
    EXPECT_EQ(StateOf({1, 1}, 1, 2, 0, 1), 255.0);
}

// (2 + 1) * (2 + 1) * 8 = 72, whatever the mask selects.
TEST_F(DiffStateTest, BoundCountsTheRectangleNotTheMask) {
    UseGridOf({Step(0, 72), flat, flat, flat}, 2, 2);
    EXPECT_EQ(StateOf({1, 0, 0, 0}, 0, 2, 0, 2), 72.0);
    EXPECT_EQ(StateOf({1, 1, 1, 1}, 0, 2, 0, 2), 18.0);
    UseGridOf({Step(0, 72), Step(9, 1), flat, flat}, 2, 2);
    EXPECT_EQ(StateOf({1, 1, 1, 1}, 0, 2, 0, 2), 255.0);
    EXPECT_EQ(StateOf({1, 0, 1, 1}, 0, 2, 0, 2), 24.0);
}

TEST_F(DiffStateTest, MeanIsNotTruncated) {
    UseHistories({Step(1, 1), flat, flat});
    EXPECT_EQ(StateOf({1, 1, 1}, 0, 3, 0, 1), 1.0 / 3.0);
}

TEST_F(DiffStateTest, RangesAreHalfOpen) {
    UseGridOf({flat, flat, flat, flat, Step(2, 5), flat, flat, flat, flat}, 3, 3);
    const std::vector<std::uint8_t> all(9, 1);
    EXPECT_EQ(StateOf(all, 1, 2, 1, 2), 5.0);
    EXPECT_EQ(StateOf(all, 0, 1, 1, 2), 0.0);
    EXPECT_EQ(StateOf(all, 2, 3, 1, 2), 0.0);
    EXPECT_EQ(StateOf(all, 1, 2, 0, 1), 0.0);
    EXPECT_EQ(StateOf(all, 1, 2, 2, 3), 0.0);
}

TEST_F(DiffStateTest, MaskRowsAreAsLongAsTheGridWhateverTheStep) {
    UseGridOf({flat, flat, Step(2, 5), flat}, 2, 2);
    std::vector<std::uint8_t> mask{0, 0, 1, 0};
    for (const int step : {1, 2, 77, -1, INT_MIN}) EXPECT_EQ(detector.GetDiffState(mask.data(), step, 0, 2, 0, 2), 5.0);
}

TEST_F(DiffStateTest, ChromaDoesNotCount) {
    AddFullZone();
    Frame frame(1, 1);
    for (int i = 0; i < 11; ++i) {
        frame.Fill(100, static_cast<std::uint8_t>(20 * i), static_cast<std::uint8_t>(255 - 20 * i));
        Feed(frame, 0);
    }
    EXPECT_EQ(StateOf({1}, 0, 1, 0, 1), 0.0);
}

TEST_F(DiffStateTest, NothingSelectedGives255) {
    UseHistories({flat, flat});
    EXPECT_EQ(StateOf({0, 0}, 0, 2, 0, 1), 255.0);
    EXPECT_EQ(StateOf({1, 0}, 1, 2, 0, 1), 255.0);
}

TEST_F(DiffStateTest, EmptyRangesGive255WithoutReadingTheMask) {
    UseHistories({flat, flat});
    Kit::GuardedBlocks<std::uint8_t> mask(0);  // every read is a fault
    for (const auto& [y0, y1] : {std::pair{0, 0}, {1, 0}, {INT_MAX, INT_MIN}})
        EXPECT_EQ(detector.GetDiffState(mask.data(), 2, 0, 2, y0, y1), 255.0);
    for (const auto& [x0, x1] : {std::pair{0, 0}, {2, 1}, {INT_MAX, INT_MIN}})
        EXPECT_EQ(detector.GetDiffState(mask.data(), 2, x0, x1, 0, 1), 255.0);
}

// The bound is looked at after a row: the busy row is read to its end, the next one not at all.
TEST_F(DiffStateTest, RowsAfterABusyOneAreNotRead) {
    UseGridOf({Step(0, 150), flat, flat, flat}, 2, 2);
    Kit::GuardedBlocks<std::uint8_t> firstRow(2);
    firstRow[0] = firstRow[1] = 1;
    EXPECT_EQ(detector.GetDiffState(firstRow.data(), 2, 0, 2, 0, 2), 255.0);
}

TEST_F(DiffStateDeathTest, MaskThenStepAreChecked) {
    UseHistories({flat});
    std::vector<std::uint8_t> mask{1};
    EXPECT_ASSERTION(detector.GetDiffState(nullptr, 0, 0, 0, 0, 0), "mask");
    EXPECT_ASSERTION(detector.GetDiffState(mask.data(), 0, 0, 0, 0, 0), "maskWidthStep");
}

}  // namespace
