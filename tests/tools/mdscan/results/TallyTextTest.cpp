// Do people read what was done, and with which numbers?
#include "results/TallyText.h"

#include <gtest/gtest.h>

#include <string>

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

}  // namespace
}  // namespace Scan
