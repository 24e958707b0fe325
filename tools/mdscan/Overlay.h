// Are the boxes where the movement is?  Writes the video with the objects' boxes drawn, for people to look at; main feeds it
// every decoded picture.
#pragma once

#include <string>
#include <vector>

#include "Events.h"
#include "Libav.h"
#include "ResultFile.h"

namespace Scan {

// Draws the outline of a box, given in pixels of the picture, into a frame of YUV 4:2:0. What lies outside is cut off.
void DrawBox(AVFrame& frame, const Box& box);

class Overlay {
public:
    // The video gets the size of the first picture; later ones of other sizes are scaled to it. Throws Failure.
    Overlay(const std::string& path, const std::string& input, Ticks nominalInterval, AVRational sampleAspect);

    // Times must rise. Throws Failure when the picture cannot be written.
    void Write(const AVFrame& picture, Ticks time, const std::vector<MovingObject>& objects);

    // Completes the file and gives it its name; without it no file remains. Nothing was written: none is made.
    void Finish();

private:
    void Open(const AVFrame& first);
    void Prepare(const AVFrame& picture);
    void Encode(const AVFrame* frame);
    void Check(int result) const;

    ResultFile _file;
    Ticks _interval;               // ticks
    AVRational _sampleAspect;
    OutputPointer _output;
    AVStream* _stream = nullptr;   // owned by _output
    CodecPointer _codec;
    ScalerPointer _scaler;
    FramePointer _canvas;          // what is encoded
    PacketPointer _packet = NewPacket();
};

}  // namespace Scan
