// How does a picture of few pixels become one that people can look at?
#include "video/base/BgrPicture.h"

#include <algorithm>
#include <cstddef>

namespace Video {

BgrPicture Enlarged(const BgrPicture& picture, int factor, int width, int height) {
    constexpr int channels = 3;
    BgrPicture large{width, height, {}};
    large.pixels.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * channels);
    for (int y = 0; y < height; ++y) {
        const int row = std::min(y / factor, picture.height - 1);
        for (int x = 0; x < width; ++x) {
            const int column = std::min(x / factor, picture.width - 1);
            const auto pixel = picture.pixels.begin() + (std::ptrdiff_t{row} * picture.width + column) * channels;
            large.pixels.insert(large.pixels.end(), pixel, pixel + channels);
        }
    }
    return large;
}

}  // namespace Video
