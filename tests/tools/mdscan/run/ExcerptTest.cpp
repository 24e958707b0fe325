// Does a scan learn before a part, tell of it alone, and go on to the next one?
#include "run/Excerpt.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "video/base/Failure.h"
#include "video/time/TickTime.h"
#include "video/time/TimeRange.h"
#include "video/time/WallClock.h"
#include "video/watch/Condition.h"

namespace Scan {
namespace {

using Video::oneSecond;

constexpr Video::Ticks hour = 3600 * oneSecond;
constexpr Video::Ticks period = oneSecond / 6;

Video::TimeRange Seconds(Video::Ticks from, Video::Ticks to) {
    const auto edge = [](Video::Ticks at) { return Video::RangeEdge{.kind = Video::RangeEdge::Kind::Elapsed, .at = at}; };
    return {edge(from * oneSecond), edge(to * oneSecond)};
}

TEST(Excerpt, WithoutARangeAllIsTold) {
    const Video::TimeRange all;
    Excerpt excerpt(all);
    excerpt.Prepare(true, {}, period);
    excerpt.Advance(0, {});
    EXPECT_TRUE(excerpt.Analyses(0));
    EXPECT_TRUE(excerpt.Tells(1000 * hour));
    EXPECT_FALSE(excerpt.IsOver());
    EXPECT_EQ(excerpt.LearnsFrom(), 0);
}

// What another job tells is looked at before, and behind only as far as a roll may reach.
TEST(Excerpt, OfAJobsPartNothingElseIsTold) {
    const Video::TimeRange all;
    Excerpt excerpt(all, JobPart{.learn = 84 * oneSecond, .from = 100 * oneSecond, .to = 200 * oneSecond}, 3 * oneSecond);
    excerpt.Prepare(false, {}, period);
    EXPECT_EQ(excerpt.LearnsFrom(), 84 * oneSecond);
    EXPECT_FALSE(excerpt.Analyses(84 * oneSecond - 1));
    EXPECT_TRUE(excerpt.Analyses(84 * oneSecond));
    EXPECT_FALSE(excerpt.Tells(100 * oneSecond - 1));
    EXPECT_TRUE(excerpt.Tells(100 * oneSecond));
    EXPECT_TRUE(excerpt.Tells(200 * oneSecond - 1));
    EXPECT_FALSE(excerpt.Tells(200 * oneSecond));
    EXPECT_FALSE(excerpt.Analyses(200 * oneSecond));
    excerpt.Advance(202 * oneSecond, {});
    EXPECT_FALSE(excerpt.IsOver()) << "pictures are counted for the roll";
    EXPECT_FALSE(excerpt.Ends(202 * oneSecond));
    excerpt.Advance(203 * oneSecond, {});
    EXPECT_TRUE(excerpt.IsOver());
}

TEST(Excerpt, LearnsBeforeThePartAndEndsWithIt) {
    const Video::TimeRange range = Seconds(100, 110);
    Excerpt excerpt(range);
    excerpt.Prepare(false, {}, period);
    const Video::Ticks begin = excerpt.LearnsFrom();
    EXPECT_LE(begin, 84 * oneSecond);
    EXPECT_GT(begin, 84 * oneSecond - period);
    EXPECT_EQ(begin % period, 0);
    EXPECT_EQ(excerpt.FirstTold(), 100 * oneSecond);
    EXPECT_FALSE(excerpt.Analyses(begin - 1));
    EXPECT_TRUE(excerpt.Analyses(begin));
    EXPECT_FALSE(excerpt.Tells(100 * oneSecond - 1));
    EXPECT_TRUE(excerpt.Tells(100 * oneSecond));
    EXPECT_FALSE(excerpt.Ends(110 * oneSecond - 1));
    EXPECT_TRUE(excerpt.Ends(110 * oneSecond));
    const Video::Condition long_{Video::ConditionKind::Rain, 50 * oneSecond, 105 * oneSecond};
    EXPECT_EQ(excerpt.Clipped(long_)->start, 100 * oneSecond);
    EXPECT_EQ(excerpt.Clipped(long_)->end, 105 * oneSecond);
    EXPECT_FALSE(excerpt.Clipped({Video::ConditionKind::Rain, 50 * oneSecond, 99 * oneSecond}));
    excerpt.Advance(110 * oneSecond, {});
    EXPECT_TRUE(excerpt.IsOver());
}

TEST(Excerpt, LearnsFromTheBeginningWhereThatIsNear) {
    const Video::TimeRange range = Seconds(5, 10);
    Excerpt excerpt(range);
    excerpt.Prepare(false, {}, period);
    EXPECT_EQ(excerpt.LearnsFrom(), 0);
}

TEST(Excerpt, GoesOnToTheNextNight) {
    const Video::TimeRange night{Video::ParseClockEdge("T22:00Z"), Video::ParseClockEdge("T06:00Z")};
    const Video::StartTime noon{*Video::ParseWallTime("2026-03-01T12:00:00Z"), Video::ClockSource::Given};
    Excerpt excerpt(night);
    excerpt.Prepare(true, {}, period);
    excerpt.Advance(0, {});
    EXPECT_FALSE(excerpt.Analyses(0)) << "a live source tells its time with the first picture";
    excerpt.Advance(oneSecond, noon);
    EXPECT_FALSE(excerpt.Analyses(oneSecond));
    EXPECT_TRUE(excerpt.Tells(10 * hour));
    EXPECT_TRUE(excerpt.Ends(18 * hour));
    excerpt.Advance(18 * hour, noon);
    EXPECT_FALSE(excerpt.Tells(18 * hour));
    EXPECT_TRUE(excerpt.Tells(34 * hour));
    EXPECT_FALSE(excerpt.IsOver());
}

TEST(Excerpt, WhatAnInputCannotTellIsRefused) {
    const auto complaint = [](const Video::TimeRange& range, bool isLive) {
        try {
            Excerpt(range).Prepare(isLive, {}, period);
        } catch (const Video::Failure& failure) {
            EXPECT_EQ(failure.Code(), Video::exitUsage);
            return std::string(failure.what());
        }
        return std::string();
    };
    EXPECT_EQ(complaint(Seconds(1, 2), false), "");
    EXPECT_NE(complaint(Seconds(1, 2), true).find("live source"), std::string::npos);
    EXPECT_EQ(complaint({Video::ParseClockEdge("T22:00"), {}}, true), "");
    EXPECT_EQ(complaint({Video::ParseClockEdge("T22:00"), {}}, false),
              "--from T22:00: nothing tells what time of day it was; --start-time may");
}

}  // namespace
}  // namespace Scan
