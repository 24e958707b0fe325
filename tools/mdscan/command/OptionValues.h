// What may an option's words look like that are not plain numbers?  Moments, places and rectangles in the picture.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "video/time/TimeRange.h"
#include "video/zones/ZoneMask.h"

namespace Scan {

// "12.5", "1:02" or "1:02:03.5" in seconds. Absent: something else.
std::optional<double> ReadTime(const std::string& text);

// "90s", "10m" or "1h"; without a letter: seconds. Absent: something else, or less than 20 s or more than a day.
std::optional<double> ReadPartLength(const std::string& text);

// An end of --from and --to: seconds as above, or a time by the clock. Absent: something else.
std::optional<Video::RangeEdge> ReadEdge(const std::string& text);

// "40": a whole number from 0, in plain digits. Absent: something else.
std::optional<int> ReadWhole(const std::string& text);

// "40,22": two whole numbers from 0. Absent: something else.
std::optional<std::array<int, 2>> ReadPlace(const std::string& text);

// "0,0.5,1,0.5": x, y, width and height with all of it inside the picture. Absent: something else.
std::optional<Video::RelativeZone> ReadZone(const std::string& text);

}  // namespace Scan
