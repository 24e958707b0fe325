// Which frame-skip phase does a detector start in?  The only test that replaces rand(): every draw is known here.
#include <cstdint>
#include <cstdlib>

#include "DetectorFixture.h"

namespace {

int nextDraw = 0;
int drawCount = 0;

int StartPhaseOf(int draw) {
    nextDraw = draw;
    return MD::MotionDetector()._skipPhase;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int rand() noexcept {  // seen from a shared library, too
    ++drawCount;
    return nextDraw;
}

// draw * 6 wraps at 2^32 = 4294967296 and is then divided by 2147483647.
TEST(BuffersTest, StartPhaseWraps) {
    EXPECT_EQ(StartPhaseOf(0), 0);
    EXPECT_EQ(StartPhaseOf(357913941), 0);   // 2147483646, one below the divisor
    EXPECT_EQ(StartPhaseOf(357913942), 1);   // 2147483652
    EXPECT_EQ(StartPhaseOf(715827882), 1);   // 4294967292, the last product that does not wrap
    EXPECT_EQ(StartPhaseOf(715827883), 0);   // 4294967298 wraps to 2
    EXPECT_EQ(StartPhaseOf(1431655765), 2);  // 8589934590 wraps to 4294967294, twice the divisor
    EXPECT_EQ(StartPhaseOf(1431655764), 1);  // 4294967288
    EXPECT_EQ(StartPhaseOf(1431655766), 0);  // 4
    EXPECT_EQ(StartPhaseOf(RAND_MAX), 1);    // 12884901882 wraps to 4294967290
}

TEST(BuffersTest, OneDrawAloneStartsInPhaseTwo) {
    for (std::int64_t draw = 1431655765 % 99991; draw <= RAND_MAX; draw += 99991) {
        const auto wrapped = static_cast<std::int64_t>(static_cast<std::uint64_t>(draw) * 6 % 4294967296);
        ASSERT_EQ(StartPhaseOf(static_cast<int>(draw)), wrapped / 2147483647) << draw;
        ASSERT_EQ(wrapped / 2147483647 == 2, draw == 1431655765) << draw;
    }
}

TEST(BuffersTest, EveryDetectorDrawsOnce) {
    drawCount = 0;
    const MD::MotionDetector one, other;
    EXPECT_EQ(drawCount, 2);
}

TEST(BuffersTest, SkipStateStartsAtZeroInEveryPhase) {
    for (const int draw : {0, 357913942, 1431655765}) {
        nextDraw = draw;
        const MD::MotionDetector detector;
        EXPECT_EQ(detector._skipFrameCounter, 0);
        EXPECT_EQ(detector._lastFrameTime, 0);
    }
}

TEST(BuffersDeathTest, NegativeDrawIsFatal) { EXPECT_ASSERTION(StartPhaseOf(-1), "rn >= 0 && rn <= RAND_MAX"); }
