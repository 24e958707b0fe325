// Is a finished input known again, an unfinished or changed one not, and nobody else's file touched?
#include "run/RunState.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <variant>
#include <vector>

#include "FolderFixture.h"
#include "results/JsonLines.h"
#include "results/PackedResult.h"
#include "results/PictureLines.h"
#include "results/Records.h"
#include "results/ScanPictures.h"
#include "video/base/Failure.h"
#include "video/files/CheckedLine.h"
#include "video/watch/Condition.h"

namespace Scan {
namespace {

namespace fs = std::filesystem;

class RunStateTest : public Kit::FolderFixture {
protected:
    void SetUp() override {
        Write("one", "1");
        Write("two\xff%", "2");
    }

    // Records both inputs.
    void Fill() const {
        RunState state(In("state"), "run");
        for (const char* name : {"one", "two\xff%"}) {
            FinishedInput finished;
            finished.result.trouble = name[0] == 'o' ? "one" : "two";
            finished.records = {EventRecord{.file = name, .number = 1}, GapRecord{.reason = "why"},
                                ConditionRecord{.kind = Video::ConditionKind::Covered, .end = 15'000'000}};
            finished.pictures = {LineOf(EventPicture{1, "jpeg"})};
            state.Add(In(name), IdentityOf(In(name)), finished);
        }
    }

    // With a checksum in front of every line that is true.
    static std::string Rechecked(const std::string& content) {
        std::string checked;
        std::istringstream lines(content);
        for (std::string line; std::getline(lines, line);) {
            checked += Video::Checked(line.substr(line.find(' ') + 1)) + "\n";
        }
        return checked;
    }

    std::string Complaint(const std::string& run = "run") const {
        try {
            RunState state(In("state"), run);
        } catch (const Video::Failure& failure) {
            return failure.what();
        }
        return "";
    }

    Video::ExitCode Refusal(const std::string& run = "run") const {
        try {
            RunState state(In("state"), run);
        } catch (const Video::Failure& failure) {
            return failure.Code();
        }
        return Video::exitComplete;
    }
};

TEST_F(RunStateTest, WhatIsFinishedIsKnownToTheNextRun) {
    Fill();
    const RunState state(In("state"), "run");
    const auto one = state.Find(In("one"));
    ASSERT_TRUE(one);
    EXPECT_EQ(one->trouble, "one");
    EXPECT_EQ(state.Read(In("one")).result.trouble, "one");
    const RecalledInput read = state.Read(In("one"));
    ASSERT_EQ(read.records.size(), 3u);
    EXPECT_EQ(std::get<EventRecord>(read.records[0]).file, "one");
    EXPECT_EQ(std::get<GapRecord>(read.records[1]).reason, "why");
    EXPECT_EQ(std::get<ConditionRecord>(read.records[2]).kind, Video::ConditionKind::Covered);
    EXPECT_EQ(std::get<ConditionRecord>(read.records[2]).end, 15'000'000);
    ASSERT_EQ(read.pictures.size(), 1u);
    EXPECT_EQ(std::get<EventPicture>(read.pictures[0]).jpeg, "jpeg");
    EXPECT_EQ(state.Read(In("two\xff%")).result.trouble, "two");
    ASSERT_TRUE(state.Find(In("two\xff%"))) << "names may hold any bytes";
    EXPECT_FALSE(state.Find(In("three")));
}

TEST_F(RunStateTest, KeysOfPathsLeadBackToThem) {
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
    }
    for (const std::string& path : {bytes, std::string("100%"), std::string("%41%4"), std::string()}) {
        EXPECT_EQ(PathOf(KeyOf(path)), path);
        for (const char c : KeyOf(path)) {
            EXPECT_LT(static_cast<unsigned char>(c), 0x80u) << "JSON holds text";
        }
    }
}

TEST_F(RunStateTest, ALineOfAnotherInputIsNoneOfThisOne) {
    const std::string line = StateLine("one", {1, 2}, {});
    EXPECT_NO_THROW(ReadStateLine(line, "one"));
    EXPECT_THROW(ReadStateLine(line, "two"), std::exception);
    EXPECT_EQ(EntryOfStateLine(line).key, "one");
    EXPECT_EQ(EntryOfStateLine(line).identity, (Identity{1, 2}));
    for (std::size_t i = 0; i < line.size(); ++i) {
        std::string damaged = line;
        damaged[i] = static_cast<char>(damaged[i] ^ 1);
        ASSERT_THROW(ReadStateLine(damaged, "one"), std::exception) << i;
        ASSERT_THROW(ReadStateLine(line.substr(0, i), "one"), std::exception) << i;
    }
}

TEST_F(RunStateTest, AChangedFileIsNotKnown) {
    Fill();
    Write("one", "longer");
    const RunState state(In("state"), "run");
    EXPECT_FALSE(state.Find(In("one")));
    EXPECT_TRUE(state.Find(In("two\xff%")));
}

TEST_F(RunStateTest, WhereverItIsCutItKnowsTheWholeLines) {
    Fill();
    const std::string whole = Read("state");
    const std::size_t header = whole.find('\n') + 1, first = whole.find('\n', header) + 1;
    for (std::size_t size = 0; size <= whole.size(); size += size + 5 < whole.size() ? 5 : 1) {
        Write("state", whole.substr(0, size));
        RunState state(In("state"), "run");
        ASSERT_EQ(state.Find(In("one")).has_value(), size >= first) << size;
        ASSERT_EQ(state.Find(In("two\xff%")).has_value(), size == whole.size()) << size;
        state.Add(In("two\xff%"), IdentityOf(In("two\xff%")), {});
        state.Leave();
        ASSERT_TRUE(RunState(In("state"), "run").Find(In("two\xff%"))) << "what follows a cut must be whole: " << size;
    }
}

TEST_F(RunStateTest, AnotherRunsStateIsRefused) {
    Fill();
    const std::string before = Read("state");
    EXPECT_EQ(Refusal("other"), Video::exitUsage);
    EXPECT_EQ(Read("state"), before);
}

TEST_F(RunStateTest, WhatIsNoStateIsRefusedAndLeftAlone) {
    for (const char* content : {"no state", "no state\n", "{}\n", "\n", "[1]\n"}) {
        Write("state", content);
        EXPECT_EQ(Refusal(), Video::exitUsage) << content;
        EXPECT_EQ(Read("state"), content);
    }
    fs::remove(In("state"));
    fs::create_directory(In("state"));
    EXPECT_EQ(Refusal(), Video::exitUsage);
}

TEST_F(RunStateTest, ADamagedLineIsNamedOnceAndScannedAnew) {
    Fill();
    const std::string whole = Read("state");
    Write("state", std::string(whole).replace(whole.find(R"(two\")"), 3, "tvo") + "{}\n");
    {
        const RunState state(In("state"), "run");
        EXPECT_EQ(state.Damage(), "lines 3, 4 are damaged: what was known from there is scanned anew");
        EXPECT_TRUE(state.Find(In("one")));
        EXPECT_FALSE(state.Find(In("two\xff%")));
    }
    RunState state(In("state"), "run");
    EXPECT_EQ(state.Damage(), "");
    state.Add(In("two\xff%"), IdentityOf(In("two\xff%")), {});
    state.Leave();
    const RunState later(In("state"), "run");
    EXPECT_TRUE(later.Find(In("one")));
    EXPECT_TRUE(later.Find(In("two\xff%")));
}

TEST_F(RunStateTest, ManyDamagedLinesAreOneComplaint) {
    Fill();
    Write("state", Read("state") + "a\nb\nc\nd\ne\nf\ng\n");
    EXPECT_EQ(RunState(In("state"), "run").Damage(),
              "lines 4, 5, 6, 7, 8 and 2 more are damaged: what was known from there is scanned anew");
}

// What was recorded of an input, or nothing.
std::string Told(const RunState& state, const std::string& input) {
    if (!state.Find(input)) {
        return "";
    }
    const RecalledInput recalled = state.Read(input);
    std::string told = Packed(recalled.result);
    for (const Record& record : recalled.records) {
        told += "\n" + LineOf(record);
    }
    for (const ScanPicture& picture : recalled.pictures) {
        told += "\n" + LineOf(picture);
    }
    return told;
}

TEST_F(RunStateTest, WhicheverByteIsDamagedNothingWrongIsTold) {
    Fill();
    const std::string whole = Read("state");
    const std::size_t header = whole.find('\n') + 1, second = whole.find('\n', header) + 1;
    std::string told[2];
    {
        const RunState state(In("state"), "run");
        told[0] = Told(state, In("one"));
        told[1] = Told(state, In("two\xff%"));
    }
    ASSERT_NE(told[0], "");
    for (std::size_t place = 0; place < whole.size(); ++place) {
        for (const char other : {static_cast<char>(whole[place] ^ 1), '\n'}) {
            if (other == whole[place]) {
                continue;
            }
            std::string damaged = whole;
            damaged[place] = other;
            fs::remove(In("state"));  // some file systems see a file to the disk that is written over
            Write("state", damaged);
            if (place < header) {
                ASSERT_EQ(Refusal(), Video::exitUsage) << place;
                ASSERT_EQ(Read("state"), damaged) << "left alone";
                continue;
            }
            const RunState state(In("state"), "run");
            const bool isFirst = place < second - 1, isBoth = place == second - 1;  // the end of a line joins two
            ASSERT_EQ(Told(state, In("one")), isFirst || isBoth ? "" : told[0]) << place;
            ASSERT_EQ(Told(state, In("two\xff%")), isFirst ? told[1] : "") << place;
            const bool isCut = place == whole.size() - 1;  // as if the run had been killed
            ASSERT_EQ(state.Damage().empty(), isCut) << place;
        }
    }
}

TEST_F(RunStateTest, TheLastLineOfAnInputCounts) {
    Fill();
    {
        RunState state(In("state"), "run");
        FinishedInput finished;
        finished.result.trouble = "later";
        state.Add(In("one"), IdentityOf(In("one")), finished);
    }
    EXPECT_EQ(RunState(In("state"), "run").Find(In("one"))->trouble, "later");
}

TEST_F(RunStateTest, AnOlderVersionsStateIsRefused) {
    Write("state", "{\"mdscan-state\":1,\"run\":\"run\"}\n{\"file\":\"a\"}\n");
    const std::string before = Read("state");
    EXPECT_EQ(Refusal(), Video::exitUsage);
    EXPECT_EQ(Complaint(), "cannot resume from " + In("state") + ": was made with other options or another version");
    EXPECT_EQ(Read("state"), before);
}

TEST_F(RunStateTest, ADamagedFirstLineIsRefusedAsSuch) {
    Fill();
    Write("state", Read("state").replace(3, 1, "x"));
    EXPECT_EQ(Complaint(), "cannot resume from " + In("state") + ": its first line is damaged");
    EXPECT_EQ(Refusal(), Video::exitUsage);
}

TEST_F(RunStateTest, ARecordThatIsNoneIsDamage) {
    Fill();
    const std::string whole = Read("state"), why = R"(\"reason\":\"why\")";
    ASSERT_NE(whole.find(why), std::string::npos);
    Write("state", Rechecked(std::string(whole).replace(whole.rfind(why), why.size(), R"(\"reason\":7)")));
    EXPECT_EQ(RunState(In("state"), "run").Damage().find("line 3 is damaged"), 0u);
}

TEST_F(RunStateTest, PicturesThatAreNoTextsAreKnownAtOnce) {
    Fill();
    const std::string whole = Read("state"), name = R"("attachments":)";
    const std::size_t begin = whole.rfind(name) + name.size(), end = whole.find(']', begin) + 1;
    ASSERT_EQ(whole[begin], '[');
    for (const char* other : {"5", "[7]", "{}", "\"text\""}) {
        Write("state", Rechecked(std::string(whole).replace(begin, end - begin, other)));
        EXPECT_EQ(RunState(In("state"), "run").Damage().find("line 3 is damaged"), 0u) << other;
    }
}

TEST_F(RunStateTest, APictureThatIsNoneIsDamage) {
    Fill();
    const std::string whole = Read("state"), jpeg = R"(\"jpeg\":\")";
    ASSERT_NE(whole.find(jpeg), std::string::npos);
    Write("state", Rechecked(std::string(whole).insert(whole.find(jpeg) + jpeg.size(), "*")));
    const RunState state(In("state"), "run");
    ASSERT_TRUE(state.Find(In("one")));
    EXPECT_THROW(state.Read(In("one")), Video::Failure);
    EXPECT_NO_THROW(state.Read(In("two\xff%")));
}

TEST_F(RunStateTest, AStateThatChangesDuringTheRunIsNotReplayed) {
    Fill();
    const RunState state(In("state"), "run");
    const std::string whole = Read("state");
    Write("state", std::string(whole).replace(whole.find(R"(one\")"), 3, "ohe"));
    ASSERT_TRUE(state.Find(In("one")));
    EXPECT_THROW(state.Read(In("one")), Video::Failure);
}

TEST_F(RunStateTest, AStateInUseIsRefused) {
    const RunState state(In("state"), "run");
    EXPECT_EQ(Refusal(), Video::exitFailed);
}

}  // namespace
}  // namespace Scan
