// When is a GOP skipped, and what may be discarded of one that is decoded?
#include "video/media/PictureSelection.h"

#include <algorithm>
#include <utility>

#include "video/media/Libav.h"
#include "video/time/TickTime.h"

namespace Video {

namespace {

// Whether others refer to a picture is for the decoder to know; these tell it truly, whatever the encoder.
bool TellsReferences(const AVCodecParameters& codec) {
    const AVCodecID id = codec.codec_id;
    const bool tells =
        id == AV_CODEC_ID_H264 || id == AV_CODEC_ID_MPEG4 || id == AV_CODEC_ID_MPEG2VIDEO || id == AV_CODEC_ID_MPEG1VIDEO;
    const AVFieldOrder order = codec.field_order;  // else a packet may hold a single field
    return tells && (order == AV_FIELD_PROGRESSIVE || order == AV_FIELD_UNKNOWN);
}

}  // namespace

PictureSelection::PictureSelection(SelectionRules rules, const AVCodecParameters& codec) : _rules(std::move(rules)) {
    if (_rules.needed && TellsReferences(codec)) {
        _discard.emplace(_rules.needed);
    }
}

PictureChoice PictureSelection::Choose(const AVPacket& packet, AVRational timeBase, Ticks later) {
    PictureChoice choice;
    const std::optional<Ticks> time = TicksOf(packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts, timeBase);
    const bool begins = (packet.flags & AV_PKT_FLAG_KEY) != 0 && time && _gops.Begins(*time);
    if (begins) {
        choice.standIn = BeginGop(*time);
    }
    if (_skipping || (!begins && _rules.keyframesOnly && _rules.keyframesOnly())) {
        choice.decoding = PictureChoice::Decoding::Never;
        if (!begins) {  // the first one is shown
            ++_skipped;
            _skippedUntil = std::max(_skippedUntil, time.value_or(0) + later);
        }
        if (_discard) {
            _discard->Pass(TicksOf(packet.dts, timeBase));
        }
    } else if (_discard && MayDiscard(packet, timeBase, later)) {
        choice.decoding = PictureChoice::Decoding::IfReference;
    }
    return choice;
}

// What to show instead of it?
FramePointer PictureSelection::BeginGop(Ticks time) {
    FramePointer standIn = _rules.standIn ? _rules.standIn(time) : nullptr;
    _unanchored = _unanchored || (_skipping && !standIn);
    _skipping = standIn != nullptr;
    return standIn;
}

bool PictureSelection::MayDiscard(const AVPacket& packet, AVRational timeBase, Ticks later) {
    const bool cutAway = (packet.flags & AV_PKT_FLAG_DISCARD) != 0;  // by a list of edits: never shown, never counted
    const std::optional<Ticks> decoded = TicksOf(packet.dts, timeBase);
    if (cutAway || _unanchored) {  // which ones will be asked for, the first one shown tells
        _discard->Pass(decoded);
        return false;
    }
    return _discard->MayDiscard(TicksOf(packet.pts, timeBase), decoded, later);
}

std::vector<Ticks> PictureSelection::Show(std::optional<Ticks> presented) {
    _unanchored = _unanchored && _skipping;
    return _discard && presented ? _discard->DiscardedBefore(*presented) : std::vector<Ticks>();
}

std::vector<Ticks> PictureSelection::DiscardedAtEnd() {
    return _discard ? _discard->DiscardedAtEnd() : std::vector<Ticks>();
}

}  // namespace Video
