// When must I-frames of a partly decoded H.264 stream be searched for motion too?  Driven by the foreground step.
// Normally P-frames tell; when they stop coming, or show nothing for long, I-frames help until P-frames show enough again.
#pragma once

#include <cstdint>

#include "coreMD.h"

namespace MD {

// Frame numbers are the detector's counter, times are ticks. All limits are exclusive.
class COREMD_API H264PartlyStatistic {
public:
    H264PartlyStatistic();

    void InitializeIFrameAlgorithm(int frameNumber, std::int64_t time);  // the first call counts, later ones do nothing
    void UpdatePFrameData(int frameNumber, std::int64_t time);           // a P-frame was seen
    void UpdatePFrameMotionData(int frameNumber, std::int64_t time);     // a P-frame with motion was seen

    bool AnalyseIFramesForMotion();
    bool ExceededIFrameLimit(int frameNumber, std::int64_t time);    // no P-frame for 5 frames or 10 s
    bool ExceededNoMotionLimit(int frameNumber, std::int64_t time);  // no P-frame with motion for 120 frames or 40 s
    bool ExceededPFrameMotionLimit();                                // 120 P-frames with motion since turned on

    void TurnOnIFramesForMotion();   // counts P-frames with motion from 0
    void TurnOffIFramesForMotion();  // the count stays
    void IncrementPFrameMotion();

    bool _analyseIFramesForMotion;   // I-frames are searched for motion
    std::int64_t _lastPFrameNumber;  // negative: not yet initialised
    std::int64_t _lastPFrameTime;    // ticks
    std::int64_t _lastPFrameMotionNumber;
    std::int64_t _lastPFrameMotionTime;  // ticks
    int _pFrameMotionCount;              // P-frames with motion since I-frame analysis was turned on
};

}  // namespace MD
