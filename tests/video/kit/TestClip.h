// Where does a test get a video from?  A drawn scene with a known movement, written raw or through FFmpeg's own encoders.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "video/base/Box.h"
#include "video/media/Libav.h"

namespace Video {

// A still, slightly noisy picture; a bright square crosses its middle from left to right between `from` and `until`.
// Deterministic: equal scenes are equal in every byte.
struct SquareScene {
    int width = 320;   // pixels; even for raw clips
    int height = 240;  // pixels
    int framesPerSecond = 10;
    double seconds = 20;
    double from = 9;    // seconds; from == until: nothing moves
    double until = 13;  // seconds

    int Frames() const { return static_cast<int>(seconds * framesPerSecond); }
    std::optional<Box> SquareAt(double time) const;
    std::vector<std::uint8_t> Luma(int frame) const;  // row after row
};

// Raw pictures, one after another: no encoder involved.
void WriteY4m(const SquareScene& scene, const std::string& path);

struct Encoding {
    std::string codec;      // name of an encoder
    std::string container;  // name of a format
    AVPixelFormat format = AV_PIX_FMT_YUV420P;
    AVPixelFormat laterFormat = AV_PIX_FMT_NONE;  // from the second scene on; none: the same
    int gop = 12;                                 // pictures from one keyframe to the next
    int quality = 2;                              // quantiser: the more, the less is kept of noise
    AVRational sampleAspect = {0, 1};
    int rotation = 0;           // degrees that players turn it by; written where the container can
    bool mirrored = false;      // and then exchange left and right
    bool shownUpright = false;  // coded the other way round, so that players show the scene
    bool headerFirst = false;   // MP4: tables at the front
    int bFrames = 0;            // pictures in a row that are decoded after a later one
    std::string created = "";   // what the container says of its creation; empty: nothing
    // Presentation time of a picture in frames; none: its number.
    std::function<std::int64_t(int frame)> time = {};
};

bool HasEncoder(const std::string& codec);

// Scenes one after another; another size or pixel format starts the encoder afresh within the same stream.
// Stops the test program when FFmpeg refuses.
void WriteEncoded(const std::vector<SquareScene>& scenes, const Encoding& encoding, const std::string& path);

}  // namespace Video
