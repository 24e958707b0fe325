// What moves in this one video?  Opens it, shows its pictures to the detector, tells a listener what was found.
#pragma once

#include <string>

#include "results/JobResult.h"
#include "results/Records.h"
#include "results/ScanPictures.h"
#include "settings/JobSettings.h"
#include "video/base/Findings.h"
#include "video/base/Tally.h"
#include "video/media/Libav.h"
#include "video/time/PictureNumbers.h"
#include "video/time/TickTime.h"
#include "video/watch/Events.h"
#include "video/watch/Watcher.h"

namespace Scan {

class JobListener {
public:
    virtual ~JobListener() = default;
    // May throw Failure, which ends the job.
    virtual void OnRecord(const Record& record) = 0;
    // Where the settings ask for any; before the record of its event.
    virtual void OnScanPicture(const ScanPicture& picture) = 0;
    // Before all others, where nobody writes yet to a pipe that is the input.
    virtual void OnWait() {}
    // Before all others, where the input is a live source.
    virtual void OnLive() {}
    // Something that the user wants cannot be, though the scan goes on; one line. Early, as soon as it is known.
    virtual void OnWarning(const std::string&) {}
    // Once per picture. done: 0 to 1.
    virtual void OnPicture(double done, const Video::Tally& tally) = 0;
    // An event is over; before its record.
    virtual void OnEvent(const Video::Event&) {}
    // From then on nothing counts that has moved: a disturbance has become known. Before the frame that told it.
    virtual void OnDiscard(Video::Ticks) {}
    // Are pictures looked at as they are analysed?  The same for the whole job.
    virtual bool WantsPictures() const { return false; }
    // Where they are: the one at which the running event has its peak, as far as is known.
    virtual void OnPeak(const AVFrame&) {}
    // Likewise: the one of the OnFrame that follows.
    virtual void OnAnalysed(const AVFrame&) {}
    // Once per analysed frame, after events that it ended. May throw Failure.
    virtual void OnFrame(Video::Watcher&, const Video::Findings&, const Video::PictureNumber&) {}
    // True ends the job: nothing more is to be learned from it.
    virtual bool HasEnough() const { return false; }
};

// name: what records call the input; empty: nothing. An input that cannot be opened is a result, too.
JobResult RunJob(const JobSettings& settings, const std::string& input, const std::string& name, JobListener& listener);

}  // namespace Scan
