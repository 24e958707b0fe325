// What does the scan of one input need to know?
#pragma once

#include <optional>
#include <string>

#include "settings/OutputSettings.h"
#include "settings/ScanSettings.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Scan {

// What it makes beside its lines. Paths; empty: none.
struct JobFiles {
    std::string thumbnails;  // folder
    std::string clips;       // folder
    std::string background;  // file; of an input with a name, a folder
    std::string overlay;     // likewise
    std::string report;      // a page, which wants a picture of every event and where it moved; not written here
    bool heatmap = false;    // a heat map wants to know where it moved
};

// What an input's name says of its start; absent: nothing.
struct NamedStart {
    std::optional<Video::StartTime> start;
};

// What is told of an input whose other parts are told by other jobs.
struct JobPart {
    Video::Ticks learn = 0;               // nothing that comes before is looked at
    Video::Ticks from = 0;                // whole milliseconds, as all of them
    std::optional<Video::Ticks> to = {};  // exclusive; absent: to the end
};

struct JobSettings {
    ScanSettings scan = {};
    JobFiles files = {};
    double reconnect = 60;                 // seconds for which a live source that breaks is tried again
    int decoderThreads = 0;                // 0: one per processor
    std::optional<NamedStart> named = {};  // absent: the input's name is asked
    std::optional<JobPart> part = {};      // absent: all of it
};

inline JobFiles FilesOf(const OutputSettings& outputs) {
    return {.thumbnails = outputs.thumbnails,
            .clips = outputs.clips,
            .background = outputs.background,
            .overlay = outputs.overlay,
            .report = outputs.report,
            .heatmap = !outputs.heatmap.empty()};
}

}  // namespace Scan
