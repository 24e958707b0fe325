// Are times found in the names that recorders give, and is nothing else taken for one?
#include "video/time/NameTime.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Video {
namespace {

class NameTimeTest : public testing::Test {
protected:
    void SetUp() override { Live("EST5EDT,M3.2.0,M11.1.0"); }  // five hours behind
    void TearDown() override { Live(nullptr); }

    static void Live(const char* zone) {
        zone ? setenv("TZ", zone, 1) : unsetenv("TZ");
        tzset();
    }

    static std::string Of(const std::string& path, const std::string& pattern = usualNameTimes) {
        const std::optional<StartTime> start = TimeInName(path, pattern);
        EXPECT_TRUE(!start || start->source == ClockSource::Name);
        return start ? WallTimeText(start->at) : "";
    }
};

TEST_F(NameTimeTest, UsualFormsAreFoundAnywhereInTheName) {
    for (const char* name :
         {"2026-03-01_07-59-00.mp4", "20260301T075900.mp4", "20260301_075900.mkv", "2026-03-01 07.59.00.mp4",
          "/rec/gate/cam1-20260301075900.avi", "ch01_20260301-075900_20260301-080400.dav", "2026_03_01_07_59_00.ts",
          "Gate.2026-03-01T07:59:00.mp4", "Recording 2026-03-01 at 07.59.00.mov", "2026.03.01-07h59m00s.mp4",
          "cam20260301_075900M.mp4", "2026-03-01_07-59-00", "2026-03-01_075900.264"}) {
        EXPECT_EQ(Of(name), "2026-03-01T12:59:00.000Z") << name;
    }
    EXPECT_EQ(Of("2026-07-01_07-59-00.mp4"), "2026-07-01T11:59:00.000Z") << "in summer";
}

TEST_F(NameTimeTest, OffsetsAndFractionsAreRead) {
    for (const char* name : {"20260301T075900Z.mp4", "2026-03-01T07-59-00+0000.mp4", "2026-03-01_07-59-00+00:00.mp4",
                             "20260301T045900-0300.mp4", "2026-03-01_04-59-00-03:00.mp4", "20260301T135900+06 x.mp4"}) {
        EXPECT_EQ(Of(name), "2026-03-01T07:59:00.000Z") << name;
    }
    EXPECT_EQ(TimeInName("20260301T135900+0545.mp4", usualNameTimes)->offset, (5 * 60 + 45) * 60 * oneSecond);
    EXPECT_FALSE(TimeInName("20260301T135900.mp4", usualNameTimes)->offset) << "nobody says so";
    EXPECT_EQ(Of("2026-03-01T07-59-00.250Z.mp4"), "2026-03-01T07:59:00.250Z");
    EXPECT_EQ(Of("2026-03-01_07-59-00.250.mp4"), "2026-03-01T12:59:00.250Z");
    EXPECT_EQ(Of("2026-03-01_07-59-00.264"), "2026-03-01T12:59:00.000Z") << "that is its ending";
    EXPECT_EQ(Of("2026-03-01_07-59-00-0804.mp4"), "2026-03-01T12:59:00.000Z") << "no zone, rather the time of the end";
    EXPECT_EQ(Of("2026-03-01_07-59-00-0815.mp4"), "2026-03-01T12:59:00.000Z") << "without a T, it may be as well";
}

TEST_F(NameTimeTest, TheDayMayStandInFolders) {
    for (const char* path :
         {"/cam1/2026/03/01/07-59-00.mp4", "/cam1/2026-03-01/07.59.00.mp4", "/2026-03-01/cam1/gate_07-59-00.mp4",
          "/cam1/20260301/075900.mp4", "/cam1/2026-03/01/075900.mp4", "/cam1/2026/03/01/07/59-00.mp4",
          "/rec/2026-03-01/07/front/59.00.mp4", "/cam1/2026/03/01/07/59.mp4", "cam1_2026-03-01_x/07h59m00s.mp4",
          "/nvr/2026-03-01/001/dav/07/07.59.00-08.04.00[M][0@0][0].dav", "/2019-01-01/20260301/075900.mp4"}) {
        EXPECT_EQ(Of(path), "2026-03-01T12:59:00.000Z") << path;
    }
    EXPECT_EQ(Of("/cam1/2026/03/01/07-59-00Z.mp4"), "2026-03-01T07:59:00.000Z");
    EXPECT_EQ(Of("/2019-01-01/2026-03-01_07-59-00.mp4"), "2026-03-01T12:59:00.000Z") << "the name knows better";
}

TEST_F(NameTimeTest, SecondsSince1970StandAlone) {
    EXPECT_EQ(Of("cam_1772351940.mp4"), "2026-03-01T07:59:00.000Z");
    EXPECT_EQ(Of("1772351940250.mp4"), "2026-03-01T07:59:00.250Z");
    EXPECT_EQ(Of("cam1772351940.mp4"), "");
    EXPECT_EQ(Of("2772351940.mp4"), "");
    EXPECT_EQ(Of("20260301_075900_1772351941.mp4"), "2026-03-01T12:59:00.000Z") << "a day comes first";
}

TEST_F(NameTimeTest, WhatIsNoTimeIsNone) {
    for (const char* path : {"gate.mp4",
                             "2026-03-01.mp4",
                             "07-59-00.mp4",
                             "20261301_075900.mp4",
                             "2026-02-29_07-59-00.mp4",
                             "2026-03-01_24-00-00.mp4",
                             "2026-03-01_07-60-00.mp4",
                             "19991231_235959.mp4",
                             "20000101_000000.mp4",
                             "01-03-2026_07-59-00.mp4",
                             "120260301_075900.mp4",
                             "20260301_0759001.mp4",
                             "2026-03-01_07-59.mp4",
                             "",
                             "/cam1/20260301/clip.mp4",
                             "/cam1/20260301/0759.mp4",
                             "/cam1/2026/13/01/07-59-00.mp4",
                             "/cam1/20260301/a075900.mp4",
                             "/cam1/20260301/075900b.mp4",
                             "/20260301/2026-02-30_07-59-00.mp4",
                             "/2026-03-01/07-59-00/1.mp4"}) {
        EXPECT_EQ(Of(path), "") << path;
    }
}

TEST_F(NameTimeTest, AnInvalidTimeDoesNotHideAValidOne) {
    EXPECT_EQ(Of("20261399_999999_20260301_075900.mp4"), "2026-03-01T12:59:00.000Z");
}

TEST_F(NameTimeTest, APatternTakesThePlaceOfTheUsualForms) {
    EXPECT_EQ(Of("01-03-2026_07-59-00.mp4", "%d-%m-%Y_%H-%M-%S"), "2026-03-01T12:59:00.000Z");
    EXPECT_EQ(Of("/a/01.03.2026/b/0759.mp4", "%d.%m.%Y/*/%H%M"), "2026-03-01T12:59:00.000Z");
    EXPECT_EQ(Of("/01.03.2026/0759/gate.mp4", "%d.%m.%Y/%H%M"), "") << "that is no name of a file";
    EXPECT_EQ(Of("2026-03-01_07-59-00.mp4", "%d-%m-%Y_%H-%M-%S"), "");
    EXPECT_EQ(Of("01-01-2000_00-00-10.mp4", "%d-%m-%Y_%H-%M-%S"), "") << "a clock that was never set";
    EXPECT_EQ(Of("2026-03-01_07-59-00.mp4", noNameTimes), "");
}

TEST_F(NameTimeTest, WhatIsNoPatternIsRefused) {
    EXPECT_EQ(FaultOfNameTime("auto"), "");
    EXPECT_EQ(FaultOfNameTime("none"), "");
    EXPECT_EQ(FaultOfNameTime("%Y%m%d%H"), "");
    EXPECT_EQ(FaultOfNameTime("automatic"), "it tells no day: %Y, %m and %d");
}

}  // namespace
}  // namespace Video
