// Does a reader of RFC 4180 get back what an event's record says, and no spreadsheet a formula?
#include "outputs/CsvTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "FolderFixture.h"
#include "results/Records.h"
#include "video/base/Clip.h"

namespace Scan {
namespace {

class CsvTableTest : public Kit::FolderFixture {};

TEST(CsvTable, CellsAreQuotedWhereNeeded) {
    EXPECT_EQ(CsvCell("plain text.mp4"), "plain text.mp4");
    EXPECT_EQ(CsvCell("a,b"), "\"a,b\"");
    EXPECT_EQ(CsvCell("say \"a\""), "\"say \"\"a\"\"\"");
    EXPECT_EQ(CsvCell("two\nlines"), "\"two\nlines\"");
    EXPECT_EQ(CsvCell(""), "");
}

TEST(CsvTable, NoTextIsAFormula) {
    for (const char* text : {"=1+1", "+1", "-1", "@sum", "\tx"}) {
        EXPECT_EQ(CsvCell(text), std::string("'") + text);
    }
    EXPECT_EQ(CsvCell("=a,b"), "\"'=a,b\"");
    EXPECT_EQ(CsvCell("a=b"), "a=b");
}

TEST(CsvTable, ARowHoldsTheFieldsOfTheRecord) {
    const EventRecord event{.number = 3,
                            .start = 12'500'000,
                            .end = 90'000'000,
                            .peak = 50'000'000,
                            .startFrame = 12,
                            .endFrame = 90,
                            .peakFrame = 50,
                            .frames = 17,
                            .blocks = 99,
                            .zones = {{"gate", "a;b"}},
                            .boxes = {{{1, 2, 30, 40}, 5}, {{9, 9, 9, 9}, 1}}};
    const std::string row = CsvRow("front door,1.mp4", event);
    EXPECT_EQ(row, "\"front door,1.mp4\",3,1.25,9.0,5.0,,,,12,90,50,true,17,99,gate;a;b,1,2,30,40,,,,.\r\n");
    const auto commas = [](const std::string& text) { return std::count(text.begin(), text.end(), ','); };
    EXPECT_EQ(commas(row), commas(CsvHead()) + 1) << "one more, within quotes";
    EXPECT_EQ(CsvHead().rfind("file,event,start,end,peak,", 0), 0u);
}

TEST(CsvTable, TheFileIsTheRecordsWhereItNamesOne) {
    const EventRecord event{.file = "b.mp4",
                            .number = 1,
                            .wall = EventRecord::WallTimes{0, 10'000, 20'000},
                            .frameExact = false,
                            .thumbnail = "-p/b-1.jpg",
                            .clip = Video::Clip{"c,1.mp4", 45'000'000}};
    EXPECT_EQ(CsvRow("a.mp4", event),
              "b.mp4,1,0.0,0.0,0.0,1970-01-01T00:00:00.000Z,1970-01-01T00:00:00.001Z,1970-01-01T00:00:00.002Z,0,0,0,false,"
              "0,0,,,,,,'-p/b-1.jpg,\"c,1.mp4\",4.5,.\r\n");
}

TEST_F(CsvTableTest, OnlyEventsAreRows) {
    CsvTable table(In("t.csv"), {});
    table.Take("a.mp4", FrameRecord{});
    table.Take("a.mp4", GapRecord{});
    table.Take("a.mp4", ConditionRecord{});
    table.Take("a.mp4", EventRecord{.number = 1});
    table.Keep();
    EXPECT_EQ(Read("t.csv"), CsvHead() + CsvRow("a.mp4", EventRecord{.number = 1}));
}

TEST(CsvTable, NamesMayHoldAnyBytes) {
    EXPECT_EQ(CsvRow("no \xff text", {.number = 1}).rfind("no \xef\xbf\xbd text,1,", 0), 0u);
    EXPECT_NE(CsvRow("a", {.thumbnail = "no \xff text", .clip = Video::Clip{"nor \xff this", 0}})
                  .find(",no \xef\xbf\xbd text,nor \xef\xbf\xbd this,"),
              std::string::npos)
        << "as lines have them";
}

}  // namespace
}  // namespace Scan
