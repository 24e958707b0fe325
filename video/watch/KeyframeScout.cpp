// How is a GOP judged by its first picture?
#include "video/watch/KeyframeScout.h"

#include <algorithm>
#include <utility>

#include "video/base/Findings.h"
#include "video/base/Interruption.h"
#include "video/media/Libav.h"
#include "video/media/PacketSource.h"
#include "video/time/TickTime.h"
#include "video/watch/Watcher.h"

namespace Video {

KeyframeScout::KeyframeScout(const std::string& input, int threads, int blockSize, double rate, WatchRules rules)
    : _decoder(OpenSource(input), threads, {.keyframesOnly = [this] { return _begun; }}),
      _cadence(rate, _decoder.NominalInterval()),
      _blockSize(blockSize),
      _rules(std::move(rules)) {
    _rules.conditioning = {};  // it sees a picture every few seconds
}

// A detector wants eleven pictures before it finds anything. Eleven keyframes would take long: it gets those of the
// beginning.
bool KeyframeScout::Begin() {
    while (!_watcher || !_watcher->IsReady()) {
        if (Interrupted() || !_decoder.Next()) {
            return false;
        }
        if (_cadence.Takes(_decoder.Time())) {
            IsQuiet(_decoder.Frame());
        }
    }
    _firstPacket = _decoder.PacketsRead();
    return true;
}

bool KeyframeScout::Advance() {
    _begun = _begun || Begin();
    if (!_begun) {
        return false;
    }
    do {  // the decoder may still have pictures from before
        if (!_decoder.Next()) {
            return false;
        }
    } while (_decoder.Packet() < _firstPacket);
    FramePointer picture(av_frame_clone(&_decoder.Frame()));
    const bool quiet = IsQuiet(*picture);
    _keys.push_back({_ofKeys.Next(_decoder.FileTime()), std::move(picture), quiet});
    return true;
}

bool KeyframeScout::IsQuiet(const AVFrame& frame) {
    _picture.Take(frame);
    const Host::PictureFormat& format = _picture.Format();
    if (!_watcher || !_watcher->Suits(format)) {
        _watcher.emplace(format, GridOf(format.width, format.height, _blockSize), _rules);
    }
    const Findings findings = _watcher->Watch(_picture.View(), _decoder.Time());
    return _watcher->IsReady() && findings.objects.empty();
}

FramePointer KeyframeScout::At(Ticks time) {
    const Place asked = _ofQuestions.Next(time);
    const auto isBefore = [&](const Key& key) { return key.place < asked; };
    while (!_keys.empty() && isBefore(_keys.front())) {
        _keys.pop_front();
    }
    while (_keys.size() < 2 && Advance()) {
        if (isBefore(_keys.front())) {
            _keys.pop_front();
        }
    }
    ++_tally.gops;
    ++_tally.decoded;
    // The last one, one whose first picture is damaged, or one behind which time begins anew: how long it is, nobody knows.
    if (_keys.size() < 2 || _keys[0].place != asked || _keys[1].place.falls != asked.falls) {
        return nullptr;
    }
    const Ticks length = _keys[1].place.time - time;
    _tally.longest = std::max(_tally.longest, length);
    if (!_keys[0].quiet || !_keys[1].quiet) {
        return nullptr;
    }
    if (length > longestHonest) {
        ++_tally.tooLong;
        return nullptr;
    }
    --_tally.decoded;
    return std::move(_keys.front().picture);
}

}  // namespace Video
