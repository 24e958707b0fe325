// Does a result arrive as it was sent?
#include "results/PackedResult.h"

#include <gtest/gtest.h>

#include <exception>

#include "results/JobResult.h"
#include "video/base/Failure.h"
#include "video/time/WallClock.h"

namespace Scan {
namespace {

TEST(PackedResult, ArrivesWhole) {
    const JobResult sent{.health = Health::Damaged,
                         .code = Video::exitFailed,
                         .trouble = "bad \"data\"\n",
                         .unwritten = true,
                         .tally = {.pictures = 5'000'000'000,
                                   .analysed = 7,
                                   .length = -3,
                                   .elapsed = 0.1,
                                   .events = 4,
                                   .dropped = 2,
                                   .flashes = 6,
                                   .gaps = 8,
                                   .droppedPackets = 9,
                                   .gops = {.gops = 9, .decoded = 8, .tooLong = 1, .bySize = 2, .unscouted = 3},
                                   .grid = {1, 2, 3, 4, 5},
                                   .rotation = 270,
                                   .mirrored = true},
                         .clock = Video::StartTime{17'723'448'000'000'001, Video::ClockSource::Container}};
    const std::string text = Packed(sent);
    EXPECT_EQ(text.find('\n'), std::string::npos) << "a message is one line";
    const JobResult got = Unpacked(text);
    EXPECT_EQ(got.health, sent.health);
    EXPECT_EQ(got.code, sent.code);
    EXPECT_EQ(got.trouble, sent.trouble);
    EXPECT_TRUE(got.unwritten);
    EXPECT_EQ(got.tally.pictures, sent.tally.pictures);
    EXPECT_EQ(got.tally.analysed, sent.tally.analysed);
    EXPECT_EQ(got.tally.length, sent.tally.length);
    EXPECT_EQ(got.tally.elapsed, sent.tally.elapsed);
    EXPECT_EQ(got.tally.events, sent.tally.events);
    EXPECT_EQ(got.tally.dropped, sent.tally.dropped);
    EXPECT_EQ(got.tally.flashes, 6);
    EXPECT_EQ(got.tally.gaps, 8);
    EXPECT_EQ(got.tally.droppedPackets, 9);
    EXPECT_EQ(got.tally.gops.bySize, 2);
    EXPECT_EQ(got.tally.gops.unscouted, 3);
    EXPECT_EQ(got.tally.grid.rows, 5);
    EXPECT_EQ(got.tally.rotation, 270);
    EXPECT_TRUE(got.tally.mirrored);
    ASSERT_TRUE(got.clock);
    EXPECT_EQ(got.clock->at, sent.clock->at);
    EXPECT_EQ(got.clock->source, Video::ClockSource::Container);
    EXPECT_FALSE(got.clock->offset);
    const JobResult named{.clock = Video::StartTime{17, Video::ClockSource::Name, -36'000'000'000}};
    EXPECT_EQ(Unpacked(Packed(named)).clock->source, Video::ClockSource::Name);
    EXPECT_EQ(Unpacked(Packed(named)).clock->offset, -36'000'000'000);
    EXPECT_FALSE(Unpacked(Packed({})).clock);
    EXPECT_EQ(Packed(got), text);
}

TEST(PackedResult, WhatIsNoResultIsRefused) {
    EXPECT_THROW(Unpacked(""), std::exception);
    EXPECT_THROW(Unpacked("{}"), std::exception);
    std::string text = Packed({});
    text.replace(text.find("\"health\":0"), 10, "\"health\":9");
    EXPECT_THROW(Unpacked(text), std::exception);
    text = Packed({.clock = Video::StartTime{0, Video::ClockSource::Given}});
    text.replace(text.find("[0,0]"), 5, "[0,4]");
    EXPECT_THROW(Unpacked(text), std::exception);
}

}  // namespace
}  // namespace Scan
