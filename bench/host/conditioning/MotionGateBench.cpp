// What does the gate cost per picture?  Noise of a few levels on a still scene, where blocks are done after few samples; the
// same with single blocks that move, so that no part of a row stops early; and with every block in motion. ns_block is per
// block of the grid. Names: conditioning/MotionGate/<scene>/<grid>.
#include <cstdint>
#include <string>
#include <vector>

#include "KernelPlanes.h"
#include "Measure.h"
#include "SeededRandom.h"
#include "conditioning/MotionGate.h"

namespace Bench {
namespace {

constexpr GridSize grids[] = {{160, 90}, usualGrid, {480, 270}};
constexpr int learned = 60;  // pictures before the clock runs: all samples are there, limits have settled

struct Scene {
    const char* name;
    int movingPercent;
};
constexpr Scene scenes[] = {{"still", 0}, {"spots", 2}, {"cover", 100}};

std::vector<Bytes> Render(Scene scene, GridSize grid) {
    const Bytes ground = RandomBytes(3 * grid.Blocks(), 1, 30, 220);
    std::vector<Bytes> pictures;
    Kit::SeededRandom random(2);
    for (std::uint64_t n = 0; n < 16; ++n) {
        pictures.push_back(Noisy(ground, n + 3, 2));
        for (std::size_t i = 0; i < grid.Blocks(); ++i)
            if (random.Below(100) < scene.movingPercent) pictures.back()[i] = random.Byte();
    }
    return pictures;
}

void MeasureGate(benchmark::State& state, Scene scene, GridSize grid) {
    const std::vector<Bytes> pictures = Render({scene.name, 0}, grid), moving = Render(scene, grid);
    Host::MotionGate gate(grid.columns, grid.rows);
    for (std::size_t n = 0; n < learned; ++n) gate.Learn(pictures[n % pictures.size()].data());
    std::size_t next = 0;
    MeasureCalls(state, grid.Blocks(), 40, [&] {
        gate.Learn(moving[next++ % moving.size()].data());
        benchmark::ClobberMemory();
    });
}

[[maybe_unused]] const bool registered = [] {
    for (const Scene scene : scenes)
        for (const GridSize grid : grids)
            Register(std::string("conditioning/MotionGate/") + scene.name + "/" + grid.Name(), 5,
                     [=](benchmark::State& state) { MeasureGate(state, scene, grid); });
    return true;
}();

}  // namespace
}  // namespace Bench
