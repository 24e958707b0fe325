// Does a run over a folder survive whatever lies in it, and whatever happens to the run?
#include "run/Batch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <sys/types.h>

#include <nlohmann/json.hpp>

#include "ScanFixture.h"
#include "results/JsonLines.h"
#include "results/Records.h"
#include "video/files/CheckedLine.h"
#include "video/files/OutputPath.h"
#include "video/watch/Condition.h"

namespace Scan {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

using Names = std::vector<std::string>;

// Six seconds with a square that crosses after three or a little later.
Video::SquareScene Small(int variant = 0) {
    return {.width = 160, .height = 120, .seconds = 6, .from = 3 + 0.1 * (variant % 5), .until = 4.8 + 0.1 * (variant % 5)};
}

class BatchTest : public ScanFixture {
protected:
    void SetUp() override { fs::create_directories(In("videos/deep")); }

    // All kinds of files; name (below videos/) to the status that a run has to give it.
    std::map<std::string, std::string> MakeFolder() const {
        std::map<std::string, std::string> expected;
        const auto place = [&](const std::string& name, const char* status) {
            expected[name] = status;
            return "videos/" + name;
        };
        const Video::Encoding mp4{.codec = "mpeg4", .container = "mp4", .headerFirst = true};
        const Video::Encoding avi{.codec = "mpeg4", .container = "avi"};
        const Video::Encoding mkv{.codec = "ffv1", .container = "matroska"};

        Video::WriteEncoded({Small()}, mp4, In("whole.mp4"));
        Video::WriteEncoded({Small()}, avi, In("whole.avi"));
        const std::string mp4Bytes = Read("whole.mp4"), aviBytes = Read("whole.avi");
        Video::WriteEncoded({Small(3)}, mp4, In("later.mp4"));
        const std::string laterBytes = Read("later.mp4");
        for (int i = 0; i < 12; ++i) {
            const std::string name = (i % 2 == 0 ? "deep/whole" : "whole") + std::to_string(i) + ".mp4";
            Write(place(name, "complete"), i % 3 == 0 ? laterBytes : mp4Bytes);
        }
        // Unusual, but sound.
        Video::Encoding tenBits = mkv, uneven = mkv;
        tenBits.format = AV_PIX_FMT_YUV420P10LE;
        uneven.time = [](int picture) { return picture < 20 ? 2 * picture : picture + 20; };
        Video::WriteEncoded({Small()}, tenBits, In(place("tenbits.mkv", "complete")));
        Video::WriteEncoded({Small()}, uneven, In(place("uneven.mkv", "complete")));
        Video::SquareScene odd = Small(), large = Small();
        odd.width = 161, odd.height = 121;
        large.width = 320, large.height = 240;
        Video::WriteEncoded({odd}, {.codec = "ffv1", .container = "matroska", .format = AV_PIX_FMT_YUV444P},
                            In(place("odd.mkv", "complete")));
        Video::WriteEncoded({Small(), large}, {.codec = "mjpeg", .container = "avi", .format = AV_PIX_FMT_YUVJ420P},
                            In(place("grows.avi", "complete")));
        std::string rotated = mp4Bytes;
        const std::size_t matrix = rotated.find("tkhd") + 4 + 40;
        rotated.replace(matrix, 36,
                        std::string("\0\0\0\0"
                                    "\0\1\0\0"
                                    "\0\0\0\0"
                                    "\xff\xff\0\0"
                                    "\0\0\0\0"
                                    "\0\0\0\0"
                                    "\0\0\0\0"
                                    "\0\0\0\0"
                                    "\x40\0\0\0",
                                    36));
        Write(place("rotated.mp4", "complete"), rotated);
        // Broken in part.
        Write(place("cut.mp4", "damaged"), mp4Bytes.substr(0, mp4Bytes.size() * 9 / 10));
        Write(place("cut.avi", "damaged"), aviBytes.substr(0, aviBytes.size() * 8 / 10));
        Write(place("deep/holes.mp4", "damaged"), mp4Bytes);
        Damage("videos/deep/holes.mp4", mp4Bytes.size() / 3, 4'000);
        // No videos at all.
        Write(place("empty.mp4", "unreadable"), "");
        Write(place("text.mp4", "unreadable"), "This is a text.\nIt has two lines.\n");
        Write(place("noise.avi", "unreadable"), std::string(30'000, '\0'));
        Damage("videos/noise.avi", 0, 30'000);
        Video::WriteEncoded({Small()}, {.codec = "mpeg4", .container = "mp4"}, In("tablesLast.mp4"));
        Write(place("tables.mp4", "unreadable"), Read("tablesLast.mp4").substr(0, fs::file_size(In("tablesLast.mp4")) / 2));
        Write(place("sound.avi", "unreadable"),
              std::string("RIFF\x24\x40\0\0WAVEfmt \x10\0\0\0\1\0\1\0\x40\x1f\0\0\x80\x3e\0\0\2\0\x10\0data\0\x40\0\0", 44) +
                  std::string(0x4000, '\0'));
        Write("videos/notes.txt", "not a video, not counted");
        Write("videos/.hidden.mp4", "");
        return expected;
    }

    static json Last(const Outcome& run) { return run.lines.empty() ? json() : run.lines.back(); }
};

TEST_F(BatchTest, NamesEveryBrokenFileAndMissesNoOther) {
    const std::map<std::string, std::string> expected = MakeFolder();
    const Outcome run = Mdscan({"-j", "0", "--thumbnails", In("pictures"), In("videos")});
    EXPECT_EQ(run.code, 1);
    std::set<std::string> pictures;
    std::map<std::string, std::string> found;
    std::map<std::string, int> events;
    std::string current;
    Names order;
    for (const json& line : run.lines) {
        const std::string file = line["file"];
        ASSERT_EQ(file.rfind(In("videos/"), 0), 0u);
        const std::string name = file.substr(In("videos/").size());
        if (line["type"] == "event") {
            EXPECT_TRUE(current.empty() || current == name) << "lines of two files are mixed";
            current = name;
            EXPECT_EQ(line["event"], ++events[name]);
            EXPECT_TRUE(fs::exists(line["thumbnail"].get<std::string>()) && pictures.insert(line["thumbnail"]).second)
                << line;
            continue;
        }
        ASSERT_EQ(line["type"], "file");
        current = "";
        order.push_back(file);
        found[name] = line["status"];
        EXPECT_EQ(line["events"], events[name]) << line;
        EXPECT_EQ(line.contains("reason"), line["status"] != "complete") << line;
        EXPECT_EQ(line["pictures"] == 0, line["status"] == "unreadable") << line;
        if (line["status"] == "complete") {
            EXPECT_EQ(events[name], name == "grows.avi" ? 2 : 1) << line;
        } else {
            EXPECT_NE(run.err.find("mdscan: " + file + ": "), std::string::npos) << "not named at the end: " << line;
        }
    }
    EXPECT_EQ(found, expected);
    EXPECT_EQ(order.size(), expected.size());
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end(), [](const fs::path& a, const fs::path& b) { return a < b; }));
    EXPECT_NE(run.err.find("mdscan: 25 inputs: "), std::string::npos) << run.err;
    EXPECT_NE(run.err.find(", 8 failed; 1 other file passed over; "), std::string::npos) << run.err;
    EXPECT_EQ(run.ErrorLines(), 9) << run.err;
}

TEST_F(BatchTest, InterruptedAndResumedItIsTheSame) {
    const std::map<std::string, std::string> expected = MakeFolder();
    const auto begin = std::chrono::steady_clock::now();
    const Outcome whole = Mdscan({"-j", "0", In("videos")});
    const auto took =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin).count();

    const Names arguments = {"-j", "0", "--resume", In("state"), "-o", In("out.jsonl"), In("videos")};
    unsigned random = 12345;  // deterministic moments, as far as clocks are
    int interruptions = 0;
    Outcome run{};
    for (int round = 0; round < 5; ++round) {
        random = random * 1664525u + 1013904223u;
        const int signal = round % 3 == 2 ? SIGTERM : SIGKILL;
        run = MdscanSignalled(arguments, signal,
                              static_cast<int>(took / 20 + static_cast<long>(random >> 16) % (took / 3 + 1)));
        const std::string output = Read("out.jsonl");  // an earlier one that is whole, or none
        EXPECT_TRUE(output.empty() || output.back() == '\n');
        std::istringstream lines(output);
        for (std::string line; std::getline(lines, line);) {
            ASSERT_TRUE(json::accept(line)) << "torn: " << line;
        }
        if (run.code >= 0 && run.err.find("interrupted after") == std::string::npos &&
            run.err.find(": interrupted;") == std::string::npos) {
            break;
        }
        ++interruptions;
    }
    EXPECT_GE(interruptions, 2) << "the run was over before it could be interrupted";
    run = Mdscan(arguments);
    EXPECT_EQ(run.code, 1);
    EXPECT_NE(run.err.find("known from before"), std::string::npos) << run.err;

    std::vector<json> resumed;
    std::istringstream lines(Read("out.jsonl"));
    for (std::string line; std::getline(lines, line);) {
        resumed.push_back(json::parse(line));
    }
    ASSERT_FALSE(resumed.empty());
    EXPECT_EQ(resumed.front(), whole.scan);
    resumed.erase(resumed.begin());
    EXPECT_EQ(resumed, whole.lines);
    EXPECT_EQ(Mdscan(arguments).code, 1);  // by now, whatever was killed has let go of its files
    for (const std::string& name : FilesInFolder()) {
        EXPECT_FALSE(name.ends_with(".part")) << name << ": left behind by a run that was killed";
    }
    const std::string state = Read("state");
    EXPECT_EQ(static_cast<std::size_t>(std::count(state.begin(), state.end(), '\n')), 1 + expected.size())
        << "every input is finished once";
}

TEST_F(BatchTest, ExitCodesTellMotionNoneAndFailureApart) {
    Video::WriteEncoded({Small()}, {.codec = "mpeg4", .container = "avi"}, In("videos/moves.avi"));
    Video::SquareScene still = Small();
    still.until = still.from;
    Video::WriteEncoded({still}, {.codec = "mpeg4", .container = "avi"}, In("videos/still.avi"));
    EXPECT_EQ(Mdscan({In("videos/still.avi"), In("videos/moves.avi")}).code, 0);
    EXPECT_EQ(Mdscan({In("videos/s*")}).code, 3);
    EXPECT_EQ(Mdscan({In("videos/s*"), In("missing.mp4")}).code, 1);
    EXPECT_EQ(Mdscan({In("videos/deep")}).code, 1) << "a folder without videos";
}

TEST_F(BatchTest, TheFirstLineNamesAllSettings) {
    Video::WriteEncoded({Small()}, {.codec = "mpeg4", .container = "avi"}, In("videos/a.avi"));
    Write("zones.json", R"({"zones": [{"name": "a", "polygon": [[0, 0], [1, 0], [1, 1]]},
                                      {"name": "b", "polygon": [[0, 0], [0.1, 0], [0, 0.1]], "exclude": true}]})");
    Names arguments = {"--rate",
                       "5",
                       "--skip-loop-filter",
                       "--block",
                       "8",
                       "--stabilise",
                       "on",
                       "--sensitivity",
                       "low",
                       "--memory",
                       In("known"),
                       "--shadows",
                       "--min-size",
                       "0.1",
                       "--max-size",
                       "0.5",
                       "--min-blocks",
                       "2",
                       "--merge-gap",
                       "3",
                       "--min-duration",
                       "1",
                       "--pre-roll",
                       "4",
                       "--post-roll",
                       "5",
                       "--zones",
                       In("zones.json"),
                       In("videos")};
    json scan = Mdscan(arguments).scan;
    EXPECT_TRUE(scan["version"].is_string());
    scan.erase("version");
    EXPECT_EQ(
        scan,
        json::parse(
            R"({"type": "scan", "schema": 2, "rate": 5.0, "fast": false, "skip_loop_filter": true, "condition": "default",
                      "stabilise": "on", "sensitivity": "low", "memory": true, "block": 8, "shadows": true, "min_size": 0.1,
                      "min_blocks": 2, "merge_gap": 3.0, "min_duration": 1.0, "pre_roll": 4.0, "post_roll": 5.0,
                      "zones": ["a"], "excluded": ["b"], "max_size": 0.5})"));
}

TEST_F(BatchTest, ADamagedStateChangesNoResult) {
    for (const char* name : {"videos/a.avi", "videos/b.avi"}) {
        Video::SquareScene scene = Small();
        scene.seconds = 5;
        Video::WriteEncoded({scene}, {.codec = "mpeg4", .container = "avi"}, In(name));
    }
    const Names arguments = {"--resume", In("state"), "-o", In("out.jsonl"), In("videos")};
    EXPECT_EQ(Mdscan(arguments).code, 0);
    const std::string state = Read("state"), expected = Read("out.jsonl");
    const std::size_t header = state.find('\n') + 1, end = state.find('\n', header);
    for (const std::size_t place : {header + 2, state.find("a.avi") + 1, end - 4, end, state.size() - 3}) {
        Write("state", std::string(state).replace(place, 1, state[place] == 'x' ? "y" : "x"));
        const Outcome run = Mdscan(arguments);
        EXPECT_EQ(run.code, 0) << run.err;
        EXPECT_EQ(Read("out.jsonl"), expected) << place;
        const std::string line = place > end ? "3" : "2";
        EXPECT_EQ(run.err.find("mdscan: " + In("state") + ": line " + line + " is damaged"), 0u) << run.err;
        EXPECT_EQ(run.ErrorLines(), 2) << run.err;
        EXPECT_EQ(Mdscan(arguments).ErrorLines(), 1) << "it is said once";
        EXPECT_EQ(Read("out.jsonl"), expected) << place;
    }
}

TEST_F(BatchTest, AChangedFileIsScannedAgain) {
    Video::WriteEncoded({Small()}, {.codec = "mpeg4", .container = "avi"}, In("videos/a.avi"));
    const Names arguments = {"--resume", In("state"), In("videos")};
    EXPECT_EQ(Mdscan(arguments).code, 0);
    Write("videos/a.avi", "no longer a video");
    EXPECT_EQ(Last(Mdscan(arguments))["status"], "unreadable");
    EXPECT_EQ(Mdscan({"--rate", "3", "--resume", In("state"), In("videos")}).code, 2) << "other options, other results";
}

// Puts conditions into what is known of a recording, as if its scan had told them.
TEST_F(BatchTest, ConditionsAreToldAndNoEvents) {
    Video::WriteEncoded({Small()}, {.codec = "mpeg4", .container = "avi"}, In("videos/a.avi"));
    const Names arguments = {"--resume", In("state"), In("videos")};
    const Outcome plain = Mdscan(arguments);
    EXPECT_EQ(plain.err.find("a.avi: "), std::string::npos) << plain.err;
    const std::string known = Read("state"), lines = "\"lines\":[";
    const auto with = [&](const std::vector<ConditionRecord>& records) {
        std::string told;
        for (const ConditionRecord& record : records) {
            told += json(LineOf(record)).dump() + ",";
        }
        const std::string line = known.substr(known.find('\n') + 1);  // behind it, nothing
        const std::string text(Video::Verified(line.substr(0, line.size() - 1)).value());
        Write("state", known.substr(0, known.find('\n') + 1) +
                           Video::Checked(std::string(text).insert(text.find(lines) + lines.size(), told)) + "\n");
        return Mdscan(arguments);
    };
    const ConditionRecord light{.file = In("videos/a.avi"), .start = 10'000'000, .end = 25'000'000};
    ConditionRecord covered = light;
    covered.kind = Video::ConditionKind::Covered;

    const Outcome lit = with({light});
    EXPECT_EQ(lit.code, plain.code);
    ASSERT_EQ(lit.lines.size(), plain.lines.size() + 1);
    EXPECT_EQ(lit.lines[0], json::parse(LineOf(light)));
    EXPECT_EQ(lit.lines[1]["event"], 1);
    EXPECT_EQ(Last(lit)["events"], Last(plain)["events"]);
    EXPECT_EQ(lit.ErrorLines(), 1) << "of many inputs, only what hides motion is said: " << lit.err;

    const Outcome hidden = with({light, covered});
    const std::string note = "mdscan: " + In("videos/a.avi") + ": light for 1.5 s, covered for 1.5 s\n";
    EXPECT_EQ(hidden.err.rfind(note, 0), 0u) << hidden.err;
    EXPECT_EQ(hidden.ErrorLines(), 2);
    EXPECT_EQ(Mdscan({"--quiet", "--resume", In("state"), In("videos")}).err, "");
}

TEST_F(BatchTest, BackgroundsAndOverlaysOfManyFillFolders) {
    for (const char* name : {"videos/a/door.avi", "videos/b/door.avi"}) {
        fs::create_directories(fs::path(In(name)).parent_path());
        Video::WriteEncoded({Small()}, {.codec = "mpeg4", .container = "avi"}, In(name));
    }
    const Names arguments = {"-j", "2", "--background", In("grounds"), "--overlay", In("drawn"), In("videos")};
    EXPECT_EQ(Mdscan(arguments).code, 0);
    for (const char* folder : {"grounds", "drawn"}) {
        Names names;
        for (const auto& entry : fs::directory_iterator(In(folder))) {
            names.push_back(entry.path().filename().string());
            EXPECT_GT(entry.file_size(), 100u);
        }
        ASSERT_EQ(names.size(), 2u) << folder;
        for (const std::string& name : names) {
            EXPECT_EQ(name.rfind("door-", 0), 0u) << name;
            EXPECT_EQ(fs::path(name).extension(), folder == std::string("grounds") ? ".png" : ".mp4");
        }
    }
    Write("file", "");
    const Outcome run = Mdscan({"--background", In("file"), In("videos")});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.err.rfind("mdscan: cannot write into " + In("file") + ": ", 0), 0u) << run.err;
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
}

// The first recording takes far longer than the others: whoever does not wait for it is ready before.
TEST_F(BatchTest, AMemoryGoesFromInputToInputOfACamera) {
    for (const char* name : {"videos/gate/1.avi", "videos/gate/2.avi", "videos/gate/3.avi", "videos/yard/1.avi"}) {
        fs::create_directories(fs::path(In(name)).parent_path());
        Video::SquareScene scene = Small();
        scene.seconds = std::string(name).ends_with("gate/1.avi") ? 90 : 6;
        Video::WriteEncoded({scene}, {.codec = "mpeg4", .container = "avi"}, In(name));
    }
    const Outcome run = Mdscan({"-j", "3", "--memory", In("known"), "--background", In("grounds"), In("videos")});
    EXPECT_EQ(run.code, 0) << run.err;
    const auto readyAt = [&](const std::string& name) {
        return fs::last_write_time(Video::OutputPath(In("grounds"), In("videos/" + name), true, ".png"));
    };
    EXPECT_LT(readyAt("yard/1.avi"), readyAt("gate/1.avi")) << "another camera waits for nobody";
    EXPECT_LT(readyAt("gate/1.avi"), readyAt("gate/2.avi"));
    EXPECT_LT(readyAt("gate/2.avi"), readyAt("gate/3.avi"));
    EXPECT_TRUE(fs::is_directory(In("known")));
}

TEST_F(BatchTest, AFullOutputEndsTheRun) {
    Video::WriteEncoded({Small()}, {.codec = "mpeg4", .container = "avi"}, In("videos/a.avi"));
    const Outcome run = Mdscan({In("videos")}, {.output = "/dev/full"});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
    EXPECT_NE(run.err.find("cannot print results"), std::string::npos) << run.err;
}

TEST_F(BatchTest, AScanThatDiesHasToldItsEvents) {
    const auto part = [](double from) {
        return Video::SquareScene{.width = 160, .height = 120, .seconds = 6, .from = from, .until = from + 1.8};
    };
    Video::WriteEncoded({part(3), part(3), part(3), part(1)}, {.codec = "mpeg2video", .container = "mpegts"}, In("clip.ts"));
    Video::WriteEncoded({Small()}, {.codec = "mpeg4", .container = "avi"}, In("a.avi"));
    const auto killWorker = [](pid_t program) {
        std::ifstream list("/proc/" + std::to_string(program) + "/task/" + std::to_string(program) + "/children");
        pid_t worker = 0;
        ASSERT_TRUE(list >> worker);
        kill(worker, SIGSEGV);
    };
    // A line and an end of the first, then two of the second, whose last part is held back.
    const Outcome run =
        MdscanDisturbed({"-j", "1", "--report", In("page.html"), In("a.avi")}, In("clip.ts"), In("pipe.ts"), 4, killWorker);
    EXPECT_EQ(run.code, 1);
    ASSERT_GE(run.lines.size(), 5u) << run.err;
    const json end = Last(run);
    EXPECT_EQ(end["type"], "file");
    EXPECT_EQ(end["status"], "damaged");
    EXPECT_EQ(end["reason"].get<std::string>().rfind("its scan was ended ", 0), 0u) << end;
    EXPECT_EQ(end["events"], run.lines.size() - 3) << "all that were told";
    EXPECT_NE(Read("page.html").find("its scan was ended "), std::string::npos);
}

TEST_F(BatchTest, WhenNobodyListensNoHalfOfAFileIsLeft) {
    Video::SquareScene longer = Small();
    longer.seconds = 60;
    for (const char* name : {"videos/a.avi", "videos/b.avi", "videos/c.avi"}) {
        Video::WriteEncoded({name == std::string("videos/a.avi") ? Small() : longer}, {.codec = "mpeg4", .container = "avi"},
                            In(name));
    }
    const Outcome run = MdscanUnheard(
        {"-j", "2", "--overlay", In("drawn"), "--clips", In("clips"), "--report", In("page.html"), In("videos")}, 1);
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.err, "mdscan: cannot print results: Broken pipe\n");
    EXPECT_FALSE(fs::exists(In("page.html")));
    for (const auto& entry : fs::recursive_directory_iterator(Folder())) {
        EXPECT_NE(entry.path().extension(), ".part") << entry.path();
    }
}

// What goes to the terminal is lost with it, and nothing else.
TEST_F(BatchTest, AClosedTerminalTakesNoFileWithIt) {
    Video::WriteEncoded({Small()}, {.codec = "mpeg4", .container = "avi"}, In("a.avi"));
    ASSERT_EQ(mkfifo(In("pipe").c_str(), 0600), 0);  // to which nobody ever writes
    const Outcome run =
        MdscanUnheard({"-j", "1", "--csv", In("t.csv"), "--report", In("page.html"), In("a.avi"), In("pipe")}, 2, SIGHUP,
                      "pipe: waiting for a writer");
    EXPECT_EQ(run.code, 1);
    EXPECT_NE(run.err.find("mdscan: cannot print results: Broken pipe\n"), std::string::npos) << run.err;
    const std::string table = Read("t.csv");
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 2) << table;
    EXPECT_TRUE(fs::exists(In("page.html")));
}

// Sanitizers need a pipe of their own whenever they look at an object's type.
#if defined(SANITIZED)
constexpr bool needsPipes = true;
#else
constexpr bool needsPipes = false;
#endif

// A scan takes a pipe. Where the system has none to spare, those that run go on, and the others take their places.
TEST_F(BatchTest, ScansThatCannotStartWaitForThoseThatRun) {
    if (needsPipes) GTEST_SKIP() << "sanitizers need pipes themselves";
    const Names names = {"a.avi", "b.avi", "c.avi", "d.avi", "e.avi", "f.avi", "g.avi", "h.avi", "i.avi", "j.avi"};
    Video::WriteEncoded({Small()}, {.codec = "mpeg4", .container = "avi"}, In("a.avi"));
    for (const std::string& name : names) {
        fs::copy_file(In("a.avi"), In("videos/" + name));
    }
    const Outcome run = Mdscan({"-j", "10", In("videos")}, {.spareFiles = 8});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.lines.size(), 2 * names.size()) << run.err;
}

TEST_F(BatchTest, AScanThatCanNeverStartIsNamed) {
    if (needsPipes) GTEST_SKIP() << "sanitizers need pipes themselves";
    Video::WriteEncoded({Small()}, {.codec = "mpeg4", .container = "avi"}, In("videos/a.avi"));
    fs::copy_file(In("videos/a.avi"), In("videos/b.avi"));
    const Outcome run = Mdscan({"-j", "2", In("videos")}, {.spareFiles = 1});
    EXPECT_EQ(run.code, 1);
    ASSERT_EQ(run.lines.size(), 2u) << run.err;
    for (const json& line : run.lines) {
        EXPECT_EQ(line["status"], "unreadable");
        EXPECT_EQ(line["reason"], "cannot start a scan: Too many open files");
    }
}

TEST_F(BatchTest, AStateThatCannotGrowTakesNothingWithIt) {
    for (const char* name : {"videos/a.avi", "videos/b.avi"}) {
        Video::WriteEncoded({Small()}, {.codec = "mpeg4", .container = "avi"}, In(name));
    }
    const Names arguments = {"-j", "1", "--resume", In("state"), In("videos")};
    const Outcome whole = Mdscan({"-j", "1", In("videos")}), full = Mdscan(arguments, {.largestFile = 1'200});
    EXPECT_EQ(full.code, 1);
    EXPECT_EQ(full.lines, whole.lines);
    const std::string named = "mdscan: cannot write " + In("state") + ": File too large\n";
    EXPECT_EQ(full.err.find(named), full.err.rfind(named)) << "once: " << full.err;
    EXPECT_NE(full.err.find(named), std::string::npos) << full.err;
    EXPECT_EQ(Mdscan(arguments).lines, whole.lines) << "what it holds is whole";
}

TEST_F(BatchTest, WhatIsNoFileIsNotRemembered) {
    const std::string clip = RawClip({.seconds = 3, .from = 0, .until = 0});
    const Outcome run = Mdscan({"--resume", In("state"), "tcp://127.0.0.1:1", clip});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(Read("state").find("127.0.0.1"), std::string::npos);
    EXPECT_NE(Read("state").find("clip.y4m"), std::string::npos);
}

}  // namespace
}  // namespace Scan
