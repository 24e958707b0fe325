// What does it cost to reduce a decoded picture to blocks?  1920x1080, 4:2:0, blocks of 8: one frame again and again, in
// cache, and a decoder's pool of frames, out of cache. By the class, by the function for hosts in C, and by the loop that a
// host in C would write. Beside them what merely reading the samples costs, and, where FFmpeg is, libswscale's area scaling,
// which is not exact. Names: host/<reducer>/<cache|pool>; ns_block is per block of the 240x135 that come out.
//
// The same of other formats, 1920x1080 and 3840x2160 in blocks of 16: host/<reading|BlockReducer>/<format>/<width>.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "BlockReducer.h"
#include "KernelPlanes.h"
#include "Measure.h"
#include "coreMD-host.h"

#ifdef BENCH_HAS_SWSCALE
extern "C" {
#include <libswscale/swscale.h>
}
#endif

namespace Bench {
namespace {

constexpr int width = 1920, height = 1080, blockSize = 8;
constexpr int pooledFrames = 24;  // 75 MB: more than most last cache levels hold
constexpr int timedFrames = 48;

struct DecodedFrame {
    explicit DecodedFrame(std::uint64_t seed)
        : y(RandomBytes(width * height, seed, 16, 235)),
          cb(RandomBytes(width * height / 4, seed + 1, 16, 240)),
          cr(RandomBytes(width * height / 4, seed + 2, 16, 240)) {}

    Bytes y, cb, cr;
};

const std::vector<DecodedFrame>& Pool() {
    static const std::vector<DecodedFrame> pool = [] {
        std::vector<DecodedFrame> frames(1, DecodedFrame(1));
        frames.resize(pooledFrames, frames[0]);
        return frames;
    }();
    return pool;
}

// reduce(frame), frame after frame of the pool, or the first one only.
template <class Reduce>
void MeasureFrames(benchmark::State& state, bool isPool, Reduce reduce) {
    const std::vector<DecodedFrame>& pool = Pool();
    std::size_t next = 0;
    MeasureCalls(state, usualGrid.Blocks(), timedFrames, [&] { reduce(pool[isPool ? next++ % pool.size() : 0]); });
}

std::uint64_t SumOfWords(const Bytes& samples) {
    std::uint64_t sum = 0, word;
    for (std::size_t i = 0; i + sizeof word <= samples.size(); i += sizeof word) {
        std::memcpy(&word, samples.data() + i, sizeof word);
        sum += word;
    }
    return sum;
}

void MeasureReading(benchmark::State& state, bool isPool) {
    MeasureFrames(state, isPool, [](const DecodedFrame& frame) {
        benchmark::DoNotOptimize(SumOfWords(frame.y) + SumOfWords(frame.cb) + SumOfWords(frame.cr));
    });
}

void MeasureBlockReducer(benchmark::State& state, bool isPool) {
    Host::BlockReducer reducer(
        {.width = width, .height = height, .format = Host::PixelFormat::Yuv420, .blockSize = blockSize});
    Require(reducer.Columns() == usualGrid.columns && reducer.Rows() == usualGrid.rows, "host", "another grid comes out");
    MeasureFrames(state, isPool, [&](const DecodedFrame& frame) {
        reducer.Reduce(
            {.plane = {frame.y.data(), frame.cb.data(), frame.cr.data()}, .stride = {width, width / 2, width / 2}});
        benchmark::DoNotOptimize(reducer.Ycbcr());
        benchmark::ClobberMemory();
    });
}

void MeasureReducerInC(benchmark::State& state, bool isPool) {
    const coreMD_PictureFormat format{width, height, COREMD_YUV420, blockSize, COREMD_LIMITED_RANGE, 0, 0, 0, 0};
    coreMD_Reducer* reducer = nullptr;
    Require(coreMD_CreateReducer(&format, COREMD_STABILISE_OFF, &reducer) == COREMD_HOST_DONE, "host", "no reducer");
    Bytes planes(3 * usualGrid.Blocks());
    MeasureFrames(state, isPool, [&](const DecodedFrame& frame) {
        const coreMD_Picture picture{{frame.y.data(), frame.cb.data(), frame.cr.data()}, {width, width / 2, width / 2}};
        coreMD_Reduce(reducer, &picture, planes.data(), static_cast<std::int64_t>(planes.size()), nullptr);
        benchmark::ClobberMemory();
    });
    coreMD_DestroyReducer(&reducer);
}

// Block by block, as it is written down when nobody thinks of the processor.
void ReduceSimply(const std::uint8_t* samples, int columns, int rows, int size, std::uint8_t* means) {
    for (int top = 0; top < rows; top += size) {
        for (int left = 0; left < columns; left += size) {
            unsigned sum = 0, count = 0;
            for (int y = top; y < top + size && y < rows; ++y)
                for (int x = left; x < left + size && x < columns; ++x, ++count) sum += samples[y * columns + x];
            *means++ = static_cast<std::uint8_t>((sum + count / 2) / count);
        }
    }
}

void MeasureSimpleLoop(benchmark::State& state, bool isPool) {
    Bytes planes(3 * usualGrid.Blocks());
    MeasureFrames(state, isPool, [&](const DecodedFrame& frame) {
        ReduceSimply(frame.y.data(), width, height, blockSize, planes.data());
        ReduceSimply(frame.cb.data(), width / 2, height / 2, blockSize / 2, planes.data() + usualGrid.Blocks());
        ReduceSimply(frame.cr.data(), width / 2, height / 2, blockSize / 2, planes.data() + 2 * usualGrid.Blocks());
        benchmark::ClobberMemory();
    });
}

struct Format {
    const char* name;
    Host::PixelFormat format;
};
constexpr Format otherFormats[] = {{"yuv420", Host::PixelFormat::Yuv420},
                                   {"nv12", Host::PixelFormat::Nv12},
                                   {"p010", Host::PixelFormat::P010},
                                   {"yuv420p10", Host::PixelFormat::Yuv420P10}};

// A picture of so many pixels across, 16 to 9, again and again; read or reduced.
void MeasureFormat(benchmark::State& state, Format format, int across, bool isReduced) {
    const int down = across * 9 / 16;
    const Host::SampleLayout layout = Host::SampleLayoutOf(format.format);
    const int lumaRow = across * layout.bytes, chromaRow = across / 2 * layout.ChromaBytes();
    std::vector<Bytes> planes(1, RandomBytes(static_cast<std::size_t>(lumaRow) * static_cast<std::size_t>(down), 1, 0, 255));
    const auto chromaBytes = static_cast<std::size_t>(chromaRow) * static_cast<std::size_t>(down) / 2;
    while (static_cast<int>(planes.size()) < layout.planes)
        planes.push_back(RandomBytes(chromaBytes, planes.size(), 0, 255));
    Host::PictureView view{.plane = {}, .stride = {lumaRow, chromaRow, chromaRow}};
    for (std::size_t i = 0; i < planes.size(); ++i) view.plane[i] = planes[i].data();
    Host::BlockReducer reducer(
        {.width = across, .height = down, .format = format.format, .blockSize = Host::ChooseBlockSize(across, down)});
    MeasureCalls(state, usualGrid.Blocks(), timedFrames / 2, [&] {
        if (isReduced) reducer.Reduce(view);
        else
            for (const Bytes& plane : planes) benchmark::DoNotOptimize(SumOfWords(plane));
        benchmark::ClobberMemory();
    });
}

#ifdef BENCH_HAS_SWSCALE
void MeasureAreaScaling(benchmark::State& state, bool isPool) {
    SwsContext* const context = sws_getContext(width, height, AV_PIX_FMT_YUV420P, usualGrid.columns, usualGrid.rows,
                                               AV_PIX_FMT_YUV444P, SWS_AREA, nullptr, nullptr, nullptr);
    Require(context, "host", "libswscale has no such conversion");
    Bytes planes(3 * usualGrid.Blocks());
    MeasureFrames(state, isPool, [&](const DecodedFrame& frame) {
        const std::uint8_t* const source[] = {frame.y.data(), frame.cb.data(), frame.cr.data()};
        const int sourceStride[] = {width, width / 2, width / 2};
        std::uint8_t* const target[] = {planes.data(), planes.data() + usualGrid.Blocks(),
                                        planes.data() + 2 * usualGrid.Blocks()};
        const int targetStride[] = {usualGrid.columns, usualGrid.columns, usualGrid.columns};
        sws_scale(context, source, sourceStride, 0, height, target, targetStride);
        benchmark::ClobberMemory();
    });
    sws_freeContext(context);
}
#endif

[[maybe_unused]] const bool registered = [] {
    for (const bool isPool : {false, true}) {
        const std::string memory = isPool ? "pool" : "cache";
        Register("host/reading/" + memory, 5, [=](benchmark::State& state) { MeasureReading(state, isPool); });
        Register("host/BlockReducer/" + memory, 5, [=](benchmark::State& state) { MeasureBlockReducer(state, isPool); });
        Register("host/coreMD_Reduce/" + memory, 5, [=](benchmark::State& state) { MeasureReducerInC(state, isPool); });
        Register("host/plain_loop/" + memory, 5, [=](benchmark::State& state) { MeasureSimpleLoop(state, isPool); });
#ifdef BENCH_HAS_SWSCALE
        Register("host/swscale/" + memory, 5, [=](benchmark::State& state) { MeasureAreaScaling(state, isPool); });
#endif
    }
    for (const Format format : otherFormats)
        for (const int across : {width, 2 * width})
            for (const bool isReduced : {false, true})
                Register(std::string("host/") + (isReduced ? "BlockReducer/" : "reading/") + format.name + "/" +
                             std::to_string(across),
                         5, [=](benchmark::State& state) { MeasureFormat(state, format, across, isReduced); });
    return true;
}();

}  // namespace
}  // namespace Bench
