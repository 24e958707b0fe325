// How is a picture divided into blocks?
#pragma once

namespace Video {

// A picture divided into square blocks. The last column and row may reach beyond the picture.
struct PictureGrid {
    int pictureWidth;   // pixels
    int pictureHeight;  // pixels
    int blockSize;      // pixels
    int columns;        // blocks
    int rows;           // blocks
};

}  // namespace Video
