// How far is a point from a shape, and how is a shape blended in?  See SceneShapes.h.
#include "SceneShapes.h"

#include <algorithm>
#include <cmath>

namespace MdScene {
namespace {

double DistanceToSegment(Point point, Point from, Point to) {
    const double dx = to.x - from.x, dy = to.y - from.y;
    const double lengthSquared = dx * dx + dy * dy;
    const double along = (point.x - from.x) * dx + (point.y - from.y) * dy;
    const double share = lengthSquared > 0 ? std::clamp(along / lengthSquared, 0.0, 1.0) : 0;
    const double ex = point.x - (from.x + dx * share), ey = point.y - (from.y + dy * share);
    return std::sqrt(ex * ex + ey * ey);
}

// On which side of the line through both corners?  Its sign is the same for all edges when the point is inside.
double SideOf(Point point, Point from, Point to) {
    return (to.x - from.x) * (point.y - from.y) - (to.y - from.y) * (point.x - from.x);
}

}  // namespace

void PixelBox::Add(int x, int y) {
    if (IsEmpty()) {
        *this = {x, y, x + 1, y + 1};
        return;
    }
    left = std::min(left, x);
    top = std::min(top, y);
    right = std::max(right, x + 1);
    bottom = std::max(bottom, y + 1);
}

double DistanceTo(const Shape& shape, Point point) {
    const std::size_t count = shape.corners.size();
    double distance = DistanceToSegment(point, shape.corners[count - 1], shape.corners[0]);
    bool anyLeft = false, anyRight = false;
    for (std::size_t i = 0; i < count; ++i) {
        const Point from = shape.corners[i], to = shape.corners[(i + 1) % count];
        distance = std::min(distance, DistanceToSegment(point, from, to));
        (SideOf(point, from, to) < 0 ? anyLeft : anyRight) = true;
    }
    const bool isInside = count > 2 && anyLeft != anyRight;
    return (isInside ? -distance : distance) - shape.radius;
}

double CoverageOf(const Shape& shape, int x, int y, double softness) {
    return std::clamp(0.5 - DistanceTo(shape, {x + 0.5, y + 0.5}) / softness, 0.0, 1.0);
}

PixelBox ReachOf(const Shape& shape, double softness, const Canvas& canvas) {
    double left = shape.corners[0].x, right = left, top = shape.corners[0].y, bottom = top;
    for (const Point corner : shape.corners) {
        left = std::min(left, corner.x);
        right = std::max(right, corner.x);
        top = std::min(top, corner.y);
        bottom = std::max(bottom, corner.y);
    }
    const double reach = shape.radius + softness + 1;
    const auto within = [](double value, int size) {
        return static_cast<int>(std::clamp(value, 0.0, static_cast<double>(size)));
    };
    return {within(std::floor(left - reach), canvas.width), within(std::floor(top - reach), canvas.height),
            within(std::ceil(right + reach), canvas.width), within(std::ceil(bottom + reach), canvas.height)};
}

void Blend(const Shape& shape, double softness, Colour colour, float strength, Canvas& canvas) {
    const PixelBox reach = ReachOf(shape, softness, canvas);
    for (int y = reach.top; y < reach.bottom; ++y)
        for (int x = reach.left; x < reach.right; ++x) {
            const float share = static_cast<float>(CoverageOf(shape, x, y, softness));
            if (share <= 0) continue;
            Colour& pixel = canvas.pixels[canvas.IndexOf(x, y)];
            pixel = Mix(pixel, colour, share * strength);
        }
}

}  // namespace MdScene
