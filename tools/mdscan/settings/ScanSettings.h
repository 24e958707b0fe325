// What decides what is found in an input, and what is said of it?
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "video/time/NameTime.h"
#include "video/time/TimeRange.h"
#include "video/time/WallClock.h"
#include "video/watch/Conditioning.h"
#include "video/zones/ObjectSizes.h"
#include "video/zones/Zone.h"

namespace Scan {

using Video::Sensitivity;
using Video::Stabilise;

// As users write them, in the order of the values.
inline constexpr std::array conditionWords = {"none", "default"};  // of false and true
inline constexpr std::array stabiliseWords = {"auto", "on", "off"};
inline constexpr std::array sensitivityWords = {"low", "normal", "high"};

constexpr const char* WordOf(Stabilise value) { return stabiliseWords[static_cast<std::size_t>(value)]; }
constexpr const char* WordOf(Sensitivity value) { return sensitivityWords[static_cast<std::size_t>(value)]; }

struct ScanSettings {
    double rate = 6;                        // pictures analysed per second; 0: all
    bool fast = false;                      // decode only where keyframes differ
    bool skipLoopFilter = false;            // decode H.264 without smoothing the edges of its blocks
    int blockSize = 0;                      // pixels; 0: chosen from the picture's size
    bool condition = true;                  // all that is done around the detector; false: the plain detector
    Stabilise stabilise = Stabilise::Auto;  // where it is conditioned
    Sensitivity sensitivity = Sensitivity::Normal;
    std::string memory;                            // folder that knows each camera's background; empty: none is kept
    bool shadows = false;                          // drop shadows
    std::optional<double> minSize;                 // smallest object, of the picture's width and height; absent: as usual
    Video::TimeRange range;                        // of each input; nothing else is analysed
    double maxSize = 1;                            // largest object, likewise
    double mergeGap = 2;                           // seconds
    double minDuration = 0.5;                      // seconds
    double preRoll = 0;                            // seconds
    double postRoll = 0;                           // seconds
    int minBlocks = 1;                             // moving blocks, for a frame to count
    bool ignoreFlashes = false;                    // drop events in which nothing but the light changed, all at once
    std::vector<Video::Zone> zones;                // none: the whole picture
    bool frames = false;                           // one line per analysed frame, too
    bool track = false;                            // where the largest object went, in every event
    std::optional<Video::WallTicks> startTime;     // wall clock at the start of the one input
    std::string nameTime = Video::usualNameTimes;  // how times are read from names; else a pattern, or none
};

inline Video::ConditioningRules ConditioningOf(const ScanSettings& settings) {
    return {.on = settings.condition, .stabilise = settings.stabilise, .sensitivity = settings.sensitivity};
}

// Of objects, where a zone states none of its own.
inline Video::ObjectSizes SizesOf(const ScanSettings& settings) {
    return {Video::SmallestSize(settings.minSize, ConditioningOf(settings)), settings.maxSize};
}

}  // namespace Scan
