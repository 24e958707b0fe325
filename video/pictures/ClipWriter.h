// How do stored packets become a video of their own?  Writes one file without decoding or encoding anything.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "video/files/AtomicFile.h"
#include "video/media/Libav.h"
#include "video/time/DecodeTimes.h"
#include "video/time/TickTime.h"

namespace Video {

struct ParametersDeleter {
    void operator()(AVCodecParameters* parameters) const { avcodec_parameters_free(&parameters); }
};

// What a container has to know of a video before its first packet.
class StoredVideo {
public:
    // A copy of what the stream says of itself. interval: ticks between two pictures.
    StoredVideo(const AVStream& stream, Ticks interval);

    // "mp4" where that takes the video, otherwise "matroska".
    const char* Container() const;
    const char* Ending() const;  // of a file's name

    // Throws Failure when no container takes the video.
    void Check() const;

    // A container with this video, to be written to; made in any case.
    OutputPointer NewOutput() const;

    // Of the pictures that follow: streams may change it without saying so.
    void SetSize(int width, int height);

    // False: it is what it was.
    bool ReplaceExtradata(const std::uint8_t* data, std::size_t size);

    Ticks Interval() const { return _interval; }
    int Delay() const { return _parameters->video_delay; }  // packets, as DecodeTimes takes it

private:
    struct SideData {
        AVPacketSideDataType type;
        std::vector<std::uint8_t> content;
    };

    std::unique_ptr<AVCodecParameters, ParametersDeleter> _parameters;
    std::vector<SideData> _sideData;  // rotation and the like
    AVRational _timeBase;
    AVRational _frameRate;
    Ticks _interval;
};

class ClipWriter {
public:
    // start: the time that becomes 0. Throws Failure.
    ClipWriter(const std::string& path, const std::string& input, const StoredVideo& video, Ticks start);

    // The next packet in the order of decoding, its picture shown at `time`. Throws Failure.
    void Write(const AVPacket& packet, Ticks time);

    // Completes the file and gives it its name; without it no file remains. Throws Failure.
    void Finish();

    const std::string& Path() const { return _file.Path(); }
    Ticks Start() const { return _start; }

private:
    struct Pending {
        PacketPointer packet;
        Ticks time;  // ticks; from the start of the clip
    };

    void WriteOldest();
    void Check(int result) const;

    AtomicFile _file;
    OutputPointer _output;
    Ticks _start;
    Ticks _interval;
    DecodeTimes _decodeTimes;
    std::deque<Pending> _pending;
    std::int64_t _lastDts = INT64_MIN / 2;  // what was written last, in the container's units: they must rise
};

}  // namespace Video
