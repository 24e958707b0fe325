// How is an input opened that may never answer?  One AVFormatContext whose waiting ends when it must, and the video
// in it.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "video/media/Libav.h"
#include "video/media/PlainPicture.h"
#include "video/time/TickTime.h"

namespace Video {

using SteadyTime = std::chrono::steady_clock::time_point;

// Ticks of the steady clock.
Ticks SteadyTicks(SteadyTime time);
inline Ticks SteadyNow() { return SteadyTicks(std::chrono::steady_clock::now()); }

// Tells FFmpeg when to stop waiting: at a deadline, if there is one, when the user has had enough, or when nobody wants the
// data any more. May be told so by another thread.
class Patience {
public:
    void Allow(Ticks duration) { _deadline = SteadyNow() + duration; }
    void End() { _ended = true; }
    bool IsOver() const;

    // Must outlive what it is given to.
    AVIOInterruptCB Callback();

private:
    static constexpr Ticks forever = INT64_MAX;

    std::atomic<Ticks> _deadline = forever;  // ticks of the steady clock
    std::atomic<bool> _ended = false;
};

// What a decoder has to know of a video stream.
struct StreamFacts {
    OutputPointer copy;  // holds a stream as this one is, without contents
    AVRational timeBase = {0, 1};
    Ticks nominalInterval = 1;         // ticks between two pictures, at least 1
    AVRational sampleAspect = {0, 1};  // 0/1: not known
    Turn turn = {};                    // that players make
    Ticks overflow = 0;                // ticks after which its count of time begins at 0 again; 0: never

    const AVStream& Stream() const { return *copy->streams[0]; }
    const AVCodecParameters& Codec() const { return *Stream().codecpar; }
};

struct Connection {
    InputPointer input;
    AVStream* stream = nullptr;  // the video; owned by input. All others are discarded
    std::shared_ptr<const StreamFacts> facts;
    SteadyTime opened;  // when the first data had come
};

// Sets up everything but the name. Throws std::bad_alloc.
InputPointer NewInput(Patience& patience);

// Opens a source on the network or a camera, without looking into its streams.
// reconnect: seconds for which an interrupted download is taken up again.
// Throws Failure with one line that says what is wrong.
InputPointer OpenRemote(const std::string& url, Patience& patience, double reconnect);

// Finds the video in what was opened. Throws Failure, where its pictures are too large, too.
Connection FindVideo(InputPointer input);

}  // namespace Video
