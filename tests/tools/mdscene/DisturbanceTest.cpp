// Are disturbances read as they are written, and on when they should be?
#include "Disturbance.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace MdScene;

namespace {

std::string TextOf(const std::optional<Disturbance>& one) {
    if (!one) return "none";
    return std::string(NameOf(one->kind)) + " " + std::to_string(one->begin) + " " + std::to_string(one->end);
}

}  // namespace

TEST(Disturbance, ReadsKindAndTimes) {
    EXPECT_EQ(TextOf(ReadDisturbance("rain@30-50.5", 100)), "rain 30.000000 50.500000");
    EXPECT_EQ(TextOf(ReadDisturbance("frozen@30", 100)), "frozen 30.000000 100.000000");
    EXPECT_EQ(TextOf(ReadDisturbance("light@0-0", 100)), "light 0.000000 0.000000");
    EXPECT_EQ(TextOf(ReadDisturbance("web@120-130", 100)), "web 120.000000 130.000000");
    EXPECT_EQ(TextOf(ReadDisturbance("web@120", 100)), "web 120.000000 120.000000");  // never on
}

TEST(Disturbance, BeginsByItselfAfterAFifthOfTheScene) {
    EXPECT_EQ(TextOf(ReadDisturbance("covered", 60)), "covered 12.000000 60.000000");
    EXPECT_EQ(TextOf(ReadDisturbance("covered", 600)), "covered 20.000000 600.000000");
}

TEST(Disturbance, RefusesWhatIsNone) {
    for (const char* text : {"", "@", "fog", "Rain", "rain ", "rain@", "rain@-5", "rain@5-", "rain@5-4", "rain@5-6s",
                             "rain@nan", "rain@inf", "rain@1-inf", "rain@1e9", "rain@5,6", "light,ramp"})
        EXPECT_FALSE(ReadDisturbance(text, 100)) << text;
}

TEST(Disturbance, EveryNameIsReadAsItsKind) {
    const std::string names(NamesOfDisturbances());
    int kinds = 0;
    for (std::size_t from = 0; from < names.size(); ++kinds) {
        const std::size_t comma = names.find(',', from);
        const std::string name = names.substr(from, comma - from);
        const auto one = ReadDisturbance(name, 100);
        ASSERT_TRUE(one) << name;
        EXPECT_EQ(static_cast<int>(one->kind), kinds) << name;
        EXPECT_EQ(NameOf(one->kind), name);
        from = comma == std::string::npos ? names.size() : comma + 1;
    }
    EXPECT_EQ(kinds, static_cast<int>(DisturbanceKind::Frozen) + 1);
    EXPECT_EQ(NameOf(DisturbanceKind::Headlights), "headlights");
}

TEST(Disturbance, IsOnFromItsBeginUntilBeforeItsEnd) {
    DisturbancePlan plan = {};
    plan[0] = {DisturbanceKind::Snow, 2, 4};
    plan[1] = {DisturbanceKind::Light, 3, 5};
    plan[5] = {DisturbanceKind::Snow, 3, 6};
    using Kinds = std::vector<DisturbanceKind>;
    EXPECT_EQ(KindsAt(plan, 0), Kinds());
    EXPECT_EQ(KindsAt(plan, 1.999), Kinds());
    EXPECT_EQ(KindsAt(plan, 2), Kinds({DisturbanceKind::Snow}));
    EXPECT_EQ(KindsAt(plan, 3.5), Kinds({DisturbanceKind::Light, DisturbanceKind::Snow}));
    EXPECT_EQ(KindsAt(plan, 5), Kinds({DisturbanceKind::Snow}));
    EXPECT_EQ(KindsAt(plan, 6), Kinds());
    EXPECT_FALSE(IsOn({}, DisturbanceKind::Light, 0));
}
