// How do pictures become a video?  Encodes them into one file, for whoever made them.
#pragma once

#include <string>
#include <vector>

#include "video/files/AtomicFile.h"
#include "video/media/Libav.h"
#include "video/pictures/Chapters.h"
#include "video/time/TickTime.h"

namespace Video {

// What every picture of a video has in common.
struct VideoForm {
    int width, height;                 // pixels; made even, since colour has half as many
    Ticks interval;                    // ticks between two pictures, usually
    AVRational sampleAspect = {0, 1};  // {0, 1}: not known
    AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
};

// The container that a file's name asks for; MP4 where it asks for none.
const AVOutputFormat* FormatOf(const std::string& path);

// Of a side of the video, made from one of a picture.
int EvenSize(int size);

class VideoEncoder {
public:
    // Throws Failure where FFmpeg has no encoder, before there is anything to encode.
    static void CheckIsThere(const std::string& path);

    // file must outlive it; its name tells the container, MP4 where it tells none. Throws Failure.
    VideoEncoder(const AtomicFile& file, const VideoForm& form, const std::vector<Chapter>& chapters = {});

    // What is encoded next: YUV 4:2:0 of the video's size, writable, to be painted.
    AVFrame& Canvas();

    // Encodes what was painted. Times that do not rise are made to. Throws Failure.
    void Write(Ticks time);

    // Completes the file. Throws Failure.
    void Finish();

private:
    void Encode(const AVFrame* frame);
    void Check(int result) const;

    const AtomicFile& _file;
    const Ticks _interval;
    OutputPointer _output;
    AVStream* _stream = nullptr;  // owned by _output
    CodecPointer _codec;
    FramePointer _canvas;
    PacketPointer _packet = NewPacket();
};

}  // namespace Video
