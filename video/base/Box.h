// Which part of a picture?
#pragma once

namespace Video {

// Pixels of the picture; right and bottom edge exclusive.
struct Box {
    int x;
    int y;
    int width;
    int height;
};

}  // namespace Video
