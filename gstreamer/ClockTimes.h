// What is a time of GStreamer in ticks, and the other way round?
#pragma once

#include <gst/gst.h>

#include "video/time/TickTime.h"

namespace Gst {

inline constexpr GstClockTime nanosecondsPerTick = static_cast<GstClockTime>(GST_SECOND / Video::oneSecond);

inline Video::Ticks TicksOf(GstClockTime time) { return static_cast<Video::Ticks>(time / nanosecondsPerTick); }
inline GstClockTime ClockTimeOf(Video::Ticks ticks) { return static_cast<GstClockTime>(ticks) * nanosecondsPerTick; }

}  // namespace Gst
