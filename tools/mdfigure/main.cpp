// mdfigure: what does a detector know at one moment?  Lets two watch the street of the sample clip and draws the figures of
// the manual from their own arrays.
//
//     mdfigure FOLDER        writes grid.png, learning.png, ages.png and masks.png; the same pixels on every machine
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include <coreMD.hpp>
#include <coreMD/detector/MotionDetector.h>

#include "BlockReducer.h"
#include "Panel.h"
#include "video/files/PngFile.h"
#include "video/files/AtomicFile.h"
#include "Scene.h"

namespace {

using Figure::Colour;
using Figure::Panel;

// The scene of samples/crossing.mp4, before encoding.
constexpr MdScene::Settings scene{.width = 640, .height = 360, .fps = 12, .frames = 648, .seed = 21, .quietSeconds = 8};
constexpr int blockSize = 4;      // pixels
constexpr int framesPerStep = 2;  // of the scene: six a second are analysed
constexpr int vanFrame = 314;     // 26.2 s: a van in the far lane
constexpr Figure::Part vanPart{.left = 100, .top = 44, .width = 50, .height = 30};  // blocks

// The scene with two detectors, one of which drops shadows.
class Watcher {
public:
    Watcher()
        : _scene(scene),
          _reducer(
              {.width = scene.width, .height = scene.height, .format = Host::PixelFormat::Yuv420, .blockSize = blockSize}),
          _detector(MakeDetector()),
          _withShadows(MakeDetector()) {}

    // Shows every second frame up to this one.
    void WatchUntil(int last) {
        for (; _next <= last; _next += framesPerStep) {
            _scene.Render(_next, _picture);
            const std::ptrdiff_t half = (scene.width + 1) / 2;
            _reducer.Reduce(
                {.plane = {_picture.y.data(), _picture.cb.data(), _picture.cr.data()}, .stride = {scene.width, half, half}});
            constexpr coremd::Ticks second = std::chrono::seconds(1);
            coremd::Frame frame{.columns = Columns(),
                                .rows = Rows(),
                                .ycbcr = {_reducer.Ycbcr(), 3 * static_cast<std::size_t>(_reducer.BlockCount())},
                                .time = _next * second / static_cast<int>(scene.fps),
                                .fps = scene.fps};
            _detector.Detect(frame);
            frame.detectShadow = true;
            _withShadows.Detect(frame);
        }
    }

    coremd::Detector& Detector() { return _detector; }
    coremd::Detector& WithShadows() { return _withShadows; }
    int Columns() const { return _reducer.Columns(); }
    int Rows() const { return _reducer.Rows(); }

    // What the detector was shown last.
    Panel Blocks() {
        _reducer.PaintBgr();
        return FromBgr({_reducer.Bgr(), 3 * static_cast<std::size_t>(_reducer.BlockCount())});
    }

    // The same before it was reduced.
    Panel Pixels() const {
        Host::BlockReducer pixels(
            {.width = scene.width, .height = scene.height, .format = Host::PixelFormat::Yuv420, .blockSize = 1});
        const std::ptrdiff_t half = (scene.width + 1) / 2;
        pixels.Reduce(
            {.plane = {_picture.y.data(), _picture.cb.data(), _picture.cr.data()}, .stride = {scene.width, half, half}});
        pixels.PaintBgr();
        Panel panel(scene.width, scene.height);
        for (int y = 0, i = 0; y < scene.height; ++y)
            for (int x = 0; x < scene.width; ++x, i += 3)
                panel.Set(x, y, {pixels.Bgr()[i], pixels.Bgr()[i + 1], pixels.Bgr()[i + 2]});
        return panel;
    }

    Panel Background() { return FromBgr(_detector.Background().bgr); }

    // colour(value) of every block of a plane.
    template <class Value, class ColourOf>
    Panel FromPlane(const Value* plane, ColourOf colourOf) const {
        Panel panel(Columns(), Rows());
        for (int y = 0, i = 0; y < Rows(); ++y)
            for (int x = 0; x < Columns(); ++x, ++i) panel.Set(x, y, colourOf(plane[i]));
        return panel;
    }

private:
    static coremd::Detector MakeDetector() {
        std::srand(1);  // the phase of the frame cycle
        coremd::Detector detector;
        detector.AddWholePicture();
        return detector;
    }

    Panel FromBgr(std::span<const std::uint8_t> bgr) const {
        Panel panel(Columns(), Rows());
        for (int y = 0; y < Rows(); ++y)
            for (int x = 0; x < Columns(); ++x) {
                const std::size_t i = 3 * static_cast<std::size_t>(y * Columns() + x);
                panel.Set(x, y, {bgr[i], bgr[i + 1], bgr[i + 2]});
            }
        return panel;
    }

    const MdScene::Scene _scene;
    MdScene::Frame _picture;
    int _next = 0;
    Host::BlockReducer _reducer;
    coremd::Detector _detector;
    coremd::Detector _withShadows;
};

Colour MaskColour(int value) { return value ? Figure::bright : Figure::dark; }

Colour GreyColour(std::uint8_t luma) { return {luma, luma, luma}; }

Colour StateColour(std::uint8_t state) { return state == coremd::StateShadow ? Figure::shadowed : MaskColour(state); }

// A part of a picture as it was decoded, and as the detector sees it.
Panel DrawGrid(Watcher& watcher) {
    constexpr Figure::Part blocks{.left = 98, .top = 52, .width = 20, .height = 15};
    constexpr Figure::Part pixels{.left = blocks.left * blockSize,
                                  .top = blocks.top * blockSize,
                                  .width = blocks.width * blockSize,
                                  .height = blocks.height * blockSize};
    return Figure::Arrange({watcher.Pixels().Cut(pixels).Enlarged(4), watcher.Blocks().Cut(blocks).Enlarged(16, true)}, 2);
}

// The luma that the change test compares: ages 4, 2, 1 and 0, then what it finds.
Panel DrawAges(Watcher& watcher) {
    MD::MotionDetector& classes = watcher.Detector().Classes();
    std::vector<Panel> panels;
    for (const int age : {4, 2, 1, 0}) {
        const MD::FrameStatistics& s = classes._frameStatistics;
        const unsigned char* const luma =
            s._frames + static_cast<std::ptrdiff_t>((s._position + 11 - age) % 11) * s._frameSize;
        panels.push_back(watcher.FromPlane(luma, GreyColour).Cut(vanPart).Enlarged(4));
    }
    panels.push_back(watcher.FromPlane(classes._isMotionPixel, MaskColour).Cut(vanPart).Enlarged(4));
    return Figure::Arrange(panels, 5);
}

// Frame, background, what changed just now; foreground, objects with their boxes, and states of a detector that drops
// shadows.
Panel DrawMasks(Watcher& watcher) {
    coremd::Detector& detector = watcher.Detector();
    MD::MotionDetector& classes = detector.Classes();
    constexpr int factor = 2;
    Panel objects = watcher.FromPlane(classes._objectsMap, MaskColour).Enlarged(factor);
    for (const coremd::Object& object : detector.Objects()) {
        const coremd::Box box = object.Bounds();
        objects.DrawBox({.left = factor * box.left - 1,
                         .top = factor * box.top - 1,
                         .width = factor * box.Width() + 2,
                         .height = factor * box.Height() + 2},
                        Figure::marked);
    }
    const unsigned char* const states = watcher.WithShadows().Classes()._zoneResultMap;
    const std::vector<Panel> panels{watcher.Blocks().Enlarged(factor),
                                    watcher.Background().Enlarged(factor),
                                    watcher.FromPlane(classes._isMotionPixel, MaskColour).Enlarged(factor),
                                    watcher.FromPlane(classes._isObject, MaskColour).Enlarged(factor),
                                    objects,
                                    watcher.FromPlane(states, StateColour).Enlarged(factor)};
    return Figure::Arrange(panels, 3);
}

void Write(const Panel& panel, const std::string& path) {
    Video::AtomicFile file(path, "");
    Video::WritePng(panel.Picture(), file);
    file.Keep();
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 2) {
        std::fprintf(stderr, "usage: mdfigure FOLDER\n");
        return 2;
    }
    const std::string folder = std::string(argv[1]) + "/";
    Watcher watcher;
    std::vector<Panel> learning;
    for (const int frame : {60, 64, 78, vanFrame, 360}) {  // 5.0, 5.3, 6.5, 26.2 and 30 seconds
        watcher.WatchUntil(frame);
        if (frame != vanFrame) {
            learning.push_back(watcher.Background().Enlarged(2));
            continue;
        }
        Write(DrawGrid(watcher), folder + "grid.png");
        Write(DrawAges(watcher), folder + "ages.png");
        Write(DrawMasks(watcher), folder + "masks.png");
    }
    Write(Figure::Arrange(learning, 2), folder + "learning.png");
} catch (const std::exception& failure) {
    std::fprintf(stderr, "mdfigure: %s\n", failure.what());
    return 1;
}
