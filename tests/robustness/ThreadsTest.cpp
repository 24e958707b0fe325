// Do handles share anything?  Eight handles in eight threads, each with its own stream, give what each gives alone.  The
// threads come first and start together, so that whatever is made on first use is made in a race; scripts/check-tsan.sh
// looks on.
#include <cstdint>
#include <latch>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "OutputDigest.h"
#include "ScriptedStream.h"
#include "detector/MotionDetector.h"

namespace {

constexpr int streams = 8, framesOfStream = 400;

// One stream from the first call to the last: every kind, two grids, zones replaced, both settings.
std::uint64_t Play(int number) {
    constexpr Kit::InputKind kinds[] = {Kit::InputKind::StandardWithShadows, Kit::InputKind::Standard, Kit::InputKind::MPEG4,
                                        Kit::InputKind::PartlyH264};
    DetectorHandle handle = nullptr;
    h15(&handle);
    GetDetector(&handle)->_skipPhase = number % 2;  // the draw from the C library's one generator depends on who comes first
    Kit::OutputDigest digest;
    std::int64_t time = number;
    for (int part = 0; part < 2; ++part) {
        h11(&handle);
        std::uint8_t mask[] = {1, 1, 0, 0, 1, 1};
        MDZoneInfo left{mask, 3, 1, 0.3f, 0.0f, 0.0f}, right{mask + 3, 3, 1, 0.3f, 0.05f, 0.05f};
        h12(&handle, &left);
        h12(&handle, &right);
        Kit::StreamScript script;
        script.kind = kinds[(number + part) % 4];
        script.columns = 20 + number;
        script.rows = 15 + part;
        script.seed = static_cast<std::uint64_t>(number);
        script.shadows = 2;
        script.hasDrift = number % 2 == 0;
        Kit::ScriptedStream stream(script, time);
        for (int frame = 0; frame < framesOfStream / 2; ++frame) {
            if (frame % 50 == 20) h35(&handle, frame / 50 % 2);
            if (frame % 70 == 30) h36(&handle, frame / 70 % 2);
            DetectionInfo info = stream.Next();
            h13(&handle, &info);
            digest.AddFrame(&handle, stream.BlockCount());
        }
        time = stream.NextTime();
    }
    h14(&handle);
    return digest.Value();
}

TEST(ThreadsTest, EightHandlesInEightThreadsShareNothing) {
    std::vector<std::uint64_t> together(streams), alone(streams);
    std::latch start(streams);
    std::vector<std::thread> threads;
    for (int number = 0; number < streams; ++number)
        threads.emplace_back([&, number] {
            start.arrive_and_wait();
            together[static_cast<std::size_t>(number)] = Play(number);
        });
    for (std::thread& thread : threads) thread.join();
    for (int number = 0; number < streams; ++number) alone[static_cast<std::size_t>(number)] = Play(number);
    EXPECT_EQ(together, alone);
    for (std::size_t number = 1; number < streams; ++number) EXPECT_NE(alone[number], alone[0]);
}

// One handle may go from thread to thread, as long as the host orders the calls.
TEST(ThreadsTest, HandleMayChangeItsThread) {
    Kit::StreamScript script;
    Kit::ScriptedStream here(script), there(script);
    DetectorHandle stays = nullptr, travels = nullptr;
    for (DetectorHandle* handle : {&stays, &travels}) {
        h15(handle);
        GetDetector(handle)->_skipPhase = 0;
        std::uint8_t cell = 1;
        MDZoneInfo zone{&cell, 1, 1, 0.3f, 0.0f, 0.0f};
        h12(handle, &zone);
    }
    Kit::OutputDigest expected, digest;
    for (int frame = 0; frame < 60; ++frame) {
        DetectionInfo info = here.Next();
        h13(&stays, &info);
        expected.AddFrame(&stays, here.BlockCount());
        std::thread([&] {
            DetectionInfo same = there.Next();
            h13(&travels, &same);
            digest.AddFrame(&travels, there.BlockCount());
        }).join();
    }
    std::thread([&] { h14(&travels); }).join();
    h14(&stays);
    EXPECT_EQ(digest.Value(), expected.Value());
}

}  // namespace
