// Which pictures are decoded, and what is shown instead of others?  GOPs are skipped where a stand-in shows what they look
// like, or where keyframes are enough; of the others, non-reference pictures are discarded where nobody asks for them.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "video/media/Libav.h"
#include "video/media/NonReferenceDiscard.h"
#include "video/time/GopStarts.h"
#include "video/time/TickTime.h"

namespace Video {

// The picture to show instead of the GOP that begins at this time of the file; null: the GOP is to be decoded.
using StandIn = std::function<FramePointer(Ticks time)>;

// What may go undecoded. Without any, all pictures are decoded, and as they are meant to be seen.
struct SelectionRules {
    // Is a picture at this time of the scan asked for?  Non-reference pictures that are not may be discarded, if that is
    // known beforehand; all else is as if they had been shown.
    NonReferenceDiscard::Needed needed = nullptr;
    // Of every GOP, all pictures are shown or the one that this gives. Makes numbers approximate, like the next one.
    StandIn standIn = nullptr;
    // Is the first picture of every GOP enough from here on?  GOPs are the same for all decoders of an input.
    std::function<bool()> keyframesOnly = nullptr;
    // Is nobody shown a picture?  Then the edges of blocks are left as they are in H.264: a fifth of its decoding is to
    // smooth them, and means over blocks hardly tell. Errors drift until the next keyframe.
    bool unfiltered = false;
};

// What becomes of one packet.
struct PictureChoice {
    enum class Decoding { Always, IfReference, Never };
    Decoding decoding = Decoding::Always;
    FramePointer standIn = nullptr;  // to be shown instead of the GOP that begins with this packet
};

class PictureSelection {
public:
    // codec: of the stream; it decides whether pictures can be discarded.
    PictureSelection(SelectionRules rules, const AVCodecParameters& codec);

    // What becomes of the next packet, in the order of decoding?  later: added to times of the file, they are times of the
    // scan. May throw what the rules throw.
    PictureChoice Choose(const AVPacket& packet, AVRational timeBase, Ticks later);

    // A picture is shown at this time of the file, if it has one: which have been discarded before it?  In presentation
    // order.
    std::vector<Ticks> Show(std::optional<Ticks> presented);

    // The stream is over: which have been discarded at its end?
    std::vector<Ticks> DiscardedAtEnd();

    bool MaySkip() const { return _rules.standIn || _rules.keyframesOnly; }
    std::int64_t Skipped() const { return _skipped; }     // pictures of GOPs that were not decoded, without those shown
    Ticks SkippedUntil() const { return _skippedUntil; }  // time of the scan of the last of them; 0: none

private:
    FramePointer BeginGop(Ticks time);
    bool MayDiscard(const AVPacket& packet, AVRational timeBase, Ticks later);

    SelectionRules _rules;
    std::optional<NonReferenceDiscard> _discard;  // absent: all pictures of a GOP that is decoded are
    GopStarts _gops;
    bool _skipping = false;    // the packets that come belong to a GOP that a picture stands in for
    bool _unanchored = false;  // a GOP is decoded behind a skipped one, and none of its pictures was shown so far
    std::int64_t _skipped = 0;
    Ticks _skippedUntil = 0;  // ticks
};

}  // namespace Video
