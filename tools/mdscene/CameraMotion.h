// Where does the camera point?  It trembles or is turned away: the whole picture moves, and its truth with it.
#pragma once

#include <cstdint>

#include "Disturbance.h"
#include "SceneShapes.h"

namespace MdScene {

struct Frame;

// Pixel (x, y) shows what was at centre + turn * (x, y - centre) - shift.
struct CameraPose {
    bool IsStill() const { return right == 0 && down == 0 && sine == 0; }

    double right = 0, down = 0;   // pixels
    double sine = 0, cosine = 1;  // of the turn
};

CameraPose PoseAt(const DisturbancePlan& plan, double seconds, int number, std::uint64_t seed, int pictureHeight);

// Moves the picture, the mask and the boxes.  What comes from beyond the picture is its edge.
// A pixel is of a thing when any pixel is that it is mixed of; boxes still hold every pixel that their thing changes.
void MoveCamera(const CameraPose& pose, Canvas& canvas, Frame& frame);

}  // namespace MdScene
