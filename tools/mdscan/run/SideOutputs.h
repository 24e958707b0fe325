// What is written of one input beside its result lines?  Clips, thumbnails, pictures for a page, a video with boxes, the
// background as a picture, and what is known of the camera.
//
// None of it keeps the scan from telling what it finds: what cannot be written is given up, and the rest goes on.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "outputs/GivenUp.h"
#include "settings/JobSettings.h"
#include "video/base/BgrPicture.h"
#include "video/base/Clip.h"
#include "video/base/PictureGrid.h"
#include "video/files/AtomicFile.h"
#include "video/media/Decoder.h"
#include "video/media/Libav.h"
#include "video/media/PacketListener.h"
#include "video/pictures/Clips.h"
#include "video/pictures/Overlay.h"
#include "video/time/TickTime.h"
#include "video/watch/BlockPicture.h"
#include "video/watch/Events.h"
#include "video/watch/KeptBackground.h"

namespace Scan {

// What there is of one event; its record names it.
struct EventFiles {
    std::string thumbnail = {};            // path; empty: none
    std::optional<Video::Clip> clip = {};  // absent: none
    std::string picture = {};              // bytes of a small JPEG file; empty: none
};

class SideOutputs : public Video::PacketListener {
public:
    // several: of several inputs, whose files go into folders. memory: path of what is kept of the camera; empty: nothing.
    // settings and decoder must outlive it. Of a single input, whose scan would be in vain, throws Failure when there is no
    // place for a file.
    SideOutputs(const JobSettings& settings, const std::string& input, bool several, const std::string& memory,
                Video::Decoder& decoder);

    // Are pictures looked at, so that they cannot wait? Then frames come with every judgement. The same for the whole scan.
    bool WantPictures() const { return _wantPictures; }

    // The first picture that is told is not before that: where a video of them begins.
    void BeginAt(Video::Ticks time);

    // Of every picture: before it is judged, and after.
    void Before(const Video::Decoder& decoder);
    void After(const Video::Decoder& decoder);

    // Of every analysed frame. running: the event as far as it is known, number: that it has or the next one will have.
    void Follow(const std::optional<Video::Span>& running, int number);
    void Mark(const std::function<Video::Marking()>& marking);
    void Remember(const Video::BlockPicture& picture, const Video::PictureGrid& grid, Video::Ticks time);

    // The picture at which the running event has its peak, as far as is known; null: not at hand.
    void Peak(const AVFrame* frame);

    // What there is of an event that is over.
    EventFiles FilesOf(const Video::Event& event, int number);

    // The scan came to its end: completes all that is of the whole input. background: asked for where it is wanted.
    void Finish(const std::function<Video::BgrPicture()>& background);

    // Each named once, with path and reason.
    const GivenUp& GaveUp() const { return _gaveUp; }

private:
    void OnStream(const AVStream& stream) override;
    void OnPacket(const AVPacket& packet, std::int64_t number) override;
    std::string EventPictureOf(const AVFrame& peak) const;
    std::string ThumbnailOf(const AVFrame& peak, int number) const;

    const JobFiles& _files;
    const std::string _input;
    const bool _several;
    const bool _wantPictures;
    const std::string _memory;
    GivenUp _gaveUp;
    Video::FramePointer _peak;  // of the running event, where pictures of it are wanted
    Video::Marking _marking;    // of the newest analysed frame, for the overlay

    // Absent: not asked for, or given up.
    std::optional<std::string> _thumbnails;  // folder
    std::optional<std::string> _page;        // path
    std::optional<Video::KeptBackground> _kept;
    std::optional<Video::AtomicFile> _background;
    std::optional<Video::Overlay> _overlay;
    std::optional<Video::Clips> _clips;
};

}  // namespace Scan
