// Where are zones drawn?  On a page of their own, over pictures of the video.
#pragma once

#include <string>

#include "settings/ScanSettings.h"
#include "video/base/PictureGrid.h"
#include "video/media/Decoder.h"

namespace Scan {

// decoder: has just decoded the first picture of input, which has that grid. settings: its zones are those of the file.
// zoneFile: what is edited first; empty: nothing. Throws Failure.
void WriteZoneEditor(const std::string& page, const std::string& input, const Video::Decoder& decoder,
                     const Video::PictureGrid& grid, const ScanSettings& settings, const std::string& zoneFile);

}  // namespace Scan
