// Which blocks differ from what is known of them?  Choice of variant; complete pictures and MPEG-4 input.
#include <algorithm>

#include "DetectorFixture.h"

namespace {

using DetectorKit::Copied;
using DetectorKit::Frame;

using Bytes = std::vector<std::uint8_t>;

// One row of blocks on a filled ring: newest, previous and background values are set block by block.
class ForegroundTest : public DetectorKit::DetectorTest {
protected:
    void UseBlocks(int count) {
        Frame frame(count, 1);
        detector._currentTime = 1;  // a ring of this grid, even if there is one already
        FillRing(frame);
        std::fill_n(detector._isObject, count, std::uint8_t{9});
        std::fill_n(detector._isMotionPixel, count, std::uint8_t{9});
        std::fill_n(detector._noiseLevel, count, 20.0f);
    }

    struct Colour {
        int y = 100, cb = 128, cr = 128;
    };

    void SetColour(int age, int block, Colour colour) {
        std::uint8_t* const frame = detector._frameStatistics.FrameOfAge(age);
        frame[block] = static_cast<std::uint8_t>(colour.y);
        frame[detector._frameStatistics._secondPlaneOffset + block] = static_cast<std::uint8_t>(colour.cb);
        frame[detector._frameStatistics._thirdPlaneOffset + block] = static_cast<std::uint8_t>(colour.cr);
    }

    void SetBackground(int block, Colour colour) {
        detector._isBackground[block] = 255;
        detector._backgroundY[block] = static_cast<std::uint8_t>(colour.y);
        detector._backgroundCb[block] = static_cast<std::uint8_t>(colour.cb);
        detector._backgroundCr[block] = static_cast<std::uint8_t>(colour.cr);
    }

    Bytes Objects() const { return Copied(detector._isObject, detector.blockCount); }
    Bytes MotionPixels() const { return Copied(detector._isMotionPixel, detector.blockCount); }

    bool RanStandardVariant() const { return detector._isObject[0] != 9 && detector._isMotionPixel[0] == 9; }
    bool RanOtherVariant() const { return detector._isObject[0] != 9 && detector._isMotionPixel[0] != 9; }

    // A record whose reference luma is the given one.
    DetectionInfo* InfoWith(Bytes luma) {
        reference = std::move(luma);
        info.mpeg4ReferenceLuma = reference.data();
        return &info;
    }

    Bytes reference;
    DetectionInfo info{};
};

// ---- Choice --------------------------------------------------------------------------------------------------------

TEST_F(ForegroundTest, NothingIsWrittenBeforeTheRingIsFilled) {
    for (const bool isMPEG4 : {false, true}) {
        UseBlocks(2);
        detector._frameStatistics._isFilled = false;
        detector._isMPEG4 = isMPEG4;
        detector.FindForeground(InfoWith({0, 0}));
        EXPECT_EQ(Objects(), (Bytes{9, 9}));
        EXPECT_EQ(MotionPixels(), (Bytes{9, 9}));
    }
}

TEST_F(ForegroundTest, CompletePicturesTakeTheStandardVariant) {
    for (const bool isIFrame : {false, true}) {
        UseBlocks(2);
        detector._isIFrame = isIFrame;
        detector.FindForeground(InfoWith({0, 0}));
        EXPECT_TRUE(RanStandardVariant());
    }
}

TEST_F(ForegroundTest, MPEG4IFrameTakesTheStandardVariantUnlessOverridden) {
    for (const bool isIFrame : {false, true}) {
        for (const bool isOverridden : {false, true}) {
            UseBlocks(2);
            detector._isMPEG4 = true;
            detector._isIFrame = isIFrame;
            detector._mpeg4IFrameOverride = isOverridden;
            detector.FindForeground(InfoWith({0, 0}));
            EXPECT_EQ(RanStandardVariant(), isIFrame && !isOverridden);
            EXPECT_EQ(RanOtherVariant(), !isIFrame || isOverridden);
        }
    }
}

TEST_F(ForegroundTest, PartlyDecodedInputComesBeforeEverythingElse) {
    UseBlocks(2);
    detector._h264PartlyIsOptimized = true;
    detector._isMPEG4 = detector._isIFrame = true;
    detector._frameStatistics._isFilled = false;
    detector._frameStatistics._position = 2;
    detector.FindForeground(&info);  // as a P-frame: it writes both masks
    EXPECT_TRUE(RanOtherVariant());
}

// ---- Standard variant ----------------------------------------------------------------------------------------------

TEST_F(ForegroundTest, LumaAsFarAsItsNoiseIsBackground) {
    UseBlocks(8);
    const int lumas[] = {120, 121, 80, 79};
    for (int i = 0; i < 4; ++i) {
        SetColour(0, i, {.y = lumas[i]});  // the frame before is 100
        SetColour(0, 4 + i, {.y = lumas[i]});
        SetColour(1, 4 + i, {.y = lumas[i]});
        SetBackground(4 + i, {});
    }
    detector.FindForegroundStandart();
    EXPECT_EQ(Objects(), (Bytes{0, 255, 0, 255, 0, 255, 0, 255}));
}

TEST_F(ForegroundTest, FractionsOfNoiseCount) {
    UseBlocks(4);
    for (int i = 0; i < 4; ++i) detector._noiseLevel[i] = i % 2 ? 13.0f : 13.5f;
    for (int i = 0; i < 4; ++i) SetColour(0, i, {.y = i < 2 ? 113 : 114});
    detector.FindForegroundStandart();
    EXPECT_EQ(Objects(), (Bytes{0, 0, 255, 255}));
}

TEST_F(ForegroundTest, ChromaTenLevelsAwayIsBackgroundElevenIsForeground) {
    const Colour colours[] = {{.cb = 138}, {.cb = 139}, {.cb = 118}, {.cb = 117},
                              {.cr = 138}, {.cr = 139}, {.cr = 118}, {.cr = 117}};
    for (const bool isKnown : {false, true}) {
        UseBlocks(8);
        for (int i = 0; i < 8; ++i) {
            SetColour(0, i, colours[i]);
            if (!isKnown) continue;
            SetColour(1, i, colours[i]);
            SetBackground(i, {});
        }
        detector.FindForegroundStandart();
        EXPECT_EQ(Objects(), (Bytes{0, 255, 0, 255, 0, 255, 0, 255})) << isKnown;
    }
}

TEST_F(ForegroundTest, KnownBlockIsComparedWithItsBackgroundOnly) {
    UseBlocks(2);
    SetBackground(0, {});
    SetColour(1, 0, {.y = 250, .cb = 0, .cr = 0});   // the frame before is far away
    SetBackground(1, {.y = 250, .cb = 0, .cr = 0});  // the background is
    detector.FindForegroundStandart();
    EXPECT_EQ(Objects(), (Bytes{0, 255}));
}

TEST_F(ForegroundTest, FlagOfAKnownBlockIsAnyNonZeroByte) {
    UseBlocks(2);
    SetBackground(0, {.y = 200});
    SetBackground(1, {.y = 200});
    detector._isBackground[0] = 1;
    detector._isBackground[1] = 0;
    detector.FindForegroundStandart();
    EXPECT_EQ(Objects(), (Bytes{255, 0}));
}

TEST_F(ForegroundTest, StandardVariantLeavesMotionPixels) {
    UseBlocks(3);
    detector._isMotionPixel[0] = 0;
    detector._isMotionPixel[1] = 255;
    SetColour(0, 0, {.y = 200});
    detector.FindForegroundStandart();
    EXPECT_EQ(Objects(), (Bytes{255, 0, 0}));
    EXPECT_EQ(MotionPixels(), (Bytes{0, 255, 9}));
}

// ---- MPEG-4 variant ------------------------------------------------------------------------------------------------

TEST_F(ForegroundTest, MPEG4WithoutReferenceLeavesBothMasks) {
    UseBlocks(2);
    SetBackground(0, {.y = 200});
    detector.FindForegroundOptimyzedForMPEG4(&info);
    EXPECT_EQ(Objects(), (Bytes{9, 9}));
    EXPECT_EQ(MotionPixels(), (Bytes{9, 9}));
}

TEST_F(ForegroundTest, MPEG4StreamWithoutReferencesHasNoForeground) {
    Frame dark(4, 3), bright(4, 3, 200);
    for (Frame* frame : {&dark, &bright}) {
        frame->info.isMPEG4 = 1;
        frame->info.isIFrame = 0;
    }
    FillRing(dark);
    Feed(bright, 1);
    EXPECT_EQ(Objects(), Bytes(12, 0));
    EXPECT_EQ(detector._mergedPool._busyList._objectsCount, 0);
}

TEST_F(ForegroundTest, MPEG4UnknownBlockIsComparedWithTheReferenceLumaAlone) {
    UseBlocks(5);
    SetColour(0, 3, {.y = 100, .cb = 0, .cr = 255});  // chroma is not asked
    SetColour(1, 4, {.y = 250});                      // nor is the frame before
    detector.FindForegroundOptimyzedForMPEG4(InfoWith({120, 121, 79, 80, 100}));
    EXPECT_EQ(Objects(), (Bytes{0, 255, 255, 0, 0}));
    EXPECT_EQ(MotionPixels(), (Bytes{0, 255, 255, 0, 0}));
}

TEST_F(ForegroundTest, MPEG4KnownBlockIsComparedWithItsBackgroundInAllPlanes) {
    UseBlocks(7);
    for (int i = 0; i < 7; ++i) SetBackground(i, {});
    SetColour(0, 1, {.y = 120});
    SetColour(0, 2, {.y = 121});
    SetColour(0, 3, {.cb = 138});
    SetColour(0, 4, {.cb = 139});
    SetColour(0, 5, {.cr = 118});
    SetColour(0, 6, {.cr = 117});
    detector.FindForegroundOptimyzedForMPEG4(InfoWith(Bytes(7, 255)));  // a reference far away is not asked
    EXPECT_EQ(Objects(), (Bytes{0, 0, 255, 0, 255, 0, 255}));
    EXPECT_EQ(MotionPixels(), (Bytes{0, 0, 255, 0, 255, 0, 255}));
}

}  // namespace
