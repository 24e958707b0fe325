// How is a learned background saved, put back and forgotten?  Snapshots under a mask, and the flush.
#include <algorithm>
#include <utility>

#include "BackgroundFixture.h"

namespace {

using DetectorKit::Copied;
using DetectorKit::flat;
using DetectorKit::Frame;
using DetectorKit::second;
using MD::BackgroundStorage;

using Bytes = std::vector<std::uint8_t>;
using Times = std::vector<std::int64_t>;
using Floats = std::vector<float>;

// A grid of 3 x 2 blocks; snapshots are freed with the test.
class BackgroundStorageTest : public DetectorKit::BackgroundFixture {
protected:
    BackgroundStorageTest() {
        Frame frame(3, 2);
        FillRing(frame);
        storage = detector.AllocateBackgroundStorage();
    }
    ~BackgroundStorageTest() override { detector.FreeBackgroundStorage(&storage); }

    // Values that tell block and generation apart.
    void LearnGeneration(int generation) {
        for (int i = 0; i < 6; ++i) {
            const auto value = static_cast<std::uint8_t>(10 * generation + i);
            detector._backgroundY[i] = value;
            detector._backgroundCb[i] = static_cast<std::uint8_t>(value + 60);
            detector._backgroundCr[i] = static_cast<std::uint8_t>(value + 120);
            detector._noiseLevel[i] = static_cast<float>(value) + 0.5f;
            detector._sampleValue[i] = static_cast<float>(value) + 0.25f;
            detector._backgroundTime[i] = value * second;
            detector._sampleTime[i] = value * second + 1;
            detector._lastChangeTime[i] = value * second + 2;
            detector._isMotionPixel[i] = value;
        }
    }

    void SetStates(const Bytes& isStable, const Bytes& isBackground) {
        std::copy(isStable.begin(), isStable.end(), detector._isStable);
        std::copy(isBackground.begin(), isBackground.end(), detector._isBackground);
    }

    Bytes LumaOf() const { return Copied(detector._backgroundY, 6); }

    BackgroundStorage* storage = nullptr;
    Bytes everything = Bytes(6, 1);
};

class BackgroundStorageDeathTest : public BackgroundStorageTest {};

TEST_F(BackgroundStorageTest, NewSnapshotIsZeroAndUnfilled) {
    EXPECT_EQ(storage->maskWidthStep, -1);
    EXPECT_EQ(storage->mask, nullptr);
    for (const std::uint8_t* plane :
         {storage->_isStable, storage->_backgroundY, storage->_backgroundCb, storage->_backgroundCr, storage->_isBackground})
        EXPECT_EQ(Copied(plane, 6), Bytes(6, 0));
    EXPECT_EQ(Copied(storage->_noiseLevel, 6), Floats(6, 0.0f));
    EXPECT_EQ(Copied(storage->_sampleValue, 6), Floats(6, 0.0f));
    EXPECT_EQ(Copied(storage->_backgroundTime, 6), Times(6, 0));
    EXPECT_EQ(Copied(storage->_sampleTime, 6), Times(6, 0));
}

TEST_F(BackgroundStorageTest, ConstructedSnapshotHoldsNothing) {
    const BackgroundStorage empty;
    EXPECT_EQ(empty.maskWidthStep, -1);
    for (const void* buffer : std::initializer_list<const void*>{
             empty._noiseLevel, empty._isStable, empty._backgroundY, empty._backgroundCb, empty._backgroundCr,
             empty._isBackground, empty._sampleValue, empty.mask, empty._backgroundTime, empty._sampleTime})
        EXPECT_EQ(buffer, nullptr);
}

// All blocks are recorded, also those that the mask leaves out.
TEST_F(BackgroundStorageTest, FillRecordsTheWholeModelAndTheMask) {
    LearnGeneration(1);
    SetStates({255, 0, 255, 0, 255, 0}, {0, 0, 255, 255, 0, 0});
    Bytes mask{0, 0, 7, 9,  //
               1, 0, 0, 9};
    detector.FillBackgroundStorage(storage, mask.data(), 4);
    EXPECT_EQ(storage->maskWidthStep, 4);
    EXPECT_EQ(Copied(storage->mask, 8), mask);
    EXPECT_EQ(Copied(storage->_backgroundY, 6), (Bytes{10, 11, 12, 13, 14, 15}));
    EXPECT_EQ(Copied(storage->_backgroundCb, 6), (Bytes{70, 71, 72, 73, 74, 75}));
    EXPECT_EQ(Copied(storage->_backgroundCr, 6), (Bytes{130, 131, 132, 133, 134, 135}));
    EXPECT_EQ(Copied(storage->_isStable, 6), (Bytes{255, 0, 255, 0, 255, 0}));
    EXPECT_EQ(Copied(storage->_isBackground, 6), (Bytes{0, 0, 255, 255, 0, 0}));
    EXPECT_EQ(Copied(storage->_noiseLevel, 6), (Floats{10.5f, 11.5f, 12.5f, 13.5f, 14.5f, 15.5f}));
    EXPECT_EQ(Copied(storage->_sampleValue, 6), (Floats{10.25f, 11.25f, 12.25f, 13.25f, 14.25f, 15.25f}));
    EXPECT_EQ(storage->_backgroundTime[5], 15 * second);
    EXPECT_EQ(storage->_sampleTime[5], 15 * second + 1);
}

// Block 0 was neither, 1 stable, 2 background, 3 both at the time of the snapshot; 4 and 5 are not meant.
TEST_F(BackgroundStorageTest, RestoreFollowsTheStoredStates) {
    LearnGeneration(1);
    SetStates({0, 255, 0, 255, 255, 255}, {0, 0, 255, 255, 255, 255});
    Bytes mask{1, 2, 255, 1, 0, 0};
    detector.FillBackgroundStorage(storage, mask.data(), 3);
    LearnGeneration(2);
    SetStates({8, 8, 8, 8, 8, 8}, {9, 9, 9, 9, 9, 9});
    detector.RestoreBackground(storage);
    EXPECT_EQ(Copied(detector._isStable, 6), (Bytes{8, 255, 8, 255, 8, 8}));
    EXPECT_EQ(Copied(detector._sampleValue, 6), (Floats{20.25f, 11.25f, 22.25f, 13.25f, 24.25f, 25.25f}));
    EXPECT_EQ(Copied(detector._sampleTime, 6),
              (Times{20 * second + 1, 11 * second + 1, 22 * second + 1, 13 * second + 1, 24 * second + 1, 25 * second + 1}));
    EXPECT_EQ(Copied(detector._isBackground, 6), (Bytes{9, 9, 255, 255, 9, 9}));
    EXPECT_EQ(LumaOf(), (Bytes{20, 21, 12, 13, 24, 25}));
    EXPECT_EQ(Copied(detector._backgroundCb, 6), (Bytes{80, 81, 72, 73, 84, 85}));
    EXPECT_EQ(Copied(detector._backgroundCr, 6), (Bytes{140, 141, 132, 133, 144, 145}));
    EXPECT_EQ(Copied(detector._noiseLevel, 6), (Floats{20.5f, 21.5f, 12.5f, 13.5f, 24.5f, 25.5f}));
    EXPECT_EQ(Copied(detector._backgroundTime, 6),
              (Times{20 * second, 21 * second, 12 * second, 13 * second, 24 * second, 25 * second}));
}

TEST_F(BackgroundStorageTest, ChangesAreNoPartOfTheSnapshot) {
    LearnGeneration(1);
    SetStates(Bytes(6, 255), Bytes(6, 255));
    detector.FillBackgroundStorage(storage, everything.data(), 3);
    LearnGeneration(2);
    detector.RestoreBackground(storage);
    EXPECT_EQ(Copied(detector._isMotionPixel, 6), (Bytes{20, 21, 22, 23, 24, 25}));
    EXPECT_EQ(detector._lastChangeTime[0], 20 * second + 2);
}

TEST_F(BackgroundStorageTest, MaskOfZerosRestoresNothing) {
    LearnGeneration(1);
    SetStates(Bytes(6, 255), Bytes(6, 255));
    Bytes none(6, 0);
    detector.FillBackgroundStorage(storage, none.data(), 3);
    LearnGeneration(2);
    SetStates(Bytes(6, 8), Bytes(6, 9));
    detector.RestoreBackground(storage);
    EXPECT_EQ(LumaOf(), (Bytes{20, 21, 22, 23, 24, 25}));
    EXPECT_EQ(Copied(detector._isStable, 6), Bytes(6, 8));
    EXPECT_EQ(Copied(detector._isBackground, 6), Bytes(6, 9));
    EXPECT_EQ(detector._sampleTime[0], 20 * second + 1);
}

TEST_F(BackgroundStorageTest, BytesBeyondTheGridOfALongMaskRowMeanNothing) {
    LearnGeneration(1);
    SetStates(Bytes(6, 255), Bytes(6, 255));
    Bytes mask{0, 1, 0, 1, 1,  //
               1, 0, 0, 1, 1};
    detector.FillBackgroundStorage(storage, mask.data(), 5);
    LearnGeneration(2);
    detector.RestoreBackground(storage);
    EXPECT_EQ(LumaOf(), (Bytes{20, 11, 22, 13, 24, 25}));
}

TEST_F(BackgroundStorageTest, SnapshotCanBeRestoredAgain) {
    LearnGeneration(1);
    SetStates(Bytes(6, 255), Bytes(6, 255));
    detector.FillBackgroundStorage(storage, everything.data(), 3);
    for (int generation = 2; generation < 4; ++generation) {
        LearnGeneration(generation);
        detector.RestoreBackground(storage);
        EXPECT_EQ(LumaOf(), (Bytes{10, 11, 12, 13, 14, 15}));
    }
}

TEST_F(BackgroundStorageTest, MaskBufferIsKeptWhileItsRowLengthStays) {
    detector.FillBackgroundStorage(storage, everything.data(), 3);
    std::uint8_t* const buffer = storage->mask;
    Bytes other{0, 1, 0, 1, 0, 1};
    detector.FillBackgroundStorage(storage, other.data(), 3);
    EXPECT_EQ(storage->mask, buffer);
    EXPECT_EQ(Copied(storage->mask, 6), other);
    Bytes longer{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14};
    detector.FillBackgroundStorage(storage, longer.data(), 7);
    EXPECT_EQ(storage->maskWidthStep, 7);
    EXPECT_EQ(Copied(storage->mask, 14), longer);  // another row length needs another buffer
    detector.FillBackgroundStorage(storage, other.data(), 3);
    EXPECT_EQ(storage->maskWidthStep, 3);
    EXPECT_EQ(Copied(storage->mask, 6), other);
}

TEST_F(BackgroundStorageTest, FreedSnapshotIsNull) {
    detector.FillBackgroundStorage(storage, everything.data(), 3);
    detector.FreeBackgroundStorage(&storage);
    EXPECT_EQ(storage, nullptr);
    detector.FreeBackgroundStorage(&storage);
    EXPECT_EQ(storage, nullptr);
}

TEST_F(BackgroundStorageTest, FlushForgetsTheMaskedBlocksOnly) {
    LearnGeneration(1);
    SetStates(Bytes(6, 255), Bytes(6, 255));
    Bytes mask{1, 0,   0, 9,  //
               0, 255, 0, 9};
    detector.FlushBackground(mask.data(), 4);
    EXPECT_EQ(Copied(detector._isBackground, 6), (Bytes{0, 255, 255, 255, 0, 255}));
    EXPECT_EQ(Copied(detector._isStable, 6), (Bytes{0, 255, 255, 255, 0, 255}));
    EXPECT_EQ(LumaOf(), (Bytes{10, 11, 12, 13, 14, 15}));
    EXPECT_EQ(detector._noiseLevel[0], 10.5f);
    EXPECT_EQ(detector._sampleValue[0], 10.25f);
    EXPECT_EQ(detector._sampleTime[0], 10 * second + 1);
    EXPECT_EQ(detector._backgroundTime[0], 10 * second);
    EXPECT_EQ(detector._lastChangeTime[0], 10 * second + 2);
}

// The flushed block is confirmed again by its old sample, but not before it was quiet for more than five seconds.
TEST_F(BackgroundStorageTest, FlushedBlockComesBackByConfirmationOnly) {
    ASSERT_TRUE(UpdateAt(10 * second));
    ASSERT_TRUE(UpdateAt(11 * second));
    ASSERT_EQ(Copied(detector._isBackground, 6), Bytes(6, 255));
    Bytes mask{1, 0, 0, 0, 0, 0};
    detector.FlushBackground(mask.data(), 3);
    std::vector<std::int32_t> known(6);
    Bytes image(18);
    detector.GetBackground(image.data(), known.data());
    EXPECT_EQ(known, (std::vector<std::int32_t>{0, 255, 255, 255, 255, 255}));
    detector._lastChangeTime[0] = 8 * second;
    ASSERT_TRUE(UpdateAt(13 * second));
    EXPECT_EQ(detector._isBackground[0], 0);
    ASSERT_TRUE(UpdateAt(13 * second + 1));
    EXPECT_EQ(detector._isBackground[0], 255);
}

TEST_F(BackgroundStorageDeathTest, RestoringAnUnfilledSnapshotIsFatal) {
    EXPECT_ASSERTION(detector.RestoreBackground(storage), "maskWidthStep >= blockCountX");
}

TEST_F(BackgroundStorageDeathTest, FillingChecksMaskThenRowLength) {
    EXPECT_ASSERTION(detector.FillBackgroundStorage(storage, nullptr, 2), "mask");
    EXPECT_ASSERTION(detector.FillBackgroundStorage(storage, everything.data(), 2), "maskWidthStep >= blockCountX");
}

TEST_F(BackgroundStorageDeathTest, FlushingChecksMaskThenRowLength) {
    EXPECT_ASSERTION(detector.FlushBackground(nullptr, 0), "mask");
    EXPECT_ASSERTION(detector.FlushBackground(everything.data(), 0), "maskWidthStep");
    EXPECT_ASSERTION(detector.FlushBackground(everything.data(), 2), "maskWidthStep >= blockCountX");
    EXPECT_ASSERTION(detector.FlushBackground(everything.data(), -3), "maskWidthStep >= blockCountX");
}

// The mask would be long enough in each of them, the arrays or the rows of the mask would not.
TEST_F(BackgroundStorageDeathTest, SnapshotOfAnotherGridIsFatal) {
    detector.FillBackgroundStorage(storage, everything.data(), 3);
    for (const auto& [columns, rows] : {std::pair{3, 5}, {3, 1}, {2, 3}, {1, 6}}) {
        Frame frame(columns, rows);
        FillRing(frame);
        Bytes mask(static_cast<std::size_t>(3 * rows), 1);
        EXPECT_ASSERTION(detector.RestoreBackground(storage), "storage->Suits(blockCountX, blockCountY)");
        EXPECT_ASSERTION(detector.FillBackgroundStorage(storage, mask.data(), 3),
                         "storage->Suits(blockCountX, blockCountY)");
    }
}

TEST_F(BackgroundStorageDeathTest, SnapshotOfBeforeTheFirstFrameIsFatal) {
    MD::MotionDetector fresh;
    BackgroundStorage* const early = fresh.AllocateBackgroundStorage();
    EXPECT_ASSERTION(detector.FillBackgroundStorage(early, everything.data(), 3),
                     "storage->Suits(blockCountX, blockCountY)");
    delete early;
}

// A host may put a snapshot together by itself; of which grid it is, is its own business then.
TEST_F(BackgroundStorageTest, SnapshotOfNoGridIsTakenAtItsWord) {
    LearnGeneration(1);
    SetStates(Bytes(6, 255), Bytes(6, 255));
    detector.FillBackgroundStorage(storage, everything.data(), 3);
    storage->blockCountX = storage->blockCountY = -1;
    LearnGeneration(2);
    detector.RestoreBackground(storage);
    EXPECT_EQ(LumaOf(), (Bytes{10, 11, 12, 13, 14, 15}));
}

TEST_F(BackgroundStorageDeathTest, FillingFromOrIntoMissingBuffersIsFatal) {
    BackgroundStorage empty;
    EXPECT_ASSERTION(detector.FillBackgroundStorage(&empty, everything.data(), 3), "destination");
    detector.ReleaseBuffers();
    EXPECT_ASSERTION(detector.FillBackgroundStorage(storage, everything.data(), 3), "source");
}

}  // namespace
