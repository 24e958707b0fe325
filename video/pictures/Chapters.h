// Where may a player jump to, and what does it call these places?
#pragma once

#include <string>
#include <vector>

#include "video/media/Libav.h"
#include "video/time/TickTime.h"

namespace Video {

struct Chapter {
    Ticks start, end;  // ticks; from the start of the video
    std::string title;
};

// To be called before the output's header is written.
void AddChapters(AVFormatContext& output, const std::vector<Chapter>& chapters);

}  // namespace Video
