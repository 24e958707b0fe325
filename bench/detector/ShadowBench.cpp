// What does the whole shadow stage of a frame cost?  On a learned detector; half of the foreground is shadow.
#include "Measure.h"
#include "ScenePlayer.h"
#include "detector/MotionDetector.h"

namespace Bench {
namespace {

void MeasureStage(benchmark::State& state, SceneKind kind, GridSize grid) {
    Scene& scene = SceneFor(kind, grid);
    ScenePlayer player({.scene = kind, .grid = grid, .detectShadow = true});
    player.Learn(scene);
    MD::MotionDetector& detector = player.Classes();
    // The stage takes blocks out of the foreground: each call gets it anew.
    MeasureCalls(
        state, grid.Blocks(), CallsFor(grid.Blocks()), [&] { detector.DetectShadow(nullptr); },
        [&] { detector.FindForegroundStandart(); });
}

[[maybe_unused]] const bool registered = [] {
    for (const SceneKind kind : {SceneKind::ShadowOnFew, SceneKind::ShadowEverywhere})
        RegisterOnGrids("stage/" + NameOf(kind),
                        [kind](benchmark::State& state, GridSize grid) { MeasureStage(state, kind, grid); });
    return true;
}();

}  // namespace
}  // namespace Bench
