// Who is told of a failure?  What a handler is told, and how the process ends, is in LivingAssertsTest.
#include "utils/BrokenCondition.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

int context[2];
void First(void*, const char*, const char*, int32_t, const char*) {}
void Second(void*, const char*, const char*, int32_t, const char*) {}

}  // namespace

TEST(BrokenConditionTest, NobodyInTheBeginningAndTheLastOneThen) {
    EXPECT_EQ(MD::CurrentFailureListener().handler, nullptr);
    MD::SetFailureListener({First, &context[0]});
    MD::SetFailureListener({Second, &context[1]});
    EXPECT_EQ(MD::CurrentFailureListener().handler, Second);
    EXPECT_EQ(MD::CurrentFailureListener().context, &context[1]);
    coreMD_SetFailureHandler(nullptr, nullptr);
    EXPECT_EQ(MD::CurrentFailureListener().handler, nullptr);
}

// Hosts in one process that set theirs at the same time: whoever is told gets its own context, never the other's.
TEST(BrokenConditionTest, HandlerAndContextChangeTogether) {
    std::atomic<bool> isOver = false;
    const auto change = [&] {
        while (!isOver) {
            MD::SetFailureListener({First, &context[0]});
            MD::SetFailureListener({Second, &context[1]});
        }
    };
    MD::SetFailureListener({First, &context[0]});
    std::thread threads[] = {std::thread(change), std::thread(change)};
    int firsts = 0, seconds = 0, mixed = 0;
    while ((firsts < 1000 || seconds < 1000 || firsts + seconds < 200000) && mixed == 0) {
        const MD::FailureListener listener = MD::CurrentFailureListener();
        const bool isFirst = listener.handler == First;
        ++(isFirst ? firsts : seconds);
        mixed += listener.context != &context[isFirst ? 0 : 1];
    }
    isOver = true;
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(mixed, 0);
    MD::SetFailureListener({nullptr, nullptr});
}
