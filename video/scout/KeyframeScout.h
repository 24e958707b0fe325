// Between which keyframes may something have moved?  Runs ahead of a scan, decodes nothing but the first picture of every
// GOP, and says which GOPs are worth decoding.
//
// The scout has a detector of its own, which sees one picture per GOP. A GOP is skipped when nothing moves in its first
// picture nor in that of the next GOP, the two are close enough for hardly anything to come and go between them, and no more
// is stored between them than usual. Where this saves nothing, the scout gives up, and all that follows is decoded.
#pragma once

#include <compare>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "video/base/Tally.h"
#include "video/media/Decoder.h"
#include "video/media/Libav.h"
#include "video/media/PlainPicture.h"
#include "video/scout/GopSizes.h"
#include "video/scout/GopSurvey.h"
#include "video/scout/ScoutingGain.h"
#include "video/time/TickTime.h"
#include "video/watch/Watcher.h"

namespace Video {

class KeyframeScout {
public:
    // GOPs longer than this are decoded: who crosses a picture takes about as long.
    static constexpr Ticks longestHonest = 4 * oneSecond;

    // Opens the input again, twice. threads, blockSize, unfiltered: as for the scan. Throws Failure.
    KeyframeScout(const std::string& input, int threads, int blockSize, WatchRules rules, bool unfiltered);
    KeyframeScout(const KeyframeScout&) = delete;
    KeyframeScout& operator=(const KeyframeScout&) = delete;

    // As StandIn says. Times must be those of the GOPs' first pictures, all of them, in order. May throw Failure.
    FramePointer At(Ticks time);

    const GopTally& Gops() const { return _tally; }

private:
    // A time of the file, told apart from equal ones before and after joined recordings. In order.
    struct Place {
        int falls;   // of the file's times before this one
        Ticks time;  // ticks of the file

        auto operator<=>(const Place&) const = default;  // NOLINT(modernize-use-nullptr): the 0 of <=>
    };

    class Axis {
    public:
        // Of the next time, in the order of the file.
        Place Next(Ticks time) {
            _falls += _newest && time < *_newest;
            _newest = time;
            return {_falls, time};
        }

    private:
        int _falls = 0;
        std::optional<Ticks> _newest;
    };

    struct Key {
        Place place;
        FramePointer picture;
        bool quiet;  // the detector knew enough, and found nothing
    };

    FramePointer Judge(const StoredGop& gop, const Place& asked);
    std::int64_t ExpectedGops() const;
    void GiveUp();
    bool Begin();
    bool Advance();
    bool IsQuiet(const AVFrame& frame);

    const std::string _input;
    const int _threads;
    const int _blockSize;
    WatchRules _rules;
    const bool _unfiltered;
    GopSurvey _survey;
    GopSizes _sizes;
    ScoutingGain _gain;
    std::optional<Decoder> _decoder;  // from the first GOP on that may be skipped
    PlainPicture _picture;
    std::optional<Watcher> _watcher;
    bool _begun = false;  // the detector is ready: from here on, keyframes are enough
    bool _gaveUp = false;
    std::int64_t _firstPacket = 0;  // since it has begun
    Axis _ofKeys;
    Axis _ofQuestions;           // times asked for
    std::deque<Key> _keys;       // from the GOP asked for on
    std::int64_t _pictures = 0;  // of all GOPs asked for
    GopTally _tally;
};

}  // namespace Video
