// How does a scan run beside who takes what it finds?  Made and asked by the binding.
#include "VideoScan.h"

#include <utility>

#include "video/base/Interruption.h"
#include "video/watch/Watcher.h"

namespace Python {

VideoScan::VideoScan(std::string input, Scan::JobSettings settings, ScanWishes wishes)
    : _input(std::move(input)), _settings(std::move(settings)), _wishes(wishes), _thread([this] {
          const Video::InterruptedBy flag(_isUnwanted);
          Scan::JobResult result = Scan::RunJob(_settings, _input, "", *this);
          const std::lock_guard<std::mutex> lock(_lock);
          _result = std::move(result);
          _changed.notify_all();
      }) {}

std::optional<Item> VideoScan::Take(std::chrono::milliseconds patience) {
    std::unique_lock<std::mutex> lock(_lock);
    _changed.wait_for(lock, patience, [&] { return !_items.empty() || _result; });
    if (_items.empty()) {
        return std::nullopt;
    }
    std::optional<Item> item(std::move(_items.front()));
    _items.pop_front();
    _changed.notify_all();
    return item;
}

std::optional<Scan::JobResult> VideoScan::Result() {
    const std::lock_guard<std::mutex> lock(_lock);
    return _items.empty() ? _result : std::nullopt;
}

void VideoScan::Stop() {
    {
        const std::lock_guard<std::mutex> lock(_lock);
        _isUnwanted = true;
        _changed.notify_all();
    }
    if (_thread.joinable()) {
        _thread.join();
    }
}

void VideoScan::Put(Item item) {
    std::unique_lock<std::mutex> lock(_lock);
    _changed.wait(lock, [&] { return _items.size() < mostAhead || _isUnwanted; });
    if (!_isUnwanted) {
        _items.push_back(std::move(item));
        _changed.notify_all();
    }
}

void VideoScan::OnRecord(const Scan::Record& record) {
    ToldRecord told{record, std::nullopt};
    if (std::holds_alternative<Scan::EventRecord>(record)) {
        if (const Video::FramePointer peak = std::move(_peak); peak && _wishes.records) {
            told.picture = RgbOf(*peak);
        }
    }
    if (_wishes.records) {
        Put(std::move(told));
    }
}

void VideoScan::OnAnalysed(const AVFrame& frame) {
    if (_wishes.frames) {
        _analysed = RgbOf(frame);
    }
}

void VideoScan::OnFrame(Video::Watcher& watcher, const Video::Findings& findings, const Video::PictureNumber& number) {
    if (_wishes.frames) {
        Put(WatchedFrame{number, findings, watcher.Grid(), watcher.Marks(), std::exchange(_analysed, std::nullopt)});
    }
}

}  // namespace Python
