// Are the assertions alive in the shared library that hosts get?  Built against the public header and the library alone.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>

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
