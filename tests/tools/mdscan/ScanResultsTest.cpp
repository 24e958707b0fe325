// What happens to results that cannot be completed?
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include <sys/stat.h>
#include <sys/types.h>

#include "ScanFixture.h"

namespace Scan {
namespace {

namespace fs = std::filesystem;

using nlohmann::json;
using Names = std::vector<std::string>;

// Six seconds of it, or twelve with two events.
constexpr Video::SquareScene small = {.width = 160, .height = 120, .seconds = 6, .from = 3, .until = 4.8};
const Video::Encoding avi = {.codec = "mpeg4", .container = "avi"};

class ScanResults : public ScanFixture {
protected:
    static std::vector<json> Of(const Outcome& run, const char* type) {
        std::vector<json> lines;
        for (const json& line : run.lines) {
            if (line["type"] == type) {
                lines.push_back(line);
            }
        }
        return lines;
    }

    static std::size_t Count(const std::string& text, const std::string& words) {
        std::size_t count = 0;
        for (std::size_t at = 0; (at = text.find(words, at)) != std::string::npos; ++at) {
            ++count;
        }
        return count;
    }

    // What an event names is there, whole; nothing else is left of what was given up.
    void ExpectNoHalves(const Outcome& run) const {
        std::size_t named = 0;
        for (const json& event : Of(run, "event")) {
            for (const char* name : {"thumbnail", "clip"}) {
                named += event.contains(name) ? 1 : 0;
                EXPECT_TRUE(!event.contains(name) || fs::exists(event[name].get<std::string>())) << event;
            }
        }
        for (const char* folder : {"thumbnails", "clips"}) {
            named -=
                fs::exists(In(folder)) ? static_cast<std::size_t>(std::distance(fs::directory_iterator(In(folder)), {})) : 0;
        }
        EXPECT_EQ(named, 0u) << "files that no event names";
        for (const auto& entry : fs::recursive_directory_iterator(Folder())) {
            EXPECT_NE(entry.path().extension(), ".part") << entry.path();
        }
    }
};

TEST_F(ScanResults, AnOverlayThatCannotBeCompletedIsNotThere) {
    const std::string clip = RawClip({});
    const Outcome run = Mdscan({"--overlay", In("boxes.mp4"), clip}, {.largestFile = 4'000});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
    EXPECT_NE(run.err.find("cannot write"), std::string::npos) << run.err;
    EXPECT_EQ(FilesInFolder(), std::vector<std::string>{"clip.y4m"});
}

TEST_F(ScanResults, NoFileThatCannotBeWrittenTakesAnEventWithIt) {
    Video::WriteEncoded({small, small}, avi, In("clip.avi"));
    const std::vector<json> events = Mdscan({In("clip.avi")}).lines;
    ASSERT_EQ(events.size(), 2u);
    for (const auto& [option, name] : std::vector<std::pair<const char*, const char*>>{{"--clips", "clips"},
                                                                                       {"--thumbnails", "thumbnails"},
                                                                                       {"--overlay", "overlay.mp4"},
                                                                                       {"--background", "ground.png"},
                                                                                       {"--memory", "known"},
                                                                                       {"--heatmap", "heat.png"}}) {
        const Outcome run = Mdscan({option, In(name), In("clip.avi")}, {.largestFile = 200});
        EXPECT_EQ(run.code, 1) << option;
        EXPECT_EQ(run.lines, events) << option;
        EXPECT_EQ(run.ErrorLines(), 1) << run.err;
        EXPECT_EQ(Count(run.err, "cannot write " + In(name)), 1u) << run.err;
        EXPECT_EQ(Count(run.err, ": File too large; 120 pictures"), 1u) << "named once, with its reason: " << run.err;
        EXPECT_TRUE(fs::is_directory(In(name)) || !fs::exists(In(name))) << option;
        ExpectNoHalves(run);
    }
}

TEST_F(ScanResults, APageThatCannotBeCompletedTakesNothingWithIt) {
    Video::WriteEncoded({small, small}, avi, In("clip.avi"));
    const Names arguments = {"--report", In("page.html"), "--csv", In("table.csv"), "-o", In("lines"), In("clip.avi")};
    EXPECT_EQ(Mdscan(arguments).code, 0);
    const std::string lines = Read("lines"), table = Read("table.csv");
    const auto size = static_cast<long>(fs::file_size(In("page.html")));
    for (const char* name : {"page.html", "lines", "table.csv"}) {
        fs::remove(In(name));
    }
    const Outcome run = Mdscan(arguments, {.largestFile = size - 1});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(Count(run.err, "cannot write " + In("page.html") + ": File too large; 120 pictures"), 1u) << run.err;
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
    EXPECT_EQ(FilesInFolder(), (Names{"clip.avi", "lines", "table.csv"}));
    EXPECT_EQ(Read("lines"), lines);
    EXPECT_EQ(Read("table.csv"), table);
}

TEST_F(ScanResults, EveryInputTriesAnew) {
    Video::SquareScene scene = small;
    scene.width = 320, scene.height = 240;
    Video::WriteEncoded({scene, scene}, avi, In("a.avi"));
    Video::WriteEncoded({scene}, avi, In("b.avi"));
    const Names inputs = {In("a.avi"), In("b.avi"), In("missing.avi")};
    Names arguments = {"-j",        "1",         "--thumbnails", In("thumbnails"), "--clips",
                       In("clips"), "--overlay", In("drawn"),    "--resume",       In("state")};
    arguments.insert(arguments.end(), inputs.begin(), inputs.end());
    const Outcome full = Mdscan(arguments, {.largestFile = 900});
    EXPECT_EQ(full.code, 1);
    EXPECT_EQ(Of(full, "event").size(), 3u);
    ExpectNoHalves(full);
    const std::vector<json> ends = Of(full, "file");
    ASSERT_EQ(ends.size(), inputs.size()) << "the run goes on: " << full.err;
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(ends[i]["file"], inputs[i]);
        EXPECT_EQ(ends[i]["status"], "unwritten");
        for (const char* name : {"thumbnails/", "clips/", "drawn/"}) {
            const std::string named = "cannot write " + In(name) + (i == 0 ? "a-" : "b-");
            EXPECT_EQ(Count(ends[i]["reason"], named), 1u) << ends[i];
            EXPECT_EQ(Count(full.err, named), 1u) << full.err;
        }
        EXPECT_EQ(Count(ends[i]["reason"], ": File too large"), 3u) << ends[i];
    }
    EXPECT_EQ(ends[2]["status"], "unreadable");

    const Outcome again = Mdscan(arguments);
    EXPECT_EQ(again.err.find("known from before"), std::string::npos) << "what lacks its files is made anew: " << again.err;
    EXPECT_EQ(Of(again, "file")[0]["status"], "complete");
    EXPECT_TRUE(Of(again, "event")[0].contains("clip")) << again.lines[0];
    ExpectNoHalves(again);
    EXPECT_NE(Mdscan(arguments).err.find(", 2 known from before"), std::string::npos);
}

TEST_F(ScanResults, AFullDiskIsNamedAsSuch) {
    Video::WriteEncoded({small, small}, {.codec = "ffv1", .container = "matroska"}, In("clip.mkv"));
    fs::create_directory(In("disk"));
    const Outcome run = Mdscan({"--clips", In("disk/clips"), "--thumbnails", In("disk/pictures"), "--overlay",
                                In("disk/o.mp4"), "--report", In("disk/page.html"), In("clip.mkv")},
                               {.smallDisk = In("disk")});
    if (run.code == noSmallDisk) {
        GTEST_SKIP() << "this machine does not let a test mount a disk of its own";
    }
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.lines.size(), 2u) << run.err;
    EXPECT_NE(run.err.find("cannot write " + In("disk/clips/clip-1.mkv") + ": No space left on device"), std::string::npos)
        << run.err;
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
}

TEST_F(ScanResults, AFolderThatGoesTakesNoEventWithIt) {
    Video::WriteEncoded({small, small}, {.codec = "mpeg2video", .container = "mpegts"}, In("clip.ts"));
    const Names arguments = {"--clips",      In("gone/clips"),      "--thumbnails", In("gone/pictures"),
                             "--background", In("gone/ground.png"), "--report",     In("page.html")};
    fs::create_directory(In("gone"));
    const Outcome run =
        MdscanDisturbed(arguments, In("clip.ts"), In("pipe.ts"), 1, [&](pid_t) { fs::remove_all(In("gone")); });
    EXPECT_EQ(run.code, 1);
    const std::vector<json> events = Of(run, "event");
    ASSERT_EQ(events.size(), 2u) << run.err;
    EXPECT_TRUE(events[0].contains("clip"));
    EXPECT_FALSE(events[1].contains("clip") || events[1].contains("thumbnail")) << events[1];
    for (const char* name : {"gone/clips/pipe-2.mp4", "gone/pictures/pipe-2.jpg", "gone/ground.png"}) {
        EXPECT_EQ(Count(run.err, "cannot write " + In(name) + ": No such file or directory"), 1u) << run.err;
    }
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
    EXPECT_TRUE(fs::exists(In("page.html")));
}

TEST_F(ScanResults, ResultsNeverReplaceTheInput) {
    const std::string clip = RawClip({.seconds = 1});
    const std::uintmax_t size = fs::file_size(clip);
    const Outcome run = Mdscan({"--overlay", clip, clip});
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
    EXPECT_EQ(fs::file_size(clip), size);
}

TEST_F(ScanResults, AFullOutputIsAFailure) {
    const Outcome run = Mdscan({"--frames", RawClip({.seconds = 1})}, {.output = "/dev/full"});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
    EXPECT_NE(run.err.find("cannot print results"), std::string::npos) << run.err;
}

TEST_F(ScanResults, BadUsageIsExitCodeTwo) {
    const Outcome run = Mdscan({"--rate", "fast", "clip.mp4"});
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
    EXPECT_TRUE(run.lines.empty());
}

TEST_F(ScanResults, InterruptionKeepsWhatWasFound) {
    const Video::SquareScene scene;
    Video::WriteY4m(scene, In("clip.y4m"));
    const Outcome run = MdscanInterrupted({"--frames", "--overlay", In("boxes.mp4")}, In("clip.y4m"), In("pipe"), 80);
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
    EXPECT_NE(run.err.find(": interrupted; "), std::string::npos) << run.err;
    EXPECT_GE(run.lines.size(), 80u);
    EXPECT_LT(run.lines.size(), 101u);
    EXPECT_EQ(FilesInFolder(), (std::vector<std::string>{"boxes.mp4", "clip.y4m", "pipe"}));
}

TEST_F(ScanResults, AClosedTerminalEndsARunInGoodOrder) {
    const Video::SquareScene scene;
    Video::WriteY4m(scene, In("clip.y4m"));
    const Outcome one =
        MdscanInterrupted({"--frames", "--overlay", In("boxes.mp4")}, In("clip.y4m"), In("pipe"), 80, {.signal = SIGHUP});
    EXPECT_EQ(one.code, 1);
    EXPECT_NE(one.err.find(": interrupted; "), std::string::npos) << one.err;
    EXPECT_LT(one.lines.size(), 101u);
    EXPECT_EQ(FilesInFolder(), (std::vector<std::string>{"boxes.mp4", "clip.y4m", "pipe"}));

    fs::remove(In("pipe"));
    const Outcome many =
        MdscanInterrupted({"--frames", In("missing.mp4")}, In("clip.y4m"), In("pipe"), 80, {.signal = SIGHUP});
    EXPECT_EQ(many.code, 1);
    ASSERT_FALSE(many.lines.empty());
    EXPECT_EQ(many.lines.back()["file"], In("pipe"));
    EXPECT_EQ(many.lines.back()["status"], "interrupted") << "its process was told";
}

TEST_F(ScanResults, NohupOutlivesItsTerminal) {
    const Video::SquareScene scene;
    Video::WriteY4m(scene, In("clip.y4m"));
    const Outcome run = MdscanInterrupted({"--frames"}, In("clip.y4m"), In("pipe"), 80, {.signal = SIGHUP, .ignored = true});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_GE(run.lines.size(), 101u);
}

TEST_F(ScanResults, PicturesAreNotCalledOtherThanTheyAre) {
    const std::string clip = RawClip({.seconds = 1});
    for (const char* option : {"--heatmap", "--background"}) {
        const Outcome run = Mdscan({option, In("x.jpg"), clip});
        EXPECT_EQ(run.code, 2);
        EXPECT_EQ(run.err, "mdscan: " + std::string(option) + " writes PNG: " + In("x.jpg") + " must end in .png\n");
        EXPECT_TRUE(run.scan.is_null()) << "known before the scan";
    }
    EXPECT_EQ(Mdscan({"zones", "--preview", In("x.jpg"), clip}).code, 2);
    EXPECT_EQ(FilesInFolder(), std::vector<std::string>{"clip.y4m"});
}

TEST_F(ScanResults, AnInputMayBeginWithADash) {
    Video::WriteEncoded({{.width = 160, .height = 120, .seconds = 6, .from = 3, .until = 5}},
                        {.codec = "mpeg4", .container = "mp4"}, In("-dash.mp4"));
    Write("mdscan.conf", "rate = 6\n");
    const Outcome run = Mdscan({"--thumbnails", ".", "--clips", ".", "--overlay", "o.mp4", "--background", "b.png",
                                "--report", "r.html", "--csv", "t.csv", "--", "-dash.mp4"},
                               {.configFolder = Folder(), .folder = Folder()});
    EXPECT_EQ(run.code, 0) << run.err;
    ASSERT_EQ(run.lines.size(), 1u);
    EXPECT_EQ(run.lines[0]["clip"], "./-dash-1.mp4");
    EXPECT_EQ(FilesInFolder(), (std::vector<std::string>{"-dash-1.jpg", "-dash-1.mp4", "-dash.mp4", "b.png", "mdscan.conf",
                                                         "o.mp4", "r.html", "t.csv"}));
    EXPECT_NE(Read("r.html").find("\"link\":\"-dash-1.mp4\""), std::string::npos);
    EXPECT_NE(Read("r.html").find("\"link\":\"-dash.mp4\""), std::string::npos);
    const Outcome both =
        Mdscan({"--resume", "state", "--overlay", "drawn", "--", "-dash.mp4", "-dash-1.mp4"}, {.folder = Folder()});
    EXPECT_EQ(both.code, 0) << both.err;
    EXPECT_EQ(std::distance(fs::directory_iterator(In("drawn")), fs::directory_iterator()), 2);
    EXPECT_EQ(Mdscan({"zones", "--preview", "p.png", "--", "-dash.mp4"}, {.folder = Folder()}).code, 0);
}

// A header of a few bytes.
TEST_F(ScanResults, PicturesThatAreTooLargeAreRefused) {
    const auto png = [](const std::string& header) {
        return std::string("\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR", 16) + header +
               std::string(
                   "\0\0\0\x0cIDAT\x78\x9c\x63\x60\xa0\x3d\0\0\0\x64\0\x01\x86\x64\x3c\x35\0\0\0\0IEND\xae\x42\x60\x82", 36);
    };
    Write("16000.png", png(std::string("\0\0\x3e\x80\0\0\x3e\x80\x08\x02\0\0\0\xce\x1c\x48\x89", 17)));
    Write("30000.png", png(std::string("\0\0\x75\x30\0\0\x75\x30\x08\x02\0\0\0\xe9\x45\x6f\xed", 17)));
    for (const std::string size : {"16000", "30000"}) {
        Write(size + ".y4m", "YUV4MPEG2 W" + size + " H" + size + " F10:1 C420jpeg\nFRAME\n" + std::string(10'000, '\0'));
        for (const char* ending : {".y4m", ".png"}) {
            const Outcome run = Mdscan({In(size + ending)});
            EXPECT_EQ(run.code, 1);
            EXPECT_EQ(run.ErrorLines(), 1) << run.err;
            EXPECT_NE(
                run.err.find("its pictures are too large: " + size + "x" + size + ", at most 67108864 pixels are scanned\n"),
                std::string::npos)
                << run.err;
        }
    }
}

TEST_F(ScanResults, APipeWithoutAWriterIsWaitedForVisibly) {
    ASSERT_EQ(mkfifo(In("pipe").c_str(), 0600), 0);
    const std::string waiting = "mdscan: " + In("pipe") + ": waiting for a writer\n";
    double seconds = 0;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const Outcome run = MdscanSignalledAt({In("pipe")}, signal, waiting, seconds);
        EXPECT_EQ(run.code, 1);
        EXPECT_EQ(run.err, waiting + "mdscan: " + In("pipe") + ": interrupted\n");
        EXPECT_LT(seconds, 5);
    }
    const Outcome many = MdscanSignalledAt({In("missing.mp4"), In("pipe")}, SIGTERM, waiting, seconds);
    EXPECT_EQ(many.code, 1);
    EXPECT_EQ(many.err.find(waiting), 0u) << many.err;
    EXPECT_LT(seconds, 5);
    const Outcome fed = MdscanInterrupted({"--frames"}, RawClip({}), In("fed"), 80);
    EXPECT_EQ(fed.err.find("waiting"), std::string::npos) << fed.err;
}

}  // namespace
}  // namespace Scan
