// Is the library equal to its model to the last bit?  Random streams through both, compared after every frame.
//
//     COREMD_DIFF_SEED=42 [COREMD_DIFF_FRAMES=300] ./DifferentialTest     that stream alone (and no other case)
//     COREMD_DIFF_FRAMES=1000000 ./DifferentialTest                       more frames in all
#include "PlantedFaults.h"
#include "SideBySide.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>

namespace Reference {
static void PrintTo(const PlantedFault& fault, std::ostream* out) { *out << fault.name; }
}  // namespace Reference

namespace {

using Reference::RuleCounters;
using Reference::SideBySide;

#if defined(__SANITIZE_ADDRESS__) || !defined(__OPTIMIZE__)
constexpr bool isSlowBuild = true;
#else
constexpr bool isSlowBuild = false;
#endif
constexpr long long defaultFrames = isSlowBuild ? 20'000 : 200'000;
constexpr int shards = 8;
constexpr std::uint64_t seedsPerShard = 1'000'000;

std::optional<long long> Variable(const char* name) {
    const char* text = std::getenv(name);
    return text != nullptr ? std::optional(std::strtoll(text, nullptr, 10)) : std::nullopt;
}

bool IsReplay() { return Variable("COREMD_DIFF_SEED").has_value(); }

class Differential : public testing::TestWithParam<int> {};

TEST_P(Differential, LibraryEqualsModel) {
    if (IsReplay()) GTEST_SKIP() << "one seed is replayed";
    long long framesLeft = Variable("COREMD_DIFF_FRAMES").value_or(defaultFrames) / shards;
    int failures = 0;
    for (std::uint64_t seed = static_cast<std::uint64_t>(GetParam()) * seedsPerShard; framesLeft > 0; ++seed) {
        SideBySide run(seed);
        const int frames = static_cast<int>(std::min<long long>(framesLeft, run.Frames()));
        if (const auto difference = run.Play(frames)) {
            ADD_FAILURE() << *difference;
            ASSERT_LT(++failures, 3) << "no more streams are tried";
        }
        framesLeft -= frames;
    }
}

INSTANTIATE_TEST_SUITE_P(Shards, Differential, testing::Range(0, shards));

TEST(DifferentialReplay, OneSeed) {
    if (!IsReplay()) GTEST_SKIP() << "COREMD_DIFF_SEED names no seed";
    SideBySide run(static_cast<std::uint64_t>(*Variable("COREMD_DIFF_SEED")));
    const int frames = static_cast<int>(Variable("COREMD_DIFF_FRAMES").value_or(run.Frames()));
    const auto difference = run.Play(frames);
    EXPECT_FALSE(difference) << *difference;
    std::cout << run.FramesPlayed() << " frames\n" << run.Counters();
}

// Two detectors in one process: their frames take turns.
TEST(DifferentialPairs, ShareNothing) {
    if (IsReplay()) GTEST_SKIP() << "one seed is replayed";
    for (std::uint64_t seed = shards * seedsPerShard; seed < shards * seedsPerShard + 8; seed += 2) {
        SideBySide first(seed), second(seed + 1);
        for (int frame = std::min(first.Frames(), second.Frames()); frame > 0; --frame)
            for (SideBySide* run : {&first, &second})
                if (const auto difference = run->Play(1)) FAIL() << *difference;
    }
}

// The streams are the same in every build: the rules that they reach are counted where that is quick.
TEST(DifferentialStreams, ReachEveryRule) {
    if (IsReplay()) GTEST_SKIP() << "one seed is replayed";
    if (isSlowBuild) GTEST_SKIP() << "counted in optimised builds";
    constexpr std::uint64_t framesPerShard = defaultFrames / shards;
    RuleCounters counters;
    for (std::uint64_t shard = 0; shard < shards; ++shard)
        for (std::uint64_t seed = shard * seedsPerShard, frames = 0; frames < framesPerShard; ++seed) {
            const int length = Reference::Scenario(seed).Frames();
            counters.Add(SideBySide::Rehearse(seed, length));
            frames += static_cast<std::uint64_t>(length);
        }
    std::cout << counters;
    for (std::size_t i = 0; i < Reference::ruleCount; ++i) {
        const auto rule = static_cast<Reference::Rule>(i);
        EXPECT_GE(counters.Of(rule), 10u) << RuleCounters::TextOf(rule);
    }
}

// A model with one rule changed must not pass for equal. In quick builds alone, too.
class Planted : public testing::TestWithParam<Reference::PlantedFault> {};

TEST_P(Planted, FaultIsNoticed) {
    if (IsReplay()) GTEST_SKIP() << "one seed is replayed";
    if (isSlowBuild) GTEST_SKIP() << "looked for in optimised builds";
    Reference::Rules rules;
    GetParam().plant(rules);
    constexpr long long enough = 100'000;
    long long frames = 0;
    for (std::uint64_t seed = 0; frames < enough; ++seed) {
        SideBySide run(seed, rules);
        if (run.Play(run.Frames())) {
            RecordProperty("frames", static_cast<int>(frames) + run.FramesPlayed());
            return;
        }
        frames += run.FramesPlayed();
    }
    FAIL() << "not noticed within " << frames << " frames";
}

INSTANTIATE_TEST_SUITE_P(Faults, Planted, testing::ValuesIn(Reference::PlantedFaults()),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
