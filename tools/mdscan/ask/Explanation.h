// Why was a block foreground, or why not?  What Explain has found out, as a text for people and as JSON.
#pragma once

#include <optional>
#include <string>

#include "ask/BlockProbe.h"
#include "video/time/PictureNumbers.h"
#include "video/time/TickTime.h"

namespace Scan {

// What became of the event that the frame belongs to.
struct EventFate {
    bool counts = false;     // false: it was shorter than --min-duration, a flash that is ignored, or forgotten
    bool flash = false;      // it is dropped as a flash
    bool forgotten = false;  // a disturbance began with it or before
    int number = 0;          // as a scan numbers it, where it counts
    Video::Ticks start = 0;  // first and last frame that moved, without rolls
    Video::Ticks end = 0;
};

struct Explanation {
    std::string file;
    Video::Ticks asked = 0;  // the moment in question
    Video::Ticks time = 0;   // of the frame analysed last at that moment
    Video::PictureNumber picture = {};
    BlockFacts facts = {};
    int movingBlocks = 0;                 // in all objects of the frame
    int minBlocks = 1;                    // fewer: the frame counts as still
    double minDuration = 0;               // seconds
    std::optional<EventFate> event = {};  // of a frame that moves
};

// "still", "shadow", ...: how JSON calls it.
const char* NameOf(Verdict verdict);

// "12.345": as explanations and complaints about a question give times, in seconds.
std::string SecondsText(Video::Ticks ticks);

// A few lines, each with its end.
std::string ExplanationText(const Explanation& explanation);

// One object on one line, without its end.
std::string ExplanationLine(const Explanation& explanation);

}  // namespace Scan
