// Are the assertions alive in the shared library that hosts get, and is a host told of them?  Built against the public
// header and the library alone.
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <thread>

#include "ForkedEnd.h"
#include "coreMD.h"

namespace {

// One block, and all that a frame of it needs.
struct OneBlock {
    std::array<std::uint8_t, 3> bgr = {}, planes = {};
    DetectionInfo info = {};

    OneBlock() {
        info.width = info.height = info.bgr24stride = 1;
        info.bgr24ForEachBlock = bgr.data();
        info.ycbcrForEachBlock = planes.data();
    }
};

// A handler that says all that it is told.
void Say(void* context, const char* condition, const char* file, int32_t line, const char* function) {
    std::fprintf(stderr, "%s was told: %s, %s:%d, %s\n", static_cast<const char*>(context), condition, file, line, function);
}

char somebody[] = "somebody";

int CountOf(const std::string& part, const std::string& text) {
    int count = 0;
    for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1)) ++count;
    return count;
}

class LivingAssertsDeathTest : public testing::Test {
protected:
    LivingAssertsDeathTest() { h15(&handle); }
    ~LivingAssertsDeathTest() override { h14(&handle); }

    void AddZone() {
        std::uint8_t cell = 1;
        MDZoneInfo zone = {&cell, 1, 1, 0.3f, 0.0f, 0.0f};
        h12(&handle, &zone);
    }

    DetectorHandle handle = nullptr;
    OneBlock frame;
};

}  // namespace

TEST_F(LivingAssertsDeathTest, FrameWithoutZone) { EXPECT_DEATH(h13(&handle, &frame.info), "Assertion `first' failed"); }

TEST_F(LivingAssertsDeathTest, WidthOutsideItsRange) {
    AddZone();
    h13(&handle, &frame.info);  // a good frame passes
    frame.info.width = 10000;
    EXPECT_DEATH(h13(&handle, &frame.info), "Assertion `info->width > 0 && info->width < 10000' failed");
}

TEST_F(LivingAssertsDeathTest, CreationOverALiveHandle) { EXPECT_DEATH(h15(&handle), "Assertion `!\\*ptr' failed"); }

TEST_F(LivingAssertsDeathTest, UseOfADestroyedHandle) {
    h14(&handle);
    EXPECT_DEATH(h11(&handle), "Assertion `\\*ptr' failed");
    EXPECT_DEATH(GetDetector(&handle), "Assertion `\\*ptr' failed");
}

TEST_F(LivingAssertsDeathTest, NullMaskOfAZone) {
    MDZoneInfo zone = {nullptr, 1, 1, 0.3f, 0.0f, 0.0f};
    EXPECT_DEATH(h12(&handle, &zone), "Assertion `source' failed");
}

// No trace of the build's directories: sources are named relative to the project.
TEST_F(LivingAssertsDeathTest, MessageNamesTheSourceRelativeToTheProject) {
    EXPECT_DEATH(h15(&handle), ": src/core/coreMD\\.cpp:[0-9]+: ");
}

// ---- Who is told --------------------------------------------------------------------------------------------------------

TEST_F(LivingAssertsDeathTest, AHandlerIsToldBeforeTheMessage) {
    AddZone();
    frame.info.width = 10000;
    const Kit::ProcessEnd end = Kit::EndOf([&] {
        coreMD_SetFailureHandler(Say, somebody);
        h13(&handle, &frame.info);
    });
    EXPECT_EQ(end.signal, SIGABRT);
    const std::string condition = "info->width > 0 && info->width < 10000";
    const std::size_t told = end.output.find("somebody was told: " + condition + ", ");
    const std::size_t message = end.output.find("Assertion `" + condition + "' failed");
    ASSERT_NE(told, end.output.npos) << end.output;
    ASSERT_NE(message, end.output.npos) << end.output;
    EXPECT_LT(told, message);
    // File, line and function are the message's.
    const std::size_t place = end.output.find("src/detector/MotionDetector-Detect.cpp:");
    const std::string line = end.output.substr(place, end.output.find(',', place) - place);
    ASSERT_NE(place, end.output.npos) << end.output;
    EXPECT_NE(end.output.find(line + ", void MD::MotionDetector::Detect(DetectionInfo*, bool)\n"), end.output.npos)
        << end.output;
    EXPECT_NE(end.output.find(line + ": void MD::MotionDetector::Detect(DetectionInfo*, bool): A"), end.output.npos);
}

// Handles, zones, frames, readout: whatever ends by an assertion passes the one place where handlers are called.
TEST_F(LivingAssertsDeathTest, AHandlerIsToldOfEveryKindOfFailure) {
    MDZoneInfo zone = {nullptr, 1, 1, 0.3f, 0.0f, 0.0f};
    MDObjectInfo object;
    const auto output = [](auto call) {
        return Kit::EndOf([&] {
                   coreMD_SetFailureHandler(Say, somebody);
                   call();
               })
            .output;
    };
    EXPECT_NE(output([&] { h15(&handle); }).find("told: !*ptr, "), std::string::npos);
    EXPECT_NE(output([] { h11(nullptr); }).find("told: ptr, "), std::string::npos);
    EXPECT_NE(output([&] { h12(&handle, nullptr); }).find("told: zone, "), std::string::npos);
    EXPECT_NE(output([&] { h12(&handle, &zone); }).find("told: source, "), std::string::npos);
    EXPECT_NE(output([&] { h13(&handle, &frame.info); }).find("told: first, "), std::string::npos);
    EXPECT_NE(output([&] { h18(&handle, &object); }).find("told: _isObject, "), std::string::npos);
    EXPECT_NE(output([&] { coreMD_SaveState(&handle, nullptr, 1 << 20); }).find("told: state, "), std::string::npos);
}

TEST_F(LivingAssertsDeathTest, TheLastHandlerCountsAndNullIsNobody) {
    const Kit::ProcessEnd replaced = Kit::EndOf([&] {
        char other[] = "another";
        coreMD_SetFailureHandler(Say, somebody);
        coreMD_SetFailureHandler(Say, other);
        h15(&handle);
    });
    EXPECT_EQ(CountOf("somebody was told", replaced.output), 0);
    EXPECT_EQ(CountOf("another was told", replaced.output), 1);
    const Kit::ProcessEnd removed = Kit::EndOf([&] {
        coreMD_SetFailureHandler(Say, somebody);
        coreMD_SetFailureHandler(nullptr, somebody);
        h15(&handle);
    });
    EXPECT_EQ(CountOf("was told", removed.output), 0);
    EXPECT_EQ(CountOf("Assertion `!*ptr' failed", removed.output), 1);
}

TEST_F(LivingAssertsDeathTest, AHandlerMayEndTheProcessItself) {
    const Kit::ProcessEnd end = Kit::EndOf([&] {
        coreMD_SetFailureHandler([](void*, const char*, const char*, int32_t, const char*) { _exit(3); }, nullptr);
        h15(&handle);
    });
    EXPECT_EQ(end.exitCode, 3);
    EXPECT_EQ(CountOf("Assertion", end.output), 0);
}

TEST_F(LivingAssertsDeathTest, AHandlerThatThrowsEndsTheProcess) {
    const Kit::ProcessEnd end = Kit::EndOf([&] {
        coreMD_SetFailureHandler(
            [](void*, const char*, const char*, int32_t, const char*) { throw std::runtime_error("let me out"); }, nullptr);
        try {
            h15(&handle);
        } catch (const std::runtime_error&) {
        }
    });
    EXPECT_EQ(end.signal, SIGABRT);
}

TEST_F(LivingAssertsDeathTest, AHandlerThatFailsItselfIsNotCalledAgain) {
    const Kit::ProcessEnd end = Kit::EndOf([&] {
        coreMD_SetFailureHandler(
            [](void*, const char* condition, const char*, int32_t, const char*) {
                std::fprintf(stderr, "told: %s\n", condition);
                h11(nullptr);
            },
            nullptr);
        h15(&handle);
    });
    EXPECT_EQ(end.signal, SIGABRT);
    EXPECT_EQ(CountOf("told: !*ptr", end.output), 1);
    EXPECT_EQ(CountOf("told: ptr", end.output), 0);
    EXPECT_EQ(CountOf("Assertion `ptr' failed", end.output), 1);
}

// The second thread is about to fail, or does, while the handler still speaks: the process ends once, and after it.
TEST_F(LivingAssertsDeathTest, OneThreadTellsWhileOthersWait) {
    static std::atomic<int> failing;
    const Kit::ProcessEnd end = Kit::EndOf([&] {
        coreMD_SetFailureHandler(
            [](void*, const char*, const char*, int32_t, const char*) {
                while (failing < 4) std::this_thread::yield();
                for (int i = 0; i < 50; ++i) std::this_thread::yield();
                std::fprintf(stderr, "told\n");
            },
            nullptr);
        const auto fail = [] {
            ++failing;
            h11(nullptr);
        };
        std::thread threads[] = {std::thread(fail), std::thread(fail), std::thread(fail)};
        fail();
        for (std::thread& thread : threads) thread.join();
    });
    EXPECT_EQ(end.signal, SIGABRT);
    EXPECT_EQ(CountOf("told\n", end.output), 1);
    EXPECT_EQ(CountOf("Assertion `ptr' failed", end.output), 1);
}

// A handler that takes itself away, or a host that does meanwhile: what was begun is told to the end.
TEST_F(LivingAssertsDeathTest, OthersWaitThoughNobodyListensAnyMore) {
    static std::atomic<bool> isTelling, isFailing;
    const Kit::ProcessEnd end = Kit::EndOf([&] {
        coreMD_SetFailureHandler(
            [](void*, const char*, const char*, int32_t, const char*) {
                coreMD_SetFailureHandler(nullptr, nullptr);
                isTelling = true;
                while (!isFailing) std::this_thread::yield();
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                std::fprintf(stderr, "told\n");
            },
            nullptr);
        std::thread other([] {
            while (!isTelling) std::this_thread::yield();
            isFailing = true;
            h11(nullptr);
        });
        h15(&handle);
        other.join();
    });
    EXPECT_EQ(end.signal, SIGABRT);
    EXPECT_EQ(CountOf("told\n", end.output), 1);
    EXPECT_EQ(CountOf("Assertion `!*ptr' failed", end.output), 1);
    EXPECT_EQ(CountOf("Assertion `ptr' failed", end.output), 0);
}
