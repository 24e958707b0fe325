// What happens to the stream's pictures, from one to the next?  Picks those that are analysed, watches them, joins what
// moves into events and tells it. Knows no buffers: times and pictures in, a listener's calls out.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "BlockReducer.h"
#include "gstreamer/MotionListener.h"
#include "gstreamer/MotionSettings.h"
#include "video/base/Findings.h"
#include "video/time/Cadence.h"
#include "video/time/TickTime.h"
#include "video/watch/ConditionLog.h"
#include "video/watch/Events.h"
#include "video/watch/KeptBackground.h"
#include "video/watch/Watcher.h"
#include "video/zones/Zone.h"

namespace Gst {

class MotionAnalysis {
public:
    // Throws Failure where the zones cannot be read. The listener must outlive it.
    MotionAnalysis(const MotionSettings& settings, MotionListener& listener);

    // From the next picture on. What a detector would have learned otherwise ends what goes on and begins anew. Throws
    // Failure where the zones cannot be read; nothing has changed then.
    void Change(const MotionSettings& settings);

    // Ticks between two pictures of the stream; one millisecond where nobody knows.
    void SetInterval(Video::Ticks interval);

    // Is the picture to be analysed?  Times must not fall; after Restart they may.
    bool Wants(Video::Ticks time) { return !_cadence || _cadence->Takes(time); }

    // A picture that is. Throws Failure where its size is beyond what can be analysed.
    void See(const Host::PictureFormat& format, const Host::PictureView& picture, const PictureTime& time);

    // Nothing was shown up to then: events may end by that.
    void Pause(Video::Ticks until);

    // The running event ends, and is told. What was learned stays.
    void EndEvent(const char* reason);

    // What goes on ends, and is told; what follows has nothing to do with what was. Writes the memory, where there is one.
    void Restart(const char* reason);

    const std::vector<Video::MovingObject>& Objects() const { return _objects; }  // in the newest analysed picture
    std::vector<std::string> ZoneNames() const { return Video::WatchedNames(_zones); }
    int RunningEvent() const { return _current && _current->isTold ? _current->id : 0; }  // its number; 0: none
    std::vector<Video::Condition> RunningConditions() const { return _conditions.Running(); }
    bool IsReady() { return _watcher && _watcher->IsReady(); }

private:
    struct Current {
        int id = 0;  // once it is told
        PictureTime start = {}, peak = {}, end = {};
        bool isTold = false;
        Video::Event event = {};  // so far: what is told of it where it turns out to be void
    };

    void Begin(const Host::PictureFormat& format);
    void NewEvents();
    void NewCadence();
    void FollowConditions(Video::Ticks time);
    void TellConditions();
    void FollowEvent(const Video::Findings& findings, const PictureTime& time);
    void TellBegin(const PictureTime& now, const std::vector<Video::MovingObject>& objects);
    void TellEnd(const Video::Event& event, const char* reason);
    void TellVoid();
    void Remember();

    MotionSettings _settings;
    MotionListener& _listener;
    std::vector<Video::Zone> _zones;
    Video::Ticks _interval = Video::oneSecond / 1000;
    std::optional<Video::Cadence> _cadence;
    std::optional<Video::EventLog> _events;
    Video::ConditionLog _conditions;
    std::map<Video::ConditionKind, Video::Ticks> _toldConditions;  // that go on, and their begins
    std::optional<Video::Watcher> _watcher;
    std::optional<Host::PictureFormat> _format;  // of the watcher's pictures
    std::optional<Video::KeptBackground> _kept;  // what is not in the file yet
    bool _wasPrimed = false;                     // by the memory
    std::optional<Current> _current;
    std::vector<Video::MovingObject> _objects;
    Video::Ticks _longestGap = 0;
    std::optional<Video::Ticks> _newest;  // time of the newest analysed picture
    int _lastId = 0;                      // of events
};

}  // namespace Gst
