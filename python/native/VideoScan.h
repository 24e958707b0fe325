// What has a scan found that nobody has taken yet?  Runs it in a thread of its own, a few items ahead of who takes them.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "VideoPicture.h"
#include "results/JobResult.h"
#include "results/Records.h"
#include "run/Job.h"
#include "settings/JobSettings.h"
#include "video/base/BlockMark.h"
#include "video/base/Findings.h"
#include "video/base/PictureGrid.h"
#include "video/time/PictureNumbers.h"

namespace Python {

// What a user watches of one analysed picture.
struct WatchedFrame {
    Video::PictureNumber number;
    Video::Findings findings;
    Video::PictureGrid grid;
    std::vector<Video::BlockMark> marks;  // [block]
    std::optional<RgbPicture> picture;    // absent: not asked for
};

// A record, with the picture of an event's peak where it is asked for.
struct ToldRecord {
    Scan::Record record;
    std::optional<RgbPicture> picture;
};

struct Warning {
    std::string text;
};

using Item = std::variant<ToldRecord, WatchedFrame, Warning>;

struct ScanWishes {
    bool records = false;   // what the scanner prints
    bool frames = false;    // every analysed picture
    bool pictures = false;  // with the picture itself
};

class VideoScan : private Scan::JobListener {
public:
    VideoScan(std::string input, Scan::JobSettings settings, ScanWishes wishes);
    ~VideoScan() override { Stop(); }
    VideoScan(const VideoScan&) = delete;
    VideoScan& operator=(const VideoScan&) = delete;

    // The next item, absent where there is none for so long, or none any more.
    std::optional<Item> Take(std::chrono::milliseconds patience);

    // Nothing more comes, and all was taken: how did it end?  Absent: it goes on.
    std::optional<Scan::JobResult> Result();

    // Ends the scan, wherever it is, and waits for that. What was not taken is lost.
    void Stop();

private:
    static constexpr std::size_t mostAhead = 4;  // items; pictures may be large

    void Put(Item item);
    void OnRecord(const Scan::Record& record) override;
    void OnScanPicture(const Scan::ScanPicture&) override {}
    void OnWarning(const std::string& text) override { Put(Warning{text}); }
    void OnPicture(double, const Video::Tally&) override {}
    bool WantsPictures() const override { return _wishes.pictures; }
    void OnPeak(const AVFrame& frame) override { _peak.reset(av_frame_clone(&frame)); }
    void OnAnalysed(const AVFrame& frame) override;
    void OnFrame(Video::Watcher& watcher, const Video::Findings& findings, const Video::PictureNumber& number) override;
    bool HasEnough() const override { return _isUnwanted; }

    const std::string _input;
    const Scan::JobSettings _settings;
    const ScanWishes _wishes;
    std::atomic<bool> _isUnwanted = false;
    Video::FramePointer _peak;            // of the running event
    std::optional<RgbPicture> _analysed;  // of the frame that comes next
    std::mutex _lock;                     // of what follows
    std::condition_variable _changed;
    std::deque<Item> _items;
    std::optional<Scan::JobResult> _result;  // absent: it goes on
    std::thread _thread;                     // last: it uses all others
};

}  // namespace Python
