// Which planes of this frame can be reduced to blocks?  The frame's own where its layout is a common one, otherwise a
// converted copy.
#pragma once

#include "BlockReducer.h"
#include "video/media/Libav.h"

namespace Video {

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
