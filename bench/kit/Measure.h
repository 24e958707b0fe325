// How is a figure taken?  Thread CPU time, per block of the grid, beside a yardstick from the same run.
// Used by every benchmark.
//
// The yardstick is memcpy of 48 bytes per block: what it costs to move about half of a detector's state through memory, and
// nothing else. Machines differ, and so do their neighbours' loads; the ratio of a figure to the yardstick of its own run
// differs much less.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "GridSize.h"

namespace Bench {

double ThreadNanoseconds();  // CPU time of the calling thread: what others do on the machine counts as little as it can

// Walks through more memory than the last cache level holds.
class CacheEvictor {
public:
    CacheEvictor();
    void Evict();

private:
    std::vector<std::uint64_t> _memory;
};

enum class Caches {
    Warm,  // frame after frame, as fast as they come
    Cold   // evicted before every frame: other work ran in between
};

class Yardstick {
public:
    static constexpr std::size_t bytesPerBlock = 48;

    explicit Yardstick(std::size_t blocks);
    void Copy();
    double NanosecondsPerBlock(Caches caches);  // the best of a few batches

private:
    const std::size_t _blocks;
    std::vector<std::uint8_t> _from, _to;
};

CacheEvictor& SharedEvictor();                // its memory is taken on first use
Yardstick& YardstickFor(std::size_t blocks);  // kept until another size is asked for

// Ends the program with a line on stderr where the condition does not hold: no figure of something else.
void Require(bool condition, const std::string& name, const char* complaint);

// The counters of one repetition: ns_block, yard_ns_block. Sets the iteration's time to that of one frame.
struct Figure {
    std::size_t blocks;
    double nanoseconds;  // per frame
    double yardstick;    // nanoseconds per block
};
void Report(benchmark::State& state, Figure figure);

// work() `calls` times per repetition; prepare() before each is not timed, but its cost must be small beside a call's, since
// the clock is read around every call. Without prepare, the clock is read around all calls.
template <class Work>
void MeasureCalls(benchmark::State& state, std::size_t blocks, int calls, Work work) {
    Yardstick& yardstick = YardstickFor(blocks);
    for (auto _ : state) {
        double yard = yardstick.NanosecondsPerBlock(Caches::Warm);
        work();  // fills the caches
        const double start = ThreadNanoseconds();
        for (int call = 0; call < calls; ++call) work();
        const double nanoseconds = (ThreadNanoseconds() - start) / calls;
        Report(state, {.blocks = blocks, .nanoseconds = nanoseconds, .yardstick = yard});
    }
}
template <class Work, class Prepare>
void MeasureCalls(benchmark::State& state, std::size_t blocks, int calls, Work work, Prepare prepare) {
    Yardstick& yardstick = YardstickFor(blocks);
    for (auto _ : state) {
        double yard = yardstick.NanosecondsPerBlock(Caches::Warm);
        prepare();
        work();
        double nanoseconds = 0;
        for (int call = 0; call < calls; ++call) {
            prepare();
            const double start = ThreadNanoseconds();
            work();
            nanoseconds += ThreadNanoseconds() - start;
        }
        Report(state, {.blocks = blocks, .nanoseconds = nanoseconds / calls, .yardstick = yard});
    }
}

// A number of calls that takes some milliseconds, whatever the speed of the build: it depends on the grid alone.
constexpr int CallsFor(std::size_t blocks) {
    const std::size_t calls = 2000000 / blocks;
    return calls < 2 ? 2 : static_cast<int>(calls);
}

int FewerRepetitions(int repetitions);  // as many at most as the environment's BENCH_REPETITIONS, if it is set

// name -> work(state), with the number of repetitions of which a report takes the best.
template <class Work>
benchmark::internal::Benchmark* Register(const std::string& name, int repetitions, Work work) {
    return benchmark::RegisterBenchmark(name.c_str(), work)
        ->Iterations(1)
        ->Repetitions(FewerRepetitions(repetitions))
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
}

// Once per grid size: name/<columns>x<rows>, work(state, grid).
template <class Work>
void RegisterOnGrids(const std::string& name, Work work) {
    for (const GridSize grid : gridSizes)
        Register(name + "/" + grid.Name(), IsLarge(grid) ? 2 : 5,
                 [work, grid](benchmark::State& state) { work(state, grid); });
}

}  // namespace Bench
