// Which zones does this file describe?  Reads zones.json and mask pictures, and says where the mistake is in a wrong one.
#pragma once

#include <string>
#include <vector>

#include "video/zones/Zone.h"

namespace Video {

// {"zones": [{"name": "gate", "polygon": [[0.1, 0.2], [0.4, 0.2], [0.4, 0.9]], "min_size": 0.05, "max_size": 0.5},
//            {"name": "trees", "mask": "trees.png", "exclude": true}]}
// polygon or mask, at least three corners from 0 to 1 that enclose something without crossing themselves; masks are looked
// for beside the file. Throws Failure: one line with line and place of the first mistake.
std::vector<Zone> ReadZoneFile(const std::string& path);

// The same of a text. origin: what complaints call it; masks are looked for beside it.
std::vector<Zone> ReadZoneText(const std::string& text, const std::string& origin);

// A PNG file of any size. Throws Failure.
GreyPicture ReadMask(const std::string& path);

}  // namespace Video
