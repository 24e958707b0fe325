// What does the scene look like when nobody is there?  A street seen from a first floor: sky, a house front, a lawn with a
// tree and a lamp, a pavement, a road with two lanes, the near pavement.  Painted once; only the tree moves.
//
// Lengths are fractions of the picture's height, so that the scene looks alike in every size; x runs further than 1 in wide
// pictures.
#pragma once

#include <cstdint>
#include <vector>

#include "SceneShapes.h"

namespace MdScene {

// Where things may walk and drive, from top (0) to bottom (1).
inline constexpr double farPavementTop = 0.49, farPavementBottom = 0.62;
inline constexpr double roadTop = 0.632, roadBottom = 0.94;
inline constexpr double nearPavementTop = 0.952;

class Backdrop {
public:
    // wind: 0 still air, 1 a light breeze, which moves the crown by up to half a percent of the picture's height.
    Backdrop(int width, int height, std::uint64_t seed, double wind);

    // The backdrop at a moment.  Overwrites the canvas, whose size is the backdrop's.
    void Paint(double seconds, Canvas& canvas) const;

private:
    struct TreePixel {
        Colour colour;
        float cover;  // 0..1
    };

    Colour ColourAt(double x, double y) const;
    Colour FrontAt(double x, double y) const;
    Colour GroundAt(double x, double y) const;
    TreePixel TreeAt(double x, double y) const;
    void PaintTree(double seconds, Canvas& canvas) const;

    std::uint64_t _seed;
    double _wind;
    double _width;                 // of the picture, in heights
    double _treeX;                 // of the trunk
    Canvas _still;                 // everything but the tree
    PixelBox _treeBox;             // pixels the tree may touch
    std::vector<TreePixel> _tree;  // of the still tree, rows of _treeBox
};

}  // namespace MdScene
