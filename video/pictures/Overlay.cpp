// How is the video with what was found written?
#include "video/pictures/Overlay.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <utility>

#include "video/base/BlockMark.h"
#include "video/base/Box.h"
#include "video/base/Failure.h"
#include "video/base/Findings.h"
#include "video/base/PictureGrid.h"
#include "video/media/Libav.h"
#include "video/pictures/FrameDrawing.h"
#include "video/pictures/VideoEncoder.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Video {

namespace {

constexpr Colour objectTint = {160, 60, 190};  // orange: blocks that move
constexpr Colour shadowTint = {90, 190, 90};   // blue: blocks that are only darker
constexpr int tintPercent = 40;

Box Scaled(const Box& box, const AVFrame& from, const AVFrame& to) {
    const auto across = [&](int x) { return static_cast<int>(std::int64_t{x} * to.width / from.width); };
    const auto down = [&](int y) { return static_cast<int>(std::int64_t{y} * to.height / from.height); };
    return {across(box.x), down(box.y), across(box.x + box.width) - across(box.x), down(box.y + box.height) - down(box.y)};
}

}  // namespace

std::string Caption(Ticks time, const Marking& marking) {
    std::array<char, 32> seconds = {};
    std::snprintf(seconds.data(), seconds.size(), "%.1f s  ", ToSeconds(time));
    std::string text = seconds.data();
    if (marking.clock) {
        text += WallTimeText(marking.clock->at + time) + "  ";
    }
    return text + std::to_string(marking.objects.size()) + (marking.objects.size() == 1 ? " object" : " objects");
}

std::string ZoneText(const MovingObject& object, const std::vector<std::string>& zones) {
    std::string text;
    for (std::size_t i = 0; i < zones.size(); ++i) {
        if ((object.zones >> i & 1) != 0) {
            text += (text.empty() ? "" : ", ") + zones[i];
        }
    }
    return text;
}

Overlay::Overlay(const std::string& path, const std::string& input, Ticks nominalInterval, AVRational sampleAspect,
                 std::vector<std::string> zones)
    : _file(path, input), _interval(nominalInterval), _sampleAspect(sampleAspect), _zones(std::move(zones)) {
    VideoEncoder::CheckIsThere(path);
}

// The picture as YUV 4:2:0 in the video's size. Odd sizes lose their last column or row rather than being scaled.
void Overlay::Prepare(const AVFrame& picture, AVFrame& canvas) {
    const bool cropped = canvas.width == EvenSize(picture.width) && canvas.height == EvenSize(picture.height) &&
                         picture.width >= canvas.width && picture.height >= canvas.height;
    const int width = cropped ? canvas.width : picture.width;
    const int height = cropped ? canvas.height : picture.height;
    _scaler.reset(sws_getCachedContext(_scaler.release(), width, height, PlainFormat(picture.format), canvas.width,
                                       canvas.height, AV_PIX_FMT_YUV420P, SWS_BILINEAR, nullptr, nullptr, nullptr));
    if (!_scaler) {
        throw Failure(Concern::Output, "cannot write " + _file.Path() + ": " + ErrorText(AVERROR(EINVAL)));
    }
    sws_scale(_scaler.get(), picture.data, picture.linesize, 0, height, canvas.data, canvas.linesize);
}

void Overlay::Draw(const AVFrame& picture, Ticks time, const Marking& marking, AVFrame& canvas) {
    const PictureGrid& grid = marking.grid;
    for (std::size_t i = 0; i < marking.blocks.size(); ++i) {
        if (marking.blocks[i] != BlockMark::None) {
            const int column = static_cast<int>(i) % grid.columns, row = static_cast<int>(i) / grid.columns;
            const Box block = {column * grid.blockSize, row * grid.blockSize, grid.blockSize, grid.blockSize};
            Tint(canvas, Scaled(block, picture, canvas), marking.blocks[i] == BlockMark::Shadow ? shadowTint : objectTint,
                 tintPercent);
        }
    }
    for (const MovingObject& object : marking.objects) {
        DrawBox(canvas, Scaled(object.box, picture, canvas));
    }
    for (const MovingObject& object : marking.objects) {
        if (const std::string zones = ZoneText(object, _zones); !zones.empty()) {
            const Box box = Scaled(object.box, picture, canvas);
            DrawLabel(canvas, box.x, box.y - LabelHeight(canvas), zones);
        }
    }
    DrawLabel(canvas, 0, 0, Caption(time, marking));
}

void Overlay::Write(const AVFrame& picture, Ticks time, const Marking& marking) {
    if (!_video) {
        _video.emplace(_file, VideoForm{picture.width, picture.height, _interval, _sampleAspect, picture.color_range});
    }
    AVFrame& canvas = _video->Canvas();
    Prepare(picture, canvas);
    Draw(picture, time, marking, canvas);
    _video->Write(time - _origin);
}

void Overlay::Finish() {
    if (_video) {
        _video->Finish();
        _file.Keep();
    }
}

}  // namespace Video
