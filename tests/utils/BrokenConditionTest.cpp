// Who is told of a failure?  What a handler is told, and how the process ends, is in LivingAssertsTest.
#include "utils/BrokenCondition.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
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
    std::atomic<int> changing = 0;
    const auto change = [&] {
        ++changing;
        while (!isOver) {
            MD::SetFailureListener({First, &context[0]});
            MD::SetFailureListener({Second, &context[1]});
        }
    };
    MD::SetFailureListener({First, &context[0]});
    std::thread threads[] = {std::thread(change), std::thread(change)};
    while (changing < 2) std::this_thread::yield();
    int mixed = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(200);  // busy machines read less
    for (int read = 0; read < 2000000 && mixed == 0; ++read) {
        const MD::FailureListener listener = MD::CurrentFailureListener();
        mixed += listener.context != &context[listener.handler == First ? 0 : 1];
        if (read % 1000 != 999) continue;
        if (std::chrono::steady_clock::now() > end) break;
        std::this_thread::yield();  // where there is one processor, the others change in between
    }
    isOver = true;
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(mixed, 0);
    MD::SetFailureListener({nullptr, nullptr});
}
