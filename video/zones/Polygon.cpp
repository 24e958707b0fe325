// When do corners make no polygon?
#include "video/zones/Polygon.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace Video {

namespace {

// Twice the area of the triangle; the sign tells on which side of a-b the third point lies.
double Side(Point a, Point b, Point c) { return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x); }

bool Within(double value, double a, double b) { return value >= std::min(a, b) && value <= std::max(a, b); }

bool OnLine(Point a, Point b, Point c) { return Side(a, b, c) == 0 && Within(c.x, a.x, b.x) && Within(c.y, a.y, b.y); }

// Crossing or touching.
bool Meet(Point a, Point b, Point c, Point d) {
    const bool apart = (Side(a, b, c) > 0) == (Side(a, b, d) > 0) || (Side(c, d, a) > 0) == (Side(c, d, b) > 0);
    const bool straight = Side(a, b, c) == 0 || Side(a, b, d) == 0 || Side(c, d, a) == 0 || Side(c, d, b) == 0;
    return (!apart && !straight) || OnLine(a, b, c) || OnLine(a, b, d) || OnLine(c, d, a) || OnLine(c, d, b);
}

}  // namespace

std::string PolygonTrouble(const std::vector<Point>& polygon) {
    const std::size_t corners = polygon.size();
    const auto corner = [&](std::size_t i) { return polygon[i % corners]; };
    const auto place = [&](std::size_t i) { return "[" + std::to_string(i % corners) + "]"; };
    const auto named = [&](std::size_t i) { return place(i) + " to " + place(i + 1); };
    double area = 0;
    for (std::size_t i = 0; i < corners; ++i) {
        if (corner(i).x == corner(i + 1).x && corner(i).y == corner(i + 1).y) {
            return "corners " + place(i) + " and " + place(i + 1) + " are the same";
        }
        area += corner(i).x * corner(i + 1).y - corner(i + 1).x * corner(i).y;
    }
    for (std::size_t i = 0; i < corners; ++i) {
        // The next line begins where this one ends; it must not run back over it.
        if (OnLine(corner(i), corner(i + 1), corner(i + 2)) || OnLine(corner(i + 1), corner(i + 2), corner(i))) {
            const bool back = (corner(i + 1).x - corner(i).x) * (corner(i + 2).x - corner(i + 1).x) +
                                  (corner(i + 1).y - corner(i).y) * (corner(i + 2).y - corner(i + 1).y) <
                              0;
            if (back) {
                return std::abs(area) < 1e-12 ? "encloses nothing" : "the line from " + named(i) + " runs back over itself";
            }
        }
        for (std::size_t k = i + 2; k < corners; ++k) {
            if ((k + 1) % corners != i && Meet(corner(i), corner(i + 1), corner(k), corner(k + 1))) {
                return "the line from " + named(i) + " crosses the one from " + named(k);
            }
        }
    }
    return std::abs(area) < 1e-12 ? "encloses nothing" : "";
}

}  // namespace Video
