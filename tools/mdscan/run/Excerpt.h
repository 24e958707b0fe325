// Which pictures of an input are analysed, and of which of them is told?  A part of it may be all that is wanted; what comes
// right before that is looked at, too, so that the detector knows the scene.
#pragma once

#include <algorithm>
#include <optional>

#include "settings/JobSettings.h"
#include "video/time/TickTime.h"
#include "video/time/TimeRange.h"
#include "video/time/WallClock.h"
#include "video/watch/Condition.h"
#include "video/watch/Opening.h"

namespace Scan {

class Excerpt {
public:
    // As much as a conditioned scan makes its background of. A plain detector has learned by then, too.
    static constexpr Video::Ticks warmUp = Video::Opening::length;

    // range must outlive it. part: absent: all of the range; else the range is all. tail: ticks behind a part that are read,
    // and not analysed.
    explicit Excerpt(const Video::TimeRange& range, const std::optional<JobPart>& part = {}, Video::Ticks tail = 0);

    // period: ticks between analysed pictures. Throws Failure where an input is live, or has no clock, and the range wants
    // it to be otherwise.
    void Prepare(bool isLive, const std::optional<Video::StartTime>& clock, Video::Ticks period);

    // The next picture is shown at this time: is that behind the part?  Then go on to the part that follows.
    bool Ends(Video::Ticks time) const { return !_job && _part && time >= _part->end; }
    void Advance(Video::Ticks time, const std::optional<Video::StartTime>& clock);

    // Nothing more is wanted.
    bool IsOver() const { return _isOver; }

    // Nothing of the part is analysed before. A multiple of the period: where pictures are even, a part is made of those of
    // which the whole would be made.
    Video::Ticks LearnsFrom() const;

    Video::Ticks FirstTold() const { return _part ? std::max<Video::Ticks>(0, _part->start) : 0; }

    // Of times behind the part before.
    bool Analyses(Video::Ticks time) const {
        return !_part ? _range.IsAll() : time >= LearnsFrom() && (!_job || time < _part->end);
    }
    bool Tells(Video::Ticks time) const { return !_part ? _range.IsAll() : time >= _part->start && time < _part->end; }

    // As much of a condition as lies in the part; absent: none.
    std::optional<Video::Condition> Clipped(Video::Condition condition) const;

private:
    const Video::TimeRange& _range;
    std::optional<Video::RecordingPart> _part;  // that the newest picture is in, or that comes next, or was the last
    const std::optional<JobPart> _job;
    const Video::Ticks _tail;
    Video::Ticks _period = 1;
    bool _isOver = false;
};

}  // namespace Scan
