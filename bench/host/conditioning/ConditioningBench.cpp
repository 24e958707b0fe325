// What do shift and brightness cost, to measure and to take back?  A random scene, 4:2:0, blocks of 8, in cache.
// ns_block is per block of the grid. Names: conditioning/<part>/<picture or grid>; conditioning/reduced/<shift>/<picture>.
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "KernelPlanes.h"
#include "Measure.h"
#include "conditioning/BrightnessBalance.h"
#include "conditioning/ShiftedReduction.h"
#include "conditioning/Stabiliser.h"

namespace Bench {
namespace {

struct Size {
    int width, height;
    std::string Name() const { return std::to_string(width) + "x" + std::to_string(height); }
};
constexpr Size sizes[] = {{640, 360}, {1280, 720}, {1920, 1080}};

struct Picture {
    explicit Picture(Size size)
        : format{.width = size.width, .height = size.height, .blockSize = 8},
          y(RandomBytes(Pixels(size), 1, 60, 180)),
          cb(RandomBytes(Pixels(size) / 4, 2, 100, 150)),
          cr(RandomBytes(Pixels(size) / 4, 3, 100, 150)),
          view{.plane = {y.data(), cb.data(), cr.data()}, .stride = {size.width, size.width / 2, size.width / 2}} {}

    static std::size_t Pixels(Size size) {
        return static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
    }

    Host::PictureFormat format;
    Bytes y, cb, cr;
    Host::PictureView view;
};

std::size_t BlocksOf(const Picture& picture) { return Picture::Pixels({picture.format.width, picture.format.height}) / 64; }

void MeasureStabiliser(benchmark::State& state, Size size) {
    const Picture picture(size);
    Host::Stabiliser stabiliser(picture.format);
    MeasureCalls(state, BlocksOf(picture), 100, [&] { benchmark::DoNotOptimize(stabiliser.Measure(picture.view)); });
}

void MeasureReduction(benchmark::State& state, Size size, Host::Shift shift) {
    const Picture picture(size);
    Host::ShiftedReduction reduction(picture.format);
    MeasureCalls(state, BlocksOf(picture), 50, [&] {
        reduction.Reduce(picture.view, shift);
        benchmark::ClobberMemory();
    });
}

// Every second picture is a fifth brighter: relaxed, measured, followed and balanced.
void MeasureBalance(benchmark::State& state, GridSize grid) {
    const Bytes dark = RandomBytes(3 * grid.Blocks(), 1, 60, 180);
    Bytes bright = dark;
    for (std::size_t i = 0; i < grid.Blocks(); ++i) bright[i] = static_cast<std::uint8_t>(bright[i] * 6 / 5);
    Bytes planes = dark;
    Host::BrightnessBalance balance(grid.columns, grid.rows);
    bool isBright = false;
    MeasureCalls(state, grid.Blocks(), 100, [&] {
        isBright = !isBright;
        planes = isBright ? bright : dark;
        benchmark::DoNotOptimize(balance.Balance(planes.data()));
    });
}

[[maybe_unused]] const bool registered = [] {
    for (const Size size : sizes) {
        Register("conditioning/Stabiliser/" + size.Name(), 5,
                 [=](benchmark::State& state) { MeasureStabiliser(state, size); });
        for (const auto& [name, shift] :
             {std::pair<std::string, Host::Shift>{"none", {0, 0}}, {"even", {32, 32}}, {"fraction", {21, -37}}})
            Register("conditioning/reduced/" + name + "/" + size.Name(), 5,
                     [=](benchmark::State& state) { MeasureReduction(state, size, shift); });
    }
    for (const GridSize grid : {GridSize{160, 90}, usualGrid})
        Register("conditioning/BrightnessBalance/" + grid.Name(), 5,
                 [=](benchmark::State& state) { MeasureBalance(state, grid); });
    return true;
}();

}  // namespace
}  // namespace Bench
