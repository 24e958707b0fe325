// Does the detector get what it needs, and do its objects come back in pixels?
#include "video/watch/Watcher.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include "video/base/BgrPicture.h"
#include "video/base/BlockMark.h"
#include "video/base/Box.h"
#include "video/base/Failure.h"
#include "video/base/Findings.h"
#include "video/base/PictureGrid.h"
#include "video/time/TickTime.h"
#include "video/watch/Events.h"
#include "video/zones/ZoneMask.h"

namespace Video {
namespace {

constexpr WatchRules everything{.framesPerSecond = 10, .shadows = false, .minSize = 0, .zones = {}};

ExitCode CodeOfGrid(int width, int height, int wish) {
    try {
        GridOf(width, height, wish);
    } catch (const Failure& failure) {
        return failure.Code();
    }
    return exitComplete;
}

TEST(Watcher, UsualPicturesGetUsualGrids) {
    for (const int width : {176, 320, 352, 640, 704, 720, 768, 1280, 1920, 2560, 3840, 7680}) {
        const PictureGrid grid = GridOf(width, width * 9 / 16, 0);
        EXPECT_GT(grid.columns, 80) << width;
        EXPECT_LE(grid.columns, 160) << width;
    }
}

TEST(Watcher, AWishedBlockSizeIsTaken) {
    const PictureGrid grid = GridOf(100, 50, 7);
    EXPECT_EQ(grid.columns, 15);
    EXPECT_EQ(grid.rows, 8);
    EXPECT_EQ(grid.blockSize, 7);
}

TEST(Watcher, MoreBlocksThanCanBeLabelledAreRefused) {
    EXPECT_EQ(CodeOfGrid(400, 300, 1), exitComplete);
    EXPECT_EQ(CodeOfGrid(400, 400, 1), exitUsage);
    EXPECT_EQ(CodeOfGrid(16, 700'000, 0), exitFailed);
}

TEST(Watcher, BoxesAreInPixelsAndEndWithThePicture) {
    const PictureGrid grid{.pictureWidth = 100, .pictureHeight = 50, .blockSize = 7, .columns = 15, .rows = 8};
    const Box inner = PixelBox({.left = 2, .top = 1, .right = 3, .bottom = 1}, grid);
    EXPECT_EQ(inner.x, 14);
    EXPECT_EQ(inner.y, 7);
    EXPECT_EQ(inner.width, 14);
    EXPECT_EQ(inner.height, 7);
    const Box edge = PixelBox({.left = 2, .top = 1, .right = 14, .bottom = 7}, grid);
    EXPECT_EQ(edge.x + edge.width, 100);
    EXPECT_EQ(edge.y + edge.height, 50);
}

struct Size {
    int width;
    int height;
};

// A grey picture of 80 x 60 in which two bright rectangles appear at the eleventh step, at (20, 10) and (50, 40).
class Appearance {
public:
    Appearance(Size first, Size second) : _first(first), _second(second) {}

    Host::PictureView At(int step) {
        _pixels.assign(std::size_t{80} * 60, 50);
        if (step >= 10) {
            Draw(20, 10, _first);
            Draw(50, 40, _second);
        }
        Host::PictureView view;
        view.plane[0] = _pixels.data();
        view.stride[0] = 80;
        return view;
    }

private:
    void Draw(int x, int y, Size size) {
        for (int row = y; row < y + size.height; ++row) {
            for (int column = x; column < x + size.width; ++column) {
                _pixels[static_cast<std::size_t>(row * 80 + column)] = 200;
            }
        }
    }

    Size _first, _second;
    std::vector<std::uint8_t> _pixels;
};

constexpr Host::PictureFormat grey{.width = 80, .height = 60, .format = Host::PixelFormat::Grey};

Findings LastOf(Watcher& watcher, Appearance& appearance) {
    Findings findings{};
    for (int step = 0; step <= 10; ++step) {
        findings = watcher.Watch(appearance.At(step), step * oneSecond / 10);
    }
    return findings;
}

TEST(Watcher, ObjectsComeBackLargestFirst) {
    Watcher watcher(grey, GridOf(80, 60, 2), everything);
    Appearance squares({10, 10}, {16, 16});
    for (int step = 0; step < 10; ++step) {
        EXPECT_TRUE(watcher.Watch(squares.At(step), step * oneSecond / 10).objects.empty()) << "history of 11 frames";
    }
    const Findings findings = watcher.Watch(squares.At(10), oneSecond);
    EXPECT_EQ(findings.time, oneSecond);
    ASSERT_EQ(findings.objects.size(), 2u);
    EXPECT_GT(findings.objects[0].blocks, findings.objects[1].blocks);
    const Box& large = findings.objects[0].box;
    EXPECT_EQ(large.x, 50);
    EXPECT_EQ(large.y, 40);
    EXPECT_EQ(large.width, 16);
    EXPECT_EQ(large.height, 16);
    EXPECT_EQ(findings.objects[0].blocks, 64);
    EXPECT_EQ(findings.objects[1].box.y, 10);
    EXPECT_EQ(findings.objects[1].blocks, 25);
}

TEST(Watcher, ZonesReachTheDetector) {
    WatchRules upperHalf = everything;
    upperHalf.zones = {RectangleZone("upper", {0, 0, 1, 0.5})};
    Watcher watcher(grey, GridOf(80, 60, 2), upperHalf);
    Appearance squares({10, 10}, {16, 16});
    const Findings findings = LastOf(watcher, squares);
    ASSERT_EQ(findings.objects.size(), 1u);
    EXPECT_EQ(findings.objects[0].box.y, 10);
}

TEST(Watcher, ObjectsKnowTheZonesThatTheyTouch) {
    WatchRules three = everything;
    three.zones = {RectangleZone("upper", {0, 0, 1, 0.5}), RectangleZone("all", {0, 0, 1, 1}),
                   RectangleZone("corner", {0, 0.9, 0.1, 0.1})};
    Watcher watcher(grey, GridOf(80, 60, 2), three);
    Appearance squares({10, 10}, {16, 16});
    const Findings findings = LastOf(watcher, squares);
    ASSERT_EQ(findings.objects.size(), 2u);
    EXPECT_EQ(findings.objects[0].zones, 0b010u);  // the large one, below
    EXPECT_EQ(findings.objects[1].zones, 0b011u);
}

TEST(Watcher, ExcludedZonesAreHoles) {
    WatchRules holed = everything;
    holed.zones = {RectangleZone("lower", {0, 0.5, 1, 0.5})};
    holed.zones[0].exclude = true;
    Watcher watcher(grey, GridOf(80, 60, 2), holed);
    Appearance squares({10, 10}, {16, 16});
    const Findings findings = LastOf(watcher, squares);
    ASSERT_EQ(findings.objects.size(), 1u);
    EXPECT_EQ(findings.objects[0].box.y, 10);
    holed.zones.push_back(RectangleZone("all", {0, 0, 1, 1}));
    holed.zones[0] = RectangleZone("everything", {0, 0, 1, 1});
    holed.zones[0].exclude = true;
    Watcher blind(grey, GridOf(80, 60, 2), holed);
    EXPECT_TRUE(LastOf(blind, squares).objects.empty());
}

TEST(Watcher, AZoneMayHaveAMinimumSizeOfItsOwn) {
    WatchRules own = everything;
    own.minSize = 0.5;
    own.zones = {RectangleZone("upper", {0, 0, 1, 0.5}), RectangleZone("lower", {0, 0.5, 1, 0.5})};
    own.zones[1].minSize = 0.1;
    Watcher watcher(grey, GridOf(80, 60, 2), own);
    Appearance squares({10, 10}, {16, 16});
    const Findings findings = LastOf(watcher, squares);
    ASSERT_EQ(findings.objects.size(), 1u);
    EXPECT_EQ(findings.objects[0].box.y, 40);
}

TEST(Watcher, ObjectsTooNarrowOrTooLowAreDropped) {
    WatchRules large = everything;
    large.minSize = 0.25;  // 10 of 40 columns, 7 of 30 rows
    Watcher enough(grey, GridOf(80, 60, 2), large), narrow(grey, GridOf(80, 60, 2), large),
        low(grey, GridOf(80, 60, 2), large);
    Appearance bothEnough({20, 14}, {20, 14}), oneNarrow({20, 14}, {18, 14}), oneLow({20, 14}, {20, 12});
    EXPECT_EQ(LastOf(enough, bothEnough).objects.size(), 2u);
    EXPECT_EQ(LastOf(narrow, oneNarrow).objects.size(), 1u);
    EXPECT_EQ(LastOf(low, oneLow).objects.size(), 1u);
}

// 80 x 60 pixels in 40 x 30 blocks, of which `lit` percent, in whole columns, get brighter by `levels` at the eleventh step.
Findings LitBy(int levels, int lit) {
    Watcher watcher(grey, GridOf(80, 60, 2), everything);
    Findings findings{};
    for (int step = 0; step <= 11; ++step) {
        std::vector<std::uint8_t> pixels(std::size_t{80} * 60, 100);
        for (std::size_t i = 0; i < pixels.size() && step >= 10; ++i) {
            pixels[i] = static_cast<std::uint8_t>(static_cast<int>(i % 80) * 100 < 80 * lit ? 100 + levels : 100);
        }
        Host::PictureView view;
        view.plane[0] = pixels.data();
        view.stride[0] = 80;
        const Findings now = watcher.Watch(view, step * oneSecond / 10);
        EXPECT_EQ(now.pictureBlocks, 1200);
        EXPECT_FALSE(step != 10 && now.isFlash) << step;
        findings = step == 10 ? now : findings;
    }
    return findings;
}

TEST(Watcher, NearlyEverythingThatGetsBrighterAtOnceIsAFlash) {
    EXPECT_TRUE(LitBy(60, 100).isFlash);
    EXPECT_TRUE(LitBy(-60, 100).isFlash);
    EXPECT_TRUE(LitBy(flashLevels, flashPercent).isFlash);
    EXPECT_TRUE(LitBy(-flashLevels, flashPercent).isFlash);
    EXPECT_FALSE(LitBy(flashLevels - 1, 100).isFlash);
    EXPECT_FALSE(LitBy(60, flashPercent - 3).isFlash) << "less than that, by one column";
}

// A square of 16 pixels comes after a second, goes on for two, and stands still then.
TEST(Watcher, BlocksThatMoveAndHaveNotChangedAreTold) {
    for (const bool conditioned : {false, true}) {
        WatchRules rules = everything;
        rules.conditioning.on = conditioned;
        Watcher watcher(grey, GridOf(80, 60, 2), rules);
        int going = 0, standing = 0, changedGoing = 0, changedStanding = 0;  // blocks
        for (int step = 0; step <= 35; ++step) {
            std::vector<std::uint8_t> pixels(std::size_t{80} * 60, 50);
            for (std::size_t i = 0; i < pixels.size() && step >= 10; ++i) {
                const int x = static_cast<int>(i % 80) - 2 * std::min(step - 10, 20), y = static_cast<int>(i / 80);
                pixels[i] = static_cast<std::uint8_t>(x >= 0 && x < 16 && y >= 20 && y < 36 ? 200 : 50);
            }
            Host::PictureView view;
            view.plane[0] = pixels.data();
            view.stride[0] = 80;
            const Findings findings = watcher.Watch(view, step * oneSecond / 10);
            ASSERT_LE(findings.changedBlocks, MovingBlocks(findings));
            (step <= 30 ? going : standing) += MovingBlocks(findings);
            (step <= 30 ? changedGoing : changedStanding) += findings.changedBlocks;
        }
        EXPECT_GT(100 * changedGoing, leastChangedPercent * going) << conditioned;
        EXPECT_GT(going, 0) << conditioned;
        EXPECT_EQ(standing > 0, conditioned) << "the plain detector tells what moved just now";
        EXPECT_EQ(changedStanding, 0) << conditioned;
    }
}

TEST(Watcher, ObjectsTooWideOrTooHighAreNotTold) {
    WatchRules small = everything;
    small.maxSize = 0.25;  // 10 of 40 columns, 7 of 30 rows
    Watcher enough(grey, GridOf(80, 60, 2), small), wide(grey, GridOf(80, 60, 2), small),
        high(grey, GridOf(80, 60, 2), small);
    Appearance bothEnough({20, 14}, {20, 14}), oneWide({20, 14}, {22, 14}), oneHigh({20, 14}, {20, 16});
    EXPECT_EQ(LastOf(enough, bothEnough).objects.size(), 2u);
    const Findings findings = LastOf(wide, oneWide);
    ASSERT_EQ(findings.objects.size(), 1u);
    EXPECT_EQ(findings.objects[0].box.y, 10);
    EXPECT_EQ(LastOf(high, oneHigh).objects.size(), 1u);
    const std::optional<LargeObject> large = wide.TooLargeAt(20 * 40 + 25);
    ASSERT_TRUE(large);
    EXPECT_EQ(large->extent.columns, 11);
    EXPECT_EQ(large->largest.columns, 10);
    EXPECT_FALSE(wide.TooLargeAt(5 * 40 + 10));
    EXPECT_EQ(wide.Marks()[20 * 40 + 25], BlockMark::None);
    EXPECT_EQ(wide.Marks()[5 * 40 + 10], BlockMark::Object);
}

// The larger square lies in both zones: it counts where it may be that large.
TEST(Watcher, AZoneMayHaveALargestSizeOfItsOwn) {
    WatchRules own = everything;
    own.zones = {RectangleZone("all", {0, 0, 1, 1}), RectangleZone("lower", {0, 0.5, 1, 0.5})};
    own.zones[0].maxSize = 0.25;
    Watcher watcher(grey, GridOf(80, 60, 2), own);
    Appearance squares({10, 10}, {24, 16});
    Findings findings = LastOf(watcher, squares);
    ASSERT_EQ(findings.objects.size(), 2u);
    EXPECT_EQ(findings.objects[0].zones, 0b10u);
    EXPECT_EQ(findings.objects[1].zones, 0b01u);
    own.zones[1].maxSize = 0.25;
    Watcher neither(grey, GridOf(80, 60, 2), own);
    findings = LastOf(neither, squares);
    ASSERT_EQ(findings.objects.size(), 1u);
    EXPECT_EQ(findings.objects[0].zones, 0b01u);
}

// Conditioned, what is told is put together from labels: sizes hold there, too, and so does a smallest size of nothing.
TEST(Watcher, SizesHoldForAConditionedDetector) {
    const auto told = [](std::optional<double> smallest, double largest, const Size& other) {
        WatchRules rules = everything;
        rules.conditioning.on = true;
        rules.minSize = smallest;
        rules.maxSize = largest;
        rules.heat = true;
        Watcher watcher(grey, GridOf(80, 60, 2), rules);
        watcher.Prime(std::vector<std::uint8_t>(3 * 40 * 30, 50));
        Appearance squares({20, 14}, other);
        Findings findings = LastOf(watcher, squares);
        std::size_t hot = 0, marked = 0;
        for (const std::uint32_t count : watcher.Heat().counts) {
            hot += count > 0 ? 1 : 0;
        }
        for (const BlockMark mark : watcher.Marks()) {
            marked += mark == BlockMark::Object ? 1 : 0;
        }
        EXPECT_EQ(hot, static_cast<std::size_t>(MovingBlocks(findings)));
        EXPECT_EQ(marked, hot);
        EXPECT_GT(watcher.Heat().frames, 0u);
        watcher.ForgetHeat();
        EXPECT_EQ(std::count(watcher.Heat().counts.begin(), watcher.Heat().counts.end(), 0u), 40 * 30);
        EXPECT_EQ(watcher.Heat().frames, 0u) << "or what comes would seem rarer than it is";
        return findings.objects.size();
    };
    EXPECT_EQ(told({}, 1, {24, 16}), 2u);
    EXPECT_EQ(told({}, 0.25, {24, 16}), 1u);
    EXPECT_EQ(told({}, 0.2, {24, 16}), 0u);
    EXPECT_EQ(told(0.05, 1, {2, 2}), 1u);
    EXPECT_EQ(told(0, 1, {2, 2}), 2u);
}

// A striped picture of 160 x 120; after eight seconds something chequered appears at (16, 16), and (96, 64) gets a third
// less light.
TEST(Watcher, MarksTellObjectsFromShadows) {
    const PictureGrid grid = GridOf(160, 120, 4);
    WatchRules rules = everything;
    rules.shadows = true;
    Watcher watcher({.width = 160, .height = 120, .format = Host::PixelFormat::Grey}, grid, rules);
    std::vector<std::uint8_t> pixels(std::size_t{160} * 120);
    for (int step = 0; step <= 80; ++step) {
        for (int i = 0; i < 160 * 120; ++i) {
            const int x = i % 160, y = i / 160;
            const int ground = 120 + x / 8 % 3 * 20 + y / 8 % 2 * 10;
            const bool chequered = x >= 16 && x < 48 && y >= 16 && y < 48, dark = x >= 96 && x < 128 && y >= 64 && y < 96;
            const int now = chequered ? (x / 4 + y / 4) % 2 * 200 + 20 : dark ? ground * 2 / 3 : ground;
            pixels[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>((step < 80 ? ground : now) + (x + step) % 2);
        }
        Host::PictureView view;
        view.plane[0] = pixels.data();
        view.stride[0] = 160;
        watcher.Watch(view, step * oneSecond / 10);
    }
    const std::vector<BlockMark> marks = watcher.Marks();
    ASSERT_EQ(marks.size(), 1200u);
    int objects = 0, shadows = 0;
    for (int block = 0; block < 1200; ++block) {
        const int x = block % 40 * 4, y = block / 40 * 4;
        const BlockMark mark = marks[static_cast<std::size_t>(block)];
        EXPECT_TRUE(mark != BlockMark::Shadow || (x >= 88 && x < 136 && y >= 56 && y < 104)) << x << ", " << y;
        objects += mark == BlockMark::Object && x >= 16 && x < 48 && y >= 16 && y < 48 ? 1 : 0;
        shadows += mark == BlockMark::Shadow ? 1 : 0;
    }
    EXPECT_GE(objects, 50) << "of 64";
    EXPECT_GE(shadows, 30) << "of 64";
}

TEST(Watcher, TheBackgroundOfAFewFramesIsNotKnown) {
    Watcher watcher(grey, GridOf(80, 60, 2), everything);
    Appearance squares({10, 10}, {16, 16});
    watcher.Watch(squares.At(0), 0);
    const BgrPicture background = watcher.Background();
    EXPECT_EQ(background.width, 40);
    EXPECT_EQ(background.height, 30);
    ASSERT_EQ(background.pixels.size(), 40u * 30 * 3);
    for (std::size_t i = 0; i < background.pixels.size(); i += 3) {
        ASSERT_EQ(background.pixels[i], 255);
        ASSERT_EQ(background.pixels[i + 1], 0);
        ASSERT_EQ(background.pixels[i + 2], 255);
    }
}

}  // namespace
}  // namespace Video
