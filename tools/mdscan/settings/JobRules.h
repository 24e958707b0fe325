// What do a scan's settings mean for the detector, and for events?
#pragma once

#include "settings/JobSettings.h"
#include "video/time/TickTime.h"
#include "video/watch/Events.h"
#include "video/watch/Watcher.h"

namespace Scan {

// interval: ticks between two pictures of the video.
Video::WatchRules WatchRulesOf(const JobSettings& settings, Video::Ticks interval);

// What they say of events, wherever frames come from: longestGap, which frames decide too, is 0.
Video::EventRules EventRulesOf(const ScanSettings& scan);

// period: ticks between two that are analysed.
Video::EventRules EventRulesOf(const JobSettings& settings, Video::Ticks period);

}  // namespace Scan
