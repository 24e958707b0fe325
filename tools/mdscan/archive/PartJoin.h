// How do parts of one video become what one scan of it would have told?  Events that go on beyond a border are one, numbers
// count from the beginning of the video, and what was learned adds up.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "run/StateLine.h"
#include "settings/JobSettings.h"
#include "settings/ScanSettings.h"
#include "video/base/Tally.h"
#include "video/time/TickTime.h"
#include "video/watch/Events.h"

namespace Scan {

class PartJoin {
public:
    explicit PartJoin(const ScanSettings& scan);

    // The next part of the video, in order, none left out.
    void Add(const JobPart& part, RecalledInput found);

    // All parts are there. Records do not say what the video is called.
    RecalledInput Finish();

private:
    // An event with its picture.
    struct Piece {
        EventRecord event;
        std::optional<EventPicture> picture;
    };

    void Take(EventRecord event);
    void Take(FrameRecord frame);
    void Take(GapRecord gap);
    void Take(const ConditionRecord& condition);
    void TakePictures(std::vector<ScanPicture>& pictures);
    bool GoesOnWith(const EventRecord& event) const;
    void Join(Piece& open, Piece next) const;
    void Tell(Piece piece);
    void CloseOpen();
    void CloseUntil(Video::Ticks time);
    void AddResult(const JobPart& part, const JobResult& result);

    const Video::EventRules _rules;
    const Video::Ticks _mergeGap;
    const std::vector<std::string> _zones;  // in the order in which records name them
    RecalledInput _whole;
    bool _hasBegun = false;
    bool _isExact = true;                 // all pictures so far were counted
    std::int64_t _pictures = 0;           // of the parts before
    std::optional<PartEdges> _before;     // of the part before; absent: it told nothing
    std::optional<PartEdges> _now;        // of this one
    Video::Ticks _from = 0;               // of this part
    std::map<int, EventPicture> _shown;   // of this part's events, by their number in it
    std::optional<Piece> _open;           // what may go on
    bool _isAwaited = false;              // and does, in an event of this part that is still to come
    std::vector<ConditionRecord> _ended;  // of the part before, at its border
    std::optional<GroundPicture> _ground;
};

}  // namespace Scan
