// How is the detector driven?
#include "video/watch/Watcher.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
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
constexpr int mostColumnsConditioned = 128;

// Between two pictures that are compared to tell what is still.
constexpr int picturesAhead = 1;

// Stated as its rate, it makes the detector take every picture as one worth learning from.
constexpr double everyPicture = 1000;

Host::PictureFormat WithBlockSize(Host::PictureFormat picture, int blockSize) {
    picture.blockSize = blockSize;
    return picture;
}

// The smallest that gives at most so many columns: three pixels in pictures of 320 columns, ten in those of 1280.
int FittingBlockSize(int pictureWidth, int pictureHeight) {
    const int across = Host::BlocksAcross(pictureWidth, mostColumnsConditioned);
    const int down = Host::BlocksAcross(pictureHeight, Host::largestGridSize);
    return std::clamp(std::max(across, down), 1, static_cast<int>(Host::Kernels::largestBlockSize));
}

// To where it is to be seen, as far as that is in the picture.
Box Moved(const Box& box, Host::Shift shift, const PictureGrid& grid) {
    const auto pixels = [](int sixteenths) { return (sixteenths + 8) >> 4; };
    const int left = std::clamp(box.x + pixels(shift.dx16), 0, grid.pictureWidth - 1);
    const int top = std::clamp(box.y + pixels(shift.dy16), 0, grid.pictureHeight - 1);
    const int right = std::clamp(box.x + box.width + pixels(shift.dx16), left + 1, grid.pictureWidth);
    const int bottom = std::clamp(box.y + box.height + pixels(shift.dy16), top + 1, grid.pictureHeight);
    return {left, top, right - left, bottom - top};
}

}  // namespace

PictureGrid GridOf(int pictureWidth, int pictureHeight, int wish, const ConditioningRules& conditioning) {
    const int chosen = conditioning.on ? BlockSizeOf(FittingBlockSize(pictureWidth, pictureHeight), conditioning)
                                       : Host::ChooseBlockSize(pictureWidth, pictureHeight, mostColumns);
    const int size = wish > 0 ? wish : chosen;
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
    : _grid(grid), _layout(picture.format), _rules(rules) {
    if (rules.conditioning.on && rules.conditioning.stabilise != Stabilise::Off) {
        _steady.emplace(WithBlockSize(picture, grid.blockSize), rules.conditioning.stabilise);
    } else {
        _reducer.emplace(WithBlockSize(picture, grid.blockSize));
    }
    AddZones();
    if (_rules.conditioning.on) {
        _conditioner.emplace(grid, picture.range, _rules.conditioning);
        _labels.resize(_isWatched.size());
        _detector.LimitToMotion(false);  // what stopped is held here, and bounded
    }
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
        const auto minSize =
            static_cast<float>(watched[i].minSize.value_or(SmallestSize(_rules.minSize, _rules.conditioning)));
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

void Watcher::Prime(const Host::Priming& firstSeconds, const std::optional<std::vector<std::uint8_t>>& remembered,
                    int backgroundPictures) {
    std::vector<std::uint8_t> background = remembered.value_or(std::vector<std::uint8_t>());
    if (!remembered) {
        background.resize(3 * _isWatched.size());
        const int pictures = backgroundPictures > 0 ? backgroundPictures : firstSeconds.Pictures();
        Host::Priming early(_grid.columns, _grid.rows, pictures);
        for (int i = 0; i < pictures; ++i) {
            early.Add(firstSeconds.Picture(i));
        }
        early.MostFrequent(picturesAhead, background.data());
    }
    Prime(background);
    _conditioner->LearnRestlessness(firstSeconds);
}

void Watcher::Prime(const std::vector<std::uint8_t>& remembered) {
    _conditioner->Prime(remembered, [this](const std::uint8_t* ycbcr, Ticks stamp) { Show(ycbcr, stamp); });
}

BlockPicture Watcher::Reduce(const Host::PictureView& picture) {
    if (_steady) {
        _steady->Reduce(picture);
        return {_steady->Ycbcr(), _steady->TakenBack()};
    }
    _reducer->Reduce(picture);
    return {_reducer->Ycbcr()};
}

void Watcher::Show(const std::uint8_t* ycbcr, Ticks stamp) {
    _detector.Detect({.columns = _grid.columns,
                      .rows = _grid.rows,
                      .ycbcr = {ycbcr, 3 * _isWatched.size()},
                      .time = coremd::Ticks(stamp),
                      .fps = _conditioner ? everyPicture : _rules.framesPerSecond,
                      .detectShadow = _rules.shadows || _conditioner,
                      .isIFrame = true});
}

// Which blocks look other than in the picture before?  Returns whether nearly all of them got brighter, or darker.
bool Watcher::CompareWithBefore(const std::uint8_t* luma) {
    const std::size_t blocks = _isWatched.size();
    std::size_t brighter = 0, darker = 0;
    _hasChanged.assign(blocks, 0);
    for (std::size_t i = 0; i < _before.size(); ++i) {
        const int change = luma[i] - _before[i];
        brighter += change >= flashLevels ? 1 : 0;
        darker += change <= -flashLevels ? 1 : 0;
        _hasChanged[i] = std::abs(change) >= flashLevels ? 1 : 0;
    }
    _before.assign(luma, luma + blocks);
    return 100 * std::max(brighter, darker) >= flashPercent * blocks;
}

Findings Watcher::Judge(const BlockPicture& picture, Ticks time) {
    ++_pictures;
    Findings findings{.time = time, .objects = {}, .pictureBlocks = static_cast<int>(_isWatched.size())};
    findings.isFlash = CompareWithBefore(picture.ycbcr);
    if (_conditioner) {
        _conditioner->OnPicture(picture, time, [this](const std::uint8_t* ycbcr, Ticks stamp) { Show(ycbcr, stamp); });
        ShapeAnswer(time);
        _shift = picture.shift;
        FindLabelled(findings);
    } else {
        Show(picture.ycbcr, time);
        FindObjects(findings);
    }
    std::stable_sort(findings.objects.begin(), findings.objects.end(),
                     [](const MovingObject& a, const MovingObject& b) { return a.blocks > b.blocks; });
    return findings;
}

void Watcher::FindObjects(Findings& findings) {
    for (const coremd::Object& object : _detector.Objects()) {
        if (object.BlockCount() > 0) {
            findings.objects.push_back({PixelBox(object.Bounds(), _grid), object.BlockCount(), ZonesOf(object)});
            for (const coremd::Block block : object.Blocks()) {
                findings.changedBlocks += _hasChanged[static_cast<std::size_t>(block.row * _grid.columns + block.column)];
            }
            if (_rules.heat) {
                CountBlocks(object);
            }
        }
    }
}

// The detector's map, as far as zones are watched: a hole in an object may be what is not.
void Watcher::ShapeAnswer(Ticks time) {
    std::fill(_labels.begin(), _labels.end(), std::uint16_t{0});
    const std::uint8_t* states = nullptr;
    for (const coremd::ZoneResult& zone : _detector.ZoneResults()) {
        std::copy(zone.Labels().begin(), zone.Labels().end(), _labels.begin());
        states = zone.States().data();
        break;  // one map for all zones
    }
    _conditioner->OnAnswer(_labels.data(), states, time);
    for (std::size_t i = 0; i < _labels.size(); ++i) {
        _labels[i] = _isWatched[i] != 0 ? _labels[i] : 0;
    }
}

void Watcher::FindLabelled(Findings& findings) {
    std::fill(_labelled.begin(), _labelled.end(), LabelledObject{});
    for (int row = 0; row < _grid.rows; ++row) {
        for (int column = 0; column < _grid.columns; ++column) {
            const auto block = static_cast<std::size_t>(row * _grid.columns + column);
            const std::size_t label = _labels[block];
            if (label == 0) {
                continue;
            }
            if (label >= _labelled.size()) {
                _labelled.resize(label + 1);
            }
            LabelledObject& object = _labelled[label];
            object.bounds = object.blocks == 0 ? coremd::Box{column, row, column, row}
                                               : coremd::Box{std::min(object.bounds.left, column), object.bounds.top,
                                                             std::max(object.bounds.right, column), row};
            ++object.blocks;
            findings.changedBlocks += _hasChanged[block];
            object.zones |= _zonesOfBlock.empty() ? 0 : _zonesOfBlock[block];
            if (_rules.heat) {
                ++_heat.counts[block];
            }
        }
    }
    for (const LabelledObject& object : _labelled) {
        if (object.blocks > 0) {
            findings.objects.push_back(Told(object));
        }
    }
}

MovingObject Watcher::Told(const LabelledObject& object) const {
    return {Moved(PixelBox(object.bounds, _grid), _shift, _grid), object.blocks, object.zones};
}

std::optional<MovingObject> Watcher::ToldAt(std::size_t block) const {
    const std::size_t label = _labels[block];
    return label != 0 ? std::optional(Told(_labelled[label])) : std::nullopt;
}

std::vector<BlockMark> Watcher::Marks() {
    std::vector<BlockMark> marks(static_cast<std::size_t>(_grid.columns) * static_cast<std::size_t>(_grid.rows));
    for (const coremd::ZoneResult& zone : _detector.ZoneResults()) {
        for (std::size_t i = 0; i < marks.size(); ++i) {  // one map for all zones
            marks[i] = _isWatched[i] != 0 && zone.States()[i] == coremd::StateShadow ? BlockMark::Shadow : BlockMark::None;
        }
        break;
    }
    if (_conditioner) {
        for (std::size_t i = 0; i < marks.size(); ++i) {
            marks[i] = _isWatched[i] != 0 && _conditioner->WithStopped()[i] != 0 ? BlockMark::Object : marks[i];
        }
        return marks;
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
    BgrPicture picture{background.columns, background.rows, std::move(background.bgr)};
    if (_conditioner) {
        _conditioner->Brighten(picture, background.known);
    }
    return picture;
}

}  // namespace Video
