// Do zones of several origins become one list, in order and not too many?
#include "video/zones/ZoneSources.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "FolderFixture.h"
#include "video/base/Failure.h"
#include "video/zones/Zone.h"

namespace Video {
namespace {

using ZoneSourcesTest = Kit::FolderFixture;

constexpr RelativeZone half{0, 0, 0.5, 1};

TEST_F(ZoneSourcesTest, NoSourceIsTheWholePicture) { EXPECT_TRUE(ReadZones({}).empty()); }

TEST_F(ZoneSourcesTest, TheFilesZonesComeFirstAndRectanglesAreNumbered) {
    Write("zones.json", R"({"zones": [{"name": "gate", "polygon": [[0.1, 0.2], [0.4, 0.2], [0.4, 0.9]]}]})");
    const std::vector<Zone> zones = ReadZones({.file = In("zones.json"), .mask = "", .rectangles = {half, half}});
    EXPECT_EQ(WatchedNames(zones), (std::vector<std::string>{"gate", "zone 1", "zone 2"}));
    EXPECT_EQ(zones[1].polygon.size(), 4u);
}

TEST_F(ZoneSourcesTest, MoreThanAnObjectCanRememberAreRefused) {
    ZoneSources sources;
    sources.rectangles.assign(mostZones, half);
    EXPECT_EQ(ReadZones(sources).size(), mostZones);
    sources.rectangles.push_back(half);
    try {
        ReadZones(sources);
        FAIL() << "accepted";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.Concerns(), Concern::Usage);
        EXPECT_EQ(failure.what(), std::string("more than 64 zones to watch"));
    }
}

TEST_F(ZoneSourcesTest, AMissingMaskIsRefused) {
    EXPECT_THROW(ReadZones({.file = "", .mask = In("missing.png"), .rectangles = {}}), Failure);
}

}  // namespace
}  // namespace Video
