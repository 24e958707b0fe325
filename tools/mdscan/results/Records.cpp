// What of a finding is told?
#include "results/Records.h"

#include <algorithm>

#include "video/base/Findings.h"
#include "video/base/Gap.h"
#include "video/time/PictureNumbers.h"
#include "video/time/WallClock.h"
#include "video/watch/Condition.h"
#include "video/watch/Events.h"

namespace Scan {

namespace {

std::vector<BoxRecord> BoxesOf(const std::vector<Video::MovingObject>& objects, std::size_t most) {
    std::vector<BoxRecord> boxes;
    for (std::size_t i = 0; i < std::min(objects.size(), most); ++i) {
        boxes.push_back({objects[i].box, objects[i].blocks});
    }
    return boxes;
}

// zones: bit i: the i-th of the names.
std::vector<std::string> NamesOf(std::uint64_t zones, const std::vector<std::string>& names) {
    std::vector<std::string> touched;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if ((zones >> i & 1) != 0) {
            touched.push_back(names[i]);
        }
    }
    return touched;
}

}  // namespace

EventRecord RecordOf(const std::string& file, int number, const Video::Event& event, const EventExtras& extras) {
    EventRecord record{.file = file,
                       .number = number,
                       .start = event.start,
                       .end = event.end,
                       .peak = event.peak,
                       .startFrame = extras.start.number,
                       .endFrame = extras.end.number,
                       .peakFrame = extras.peak.number,
                       .frameExact = extras.start.exact && extras.end.exact && extras.peak.exact,
                       .frames = event.frames,
                       .blocks = event.peakBlocks,
                       .flash = event.flash,
                       .thumbnail = extras.thumbnail,
                       .clip = extras.clip,
                       .boxes = BoxesOf(event.objects, mostBoxesPerEvent)};
    if (extras.clock) {
        const Video::WallTicks began = extras.clock->at;
        record.wall = {began + event.start, began + event.end, began + event.peak};
    }
    if (!extras.zones.empty()) {
        record.zones = NamesOf(event.zones, extras.zones);
    }
    if (extras.track) {
        record.track = event.track;
    }
    return record;
}

FrameRecord RecordOf(const std::string& file, const Video::PictureNumber& picture, const Video::Findings& frame) {
    return {file, picture, frame.time, BoxesOf(frame.objects, frame.objects.size())};
}

GapRecord RecordOf(const std::string& file, const Video::Gap& gap, const std::optional<Video::StartTime>& clock) {
    GapRecord record{.file = file, .start = gap.start, .end = gap.end, .reason = gap.reason};
    if (clock) {
        record.wall = {clock->at + gap.start, clock->at + gap.end};
    }
    return record;
}

ConditionRecord RecordOf(const std::string& file, const Video::Condition& condition,
                         const std::optional<Video::StartTime>& clock) {
    ConditionRecord record{.file = file, .kind = condition.kind, .start = condition.start, .end = condition.end};
    if (clock) {
        record.wall = {clock->at + condition.start, clock->at + condition.end};
    }
    return record;
}

}  // namespace Scan
