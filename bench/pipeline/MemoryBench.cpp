// How much memory does a detector hold, really?  Resident, not virtual: pages that nobody touched cost nothing. After the
// first frame, and in steady state with objects. Names: memory/<first|steady>/<plain|shadow>/<grid>, and memory/handles/...
// for many detectors at once.
//
// A program of its own: each figure is taken in a child process, whose heap has nothing to reuse.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <malloc.h>
#include <memory>

#include "Measure.h"
#include "ScenePlayer.h"

namespace Bench {
namespace {

constexpr int steadyFrames = 150;  // 6 s: a background is known after 5 s, and all that is ever used has been

constexpr int usualMmapThreshold = 128 * 1024;  // bytes; the C library's own

// The sum of what a pass has to touch, bytes per block: a resident figure above it would be waste.
constexpr int ringBytes = 11 * 3;                   // frames
constexpr int statisticsBytes = 6 * 4 + 2;          // window sums and their squares; extremes
constexpr int backgroundBytes = 3 + 1 + 1 + 4;      // Y, Cb, Cr; known; stable; noise level
constexpr int learningBytes = 3 * 8 + 4;            // three times; the sample
constexpr int foregroundBytes = 1 + 1 + 1 + 2 + 1;  // object, motion and result maps; labels; the zone
constexpr int touchedBytes = ringBytes + statisticsBytes + backgroundBytes + learningBytes + foregroundBytes;
constexpr int shadowBytes = 8 * 4 + 1;  // feature planes, where foreground is; the search mask

double ResidentBytes() {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen("/proc/self/statm", "r"), &std::fclose);
    long pages = 0, resident = 0;
    Require(file && std::fscanf(file.get(), "%ld %ld", &pages, &resident) == 2, "memory", "/proc/self/statm cannot be read");
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE));
}

// measure() in a child process.
double InChild(const std::function<double()>& measure) {
    int ends[2];
    Require(pipe(ends) == 0, "memory", "no pipe");
    const pid_t child = fork();
    Require(child >= 0, "memory", "no child process");
    double result = 0;
    if (child == 0) {
        result = measure();
        _exit(write(ends[1], &result, sizeof result) == sizeof result ? 0 : 1);
    }
    close(ends[1]);
    const bool isRead = read(ends[0], &result, sizeof result) == sizeof result;
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    Require(isRead && status == 0, "memory", "a child process failed");
    return result;
}

double BytesOf(int detectors, int frames, const PassSetup& setup) {
    // What rendering frees goes back to the system: the detector's memory comes from a heap without holes.
    mallopt(M_MMAP_THRESHOLD, 4096);
    Scene& scene = SceneFor(setup.scene, setup.grid);
    mallopt(M_MMAP_THRESHOLD, usualMmapThreshold);
    std::vector<std::unique_ptr<ScenePlayer>> players;
    for (int i = 0; i < detectors; ++i) players.push_back(std::make_unique<ScenePlayer>(setup));
    malloc_trim(0);
    const double before = ResidentBytes();
    for (auto& player : players)
        for (int frame = 0; frame < frames; ++frame) player->Play(scene);
    return (ResidentBytes() - before) / detectors;
}

void RegisterMemory(const std::string& name, int detectors, int frames, PassSetup setup) {
    Register(name + (setup.detectShadow ? "/shadow/" : "/plain/") + setup.grid.Name(), 1, [=](benchmark::State& state) {
        for (auto _ : state) {
            const double bytes = InChild([&] { return BytesOf(detectors, frames, setup); });
            state.SetIterationTime(1e-9);  // no time is measured here
            state.counters["resident_bytes"] = bytes;
            state.counters["bytes_block"] = bytes / static_cast<double>(setup.grid.Blocks());
            state.counters["touched_bytes_block"] = touchedBytes + (setup.detectShadow ? shadowBytes : 0);
        }
    });
}

[[maybe_unused]] const bool registered = [] {
    for (const bool detectShadow : {false, true}) {
        const SceneKind scene = detectShadow ? SceneKind::ShadowOnFew : SceneKind::Moving;
        for (const GridSize grid : gridSizes) {
            const PassSetup setup{.scene = scene, .grid = grid, .detectShadow = detectShadow};
            RegisterMemory("memory/first", 1, 1, setup);
            RegisterMemory("memory/steady", 1, steadyFrames, setup);
        }
        RegisterMemory("memory/handles16", 16, steadyFrames, {.scene = scene, .detectShadow = detectShadow});
    }
    return true;
}();

}  // namespace
}  // namespace Bench
