// What does one frame cost, from its hand-over to the last object read?  Scenes, kinds of input, zones, grids; warm and cold
// caches. Names: pass/<scene>/<input>/<zones>/<caches>/<grid>.
#include <memory>
#include <string>

#include "ScenePlayer.h"

namespace Bench {
namespace {

// Stream seconds that a repetition lasts, for whole cycles of every scene: background samples are taken once a second.
int TimedFrames(const Scene& scene, Caches caches) {
    const int cycle = static_cast<int>(scene.CycleLength());
    const int atLeast = caches == Caches::Cold ? 10 : scene.Grid().Blocks() > 1000000 ? 30 : 50;
    return (atLeast + cycle - 1) / cycle * cycle;
}

// The same detector from repetition to repetition: what it learned takes longer than what is measured.
struct Prepared {
    std::string                  name;
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
            for (std::size_t n = 1; n < scene.CycleLength(); ++n) player.Play(scene);
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

void RegisterPass(PassSetup setup) {
    setup.detectShadow = HasShadows(setup.scene);
    for (const Caches caches : {Caches::Warm, Caches::Cold}) {
        const std::string name = "pass/" + NameOf(setup.scene) + "/" + NameOf(setup.input) + "/" + std::to_string(setup.zones) +
                                 (caches == Caches::Warm ? "/warm/" : "/cold/") + setup.grid.Name();
        const bool isLong = caches == Caches::Cold || setup.grid.Blocks() > 1000000;
        // In MPEG-4 mode the detector forgets its background every few hundred frames.
        Register(name, isLong || setup.input == InputKind::MPEG4 ? 3 : 7,
                 [=](benchmark::State& state) { MeasurePass(state, name, setup, caches); });
    }
}

[[maybe_unused]] const bool registered = [] {
    for (const GridSize grid : gridSizes)
        for (const SceneKind scene : sceneKinds) {
            RegisterPass({.scene = scene, .grid = grid});
            if (scene == SceneKind::Moving)
                for (const int zones : {4, 16}) RegisterPass({.scene = scene, .grid = grid, .zones = zones});
            if (scene == SceneKind::Noise || scene == SceneKind::Moving)
                for (const InputKind input : {InputKind::StandardUnlimited, InputKind::MPEG4, InputKind::PartlyH264})
                    RegisterPass({.scene = scene, .grid = grid, .input = input});
        }
    return true;
}();

}  // namespace
}  // namespace Bench
