// How does a decoded frame become a picture that others can take?  As players show it, turned and mirrored; and in planes
// that can be reduced to blocks: the frame's own where its layout is a common one, otherwise a converted copy.
#pragma once

#include "BlockReducer.h"
#include "video/media/Libav.h"

namespace Video {

// What a player does to a coded picture before it shows it: rows and columns change places first, where they do.
struct Turn {
    bool transposed = false;
    bool flippedAcross = false;  // left and right of what is shown
    bool flippedDown = false;    // its top and bottom

    bool IsNone() const { return !transposed && !flippedAcross && !flippedDown; }

    // The same said otherwise: turned clockwise by so many degrees, 0, 90, 180 or 270, then left and right exchanged or not.
    int Rotation() const;
    bool IsMirrored() const { return transposed == (flippedAcross == flippedDown); }
};

// By the display matrix of the stream; none where it has none, or one that is no quarter turn.
Turn TurnOf(const AVStream& stream);

// A copy as players show it, YUV 4:2:0 where its layout is none of the common ones. Throws Failure.
FramePointer Turned(const AVFrame& frame, Turn turn);

class PlainPicture {
public:
    // Takes the frame's planes, or converts them to YUV 4:2:0 first. Throws Failure when they cannot be converted.
    // The frame must live as long as the view is used.
    void Take(const AVFrame& frame);

    // Until the next Take. The block size is left at 0.
    const Host::PictureFormat& Format() const { return _format; }
    const Host::PictureView& View() const { return _view; }

private:
    const AVFrame& Converted(const AVFrame& frame);

    Host::PictureFormat _format;
    Host::PictureView _view;
    ScalerPointer _scaler;
    FramePointer _copy;
};

}  // namespace Video
