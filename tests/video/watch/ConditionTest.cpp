// Does every condition have a name of its own, and lead back from it?
#include "video/watch/Condition.h"

#include <gtest/gtest.h>

#include <set>
#include <string_view>

namespace Video {
namespace {

TEST(Condition, NamesLeadBackToTheirKinds) {
    std::set<std::string_view> names;
    for (int i = 0; i <= static_cast<int>(ConditionKind::TooDark); ++i) {
        const auto kind = static_cast<ConditionKind>(i);
        EXPECT_FALSE(NameOf(kind).empty()) << i;
        EXPECT_TRUE(names.insert(NameOf(kind)).second) << NameOf(kind) << " is another's name, too";
        EXPECT_EQ(ConditionNamed(NameOf(kind)), kind) << NameOf(kind);
    }
}

TEST(Condition, NamesAreThoseOfTheKinds) {
    EXPECT_EQ(NameOf(ConditionKind::Light), "light");
    EXPECT_EQ(NameOf(ConditionKind::Infrared), "infrared");
    EXPECT_EQ(NameOf(ConditionKind::Shaking), "shaking");
    EXPECT_EQ(NameOf(ConditionKind::Moved), "moved");
    EXPECT_EQ(NameOf(ConditionKind::Covered), "covered");
    EXPECT_EQ(NameOf(ConditionKind::Frozen), "frozen");
    EXPECT_EQ(NameOf(ConditionKind::Rain), "rain-like");
    EXPECT_EQ(NameOf(ConditionKind::TooShort), "too short");
    EXPECT_EQ(NameOf(ConditionKind::TooDark), "too dark");
}

TEST(Condition, WhatIsNoNameIsNone) {
    for (const char* text : {"", "rain", "Light", "light ", "too"}) {
        EXPECT_FALSE(ConditionNamed(text)) << text;
    }
}

TEST(Condition, WhatCannotBeSeenHidesMotion) {
    std::set<std::string_view> hiding;
    for (int i = 0; i <= static_cast<int>(ConditionKind::TooDark); ++i) {
        if (HidesMotion(static_cast<ConditionKind>(i))) {
            hiding.insert(NameOf(static_cast<ConditionKind>(i)));
        }
    }
    EXPECT_EQ(hiding, (std::set<std::string_view>{"covered", "frozen", "too short", "too dark"}));
}

}  // namespace
}  // namespace Video
