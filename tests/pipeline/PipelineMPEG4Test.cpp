// Does a stream of MPEG-4 frames come out as it should: reference luma between the complete pictures, a background that is
// wiped once per cycle of frame skipping, flags that the cycle overrides?  Whole scenes through the C interface.
#include <cstdint>

#include <gtest/gtest.h>

#include "PlayedScene.h"

using Kit::InputKind;
using Kit::oneSecond;
using Kit::Picture;
using Kit::Rectangle;

namespace {

constexpr int columns = 24, rows = 18;
constexpr int firstUpdate = 10, framesPerPhase = 66;          // no frame is skipped at these times
constexpr int phaseEntry = firstUpdate + framesPerPhase - 1;  // frame 75 enters phase 1
constexpr int wrap = phaseEntry + 5 * framesPerPhase;         // frame 405 enters phase 0
constexpr Rectangle corner{16, 12, 4, 4};

Picture Ground() {
    Kit::SeededRandom random(4);
    return Kit::Texture(columns, rows, random, 60, 120);
}

class MPEG4Scene : public PlayedScene {
public:
    MPEG4Scene() : PlayedScene(InputKind::MPEG4, oneSecond / 5, Ground()) {}

    // Without a word about it, frames between the complete pictures refer to the ground.
    Kit::FrameResult ShowP(const Picture& picture) {
        feed.isIFrame = false;
        feed.Refer(ground);
        return Show(picture);
    }
    Kit::FrameResult ShowI(const Picture& picture) {
        feed.isIFrame = true;
        return Show(picture);
    }
};

}  // namespace

// 470 frames. Complete pictures where the cycle turns the flag off, none where it turns it on.
TEST(PipelineMPEG4, CycleOverridesTheFlagAndWipesTheBackground) {
    MPEG4Scene scene;
    while (scene.shown < 470) {
        const int frame = scene.shown;
        const bool entersPhase = frame >= phaseEntry && (frame - phaseEntry) % framesPerPhase == 0;
        const bool isIFrame = frame == wrap ? false : entersPhase || frame % 10 == 0;
        Picture picture = scene.ground;
        // From frame 380 on the corner flickers: when the cycle wraps, it is not stable and cannot be confirmed at once.
        if (frame >= 380 && frame % 2 == 0) Kit::Fill(picture, corner, 240);
        const Kit::FrameResult result = isIFrame ? scene.ShowI(picture) : scene.ShowP(picture);

        EXPECT_EQ(result.summary.isIFrame, frame == wrap ? 1 : entersPhase ? 0 : isIFrame) << frame;
        if (frame == 379 || frame == wrap - 1) {
            EXPECT_EQ(scene.KnownBlocks(), columns * rows) << frame;
        }
        if (frame >= wrap) {
            EXPECT_EQ(scene.KnownBlocks(), columns * rows - 16) << frame;
            EXPECT_EQ(scene.KnownBlocksIn(corner), 0) << frame;
        }
    }
    EXPECT_EQ(scene.watch.phases, allPhases);
    EXPECT_EQ(scene.watch.forgotten, 16);
}

// Between complete pictures the second mask is the foreground itself: nothing is trimmed from a slow rectangle. In complete
// pictures it is what changed: the first two of six columns look as they did 1, 2 and 4 frames ago.
TEST(PipelineMPEG4, SlowRectangleIsWholeBetweenCompletePictures) {
    MPEG4Scene scene;
    while (scene.shown < 60) scene.ShowP(scene.ground);
    for (int step = 0; step < 14; ++step) {
        Picture frame = scene.ground;
        const Rectangle now{1 + step, 5, 6, 4};
        Kit::Fill(frame, now, 200);
        const bool isIFrame = step % 5 == 4;
        const Kit::FrameResult result = isIFrame ? scene.ShowI(frame) : scene.ShowP(frame);
        ExpectOnly(result, frame, isIFrame ? Rectangle{now.left + 2, now.top, 4, now.height} : now);
    }
    EXPECT_TRUE(scene.ShowP(scene.ground).objects.empty());
}

// Before anything is learned, luma alone counts, against the reference: not against the frame before, and no chroma.
TEST(PipelineMPEG4, UnknownBlocksAreComparedWithTheReference) {
    MPEG4Scene scene;
    while (scene.shown < 15) scene.ShowP(scene.ground);
    Picture frame = scene.ground;
    const Rectangle thing{4, 4, 5, 5};
    Kit::Fill(frame, thing, 200);
    ExpectOnly(scene.ShowP(frame), frame, thing);
    ExpectOnly(scene.ShowP(frame), frame, thing);  // still: the frame before would hide it

    scene.feed.Refer(frame);
    scene.feed.isIFrame = false;
    EXPECT_TRUE(scene.Show(frame).objects.empty());

    // Six grey levels are below the noise, but too many for a stable block: a stable one would learn the colour at once.
    Picture coloured = scene.ground;
    Kit::Brighten(coloured, thing, 6);
    Kit::ForEachBlock(coloured, thing, [&](int x, int y) { coloured.Cb(x, y) = 250; });
    scene.ShowP(scene.ground);
    EXPECT_TRUE(scene.ShowP(coloured).objects.empty());
    EXPECT_EQ(scene.KnownBlocks(), 0);

    while (scene.shown < 100) scene.ShowP(scene.ground);
    EXPECT_EQ(scene.KnownBlocks(), columns * rows);
    Picture onlyBrighter = scene.ground;
    Kit::Brighten(onlyBrighter, thing, 6);
    EXPECT_TRUE(scene.ShowP(onlyBrighter).objects.empty());
    ExpectOnly(scene.ShowP(coloured), coloured, thing);  // against a known background the chroma counts
}

// Without a reference the foreground stays what it was one frame ago. The rectangle has left, which is a change of all its
// blocks: they are still an object.
TEST(PipelineMPEG4, MissingReferenceKeepsTheForeground) {
    MPEG4Scene scene;
    while (scene.shown < 60) scene.ShowP(scene.ground);
    Picture frame = scene.ground;
    const Rectangle thing{4, 4, 5, 5};
    Kit::Fill(frame, thing, 200);
    scene.ShowP(frame);
    scene.feed.referenceLuma.clear();
    ExpectOnly(scene.Show(scene.ground), frame, thing);
    EXPECT_TRUE(scene.ShowP(scene.ground).objects.empty());
    scene.feed.referenceLuma.clear();
    EXPECT_TRUE(scene.Show(frame).objects.empty());
}
