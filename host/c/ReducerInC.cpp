// How does a host in C reduce pictures?  coreMD-host.h states what is promised.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>

#include "BlockReducer.h"
#include "c/Border.h"
#include "conditioning/SteadyReduction.h"
#include "coreMD-host.h"
#include "coreMD.h"
#include "kernels/BlockColour.h"

using namespace Host;
using namespace Host::InC;

namespace {

constexpr std::int32_t largestBlock = Kernels::largestBlockSize;         // pixels
constexpr std::int32_t largestPicture = largestGridSize * largestBlock;  // pixels
constexpr std::int64_t mostBlocks = BlocksOf(largestGridSize, largestGridSize);

constexpr std::array formats = {PixelFormat::Yuv420, PixelFormat::Yuv422, PixelFormat::Yuv444,   PixelFormat::Nv12,
                                PixelFormat::Grey,   PixelFormat::P010,   PixelFormat::Yuv420P10};
static_assert(formats[COREMD_GREY] == PixelFormat::Grey && formats.size() == COREMD_YUV420P10 + 1);

PixelFormat FormatOf(std::int32_t layout) { return formats[static_cast<std::size_t>(layout)]; }

bool IsWithin(std::int32_t value, std::int32_t least, std::int32_t most) { return value >= least && value <= most; }

// With the size of the part that counts; absent where a number is out of its range.
std::optional<coreMD_PictureFormat> Completed(coreMD_PictureFormat format) {
    const bool isPicture = IsWithin(format.width, 1, largestPicture) && IsWithin(format.height, 1, largestPicture);
    if (!isPicture || !IsWithin(format.layout, 0, formats.size() - 1) || !IsWithin(format.blockSize, 1, largestBlock) ||
        !IsRange(format.range) || !IsWithin(format.cropLeft, 0, format.width - 1) ||
        !IsWithin(format.cropTop, 0, format.height - 1))
        return std::nullopt;
    const std::int32_t widest = format.width - format.cropLeft, highest = format.height - format.cropTop;
    if (!IsWithin(format.cropWidth, 0, widest) || !IsWithin(format.cropHeight, 0, highest)) return std::nullopt;
    if (format.cropWidth == 0) format.cropWidth = widest;
    if (format.cropHeight == 0) format.cropHeight = highest;
    const SampleLayout layout = SampleLayoutOf(FormatOf(format.layout));
    const bool isOnChroma = format.cropLeft % layout.columnsPerChroma == 0 && format.cropTop % layout.rowsPerChroma == 0;
    const bool fits = BlocksAcross(format.cropWidth, format.blockSize) <= largestGridSize &&
                      BlocksAcross(format.cropHeight, format.blockSize) <= largestGridSize;
    return isOnChroma && fits ? std::optional(format) : std::nullopt;
}

PictureFormat Cropped(const coreMD_PictureFormat& format) {
    return {.width = format.cropWidth,
            .height = format.cropHeight,
            .format = FormatOf(format.layout),
            .blockSize = format.blockSize,
            .range = RangeOf(format.range)};
}

}  // namespace

struct coreMD_Reducer {
    coreMD_Reducer(const coreMD_PictureFormat& completed, std::int32_t stabilise)
        : format(completed), layout(SampleLayoutOf(FormatOf(completed.layout))) {
        if (stabilise == COREMD_STABILISE_OFF) plain.emplace(Cropped(format));
        else steady.emplace(Cropped(format), stabilise == COREMD_STABILISE_ON ? Stabilise::On : Stabilise::Auto);
    }

    int Columns() const { return BlocksAcross(format.cropWidth, format.blockSize); }
    int Rows() const { return BlocksAcross(format.cropHeight, format.blockSize); }

    // The status of a picture, and what is to be reduced of it.
    std::int32_t Crop(const coreMD_Picture& picture, PictureView& view) const;

    const coreMD_PictureFormat format;  // completed
    const SampleLayout layout;
    std::optional<BlockReducer> plain;  // one of the two
    std::optional<SteadyReduction> steady;
};

std::int32_t coreMD_Reducer::Crop(const coreMD_Picture& picture, PictureView& view) const {
    for (std::size_t plane = 0; plane < static_cast<std::size_t>(layout.planes); ++plane) {
        const bool isLuma = plane == 0;
        const std::ptrdiff_t columnStep = isLuma ? 1 : layout.columnsPerChroma;
        const std::ptrdiff_t rowStep = isLuma ? 1 : layout.rowsPerChroma;
        const std::ptrdiff_t bytes = isLuma ? layout.bytes : layout.ChromaBytes();
        const std::ptrdiff_t rowBytes = (format.width + columnStep - 1) / columnStep * bytes;
        const std::ptrdiff_t stride = picture.stride[plane];
        if (!picture.plane[plane]) return COREMD_HOST_NULL;
        if (format.height > rowStep && stride > -rowBytes && stride < rowBytes) return COREMD_HOST_OUT_OF_RANGE;
        view.plane[plane] = picture.plane[plane] + format.cropTop / rowStep * stride + format.cropLeft / columnStep * bytes;
        view.stride[plane] = stride;
    }
    return COREMD_HOST_DONE;
}

const char* coreMD_HostStatusText(int32_t status) {
    constexpr std::array texts = {"done",
                                  "a pointer is null that must not be",
                                  "a number is out of its range",
                                  "there is no room for it",
                                  "memory ran out",
                                  "not now: another call has to come before, or the time steps back",
                                  "for another grid, size of picture or size of block",
                                  "no memory of a background or a detector",
                                  "the memory is damaged",
                                  "a memory of the other kind",
                                  "made by another version",
                                  "a function of the host failed"};
    static_assert(texts.size() == COREMD_HOST_FAILED + 1);
    return status >= 0 && status <= COREMD_HOST_FAILED ? texts[static_cast<std::size_t>(status)] : "unknown status";
}

int32_t coreMD_HostVersion(void) { return COREMD_VERSION; }

int32_t coreMD_ChooseBlockSize(int32_t width, int32_t height, int32_t mostColumns) {
    if (!IsWithin(width, 1, largestPicture) || !IsWithin(height, 1, largestPicture) || mostColumns < 1) return 0;
    return ChooseBlockSize(width, height, mostColumns);
}

int32_t coreMD_CreateReducer(const coreMD_PictureFormat* format, int32_t stabilise, coreMD_Reducer** reducer) {
    if (!reducer) return COREMD_HOST_NULL;
    *reducer = nullptr;
    if (!format) return COREMD_HOST_NULL;
    const std::optional<coreMD_PictureFormat> completed = Completed(*format);
    if (!completed || !IsWithin(stabilise, COREMD_STABILISE_OFF, COREMD_STABILISE_ON)) return COREMD_HOST_OUT_OF_RANGE;
    return Guarded([&] {
        *reducer = std::make_unique<coreMD_Reducer>(*completed, stabilise).release();
        return COREMD_HOST_DONE;
    });
}

void coreMD_DestroyReducer(coreMD_Reducer** reducer) {
    if (!reducer) return;
    delete *reducer;
    *reducer = nullptr;
}

int32_t coreMD_ReducerGrid(const coreMD_Reducer* reducer, coreMD_Grid* grid) {
    if (!reducer || !grid) return COREMD_HOST_NULL;
    const coreMD_PictureFormat& format = reducer->format;
    *grid = {reducer->Columns(), reducer->Rows(), format.cropWidth, format.cropHeight, format.blockSize};
    return COREMD_HOST_DONE;
}

int32_t coreMD_Reduce(coreMD_Reducer* reducer, const coreMD_Picture* picture, uint8_t* ycbcr, int64_t size,
                      coreMD_Shift* shift) {
    if (!reducer || !picture || !ycbcr) return COREMD_HOST_NULL;
    const std::int64_t bytes = 3 * BlocksOf(reducer->Columns(), reducer->Rows());
    if (size < bytes) return COREMD_HOST_NO_ROOM;
    PictureView view;
    if (const std::int32_t status = reducer->Crop(*picture, view); status != COREMD_HOST_DONE) return status;
    Shift takenBack;
    if (reducer->plain) {
        reducer->plain->Reduce(view, ycbcr);
    } else {
        reducer->steady->Reduce(view);
        std::copy_n(reducer->steady->Ycbcr(), bytes, ycbcr);
        takenBack = reducer->steady->TakenBack();
    }
    if (shift) *shift = {takenBack.dx16, takenBack.dy16};
    return COREMD_HOST_DONE;
}

int32_t coreMD_PaintBlocks(const uint8_t* ycbcr, int64_t blocks, int32_t range, uint8_t* bgr) {
    if (!ycbcr || !bgr) return COREMD_HOST_NULL;
    if (blocks < 1 || blocks > mostBlocks || !IsRange(range)) return COREMD_HOST_OUT_OF_RANGE;
    const auto count = static_cast<std::size_t>(blocks);
    Kernels::ColourBlocks(ycbcr, ycbcr + count, ycbcr + 2 * count,
                          range == COREMD_FULL_RANGE ? Kernels::fullRangeMatrix : Kernels::limitedRangeMatrix, bgr, count);
    return COREMD_HOST_DONE;
}
