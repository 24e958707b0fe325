// Do people read what was done, and with which numbers?
#include "results/TallyText.h"

#include <gtest/gtest.h>

#include <string>

#include "results/VisibleText.h"
#include "video/base/Tally.h"

namespace Scan {
namespace {

TEST(TallyText, TheTallyNamesWhatWasDone) {
    Video::Tally tally{.pictures = 795,
                       .analysed = 398,
                       .length = 795'000'000,
                       .elapsed = 2,
                       .events = 1,
                       .dropped = 0,
                       .grid = {768, 576, 4, 192, 144}};
    EXPECT_EQ(TallyText(tally), "795 pictures (79.5 s), 398 analysed on 192x144 blocks of 4 pixels; 1 event; "
                                "took 2.0 s, 39.8 x real time");
    tally.events = 2;
    tally.dropped = 3;
    EXPECT_NE(TallyText(tally).find("; 2 events (3 too short);"), std::string::npos);
    tally.flashes = 1;
    EXPECT_NE(TallyText(tally).find("; 2 events (3 too short, 1 flash);"), std::string::npos);
    tally.flashes = 2;
    tally.dropped = 0;
    EXPECT_NE(TallyText(tally).find("; 2 events (2 flashes ignored);"), std::string::npos);
    tally.gaps = 1;
    tally.droppedPackets = 12;
    EXPECT_NE(TallyText(tally).find("; 1 gap; 12 packets dropped, the scan was too slow; took"), std::string::npos);
}

TEST(TallyText, WhyGroupsWereDecodedIsTold) {
    Video::Tally tally{.gops = {.gops = 100, .decoded = 60}};
    EXPECT_NE(TallyText(tally).find("; decoded 60 of 100 groups; 0 events"), std::string::npos);
    tally.gops.bySize = 3;
    tally.gops.unscouted = 20;
    EXPECT_NE(TallyText(tally).find("; decoded 60 of 100 groups, 3 because much is stored of them, 20 because looking at "
                                    "keyframes did not pay; 0 events"),
              std::string::npos);
}

TEST(TallyText, AnEmptyTallyDividesByNothing) {
    EXPECT_EQ(TallyText(Video::Tally{}), "0 pictures (0.0 s), 0 analysed; 0 events; took 0.0 s, 0.0 x real time");
}

TEST(TallyText, DamageNamesThePlaceAndTheCount) {
    EXPECT_EQ(DamageText({1, "bad data", 124'000'000}), "damaged near 12.4 s: bad data");
    EXPECT_EQ(DamageText({7, "bad data", 0}), "damaged near 0.0 s: bad data (first of 7 errors)");
}

TEST(TallyText, OneIsOne) {
    EXPECT_EQ(Counted(0, "input"), "0 inputs");
    EXPECT_EQ(Counted(1, "input"), "1 input");
    const Video::Tally one{.pictures = 1,
                           .analysed = 1,
                           .length = 10'000'000,
                           .elapsed = 1,
                           .events = 1,
                           .gaps = 1,
                           .droppedPackets = 1,
                           .gops = {.gops = 1, .decoded = 1},
                           .grid = {1, 1, 1, 1, 1}};
    EXPECT_EQ(TallyText(one), "1 picture (1.0 s), 1 analysed on 1x1 block of 1 pixel; decoded 1 of 1 group; 1 event; 1 gap; "
                              "1 packet dropped, the scan was too slow; took 1.0 s, 1.0 x real time");
    EXPECT_EQ(SumText(one, 0), "1 event in 1.0 s of video; took 1.0 s, 1.0 x real time");
}

TEST(TallyText, NamesAreShownWithAllThatTheyHold) {
    EXPECT_EQ(Visible("caf\u00e9 \u6e2f.mp4"), "caf\u00e9 \u6e2f.mp4");
    EXPECT_EQ(Visible("a\nb\x1b[31m\x7f\u0085"), "a\\x0ab\\x1b[31m\\x7f\\u0085");
    EXPECT_EQ(Visible("invoice-\u202e4pm.exe\u2066\u200f\u061c\ufeff"),
              "invoice-\\u202e4pm.exe\\u2066\\u200f\\u061c\\ufeff");
    EXPECT_EQ(Visible("caf\xe9.mp4\xc3"), "caf\\xe9.mp4\\xc3");
    EXPECT_EQ(Visible("\xc0\xaf\xed\xa0\x80\xf4\x90\x80\x80"), "\\xc0\\xaf\\xed\\xa0\\x80\\xf4\\x90\\x80\\x80")
        << "longer than need be, a surrogate, beyond the last character";
    EXPECT_EQ(VisibleJson("{\"\u202e\":\"\u00e9\x7f\",\n\"\xff\":1}"), "{\"\\u202e\":\"\u00e9\\u007f\",\n\"\xff\":1}");
}

}  // namespace
}  // namespace Scan
