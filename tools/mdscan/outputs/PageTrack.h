// How does a page hold where an object went?  In few bytes, for it holds thousands of events.
#pragma once

#include <string>
#include <vector>

#include "video/time/TickTime.h"
#include "video/watch/Events.h"

namespace Scan {

// Five whole numbers for each point, with spaces between: hundredths of a second since `start`, then x, y, width and height
// in pixels; from the second point on, how much more they are than those before. Points are left out that lie on the way
// between others, to a quarter of the box, at least 4 pixels.
std::string PageTrack(const std::vector<Video::TrackPoint>& track, Video::Ticks start);

}  // namespace Scan
