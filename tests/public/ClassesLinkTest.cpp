// Does a host that uses the classes link?  Built against the staged headers and the shared library alone: what a header
// inlines into the host must find the rest of itself.
#include <gtest/gtest.h>

#include "every_class_header.h"

TEST(ClassesLinkTest, InlineMembersOfTheStatistics) {
    MD::FrameStatistics statistics;
    statistics.AllocateBuffers(3);
    statistics.ShiftToNewFrame();
    EXPECT_EQ(statistics.QueuePos(2), 3);
    EXPECT_EQ(statistics.FrameOfAge(0), statistics._frames + statistics._frameSize);
}

TEST(ClassesLinkDeathTest, WhatAHostInlinesKeepsItsAssertions) {
    MD::FrameStatistics statistics;
    statistics.AllocateBuffers(3);
    EXPECT_DEATH_IF_SUPPORTED(statistics.QueuePos(-1),
                              "MotionDetector\\.h:90: int MD::FrameStatistics::QueuePos\\(int\\): Assertion `n>=0' failed");
}

TEST(ClassesLinkTest, DetectorAndObjectsComeAndGo) {
    MD::MotionDetector detector;
    std::uint8_t cell = 1;
    MDZoneInfo zone{&cell, 1, 1, 0.3f, 0.0f, 0.0f};
    detector.AddMDZone(&zone);
    MD::MotionObjectPool pool;
    pool.Inic(4, 3);
    short x = 1, y = 2;
    pool.Add(&x, &y, 1, 12);
    pool._busyList._first->AddPixel(2, 2);
    EXPECT_EQ(pool._busyList._first->objectPixelsCount, 2);
}
