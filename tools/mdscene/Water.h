// What does water under an open sky look like?  The street's lower part is flooded: ripples wander, the sun glints.
#pragma once

#include <cstdint>

#include "SceneShapes.h"

namespace MdScene {

class Water {
public:
    // share: of the picture's height, from below, 0..0.8; wind as the backdrop's: still air leaves a slow swell.
    Water(std::uint64_t seed, double share, double wind);

    void Paint(double seconds, Canvas& canvas) const;

private:
    const std::uint64_t _seed;
    const double _share;
    const double _wind;
};

}  // namespace MdScene
