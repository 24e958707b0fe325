// How is the detector driven?
#include "video/watch/Watcher.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <utility>

#include "conditioning/kernels/LumaCounts.h"
#include "conditioning/kernels/ObjectLabels.h"
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

ObjectSizes SizesOf(const WatchRules& rules) { return {SmallestSize(rules.minSize, rules.conditioning), rules.maxSize}; }

Watcher::Watcher(const Host::PictureFormat& picture, const PictureGrid& grid, const WatchRules& rules)
    : _grid(grid), _layout(picture.format), _rules(rules) {
    if (rules.conditioning.on && rules.conditioning.stabilise != Stabilise::Off) {
        _steady.emplace(WithBlockSize(picture, grid.blockSize), rules.conditioning.stabilise);
    } else {
        _reducer.emplace(WithBlockSize(picture, grid.blockSize));
    }
    AddZones();
    if (_rules.conditioning.on) {
        _conditioner.emplace(grid.columns, grid.rows, picture.range, _rules.conditioning.sensitivity);
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
    const Extent everything{_grid.columns, _grid.rows};
    bool isLimited = false;
    for (std::size_t i = 0; i < watched.size(); ++i) {
        const ObjectSizes sizes = SizesIn(watched[i], SizesOf(_rules));
        const auto minSize = static_cast<float>(sizes.smallest);
        const Extent largest = ExtentOf(sizes.largest, _grid);
        isLimited = isLimited || largest.columns < everything.columns || largest.rows < everything.rows;
        _watched.push_back({watched[i].name, WatchedBlocks(watched[i], _excluded, _grid), minSize, largest});
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
    _largeOf.resize(isLimited ? _excluded.size() : 0);
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

// Leaves those zones in which the object is not too large. Absent: there are any.
std::optional<LargeObject> Watcher::Excess(const coremd::Box& bounds, std::uint64_t& zones) const {
    if (_largeOf.empty()) {
        return std::nullopt;
    }
    const Extent extent{bounds.Width(), bounds.Height()};
    LargeObject excess{extent, {0, 0}};
    bool isTold = false;
    for (std::size_t i = 0; i < _watched.size(); ++i) {
        const std::uint64_t zone = std::uint64_t{1} << i;
        const Extent& largest = _watched[i].largest;
        if (!_zonesOfBlock.empty() && (zones & zone) == 0) {
            continue;
        }
        if (extent.columns <= largest.columns && extent.rows <= largest.rows) {
            isTold = true;
            continue;
        }
        zones &= ~zone;
        const bool isMore = largest.columns * largest.rows >= excess.largest.columns * excess.largest.rows;
        excess.largest = isMore ? largest : excess.largest;
    }
    return isTold ? std::nullopt : std::optional(excess);
}

std::optional<LargeObject> Watcher::TooLargeAt(std::size_t block) const {
    const std::size_t place = _largeOf.empty() ? 0 : _largeOf[block];
    return place != 0 ? std::optional(_large[place - 1]) : std::nullopt;
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
    _hasChanged.resize(blocks);
    const Host::Kernels::LumaChanges changes =
        Host::Kernels::MarkLumaChanges(luma, _before.data(), flashLevels, _hasChanged.data(), _before.size());
    _before.assign(luma, luma + blocks);
    return 100 * std::max(changes.brighter, changes.darker) >= flashPercent * blocks;
}

Findings Watcher::Judge(const BlockPicture& picture, Ticks time) {
    ++_pictures;
    _heat.frames += _rules.heat ? 1 : 0;
    Findings findings{.time = time, .objects = {}, .pictureBlocks = static_cast<int>(_isWatched.size())};
    findings.isFlash = CompareWithBefore(picture.ycbcr);
    _large.clear();
    std::fill(_largeOf.begin(), _largeOf.end(), std::size_t{0});
    if (_conditioner) {
        const auto show = [this](const std::uint8_t* ycbcr, Ticks stamp) { Show(ycbcr, stamp); };
        _conditioner->OnPicture(picture.ycbcr, picture.shift, time, show);
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
        if (object.BlockCount() == 0) {
            continue;
        }
        std::uint64_t zones = ZonesOf(object);
        if (const std::optional<LargeObject> excess = Excess(object.Bounds(), zones)) {
            _large.push_back(*excess);
            for (const coremd::Block block : object.Blocks()) {
                _largeOf[static_cast<std::size_t>(block.row * _grid.columns + block.column)] = _large.size();
            }
            continue;
        }
        findings.objects.push_back({PixelBox(object.Bounds(), _grid), object.BlockCount(), zones});
        for (const coremd::Block block : object.Blocks()) {
            findings.changedBlocks += _hasChanged[static_cast<std::size_t>(block.row * _grid.columns + block.column)];
        }
        if (_rules.heat) {
            CountBlocks(object);
        }
    }
}

// The detector's map, as far as zones are watched: a hole in an object may be what is not.
void Watcher::ShapeAnswer(Ticks time) {
    const std::uint8_t* states = nullptr;
    for (const coremd::ZoneResult& zone : _detector.ZoneResults()) {
        std::copy(zone.Labels().begin(), zone.Labels().end(), _labels.begin());
        states = zone.States().data();
        break;  // one map for all zones
    }
    if (!states) {
        std::fill(_labels.begin(), _labels.end(), std::uint16_t{0});
    }
    _conditioner->OnAnswer(_labels.data(), states, time);
    for (std::size_t i = 0; i < _labels.size(); ++i) {
        _labels[i] = _isWatched[i] != 0 ? _labels[i] : 0;
    }
}

void Watcher::Outline(const std::uint16_t* labels, std::vector<LabelledObject>& objects) const {
    std::fill(objects.begin(), objects.end(), LabelledObject{});
    Host::Kernels::ForEachLabelled(labels, _isWatched.size(), [&](std::size_t block) {
        if (_isWatched[block] == 0) {
            return;
        }
        const std::size_t label = labels[block];
        if (label >= objects.size()) {
            objects.resize(label + 1);
        }
        const int row = static_cast<int>(block) / _grid.columns, column = static_cast<int>(block) % _grid.columns;
        LabelledObject& object = objects[label];
        object.bounds = object.blocks == 0 ? coremd::Box{column, row, column, row}
                                           : coremd::Box{std::min(object.bounds.left, column), object.bounds.top,
                                                         std::max(object.bounds.right, column), row};
        ++object.blocks;
        object.zones |= _zonesOfBlock.empty() ? 0 : _zonesOfBlock[block];
    });
}

void Watcher::FindLabelled(Findings& findings) {
    Outline(_labels.data(), _labelled);
    std::vector<std::size_t> largeOf(_largeOf.empty() ? 0 : _labelled.size());  // [label]
    for (std::size_t label = 0; label < largeOf.size(); ++label) {
        LabelledObject& object = _labelled[label];
        if (const auto excess = object.blocks > 0 ? Excess(object.bounds, object.zones) : std::nullopt) {
            _large.push_back(*excess);
            largeOf[label] = _large.size();
            object.blocks = 0;
        }
    }
    Host::Kernels::ForEachLabelled(_labels.data(), _labels.size(), [&](std::size_t block) {
        if (!largeOf.empty() && largeOf[_labels[block]] != 0) {
            _largeOf[block] = largeOf[_labels[block]];
            _labels[block] = 0;
            return;
        }
        findings.changedBlocks += _hasChanged[block];
        if (_rules.heat) {
            ++_heat.counts[block];
        }
    });
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
        const std::uint16_t* const labels = _conditioner->WithStopped();
        Outline(labels, _stopped);
        for (std::size_t i = 0; i < marks.size(); ++i) {
            if (_isWatched[i] != 0 && labels[i] != 0) {
                LabelledObject& object = _stopped[labels[i]];
                marks[i] = Excess(object.bounds, object.zones) ? marks[i] : BlockMark::Object;
            }
        }
        return marks;
    }
    for (const coremd::Object& object : _detector.Objects()) {
        for (const coremd::Block block : object.Blocks()) {
            const auto i = static_cast<std::size_t>(block.row * _grid.columns + block.column);
            marks[i] = TooLargeAt(i) ? marks[i] : BlockMark::Object;
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
        _conditioner->Brighten(picture.pixels.data(), background.known.data());
    }
    return picture;
}

}  // namespace Video
