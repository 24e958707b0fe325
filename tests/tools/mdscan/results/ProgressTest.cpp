// Is what is left told right?
#include "results/Progress.h"

#include <gtest/gtest.h>

#include "results/TallyText.h"
#include "settings/RunSettings.h"
#include "video/base/Tally.h"

namespace Scan {
namespace {

TEST(Progress, ProgressTellsWhatIsLeft) {
    const Video::Tally tally{.pictures = 1, .analysed = 1, .length = 600'000'000, .elapsed = 4, .events = 1};
    EXPECT_EQ(ProgressText(0.25, 3725.4, tally), " 25 %  60.0 s  15.0 x  1 event  1:02:05 left");
    EXPECT_EQ(ProgressText(0.25, -1, tally), " 25 %  60.0 s  15.0 x  1 event");
    EXPECT_EQ(ProgressLine(0.25, 12, tally),
              R"({"type":"progress","done":0.25,"seconds":60.0,"elapsed":4.0,"speed":15.0,"left":12.0,"events":1})");
    EXPECT_NE(ProgressLine(0, -1, {}).find(R"("left":null)"), std::string::npos);
}

TEST(Progress, MachinesAreToldHoweverQuietItIs) {
    RunSettings settings;
    settings.quiet = true;
    EXPECT_EQ(StyleOf(settings), ProgressStyle::None);
    settings.progress = "json";
    EXPECT_EQ(StyleOf(settings), ProgressStyle::Json);
    settings.quiet = false;
    EXPECT_EQ(StyleOf(settings), ProgressStyle::Json);
    settings.progress = "none";
    EXPECT_EQ(StyleOf(settings), ProgressStyle::None);
}

}  // namespace
}  // namespace Scan
