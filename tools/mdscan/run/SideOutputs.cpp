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
    : _files(settings.files),
      _input(input),
      _several(several),
      _wantPictures(!_files.overlay.empty() || !_files.clips.empty() || !_files.thumbnails.empty() ||
                    !_files.report.empty()),
      _memory(memory) {
    const auto open = [&](auto& output, const std::string& asked, const char* ending, const auto&... about) {
        const std::string path = several ? Video::OutputPath(asked, input, true, ending) : asked;
        if (asked.empty()) {
            return;
        }
        if (!several) {
            output.emplace(path, input, about...);
        } else {
            _gaveUp.Try(path, [&] { output.emplace(path, input, about...); });
        }
    };
    open(_background, _files.background, ".png");
    open(_overlay, _files.overlay, ".mp4", decoder.NominalInterval(), decoder.SampleAspect(),
         Video::WatchedNames(settings.scan.zones));
    if (!_files.clips.empty()) {
        _clips.emplace(_files.clips, input, several, Video::FromSeconds(settings.scan.preRoll), decoder.NominalInterval());
        decoder.Tell(*this);
    }
    if (!_files.thumbnails.empty()) {
        _thumbnails = _files.thumbnails;
    }
    if (!_files.report.empty()) {
        _page = _files.report;
    }
    if (!memory.empty()) {
        _kept.emplace();
    }
}

void SideOutputs::OnStream(const AVStream& stream) {
    _gaveUp.Try(_clips, _files.clips, [&](Video::Clips& clips) { clips.OnStream(stream); });
}

void SideOutputs::OnPacket(const AVPacket& packet, std::int64_t number) {
    _gaveUp.Try(_clips, _files.clips, [&](Video::Clips& clips) { clips.OnPacket(packet, number); });
}

void SideOutputs::BeginAt(Video::Ticks time) {
    if (_overlay) {
        _overlay->BeginAt(time);
    }
}

void SideOutputs::Before(const Video::Decoder& decoder) {
    _gaveUp.Try(_clips, _files.clips,
                [&](Video::Clips& clips) { clips.OnPicture(decoder.CodedFrame(), decoder.Packet(), decoder.Time()); });
}

void SideOutputs::After(const Video::Decoder& decoder) {
    _gaveUp.Try(_overlay, _files.overlay,
                [&](Video::Overlay& overlay) { overlay.Write(decoder.Frame(), decoder.Time(), _marking); });
}

void SideOutputs::Follow(const std::optional<Video::Span>& running, int number) {
    _gaveUp.Try(_clips, _files.clips, [&](Video::Clips& clips) { clips.Follow(running, number); });
}

void SideOutputs::Mark(const std::function<Video::Marking()>& marking) {
    if (_overlay) {
        _marking = marking();
    }
}

void SideOutputs::Remember(const Video::BlockPicture& picture, const Video::PictureGrid& grid, Video::Ticks time) {
    if (_kept) {
        _kept->Add(picture, grid, time);
    }
}

void SideOutputs::Peak(const AVFrame* frame) {
    if (_thumbnails || _page) {
        _peak.reset(av_frame_clone(frame));  // shares the picture
    }
}

EventFiles SideOutputs::FilesOf(const Video::Event& event, int number) {
    EventFiles files;
    const Video::FramePointer peak = std::move(_peak);
    if (peak) {
        _gaveUp.Try(_page, _files.report, [&](const std::string&) { files.picture = EventPictureOf(*peak); });
        _gaveUp.Try(_thumbnails, _files.thumbnails,
                    [&](const std::string&) { files.thumbnail = ThumbnailOf(*peak, number); });
    }
    _gaveUp.Try(_clips, _files.clips, [&](Video::Clips& clips) {
        files.clip = clips.Finish({event.start, event.end}, number);
    });
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
    _gaveUp.Try(_kept, _memory, [&](Video::KeptBackground& kept) { kept.Save(_memory); });
    _gaveUp.Try(_overlay, _files.overlay, [](Video::Overlay& overlay) { overlay.Finish(); });
    if (background) {
        _gaveUp.Try(_background, _files.background, [&](Video::AtomicFile& file) {
            Video::WritePng(background(), file);
            file.Keep();
        });
    }
}

}  // namespace Scan
