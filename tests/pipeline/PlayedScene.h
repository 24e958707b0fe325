// How is a scene played to a detector?  The host, the feed and the watch of one whole-scene test, with the questions that
// such tests ask of a frame.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "DetectorHost.h"
#include "StateWatch.h"
#include "StreamScene.h"

class PlayedScene {
public:
    PlayedScene(Kit::InputKind kind, std::int64_t interval, Kit::Picture sceneGround)
        : ground(std::move(sceneGround)), feed(kind, interval), detector(*GetDetector(host.Handle())), watch(host.Handle()) {
        detector._skipPhase = 0;  // the phase drawn by the constructor would be 0 or 1
        host.AddWholeFrame();
    }

    Kit::FrameResult Show(const Kit::Picture& picture) {
        Kit::FrameResult result = host.Detect(feed.Next(picture));
        watch.Look();
        ++shown;
        return result;
    }

    // The bare ground, until `frame` frames were shown.
    Kit::FrameResult ShowGroundUntil(int frame) {
        Kit::FrameResult result;
        while (shown < frame) result = Show(ground);
        return result;
    }

    int KnownBlocks() { return host.Background().KnownBlocks(); }
    int KnownBlocksIn(Kit::Rectangle r) {
        int known = 0;
        const Kit::BackgroundPicture background = host.Background();
        Kit::ForEachBlock(ground, r, [&](int x, int y) { known += background.isKnown[ground.IndexOf(x, y)] != 0; });
        return known;
    }

    Kit::Picture ground;
    Kit::DetectorHost host;
    Kit::FrameFeed feed;
    MD::MotionDetector& detector;
    StateWatch watch;
    int shown = 0;  // frames; the next one has this number
};

// Exactly one object: this rectangle, all its blocks, labelled 1 in the map where nothing else is labelled.
inline void ExpectOnly(const Kit::FrameResult& result, const Kit::Picture& picture, Kit::Rectangle r) {
    ASSERT_EQ(result.objects.size(), 1u);
    const Kit::FoundObject& object = result.objects[0];
    EXPECT_EQ(object.left, r.left);
    EXPECT_EQ(object.right, r.left + r.width - 1);
    EXPECT_EQ(object.top, r.top);
    EXPECT_EQ(object.bottom, r.top + r.height - 1);
    EXPECT_EQ(object.blocks, r.width * r.height);
    for (std::size_t i = 0; i < object.xs.size(); ++i) EXPECT_TRUE(r.Contains(object.xs[i], object.ys[i]));
    Kit::ForEachBlock(picture, picture.Whole(), [&](int x, int y) {
        EXPECT_EQ(result.labels[picture.IndexOf(x, y)], r.Contains(x, y) ? 1 : 0) << x << ' ' << y;
    });
}
