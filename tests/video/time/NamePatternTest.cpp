// Is a time found wherever a name holds it as the pattern says, and is every wrong pattern refused with the reason?
#include "video/time/NamePattern.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <tuple>
#include <utility>

#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Video {
namespace {

// As UTC where nothing is said of it; "": not found.
std::string Found(const std::string& pattern, const std::string& name) {
    EXPECT_EQ(NamePattern::FaultOf(pattern), "");
    const std::optional<NamedTime> found = NamePattern(pattern).FindIn(name);
    if (!found) {
        return "";
    }
    return WallTimeText(found->ticks ? *found->ticks : WallTimeAt(found->civil, found->offset.value_or(0)).value());
}

TEST(NamePattern, ReadsWhatStrptimeReads) {
    for (const auto& [pattern, name, time] : {
             std::tuple{"%Y%m%d_%H%M%S", "cam 20260301_075900.mp4", "2026-03-01T07:59:00.000Z"},
             std::tuple{"%d.%m.%y %H-%M", "01.03.26 07-59.avi", "2026-03-01T07:59:00.000Z"},
             std::tuple{"%b-%d-%Y_%I.%M.%S%p", "Mar-01-2026_07.59.00PM.mp4", "2026-03-01T19:59:00.000Z"},
             std::tuple{"%b-%d-%Y_%I.%M.%S%p", "MAR-01-2026_12.00.00am.mp4", "2026-03-01T00:00:00.000Z"},
             std::tuple{"%FT%T.%f%z", "x2026-03-01T07:59:00.25+01:30.mp4", "2026-03-01T06:29:00.250Z"},
             std::tuple{"%F %H%z", "2026-03-01 07-0330", "2026-03-01T10:30:00.000Z"},
             std::tuple{"%F %H%z", "2026-03-01 07+02", "2026-03-01T05:00:00.000Z"},
             std::tuple{"%s", "cam1772351940.mp4", "2026-03-01T07:59:00.000Z"},
             std::tuple{"%s%f", "1772351940250.mp4", "2026-03-01T07:59:00.250Z"},
             std::tuple{"100%%%Y%m%d%H", "100%2026030107", "2026-03-01T07:00:00.000Z"},
         }) {
        EXPECT_EQ(Found(pattern, name), time) << pattern << " in " << name;
    }
}

TEST(NamePattern, WildcardsStayWithinAPartOfThePath) {
    EXPECT_EQ(Found("%F/*/%H.%M", "2026-03-01/front/07.59.mp4"), "2026-03-01T07:59:00.000Z");
    EXPECT_EQ(Found("%F/*/%H.%M", "2026-03-01/a/b/07.59.mp4"), "");
    EXPECT_EQ(Found("%F?%H[-_]%M", "2026-03-01x07_59"), "2026-03-01T07:59:00.000Z");
    EXPECT_EQ(Found("%F?%H[-_]%M", "2026-03-01/07_59"), "");
    EXPECT_EQ(Found("%F?%H[-_]%M", "2026-03-01x07.59"), "");
    EXPECT_EQ(NamePattern("%Y/%m/%d/%H*").Folders(), 3);
}

TEST(NamePattern, NumbersThatGoOnAreNoneOfIts) {
    EXPECT_EQ(Found("%Y%m%d%H", "12026030107"), "");
    EXPECT_EQ(Found("%Y%m%d%H", "20260301075"), "");
    EXPECT_EQ(Found("%F*%H", "2026-03-01 channel 107"), "") << "nor is their second digit";
    EXPECT_EQ(Found("%F*%H", "2026-03-01 channel 107 07"), "2026-03-01T07:00:00.000Z");
    EXPECT_EQ(Found("%Y%m%d*%H", "202603014 07"), "");
}

TEST(NamePattern, DaysThatAreNoneAreSteppedOver) {
    EXPECT_EQ(Found("%Y%m%d%H", "2026023007 2026033107"), "2026-03-31T07:00:00.000Z");
    EXPECT_EQ(Found("%F %H", "2026-03-01 24"), "");
    EXPECT_EQ(Found("%F %I%p", "2026-03-01 13PM"), "");
    EXPECT_EQ(Found("%F %H%z", "2026-03-01 07+1500"), "") << "no zone is so far ahead";
}

TEST(NamePattern, WhatTellsNoTimeIsRefused) {
    for (const auto& [pattern, fault] : {
             std::pair{"", "it tells no day: %Y, %m and %d"},
             std::pair{"%H%M%S", "it tells no day: %Y, %m and %d"},
             std::pair{"%Y-%m %H", "it tells no day: %Y, %m and %d"},
             std::pair{"%Y-%m-%d", "it tells no hour: %H, or %I and %p"},
             std::pair{"%Y-%m-%d %I", "it tells no hour: %H, or %I and %p"},
             std::pair{"%F %Q", "%Q is not known"},
             std::pair{"%F %H%", "it ends with %"},
             std::pair{"%F[ %H", "a [ has no ]"},
         }) {
        EXPECT_EQ(NamePattern::FaultOf(pattern), fault) << pattern;
    }
}

}  // namespace
}  // namespace Video
