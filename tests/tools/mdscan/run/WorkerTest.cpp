// Does a run outlive whatever a scan beside it says, or fails to say?
#include "run/Worker.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <string>
#include <variant>
#include <vector>

#include <poll.h>
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

TEST(Worker, TellsWhatAScanFoundBeforeItDied) {
    const std::string whole = "L" + LineOf(EventRecord{.number = 1}) + "\nL" + LineOf(EventRecord{.number = 2}) + "\n",
                      words = whole + ("L" + LineOf(EventRecord{.number = 3})).substr(0, 40);
    Worker worker([&](int pipe) {
        std::signal(SIGSEGV, SIG_DFL);  // whoever else may want to know of it
        if (write(pipe, words.data(), words.size()) == static_cast<ssize_t>(words.size())) {
            std::raise(SIGSEGV);
        }
    });
    while (worker.Read()) {
    }
    EXPECT_EQ(worker.TakeRecords().size(), 2u) << "half a record is none";
    EXPECT_EQ(worker.Result().health, Health::Damaged) << "scanned as far as it goes";
    EXPECT_EQ(worker.Result().tally.events, 2);
    EXPECT_EQ(worker.Result().trouble.rfind("its scan was ended by signal 11, ", 0), 0u) << worker.Result().trouble;
}

TEST(Worker, ADismissedScanEndsInGoodOrder) {
    std::array<int, 2> ends = {};
    ASSERT_EQ(pipe(ends.data()), 0);
    {
        Worker worker([&](int pipe) {
            std::signal(SIGPIPE, SIG_IGN);
            std::signal(SIGTERM, [](int) {});
            while (write(pipe, "P\n", 2) == 2) {  // until nobody listens
                poll(nullptr, 0, 10);             // the signal may come before it
            }
            EXPECT_EQ(write(ends[1], "whole", 5), 5);
        });
        close(ends[1]);
        EXPECT_TRUE(worker.Read()) << "it is under way";
    }
    std::array<char, 8> said = {};
    EXPECT_EQ(read(ends[0], said.data(), said.size()), 5) << "it was not killed";
    close(ends[0]);
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
