// How does a scan keep to a part?
#include "run/Excerpt.h"

#include <algorithm>
#include <limits>
#include <string>

#include "video/base/Failure.h"

namespace Scan {

Excerpt::Excerpt(const Video::TimeRange& range, const std::optional<JobPart>& part, Video::Ticks tail)
    : _range(range), _job(part), _tail(tail) {
    if (part) {
        _part = {part->from, part->to.value_or(std::numeric_limits<Video::Ticks>::max())};
    }
}

void Excerpt::Prepare(bool isLive, const std::optional<Video::StartTime>& clock, Video::Ticks period) {
    _period = period;
    if (_range.IsAll()) {
        return;
    }
    if (isLive && !_range.WantsClock()) {
        throw Video::Failure(Video::Concern::Usage,
                             "--from and --to of a live source are times of day, like T22:00, not " + _range.Text());
    }
    if (!isLive && _range.WantsClock() && !clock) {
        throw Video::Failure(Video::Concern::Usage,
                             _range.Text() + ": nothing tells what time of day it was; --start-time may");
    }
    if (!isLive) {
        Advance(0, clock);
    }
}

void Excerpt::Advance(Video::Ticks time, const std::optional<Video::StartTime>& clock) {
    if (_job) {
        _isOver = _job->to && time >= *_job->to + _tail;
        return;
    }
    const bool isKnown = clock || !_range.WantsClock();
    if (_range.IsAll() || _isOver || !isKnown || (_part && time < _part->end)) {
        return;
    }
    if (const std::optional<Video::RecordingPart> next = Video::PartBehind(_range, clock, time)) {
        _part = next;
    } else {
        _isOver = true;
    }
}

Video::Ticks Excerpt::LearnsFrom() const {
    if (_job) {
        return _job->learn;
    }
    const Video::Ticks begin = _part ? std::max<Video::Ticks>(0, _part->start - warmUp) : 0;
    return begin - begin % _period;
}

std::optional<Video::Condition> Excerpt::Clipped(Video::Condition condition) const {
    if (!_part) {
        return condition;
    }
    condition.start = std::max(condition.start, _part->start);
    condition.end = std::min(condition.end, _part->end);
    return condition.end >= condition.start ? std::optional(condition) : std::nullopt;
}

}  // namespace Scan
