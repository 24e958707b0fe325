// Does a camera that sees nothing move cost memory?  Counts what is allocated while pictures are judged.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <random>
#include <vector>

#include "video/base/PictureGrid.h"
#include "video/time/TickTime.h"
#include "video/watch/Opening.h"
#include "video/watch/Watcher.h"

namespace {

int allocations = 0;  // so far

}  // namespace

// Those for arrays call these.
[[gnu::noinline]] void* operator new(std::size_t size) {
    ++allocations;
    if (void* const memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace Video {
namespace {

constexpr int width = 160, height = 120;
constexpr Host::PictureFormat grey{.width = width, .height = height, .format = Host::PixelFormat::Grey};
constexpr Ticks interval = oneSecond / 6;

std::vector<std::vector<std::uint8_t>> NoisyStreet(int pictures) {
    std::mt19937 random{7};
    std::vector<std::vector<std::uint8_t>> street(static_cast<std::size_t>(pictures));
    for (std::vector<std::uint8_t>& picture : street) {
        for (int i = 0; i < width * height; ++i) {
            picture.push_back(static_cast<std::uint8_t>(80 + 40 * (i % width / 20 % 2) + random() % 5));
        }
    }
    return street;
}

TEST(StillCamera, AllocatesNothingPerPictureOnceItHasBegun) {
    for (const Stabilise stabilise : {Stabilise::Auto, Stabilise::On, Stabilise::Off}) {
        WatchRules rules{.framesPerSecond = 6, .shadows = false, .minSize = usualSmallestSize, .zones = {}};
        rules.conditioning = {.on = true, .stabilise = stabilise};
        Watcher watcher(grey, GridOf(width, height, 4), rules);
        const std::vector<std::vector<std::uint8_t>> street = NoisyStreet(150);
        Opening opening(watcher.Grid());
        int before = 0, found = 0;
        for (int i = 0; i < 150; ++i) {
            Host::PictureView view;
            view.plane[0] = street[static_cast<std::size_t>(i)].data();
            view.stride[0] = width;
            if (i < 50) {
                opening.Add(watcher.Reduce(view), i * interval);
                continue;
            }
            if (i == 50) {
                watcher.Prime(opening.Planes());
            }
            if (i == 100) {
                before = allocations;
            }
            found += static_cast<int>(watcher.Watch(view, i * interval).objects.size());
        }
        EXPECT_GT(before, 0) << "nothing is counted";
        EXPECT_EQ(allocations - before, 0) << "with stabilisation " << static_cast<int>(stabilise);
        EXPECT_EQ(found, 0);
    }
}

}  // namespace
}  // namespace Video
