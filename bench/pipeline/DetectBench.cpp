// What does one frame cost, from its hand-over to the last object read?  Scenes, kinds of input, zones, grids; warm and cold
// caches. Names: pass/<scene>/<input>/<zones>/<caches>/<grid>.
#include <memory>
#include <string>

#include "Measure.h"
#include "ScenePlayer.h"

namespace Bench {
namespace {

// Whole cycles of the scene: every repetition sees the same frames.
int TimedFrames(const Scene& scene, Caches caches) {
    const int cycle = static_cast<int>(scene.CycleLength());
    const int atLeast = caches == Caches::Cold || IsLarge(scene.Grid()) ? 20 : 50;
    return (atLeast + cycle - 1) / cycle * cycle;
}

// The best of so many is reported. In MPEG-4 mode the detector forgets its background every few hundred frames.
int Repetitions(const PassSetup& setup, Caches caches) {
    if (caches == Caches::Cold || IsLarge(setup.grid)) return 2;
    return setup.input == InputKind::MPEG4 ? 3 : 6;
}

// The same detector from repetition to repetition: what it learned takes longer than what is measured.
struct Prepared {
    std::string name;
    std::unique_ptr<ScenePlayer> player;
};

ScenePlayer& PlayerFor(const std::string& name, const PassSetup& setup, Scene& scene) {
    static Prepared prepared;
    if (prepared.name != name) {
        prepared = {};
        prepared = {name, std::make_unique<ScenePlayer>(setup)};
        prepared.player->Learn(scene);
    }
    return *prepared.player;
}

void MeasurePass(benchmark::State& state, const std::string& name, const PassSetup& setup, Caches caches) {
    Scene& scene = SceneFor(setup.scene, setup.grid);
    ScenePlayer& player = PlayerFor(name, setup, scene);
    const int frames = TimedFrames(scene, caches);
    Yardstick& yardstick = YardstickFor(setup.grid.Blocks());
    for (auto _ : state) {
        const double yard = yardstick.NanosecondsPerBlock(caches);
        double nanoseconds = 0, objects = 0;
        if (caches == Caches::Warm) {
            player.Play(scene);  // the yardstick's memory leaves the caches
            for (std::size_t n = 1; n < scene.CycleLength() && !IsLarge(setup.grid); ++n) player.Play(scene);
            const double start = ThreadNanoseconds();
            for (int n = 0; n < frames; ++n) {
                player.Play(scene);
                objects += player.ObjectsOfLastFrame();
            }
            nanoseconds = ThreadNanoseconds() - start;
        } else {
            for (int n = 0; n < frames; ++n) {
                SharedEvictor().Evict();
                const double start = ThreadNanoseconds();
                player.Play(scene);
                nanoseconds += ThreadNanoseconds() - start;
                objects += player.ObjectsOfLastFrame();
            }
        }
        Report(state, {.blocks = setup.grid.Blocks(), .nanoseconds = nanoseconds / frames, .yardstick = yard});
        if (HasObjects(setup.scene)) state.counters["objects"] = scene.ThingsPerFrame();
        state.counters["delivered"] = objects / frames;
        Require((objects > 0) == HasObjects(setup.scene), name, "the scene does not show what it is meant to show");
    }
}

void RegisterPass(PassSetup setup, Caches caches) {
    setup.detectShadow = HasShadows(setup.scene);
    const std::string name = "pass/" + NameOf(setup.scene) + "/" + NameOf(setup.input) + "/" + std::to_string(setup.zones) +
                             (caches == Caches::Warm ? "/warm/" : "/cold/") + setup.grid.Name();
    Register(name, Repetitions(setup, caches), [=](benchmark::State& state) { MeasurePass(state, name, setup, caches); });
}

// Scenes next to each other share their frames.
void RegisterScene(SceneKind scene, GridSize grid) {
    for (const int zones : {1, 4, 16}) {
        if (zones > 1 && scene != SceneKind::Moving) continue;
        RegisterPass({.scene = scene, .grid = grid, .zones = zones}, Caches::Warm);
        if (!IsLarge(grid)) RegisterPass({.scene = scene, .grid = grid, .zones = zones}, Caches::Cold);
    }
    if (scene != SceneKind::Noise && (scene != SceneKind::Moving || IsLarge(grid))) return;
    for (const InputKind input : {InputKind::StandardUnlimited, InputKind::MPEG4, InputKind::PartlyH264}) {
        RegisterPass({.scene = scene, .grid = grid, .input = input}, Caches::Warm);
        if (grid == usualGrid) RegisterPass({.scene = scene, .grid = grid, .input = input}, Caches::Cold);
    }
}

[[maybe_unused]] const bool registered = [] {
    for (const GridSize grid : gridSizes)
        for (const SceneKind scene : sceneKinds) RegisterScene(scene, grid);
    return true;
}();

}  // namespace
}  // namespace Bench
