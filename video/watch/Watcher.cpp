// How is the detector driven?
#include "video/watch/Watcher.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <utility>

#include "video/base/BgrPicture.h"
#include "video/base/BlockMark.h"
#include "video/base/Box.h"
#include "video/base/Failure.h"
#include "video/base/Findings.h"
#include "video/base/PictureGrid.h"
#include "video/time/TickTime.h"
#include "video/zones/Zone.h"
#include "video/zones/ZoneMask.h"

namespace Video {

namespace {

// The detector labels objects with 15 bits. Two objects of one block each lie at least four blocks apart within a row, or
// two rows apart, so no more than a quarter of all blocks can be objects of their own.
constexpr std::int64_t mostObjects = 32767;
constexpr std::int64_t mostBlocks = 4 * mostObjects;

// Twice as many columns are four times the work and find hardly more: docs/mdscan.md has the comparison.
constexpr int mostColumns = 160;

Host::PictureFormat WithBlockSize(Host::PictureFormat picture, int blockSize) {
    picture.blockSize = blockSize;
    return picture;
}

}  // namespace

PictureGrid GridOf(int pictureWidth, int pictureHeight, int wish) {
    const int size = wish > 0 ? wish : Host::ChooseBlockSize(pictureWidth, pictureHeight, mostColumns);
    const int columns = Host::BlocksAcross(pictureWidth, size);
    const int rows = Host::BlocksAcross(pictureHeight, size);
    const bool fits = columns <= Host::largestGridSize && rows <= Host::largestGridSize;
    if (!fits || std::int64_t{columns} * rows > mostBlocks) {
        throw Failure(wish > 0 ? Concern::Usage : Concern::Input,
                      "a picture of " + std::to_string(pictureWidth) + "x" + std::to_string(pictureHeight) +
                          " has too many blocks of " + std::to_string(size) + " pixels");
    }
    return {pictureWidth, pictureHeight, size, columns, rows};
}

Box PixelBox(const coremd::Box& blocks, const PictureGrid& grid) {
    const int left = blocks.left * grid.blockSize;
    const int top = blocks.top * grid.blockSize;
    const int right = std::min((blocks.right + 1) * grid.blockSize, grid.pictureWidth);
    const int bottom = std::min((blocks.bottom + 1) * grid.blockSize, grid.pictureHeight);
    return {left, top, right - left, bottom - top};
}

Watcher::Watcher(const Host::PictureFormat& picture, const PictureGrid& grid, const WatchRules& rules)
    : _grid(grid), _layout(picture.format), _rules(rules), _reducer(WithBlockSize(picture, grid.blockSize)) {
    AddZones();
    if (_rules.heat) {
        const auto blocks = static_cast<std::size_t>(grid.columns) * static_cast<std::size_t>(grid.rows);
        _heat = {.grid = grid, .counts = std::vector<std::uint32_t>(blocks)};
        _countedAt.resize(blocks);
    }
}

void Watcher::AddZones() {
    std::vector<Zone> watched;
    std::copy_if(_rules.zones.begin(), _rules.zones.end(), std::back_inserter(watched),
                 [](const Zone& zone) { return !zone.exclude; });
    const bool named = !watched.empty();
    if (!named) {
        watched.push_back(RectangleZone("", {0, 0, 1, 1}));
    }
    _excluded = ExcludedBlocks(_rules.zones, _grid);
    _isWatched.assign(_excluded.size(), 0);
    _zonesOfBlock.assign(named ? _excluded.size() : 0, 0);
    for (std::size_t i = 0; i < watched.size(); ++i) {
        const auto minSize = static_cast<float>(watched[i].minSize.value_or(_rules.minSize));
        _watched.push_back({watched[i].name, WatchedBlocks(watched[i], _excluded, _grid), minSize});
        const std::vector<std::uint8_t>& mask = _watched.back().mask;
        _detector.AddZone({.mask = mask,
                           .columns = _grid.columns,
                           .rows = _grid.rows,
                           .minObjectWidth = minSize,
                           .minObjectHeight = minSize});
        for (std::size_t block = 0; block < mask.size(); ++block) {
            _isWatched[block] |= mask[block];
            if (named) {
                _zonesOfBlock[block] |= std::uint64_t{mask[block]} << i;
            }
        }
    }
}

std::uint64_t Watcher::ZonesOf(const coremd::Object& object) const {
    std::uint64_t zones = 0;
    if (!_zonesOfBlock.empty()) {
        for (const coremd::Block block : object.Blocks()) {
            zones |= _zonesOfBlock[static_cast<std::size_t>(block.row * _grid.columns + block.column)];
        }
    }
    return zones;
}

void Watcher::CountBlocks(const coremd::Object& object) {
    for (const coremd::Block block : object.Blocks()) {
        const auto index = static_cast<std::size_t>(block.row * _grid.columns + block.column);
        _heat.counts[index] += _countedAt[index] == _pictures ? 0 : 1;
        _countedAt[index] = _pictures;
    }
}

Findings Watcher::Watch(const Host::PictureView& picture, Ticks time) {
    ++_pictures;
    _reducer.Reduce(picture);
    _detector.Detect({.columns = _reducer.Columns(),
                      .rows = _reducer.Rows(),
                      .ycbcr = {_reducer.Ycbcr(), 3 * static_cast<std::size_t>(_reducer.BlockCount())},
                      .time = coremd::Ticks(time),
                      .fps = _rules.framesPerSecond,
                      .detectShadow = _rules.shadows,
                      .isIFrame = true});
    Findings findings{time, {}};
    for (const coremd::Object& object : _detector.Objects()) {
        if (object.BlockCount() > 0) {
            findings.objects.push_back({PixelBox(object.Bounds(), _grid), object.BlockCount(), ZonesOf(object)});
            if (_rules.heat) {
                CountBlocks(object);
            }
        }
    }
    std::stable_sort(findings.objects.begin(), findings.objects.end(),
                     [](const MovingObject& a, const MovingObject& b) { return a.blocks > b.blocks; });
    return findings;
}

std::vector<BlockMark> Watcher::Marks() {
    std::vector<BlockMark> marks(static_cast<std::size_t>(_grid.columns) * static_cast<std::size_t>(_grid.rows));
    for (const coremd::ZoneResult& zone : _detector.ZoneResults()) {
        for (std::size_t i = 0; i < marks.size(); ++i) {  // one map for all zones
            marks[i] = _isWatched[i] != 0 && zone.States()[i] == coremd::StateShadow ? BlockMark::Shadow : BlockMark::None;
        }
        break;
    }
    for (const coremd::Object& object : _detector.Objects()) {
        for (const coremd::Block block : object.Blocks()) {
            marks[static_cast<std::size_t>(block.row * _grid.columns + block.column)] = BlockMark::Object;
        }
    }
    return marks;
}

bool Watcher::Suits(const Host::PictureFormat& picture) const {
    return picture.width == _grid.pictureWidth && picture.height == _grid.pictureHeight && picture.format == _layout;
}

BgrPicture Watcher::Background() {
    coremd::BackgroundPicture background = _detector.Background();
    return {background.columns, background.rows, std::move(background.bgr)};
}

}  // namespace Video
