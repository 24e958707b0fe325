// What does the native library find in the pictures that a page was shown?  Written against its public interface, apart
// from the module for pages, for tests that compare the two.
//
//     NativeFindings WIDTH HEIGHT FORMAT BLOCK RATE SMALLEST < PICTURES      FORMAT: I420, NV12, RGBA
//
// A picture is its time in milliseconds, as a double, and its bytes. A line for each: whether the history is filled, then
// left, top, right, bottom and blocks of every object, then a digest of labels, moving blocks and background.
#include <bit>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "BlockReducer.h"
#include "coreMD.hpp"

namespace {

static_assert(std::endian::native == std::endian::little, "times are read as they were written");

using Bytes = std::vector<std::uint8_t>;

// FNV-1a, as the test computes it in JavaScript.
class Digest {
public:
    void Add(unsigned value) { _state = (_state ^ value) * 16777619u; }
    std::uint32_t Value() const { return _state; }

private:
    std::uint32_t _state = 2166136261u;
};

// Limited-range BT.601 in whole numbers, rounded half up, with three planes as large as the picture.
Bytes PlanesOfRgba(const Bytes& rgba) {
    const std::size_t pixels = rgba.size() / 4;
    Bytes planes(3 * pixels);
    for (std::size_t i = 0; i < pixels; ++i) {
        const double r = rgba[4 * i], g = rgba[4 * i + 1], b = rgba[4 * i + 2];
        planes[i] = static_cast<std::uint8_t>(16 + std::floor((66 * r + 129 * g + 25 * b) / 256 + 0.5));
        planes[pixels + i] = static_cast<std::uint8_t>(128 + std::floor((-38 * r - 74 * g + 112 * b) / 256 + 0.5));
        planes[2 * pixels + i] = static_cast<std::uint8_t>(128 + std::floor((112 * r - 94 * g - 18 * b) / 256 + 0.5));
    }
    return planes;
}

void Print(coremd::Detector& detector, std::size_t blocks) {
    std::printf("%d", detector.Summary().isReady ? 1 : 0);
    Digest digest;
    std::vector<std::uint16_t> labels(blocks);
    for (const coremd::ZoneResult& result : detector.ZoneResults()) {
        labels.assign(result.Labels().begin(), result.Labels().end());
        for (const coremd::Object& object : result.Objects()) {
            const coremd::Box box = object.Bounds();
            std::printf(" %d %d %d %d %d", box.left, box.top, box.right, box.bottom, object.BlockCount());
        }
    }
    Bytes moving(blocks);
    coreMD_ReadBlocks(detector.Handle(), nullptr, nullptr, moving.data(), static_cast<std::int64_t>(blocks));
    const coremd::BackgroundPicture background = detector.Background();
    for (const std::uint16_t label : labels) digest.Add(label);
    for (const std::uint8_t is : moving) digest.Add(is);
    for (std::size_t i = 0; i < blocks; ++i)
        for (std::size_t part = 0; part < 4; ++part)
            digest.Add(!background.known[i] ? 0u : part == 3 ? 255u : background.bgr[3 * i + 2 - part]);
    std::printf(" %08x\n", static_cast<unsigned>(digest.Value()));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 7) {
        std::fputs("usage: NativeFindings WIDTH HEIGHT FORMAT BLOCK RATE SMALLEST < PICTURES\n", stderr);
        return 2;
    }
    const int width = std::atoi(argv[1]), height = std::atoi(argv[2]), blockSize = std::atoi(argv[4]);
    const std::string format = argv[3];
    const std::size_t across = static_cast<std::size_t>(width), down = static_cast<std::size_t>(height);
    const std::size_t halfAcross = (across + 1) / 2, luma = across * down, chroma = halfAcross * ((down + 1) / 2);
    Host::BlockReducer reducer({.width = width,
                                .height = height,
                                .format = format == "RGBA"   ? Host::PixelFormat::Yuv444
                                          : format == "NV12" ? Host::PixelFormat::Nv12
                                                             : Host::PixelFormat::Yuv420,
                                .blockSize = blockSize});
    const auto blocks = static_cast<std::size_t>(reducer.BlockCount());

    std::srand(1);
    coremd::Detector detector;
    const auto smallest = static_cast<float>(std::atof(argv[6]));
    detector.AddWholePicture(smallest, smallest);
    double milliseconds = 0;
    Bytes picture(format == "RGBA" ? 4 * luma : luma + 2 * chroma);
    while (std::fread(&milliseconds, sizeof milliseconds, 1, stdin) == 1) {
        if (std::fread(picture.data(), 1, picture.size(), stdin) != picture.size()) return 1;
        const Bytes planes = format == "RGBA" ? PlanesOfRgba(picture) : picture;
        const auto stride = static_cast<std::ptrdiff_t>(width), halfStride = static_cast<std::ptrdiff_t>(halfAcross);
        if (format == "RGBA")
            reducer.Reduce({.plane = {&planes[0], &planes[luma], &planes[2 * luma]}, .stride = {stride, stride, stride}});
        else if (format == "NV12")
            reducer.Reduce({.plane = {&planes[0], &planes[luma], nullptr}, .stride = {stride, 2 * halfStride, 0}});
        else
            reducer.Reduce(
                {.plane = {&planes[0], &planes[luma], &planes[luma + chroma]}, .stride = {stride, halfStride, halfStride}});
        detector.Detect({.columns = reducer.Columns(),
                         .rows = reducer.Rows(),
                         .ycbcr = {reducer.Ycbcr(), 3 * blocks},
                         .time = coremd::Ticks(std::llround(milliseconds * 10000)),
                         .fps = std::atof(argv[5])});
        Print(detector, blocks);
    }
}
