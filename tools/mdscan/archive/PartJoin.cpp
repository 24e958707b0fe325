// What joins, and what is told of it?
#include "archive/PartJoin.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <variant>

#include "settings/JobRules.h"
#include "video/watch/HeatMap.h"

namespace Scan {

namespace {

using Video::Ticks;

// Records hold milliseconds.
bool AreSame(Ticks told, Ticks exact) { return Video::PrintedSeconds(told) == Video::PrintedSeconds(exact); }

// As many points as an event that was seen by one may have.
void Append(std::vector<Video::TrackPoint>& track, const std::vector<Video::TrackPoint>& more) {
    track.insert(track.end(), more.begin(), more.end());
    while (track.size() > Video::longestTrack) {
        Video::Thin(track);
    }
}

}  // namespace

PartJoin::PartJoin(const ScanSettings& scan)
    : _rules(EventRulesOf(scan)), _mergeGap(Video::MergedWithin(_rules)), _zones(Video::WatchedNames(scan.zones)) {}

void PartJoin::Add(const JobPart& part, RecalledInput found) {
    _from = part.from;
    _now = found.result.edges;
    if (_open && _now && _before && _now->first - _before->last > _now->longestGap) {
        CloseOpen();
    }
    const auto first = std::find_if(found.records.begin(), found.records.end(),
                                    [](const Record& record) { return std::holds_alternative<EventRecord>(record); });
    _isAwaited = _open && first != found.records.end() && GoesOnWith(std::get<EventRecord>(*first));
    TakePictures(found.pictures);
    std::vector<ConditionRecord> ended;
    for (Record& record : found.records) {
        auto* condition = std::get_if<ConditionRecord>(&record);
        const auto begun = [&](const ConditionRecord& earlier) { return condition && earlier.kind == condition->kind; };
        const auto earlier = std::find_if(_ended.begin(), _ended.end(), begun);
        if (condition && AreSame(condition->start, part.from) && earlier != _ended.end()) {
            condition->start = earlier->start;
            if (condition->wall && earlier->wall) {
                condition->wall->start = earlier->wall->start;
            }
            _ended.erase(earlier);
        }
        if (condition && part.to && _now && AreSame(condition->end, _now->last)) {
            ended.push_back(*condition);
        } else {
            std::visit([&](auto& one) { Take(std::move(one)); }, record);
        }
    }
    for (const ConditionRecord& condition : std::exchange(_ended, std::move(ended))) {  // nothing went on with it
        Take(condition);
    }
    if (_now) {
        CloseUntil(_now->last);
        _before = _now;
    }
    AddResult(part, found.result);
}

RecalledInput PartJoin::Finish() {
    CloseOpen();
    for (const ConditionRecord& condition : std::exchange(_ended, {})) {
        Take(condition);
    }
    if (_ground) {
        _whole.pictures.push_back(std::move(*_ground));
    }
    return std::move(_whole);
}

// What was learned adds up, as for the files of a camera.
void PartJoin::TakePictures(std::vector<ScanPicture>& pictures) {
    _shown.clear();
    for (ScanPicture& picture : pictures) {
        if (auto* ofEvent = std::get_if<EventPicture>(&picture)) {
            _shown[ofEvent->event] = std::move(*ofEvent);
        } else if (GroundPicture& ground = std::get<GroundPicture>(picture); !_ground) {
            _ground = std::move(ground);
        } else {
            _ground->heat.Add(ground.heat);
            Video::UpdateBackground(_ground->background, ground.background);
        }
    }
}

void PartJoin::Take(EventRecord event) {
    Piece piece{std::move(event), std::nullopt};
    if (const auto shown = _shown.find(piece.event.number); shown != _shown.end()) {
        piece.picture = std::move(shown->second);
    }
    piece.event.startFrame += _pictures;
    piece.event.endFrame += _pictures;
    piece.event.peakFrame += _pictures;
    piece.event.frameExact &= _isExact;
    _isAwaited = false;
    if (_open && GoesOnWith(piece.event)) {
        Join(*_open, std::move(piece));
    } else {
        CloseOpen();
        _open = std::move(piece);
    }
    if (!_open->event.seam || !_open->event.seam->goesOn) {
        CloseOpen();
    }
}

// By the rules of one scan: an event is over when more than the gap lies between two frames that moved, and a still one
// there, too.
bool PartJoin::GoesOnWith(const EventRecord& event) const {
    if (!event.seam || !_now || !_before) {
        return false;
    }
    const Ticks end = _open->event.seam->motion.end, start = event.seam->motion.start;
    return start - end <= _mergeGap || (end == _before->last && start == _now->first);
}

void PartJoin::Join(Piece& open, Piece next) const {
    EventRecord &event = open.event, &rest = next.event;
    const bool isClear = rest.seam->clearPeak, isLarger = !rest.boxes.empty() && !event.boxes.empty() &&
                                                          rest.boxes.front().blocks > event.boxes.front().blocks;
    const bool isPeak = isClear == event.seam->clearPeak ? isLarger : isClear;
    if (event.track && rest.track) {
        Append(*event.track, *rest.track);
    }
    if (open.picture && next.picture) {
        Append(open.picture->track, next.picture->track);
    }
    if (isPeak) {
        event.peak = rest.peak;
        event.peakFrame = rest.peakFrame;
        event.blocks = rest.blocks;
        event.boxes = std::move(rest.boxes);
        event.seam->clearPeak = isClear;
        if (event.wall && rest.wall) {
            event.wall->peak = rest.wall->peak;
        }
        if (open.picture && next.picture) {
            open.picture->jpeg = std::move(next.picture->jpeg);
        }
    }
    event.end = rest.end;
    event.endFrame = rest.endFrame;
    if (event.wall && rest.wall) {
        event.wall->end = rest.wall->end;
    }
    event.frameExact &= rest.frameExact;
    event.frames += rest.frames;
    event.flash |= rest.flash;
    if (event.zones && rest.zones) {
        std::vector<std::string> touched;
        for (const std::string& zone : _zones) {
            const auto names = [&](const std::vector<std::string>& some) {
                return std::find(some.begin(), some.end(), zone) != some.end();
            };
            if (names(*event.zones) || names(*rest.zones)) {
                touched.push_back(zone);
            }
        }
        event.zones = std::move(touched);
    }
    event.seam->motion.end = rest.seam->motion.end;
    event.seam->onlyFlash &= rest.seam->onlyFlash;
    event.seam->goesOn = rest.seam->goesOn;
}

void PartJoin::Take(FrameRecord frame) {
    const Ticks time = frame.time;
    frame.picture.number += _pictures;
    frame.picture.exact &= _isExact;
    _whole.records.emplace_back(std::move(frame));
    CloseUntil(time);
}

void PartJoin::Take(GapRecord gap) { _whole.records.emplace_back(std::move(gap)); }

void PartJoin::Take(const ConditionRecord& condition) {
    CloseUntil(condition.end);
    _whole.records.emplace_back(condition);
}

// Nothing that has moved by then, and since the part's beginning, was a piece of it: those are told in order. But an event
// is told when it is over, and so behind what was told of the pictures during it.
void PartJoin::CloseUntil(Ticks time) {
    if (_open && !_isAwaited && time >= _from && time - _open->event.seam->motion.end > _mergeGap) {
        CloseOpen();
    }
}

void PartJoin::CloseOpen() {
    if (_open) {
        Tell(*std::exchange(_open, std::nullopt));
    }
}

void PartJoin::Tell(Piece piece) {
    EventRecord& event = piece.event;
    Video::Tally& tally = _whole.result.tally;
    if (event.seam) {
        const EventSeam seam = *std::exchange(event.seam, std::nullopt);
        if (seam.motion.end - seam.motion.start < _rules.minDuration) {
            ++tally.dropped;
            return;
        }
        if (_rules.ignoreFlashes && seam.onlyFlash) {
            ++tally.flashes;
            return;
        }
    }
    event.number = ++tally.events;
    if (piece.picture) {
        piece.picture->event = event.number;
        _whole.pictures.emplace_back(std::move(*piece.picture));
    }
    _whole.records.emplace_back(std::move(event));
}

void PartJoin::AddResult(const JobPart& part, const JobResult& result) {
    JobResult& whole = _whole.result;
    if (!std::exchange(_hasBegun, true)) {
        whole.clock = result.clock;
    }
    if (whole.health == Health::Whole && result.health != Health::Whole) {
        whole.health = result.health;
        whole.code = result.code;
        whole.trouble = result.trouble;
    }
    whole.unwritten |= result.unwritten;
    const Video::Tally& its = result.tally;
    Video::Tally& tally = whole.tally;
    tally.pictures += its.pictures;
    tally.analysed += its.analysed;
    tally.elapsed += its.elapsed;
    tally.dropped += its.dropped;
    tally.flashes += its.flashes;
    tally.gaps += its.gaps;
    if (its.pictures > 0) {
        tally.length = part.from + its.length;
        tally.grid = its.grid;
        tally.rotation = its.rotation;
        tally.mirrored = its.mirrored;
    }
    if (whole.health == Health::Unreadable && tally.analysed > 0) {
        whole.health = Health::Damaged;
    }
    _pictures = tally.pictures;
    _isExact &= result.health == Health::Whole;
}

}  // namespace Scan
