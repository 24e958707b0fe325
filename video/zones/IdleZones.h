// Which zones can never tell motion, whatever happens in the picture?  Whoever drew one too small, or under another that
// excludes it, learns that before the scan and not by the silence after it.
//
// Pure: values in, values out.
#pragma once

#include <string>
#include <vector>

#include "video/base/PictureGrid.h"
#include "video/zones/ObjectSizes.h"
#include "video/zones/Zone.h"

namespace Video {

struct IdleZone {
    std::string name;    // empty: the whole picture, where no zone is to be watched
    std::string reason;  // with the numbers of blocks
};

// sizes: where a zone states none of its own.
std::vector<IdleZone> IdleZones(const std::vector<Zone>& zones, const PictureGrid& grid, const ObjectSizes& sizes);

// Are these all that is to be watched?
bool AreAll(const std::vector<IdleZone>& idle, const std::vector<Zone>& zones);

// 'zone "gate" can never tell motion: ...', one line.
std::string Told(const IdleZone& zone);

}  // namespace Video
