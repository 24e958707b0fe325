// Does a conditioned watcher find what a plain one cannot, and only that?
#include "conditioning/Conditioner.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "video/base/BgrPicture.h"
#include "video/base/BlockMark.h"
#include "video/base/Findings.h"
#include "video/base/PictureGrid.h"
#include "video/time/TickTime.h"
#include "video/watch/Opening.h"
#include "video/watch/Watcher.h"
#include "video/zones/ZoneMask.h"

namespace Video {
namespace {

constexpr int width = 160, height = 120;
constexpr Host::PictureFormat grey{.width = width, .height = height, .format = Host::PixelFormat::Grey};
constexpr Ticks interval = oneSecond / 6;

WatchRules Rules(bool conditioned) {
    WatchRules rules{.framesPerSecond = 6, .shadows = conditioned, .minSize = 0.03, .zones = {}};
    rules.conditioning.on = conditioned;
    return rules;
}

// A street of a few grey levels with some noise, its brightness in percent, and a dark square at a place.
class Street {
public:
    struct Square {
        int x, y, size;
    };

    Host::PictureView Show(int brightness, const std::vector<Square>& squares) {
        _pixels.resize(std::size_t{width} * height);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const int level = 90 + 40 * (x / 20 % 2) + 20 * (y / 30 % 2) + static_cast<int>(_random() % 5);
                _pixels[static_cast<std::size_t>(y * width + x)] = static_cast<std::uint8_t>(level * brightness / 100);
            }
        }
        for (const Square& square : squares) {
            for (int y = square.y; y < square.y + square.size; ++y) {
                for (int x = square.x; x < square.x + square.size; ++x) {
                    _pixels[static_cast<std::size_t>(y * width + x)] = static_cast<std::uint8_t>(20 + (x + y) % 9);
                }
            }
        }
        Host::PictureView view;
        view.plane[0] = _pixels.data();
        view.stride[0] = width;
        return view;
    }

private:
    std::mt19937 _random{5};
    std::vector<std::uint8_t> _pixels;
};

// Who walks through the picture from its first moment on.
std::vector<Street::Square> WalkerAt(int step) { return {{(4 * step) % 130, 50, 24}}; }

int FramesWithMotion(Watcher& watcher, int steps, int from = 0) {
    Street street;
    int moving = 0;
    for (int step = from; step < from + steps; ++step) {
        moving += watcher.Watch(street.Show(100, WalkerAt(step)), step * interval).objects.empty() ? 0 : 1;
    }
    return moving;
}

std::unique_ptr<Opening> OpeningOf(Watcher& watcher, int steps) {
    Street street;
    auto opening = std::make_unique<Opening>(watcher.Grid());
    for (int step = 0; step < steps; ++step) {
        opening->Add(watcher.Reduce(street.Show(100, WalkerAt(step))), step * interval);
    }
    return opening;
}

TEST(Conditioner, PrimedItFindsMotionFromTheFirstPictureOn) {
    const PictureGrid grid = GridOf(width, height, 4);
    Watcher plain(grey, grid, Rules(false)), primed(grey, grid, Rules(true));
    primed.Prime(OpeningOf(primed, 60)->Planes());
    EXPECT_EQ(FramesWithMotion(plain, 10), 0);
    EXPECT_EQ(FramesWithMotion(primed, 10), 10);
}

TEST(Conditioner, WithoutAnOpeningItStartsWithTheEleventhPicture) {
    Watcher watcher(grey, GridOf(width, height, 4), Rules(true));
    EXPECT_EQ(FramesWithMotion(watcher, 10), 0);
    EXPECT_GE(FramesWithMotion(watcher, 30, 10), 28);
}

TEST(Conditioner, ALightThatIsSwitchedOnIsNoMotion) {
    const PictureGrid grid = GridOf(width, height, 4);
    Watcher plain(grey, grid, Rules(false)), conditioned(grey, grid, Rules(true));
    Street street;
    int plainAlarms = 0, alarms = 0;
    for (int step = 0; step < 90; ++step) {
        const Host::PictureView picture = street.Show(step < 60 ? 100 : 125, {});
        plainAlarms += plain.Watch(picture, step * interval).objects.empty() ? 0 : 1;
        alarms += conditioned.Watch(picture, step * interval).objects.empty() ? 0 : 1;
    }
    EXPECT_GT(plainAlarms, 0);  // or nothing was shown
    EXPECT_EQ(alarms, 0);
}

// A wall of stripes, or the fog before it, and who walks there.
Host::PictureView WallOrFog(std::vector<std::uint8_t>& pixels, bool isFog, const std::vector<Street::Square>& squares) {
    static std::mt19937 random{7};
    pixels.resize(std::size_t{width} * height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            bool isInside = false;
            for (const Street::Square& square : squares) {
                isInside |= x >= square.x && x < square.x + square.size && y >= square.y && y < square.y + square.size;
            }
            const int level = isInside ? 40 : isFog ? 120 : 60 + 120 * (x / 20 % 2);
            pixels[static_cast<std::size_t>(y * width + x)] = static_cast<std::uint8_t>(level + random() % 5);
        }
    }
    Host::PictureView view;
    view.plane[0] = pixels.data();
    view.stride[0] = width;
    return view;
}

// What is remembered has far more contrast, so that the fog looks like something before the lens; but there was nothing
// before it that could have been covered.
TEST(Conditioner, WhereARememberedViewIsGoneForGoodTheNewOneIsLearned) {
    Watcher watcher(grey, GridOf(width, height, 4), Rules(true));
    std::vector<std::uint8_t> pixels;
    const BlockPicture wall = watcher.Reduce(WallOrFog(pixels, false, {}));
    const auto samples = static_cast<std::ptrdiff_t>(3 * watcher.Excluded().size());
    watcher.Prime(std::vector<std::uint8_t>(wall.ycbcr, wall.ycbcr + samples));
    int step = 0, inFog = 0, walking = 0;
    for (; step < 120; ++step) {
        inFog += watcher.Watch(WallOrFog(pixels, true, {}), step * interval).objects.empty() ? 0 : 1;
    }
    for (; step < 150; ++step) {
        walking += watcher.Watch(WallOrFog(pixels, true, WalkerAt(step)), step * interval).objects.empty() ? 0 : 1;
    }
    EXPECT_EQ(inFog, 0);
    EXPECT_GE(walking, 28);
}

TEST(Conditioner, WhatIsExcludedIsNotFilled) {
    WatchRules rules = Rules(true);
    rules.zones = {RectangleZone("", {0.35, 0.45, 0.42, 0.55})};
    rules.zones.front().exclude = true;
    Watcher watcher(grey, GridOf(width, height, 4), rules);
    Street street;
    for (int step = 0; step < 40; ++step) {
        watcher.Watch(street.Show(100, {}), step * interval);
    }
    const Findings findings = watcher.Watch(street.Show(100, {{40, 40, 50}}), 40 * interval);
    ASSERT_EQ(findings.objects.size(), 1U);
    const std::vector<BlockMark> marks = watcher.Marks();
    int excluded = 0, marked = 0;
    for (std::size_t i = 0; i < marks.size(); ++i) {
        excluded += watcher.Excluded()[i] != 0;
        marked += marks[i] == BlockMark::Object;
        EXPECT_FALSE(watcher.Excluded()[i] != 0 && marks[i] == BlockMark::Object) << i;
    }
    EXPECT_GT(excluded, 0);
    EXPECT_EQ(marked, findings.objects.front().blocks);
}

TEST(Conditioner, TheBackgroundIsShownAsBrightAsItIs) {
    Watcher plain(grey, GridOf(width, height, 4), Rules(false)), conditioned(grey, GridOf(width, height, 4), Rules(true));
    Street street;
    for (int step = 0; step < 80; ++step) {
        const Host::PictureView picture = street.Show(100, {});
        plain.Watch(picture, step * interval);
        conditioned.Watch(picture, step * interval);
    }
    const BgrPicture expected = plain.Background(), shown = conditioned.Background();
    ASSERT_EQ(shown.pixels.size(), expected.pixels.size());
    for (std::size_t i = 0; i < shown.pixels.size(); ++i) {
        ASSERT_NEAR(shown.pixels[i], expected.pixels[i], 8) << "component " << i;
    }
}

}  // namespace
}  // namespace Video
