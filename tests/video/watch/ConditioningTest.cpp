// Does the sensitivity ask for what it promises, and does what somebody states stand?
#include "video/watch/Conditioning.h"

#include <gtest/gtest.h>

#include "video/base/PictureGrid.h"
#include "video/watch/Watcher.h"

namespace Video {
namespace {

ConditioningRules RulesOf(Sensitivity sensitivity) { return {.on = true, .sensitivity = sensitivity}; }

TEST(Conditioning, TheMoreSensitiveTheSmallerAndFainterIsWhatIsTold) {
    const ConditioningRules low = RulesOf(Sensitivity::Low), normal = RulesOf(Sensitivity::Normal),
                            high = RulesOf(Sensitivity::High);
    EXPECT_GT(SmallestSize({}, low), usualSmallestSize);
    EXPECT_EQ(SmallestSize({}, normal), usualSmallestSize);
    EXPECT_LT(SmallestSize({}, high), usualSmallestSize);
    EXPECT_LT(Host::DimmingOf(Sensitivity::Low), Host::DimmingOf(Sensitivity::Normal));
    EXPECT_LT(Host::DimmingOf(Sensitivity::Normal), Host::DimmingOf(Sensitivity::High));
    EXPECT_EQ(GridOf(1280, 720, 0, normal).blockSize, 10);
    EXPECT_EQ(GridOf(1280, 720, 0, low).blockSize, 10);
    EXPECT_EQ(GridOf(1280, 720, 0, high).blockSize, 7);
    EXPECT_EQ(GridOf(320, 240, 0, high).blockSize, 2);
    EXPECT_EQ(GridOf(64, 48, 0, high).blockSize, 1);
}

TEST(Conditioning, EveryUsualPictureHasAGridForEverySensitivity) {
    for (const Sensitivity sensitivity : {Sensitivity::Low, Sensitivity::Normal, Sensitivity::High}) {
        for (const int width : {176, 320, 352, 640, 704, 720, 768, 1280, 1920, 2560, 3840, 7680}) {
            for (const int height : {width * 9 / 16, width * 3 / 4, width, 2 * width}) {
                EXPECT_NO_THROW(GridOf(width, height, 0, RulesOf(sensitivity))) << width << "x" << height;
            }
        }
    }
}

TEST(Conditioning, WhatIsStatedStandsAndAPlainDetectorHasNoSensitivity) {
    ConditioningRules rules = RulesOf(Sensitivity::High);
    EXPECT_EQ(SmallestSize(0.1, rules), 0.1);
    EXPECT_EQ(SmallestSize(0, rules), 0);
    EXPECT_EQ(SmallestSize(usualSmallestSize, rules), usualSmallestSize) << "stated is stated";
    EXPECT_EQ(GridOf(1280, 720, 12, rules).blockSize, 12);
    rules.on = false;
    EXPECT_EQ(SmallestSize({}, rules), usualSmallestSize);
    EXPECT_EQ(SmallestSize(0.05, rules), 0.05);
    EXPECT_EQ(GridOf(1280, 720, 0, rules).blockSize, GridOf(1280, 720, 0).blockSize);
}

}  // namespace
}  // namespace Video
