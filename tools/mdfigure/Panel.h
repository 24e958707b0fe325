// How do planes of blocks become a picture for the manual?  Panels of blocks, enlarged and set side by side.
#pragma once

#include <cstdint>
#include <vector>

#include "video/files/PngFile.h"

namespace Figure {

struct Colour {
    std::uint8_t blue, green, red;
};

inline constexpr Colour paper{255, 255, 255}, dark{48, 48, 48}, bright{235, 235, 235}, shadowed{200, 120, 40},
    line{110, 110, 110}, marked{40, 40, 230};

// A part of a grid, in blocks or pixels, ends excluded.
struct Part {
    int left, top, width, height;
};

// A picture of one pixel per block, or of whatever else is shown.
class Panel {
public:
    Panel(int width, int height, Colour colour = paper);

    int Width() const { return _picture.width; }
    int Height() const { return _picture.height; }
    const Video::BgrPicture& Picture() const { return _picture; }

    // Outside the panel nothing is drawn.
    void Set(int x, int y, Colour colour);
    Colour Get(int x, int y) const;  // within the panel

    Panel Cut(Part part) const;
    // Every pixel becomes a square of `factor` pixels; with lines, its left and upper edge are drawn.
    Panel Enlarged(int factor, bool withLines = false) const;
    void DrawBox(Part outer, Colour colour);  // its outline, one pixel wide
    void Paste(const Panel& panel, int left, int top);

private:
    Video::BgrPicture _picture;
};

// Row after row, each of `columns` panels of the first one's size, with a gap of 4 pixels.
Panel Arrange(const std::vector<Panel>& panels, int columns);

}  // namespace Figure
