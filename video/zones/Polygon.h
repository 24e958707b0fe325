// Do these corners make a polygon?
#pragma once

#include <string>
#include <vector>

#include "video/zones/Zone.h"

namespace Video {

// Empty when the polygon encloses something and does not cross itself, otherwise what is wrong. Corners are called "[0]"
// and so on. Precondition: at least three.
std::string PolygonTrouble(const std::vector<Point>& polygon);

}  // namespace Video
