// Which loops does this processor run?
#include "utils/Levels.h"

namespace MD {
namespace {

// What the processor has and what the operating system keeps for a thread: both.
bool CanRun(Level level) {
    if (level == Level::Plain) return true;
#if MD_HAS_AVX2_LOOPS
    __builtin_cpu_init();  // a host's static objects may ask before the compiler's own have been made
    return level == Level::Avx2 && __builtin_cpu_supports("avx2") != 0;
#else
    return false;
#endif
}

}  // namespace

constinit std::atomic<Level> runningLevel{Level::Undecided};

Level DecideLevel() {
    const Level best = CanRun(Level::Avx2) ? Level::Avx2 : Level::Plain;
    runningLevel.store(best, std::memory_order_relaxed);
    return best;
}

bool UseLevel(Level level) {
    if (!CanRun(level)) return false;
    runningLevel.store(level, std::memory_order_relaxed);
    return true;
}

}  // namespace MD
