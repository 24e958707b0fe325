// Does a partly decoded H.264 stream come out as it should: background from I-frames, motion from P-frames, I-frames helping
// out when P-frames tell nothing?  Whole scenes through the C interface.
#include <cstdint>

#include <gtest/gtest.h>

#include "PlayedScene.h"

using Kit::InputKind;
using Kit::oneSecond;
using Kit::Picture;
using Kit::Rectangle;

namespace {

constexpr int columns = 24, rows = 18;
constexpr Rectangle thing{5, 4, 6, 5}, corner{16, 11, 4, 4};

Picture Ground() {
    Kit::SeededRandom random(5);
    return Kit::Texture(columns, rows, random, 70, 130);
}

Picture With(Picture picture, Rectangle r) {
    Kit::Fill(picture, r, 185);
    return picture;
}

// Half a second from frame to frame: frame k is at k / 2 s.
class PartlyScene : public PlayedScene {
public:
    PartlyScene() : PlayedScene(InputKind::PartlyH264, oneSecond / 2, Ground()) {}

    Kit::FrameResult ShowI(const Picture& picture) {
        feed.isIFrame = true;
        return Show(picture);
    }
    Kit::FrameResult ShowP(const Picture& picture) {
        feed.isIFrame = false;
        return Show(picture);
    }
    bool IsMachineOn() const { return detector._h264PartlyStatistic._analyseIFramesForMotion; }
};

}  // namespace

// An I-frame every five frames. 600 frames: frame skipping goes through all phases, the machine is turned on for want of
// motion (40 s), off by more than 120 P-frames with motion, on again for want of P-frames (10 s).
TEST(PipelinePartly, MachineGoesThroughAllItsTransitions) {
    PartlyScene scene;

    // Both times start with frame 5 (2.5 s), the second I-frame. 40 s later is frame 85; frame 86 is more, and a P-frame.
    while (scene.shown < 86) {
        const int frame = scene.shown;
        const Kit::FrameResult result = frame % 5 == 0 ? scene.ShowI(scene.ground) : scene.ShowP(scene.ground);
        EXPECT_EQ(result.zoneStatus, frame < 50 ? COREMD_NOT_READY : COREMD_DELIVERED) << frame;  // eleven I-frames
        EXPECT_EQ(scene.KnownBlocks(), frame < 50 ? 0 : columns * rows) << frame;                 // 15 s are long over
        EXPECT_FALSE(scene.IsMachineOn()) << frame;
    }
    scene.ShowP(scene.ground);
    EXPECT_TRUE(scene.IsMachineOn());

    // On: an I-frame is compared with the background. The P-frames look like it, and show no motion.
    while (scene.shown < 90) scene.ShowP(scene.ground);
    ExpectOnly(scene.ShowI(With(scene.ground, thing)), scene.ground, thing);
    while (scene.shown < 95) EXPECT_TRUE(scene.ShowP(With(scene.ground, thing)).objects.empty());
    EXPECT_TRUE(scene.ShowI(scene.ground).objects.empty());
    while (scene.shown < 100) scene.ShowP(scene.ground);

    // Four P-frames with motion in five frames: the 120th is frame 249, the 121st is frame 251 and too many.
    while (scene.shown <= 251) {
        const int frame = scene.shown;
        EXPECT_TRUE(scene.IsMachineOn()) << frame;
        if (frame % 5 == 0) EXPECT_TRUE(scene.ShowI(scene.ground).objects.empty());
        else ExpectOnly(scene.ShowP(With(scene.ground, thing)), scene.ground, thing);
    }
    EXPECT_FALSE(scene.IsMachineOn());
    EXPECT_EQ(scene.detector._h264PartlyStatistic._pFrameMotionCount, 121);

    // Off: an I-frame leaves the foreground of the P-frame before it.
    while (scene.shown < 255) scene.ShowP(With(scene.ground, thing));
    ExpectOnly(scene.ShowI(scene.ground), scene.ground, thing);
    while (scene.shown < 260) EXPECT_TRUE(scene.ShowP(scene.ground).objects.empty());

    // I-frames only. The last P-frame is frame 259; 10 s later is frame 279, frame 280 is more.
    while (scene.shown < 280) {
        scene.ShowI(scene.ground);
        EXPECT_FALSE(scene.IsMachineOn());
    }
    ExpectOnly(scene.ShowI(With(scene.ground, thing)), scene.ground, thing);
    EXPECT_TRUE(scene.IsMachineOn());
    while (scene.shown < 300) EXPECT_TRUE(scene.ShowI(scene.ground).objects.empty());

    // The corner flickers from I-frame 305 on. I-frame 300 was the last to refresh it: I-frame 420 is exactly 60 s later,
    // I-frame 425 is more.
    while (scene.shown < 600) {
        const int frame = scene.shown, group = frame / 5;
        const bool isBright = group >= 61 && group % 2 == 1;
        const Picture picture = isBright ? With(scene.ground, corner) : scene.ground;
        if (frame % 5 == 0) scene.ShowI(picture);
        else EXPECT_TRUE(scene.ShowP(picture).objects.empty());
        EXPECT_EQ(scene.KnownBlocksIn(corner), frame < 425 ? 16 : 0) << frame;
    }
    EXPECT_EQ(scene.KnownBlocks(), columns * rows - 16);
    EXPECT_EQ(scene.watch.phases, allPhases);
    EXPECT_EQ(scene.watch.machineTurnedOn, 2);
    EXPECT_EQ(scene.watch.machineTurnedOff, 1);
    EXPECT_EQ(scene.watch.confirmed, columns * rows);
    EXPECT_EQ(scene.watch.forgotten, 16);
}

// P-frames are compared with the last I-frame alone: where a thing was in it, and where it is now.
TEST(PipelinePartly, PFrameShowsWhatDiffersFromTheLastIFrame) {
    PartlyScene scene;
    while (scene.shown < 55) scene.ShowI(scene.ground);
    const Rectangle moved{14, 10, 6, 5};
    scene.ShowI(With(scene.ground, thing));
    const Kit::FrameResult result = scene.ShowP(With(scene.ground, moved));
    ASSERT_EQ(result.objects.size(), 2u);
    EXPECT_EQ(result.objects[0].left, thing.left);
    EXPECT_EQ(result.objects[0].blocks, 30);
    EXPECT_EQ(result.objects[1].left, moved.left);
    EXPECT_EQ(result.objects[1].blocks, 30);
}

// A reference between 40 and 190 must be left by more than 15 grey levels, one outside by more than 31.499998.
TEST(PipelinePartly, DarkAndBrightReferencesTolerateTwiceAsMuch) {
    PartlyScene scene;
    const Rectangle dark{2, 2, 3, 3}, bright{8, 2, 3, 3}, middle{14, 2, 3, 3};
    Kit::Fill(scene.ground, dark, 39);
    Kit::Fill(scene.ground, bright, 191);
    Kit::Fill(scene.ground, middle, 100);
    while (scene.shown < 15) scene.ShowI(scene.ground);
    for (const int difference : {15, 16, 31, 32}) {
        Picture frame = scene.ground;
        for (const Rectangle r : {dark, bright, middle}) Kit::Brighten(frame, r, difference);
        const Kit::FrameResult result = scene.ShowP(frame);
        EXPECT_EQ(result.objects.size(), difference == 15 ? 0u : difference < 32 ? 1u : 3u) << difference;
    }
}

// Slow learning asks for more than 30 s instead of 15: I-frame 60 is at exactly 30 s.
TEST(PipelinePartly, SlowLearningWaitsTwiceAsLong) {
    PartlyScene scene;
    h36(scene.host.Handle(), 1);
    while (scene.shown < 66) {
        const int frame = scene.shown;
        frame % 5 == 0 ? scene.ShowI(scene.ground) : scene.ShowP(scene.ground);
        EXPECT_EQ(scene.KnownBlocks(), frame < 65 ? 0 : columns * rows) << frame;
    }
}

// Chroma is not learned in this mode: the picture shows luma with the two chroma planes at 0.
TEST(PipelinePartly, BackgroundPictureHasTheLumaOfTheScene) {
    PartlyScene scene;
    while (scene.shown < 60) scene.ShowI(scene.ground);
    for (std::size_t i = 0; i < scene.ground.Size(); ++i) {
        EXPECT_EQ(scene.detector._backgroundY[i], scene.ground.Planes()[i]);
        EXPECT_EQ(scene.detector._backgroundCb[i], 0);
        EXPECT_EQ(scene.detector._backgroundCr[i], 0);
    }
}
