// What do bushes and boughs in the wind look like?  They cover a share of the picture, behind whoever passes, so that the
// truth needs to know nothing of them.
#pragma once

#include <cstdint>
#include <vector>

#include "SceneShapes.h"

namespace MdScene {

class Foliage {
public:
    // share: of the picture's pixels that leaves cover in still air, 0..0.8; wind as the backdrop's.
    Foliage(int width, int height, std::uint64_t seed, double share, double wind);

    void Paint(double seconds, Canvas& canvas) const;

private:
    struct Leaf {
        Colour colour;
        float cover;  // 0..1
        float bough;  // 0..1; whatever is alike here swings alike
        float phase;  // 0..1; of the leaf's own flutter
    };

    const double _wind;
    const int _width;         // pixels
    const int _height;        // pixels
    std::vector<Leaf> _leaf;  // of still air, one per pixel; empty where there are none
};

}  // namespace MdScene
