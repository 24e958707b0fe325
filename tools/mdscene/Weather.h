// What falls between the street and the camera?  Rain and snow.
#pragma once

#include <cstdint>

#include "Disturbance.h"
#include "SceneShapes.h"

namespace MdScene {

// Streaks are new in every picture, flakes fall from one to the next.
void PaintWeather(const DisturbancePlan& plan, double seconds, int number, std::uint64_t seed, Canvas& canvas);

}  // namespace MdScene
