// Are times of day read and printed as RFC 3339 has them, and unlikely ones refused?
#include "video/time/WallClock.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

#include "video/time/TickTime.h"

namespace Video {
namespace {

constexpr Ticks oneDay = 86'400 * oneSecond;

TEST(WallClock, CountsFrom1970) {
    EXPECT_EQ(ParseWallTime("1970-01-01T00:00:00Z"), 0);
    EXPECT_EQ(ParseWallTime("1969-12-31T23:59:59.75Z"), -oneSecond / 4);
    EXPECT_EQ(ParseWallTime("2000-03-01T00:00:00Z"), 11'017 * oneDay) << "2000 had a 29th of February";
    EXPECT_EQ(ParseWallTime("2026-03-01T12:00:00Z"), 1'772'366'400 * oneSecond);
}

TEST(WallClock, OffsetsAndFractionsAreRead) {
    const WallTicks noon = ParseWallTime("2026-03-01T12:00:00Z").value();
    EXPECT_EQ(ParseWallTime("2026-03-01T13:00:00+01:00"), noon);
    EXPECT_EQ(ParseWallTime("2026-03-01 08:30:00-0330"), noon);
    EXPECT_EQ(ParseWallTime("2026-03-01t12:00:00z"), noon);
    EXPECT_EQ(ParseWallTime("2026-03-01T12:00:00.1234567890123Z"), noon + 1'234'567);
    EXPECT_EQ(ParseWallTime("2016-12-31T23:59:60Z"), ParseWallTime("2017-01-01T00:00:00Z")) << "a leap second";
}

TEST(WallClock, WithoutAnOffsetTimeIsLocal) {
    setenv("TZ", "EST5EDT,M3.2.0,M11.1.0", 1);
    tzset();
    EXPECT_EQ(ParseWallTime("2026-03-01T12:00:00"), ParseWallTime("2026-03-01T12:00:00-05:00"));
    EXPECT_EQ(ParseWallTime("2026-07-01T12:00:00.5"), ParseWallTime("2026-07-01T12:00:00.5-04:00")) << "in summer";
    unsetenv("TZ");
    tzset();
}

TEST(WallClock, LocalTimeIsAheadByTheZoneOfItsDay) {
    setenv("TZ", "EST5EDT,M3.2.0,M11.1.0", 1);
    tzset();
    EXPECT_EQ(LocalOffset(ParseWallTime("2026-03-01T12:00:00Z").value()), -5 * 3600 * oneSecond);
    EXPECT_EQ(LocalOffset(ParseWallTime("2026-07-01T12:00:00Z").value()), -4 * 3600 * oneSecond);
    EXPECT_EQ(LocalOffset(ParseWallTime("1969-12-31T23:59:59.75Z").value()), -5 * 3600 * oneSecond);
    unsetenv("TZ");
    tzset();
}

TEST(WallClock, WhatIsNoTimeIsRefused) {
    for (const char* text :
         {"", "noon", "2026", "2026-03-01", "2026-03-01T12:00Z", "2026-02-29T00:00:00Z", "2026-13-01T00:00:00Z",
          "2026-00-01T00:00:00Z", "2026-03-01T24:00:00Z", "2026-03-01T12:60:00Z", "2026-03-01T12:00:61Z",
          "2026-03-01T12:00:00.Z", "2026-03-01T12:00:00+1", "2026-03-01T12:00:00+24:00", "2026-3-1T12:00:00Z",
          "2026-03-01T12:00:00Z ", " 2026-03-01T12:00:00Z", "2026-03-01T12:00:00Zulu", "26-03-01T12:00:00Z"}) {
        EXPECT_FALSE(ParseWallTime(text)) << text;
    }
}

TEST(WallClock, PrintsMilliseconds) {
    const WallTicks noon = ParseWallTime("2026-03-01T12:00:00Z").value();
    EXPECT_EQ(WallTimeText(noon), "2026-03-01T12:00:00.000Z");
    EXPECT_EQ(WallTimeText(noon + 12'345), "2026-03-01T12:00:00.001Z");
    EXPECT_EQ(WallTimeText(noon + oneSecond - 1), "2026-03-01T12:00:01.000Z") << "rounded";
    EXPECT_EQ(WallTimeText(-oneSecond), "1969-12-31T23:59:59.000Z");
}

TEST(WallClock, WhatWasPrintedIsReadAgain) {
    for (const WallTicks time : {WallTicks{0}, WallTicks{-oneSecond}, WallTicks{17'723'448'000'010'000},
                                 WallTicks{-700'000'000'000'000'000}, WallTicks{2'600'000'000'000'000'000}}) {
        EXPECT_EQ(WallTimeOf(WallTimeText(time)), time) << WallTimeText(time);
    }
    for (const char* text :
         {"", "now", "2026-03-01", "2026-02-29T12:00:00.000Z", "2026-03-01T24:00:00.000Z", "2026-03-01T12:00:00.000",
          "2026-03-01T12:00:00.000Z ", "26-3-1T12:0:0.0Z", "99999-03-01T12:00:00.000Z"}) {
        EXPECT_FALSE(WallTimeOf(text)) << text;
    }
}

TEST(WallClock, WhatIsPrintedIsReadBack) {
    for (Ticks day = -30'000; day < 60'000; day += 17) {  // 1887 to 2134
        const WallTicks time = day * oneDay + (day * 7919 % 86'400) * oneSecond + 1'230'000;
        ASSERT_EQ(ParseWallTime(WallTimeText(time)), time) << WallTimeText(time);
    }
}

TEST(WallClock, NowIsNow) { EXPECT_NEAR(ToSeconds(WallNow()), static_cast<double>(std::time(nullptr)), 2); }

TEST(WallClock, ClocksThatWereNeverSetAreNotBelieved) {
    const WallTicks today = ParseWallTime("2026-03-01T12:00:00Z").value();
    for (const char* text :
         {"1904-01-01T00:00:00Z", "1970-01-01T00:10:00Z", "1980-01-06T00:00:00Z", "2000-01-01T08:00:00Z"}) {
        EXPECT_FALSE(CanBeStart(ParseWallTime(text).value(), oneSecond, today)) << text;
    }
    EXPECT_TRUE(CanBeStart(ParseWallTime("2019-05-04T08:00:00Z").value(), oneSecond, today));
}

TEST(WallClock, AFileIsNotCompletedBeforeItsRecordingIsOver) {
    const WallTicks completed = ParseWallTime("2026-03-01T12:00:00Z").value();
    const Ticks length = 60 * oneSecond;
    EXPECT_TRUE(CanBeStart(completed - length, length, completed));
    EXPECT_TRUE(CanBeStart(completed - length + 5 * oneSecond, length, completed)) << "clocks differ";
    EXPECT_FALSE(CanBeStart(completed - length + 6 * oneSecond, length, completed));
    EXPECT_FALSE(CanBeStart(completed, length, completed)) << "that is when it ended";
    EXPECT_FALSE(CanBeStart(completed + oneDay, length, completed)) << "in the future";
}

}  // namespace
}  // namespace Video
