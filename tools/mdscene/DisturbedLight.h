// Which light falls on the scene, and what does the camera make of it?  Steps, ramps, hunting exposure, bars, headlights,
// and the grey picture of infrared.
#pragma once

#include "Disturbance.h"
#include "SceneShapes.h"

namespace MdScene {

// Cones of light on the ground and on whoever stands there.
void PaintHeadlights(const DisturbancePlan& plan, double seconds, Canvas& canvas);

// All light times `daylight` and what the disturbances make of it; infrared takes the colours away.
void Illuminate(const DisturbancePlan& plan, double seconds, float daylight, Canvas& canvas);

}  // namespace MdScene
