// How is a GOP judged by its first picture?
#include "video/scout/KeyframeScout.h"

#include <algorithm>
#include <utility>

#include "video/base/Findings.h"
#include "video/base/Interruption.h"
#include "video/media/Libav.h"
#include "video/media/PacketSource.h"
#include "video/time/TickTime.h"
#include "video/watch/Watcher.h"

namespace Video {

KeyframeScout::KeyframeScout(const std::string& input, int threads, int blockSize, WatchRules rules, bool unfiltered)
    : _input(input),
      _threads(threads),
      _blockSize(blockSize),
      _rules(std::move(rules)),
      _unfiltered(unfiltered),
      _survey(OpenSource(input)),
      _gain(_survey.PromisedPictures()) {
    _rules.conditioning = {};  // it sees a picture every few seconds
    _rules.maxSize = 1;        // what is too large now was small when it came
    for (Zone& zone : _rules.zones) {
        zone.maxSize.reset();
    }
}

// A detector wants eleven pictures before it finds anything. Eleven keyframes would take long: it gets those of the
// beginning, one after another.
bool KeyframeScout::Begin() {
    _decoder.emplace(OpenSource(_input), _threads,
                     SelectionRules{.keyframesOnly = [this] { return _begun; }, .unfiltered = _unfiltered});
    while (!_watcher || !_watcher->IsReady()) {
        if (Interrupted() || !_decoder->Next()) {
            return false;
        }
        IsQuiet(_decoder->Frame());
        _gain.Spend(1);
    }
    _firstPacket = _decoder->PacketsRead();
    return true;
}

bool KeyframeScout::Advance() {
    _begun = _begun || (!_decoder && Begin());
    if (!_begun) {
        return false;
    }
    do {  // the decoder may still have pictures from before
        if (!_decoder->Next()) {
            return false;
        }
    } while (_decoder->Packet() < _firstPacket);
    FramePointer picture(av_frame_clone(&_decoder->CodedFrame()));
    const bool quiet = IsQuiet(_decoder->Frame());
    _keys.push_back({_ofKeys.Next(_decoder->FileTime()), std::move(picture), quiet});
    return true;
}

bool KeyframeScout::IsQuiet(const AVFrame& frame) {
    _picture.Take(frame);
    const Host::PictureFormat& format = _picture.Format();
    if (!_watcher || !_watcher->Suits(format)) {
        _watcher.emplace(format, GridOf(format.width, format.height, _blockSize), _rules);
    }
    const Findings findings = _watcher->Watch(_picture.View(), _decoder->Time());
    return _watcher->IsReady() && findings.objects.empty();
}

FramePointer KeyframeScout::At(Ticks time) {
    const Place asked = _ofQuestions.Next(time);
    const std::optional<StoredGop> gop = _survey.Next();
    ++_tally.gops;
    ++_tally.decoded;
    if (!gop || gop->begin != time || !gop->length) {  // the last one: how long it is, nobody knows
        return nullptr;
    }
    _pictures += gop->pictures;
    _tally.longest = std::max(_tally.longest, *gop->length);
    if (*gop->length > longestHonest) {
        ++_tally.tooLong;
        return nullptr;
    }
    if (!_gaveUp && _gain.IsLost()) {
        GiveUp();
    }
    if (_gaveUp) {
        ++_tally.unscouted;
        return nullptr;
    }
    return Judge(*gop, asked);
}

// If they go on as they were, for as long as the input promises.
std::int64_t KeyframeScout::ExpectedGops() const {
    return std::max<std::int64_t>(_tally.gops,
                                  _survey.PromisedPictures() * _tally.gops / std::max<std::int64_t>(1, _pictures));
}

// The scan gets no more from it than pictures, and those have owners of their own.
void KeyframeScout::GiveUp() {
    _gaveUp = true;
    _keys.clear();
    _watcher.reset();
    _decoder.reset();
}

FramePointer KeyframeScout::Judge(const StoredGop& gop, const Place& asked) {
    const auto isBefore = [&](const Key& key) { return key.place < asked; };
    while (!_keys.empty() && isBefore(_keys.front())) {
        _keys.pop_front();
    }
    while (_keys.size() < 2 && Advance()) {
        if (isBefore(_keys.front())) {
            _keys.pop_front();
        }
    }
    const std::int64_t price = ScoutingGain::PriceOf(gop.keyBytes, gop.otherBytes, gop.pictures);
    _gain.Spend(price);
    // One whose first picture is damaged, or one of the beginning.
    if (_keys.size() < 2 || _keys[0].place != asked || _keys[1].place.falls != asked.falls) {
        return nullptr;
    }
    if (!_keys[0].quiet || !_keys[1].quiet) {
        return nullptr;
    }
    if (_sizes.StandsOut(gop.burst, ExpectedGops())) {
        ++_tally.bySize;
        return nullptr;
    }
    _gain.Save(price + gop.pictures - 1);
    --_tally.decoded;
    return std::move(_keys.front().picture);
}

}  // namespace Video
