// Where do two frames of a rendered scene differ, and which street is it?  Shared by the scene's tests.
#pragma once

#include <cstddef>
#include <ostream>
#include <vector>

#include "Scene.h"

namespace MdScene {

// A small street, quick to render: everybody passes within a minute.
inline constexpr Settings street = {.width = 208, .height = 118, .fps = 5, .frames = 300, .seed = 5, .quietSeconds = 3};

// The same street with everybody on it at once.
inline constexpr Settings crowd = {
    .width = 208, .height = 118, .fps = 5, .frames = 200, .seed = 5, .quietSeconds = 1, .pauseSeconds = -12};

struct Pixel {
    int x, y;
};
inline std::ostream& operator<<(std::ostream& out, const Pixel& pixel) { return out << pixel.x << ", " << pixel.y; }

// Where do two pictures differ?  A chroma sample stands for all of its up to four pixels.
inline std::vector<Pixel> ChangedPixels(const Frame& frame, const Frame& empty) {
    std::vector<Pixel> changed;
    const int chromaWidth = (frame.width + 1) / 2;
    for (int y = 0; y < frame.height; ++y)
        for (int x = 0; x < frame.width; ++x) {
            const auto luma = static_cast<std::size_t>(y * frame.width + x);
            const auto chroma = static_cast<std::size_t>(y / 2 * chromaWidth + x / 2);
            const bool isChanged = frame.y[luma] != empty.y[luma] || frame.cb[chroma] != empty.cb[chroma] ||
                                   frame.cr[chroma] != empty.cr[chroma];
            if (isChanged) changed.push_back({x, y});
        }
    return changed;
}

}  // namespace MdScene
