// How is a figure taken?
#include "Measure.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>

#include <unistd.h>

namespace Bench {
namespace {

constexpr std::size_t leastEvictedBytes = std::size_t{64} << 20;  // where the system does not know its last cache level
constexpr std::size_t wordsPerLine = 64 / sizeof(std::uint64_t);

}  // namespace

double ThreadNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

CacheEvictor::CacheEvictor() {
    const long lastLevel = sysconf(_SC_LEVEL3_CACHE_SIZE);
    const std::size_t bytes = std::max(leastEvictedBytes, lastLevel > 0 ? 2 * static_cast<std::size_t>(lastLevel) : 0);
    _memory.assign(bytes / sizeof(std::uint64_t), 1);
}

// Reads only: dirty lines of its own would have to be written back on the measured work's time.
void CacheEvictor::Evict() {
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < _memory.size(); i += wordsPerLine) sum += _memory[i];
    benchmark::DoNotOptimize(sum);
}

Yardstick::Yardstick(std::size_t blocks)
    : _blocks(blocks), _from(blocks * bytesPerBlock, 1), _to(blocks * bytesPerBlock, 2) {}

void Yardstick::Copy() {
    std::memcpy(_to.data(), _from.data(), _from.size());
    benchmark::DoNotOptimize(_to.data());
    benchmark::ClobberMemory();
}

double Yardstick::NanosecondsPerBlock(Caches caches) {
    const int copies = caches == Caches::Warm ? CallsFor(_blocks) : 1;
    double best = 0;
    Copy();
    for (int batch = 0; batch < 5; ++batch) {
        if (caches == Caches::Cold) SharedEvictor().Evict();
        const double start = ThreadNanoseconds();
        for (int copy = 0; copy < copies; ++copy) Copy();
        const double nanoseconds = (ThreadNanoseconds() - start) / copies;
        if (batch == 0 || nanoseconds < best) best = nanoseconds;
    }
    return best / static_cast<double>(_blocks);
}

CacheEvictor& SharedEvictor() {
    static CacheEvictor evictor;
    return evictor;
}

Yardstick& YardstickFor(std::size_t blocks) {
    static std::size_t size = 0;
    static std::unique_ptr<Yardstick> yardstick;
    if (size != blocks) {
        yardstick.reset();
        yardstick = std::make_unique<Yardstick>(blocks);
        size = blocks;
    }
    return *yardstick;
}

int FewerRepetitions(int repetitions) {
    const char* const most = std::getenv("BENCH_REPETITIONS");
    return most ? std::clamp(std::atoi(most), 1, repetitions) : repetitions;
}

void Require(bool condition, const std::string& name, const char* complaint) {
    if (condition) return;
    std::fprintf(stderr, "%s: %s\n", name.c_str(), complaint);
    std::exit(1);
}

void Report(benchmark::State& state, Figure figure) {
    state.SetIterationTime(figure.nanoseconds * 1e-9);
    state.counters["ns_block"] = figure.nanoseconds / static_cast<double>(figure.blocks);
    state.counters["yard_ns_block"] = figure.yardstick;
}

}  // namespace Bench
