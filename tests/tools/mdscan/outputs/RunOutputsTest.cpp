// Do table, heat maps and page hold the same whatever happens to a run, and appear whole or not at all?
#include "outputs/RunOutputs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "ScanFixture.h"
#include "video/base/BgrPicture.h"
#include "video/files/PngFile.h"

namespace Scan {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class RunOutputsTest : public ScanFixture {
protected:
    // Three recordings of two cameras, and one that is none.
    void MakeFolder() const {
        fs::create_directories(In("videos/gate"));
        fs::create_directories(In("videos/yard"));
        const Video::Encoding avi{.codec = "mpeg4", .container = "avi"};
        Video::SquareScene scene{.width = 160, .height = 120, .seconds = 6, .from = 3, .until = 5};
        Video::WriteEncoded({scene}, avi, In("videos/gate/1.avi"));
        scene.from = 3.5;
        Video::WriteEncoded({scene}, avi, In("videos/gate/2.avi"));
        fs::copy_file(In("videos/gate/2.avi"), In("videos/yard/=1,\"2\".avi"));
        Write("videos/yard/text.avi", "no video");
    }

    Names Arguments(const std::string& results, const Names& more) const {
        Names arguments = {"--csv",     In(results + ".csv"), "--report", In(results + ".html"),
                           "--heatmap", In(results),          "-o",       In(results + ".jsonl")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        arguments.push_back(In("videos"));
        return arguments;
    }

    std::string All(const std::string& results) const {
        return Read(results + ".jsonl") + Read(results + ".csv") + Read(results + ".html") + Read(results + "/gate.png") +
               Read(results + "/yard.png");
    }
};

TEST_F(RunOutputsTest, AreTheSameForEveryRun) {
    MakeFolder();
    EXPECT_EQ(Mdscan(Arguments("plain", {"--resume", In("state")})).code, 1);
    EXPECT_EQ(Mdscan(Arguments("wide", {"-j", "3"})).code, 1);
    fs::remove(In("videos/gate/1.avi"));  // cannot be scanned again, for one
    fs::copy_file(In("videos/gate/2.avi"), In("videos/gate/1.avi"));
    const Outcome changed = Mdscan(Arguments("changed", {"--resume", In("state")}));
    EXPECT_NE(changed.err.find(", 3 known from before"), std::string::npos) << changed.err;
    const Outcome resumed = Mdscan(Arguments("resumed", {"--resume", In("state")}));
    EXPECT_NE(resumed.err.find(", 4 known from before"), std::string::npos) << resumed.err;
    EXPECT_GT(Read("plain.html").size(), 20'000u);
    EXPECT_EQ(All("wide"), All("plain"));
    EXPECT_EQ(All("resumed"), All("changed"));
    EXPECT_NE(All("changed"), All("plain"));
    EXPECT_NE(Read("plain.html").find("\"picture\":\"/9j/"), std::string::npos) << "events have pictures";
    const std::string table = Read("plain.csv");
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 4);
    EXPECT_NE(table.find("/yard/=1,\"\"2\"\".avi\",1,"), std::string::npos) << table;
}

TEST_F(RunOutputsTest, ASingleInputHasOneHeatMap) {
    const std::string clip = RawClip({.width = 160, .height = 120, .seconds = 6, .from = 3, .until = 5});
    const Outcome run = Mdscan({"--csv", In("t.csv"), "--report", In("p.html"), "--heatmap", In("h.png"), clip});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(FilesInFolder(), (Names{"clip.y4m", "h.png", "p.html", "t.csv"}));
    const Video::BgrPicture picture = Video::ReadPngBytes(Read("h.png"));
    ASSERT_EQ(picture.width, 160);
    ASSERT_EQ(picture.height, 120 + 12) << "with a legend below";
    const auto colour = [&](int x, int y) {  // the background is grey, what is cold is blue
        const auto pixel = picture.pixels.begin() + 3 * (y * 160 + x);
        return *std::max_element(pixel, pixel + 3);
    };
    EXPECT_GT(colour(80, 60), 2 * colour(80, 10)) << "the square crosses the middle";
    EXPECT_NE(Read("t.csv").find("\r\n" + clip + ",1,"), std::string::npos) << "rows name the file always";
}

TEST_F(RunOutputsTest, AppearWholeOrNotAtAll) {
    MakeFolder();
    const Outcome full = Mdscan(Arguments("full", {}), {.largestFile = 12'000});
    EXPECT_EQ(full.code, 1);
    EXPECT_NE(full.err.find("mdscan: cannot write " + In("full.html") + ": "), std::string::npos) << full.err;
    EXPECT_FALSE(fs::exists(In("full.html")));
    for (const std::string& name : FilesInFolder()) {
        EXPECT_EQ(name.find(".part"), std::string::npos) << name;
    }
}

TEST_F(RunOutputsTest, OneThatCannotBeCompletedTakesNoOtherWithIt) {
    MakeFolder();
    EXPECT_EQ(Mdscan(Arguments("whole", {})).code, 1) << "one of them is no video";
    const auto size = static_cast<long>(fs::file_size(In("whole.html")));
    const Outcome full = Mdscan(Arguments("full", {}), {.largestFile = size - 1});
    EXPECT_EQ(full.code, 1);
    const std::string named = "mdscan: cannot write " + In("full.html") + ": File too large\n";
    EXPECT_NE(full.err.find(named), std::string::npos) << full.err;
    EXPECT_EQ(full.err.find(named), full.err.rfind(named)) << "once";
    EXPECT_FALSE(fs::exists(In("full.html")));
    for (const char* name : {".jsonl", ".csv", "/gate.png", "/yard.png"}) {
        EXPECT_EQ(Read(std::string("full") + name), Read(std::string("whole") + name)) << name;
        EXPECT_FALSE(Read(std::string("full") + name).empty()) << name;
    }
    fs::remove(In("videos/yard/text.avi"));
    EXPECT_EQ(Mdscan(Arguments("again", {}), {.largestFile = size / 2}).code, 1) << "only the page fails this run";
}

TEST_F(RunOutputsTest, ImpossiblePlacesAreKnownBeforeTheScan) {
    const std::string clip = RawClip({.seconds = 1});
    for (const char* option : {"--csv", "--report", "--heatmap"}) {
        const Outcome nowhere = Mdscan({option, In("missing/file"), clip});
        EXPECT_EQ(nowhere.code, 1) << option;
        EXPECT_EQ(nowhere.ErrorLines(), 1) << nowhere.err;
        EXPECT_EQ(Mdscan({option, clip, clip}).code, 2) << option << " never replaces an input";
    }
    EXPECT_EQ(Mdscan({"--heatmap", clip, clip, In("other.y4m")}).code, 1) << "a folder is wanted";
    const Outcome same = Mdscan({"--csv", In("same"), "--report", In("same"), clip});
    EXPECT_EQ(same.code, 2);
    EXPECT_NE(same.err.find("--csv and --report name the same file"), std::string::npos) << same.err;
    EXPECT_EQ(Mdscan({"--background", In("same.png"), "--heatmap", In("same.png"), clip}).code, 2);
    fs::copy_file(clip, In("other.y4m"));
    EXPECT_EQ(Mdscan({"--background", In("one"), "--heatmap", In("./one"), clip, In("other.y4m")}).code, 3) << "one folder";
}

// What a browser makes of an address.
std::string Unescaped(const std::string& link) {
    std::string path;
    for (std::size_t i = 0; i < link.size(); ++i) {
        const bool isEscape = link[i] == '%';
        path += isEscape ? static_cast<char>(std::stoi(link.substr(i + 1, 2), nullptr, 16)) : link[i];
        i += isEscape ? 2 : 0;
    }
    return path;
}

TEST_F(RunOutputsTest, NamesThatAreNoTextLeadToTheirFiles) {
    const Video::SquareScene scene{.width = 160, .height = 120, .seconds = 6, .from = 3, .until = 5};
    const Names videos = {In("videos/caf\xe9\xff \u202e.avi"), In("videos/" + std::string(78, 'x') + "\u6e2f.avi")};
    fs::create_directories(In("videos"));
    for (const std::string& video : videos) {
        Video::WriteEncoded({scene}, {.codec = "mpeg4", .container = "avi"}, video);
    }
    const Outcome run = Mdscan({"--clips", In("clips"), "--report", In("page.html"), In("videos")});
    EXPECT_EQ(run.code, 0) << run.err;
    for (const nlohmann::json& line : run.lines) {
        EXPECT_TRUE(line["type"] != "event" || fs::exists(line["clip"].get<std::string>())) << line;
    }
    const std::string page = Read("page.html"), begin = "\"link\":\"";
    std::set<fs::path> linked;
    for (std::size_t at = 0; (at = page.find(begin, at)) != std::string::npos; ++at) {
        const std::size_t from = at + begin.size();
        linked.insert(fs::path(Folder()) / Unescaped(page.substr(from, page.find('"', from) - from)));
    }
    EXPECT_EQ(linked.size(), 4u) << "recordings and clips";
    for (const fs::path& path : linked) {
        EXPECT_TRUE(fs::exists(path)) << path;
    }
    EXPECT_NE(page.find(R"(caf\\xe9\\xff \\u202e.avi)"), std::string::npos);
    EXPECT_EQ(page.find("\u202e.avi"), std::string::npos) << "nothing turns what people read";
}

}  // namespace
}  // namespace Scan
