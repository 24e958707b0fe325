// How does a page detect motion?  A module of WebAssembly that holds one detector: package/detector.js makes an instance of
// it for each, writes a picture where `picture` says, calls `detect`, and reads what was found where the others say.
//
// `begin` comes first, and once. An address is good until the next call. A broken condition writes its text to standard
// error and traps, which ends this instance and no other.
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <vector>

#include "BlockReducer.h"
#include "PictureStore.h"
#include "coreMD.hpp"

#define WEB_EXPORT(name) extern "C" __attribute__((export_name(#name)))

namespace {

class BrowserDetector {
public:
    BrowserDetector(int width, int height, Web::Format format, int blockSize)
        : picture(width, height, format),
          reducer({.width = width, .height = height, .format = Web::ReducedAs(format), .blockSize = blockSize}) {}

    void Detect(const coremd::Frame& frame) {
        detector.Detect(frame);
        isReady = detector.Summary().isReady;
        objects.clear();
        for (const coremd::Object& object : detector.Objects()) {
            const coremd::Box box = object.Bounds();
            objects.insert(objects.end(), {box.left, box.top, box.right, box.bottom, object.BlockCount()});
        }
    }

    std::int32_t ObjectCount() const { return static_cast<std::int32_t>(objects.size() / 5); }
    std::size_t BlockCount() const { return static_cast<std::size_t>(reducer.BlockCount()); }

    Web::PictureStore picture;
    Host::BlockReducer reducer;
    coremd::Detector detector;
    bool isReady = false;                // whether the history is filled
    std::vector<std::int32_t> objects;   // left, top, right, bottom and number of blocks of every object
    std::vector<std::uint8_t> moving;    // [block] {0,255}
    std::vector<std::uint8_t> coloured;  // 4 * [block]: RGBA
};

std::optional<BrowserDetector> running;

coremd::Zone WholePicture(const std::uint8_t* cell, double smallestWidth, double smallestHeight) {
    return {.mask = {cell, 1},
            .columns = 1,
            .rows = 1,
            .minObjectWidth = static_cast<float>(smallestWidth),
            .minObjectHeight = static_cast<float>(smallestHeight)};
}

constexpr std::uint8_t active = 255;

}  // namespace

// package/detector.js has checked: sizes are at least 1, the grid has at most 9999 columns and rows, fractions are 0..1.
WEB_EXPORT(begin)
void Begin(std::int32_t width, std::int32_t height, std::int32_t format, std::int32_t blockSize, double smallestWidth,
           double smallestHeight) {
    std::srand(1);  // the detector draws the phase of its frame cycle: the same in every instance
    running.emplace(width, height, static_cast<Web::Format>(format), blockSize);
    running->detector.AddZone(WholePicture(&active, smallestWidth, smallestHeight));
}

WEB_EXPORT(picture) std::uint8_t* Picture() { return running->picture.Bytes(); }
WEB_EXPORT(pictureBytes) std::int32_t PictureBytes() { return static_cast<std::int32_t>(running->picture.ByteCount()); }
WEB_EXPORT(columns) std::int32_t Columns() { return running->reducer.Columns(); }
WEB_EXPORT(rows) std::int32_t Rows() { return running->reducer.Rows(); }

// Looks at the picture, which was taken at a time of `ticks`, of 100 ns. Returns how many objects there are.
WEB_EXPORT(detect)
std::int32_t Detect(double ticks, double framesPerSecond, std::int32_t detectShadow) {
    running->reducer.Reduce(running->picture.View());
    running->Detect({.columns = running->reducer.Columns(),
                     .rows = running->reducer.Rows(),
                     .ycbcr = {running->reducer.Ycbcr(), 3 * running->BlockCount()},
                     .time = coremd::Ticks(static_cast<std::int64_t>(ticks)),
                     .fps = framesPerSecond,
                     .detectShadow = detectShadow != 0});
    return running->ObjectCount();
}

WEB_EXPORT(isReady) std::int32_t IsReady() { return running->isReady; }

// 5 * [object]: left, top, right, bottom in blocks, ends included, and the number of blocks.
WEB_EXPORT(objects) const std::int32_t* Objects() { return running->objects.data(); }

// [block] 0: no object; else the place of the block's object, from 1. Null before there is a result.
WEB_EXPORT(labels) const std::uint16_t* Labels() {
    const std::uint16_t* labels = nullptr;
    for (const coremd::ZoneResult& result : running->detector.ZoneResults()) labels = result.Labels().data();
    return labels;
}

// [block] 255 where the last picture differed from the background, else 0.
WEB_EXPORT(moving) const std::uint8_t* Moving() {
    running->moving.resize(running->BlockCount());
    coreMD_ReadBlocks(running->detector.Handle(), nullptr, nullptr, running->moving.data(), running->reducer.BlockCount());
    return running->moving.data();
}

// 4 * [block]: the learned background as RGBA, transparent where none is known.
WEB_EXPORT(background) const std::uint8_t* Background() {
    const coremd::BackgroundPicture background = running->detector.Background();
    running->coloured.assign(4 * running->BlockCount(), 0);
    for (std::size_t i = 0; i < background.known.size(); ++i) {
        if (!background.known[i]) continue;
        for (std::size_t part = 0; part < 3; ++part) running->coloured[4 * i + part] = background.bgr[3 * i + 2 - part];
        running->coloured[4 * i + 3] = 255;
    }
    return running->coloured.data();
}

// Objects smaller than these fractions of the picture are left out from now on; what was learned stays.
WEB_EXPORT(setSmallest) void SetSmallest(double width, double height) {
    const coremd::Zone zone = WholePicture(&active, width, height);
    running->detector = running->detector.ReplaceZones({&zone, 1});
}

WEB_EXPORT(version) std::int32_t Version() { return coreMD_Version(); }
