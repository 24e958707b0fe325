// Does an archive that is planned, worked on and gathered give the bytes of one scan, and say whatever is missing?  Called
// as users call it.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "ScanFixture.h"
#include "archive/Plan.h"

namespace Scan {
namespace {

namespace fs = std::filesystem;

using Words = std::vector<std::string>;

Words operator+(Words words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

class ArchiveTest : public ScanFixture {
protected:
    // Videos of two cameras, named after the time of day, in folders of days; one is damaged, one is no video.
    void MakeArchive() {
        const Video::Encoding avi{.codec = "mpeg4", .container = "avi"};
        Video::WriteEncoded({{.width = 160, .height = 120, .seconds = 6, .from = 3, .until = 4.8}}, avi, In("one.avi"));
        Video::WriteEncoded({{.width = 160, .height = 120, .seconds = 5, .from = 2, .until = 4}}, avi, In("two.avi"));
        fs::create_directories(In("2026-03-01/gate"));
        fs::create_directories(In("2026-03-01/yard"));
        fs::copy(In("one.avi"), In("2026-03-01/gate/07-59-00.avi"));
        fs::copy(In("two.avi"), In("2026-03-01/gate/08-59-00.avi"));
        fs::copy(In("two.avi"), In("2026-03-01/yard/07-59-00.avi"));
        Write("2026-03-01/yard/08-59-00.avi", Read("one.avi").substr(0, fs::file_size(In("one.avi")) * 8 / 10));
        Write("2026-03-01/yard/09-59-00.avi", "no video");
        Write("2026-03-01/yard/notes.txt", "");
    }

    // No videos at all, which is a result like any other.
    void MakeTexts() {
        fs::create_directories(In("2026-03-01/gate"));
        for (const std::string& name : Words{"one", "two", "three"}) {
            Write("2026-03-01/gate/" + name + ".avi", name);
        }
    }

    // One thread for each video, as workers scan them.
    Said ScanIt(const Words& words = {}) const {
        return MdscanSaying(Words{Videos(), "-j", "64"} + Outputs("plain") + words);
    }

    std::string Videos() const { return In("2026-03-01"); }

    Words Outputs(const std::string& name) const {
        return {"-o",       In(name + ".jsonl"), "--csv",     In(name + ".csv"),
                "--report", In(name + ".html"),  "--heatmap", In(name + ".heat")};
    }

    void ExpectSame(const std::string& one, const std::string& other) const {
        for (const std::string ending : {".jsonl", ".csv", ".html"}) {
            EXPECT_FALSE(Read(one + ending).empty()) << ending;
            EXPECT_TRUE(Read(one + ending) == Read(other + ending)) << ending;
        }
        std::size_t maps = 0;
        for (const fs::directory_entry& map : fs::directory_iterator(In(one + ".heat"))) {
            ++maps;
            const fs::path same = fs::path(In(other + ".heat")) / map.path().filename();
            EXPECT_TRUE(Read(map.path()) == Read(same)) << same;
        }
        EXPECT_EQ(maps, 2u) << "one of each camera";
    }

    // After "plan".
    Said PlanArchive(const Words& words = {}) const {
        return MdscanSaying(Words{"plan", Videos(), "-o", In("a.plan")} + words);
    }
    Said WorkOnIt(const Words& words = {}) const {
        return MdscanSaying(Words{"work", In("a.plan"), "--into", In("a.d")} + words);
    }
    Said GatherIt(const std::string& name, const Words& words = {}) const {
        return MdscanSaying(Words{"gather", In("a.plan"), "--from", In("a.d")} + Outputs(name) + words);
    }
};

TEST_F(ArchiveTest, GathersTheBytesOfOneScan) {
    MakeArchive();
    Write("zones.json", R"({"zones":[{"name":"left","polygon":[[0,0],[0.7,0],[0.7,1],[0,1]]}]})");
    const Words options{"--track", "--rate", "5", "--zones", In("zones.json"), "--post-roll", "0.5"};
    const Said plain = ScanIt(options);
    EXPECT_EQ(plain.code, 1) << plain.err;

    EXPECT_EQ(PlanArchive(options).code, 0);
    fs::remove(In("zones.json"));  // the plan holds them
    Said one;
    std::thread first([&] { one = WorkOnIt(); });
    const Said two = WorkOnIt({"-j", "2"});
    first.join();
    EXPECT_EQ(one.code, 0) << one.err;
    EXPECT_EQ(two.code, 0) << two.err;
    const Said gathered = GatherIt("gathered");
    EXPECT_EQ(gathered.code, 1) << "two are broken: " << gathered.err;
    ExpectSame("plain", "gathered");
    EXPECT_NE(gathered.err.find("08-59-00.avi: damaged"), std::string::npos) << gathered.err;
    EXPECT_NE(gathered.err.find("5 inputs: 4 with motion, 2 failed; 1 other file passed over"), std::string::npos)
        << gathered.err;
    EXPECT_EQ(WorkOnIt().err, "mdscan: 5 jobs: 0 done here, 5 by others\n");
}

// Names tell times, and the camera: neither may depend on where the archive is on the machine that scans.
TEST_F(ArchiveTest, RootsLieWhereTheyLie) {
    MakeArchive();
    EXPECT_EQ(ScanIt().code, 1);
    EXPECT_EQ(PlanArchive({"--root", "nas=" + Videos()}).code, 0);
    const Plan plan = ReadPlan(In("a.plan"));
    ASSERT_EQ(plan.jobs.size(), 5u);
    EXPECT_EQ(plan.jobs[0].root, "nas");
    EXPECT_EQ(plan.jobs[0].path, "gate/07-59-00.avi");

    fs::rename(Videos(), In("mounted"));
    const Said lost = WorkOnIt();
    EXPECT_EQ(lost.code, 1) << "it may be mounted later";
    EXPECT_NE(lost.err.find("--root nas=FOLDER"), std::string::npos) << lost.err;
    const Said late = WorkOnIt({"--root", "nas=" + In("unmounted")});
    EXPECT_EQ(late.code, 1);
    EXPECT_NE(late.err.find("unmounted: there is no such folder here"), std::string::npos) << late.err;
    EXPECT_EQ(WorkOnIt({"--root", "tape=" + In("mounted")}).code, 2) << "none of the plan's";
    const Said work = WorkOnIt({"--root", "nas=" + In("mounted")});
    EXPECT_EQ(work.code, 0) << work.err;
    fs::rename(In("mounted"), Videos());  // where the page finds them
    EXPECT_EQ(GatherIt("gathered").code, 1);
    ExpectSame("plain", "gathered");

    const Said outside = MdscanSaying({"plan", Videos(), In("one.avi"), "--root", "nas=" + Videos()});
    EXPECT_EQ(outside.code, 2);
    EXPECT_NE(outside.err.find("one.avi: is below no root"), std::string::npos) << outside.err;
}

TEST_F(ArchiveTest, SaysWhatIsMissing) {
    MakeTexts();
    EXPECT_EQ(PlanArchive().code, 0);
    Write("2026-03-01/gate/two.avi", "changed");
    const Said work = WorkOnIt();
    EXPECT_EQ(work.code, 1);
    EXPECT_NE(work.err.find("gate/two.avi: not done: has changed since it was planned"), std::string::npos) << work.err;
    EXPECT_NE(work.err.find("3 jobs: 2 done here, 0 by others, 1 not done"), std::string::npos) << work.err;

    const std::string key = ReadPlan(In("a.plan")).jobs[0].key, result = "a.d/" + key + ".result", whole = Read(result);
    ASSERT_FALSE(whole.empty());
    Write(result, whole.substr(0, whole.size() / 2));
    const Said gathered = GatherIt("gathered");
    EXPECT_EQ(gathered.code, 1);
    EXPECT_NE(gathered.err.find("gate/one.avi: its result is damaged, and removed"), std::string::npos) << gathered.err;
    EXPECT_NE(gathered.err.find("gate/two.avi: not scanned yet"), std::string::npos) << gathered.err;
    EXPECT_NE(gathered.err.find("3 inputs: 0 with motion, 1 failed, 2 missing"), std::string::npos) << gathered.err;
    EXPECT_NE(WorkOnIt().err.find("1 done here"), std::string::npos) << "what was damaged is done again";
    EXPECT_EQ(Read(result).size(), whole.size());

    // A new plan knows the changed file; the others are done.
    EXPECT_EQ(PlanArchive().code, 0);
    EXPECT_EQ(WorkOnIt().err, "mdscan: 3 jobs: 1 done here, 2 by others\n");
    EXPECT_EQ(PlanArchive({"--rate", "3"}).code, 0);
    EXPECT_EQ(WorkOnIt().err, "mdscan: 3 jobs: 3 done here, 0 by others\n") << "other options, other results";
}

// As arrays of schedulers do, which count.
TEST_F(ArchiveTest, OneJobIsDoneByItsNumber) {
    MakeTexts();
    EXPECT_EQ(PlanArchive().code, 0);
    const Plan plan = ReadPlan(In("a.plan"));
    EXPECT_EQ(WorkOnIt({"--job", "2"}).err, "mdscan: 1 job: 1 done here, 0 by others\n");
    EXPECT_TRUE(fs::exists(In("a.d/" + plan.jobs[1].key + ".result")));
    EXPECT_FALSE(fs::exists(In("a.d/" + plan.jobs[0].key + ".result")));
    EXPECT_EQ(WorkOnIt({"--job", "2"}).err, "mdscan: 1 job: 0 done here, 1 by others\n");
    for (int job = 1; job <= 3; ++job) {
        EXPECT_EQ(WorkOnIt({"-q", "--job", std::to_string(job)}).code, 0) << job;
    }
    EXPECT_NE(GatherIt("gathered").err.find("3 inputs: 0 with motion, 3 failed; "), std::string::npos);

    const Said beyond = WorkOnIt({"--job", "4"});
    EXPECT_EQ(beyond.code, 2);
    EXPECT_NE(beyond.err.find("there is no job 4 in " + In("a.plan") + ": it has 3 jobs"), std::string::npos) << beyond.err;
    EXPECT_EQ(WorkOnIt({"--job", "0"}).code, 2);
    const Said farm = MdscanSaying({"work", "--at", "postgresql:///none", "--job", "1"});
    EXPECT_EQ(farm.code, 2);
    EXPECT_NE(farm.err.find("--job belongs to --into"), std::string::npos) << farm.err;
}

// A copy of an archive has other times of change.
TEST_F(ArchiveTest, ContentTellsThatAVideoIsTheSame) {
    MakeTexts();
    const std::string one = Videos() + "/gate/one.avi";
    const auto touch = [&] { fs::last_write_time(one, fs::last_write_time(one) + std::chrono::hours(1)); };
    EXPECT_EQ(PlanArchive({"--identity", "content"}).code, 0);
    const std::string planned = Read("a.plan");
    EXPECT_NE(planned.find(R"("content":"7692c3ad3540bb803c020b3aee66cd8887123234ea0c6e7143c0add73ff431ed")"),
              std::string::npos)
        << "SHA-256 of one: " << planned;
    EXPECT_EQ(planned.find(R"("changed")"), std::string::npos) << planned;
    touch();
    EXPECT_NE(WorkOnIt().err.find("3 jobs: 3 done here"), std::string::npos);
    touch();
    EXPECT_EQ(PlanArchive({"--identity", "content"}).code, 0);
    EXPECT_EQ(Read("a.plan"), planned);

    Write("2026-03-01/gate/one.avi", "eno");  // as long
    EXPECT_EQ(PlanArchive({"--identity", "content"}).code, 0);
    EXPECT_NE(WorkOnIt().err.find("3 jobs: 1 done here, 2 by others"), std::string::npos);
    EXPECT_EQ(PlanArchive().code, 0);
    EXPECT_NE(WorkOnIt().err.find("3 jobs: 3 done here"), std::string::npos) << "times make other keys";
    EXPECT_EQ(PlanArchive({"--identity", "content"}).code, 0);
    Write("2026-03-01/gate/one.avi", "longer");
    fs::remove_all(In("a.d"));
    EXPECT_NE(WorkOnIt().err.find("one.avi: not done: has changed since it was planned"), std::string::npos);
    EXPECT_EQ(PlanArchive({"--identity", "name"}).code, 2);
}

// As others can be planned nevertheless, it is named, and fails when all is gathered.
TEST_F(ArchiveTest, ContentThatCannotBeReadHoldsUpNothing) {
    MakeTexts();
    fs::create_symlink("/proc/self/mem", In("2026-03-01/gate/zero.avi"));  // no address 0 to read at, not even for root
    const Said planned = PlanArchive({"--identity", "content"});
    EXPECT_EQ(planned.code, 0);
    EXPECT_EQ(planned.err, "mdscan: " + In("2026-03-01/gate/zero.avi") +
                               ": not planned: cannot be read: Input/output error\nmdscan: 3 jobs\n");
    EXPECT_NE(WorkOnIt().err.find("3 jobs: 3 done here"), std::string::npos);
    const Said gathered = GatherIt("gathered");
    EXPECT_EQ(gathered.code, 1);
    EXPECT_NE(gathered.err.find("zero.avi: cannot be read: Input/output error"), std::string::npos) << gathered.err;
    EXPECT_NE(gathered.err.find("4 inputs: 0 with motion, 4 failed; "), std::string::npos) << gathered.err;
}

// At the first signal, whatever is left to be read.
TEST_F(ArchiveTest, PlanningByContentIsInterrupted) {
    fs::create_directories(In("2026-03-01"));
    Write("2026-03-01/large.avi", "");
    fs::resize_file(In("2026-03-01/large.avi"), std::uintmax_t{1} << 43);  // hours of zeroes, none of them on the disk
    const Outcome plan = MdscanSignalled({"plan", Videos(), "--identity", "content", "-o", In("a.plan")}, SIGINT, 2000);
    EXPECT_EQ(plan.code, 1);
    EXPECT_EQ(plan.err, "mdscan: interrupted\n");
    EXPECT_FALSE(fs::exists(In("a.plan")));
}

TEST_F(ArchiveTest, RefusesWhatCannotBe) {
    MakeTexts();
    const auto refusal = [](const Said& said) {
        EXPECT_EQ(said.code, 2) << said.err;
        return said.err;
    };
    EXPECT_NE(refusal(PlanArchive({"--memory", In("memory")})).find("cannot plan with --memory: each video would wait"),
              std::string::npos);
    EXPECT_NE(refusal(MdscanSaying({"plan", "-"})).find("cannot plan -: is not a plain file"), std::string::npos);
    EXPECT_NE(refusal(PlanArchive({"--clips", In("clips")})).find("--clips"), std::string::npos);
    EXPECT_NE(refusal(PlanArchive({"--root", "nas"})).find("--root must be NAME=FOLDER"), std::string::npos);
    EXPECT_FALSE(fs::exists(In("a.plan")));

    EXPECT_EQ(PlanArchive().code, 0);
    const std::string plan = Read("a.plan");
    for (const Words& words :
         {Words{"gather", In("a.plan"), "--from", In("a.d")}, {"work", In("b.plan"), "--into", In("a.d")}}) {
        const Said late = MdscanSaying(words);
        EXPECT_EQ(late.code, 1) << "it may be there later: a service tries again";
        EXPECT_NE(late.err.find("cannot open"), std::string::npos) << late.err;
    }
    EXPECT_EQ(refusal(MdscanSaying({"work", In("a.plan")})).rfind("mdscan: --into is required", 0), 0u);
    std::string other = plan;
    other.replace(other.find("coreMD 1."), 9, "coreMD 0.");
    Write("a.plan", other);
    EXPECT_NE(refusal(WorkOnIt()).find("was made by another version of mdscan"), std::string::npos);
    other = plan;
    other.replace(other.find("rate 6"), 6, "rate 5");
    Write("a.plan", other);
    EXPECT_NE(refusal(WorkOnIt()).find("was made by another version of mdscan"), std::string::npos);
    Write("a.plan", plan.substr(0, plan.rfind("{\"type\":\"job\"")));
    EXPECT_NE(refusal(WorkOnIt()).find("is not a whole plan"), std::string::npos);
    Write("a.plan", plan.substr(0, plan.size() - 20));
    EXPECT_NE(refusal(WorkOnIt()).find("line 4 is none of it"), std::string::npos);
    for (const std::string& text : {std::string(), std::string("RIFF\n"), std::string("{\"type\":\"scan\"}\n")}) {
        Write("a.plan", text);
        EXPECT_NE(refusal(WorkOnIt()).find("is no plan of mdscan"), std::string::npos);
    }
}

TEST_F(ArchiveTest, AnInterruptedWorkerGivesBackItsJobs) {
    fs::create_directory(Videos());
    Video::WriteEncoded({{.width = 160, .height = 120, .seconds = 6, .from = 3, .until = 4.8}},
                        {.codec = "mpeg4", .container = "avi"}, In("one.avi"));
    for (int i = 0; i < 12; ++i) {
        fs::create_hard_link(In("one.avi"), Videos() + "/" + std::to_string(100 + i) + ".avi");
    }
    EXPECT_EQ(PlanArchive().code, 0);
    double seconds = 0;
    const Outcome work =
        MdscanSignalledAt({"work", In("a.plan"), "--into", In("a.d"), "--progress", "json"}, SIGTERM, "\"done\"", seconds);
    EXPECT_EQ(work.code, 1) << work.err;
    EXPECT_LT(seconds, 10);
    EXPECT_NE(work.err.find(" not done; interrupted"), std::string::npos) << work.err;
    for (const fs::directory_entry& file : fs::directory_iterator(In("a.d"))) {
        EXPECT_EQ(file.path().extension(), ".result") << "given back at once";
    }
    EXPECT_EQ(WorkOnIt({"-j", "2"}).code, 0);
    EXPECT_EQ(MdscanSaying({"gather", In("a.plan"), "--from", In("a.d"), "-q", "-o", In("all")}).code, 0);
    const std::string lines = Read("all");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 1 + 12 * 2) << "an event and an end of each";
}

}  // namespace
}  // namespace Scan
