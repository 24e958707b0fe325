// What moves in this one video?  Opens it, shows its pictures to the detector, tells a listener what was found.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "results/JobResult.h"
#include "results/Records.h"
#include "results/ScanPictures.h"
#include "settings/JobSettings.h"
#include "settings/ScanSettings.h"
#include "video/base/Findings.h"
#include "video/base/Gap.h"
#include "video/base/Tally.h"
#include "video/files/AtomicFile.h"
#include "video/media/Decoder.h"
#include "video/media/Libav.h"
#include "video/media/PictureSelection.h"
#include "video/media/PlainPicture.h"
#include "video/pictures/Clips.h"
#include "video/pictures/Overlay.h"
#include "video/time/Cadence.h"
#include "video/time/PictureNumbers.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"
#include "video/watch/Events.h"
#include "video/watch/HeatMap.h"
#include "video/watch/KeyframeScout.h"
#include "video/watch/Watcher.h"

namespace Scan {

class JobListener {
public:
    virtual ~JobListener() = default;
    // May throw Failure, which ends the job.
    virtual void OnRecord(const Record& record) = 0;
    // Where the settings ask for any; before the record of its event.
    virtual void OnScanPicture(const ScanPicture& picture) = 0;
    // Before all others, where the input is a live source.
    virtual void OnLive() {}
    // Once per picture. done: 0 to 1.
    virtual void OnPicture(double done, const Video::Tally& tally) = 0;
    // An event is over; before its record.
    virtual void OnEvent(const Video::Event&) {}
    // Once per analysed frame, after events that it ended. May throw Failure.
    virtual void OnFrame(Video::Watcher&, const Video::Findings&, const Video::PictureNumber&) {}
    // True ends the job: nothing more is to be learned from it.
    virtual bool HasEnough() const { return false; }
};

class Job {
public:
    // settings and listener must outlive the job. name: what records call the input; empty: nothing.
    // Throws Failure when there is nothing to scan or no place for a result.
    Job(const JobSettings& settings, const std::string& input, const std::string& name, JobListener& listener);

    // Does not throw Failure; what went wrong is in the result.
    JobResult Run();

private:
    Video::SelectionRules Selection();
    void Scan();
    void Analyse(const AVFrame& frame, Video::Ticks time);
    void TellEvent(const std::optional<Video::Event>& event);
    void TellGap(const std::optional<Video::Gap>& gap);
    void CompleteFiles();
    std::optional<Video::StartTime> Clock() const;
    Video::PictureNumber NumberAt(Video::Ticks time) const;
    void TellPicture();
    void TellGround();
    Video::Tally Sum() const;

    const ScanSettings& _settings;
    const JobFiles& _files;
    const std::string _input;
    const std::string _name;
    JobListener& _listener;
    const std::chrono::steady_clock::time_point _begin = std::chrono::steady_clock::now();
    Video::Decoder _decoder;
    std::optional<Video::KeyframeScout> _scout;  // where GOPs may be skipped
    Video::Cadence _cadence;
    const Video::WatchRules _rules;
    const Video::Ticks _longestGap;  // between two analysed frames of one event
    Video::EventLog _events;
    Video::PlainPicture _picture;
    std::optional<Video::Watcher> _watcher;
    Video::Marking _marking;     // of the newest analysed frame, for the overlay
    std::int64_t _analysed = 0;  // frames
    int _told = 0;               // events
    int _gaps = 0;
    Video::FramePointer _peak;  // of the running event, where pictures of it are wanted
    Video::HeatMap _heat;       // of pictures of earlier sizes
    std::optional<Video::AtomicFile> _background;
    std::optional<Video::Overlay> _overlay;
    std::optional<Video::Clips> _clips;
};

// Makes a job and runs it. An input that cannot be opened is a result, too.
JobResult RunJob(const JobSettings& settings, const std::string& input, const std::string& name, JobListener& listener);

}  // namespace Scan
