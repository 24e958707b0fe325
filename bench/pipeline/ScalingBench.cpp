// How many cameras does a machine carry?  1 to 64 detectors fed in turn, on one and on two threads; ns per block of thread
// CPU time, beside yardsticks that take the same turns. Names: scaling/<threads>/<detectors>.
//
// A detector's state and a yardstick's memory are of similar size: where the caches end, both figures rise.
#include <barrier>
#include <memory>
#include <thread>
#include <vector>

#include "Measure.h"
#include "ScenePlayer.h"

namespace Bench {
namespace {

constexpr PassSetup setup{.scene = SceneKind::Moving};

// Detectors that learned the scene; kept, since learning takes longer than what is measured.
std::vector<std::unique_ptr<ScenePlayer>>& Players(std::size_t count, Scene& scene) {
    static std::vector<std::unique_ptr<ScenePlayer>> players;
    while (players.size() < count) {
        players.push_back(std::make_unique<ScenePlayer>(setup));
        players.back()->Learn(scene);
    }
    return players;
}

// CPU nanoseconds of all threads together for `rounds` of work(i), i < count, and for one round before, to fill the caches.
// Thread t does i = t, t + threads, ...
template <class Work>
double TimeInTurns(std::size_t threads, std::size_t count, std::size_t rounds, Work work) {
    std::vector<double> nanoseconds(threads);
    std::barrier start(static_cast<std::ptrdiff_t>(threads));
    const auto turn = [&](std::size_t thread) {
        for (std::size_t i = thread; i < count; i += threads) work(i);
    };
    {
        std::vector<std::jthread> running;
        for (std::size_t thread = 0; thread < threads; ++thread)
            running.emplace_back([&, thread] {
                turn(thread);
                start.arrive_and_wait();
                const double before = ThreadNanoseconds();
                for (std::size_t round = 0; round < rounds; ++round) turn(thread);
                nanoseconds[thread] = ThreadNanoseconds() - before;
            });
    }
    double sum = 0;
    for (const double part : nanoseconds) sum += part;
    return sum;
}

void MeasureScaling(benchmark::State& state, std::size_t threads, std::size_t detectors) {
    Scene& scene = SceneFor(setup.scene, setup.grid);
    auto& players = Players(detectors, scene);
    std::vector<std::unique_ptr<Yardstick>> yardsticks;
    for (std::size_t i = 0; i < detectors; ++i) yardsticks.push_back(std::make_unique<Yardstick>(setup.grid.Blocks()));
    const std::size_t rounds = scene.CycleLength();
    const double frames = static_cast<double>(detectors * rounds);
    for (auto _ : state) {
        const double yard = TimeInTurns(threads, detectors, rounds, [&](std::size_t i) { yardsticks[i]->Copy(); });
        const double nanoseconds = TimeInTurns(threads, detectors, rounds, [&](std::size_t i) { players[i]->Play(scene); });
        Report(state, {.blocks = setup.grid.Blocks(),
                       .nanoseconds = nanoseconds / frames,
                       .yardstick = yard / frames / static_cast<double>(setup.grid.Blocks())});
    }
}

[[maybe_unused]] const bool registered = [] {
    for (const std::size_t threads : {1u, 2u})
        for (const std::size_t detectors : {1u, 2u, 4u, 8u, 16u, 32u, 64u})
            if (detectors >= threads)
                Register("scaling/" + std::to_string(threads) + "/" + std::to_string(detectors), 3,
                         [=](benchmark::State& state) { MeasureScaling(state, threads, detectors); });
    return true;
}();

}  // namespace
}  // namespace Bench
