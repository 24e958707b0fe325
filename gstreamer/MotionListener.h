// What does the analysis tell, and whom?
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "video/base/Findings.h"
#include "video/time/TickTime.h"
#include "video/watch/Condition.h"
#include "video/watch/Events.h"

namespace Gst {

// Of one picture.
struct PictureTime {
    Video::Ticks running = 0;       // ticks; what the detector is told
    std::uint64_t runningTime = 0;  // nanoseconds, as the stream has it
    std::uint64_t timestamp = 0;    // likewise, of the buffer; GST_CLOCK_TIME_NONE: it had none
};

struct MotionBegin {
    int id = 0;                                // from 1
    PictureTime start;                         // first picture that moved
    PictureTime now;                           // the one that made it long enough to count
    std::vector<Video::MovingObject> objects;  // in that one
};

struct MotionEnd {
    int id = 0;
    PictureTime start, peak, end;  // end: last picture that moved
    Video::Event event;
    bool isVoid = false;      // what moved turned out to be a disturbance
    const char* reason = "";  // for which it ended
};

class MotionListener {
public:
    virtual ~MotionListener() = default;
    virtual void OnBegin(const MotionBegin& begin) = 0;
    virtual void OnEnd(const MotionEnd& end) = 0;
    // Twice: as soon as it is known, and when it is over.
    virtual void OnCondition(const Video::Condition& condition, bool isOver) = 0;
    virtual void OnWarning(const std::string& text) = 0;
};

}  // namespace Gst
