// When must I-frames of a partly decoded H.264 stream be searched for motion too?
#include "statistics/H264PartlyStatistic.h"

#include "utils/Ticks.h"

namespace MD {
namespace {

constexpr std::int64_t framesWithoutPFrame = 5;
constexpr std::int64_t ticksWithoutPFrame = 100000000;  // 10 s
constexpr std::int64_t framesWithoutPFrameMotion = 120;
constexpr std::int64_t ticksWithoutPFrameMotion = 400000000;  // 40 s
constexpr int pFramesWithMotion = 120;

// Frame numbers are ints, widened: their difference cannot overflow.
bool Exceeded(std::int64_t frames, std::int64_t frameLimit, std::int64_t ticks, std::int64_t tickLimit) {
    return frames > frameLimit || ticks > tickLimit;
}

}  // namespace

H264PartlyStatistic::H264PartlyStatistic()
    : _analyseIFramesForMotion(false),
      _lastPFrameNumber(-1),
      _lastPFrameTime(0),
      _lastPFrameMotionNumber(0),
      _lastPFrameMotionTime(0),
      _pFrameMotionCount(0) {}

void H264PartlyStatistic::InitializeIFrameAlgorithm(int frameNumber, std::int64_t time) {
    if (_lastPFrameNumber >= 0) return;
    _lastPFrameNumber = _lastPFrameMotionNumber = frameNumber;
    _lastPFrameTime = _lastPFrameMotionTime = time;
    _pFrameMotionCount = 0;
}

void H264PartlyStatistic::UpdatePFrameData(int frameNumber, std::int64_t time) {
    _lastPFrameTime = time;
    _lastPFrameNumber = frameNumber;
}

void H264PartlyStatistic::UpdatePFrameMotionData(int frameNumber, std::int64_t time) {
    _lastPFrameMotionTime = time;
    _lastPFrameMotionNumber = frameNumber;
}

bool H264PartlyStatistic::AnalyseIFramesForMotion() { return _analyseIFramesForMotion; }

bool H264PartlyStatistic::ExceededIFrameLimit(int frameNumber, std::int64_t time) {
    return Exceeded(frameNumber - _lastPFrameNumber, framesWithoutPFrame, Utils::ElapsedTicks(time, _lastPFrameTime),
                    ticksWithoutPFrame);
}

bool H264PartlyStatistic::ExceededNoMotionLimit(int frameNumber, std::int64_t time) {
    return Exceeded(frameNumber - _lastPFrameMotionNumber, framesWithoutPFrameMotion,
                    Utils::ElapsedTicks(time, _lastPFrameMotionTime), ticksWithoutPFrameMotion);
}

bool H264PartlyStatistic::ExceededPFrameMotionLimit() { return _pFrameMotionCount > pFramesWithMotion; }

void H264PartlyStatistic::TurnOnIFramesForMotion() {
    _analyseIFramesForMotion = true;
    _pFrameMotionCount = 0;
}

void H264PartlyStatistic::TurnOffIFramesForMotion() { _analyseIFramesForMotion = false; }

void H264PartlyStatistic::IncrementPFrameMotion() { ++_pFrameMotionCount; }

}  // namespace MD
