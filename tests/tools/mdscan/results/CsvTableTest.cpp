// Does a reader of RFC 4180 get back what an event's line says, and no spreadsheet a formula?
#include "results/CsvTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace Scan {
namespace {

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

TEST(CsvTable, ARowHoldsTheFieldsOfTheLine) {
    const std::string row =
        CsvRow("front door,1.mp4",
               R"({"type":"event","event":3,"start":1.25,"end":9.0,"peak":5.0,"start_frame":12,)"
               R"("end_frame":90,"peak_frame":50,"frame_exact":true,"frames":17,"blocks":99,"zones":["gate","a;b"],)"
               R"("boxes":[{"x":1,"y":2,"w":30,"h":40,"blocks":5},{"x":9,"y":9,"w":9,"h":9,"blocks":1}]})");
    EXPECT_EQ(row, "\"front door,1.mp4\",3,1.25,9.0,5.0,,,,12,90,50,true,17,99,gate;a;b,1,2,30,40,,,\r\n");
    const auto commas = [](const std::string& text) { return std::count(text.begin(), text.end(), ','); };
    EXPECT_EQ(commas(row), commas(CsvHead()) + 1) << "one more, within quotes";
    EXPECT_EQ(CsvHead().rfind("file,event,start,end,peak,", 0), 0u);
}

TEST(CsvTable, TheFileIsTheLinesWhereItNamesOne) {
    const std::string line =
        R"({"type":"event","file":"b.mp4","event":1,"thumbnail":"-p/b-1.jpg","clip":"c,1.mp4","clip_start":4.5})";
    EXPECT_EQ(CsvRow("a.mp4", line), "b.mp4,1,,,,,,,,,,,,,,,,,,'-p/b-1.jpg,\"c,1.mp4\",4.5\r\n");
}

TEST(CsvTable, NamesMayHoldAnyBytes) {
    EXPECT_EQ(CsvRow("no \xff text", R"({"type":"event","event":1})").rfind("no \xef\xbf\xbd text,1,", 0), 0u);
}

}  // namespace
}  // namespace Scan
