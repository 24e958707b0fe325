// Are the boxes where the movement is?  Writes the video with what was found drawn into it, for people to look at.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "video/base/BlockMark.h"
#include "video/base/Findings.h"
#include "video/base/PictureGrid.h"
#include "video/files/AtomicFile.h"
#include "video/media/Libav.h"
#include "video/pictures/VideoEncoder.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Video {

// What was found in the newest analysed frame.
struct Marking {
    std::vector<MovingObject> objects = {};
    std::vector<BlockMark> blocks = {};   // [block]; empty: none is marked
    PictureGrid grid = {};                // of the blocks
    std::optional<StartTime> clock = {};  // wall clock at time 0, where it is known
};

// "12.3 s  2 objects", "12.3 s  2026-03-01T12:00:12.300Z  1 object"; the line at the top of every picture.
std::string Caption(Ticks time, const Marking& marking);

// Names of the zones that an object touches.
std::string ZoneText(const MovingObject& object, const std::vector<std::string>& zones);

class Overlay {
public:
    // The video gets the size of the first picture; later ones of other sizes are scaled to it. zones: names of those that
    // are watched. Throws Failure.
    Overlay(const std::string& path, const std::string& input, Ticks nominalInterval, AVRational sampleAspect,
            std::vector<std::string> zones);

    // What is time 0 of the file; before the first picture.
    void BeginAt(Ticks time) { _origin = time; }

    // Times must rise. Throws Failure when the picture cannot be written.
    void Write(const AVFrame& picture, Ticks time, const Marking& marking);

    // Completes the file and gives it its name; without it no file remains. Nothing was written: none is made.
    void Finish();

private:
    void Prepare(const AVFrame& picture, AVFrame& canvas);
    void Draw(const AVFrame& picture, Ticks time, const Marking& marking, AVFrame& canvas);

    AtomicFile _file;
    Ticks _interval;    // ticks
    Ticks _origin = 0;  // ticks
    AVRational _sampleAspect;
    std::vector<std::string> _zones;
    ScalerPointer _scaler;
    std::optional<VideoEncoder> _video;  // once there was a picture
};

}  // namespace Video
