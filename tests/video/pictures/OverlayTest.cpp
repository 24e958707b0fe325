// What does an overlay say?
#include "video/pictures/Overlay.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "video/time/WallClock.h"

namespace Video {
namespace {

TEST(Overlay, TheCaptionTellsTimeAndObjects) {
    Marking marking{.objects = {{{1, 2, 3, 4}, 5}}};
    EXPECT_EQ(Caption(123'000'000, marking), "12.3 s  1 object");
    marking.objects.push_back({{1, 2, 3, 4}, 5});
    marking.clock = StartTime{ParseWallTime("2026-03-01T12:00:00Z").value(), ClockSource::Given};
    EXPECT_EQ(Caption(123'000'000, marking), "12.3 s  2026-03-01T12:00:12.300Z  2 objects");
}

TEST(Overlay, ObjectsNameTheirZones) {
    const std::vector<std::string> zones = {"gate", "door", "road"};
    EXPECT_EQ(ZoneText({{}, 1, 0b101}, zones), "gate, road");
    EXPECT_EQ(ZoneText({{}, 1, 0}, zones), "");
    EXPECT_EQ(ZoneText({{}, 1, 0}, {}), "");
}

}  // namespace
}  // namespace Video
