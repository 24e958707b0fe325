// How is the detector driven?  Called by main through Watcher.h.
#include "Watcher.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "Failure.h"

namespace Scan {

namespace {

// The detector labels objects with 15 bits. Two objects of one block each lie at least four blocks apart within a row, or
// two rows apart, so no more than a quarter of all blocks can be objects of their own.
constexpr std::int64_t mostObjects = 32767;
constexpr std::int64_t mostBlocks = 4 * mostObjects;

Host::PictureFormat WithBlockSize(Host::PictureFormat picture, int blockSize) {
    picture.blockSize = blockSize;
    return picture;
}

}  // namespace

PictureGrid GridOf(int pictureWidth, int pictureHeight, int wish) {
    const int size = wish > 0 ? wish : Host::ChooseBlockSize(pictureWidth, pictureHeight);
    const int columns = Host::BlocksAcross(pictureWidth, size);
    const int rows = Host::BlocksAcross(pictureHeight, size);
    const bool fits = columns <= Host::largestGridSize && rows <= Host::largestGridSize;
    if (!fits || std::int64_t{columns} * rows > mostBlocks) {
        throw Failure(wish > 0 ? exitUsage : exitFailed,
                      "a picture of " + std::to_string(pictureWidth) + "x" + std::to_string(pictureHeight) +
                          " has too many blocks of " + std::to_string(size) + " pixels");
    }
    return {pictureWidth, pictureHeight, size, columns, rows};
}

Box PixelBox(const MDObjectInfo& object, const PictureGrid& grid) {
    const int left = object.left * grid.blockSize;
    const int top = object.top * grid.blockSize;
    const int right = std::min((object.right + 1) * grid.blockSize, grid.pictureWidth);
    const int bottom = std::min((object.bottom + 1) * grid.blockSize, grid.pictureHeight);
    return {left, top, right - left, bottom - top};
}

Watcher::Watcher(const Host::PictureFormat& picture, const PictureGrid& grid, const WatchRules& rules)
    : _grid(grid), _rules(rules), _reducer(WithBlockSize(picture, grid.blockSize)) {
    h15(&_detector);
    if (_rules.zones.empty()) {
        AddZone(ZoneMask({0, 0, 1, 1}, _grid));
    }
    for (const RelativeZone& zone : _rules.zones) {
        AddZone(ZoneMask(zone, _grid));
    }
}

Watcher::~Watcher() {
    h14(&_detector);
}

void Watcher::AddZone(std::vector<std::uint8_t> mask) {
    MDZoneInfo zone = {};
    zone.mask = mask.data();
    zone.maskWidth = _grid.columns;
    zone.maskHeight = _grid.rows;
    zone.minObjectWidth = static_cast<float>(_rules.minSize);
    zone.minObjectHeight = static_cast<float>(_rules.minSize);
    h12(&_detector, &zone);
}

Findings Watcher::Watch(const Host::PictureView& picture, Ticks time) {
    _reducer.Reduce(picture);
    DetectionInfo info = {};
    info.width = _reducer.Columns();
    info.height = _reducer.Rows();
    info.bgr24stride = _reducer.BgrStride();
    info.timestamp = time;
    info.bgr24ForEachBlock = _reducer.Bgr();
    info.ycbcrForEachBlock = _reducer.Ycbcr();
    info.isIFrame = 1;
    info.fps = _rules.framesPerSecond;
    info.detectShadow = _rules.shadows ? 1 : 0;
    h13(&_detector, &info);

    Findings findings{time, {}};
    MDResultInfo summary = {};
    h17(&_detector, &summary);
    for (int i = 0; i < summary.zoneResultsCount; ++i) {
        MDZoneDetectionInfo zone = {};
        if (h19(&_detector, &zone) != COREMD_DELIVERED) {
            break;
        }
        MDObjectInfo object = {};
        while (h18(&_detector, &object) == COREMD_DELIVERED) {
            if (object.pixelsCount > 0) {
                findings.objects.push_back({PixelBox(object, _grid), object.pixelsCount});
            }
        }
    }
    std::stable_sort(findings.objects.begin(), findings.objects.end(),
                     [](const MovingObject& a, const MovingObject& b) { return a.blocks > b.blocks; });
    return findings;
}

BgrPicture Watcher::Background() {
    const std::size_t blocks = static_cast<std::size_t>(_reducer.BlockCount());
    BgrPicture picture{_grid.columns, _grid.rows, std::vector<std::uint8_t>(3 * blocks)};
    std::vector<std::int32_t> known(blocks);
    h33(&_detector, picture.pixels.data(), known.data());
    return picture;
}

}  // namespace Scan
