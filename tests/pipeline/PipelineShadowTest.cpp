// Does a stream with shadow detection come out as it should: shadows leave the foreground, things stay?  Whole scenes
// through the C interface.
#include <cstdint>

#include <gtest/gtest.h>

#include "PlayedScene.h"

using Kit::InputKind;
using Kit::oneSecond;
using Kit::Picture;
using Kit::Rectangle;

namespace {

constexpr int columns = 32, rows = 24;

Picture Ground() {
    Kit::SeededRandom random(6);
    return Kit::Texture(columns, rows, random, 90, 150);
}

class ShadowScene : public PlayedScene {
public:
    ShadowScene() : PlayedScene(InputKind::StandardWithShadows, oneSecond / 5, Ground()) { ShowGroundUntil(60); }
};

// The thing's chroma differs by 80 from the ground's, give or take 10: its blocks score at least 150 * 0.01 * (70 - 6) * 2.
Picture WithThing(Picture picture, Rectangle r) {
    Kit::Fill(picture, r, 215, 208, 208);
    return picture;
}

void ExpectZoneMap(const Kit::FrameResult& result, const Picture& picture, Rectangle motion, Rectangle shadow) {
    Kit::ForEachBlock(picture, picture.Whole(), [&](int x, int y) {
        const int expected = motion.Contains(x, y) ? 1 : shadow.Contains(x, y) ? 2 : 0;
        EXPECT_EQ(result.zoneMap[picture.IndexOf(x, y)], expected) << x << ' ' << y;
    });
}

constexpr Rectangle nothing{0, 0, 0, 0};

}  // namespace

// 80 % of the light: a step of ln 0.8 = -0.22 at the edges only, four of them in the window of a corner at most; 75 times
// 0.89 leaves room below 100 for what rounding adds. Luma falls by 18 and more, beyond the noise of 10.
TEST(PipelineShadow, MovingShadowIsDropped) {
    ShadowScene scene;
    EXPECT_EQ(scene.detector._noiseLevel[0], 10.0f);
    for (int step = 0; step < 10; ++step) {
        Picture frame = scene.ground;
        const Rectangle shadow{2 + 2 * step, 8, 7, 6};
        Kit::Darken(frame, shadow, 80);
        const Kit::FrameResult result = scene.Show(frame);
        EXPECT_TRUE(result.objects.empty()) << step;
        ExpectZoneMap(result, frame, nothing, shadow);
    }
}

TEST(PipelineShadow, SameShadowIsAnObjectWithoutShadowDetection) {
    PlayedScene scene(InputKind::Standard, oneSecond / 5, Ground());
    scene.ShowGroundUntil(60);
    Picture frame = scene.ground;
    const Rectangle shadow{2, 8, 7, 6};
    Kit::Darken(frame, shadow, 80);
    const Kit::FrameResult result = scene.Show(frame);
    ExpectOnly(result, frame, shadow);
    ExpectZoneMap(result, frame, nothing, nothing);  // without shadow detection the map stays empty
}

// The shadow runs two columns ahead of the thing that casts it, beyond the reach of each other's windows.
TEST(PipelineShadow, ThingStaysWhileItsShadowGoes) {
    ShadowScene scene;
    for (int step = 0; step < 8; ++step) {
        Picture frame = scene.ground;
        const Rectangle thing{2 + 2 * step, 9, 6, 5}, shadow{10 + 2 * step, 9, 5, 5};
        Kit::Darken(frame, shadow, 80);
        frame = WithThing(frame, thing);
        const Kit::FrameResult result = scene.Show(frame);
        ExpectOnly(result, frame, thing);
        ExpectZoneMap(result, frame, thing, shadow);
    }
    EXPECT_TRUE(scene.Show(scene.ground).objects.empty());
}

// Before the background is known, a change cannot be told from a shadow: it stays.
TEST(PipelineShadow, DarknessOnUnknownGroundStays) {
    PlayedScene scene(InputKind::StandardWithShadows, oneSecond / 5, Ground());
    scene.ShowGroundUntil(20);
    Picture frame = scene.ground;
    const Rectangle shadow{2, 8, 7, 6};
    Kit::Darken(frame, shadow, 80);
    const Kit::FrameResult result = scene.Show(frame);
    ExpectOnly(result, frame, shadow);
    ExpectZoneMap(result, frame, shadow, nothing);
}

// Less light is no shadow where it differs from block to block: texture counts.
TEST(PipelineShadow, NewTextureIsNoShadow) {
    ShadowScene scene;
    Picture frame = scene.ground;
    const Rectangle place{4, 4, 8, 8};
    Kit::ForEachBlock(frame, place, [&](int x, int y) {
        frame.Y(x, y) = Kit::AsByte(frame.Y(x, y) * ((x + y) % 2 ? 30 : 80) / 100);  // steps of about 1 everywhere
    });
    const Kit::FrameResult result = scene.Show(frame);
    ASSERT_EQ(result.objects.size(), 1u);
    EXPECT_GE(result.objects[0].blocks, 7 * 7);  // at its left and upper edge, windows see less of it
}

// 470 frames at a nominal rate that would skip every second frame: with shadow detection none is skipped, in any phase.
// A shadow that stays becomes background after 5 s like anything else; a shadow that flickers is forgotten after 60 s.
TEST(PipelineShadow, CycleRunsThroughAllPhasesWithoutSkipping) {
    ShadowScene scene;
    scene.feed.fps = 1.0;  // taken when the detector starts afresh
    h11(scene.host.Handle());
    scene.host.AddWholeFrame();
    Picture frame = scene.ground;
    scene.feed.nextTime = 0;  // time runs backwards
    scene.shown = 0;
    scene.ShowGroundUntil(60);
    EXPECT_EQ(scene.KnownBlocks(), columns * rows);

    const Rectangle shadow{20, 14, 6, 6}, flicker{4, 4, 5, 5};
    Kit::Darken(frame, shadow, 80);
    while (scene.shown < 470) {
        Picture shown = frame;
        if (scene.shown % 2 == 0) Kit::Darken(shown, flicker, 80);
        const bool isForgotten = scene.shown > 59 + 300;  // frame 59 was the last to refresh it
        const Kit::FrameResult result = scene.Show(shown);
        EXPECT_TRUE(isForgotten || result.objects.empty()) << scene.shown;
        EXPECT_EQ(scene.KnownBlocksIn(flicker), isForgotten ? 0 : 25) << scene.shown;
    }
    EXPECT_EQ(scene.KnownBlocksIn(shadow), 36);
    EXPECT_EQ(scene.detector._backgroundY[frame.IndexOf(22, 16)], frame.Y(22, 16));
    EXPECT_EQ(scene.watch.phases, allPhases);
    EXPECT_EQ(scene.watch.skipped, 0);
    EXPECT_EQ(scene.watch.forgotten - columns * rows, 25);  // the fresh start took the others
}
