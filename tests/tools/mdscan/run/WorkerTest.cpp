// Does a run outlive whatever a scan beside it says, or fails to say?
#include "run/Worker.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <variant>
#include <vector>

#include <unistd.h>

#include "results/JobResult.h"
#include "results/JsonLines.h"
#include "results/PackedResult.h"
#include "results/Records.h"

namespace Scan {
namespace {

// What is left of a process that said this; it has to be ended, or ends itself.
struct Outlived {
    JobResult result;
    std::vector<Record> records;
    bool wasKilled;
};

Outlived After(const std::string& words, bool stays) {
    Worker worker([&](int pipe) {
        const bool said = write(pipe, words.data(), words.size()) == static_cast<ssize_t>(words.size());
        while (said && stays) {
            pause();
        }
    });
    while (worker.Read()) {
    }
    return {worker.Result(), worker.TakeRecords(), worker.WasKilled()};
}

TEST(Worker, HandsOnWhatAScanSays) {
    const JobResult sent{.health = Health::Damaged, .trouble = "near 3 s", .tally = {.pictures = 9}};
    const Outlived left = After("L" + LineOf(EventRecord{.number = 4}) + "\nE" + Packed(sent) + "\n", false);
    EXPECT_EQ(left.result.health, Health::Damaged);
    EXPECT_EQ(left.result.trouble, "near 3 s");
    EXPECT_EQ(left.result.tally.pictures, 9);
    EXPECT_FALSE(left.wasKilled);
    ASSERT_EQ(left.records.size(), 1u);
    EXPECT_EQ(std::get<EventRecord>(left.records[0]).number, 4);
}

TEST(Worker, EndsAScanThatCannotBeUnderstood) {
    const std::string good = "L" + LineOf(EventRecord{.number = 4}) + "\n";
    for (const char* words : {"L\n", "L{}\n", "Lno record\n", "E{}\n", "E\n", "E{\"health\":99}\n"}) {
        const Outlived left = After(good + words + good, true);
        EXPECT_EQ(left.result.health, Health::Unreadable) << words;
        EXPECT_EQ(left.result.code, Video::exitFailed) << words;
        EXPECT_EQ(left.result.trouble, "its scan was ended without a result") << words;
        EXPECT_TRUE(left.wasKilled) << words << "says nothing about the input";
        EXPECT_EQ(left.records.size(), 1u) << words << "what came before is good, what comes after is not asked for";
    }
}

TEST(Worker, NamesWhatEndedAScan) {
    Worker crashed([](int) { std::raise(SIGKILL); });
    while (crashed.Read()) {
    }
    EXPECT_EQ(crashed.Result().trouble.rfind("its scan was ended by signal 9, ", 0), 0u) << crashed.Result().trouble;
    EXPECT_EQ(After("", false).result.trouble, "its scan was ended without a result");
}

}  // namespace
}  // namespace Scan
