// Where does each file of an input go, and when is it whole?
#include "run/SideOutputs.h"

#include <utility>

#include "results/ScanPictures.h"
#include "video/base/Failure.h"
#include "video/files/OutputPath.h"
#include "video/files/PngFile.h"
#include "video/pictures/Thumbnail.h"
#include "video/zones/Zone.h"

namespace Scan {

SideOutputs::SideOutputs(const JobSettings& settings, const std::string& input, bool several, const std::string& memory,
                         Video::Decoder& decoder)
    : _files(settings.files), _input(input), _several(several), _memory(memory) {
    const auto placeOf = [&](const std::string& path, const char* ending) {
        return several ? Video::OutputPath(path, input, true, ending) : path;
    };
    if (!_files.background.empty()) {
        _background.emplace(placeOf(_files.background, ".png"), input);
    }
    if (!_files.overlay.empty()) {
        _overlay.emplace(placeOf(_files.overlay, ".mp4"), input, decoder.NominalInterval(), decoder.SampleAspect(),
                         Video::WatchedNames(settings.scan.zones));
    }
    if (!_files.clips.empty()) {
        _clips.emplace(_files.clips, input, several, Video::FromSeconds(settings.scan.preRoll), decoder.NominalInterval());
        decoder.Tell(*this);
    }
}

bool SideOutputs::WantPictures() const { return _overlay || _clips || WantPeaks(); }

void SideOutputs::Before(const Video::Decoder& decoder) {
    if (_clips) {
        _clips->OnPicture(decoder.Frame(), decoder.Packet(), decoder.Time());
    }
}

void SideOutputs::After(const Video::Decoder& decoder) {
    if (_overlay) {
        _overlay->Write(decoder.Frame(), decoder.Time(), _marking);
    }
}

void SideOutputs::Follow(const std::optional<Video::Span>& running, int number) {
    if (_clips) {
        _clips->Follow(running, number);
    }
}

void SideOutputs::Mark(const std::function<Video::Marking()>& marking) {
    if (_overlay) {
        _marking = marking();
    }
}

void SideOutputs::Remember(const Video::BlockPicture& picture, const Video::PictureGrid& grid, Video::Ticks time) {
    if (!_memory.empty()) {
        _kept.Add(picture, grid, time);
    }
}

void SideOutputs::Peak(const AVFrame* frame) {
    if (WantPeaks()) {
        _peak.reset(av_frame_clone(frame));  // shares the picture
    }
}

EventFiles SideOutputs::FilesOf(const Video::Event& event, int number) {
    EventFiles files;
    const Video::FramePointer peak = std::move(_peak);
    if (peak && !_files.report.empty()) {
        files.picture = EventPictureOf(*peak);
    }
    if (peak && !_files.thumbnails.empty()) {
        files.thumbnail = ThumbnailOf(*peak, number);
    }
    if (_clips) {
        files.clip = _clips->Finish({event.start, event.end}, number);
    }
    return files;
}

std::string SideOutputs::EventPictureOf(const AVFrame& peak) const {
    const std::string jpeg = Video::JpegOf(peak, widestEventPicture);
    if (jpeg.empty()) {
        throw Video::Failure(Video::Concern::Output,
                             "cannot write " + _files.report + ": FFmpeg cannot make a JPEG of a picture");
    }
    return jpeg;
}

std::string SideOutputs::ThumbnailOf(const AVFrame& peak, int number) const {
    const std::string path = Video::OutputPath(_files.thumbnails, _input, _several, number, ".jpg");
    Video::AtomicFile file(path, _input);
    Video::WriteThumbnail(peak, file);
    file.Keep();  // before the record that names it
    return path;
}

void SideOutputs::Finish(const std::function<Video::BgrPicture()>& background) {
    if (!_memory.empty()) {
        _kept.Save(_memory);
    }
    if (_overlay) {
        _overlay->Finish();
    }
    if (_background && background) {
        Video::WritePng(background(), *_background);
        _background->Keep();
    }
}

}  // namespace Scan
