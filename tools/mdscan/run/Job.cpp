// How does one video become results?
#include "run/Job.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "results/JobResult.h"
#include "results/Records.h"
#include "results/ScanPictures.h"
#include "results/TallyText.h"
#include "run/CameraMemory.h"
#include "run/Excerpt.h"
#include "run/Inputs.h"
#include "run/SideOutputs.h"
#include "settings/JobRules.h"
#include "settings/JobSettings.h"
#include "settings/ScanSettings.h"
#include "video/base/BgrPicture.h"
#include "video/base/Failure.h"
#include "video/base/Findings.h"
#include "video/base/Gap.h"
#include "video/base/Interruption.h"
#include "video/base/PictureGrid.h"
#include "video/base/Tally.h"
#include "video/media/Decoder.h"
#include "video/media/Libav.h"
#include "video/media/PacketSource.h"
#include "video/media/PictureSelection.h"
#include "video/media/PlainPicture.h"
#include "video/pictures/Overlay.h"
#include "video/scout/KeyframeScout.h"
#include "video/time/Cadence.h"
#include "video/time/PictureNumbers.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"
#include "video/watch/ConditionLog.h"
#include "video/watch/Events.h"
#include "video/watch/HeatMap.h"
#include "video/watch/Opening.h"
#include "video/watch/Watcher.h"
#include "video/zones/IdleZones.h"
#include "video/zones/Zone.h"

namespace Scan {

namespace {

// What moves is what changes from one picture to another.
constexpr std::int64_t fewestAnalysed = 2;

class Job {
public:
    // settings and listener must outlive the job. Throws Failure when there is nothing to scan or no place for a result.
    Job(const JobSettings& settings, const std::string& input, const std::string& name, JobListener& listener);

    // Does not throw Failure; what went wrong is in the result.
    JobResult Run();

private:
    std::unique_ptr<Video::KeyframeScout> NewScout() const;
    Video::SelectionRules Selection();
    std::unique_ptr<Video::Opening> ReadAhead(const Video::PictureGrid& grid) const;
    void Scan();
    void Finish();
    void EndPart();
    void Analyse(const AVFrame& frame, Video::Ticks time);
    void Begin(const Host::PictureFormat& format);
    void DoubtZones(const Video::PictureGrid& grid) const;
    void JudgeOpening();
    void Judge(const Video::BlockPicture& picture, Video::Ticks time, const AVFrame* frame);
    void TellEvent(const std::optional<Video::Event>& event, bool isCut = false);
    void TellLastEvent();
    void FollowConditions(Video::Ticks time);
    void TellLastConditions();
    void TellConditions();
    void TellGap(const std::optional<Video::Gap>& gap);
    std::optional<Video::StartTime> Clock() const;
    Video::PictureNumber NumberAt(Video::Ticks time) const;
    Video::HeatMap ToldHeat() const;
    void TellGround();
    Video::Tally Sum() const;

    const ScanSettings& _settings;
    const JobFiles& _files;
    const std::string _input;
    const std::string _name;
    JobListener& _listener;
    const std::chrono::steady_clock::time_point _begin = std::chrono::steady_clock::now();
    Video::Decoder _decoder;
    const std::optional<Video::StartTime> _named;  // by the input's name
    std::unique_ptr<Video::KeyframeScout> _scout;  // where GOPs may be skipped
    const int _threads;                            // the decoder's
    Video::Cadence _cadence;
    const Video::WatchRules _rules;
    const Video::EventRules _eventRules;
    const std::string _memory;            // file of the camera's background; empty: none
    const std::optional<JobPart>& _part;  // absent: nobody else has another part of it
    Excerpt _excerpt;
    bool _isNewPart = false;  // behind one that was told of: what the watcher knows is old
    bool _isLearning = true;  // what is analysed is not told
    Video::EventLog _events;
    Video::ConditionLog _conditions;
    Video::PlainPicture _picture;
    std::optional<Video::Watcher> _watcher;
    std::optional<std::vector<std::uint8_t>> _remembered;
    std::unique_ptr<Video::Opening> _opening;    // the first seconds, as long as they are waited for
    std::int64_t _analysed = 0;                  // frames
    Video::Ticks _firstTold = 0, _lastTold = 0;  // of those
    int _told = 0;                               // events
    int _gaps = 0;
    Video::HeatMap _heat;  // of pictures of earlier sizes
    SideOutputs _side;
};

Job::Job(const JobSettings& settings, const std::string& input, const std::string& name, JobListener& listener)
    : _settings(settings.scan),
      _files(settings.files),
      _input(input),
      _name(name),
      _listener(listener),
      _decoder(Video::OpenSource(input, settings.reconnect, [&] { listener.OnWait(); }), settings.decoderThreads,
               Selection()),
      _named(_decoder.IsLive() ? std::nullopt
             : settings.named  ? settings.named->start
                               : StartByName(input, settings.scan.nameTime)),
      _threads(settings.decoderThreads),
      _cadence(settings.scan.rate, _decoder.NominalInterval()),
      _rules(WatchRulesOf(settings, _decoder.NominalInterval())),
      _eventRules(EventRulesOf(settings, _cadence.Period())),
      _memory(settings.scan.memory.empty() ? "" : CameraMemory(settings.scan.memory, input)),
      _part(settings.part),
      _excerpt(settings.scan.range, _part, Video::FromSeconds(settings.scan.postRoll)),
      _events(_eventRules),
      _side(settings, input, !name.empty(), _memory, _decoder) {
    if (settings.scan.fast) {
        _scout = NewScout();
    }
    if (_part) {
        _decoder.CountWithin(_part->from, _part->to.value_or(std::numeric_limits<Video::Ticks>::max()));
    }
    _excerpt.Prepare(_decoder.IsLive(), Clock(), _cadence.Period());
    _side.BeginAt(_excerpt.FirstTold());
    if (!_scout) {  // which wants to be asked for every GOP
        _decoder.SkipTo(_excerpt.LearnsFrom());
    }
}

std::unique_ptr<Video::KeyframeScout> Job::NewScout() const {
    return std::make_unique<Video::KeyframeScout>(_input, _threads, _settings.blockSize, _rules, _settings.skipLoopFilter);
}

Video::SelectionRules Job::Selection() {
    Video::SelectionRules rules;
    rules.unfiltered = _settings.skipLoopFilter;
    if (_files.overlay.empty() && _files.clips.empty()) {  // one shows every picture, the other wants the time of each
        rules.needed = [this](Video::Ticks time) { return _excerpt.Analyses(time) && _cadence.MayTake(time); };
    }
    if (_settings.fast) {
        rules.standIn = [this](Video::Ticks time) { return _scout->At(time); };
    }
    return rules;
}

JobResult Job::Run() {
    JobResult result;
    const auto attempt = [&](const auto& step) {
        try {
            step();
        } catch (const std::exception&) {  // memory that was lacking may suffice for what comes
            const Health health = _analysed > 0 ? Health::Damaged : Health::Unreadable;
            result = result.health == Health::Whole ? ResultOfException(health) : result;
        }
    };
    attempt([&] { Scan(); });
    attempt([&] { JudgeOpening(); });               // it was over before
    attempt([&] { TellGap(_decoder.TakeGap()); });  // the source is gone
    attempt([&] { TellLastEvent(); });              // what was found before a failure counts
    if (result.health != Health::Unreadable) {
        attempt([&] { TellLastConditions(); });
    }
    attempt([&] { TellGround(); });
    if (result.health == Health::Whole) {
        attempt([&] { Finish(); });  // files of a damaged video are complete as far as it goes
    }
    if (result.health == Health::Whole && !_decoder.GaveUp().empty()) {
        result.health = Health::Damaged;
        result.trouble = _decoder.GaveUp();
    } else if (result.health == Health::Whole && Video::Interrupted() &&
               !_decoder.IsLive()) {  // a live source has no other end
        result.health = Health::Interrupted;
        result.trouble = "interrupted";
    } else if (result.health == Health::Whole && _decoder.Found().count > 0) {
        result.health = _decoder.Pictures() > 0 ? Health::Damaged : Health::Unreadable;
        result.trouble = DamageText(_decoder.Found());
    }
    AddUnwritten(_side.GaveUp().Text(), result);
    result.tally = Sum();
    result.clock = Clock();
    if (_part && _analysed > 0) {
        result.edges = {_firstTold, _lastTold, _eventRules.longestGap};
    }
    return result;
}

void Job::Scan() {
    if (_decoder.IsLive()) {
        _listener.OnLive();
    }
    while (!Video::Interrupted() && !_listener.HasEnough() && !_excerpt.IsOver() && _decoder.Next()) {
        TellGap(_decoder.TakeGap());
        const Video::Ticks time = _decoder.Time();
        if (_excerpt.Ends(time)) {
            EndPart();
        }
        _excerpt.Advance(time, Clock());
        _side.Before(_decoder);
        if (_excerpt.Analyses(time) && !_excerpt.IsOver() && _cadence.Takes(time)) {
            Analyse(_decoder.Frame(), time);
        }
        if (_excerpt.Tells(time)) {
            _side.After(_decoder);
        }
        _listener.OnPicture(_decoder.Progress(), Sum());
    }
}

// Nothing of it goes on in the part that may follow.
void Job::EndPart() {
    JudgeOpening();
    TellEvent(_events.Close());
    _conditions.Close();
    TellConditions();
    _isNewPart = true;
}

void Job::Analyse(const AVFrame& frame, Video::Ticks time) {
    if (std::exchange(_isNewPart, false) && _watcher) {
        _heat.Add(ToldHeat());
        _watcher.reset();
        _isLearning = true;
    }
    _picture.Take(frame);
    const Host::PictureFormat& format = _picture.Format();
    if (!_watcher || !_watcher->Suits(format)) {
        Begin(format);
    }
    const Video::BlockPicture picture = _watcher->Reduce(_picture.View());
    if (_opening && _opening->Takes(time)) {
        _opening->Add(picture, time);
        return;
    }
    JudgeOpening();
    Judge(picture, time, &frame);
}

// The new pictures cannot be compared with the old ones.
void Job::Begin(const Host::PictureFormat& format) {
    JudgeOpening();
    TellEvent(_events.Close());
    _conditions.Close();  // who looks at the new ones never saw them begin
    TellConditions();
    _heat.Add(ToldHeat());
    const bool isFirst = !_watcher;
    const Video::PictureGrid grid = Video::GridOf(format.width, format.height, _settings.blockSize, _rules.conditioning);
    DoubtZones(grid);
    _watcher.emplace(format, grid, _rules);
    if (!_rules.conditioning.on || !isFirst) {
        return;
    }
    if (!_memory.empty()) {
        _remembered = Video::LoadBackground(_memory, grid);
    }
    if (!CanBeReadTwice(_input)) {  // where pictures come as they happen, none waits for others
        if (_remembered) {
            _watcher->Prime(*_remembered);
        }
    } else if (!_side.WantPictures() && !_listener.WantsPictures()) {  // pictures do not wait: they are large
        _opening = std::make_unique<Video::Opening>(grid);
    } else if (const auto opening = ReadAhead(grid)) {
        _watcher->Prime(opening->Planes(), _remembered, opening->BackgroundPictures());
    }
}

// The pictures that would wait, of the same GOPs.
std::unique_ptr<Video::Opening> Job::ReadAhead(const Video::PictureGrid& grid) const {
    const std::unique_ptr<Video::KeyframeScout> scout = _settings.fast ? NewScout() : nullptr;
    Video::SelectionRules decoding{.unfiltered = _settings.skipLoopFilter};
    if (scout) {
        decoding.standIn = [&](Video::Ticks time) { return scout->At(time); };
    }
    return Video::ReadOpening(_input, _excerpt.LearnsFrom(), _threads, _settings.rate, grid, _rules, decoding);
}

// A scan that can find nothing would end in "no motion", which nobody has looked for: it is refused.
void Job::DoubtZones(const Video::PictureGrid& grid) const {
    const std::vector<Video::IdleZone> idle = Video::IdleZones(_rules.zones, grid, Video::SizesOf(_rules));
    const bool isHopeless = Video::AreAll(idle, _rules.zones);
    if (isHopeless && idle.size() == 1) {
        throw Video::Failure(Video::Concern::Usage, Video::Told(idle.front()));
    }
    for (const Video::IdleZone& zone : idle) {
        _listener.OnWarning(Video::Told(zone));
    }
    if (isHopeless) {
        throw Video::Failure(Video::Concern::Usage, "none of its zones can ever tell motion");
    }
}

void Job::JudgeOpening() {
    if (!_opening) {
        return;
    }
    const std::unique_ptr<Video::Opening> opening = std::move(_opening);
    if (opening->Pictures() > 0) {
        _watcher->Prime(opening->Planes(), _remembered, opening->BackgroundPictures());
    }
    for (int i = 0; i < opening->Pictures(); ++i) {
        Judge(opening->Picture(i), opening->TimeOf(i), nullptr);
    }
}

// frame: what it was made of, absent where nobody wants it.
void Job::Judge(const Video::BlockPicture& picture, Video::Ticks time, const AVFrame* frame) {
    const bool isTold = _excerpt.Tells(time);
    if (isTold && std::exchange(_isLearning, false)) {
        _watcher->ForgetHeat();
    }
    Video::Findings findings = _watcher->Judge(picture, time);
    if (!isTold) {
        FollowConditions(time);
        if (_part) {  // a roll may reach into the part before, and a flash there have consequences
            findings.objects.clear();
            _events.Add(findings);
        }
        return;
    }
    _firstTold = _analysed == 0 ? time : _firstTold;
    _lastTold = time;
    ++_analysed;
    if (_settings.frames) {
        _listener.OnRecord(RecordOf(_name, NumberAt(time), findings));
    }
    FollowConditions(time);
    if (!_memory.empty() && !_watcher->Disturbances()->IsRunning(Host::Disturbance::Covered)) {
        _side.Remember(picture, _watcher->Grid(), time);
    }
    TellEvent(_events.Add(findings));
    _side.Follow(_events.Running(), _told + 1);
    const bool isShown = frame && _listener.WantsPictures();
    if (isShown) {
        _listener.OnAnalysed(*frame);
    }
    _listener.OnFrame(*_watcher, findings, NumberAt(time));
    if (_events.PeaksNow()) {
        _side.Peak(frame);
        if (isShown) {
            _listener.OnPeak(*frame);
        }
    }
    _side.Mark([&] { return Video::Marking{std::move(findings.objects), _watcher->Marks(), _watcher->Grid(), Clock()}; });
}

void Job::TellEvent(const std::optional<Video::Event>& event, bool isCut) {
    if (!event) {
        return;
    }
    ++_told;
    _listener.OnEvent(*event);
    EventExtras extras{.start = NumberAt(event->start),
                       .end = NumberAt(event->end),
                       .peak = NumberAt(event->peak),
                       .clock = Clock(),
                       .zones = Video::WatchedNames(_settings.zones),
                       .track = _settings.track};
    EventFiles files = _side.FilesOf(*event, _told);
    if (!files.picture.empty()) {
        _listener.OnScanPicture(EventPicture{_told, std::move(files.picture), event->track});
    }
    extras.thumbnail = std::move(files.thumbnail);
    extras.clip = std::move(files.clip);
    EventRecord record = RecordOf(_name, _told, *event, extras);
    if (isCut || event->motion.start < _eventRules.joinsBefore) {
        record.seam = {event->motion, isCut, event->clearPeak, event->onlyFlash};
    }
    _listener.OnRecord(record);
}

// Where somebody else tells what comes next, the event may go on.
void Job::TellLastEvent() {
    if (_part && _part->to) {
        TellEvent(_events.Cut(), true);
    } else {
        TellEvent(_events.Close());
    }
}

// What moved since a disturbance began was the disturbance.
void Job::FollowConditions(Video::Ticks time) {
    const Host::Disturbances* disturbances = _watcher->Disturbances();
    if (!disturbances) {
        return;
    }
    _conditions.AddDarkness(_watcher->IsDark(), time);
    if (const std::optional<Video::Ticks> from = _conditions.Add(*disturbances, time)) {
        _events.Discard(*from);
        _listener.OnDiscard(*from);
    }
    TellConditions();
}

void Job::TellLastConditions() {
    if (_rules.conditioning.on && !_part && !_decoder.IsLive() && _watcher && _analysed < fewestAnalysed &&
        _excerpt.Tells(_decoder.Time())) {
        _conditions.AddTooShort(0, _decoder.Time());
    }
    _conditions.Close();
    TellConditions();
}

void Job::TellConditions() {
    for (const Video::Condition& condition : _conditions.Take()) {
        if (const std::optional<Video::Condition> told = _excerpt.Clipped(condition)) {
            _listener.OnRecord(RecordOf(_name, *told, Clock()));
        }
    }
}

// What moved while the scene was learned does not count.
Video::HeatMap Job::ToldHeat() const { return _watcher && !_isLearning ? _watcher->Heat() : Video::HeatMap{}; }

void Job::TellGround() {
    if (_rules.heat && _analysed > 0 && _watcher) {  // else a later part failed before its first picture
        _heat.Add(ToldHeat());
        _listener.OnScanPicture(GroundPicture{_heat, _watcher->Background()});
    }
}

void Job::TellGap(const std::optional<Video::Gap>& gap) {
    if (!gap) {
        return;
    }
    ++_gaps;
    if (gap->end - gap->start > _eventRules.longestGap) {
        TellEvent(_events.Close());
    }
    _listener.OnRecord(RecordOf(_name, *gap, Clock()));
}

void Job::Finish() {
    const auto background = [&] {
        const Video::PictureGrid& grid = _watcher->Grid();
        return Video::Enlarged(_watcher->Background(), grid.blockSize, grid.pictureWidth, grid.pictureHeight);
    };
    _side.Finish(_analysed > 0 ? std::function<Video::BgrPicture()>(background) : nullptr);
}

std::optional<Video::StartTime> Job::Clock() const {
    if (_settings.startTime) {
        return Video::StartTime{*_settings.startTime, Video::ClockSource::Given};
    }
    return _named ? _named : _decoder.Started();
}

Video::PictureNumber Job::NumberAt(Video::Ticks time) const {
    return {_decoder.Numbers().At(time), _decoder.Numbers().IsExact(time)};
}

Video::Tally Job::Sum() const {
    Video::Tally tally;
    tally.pictures = _decoder.Pictures();
    tally.analysed = _analysed;
    tally.length = tally.pictures > 0 ? _decoder.Time() + _decoder.NominalInterval() : 0;
    if (_part && tally.pictures > 0) {
        tally.length = std::min(tally.length, _part->to.value_or(tally.length)) - _part->from;
    }
    tally.gops = _scout ? _scout->Gops() : Video::GopTally{};
    tally.elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - _begin).count();
    tally.events = _events.Count();
    tally.dropped = _events.Dropped();
    tally.flashes = _events.Flashes();
    tally.rotation = _decoder.Turned().Rotation();
    tally.mirrored = _decoder.Turned().IsMirrored();
    tally.gaps = _gaps;
    tally.droppedPackets = _decoder.DroppedPackets();
    tally.grid = _watcher ? _watcher->Grid() : Video::PictureGrid{};
    return tally;
}

}  // namespace

JobResult RunJob(const JobSettings& settings, const std::string& input, const std::string& name, JobListener& listener) {
    try {
        if (settings.scan.fast && !CanBeReadTwice(input)) {
            throw Video::Failure(Video::Concern::Usage, "--fast wants a file, which can be read twice");
        }
        return Job(settings, input, name, listener).Run();
    } catch (const Video::Failure& failure) {
        if (Video::Interrupted() && failure.Code() == Video::exitFailed) {  // while it was opened
            return {.health = Health::Interrupted, .code = Video::exitFailed, .trouble = "interrupted", .tally = {}};
        }
        return ResultOfException(Health::Unreadable);
    } catch (const std::exception&) {
        return ResultOfException(Health::Unreadable);
    }
}

}  // namespace Scan
