// Is the page whole, does it hold what came, and can no name break out of its data?
#include "outputs/HtmlPage.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "FolderFixture.h"
#include "outputs/CameraGrounds.h"
#include "outputs/PageParts.h"
#include "results/JobResult.h"
#include "results/Records.h"
#include "video/base/Clip.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"
#include "video/watch/Condition.h"

namespace Scan {
namespace {

using nlohmann::json;

class HtmlPageTest : public Kit::FolderFixture {
protected:
    std::string Path() const { return In("page.html"); }

    // The content of every block of a kind.
    std::vector<json> Blocks(const std::string& kind) const {
        const std::string page = Read("page.html");
        const std::string opening = "<script type=\"application/json\" class=\"" + kind + "\">";
        std::vector<json> blocks;
        for (std::size_t at = 0; (at = page.find(opening, at)) != std::string::npos;) {
            at += opening.size();
            blocks.push_back(json::parse(page.substr(at, page.find("</script>", at) - at)));
        }
        return blocks;
    }
};

const EventRecord event{.file = "x",
                        .number = 2,
                        .start = 45'000'000,
                        .end = 50'000'000,
                        .boxes = {{{1, 0, 1, 1}, 1}, {{2, 0, 1, 1}, 1}},
                        .track = {{{45'000'000, {1, 0, 1, 1}}}}};

TEST_F(HtmlPageTest, HoldsWhatCame) {
    HtmlPage page(Path(), {}, R"({"type":"scan","zones":["</script>"]})");
    Write("a b.mp4", "x");
    const std::string input = In("a b.mp4");
    page.Take({2, std::string(3, '\0'), {{46'000'000, {1, 0, 2, 2}}, {47'000'000, {9, 0, 2, 2}}}});
    page.Take(input, FrameRecord{.picture = {1, true}});
    page.Take(input, event);
    EventRecord inAClip = event;
    inAClip.flash = true;
    inAClip.clip = Video::Clip{In("c/d.mp4"), 40'000'000};
    page.Take(input, inAClip);
    page.Take(input, GapRecord{.file = "x", .start = 60'000'000, .end = 70'000'000, .reason = "r"});
    page.Take(input, ConditionRecord{.file = "x", .kind = Video::ConditionKind::Covered, .end = 10'000'000});
    page.Finish(
        input,
        {.health = Health::Damaged, .trouble = "why", .tally = {.length = 80'000'000, .grid = {640, 360, 8, 80, 45}}});
    page.Finish("</script><script>alert(1)<!--", {});
    const Video::StartTime named{0, Video::ClockSource::Name, -3600 * Video::oneSecond};
    page.Finish("gate/2026-03-01/a.mp4", {.clock = named});
    page.Finish("gate/b.mp4", {.clock = Video::StartTime{0, Video::ClockSource::Container}});
    CameraGrounds cameras;
    cameras.Add("gate", {{.grid = {4, 2, 2, 2, 1}, .counts = {1, 2}, .frames = 8}, {2, 1, {1, 1, 1, 2, 2, 2}}});
    page.Keep(cameras);

    EXPECT_EQ(Blocks("scan").at(0)["zones"][0], "</script>");
    const std::vector<json> inputs = Blocks("input");
    ASSERT_EQ(inputs.size(), 4u);
    ASSERT_EQ(inputs[0]["lines"].size(), 4u) << "frames are no events";
    EXPECT_EQ(inputs[0]["lines"][2]["reason"], "r");
    EXPECT_EQ(inputs[0]["lines"][3]["condition"], "covered");
    for (const json& line : inputs[0]["lines"]) {
        EXPECT_FALSE(line.contains("file")) << "it stands once, at the end";
    }
    const json inFile = inputs[0]["lines"][0], inClip = inputs[0]["lines"][1];
    EXPECT_EQ(inFile["picture"], "AAAA");
    EXPECT_EQ(inFile["link"], "a%20b.mp4");
    EXPECT_EQ(inFile["at"], 4.5);
    EXPECT_EQ(inFile["track"], "10 1 0 2 2 10 8 0 0 0") << "that of the picture, since the event's begin";
    EXPECT_EQ(inFile["boxes"], json::parse("[[1,0,1,1],[2,0,1,1]]"));
    EXPECT_FALSE(inClip.contains("picture")) << "its picture came once";
    EXPECT_FALSE(inClip.contains("track"));
    EXPECT_EQ(inClip["link"], "c/d.mp4");
    EXPECT_EQ(inClip["flash"], true);
    EXPECT_FALSE(inFile.contains("flash"));
    EXPECT_EQ(inClip["at"], 0.5);
    EXPECT_EQ(inputs[0]["status"], "damaged");
    EXPECT_EQ(inputs[0]["reason"], "why");
    EXPECT_EQ(inputs[0]["seconds"], 8.0);
    EXPECT_EQ(inputs[0]["width"], 640);
    EXPECT_EQ(inputs[0]["height"], 360);
    EXPECT_EQ(inputs[1]["file"], "</script><script>alert(1)<!--");
    EXPECT_EQ(inputs[1]["link"], "");
    EXPECT_EQ(inputs[2]["camera"], "gate");
    EXPECT_EQ(inputs[2]["utc_offset"], -3600);
    EXPECT_EQ(inputs[3]["utc_offset"], Video::LocalOffset(0) / Video::oneSecond) << "this machine's, where none is known";
    EXPECT_FALSE(inputs[1].contains("utc_offset"));
    EXPECT_EQ(Blocks("camera").at(0)["camera"], "gate");
    EXPECT_EQ(Blocks("camera").at(0)["heat"].get<std::string>().rfind("data:image/png;base64,", 0), 0u);
    const json colours = Blocks("camera").at(0)["heat_colours"];
    ASSERT_EQ(colours.size(), 2u) << "an eighth of the time, and a quarter";
    EXPECT_EQ(colours[0]["share"], 0.125);
    EXPECT_EQ(colours[1]["share"], 0.25);
    EXPECT_GT(colours[1]["red"], colours[0]["red"]);
    EXPECT_EQ(Blocks("end").at(0)["left_out"], 0);
}

TEST_F(HtmlPageTest, APageThatIsNotKeptIsNotThere) {
    {
        HtmlPage page(Path(), {}, "{}");
        page.Finish("a.mp4", {});
    }
    EXPECT_TRUE(FilesInFolder().empty());
}

TEST(SafeInScript, NoElementBeginsInData) {
    EXPECT_EQ(SafeInScript(R"(["</script>","<!--"])"), R"(["\u003c/script>","\u003c!--"])");
    EXPECT_EQ(json::parse(SafeInScript(R"("a<b")")), "a<b");
}

}  // namespace
}  // namespace Scan
