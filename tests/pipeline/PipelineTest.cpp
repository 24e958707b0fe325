// Does a stream of complete pictures come out as it should, from the first frame to a background that is learned, followed,
// replaced and forgotten?  Whole scenes through the C interface; every number of a frame is derived beside it.
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include <gtest/gtest.h>

#include "PlayedScene.h"

using Kit::InputKind;
using Kit::oneSecond;
using Kit::Picture;
using Kit::Rectangle;

namespace {

constexpr int columns = 32, rows = 24;
constexpr std::int64_t fifth = oneSecond / 5;  // from frame to frame: frame k is at k / 5 s

Picture Ground() {
    Kit::SeededRandom random(1);
    return Kit::Texture(columns, rows, random, 60, 120);
}

Rectangle Moved(Rectangle r, int right) { return {r.left + right, r.top, r.width, r.height}; }

// Full-range conversion in real numbers; the picture rounds in between.
void ExpectBackgroundLooksLike(PlayedScene& scene, const Picture& picture) {
    const Kit::BackgroundPicture background = scene.host.Background();
    Kit::ForEachBlock(picture, picture.Whole(), [&](int x, int y) {
        const std::uint8_t* const bgr = &background.bgr[3 * picture.IndexOf(x, y)];
        const double cb = picture.Cb(x, y) - 128.0, cr = picture.Cr(x, y) - 128.0, luma = picture.Y(x, y);
        ASSERT_NEAR(bgr[0], luma + 1.772 * cb, 1.0) << x << ' ' << y;
        ASSERT_NEAR(bgr[1], luma - 0.34414 * cb - 0.71414 * cr, 1.0) << x << ' ' << y;
        ASSERT_NEAR(bgr[2], luma + 1.402 * cr, 1.0) << x << ' ' << y;
    });
}

}  // namespace

// The ring is full with frame 10. Quiet since frame 0, a block may become background after more than 5 s: frame 25 is at
// exactly 5 s, frame 26 confirms (its sample was taken at frame 22, 16 and 10 having been renewed after more than 1 s).
TEST(Pipeline, StillSceneIsLearnedWithTheFirstFrameAfterFiveSeconds) {
    PlayedScene scene(InputKind::Standard, fifth, Ground());
    for (int frame = 0; frame <= 26; ++frame) {
        const Kit::FrameResult result = scene.Show(scene.ground);
        EXPECT_EQ(result.summaryStatus, frame < 10 ? COREMD_NOT_READY : COREMD_DELIVERED) << frame;
        EXPECT_EQ(result.zoneStatus, frame < 10 ? COREMD_NOT_READY : COREMD_DELIVERED) << frame;
        EXPECT_EQ(result.summary.zoneResultsCount, frame < 10 ? 0 : 1) << frame;
        EXPECT_EQ(scene.KnownBlocks(), frame < 26 ? 0 : columns * rows) << frame;
        EXPECT_TRUE(result.objects.empty()) << frame;
    }
    ExpectBackgroundLooksLike(scene, scene.ground);
}

TEST(Pipeline, UnknownBackgroundIsMagenta) {
    PlayedScene scene(InputKind::Standard, fifth, Ground());
    scene.ShowGroundUntil(20);
    const Kit::BackgroundPicture background = scene.host.Background();
    for (std::size_t i = 0; i < background.isKnown.size(); ++i) {
        ASSERT_EQ(background.isKnown[i], 0);
        ASSERT_EQ(background.bgr[3 * i], 255);
        ASSERT_EQ(background.bgr[3 * i + 1], 0);
        ASSERT_EQ(background.bgr[3 * i + 2], 255);
    }
}

// Two columns a frame: against the frame 4 frames ago every block of the rectangle is new, so that its box is whole.
TEST(Pipeline, MovingRectangleIsOneObjectAndLeavesNothing) {
    PlayedScene scene(InputKind::Standard, fifth, Ground());
    Kit::SeededRandom random(2);
    scene.ShowGroundUntil(60);
    const Rectangle start{2, 9, 6, 4};
    for (int step = 0; step < 12; ++step) {
        Picture frame = scene.ground;
        Kit::AddNoise(frame, random, 1, 4);
        const Rectangle now = Moved(start, 2 * step);
        Kit::Fill(frame, now, 200);
        ExpectOnly(scene.Show(frame), frame, now);
    }
    for (int frame = 0; frame < 10; ++frame) EXPECT_TRUE(scene.Show(scene.ground).objects.empty()) << frame;
    ExpectBackgroundLooksLike(scene, scene.ground);
}

// One column a frame: its first two columns look as they did 1, 2 and 4 frames ago. Only when h35 lifts the limit do they
// belong to the object.
TEST(Pipeline, SlowRectangleIsLimitedToWhatMovedJustNow) {
    PlayedScene scene(InputKind::Standard, fifth, Ground());
    scene.ShowGroundUntil(60);
    const Rectangle start{1, 6, 6, 4};
    for (int step = 0; step < 20; ++step) {
        Picture frame = scene.ground;
        const Rectangle now = Moved(start, step);
        Kit::Fill(frame, now, 200);
        if (step == 10) h35(scene.host.Handle(), 1);
        const Kit::FrameResult result = scene.Show(frame);
        if (step < 4) continue;
        ExpectOnly(result, frame, step < 10 ? Rectangle{now.left + 2, now.top, 4, now.height} : now);
    }
}

TEST(Pipeline, ObjectsStayApartAndZonesCutThem) {
    PlayedScene scene(InputKind::Standard, fifth, Ground());
    h11(scene.host.Handle());
    std::uint8_t leftHalf[] = {1, 0};
    scene.host.AddZone(leftHalf, 2);
    scene.ShowGroundUntil(60);
    Picture frame = scene.ground;
    for (const Rectangle r : {Rectangle{2, 2, 4, 3}, Rectangle{2, 9, 3, 3}, Rectangle{14, 16, 5, 4}, Rectangle{22, 2, 4, 4}})
        Kit::Fill(frame, r, 210);
    const Kit::FrameResult result = scene.Show(frame);
    ASSERT_EQ(result.objects.size(), 3u);  // in the order of their first blocks; the third is cut at column 16
    EXPECT_EQ(result.objects[0].blocks, 12);
    EXPECT_EQ(result.objects[1].blocks, 9);
    EXPECT_EQ(result.objects[2].blocks, 8);
    EXPECT_EQ(result.objects[2].right, 15);
    EXPECT_EQ(result.labels[frame.IndexOf(2, 9)], 2);
    EXPECT_EQ(result.labels[frame.IndexOf(16, 17)], 0);
    EXPECT_EQ(result.labels[frame.IndexOf(23, 3)], 0);
}

// A thing comes, stands, becomes background, and leaves; a corner flickers for more than a minute and is forgotten.
TEST(Pipeline, BackgroundIsReplacedAndForgotten) {
    PlayedScene scene(InputKind::Standard, fifth, Ground());
    h35(scene.host.Handle(), 1);
    Kit::SeededRandom random(3);
    const Rectangle thing{12, 8, 5, 4}, corner{24, 18, 5, 5};
    const auto show = [&](bool hasThing, bool isBright) {
        Picture frame = scene.ground;
        Kit::AddNoise(frame, random, 1, 6);
        if (hasThing) Kit::Fill(frame, thing, 200, 110, 150);
        if (isBright) Kit::Fill(frame, corner, 240);
        return scene.Show(frame);
    };
    while (scene.shown < 100) show(false, false);
    EXPECT_EQ(scene.KnownBlocks(), columns * rows);

    // It changes frames 100 to 103 (seen from age 4) and is quiet for more than 5 s with frame 103 + 26.
    while (scene.shown < 130) {
        const int frame = scene.shown;
        const Kit::FrameResult result = show(true, false);
        if (frame < 129) ExpectOnly(result, scene.ground, thing);
        else EXPECT_TRUE(result.objects.empty());
        EXPECT_EQ(scene.KnownBlocks(), columns * rows);
    }
    Picture withThing = scene.ground;
    Kit::Fill(withThing, thing, 200, 110, 150);
    const Kit::BackgroundPicture replaced = scene.host.Background();
    Kit::ForEachBlock(withThing, thing, [&](int x, int y) {
        EXPECT_NEAR(replaced.bgr[3 * withThing.IndexOf(x, y) + 2], 200 + 1.402 * 22, 2.0);
    });

    while (scene.shown < 200) show(true, false);
    while (scene.shown < 229) ExpectOnly(show(false, false), scene.ground, thing);  // its ghost, learned away as above
    EXPECT_TRUE(show(false, false).objects.empty());

    // The corner was last refreshed by frame 239: frame 240 makes it unstable. 60 s later is frame 539, not yet too late.
    while (scene.shown < 240) show(false, false);
    EXPECT_EQ(scene.KnownBlocksIn(corner), 25);
    while (scene.shown < 540) show(false, scene.shown % 2 == 0);
    EXPECT_EQ(scene.KnownBlocksIn(corner), 25);
    show(false, true);
    EXPECT_EQ(scene.KnownBlocksIn(corner), 0);
    EXPECT_EQ(scene.KnownBlocks(), columns * rows - 25);
    EXPECT_EQ(scene.detector._noiseLevel[scene.ground.IndexOf(corner.left, corner.top)], 21.0f);

    while (scene.shown < 640) show(false, false);
    EXPECT_EQ(scene.KnownBlocks(), columns * rows);
    EXPECT_EQ(scene.watch.phases, allPhases);
    EXPECT_EQ(scene.watch.skipped, 0);
    EXPECT_EQ(scene.watch.forgotten, 25);
    EXPECT_EQ(scene.watch.confirmed, columns * rows + 25);
    EXPECT_GT(scene.watch.refreshed, 100000);
    EXPECT_GT(scene.watch.sampled, 50000);
    EXPECT_GT(scene.watch.unstable, 25 * 300);
    EXPECT_GE(scene.watch.changed, 25 * 7 + 2 * 20 * 4);  // flicker until it is taken for noise, thing and ghost
}

// Light that rises by one grey level every 4 s is followed by refreshes, without any block being lost or confirmed anew.
TEST(Pipeline, BackgroundFollowsTheLight) {
    PlayedScene scene(InputKind::Standard, fifth, Ground());
    scene.ShowGroundUntil(60);
    Picture frame = scene.ground;
    for (int minute = 0; minute < 20; ++minute) {
        Kit::Brighten(frame, frame.Whole(), 1);
        for (int i = 0; i < 20; ++i) EXPECT_TRUE(scene.Show(frame).objects.empty());
    }
    ExpectBackgroundLooksLike(scene, frame);
    EXPECT_EQ(scene.watch.confirmed, columns * rows);
    EXPECT_EQ(scene.watch.forgotten, 0);
}

// Slow learning: a settled thing stays an object until its place was forgotten, a minute after the last refresh. Refreshes
// come at most every 2 s: the last one lies between frame 48 and frame 59.
TEST(Pipeline, SlowLearningKeepsASettledThingForAMinute) {
    PlayedScene scene(InputKind::Standard, fifth, Ground());
    h36(scene.host.Handle(), 1);
    scene.ShowGroundUntil(60);
    EXPECT_EQ(scene.KnownBlocks(), columns * rows);
    const Rectangle thing{12, 8, 5, 4};
    Picture frame = scene.ground;
    Kit::Fill(frame, thing, 200);
    while (scene.shown <= 48 + 300) ExpectOnly(scene.Show(frame), frame, thing);
    while (scene.shown < 420) scene.Show(frame);
    EXPECT_TRUE(scene.Show(frame).objects.empty());
    EXPECT_EQ(scene.KnownBlocks(), columns * rows);
    EXPECT_EQ(scene.watch.forgotten, 20);
    EXPECT_EQ(scene.watch.phases, allPhases);
}

// At 5 frames per second, frames a fifth of a second apart are never more than one nominal interval after the last one that
// taught: in all phases but 0, every second frame is skipped. A phase is 66 frames that teach; frame 10 is the first.
TEST(Pipeline, EverySecondFrameIsSkippedOutsidePhaseZero) {
    PlayedScene scene(InputKind::Standard, fifth, Ground());
    scene.feed.fps = 5.0;
    int phase = 0, nextEntry = 10 + 65;
    while (scene.shown < 800) {
        const int frame = scene.shown;
        scene.Show(scene.ground);
        if (frame == nextEntry) {
            phase = (phase + 1) % 6;
            nextEntry += phase == 0 ? 66 : 132;
        }
        ASSERT_EQ(scene.detector._skipPhase, phase) << frame;
    }
    EXPECT_EQ(scene.watch.phases, allPhases);
    EXPECT_EQ(scene.watch.skipped, 5 * 66);  // up to frame 735, which enters phase 0; 65 frames of phase 0 remain
    EXPECT_EQ(phase, 0);
}
