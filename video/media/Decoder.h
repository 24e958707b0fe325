// What is the next picture of this file, and when was it?  Everything that FFmpeg reads and decodes; Job pulls from it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "video/base/Damage.h"
#include "video/base/Gap.h"
#include "video/media/Connection.h"
#include "video/media/NonReferenceDiscard.h"
#include "video/media/Libav.h"
#include "video/media/LiveReader.h"
#include "video/media/PacketListener.h"
#include "video/time/GopStarts.h"
#include "video/media/PipeReader.h"
#include "video/time/Clock.h"
#include "video/time/LiveClock.h"
#include "video/time/PictureNumbers.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Video {

// The picture to show instead of the GOP that begins at this time of the file; null: the GOP is to be decoded.
using StandIn = std::function<FramePointer(Ticks time)>;

class Decoder {
public:
    // Opens the file or source and its first video stream. "-": the standard input.
    //   threads    that decode, 0: one per processor
    //   reconnect  seconds for which a live source that breaks is tried again
    // Throws Failure with one line that says what is wrong.
    explicit Decoder(const std::string& path, int threads = 0, double reconnect = 0);
    ~Decoder();
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    // From now on the listener is told of the video's packets. It must live as long as the decoder is used.
    void Tell(PacketListener& listener);

    // Decodes the next picture. False: there is none, because the file is over or cannot be read further, because a live
    // source was given up, or because the user has had enough.
    bool Next();

    // From now on, pictures that are not needed and that no other picture refers to may be left out of Next; all else is as
    // if they had been shown. Where that is not known beforehand, nothing is left out.
    void LeaveOutUnless(NonReferenceDiscard::Needed needed);

    // From now on, the stream is taken apart into groups: of each, Next gives all pictures or the one to show instead.
    // Numbers become approximate.
    void ShowInstead(StandIn standIn);

    // From now on, Next gives the first picture of every group. Groups are the same for all decoders of an input.
    void ShowGroupStarts();

    const AVFrame& Frame() const { return *_frame; }  // until the following Next
    Ticks Time() const { return _time; }              // since the start of the file; always rising
    std::int64_t PacketsRead() const { return _packets; }
    std::int64_t Packet() const { return _frame->reordered_opaque; }  // number of the one that holds the newest picture
    Ticks FileTime() const { return _time - _later; }                 // of the picture, as the file counts
    std::int64_t Pictures() const { return _pictures + _passedBy; }   // so far, those left out too
    const Damage& Found() const { return _damage; }                   // complete once Next has returned false

    // Numbers of the pictures shown so far, and from where on they are approximate.
    const PictureNumbers& Numbers() const { return *_numbers; }

    // Wall clock at time 0; absent where the file does not say so believably.
    const std::optional<StartTime>& Started() const { return _started; }

    Ticks NominalInterval() const { return _facts->nominalInterval; }  // between two pictures, at least 1
    AVRational SampleAspect() const { return _facts->sampleAspect; }   // 0/1: not known

    // Does it come as it happens, without an end?
    bool IsLive() const { return _live != nullptr; }

    // The hole in a live source right before the picture of the last Next, once. After the last picture: the hole that the
    // scan ends in.
    std::optional<Gap> TakeGap();

    std::int64_t DroppedPackets() const;                   // of a live source, because the scan was too slow
    const std::string& GaveUp() const { return _gaveUp; }  // why; empty: a live source was not given up

    // How much of the file has been read, 0 to 1.
    double Progress() const;

private:
    InputPointer OpenFile(const std::string& path);
    void OpenRemoteInput(const std::string& url);
    void Examine(const std::string& path, InputPointer input);
    void OpenCodec();
    void Feed();
    bool IsPassedBy(const AVPacket& packet, std::int64_t number);
    void ChooseDiscard(const AVPacket& packet);
    void FeedLive();
    void GoOnBehindHole();
    void Send(const AVPacket& packet);
    void AcceptLiveFrame();
    Ticks LongestSilence() const;
    Ticks OnAxis(Ticks steady) const { return steady - *_liveOrigin; }
    std::optional<Ticks> Presented();
    void AcceptFrame();
    void CountLeftOut(const std::vector<Ticks>& times);
    void CheckEnd();
    void LoseCount();
    bool EndsWithinPicture() const;
    void NoteDamage(const std::string& what);

    const int _threads;
    const double _reconnect;                                             // seconds
    std::unique_ptr<Patience> _patience = std::make_unique<Patience>();  // moves on to _live
    std::unique_ptr<PipeReader> _pipe;
    InputPointer _input;          // null for live sources, like _stream
    AVStream* _stream = nullptr;  // owned by _input
    std::shared_ptr<const StreamFacts> _facts;
    CodecPointer _codec;
    PacketPointer _packet = NewPacket();
    FramePointer _frame = NewFrame();
    PacketListener* _listener = nullptr;
    std::int64_t _packets = 0;            // of the video, read so far
    Ticks _promised = 0;                  // ticks; length of the video as the header says, 0: it does not
    Ticks _promisedByFile = 0;            // ticks; likewise, of the longest stream in the file
    std::int64_t _packetEnd = 0;          // bytes; where the last packet of the video ends in the file
    std::optional<Ticks> _origin;         // ticks; the file's time that counts as 0, absent until one is known
    std::optional<Ticks> _firstDecoding;  // ticks; the file's time at which its first picture is decoded
    Ticks _decodedLate = 0;               // ticks; the first picture shown, behind that
    std::optional<Clock> _clock;
    std::optional<PictureNumbers> _numbers;
    std::optional<StartTime> _started;
    Ticks _time = 0;   // ticks
    Ticks _later = 0;  // ticks; _time of the newest picture, behind the file's time of it
    std::optional<NonReferenceDiscard> _discard;
    GopStarts _gops;
    bool _startsOnly = false;    // of every group, the first picture is decoded
    StandIn _standIn;            // null: all groups are decoded
    FramePointer _instead;       // to be shown as soon as the decoder has no older picture
    bool _passing = false;       // the packets that come belong to a group that is not decoded
    bool _emptying = false;      // the decoder gives its last pictures before it is used for another group
    bool _fed = false;           // the decoder may have pictures
    bool _unanchored = false;    // a group is decoded behind one that is not, and none of its pictures was shown yet
    std::int64_t _passedBy = 0;  // pictures of groups that were not decoded
    Ticks _reached = 0;          // ticks; time of the last of them
    std::int64_t _pictures = 0;
    int _failuresInARow = 0;  // of reading and decoding, without a picture in between
    bool _draining = false;   // the decoder knows that nothing follows
    bool _isDownload = false;
    bool _isOver = false;  // nothing more is wanted, or to be had
    Damage _damage;

    // Of live sources.
    std::unique_ptr<LiveReader> _live;
    std::optional<LiveClock> _liveClock;
    std::optional<LivePacket> _pending;  // the first behind a hole, until the decoder is empty
    std::optional<Ticks> _liveOrigin;    // ticks of the steady clock; when the first packet came
    Ticks _newestArrival = 0;            // ticks of the steady clock; of the packet fed last
    Ticks _askedAt = 0;                  // ticks of the steady clock; when the next picture was asked for
    std::string _hole;                   // why pictures before the next one are missing; empty: they are not
    std::optional<Gap> _gap;
    bool _isOpenGapTaken = false;
    std::string _gaveUp;
};

}  // namespace Video
