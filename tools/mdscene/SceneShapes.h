// How are shapes painted onto a picture of floats?  One kind of shape for everything: a convex outline with a radius.
#pragma once

#include <cstddef>
#include <vector>

namespace MdScene {

struct Point {
    double x;
    double y;
};

// Pixels left to right - 1, top to bottom - 1.  Empty when right <= left.
struct PixelBox {
    int left = 0, top = 0, right = 0, bottom = 0;

    bool IsEmpty() const { return right <= left || bottom <= top; }
    bool Contains(int x, int y) const { return x >= left && x < right && y >= top && y < bottom; }
    void Add(int x, int y);  // grows to hold the pixel
};

// Video levels: luma 16..235, chroma around 128.
struct Colour {
    float y;
    float cb;
    float cr;
};

constexpr Colour ColourOfRgb(int red, int green, int blue) {
    const double r = red, g = green, b = blue;
    return {static_cast<float>(16 + 0.257 * r + 0.504 * g + 0.098 * b),
            static_cast<float>(128 - 0.148 * r - 0.291 * g + 0.439 * b),
            static_cast<float>(128 + 0.439 * r - 0.368 * g - 0.071 * b)};
}

constexpr Colour Mix(Colour from, Colour to, float share) {
    return {from.y + (to.y - from.y) * share, from.cb + (to.cb - from.cb) * share, from.cr + (to.cr - from.cr) * share};
}

constexpr Colour Scaled(Colour colour, float brightness) {
    return {16 + (colour.y - 16) * brightness, colour.cb, colour.cr};
}

// A picture in the making: one colour per pixel, row after row.
struct Canvas {
    Canvas(int canvasWidth, int canvasHeight)
        : width(canvasWidth),
          height(canvasHeight),
          pixels(static_cast<std::size_t>(canvasWidth) * static_cast<std::size_t>(canvasHeight)) {}

    std::size_t IndexOf(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
    }

    int width;
    int height;
    std::vector<Colour> pixels;
};

// All points within `radius` of the convex outline: one corner is a disc, two a capsule, more (in either turning
// direction) a polygon with round corners.  Pixels; the centre of pixel (x, y) is (x + 0.5, y + 0.5).
struct Shape {
    std::vector<Point> corners;
    double radius = 0;
};

// Distance from the border, negative inside.
double DistanceTo(const Shape& shape, Point point);

// Share of a pixel that the shape covers, 0..1; the edge is `softness` pixels wide, at least 1.
double CoverageOf(const Shape& shape, int x, int y, double softness);

// The pixels of a canvas that the shape may touch.
PixelBox ReachOf(const Shape& shape, double softness, const Canvas& canvas);

// Paints the shape in one colour, `strength` times as dense as its coverage, 0..1.
void Blend(const Shape& shape, double softness, Colour colour, float strength, Canvas& canvas);

}  // namespace MdScene
