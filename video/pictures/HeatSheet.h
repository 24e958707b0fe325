// What does a heat map look like in a file of its own?  The map, and below it a legend that says what its colours stand for.
#pragma once

#include <string>

#include "video/base/BgrPicture.h"
#include "video/watch/HeatMap.h"

namespace Video {

// The picture of HeatPicture, in the picture's size, with a strip below: each colour and the share of the analysed time in
// which something moved there. No strip where nothing moved.
BgrPicture HeatSheet(const HeatMap& map, const BgrPicture& background);

// "0.5%", "12%", "<0.01%": as the legend has it.
std::string ShareText(double share);

}  // namespace Video
