// Where in the picture do the zones lie?  `mdscan zones`: checks them, says what they cover, draws them over a frame.
#pragma once

#include <string>
#include <vector>

#include "settings/ScanSettings.h"

namespace Scan {

// Files to write; empty: none.
struct ZonePictures {
    std::string preview;  // a picture
    std::string editor;   // a page on which zones are drawn
};

// Prints a line per zone. inputs: one, or it is refused. zoneFile: what an editor begins with; empty: nothing. Returns the
// exit code. Throws Failure.
int ShowZones(const std::vector<std::string>& inputs, const ScanSettings& settings, const ZonePictures& pictures,
              const std::string& zoneFile);

}  // namespace Scan
