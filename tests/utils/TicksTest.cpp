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
