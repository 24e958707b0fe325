// What does a detector's state consist of?  Lists of values and planes, each with what it may hold. Saving, measuring,
// checking and loading walk the same lists.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <tuple>
#include <type_traits>

#include "detector/MotionDetector.h"

namespace MD::StateLists {

inline constexpr int largestSkipFrameCount = 65;

// A value with its bounds, inclusive. What is no number is within any bounds.
template <class Owner, class T>
struct Value {
    T Owner::*member;
    T least, most;
};
template <class Owner, class T>
constexpr Value<Owner, T> Within(T Owner::*member, T least, T most) {
    return {member, least, most};
}
template <class Owner, class T>
constexpr Value<Owner, T> Any(T Owner::*member) {
    using Limits = std::numeric_limits<T>;
    if constexpr (std::is_floating_point_v<T>) return {member, -Limits::infinity(), Limits::infinity()};
    else return {member, Limits::min(), Limits::max()};
}

// Elements for every block, likewise; what is no number is beyond them.
template <class Owner, class T>
struct Plane {
    T* Owner::*member;
    std::size_t perBlock;
    T least, most;
};
template <class Owner, class T>
constexpr Plane<Owner, T> AnyPerBlock(T* Owner::*member, std::size_t perBlock = 1) {
    return {member, perBlock, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()};
}
template <class Owner>
constexpr Plane<Owner, float> Levels(float* Owner::*member, float least, float most) {
    return {member, 1, least, most};
}

inline constexpr std::tuple detectorValues{
    Any(&MotionDetector::_currentTime),
    Within(&MotionDetector::_skipPhase, 0, MotionDetector::analyzeStageCount - 1),
    Within(&MotionDetector::_skipFrameCounter, 0, largestSkipFrameCount),
    Any(&MotionDetector::_lastFrameTime),
    Any(&MotionDetector::_extraFlag1),
    Any(&MotionDetector::_isIFrame),
    Any(&MotionDetector::_fps),
    Any(&MotionDetector::_passThroughFlag),
    Any(&MotionDetector::_detectShadow),
    Any(&MotionDetector::_extraFlag2),
    Any(&MotionDetector::_mpeg4IFrameOverride),
    Any(&MotionDetector::_isMPEG4),
    Any(&MotionDetector::_h264PartlyIsOptimized),
    Any(&MotionDetector::_h264PartlyIsIFrame),
    Any(&MotionDetector::_h264FrameCounter),
    Any(&MotionDetector::_processZones),
    Any(&MotionDetector::_solveForeground),
    Any(&MotionDetector::_limitObjectsToMask),
    Any(&MotionDetector::_longBackgroundTimes),
};

inline constexpr std::tuple statisticsValues{
    Any(&FrameStatistics::_isFilled),
    Any(&FrameStatistics::_lastIsH264),
    Any(&FrameStatistics::_needReCalculate),
    Within(&FrameStatistics::_position, 0, 10),
};

inline constexpr std::int64_t leastInt = std::numeric_limits<int>::min(), mostInt = std::numeric_limits<int>::max();
inline constexpr std::tuple machineValues{
    Any(&H264PartlyStatistic::_analyseIFramesForMotion),
    Within(&H264PartlyStatistic::_lastPFrameNumber, leastInt, mostInt),
    Any(&H264PartlyStatistic::_lastPFrameTime),
    Within(&H264PartlyStatistic::_lastPFrameMotionNumber, leastInt, mostInt),
    Any(&H264PartlyStatistic::_lastPFrameMotionTime),
    Within(&H264PartlyStatistic::_pFrameMotionCount, 0, std::numeric_limits<int>::max() / 2),
};

inline constexpr float farFromAnyNoise = 1e6f;                            // grey levels
inline constexpr float mostSum = 5 * 255.0f, mostSquares = 5 * 65025.0f;  // of a window
inline constexpr std::tuple detectorPlanes{
    AnyPerBlock(&MotionDetector::_zoneResultMap),  Levels(&MotionDetector::_noiseLevel, -farFromAnyNoise, farFromAnyNoise),
    AnyPerBlock(&MotionDetector::_backgroundY),    AnyPerBlock(&MotionDetector::_backgroundCb),
    AnyPerBlock(&MotionDetector::_backgroundCr),   Levels(&MotionDetector::_sampleValue, 0.0f, 256.0f),
    AnyPerBlock(&MotionDetector::_isStable),       AnyPerBlock(&MotionDetector::_isBackground),
    AnyPerBlock(&MotionDetector::_isObject),       AnyPerBlock(&MotionDetector::_isMotionPixel),
    AnyPerBlock(&MotionDetector::_lastChangeTime), AnyPerBlock(&MotionDetector::_backgroundTime),
    AnyPerBlock(&MotionDetector::_sampleTime),     AnyPerBlock(&MotionDetector::_foregroundMask),
    AnyPerBlock(&MotionDetector::_objectsMap),
};

inline constexpr std::tuple statisticsPlanes{
    AnyPerBlock(&FrameStatistics::_frames, 33),  // 11 frames of three planes
    AnyPerBlock(&FrameStatistics::_min),
    AnyPerBlock(&FrameStatistics::_max),
    Levels(&FrameStatistics::_firstPartSum, 0.0f, mostSum),
    Levels(&FrameStatistics::_secondPartSum, 0.0f, mostSum),
    Levels(&FrameStatistics::_centerPartSum, 0.0f, mostSum),
    Levels(&FrameStatistics::_firstPartSquareSum, 0.0f, mostSquares),
    Levels(&FrameStatistics::_secondPartSquareSum, 0.0f, mostSquares),
    Levels(&FrameStatistics::_centerPartSquareSum, 0.0f, mostSquares),
};

}  // namespace MD::StateLists
