// Does the C interface guard its handle and forward to the right place?  Handles, settings, copies; frames and results in
// their order are in CallingOrderTest.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "BlockFrames.h"
#include "detector/MotionDetector.h"

namespace {

using CoreKit::Frames;
using CoreKit::Handle;
using MD::MotionDetector;

// Every function that needs a detector, by name.
struct ForwardingCall {
    const char* name;
    void (*call)(DetectorHandle* handle);
};

constexpr ForwardingCall forwardingCalls[] = {
    {"h11", [](DetectorHandle* handle) { h11(handle); }},
    {"h12", [](DetectorHandle* handle) { h12(handle, nullptr); }},
    {"h13", [](DetectorHandle* handle) { h13(handle, nullptr); }},
    {"h17", [](DetectorHandle* handle) { h17(handle, nullptr); }},
    {"h18", [](DetectorHandle* handle) { h18(handle, nullptr); }},
    {"h19", [](DetectorHandle* handle) { h19(handle, nullptr); }},
    {"h33", [](DetectorHandle* handle) { h33(handle, nullptr, nullptr); }},
    {"h35", [](DetectorHandle* handle) { h35(handle, 0); }},
    {"h36", [](DetectorHandle* handle) { h36(handle, 0); }},
    {"GetDetector", [](DetectorHandle* handle) { GetDetector(handle); }},
};

}  // namespace

TEST(CoreTest, CreationFillsTheVariable) {
    DetectorHandle handle = nullptr;
    EXPECT_EQ(h15(&handle), 0);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(*static_cast<MotionDetector**>(handle), GetDetector(&handle));
    EXPECT_NE(GetDetector(&handle), nullptr);
    h14(&handle);
}

TEST(CoreTest, CreatedDetectorHasItsDefaults) {
    Handle handle;
    const MotionDetector& detector = *GetDetector(handle);
    EXPECT_TRUE(detector._limitObjectsToMask);
    EXPECT_FALSE(detector._longBackgroundTimes);
    EXPECT_TRUE(detector._processZones);
    EXPECT_FALSE(detector._solveForeground);
    EXPECT_EQ(detector._zones._count, 0);
}

TEST(CoreTest, VariableStaysWhileTheDetectorLives) {
    Handle handle;
    const DetectorHandle variable = handle.variable;
    const MotionDetector* const detector = GetDetector(handle);
    handle.AddWholeFrame();
    Frames frames(4, 3);
    frames.Feed(handle, 12);
    h11(handle);
    EXPECT_EQ(handle.variable, variable);
    EXPECT_EQ(GetDetector(handle), detector);
}

TEST(CoreTest, DestructionNullsTheVariableWhichMayBeUsedAgain) {
    DetectorHandle handle = nullptr;
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(h15(&handle), 0);
        ASSERT_NE(handle, nullptr);
        h14(&handle);
        EXPECT_EQ(handle, nullptr);
    }
}

TEST(CoreTest, DestructionOfNothingDoesNothing) {
    DetectorHandle handle = nullptr;
    h14(&handle);
    EXPECT_EQ(handle, nullptr);
}

// That nothing leaks is the leak checker's part.
TEST(CoreTest, DestructionFreesACellWithoutDetector) {
    DetectorHandle handle = new MotionDetector*(nullptr);
    h14(&handle);
    EXPECT_EQ(handle, nullptr);
}

TEST(CoreTest, H35SenseIsInverted) {
    Handle handle;
    const MotionDetector& detector = *GetDetector(handle);
    h35(handle, 1);
    EXPECT_FALSE(detector._limitObjectsToMask);
    h35(handle, 0);
    EXPECT_TRUE(detector._limitObjectsToMask);
}

// (value XOR 1), low byte: off where the low byte of the value is 1, and only there.
TEST(CoreTest, H35LooksAtTheLowByte) {
    Handle handle;
    const MotionDetector& detector = *GetDetector(handle);
    for (int value = -600; value <= 600; ++value) {
        const bool wasOn = value % 2 == 0;  // from either side
        h35(handle, wasOn ? 0 : 1);
        h35(handle, value);
        EXPECT_EQ(detector._limitObjectsToMask != 0, ((value % 256) + 256) % 256 != 1) << value;
        EXPECT_EQ(detector._limitObjectsToMask, static_cast<unsigned char>(value ^ 1)) << value;  // the byte itself
    }
    h35(handle, 2);
    EXPECT_EQ(detector._limitObjectsToMask, 3);
    h35(handle, 257);
    EXPECT_FALSE(detector._limitObjectsToMask);
    h35(handle, 256);
    EXPECT_TRUE(detector._limitObjectsToMask);
    h35(handle, std::numeric_limits<int>::min() + 1);
    EXPECT_FALSE(detector._limitObjectsToMask);
    h35(handle, std::numeric_limits<int>::min());
    EXPECT_TRUE(detector._limitObjectsToMask);
    EXPECT_FALSE(detector._longBackgroundTimes);  // the other switch
}

TEST(CoreTest, H36LooksAtTheLowByte) {
    Handle handle;
    const MotionDetector& detector = *GetDetector(handle);
    for (int value = -600; value <= 600; ++value) {
        h36(handle, value % 2);
        h36(handle, value);
        EXPECT_EQ(detector._longBackgroundTimes != 0, value % 256 != 0) << value;
        EXPECT_EQ(detector._longBackgroundTimes, static_cast<unsigned char>(value)) << value;  // the byte itself
    }
    h36(handle, 1);
    EXPECT_TRUE(detector._longBackgroundTimes);
    h36(handle, 256);
    EXPECT_FALSE(detector._longBackgroundTimes);
    EXPECT_TRUE(detector._limitObjectsToMask);  // the other switch
}

TEST(CoreTest, H20TakesTheSourceFirst) {
    const char source[] = "source";
    char destination[] = "target";
    EXPECT_EQ(h20(source, destination, 4), destination);
    EXPECT_STREQ(source, "source");
    EXPECT_STREQ(destination, "souret");
}

TEST(CoreTest, H20OfNothingCopiesNothing) {
    const char source = 's';
    char destination = 'd';
    for (const int length : {0, -1, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(h20(&source, &destination, length), &destination);
        EXPECT_EQ(destination, 'd') << length;
    }
}

TEST(CoreTest, H20CopiesLongBuffersWhole) {
    std::vector<std::uint8_t> source(100001), destination(100002, 7);
    for (std::size_t i = 0; i < source.size(); ++i) source[i] = static_cast<std::uint8_t>(i * 31);
    h20(source.data(), destination.data(), static_cast<int>(source.size()));
    EXPECT_EQ(std::memcmp(source.data(), destination.data(), source.size()), 0);
    EXPECT_EQ(destination.back(), 7);
}

TEST(CoreTest, H16ReturnsZero) { EXPECT_EQ(h16(), 0); }

TEST(CoreTest, H34Returns) {
    h34();
    static_assert(std::is_void_v<decltype(h34())>);
}

// Without a handle, before and after one: the version of the header that the library was built with.
TEST(CoreTest, VersionIsTheHeaders) {
    EXPECT_EQ(coreMD_Version(), COREMD_VERSION);
    EXPECT_GE(coreMD_Version(), COREMD_VERSION_OF(1, 0, 0));
    EXPECT_LT(coreMD_Version(), COREMD_VERSION_OF(COREMD_VERSION_MAJOR + 1, 0, 0));
}

TEST(CoreTest, ZonesAreAddedAndRemovedTogether) {
    Handle handle;
    const MD::MDZoneList& zones = GetDetector(handle)->_zones;
    std::vector<std::uint8_t> mask = {1, 0, 1, 0, 1, 0};
    MDZoneInfo first = {mask.data(), 3, 2, 0.75f, 0.5f, 0.25f}, second = {mask.data(), 1, 1, 0.1f, 0.0f, 0.0f};
    EXPECT_EQ(h12(handle, &first), 0);
    EXPECT_EQ(h12(handle, &second), 0);
    ASSERT_EQ(zones._count, 2);
    EXPECT_EQ(zones._first->mapWidth, 3);
    EXPECT_EQ(zones._first->mapHeight, 2);
    EXPECT_EQ(zones._first->zoneValue, 0.75f);
    EXPECT_EQ(zones._first->minObjectWidth, 0.5f);
    EXPECT_EQ(zones._first->minObjectHeight, 0.25f);
    EXPECT_EQ(zones._last->mapWidth, 1);
    EXPECT_EQ(h11(handle), 0);
    EXPECT_EQ(zones._count, 0);
    EXPECT_EQ(zones._first, nullptr);
    EXPECT_EQ(zones._last, nullptr);
    EXPECT_EQ(h11(handle), 0);  // none left: nothing to do
}

TEST(CoreDeathTest, CreationNeedsAnEmptyVariable) {
    EXPECT_DEATH(h15(nullptr), "coreMD\\.cpp:.*Assertion `ptr' failed");
    Handle handle;
    EXPECT_DEATH(h15(handle), "coreMD\\.cpp:.*Assertion `!\\*ptr' failed");
}

// Address, variable, cell, in this order: a later check would have to read through what an earlier one refuses.
TEST(CoreDeathTest, EveryFunctionChecksAddressThenVariableThenCell) {
    for (const auto& [name, call] : forwardingCalls) {
        EXPECT_DEATH(call(nullptr), "coreMD\\.cpp:.*GetDetector\\(void ?\\*\\*\\): Assertion `ptr' failed") << name;
        DetectorHandle empty = nullptr;
        EXPECT_DEATH(call(&empty), "coreMD\\.cpp:.*GetDetector\\(void ?\\*\\*\\): Assertion `\\*ptr' failed") << name;
        MotionDetector* cell = nullptr;
        DetectorHandle hollow = &cell;
        EXPECT_DEATH(call(&hollow), "coreMD\\.cpp:.*GetDetector\\(void ?\\*\\*\\): Assertion `res' failed") << name;
    }
}
