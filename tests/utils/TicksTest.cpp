// Is the distance of two times right for every pair of stamps that a host may give?
#include "utils/Ticks.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

constexpr std::int64_t earliest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t latest = std::numeric_limits<std::int64_t>::max();

}  // namespace

TEST(TicksTest, DistanceIsNowMinusThen) {
    EXPECT_EQ(Utils::ElapsedTicks(30, 10), 20);
    EXPECT_EQ(Utils::ElapsedTicks(10, 30), -20);
    EXPECT_EQ(Utils::ElapsedTicks(-5, 5), -10);
    EXPECT_EQ(Utils::ElapsedTicks(latest, 0), latest);
    EXPECT_EQ(Utils::ElapsedTicks(earliest, 0), earliest);
}

// 2^64 is congruent to 0: from the last stamp to the first it is one tick.
TEST(TicksTest, DistanceWrapsInsteadOfOverflowing) {
    EXPECT_EQ(Utils::ElapsedTicks(earliest, latest), 1);
    EXPECT_EQ(Utils::ElapsedTicks(latest, earliest), -1);
    EXPECT_EQ(Utils::ElapsedTicks(0, earliest), earliest);
    static_assert(Utils::ElapsedTicks(latest, -1) == earliest);  // a constant expression cannot overflow unnoticed
}

TEST(TicksTest, SignOfOlderEqualsComparison) {
    const std::int64_t stamps[] = {earliest, earliest + 1,      -50000001,  -50000000, -1,       0,
                                   1,        9999999,           10000000,   10000001,  49999999, 50000000,
                                   50000001, latest - 50000000, latest - 1, latest};
    int older = 0;
    for (const std::int64_t now : stamps)
        for (const std::int64_t then : stamps)
            for (const std::int64_t limit :
                 {std::int64_t{0}, std::int64_t{1}, std::int64_t{49999999}, std::int64_t{50000000}, latest}) {
                const bool expected = Utils::ElapsedTicks(now, then) > limit;
                EXPECT_EQ(Utils::SignOfOlder(now, then, limit) >> 63 != 0, expected) << now << ' ' << then << ' ' << limit;
                older += expected;
            }
    EXPECT_GT(older, 100);
}
