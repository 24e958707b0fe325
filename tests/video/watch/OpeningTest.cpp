// Are the first seconds kept as they were seen, and no more of them?
#include "video/watch/Opening.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ClipFixture.h"
#include "video/base/PictureGrid.h"
#include "video/media/Decoder.h"
#include "video/media/PacketSource.h"
#include "video/media/PlainPicture.h"
#include "video/time/Cadence.h"
#include "video/time/TickTime.h"
#include "video/watch/Watcher.h"

namespace Video {
namespace {

constexpr double rate = 6;

WatchRules Rules() {
    WatchRules rules{.framesPerSecond = 10, .shadows = true, .minSize = 0.03, .zones = {}};
    rules.conditioning.on = true;
    return rules;
}

class OpeningTest : public ClipFixture {};

TEST_F(OpeningTest, ItEndsAfterSixteenSecondsAndItsBackgroundAfterSix) {
    const PictureGrid grid = GridOf(32, 16, 8);
    const std::vector<std::uint8_t> planes(3 * 8, 7);
    Opening opening(grid);
    for (int second = 5; second < 21; ++second) {
        ASSERT_TRUE(opening.Takes(second * oneSecond)) << second;
        opening.Add({planes.data()}, second * oneSecond);
    }
    EXPECT_FALSE(opening.Takes(21 * oneSecond));
    EXPECT_EQ(opening.Pictures(), 16);
    EXPECT_EQ(opening.BackgroundPictures(), 6);
    EXPECT_EQ(opening.TimeOf(3), 8 * oneSecond);
}

TEST_F(OpeningTest, ItEndsAfterAHundredPictures) {
    const std::vector<std::uint8_t> planes(3 * 8, 7);
    Opening opening(GridOf(32, 16, 8));
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(opening.Takes(i)) << i;
        opening.Add({planes.data()}, i);
    }
    EXPECT_FALSE(opening.Takes(100));
}

TEST_F(OpeningTest, ItKeepsWhatItIsGiven) {
    Opening opening(GridOf(32, 16, 8));
    std::vector<std::uint8_t> planes(3 * 8);
    for (int i = 0; i < 5; ++i) {
        std::fill(planes.begin(), planes.end(), static_cast<std::uint8_t>(40 * i));
        opening.Add({planes.data()}, i * oneSecond);
    }
    for (int i = 0; i < 5; ++i) {
        const std::uint8_t* kept = opening.Picture(i).ycbcr;
        EXPECT_TRUE(std::all_of(kept, kept + 3 * 8, [&](int value) { return value == 40 * i; })) << i;
    }
}

TEST_F(OpeningTest, ReadFromAFileItIsWhatAScanAnalyses) {
    const std::string clip = RawClip({.width = 64, .height = 48, .seconds = 20, .from = 3, .until = 8});
    const PictureGrid grid = GridOf(64, 48, 4);
    const std::unique_ptr<Opening> opening = ReadOpening(clip, 0, 1, rate, grid, Rules());
    ASSERT_TRUE(opening);
    Decoder decoder(OpenSource(clip), 1);
    Cadence cadence(rate, decoder.NominalInterval());
    PlainPicture picture;
    std::optional<Watcher> watcher;
    int analysed = 0;
    for (; decoder.Next() && analysed < opening->Pictures();) {
        if (!cadence.Takes(decoder.Time())) {
            continue;
        }
        picture.Take(decoder.Frame());
        if (!watcher) {
            watcher.emplace(picture.Format(), grid, Rules());
        }
        const std::uint8_t* expected = watcher->Reduce(picture.View()).ycbcr;
        EXPECT_EQ(opening->TimeOf(analysed), decoder.Time());
        EXPECT_TRUE(std::equal(expected, expected + 3 * 16 * 12, opening->Picture(analysed).ycbcr)) << analysed;
        ++analysed;
    }
    EXPECT_EQ(analysed, 80);  // every other of ten pictures a second, for sixteen seconds
}

TEST_F(OpeningTest, APictureOfAnotherSizeEndsIt) {
    WriteEncoded({{.width = 64, .height = 48, .seconds = 2}, {.width = 80, .height = 64, .seconds = 2}},
                 {.codec = "mpeg2video", .container = "mpegts"}, In("sizes.ts"));
    const std::unique_ptr<Opening> opening = ReadOpening(In("sizes.ts"), 0, 1, 0, GridOf(64, 48, 4), Rules());
    ASSERT_TRUE(opening);
    int ofThatSize = 0, others = 0;
    for (Decoder decoder(OpenSource(In("sizes.ts")), 1); decoder.Next();) {
        ++(decoder.Frame().width == 64 ? ofThatSize : others);
    }
    EXPECT_EQ(opening->Pictures(), ofThatSize);
    EXPECT_GT(others, 0);
}

}  // namespace
}  // namespace Video
