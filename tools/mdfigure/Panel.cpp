// How do planes of blocks become a picture for the manual?
#include "Panel.h"

#include <cstddef>

namespace Figure {
namespace {

constexpr int gap = 4;  // pixels

}  // namespace

Panel::Panel(int width, int height, Colour colour)
    : _picture{width, height,
               std::vector<std::uint8_t>(3 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height))} {
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) Set(x, y, colour);
}

void Panel::Set(int x, int y, Colour colour) {
    if (x < 0 || y < 0 || x >= Width() || y >= Height()) return;
    std::uint8_t* const pixel = _picture.pixels.data() + 3 * (static_cast<std::ptrdiff_t>(y) * Width() + x);
    pixel[0] = colour.blue;
    pixel[1] = colour.green;
    pixel[2] = colour.red;
}

Colour Panel::Get(int x, int y) const {
    const std::uint8_t* const pixel = _picture.pixels.data() + 3 * (static_cast<std::ptrdiff_t>(y) * Width() + x);
    return {pixel[0], pixel[1], pixel[2]};
}

Panel Panel::Cut(Part part) const {
    Panel cut(part.width, part.height);
    for (int y = 0; y < part.height; ++y)
        for (int x = 0; x < part.width; ++x) cut.Set(x, y, Get(part.left + x, part.top + y));
    return cut;
}

Panel Panel::Enlarged(int factor, bool withLines) const {
    Panel large(Width() * factor, Height() * factor);
    for (int y = 0; y < large.Height(); ++y)
        for (int x = 0; x < large.Width(); ++x) {
            const bool isLine = withLines && (x % factor == 0 || y % factor == 0);
            large.Set(x, y, isLine ? line : Get(x / factor, y / factor));
        }
    return large;
}

void Panel::DrawBox(Part outer, Colour colour) {
    const int right = outer.left + outer.width - 1, bottom = outer.top + outer.height - 1;
    for (int x = outer.left; x <= right; ++x) Set(x, outer.top, colour), Set(x, bottom, colour);
    for (int y = outer.top; y <= bottom; ++y) Set(outer.left, y, colour), Set(right, y, colour);
}

void Panel::Paste(const Panel& panel, int left, int top) {
    for (int y = 0; y < panel.Height(); ++y)
        for (int x = 0; x < panel.Width(); ++x) Set(left + x, top + y, panel.Get(x, y));
}

Panel Arrange(const std::vector<Panel>& panels, int columns) {
    const int width = panels.front().Width(), height = panels.front().Height();
    const int rows = (static_cast<int>(panels.size()) + columns - 1) / columns;
    Panel all(columns * (width + gap) - gap, rows * (height + gap) - gap);
    for (int i = 0; i < static_cast<int>(panels.size()); ++i)
        all.Paste(panels[static_cast<std::size_t>(i)], i % columns * (width + gap), i / columns * (height + gap));
    return all;
}

}  // namespace Figure
