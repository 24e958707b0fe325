// What sits on the lens or flies before it?  Insects, a spider's thread, a cover.
#pragma once

#include <cstdint>

#include "Disturbance.h"
#include "SceneShapes.h"

namespace MdScene {

void PaintLensObstacles(const DisturbancePlan& plan, double seconds, std::uint64_t seed, Canvas& canvas);

// How much of the light a cover takes, 0..1: it takes a little over half a second to come and to go.
float CoverAt(const DisturbancePlan& plan, double seconds);

}  // namespace MdScene
