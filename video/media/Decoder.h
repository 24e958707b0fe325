// What is the next picture of this source, and when was it?  Decodes what is selected of the packets, dates and numbers the
// pictures, and says where some are missing.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "video/base/Damage.h"
#include "video/base/Gap.h"
#include "video/media/Connection.h"
#include "video/media/Libav.h"
#include "video/media/PacketListener.h"
#include "video/media/PacketSource.h"
#include "video/media/PictureSelection.h"
#include "video/media/PlainPicture.h"
#include "video/time/PictureDating.h"
#include "video/time/PictureNumbers.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Video {

class Decoder {
public:
    //   threads  that decode, 0: one per processor
    //   rules    what may go undecoded; of a live source, no picture does: it may stall or break at any time
    // Throws Failure with one line that says what is wrong.
    explicit Decoder(std::unique_ptr<PacketSource> source, int threads = 0, SelectionRules rules = {});
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    // The listener is told of the video's packets that are read after this. It must live as long as the decoder is used.
    void Tell(PacketListener& listener);

    // Before all else: pictures and damage count only from one time until another, and the first of these pictures has the
    // number 0, wherever reading begins.
    void CountWithin(Ticks begin, Ticks end);

    // Before the first picture: those before this time are not wanted, and are left out as far as the source can. Numbers
    // are approximate then, unless they count from a time, and damage before it is nobody's.
    void SkipTo(Ticks time);

    // Decodes the next picture. False: there is none, because the file is over or cannot be read further, because a live
    // source was given up, or because the user has had enough.
    bool Next();

    // Until the following Next: as players show it, turned and mirrored; and as it is coded.
    const AVFrame& Frame() const;
    const AVFrame& CodedFrame() const { return *_frame; }
    Turn Turned() const { return _facts->turn; }
    Ticks Time() const { return _time; }  // since the start of the file; always rising
    std::int64_t PacketsRead() const { return _packets; }
    std::int64_t Packet() const { return _frame->reordered_opaque; }  // number of the one that holds the newest picture
    Ticks FileTime() const { return _time - _later; }                 // of the picture, as the file counts
    std::int64_t Pictures() const { return _pictures + _selection.Skipped(); }  // so far, those not decoded too
    const Damage& Found() const { return _damage; }                             // complete once Next has returned false

    // Numbers of the pictures shown so far, and from where on they are approximate.
    const PictureNumbers& Numbers() const { return _numbers; }

    // Wall clock at time 0; absent where the source does not say so believably.
    const std::optional<StartTime>& Started() const { return _source->Started(); }

    Ticks NominalInterval() const { return _facts->nominalInterval; }  // between two pictures, at least 1
    AVRational SampleAspect() const { return _facts->sampleAspect; }   // of what is shown; 0/1: not known

    Ticks SeekableLength() const { return _source->SeekableLength(); }  // as of a PacketSource

    // Does it come as it happens, without an end?
    bool IsLive() const { return _source->IsLive(); }

    // The hole in a live source right before the picture of the last Next, once. After the last picture: the hole that the
    // scan ends in.
    std::optional<Gap> TakeGap();

    std::int64_t DroppedPackets() const { return _source->DroppedPackets(); }  // of a live source: the scan was too slow
    std::string GaveUp() const { return _source->GaveUp(); }                   // why; empty: the source was not given up

    // How much of the file has been read, 0 to 1.
    double Progress() const { return _source->Progress(_time); }

private:
    void OpenCodec();
    void Drain();
    bool GoOn();
    void Feed();
    void Send(Ticks arrival);
    void BeginAnew(const Reading& behind);
    void Accept();
    void CountPicture();
    void NoticeGap(Ticks before);
    void CountDiscarded(const std::vector<Ticks>& times);
    void CheckEnd();
    void NoteDamage(const std::string& what);

    const std::unique_ptr<PacketSource> _source;
    std::shared_ptr<const StreamFacts> _facts;  // of the packets that are decoded
    const int _threads;
    const bool _unfiltered;
    CodecPointer _codec;
    bool _fed = false;       // the codec may have pictures
    bool _draining = false;  // it gives its last ones: nothing follows, or nothing that belongs to them
    PacketPointer _packet = NewPacket();
    FramePointer _frame = NewFrame();
    mutable FramePointer _upright;   // the newest frame as it is shown, where that is another and somebody has asked
    FramePointer _standIn;           // to be shown as soon as the codec has no older picture
    std::optional<Reading> _behind;  // of _packet, the first behind a hole, which waits for that, too
    PictureSelection _selection;
    const std::unique_ptr<PictureDating> _dating;
    PictureNumbers _numbers;
    PacketListener* _listener = nullptr;
    std::int64_t _packets = 0;         // of the video, read so far
    std::int64_t _pictures = 0;        // so far, those discarded too, of the time in which they count
    Ticks _time = 0;                   // ticks; of the newest picture
    Ticks _wanted = 0;                 // ticks; where something was left out: from then on all is wanted
    std::optional<Ticks> _countsFrom;  // absent: all counts
    Ticks _countsUntil = std::numeric_limits<Ticks>::max();
    Ticks _later = 0;         // ticks; _time, behind the file's time of it
    int _failuresInARow = 0;  // of reading and decoding, without a picture in between
    bool _isOver = false;     // nothing more is wanted, or to be had
    Damage _damage;
    std::string _hole;  // why pictures before the next one are missing; empty: they are not
    std::optional<Gap> _gap;
    bool _isOpenGapTaken = false;
};

}  // namespace Video
