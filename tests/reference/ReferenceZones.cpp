// Which moving blocks form an object?  Zones on the grid, objects of one zone, small objects, and the merge of all zones.
#include "ReferenceModel.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace Reference {

static constexpr std::uint16_t unassigned = 65535;  // label of a moving block that no object has taken yet

void Model::AddZone(const MDZoneInfo& info) {
    const std::size_t cells = static_cast<std::size_t>(info.maskWidth) * static_cast<std::size_t>(info.maskHeight);
    Zone zone;
    zone.mask.assign(info.mask, info.mask + cells);
    zone.maskWidth = info.maskWidth;
    zone.maskHeight = info.maskHeight;
    zone.minObjectWidth = info.minObjectWidth;
    zone.minObjectHeight = info.minObjectHeight;
    _zones.push_back(std::move(zone));
}

// A set cell of the mask takes every block that it overlaps, even partly.
void Model::Fit(Zone& zone) {
    if (zone.fittedWidth == _width && zone.fittedHeight == _height) {
        Count(Rule::zoneFitKept);
        return;
    }
    Count(Rule::zoneFitted);
    zone.fittedWidth = _width;
    zone.fittedHeight = _height;
    zone.fitted.assign(BlockCount(), false);
    const auto first = [](int cell, int blocks, int cells) {
        return static_cast<int>(std::floor(static_cast<double>(cell) * blocks / cells));
    };
    const auto end = [](int cell, int blocks, int cells) {
        return static_cast<int>(std::ceil((static_cast<double>(cell) + 1.0) * blocks / cells));
    };
    std::size_t cell = 0;
    for (int r = 0; r < zone.maskHeight; ++r)
        for (int c = 0; c < zone.maskWidth; ++c)
            if (zone.mask[cell++] != 0)
                for (int y = first(r, _height, zone.maskHeight); y < end(r, _height, zone.maskHeight); ++y)
                    for (int x = first(c, _width, zone.maskWidth); x < end(c, _width, zone.maskWidth); ++x)
                        zone.fitted[IndexOf(x, y)] = true;
}

void Model::ProcessZone(std::size_t zoneIndex) {
    if (!IsFilled()) return;
    const Zone& zone = _zones[zoneIndex];
    _zoneObjects.clear();
    std::vector<Cell> moving;
    for (int y = 0; y < _height; ++y)
        for (int x = 0; x < _width; ++x) {
            const std::size_t i = IndexOf(x, y);
            const bool moves = zone.fitted[i] && _blocks[i].isObject;
            _labels[i] = moves ? unassigned : 0;
            if (moves) moving.push_back({x, y});
        }
    Count(moving.empty() ? Rule::zoneStill : Rule::zoneMoving);
    if (moving.empty()) return;

    for (const Cell seed : moving) {
        if (_labels[IndexOf(seed.x, seed.y)] != unassigned) continue;
        const std::vector<Cell> cells = Grow(seed, static_cast<std::uint16_t>(_zoneObjects.size() + 1));
        MotionObject object;
        object.zone = zoneIndex;
        const bool hasBox = FindBox(cells, object);
        for (const Cell cell : cells) {
            const bool isInColumns = cell.x >= object.left && cell.x <= object.right;
            const bool isInRows = cell.y >= object.top && cell.y <= object.bottom;
            if (hasBox && isInColumns && isInRows) {
                object.cells.push_back(cell);
                continue;
            }
            _labels[IndexOf(cell.x, cell.y)] = 0;
            if (!(hasBox ? _rules.trimKeepsResultMap : _rules.discardKeepsResultMap)) _results[IndexOf(cell.x, cell.y)] = 0;
            if (hasBox) Count(Rule::objectTrimmed);
        }
        Count(hasBox ? Rule::objectKept : Rule::objectDiscarded);
        if (hasBox) _zoneObjects.push_back(std::move(object));
    }
    RemoveSmallObjects(zone);
}

// Breadth first from the seed, row by row, over unassigned blocks up to two columns away on the same row and up to one
// column away on the next rows.
std::vector<Cell> Model::Grow(Cell seed, std::uint16_t label) {
    std::vector<Cell> cells = {seed};
    _labels[IndexOf(seed.x, seed.y)] = label;
    for (std::size_t next = 0; next < cells.size(); ++next) {
        const Cell at = cells[next];
        for (int row = -_rules.rowsReached; row <= _rules.rowsReached; ++row) {
            const int y = _rules.neighboursBottomUp ? at.y - row : at.y + row;
            if (y < 0 || y >= _height) continue;
            const int reach = y == at.y ? _rules.reachOnRow : _rules.reachOnNextRow;
            for (int x = std::max(at.x - reach, 0); x <= std::min(at.x + reach, _width - 1); ++x) {
                std::uint16_t& neighbour = _labels[IndexOf(x, y)];
                if (neighbour != unassigned) {
                    if (neighbour != 0) Count(Rule::growBlocked);
                    continue;
                }
                if (std::abs(x - at.x) == 2) Count(Rule::growAcrossGap);
                if (x != at.x && y != at.y) Count(Rule::growDiagonal);
                neighbour = label;
                cells.push_back({x, y});
            }
        }
    }
    return cells;
}

// The box over the blocks that count; false when none does. Cells outside it are cut off, so the box of what remains is the
// same: each of its sides has a block that counts.
bool Model::FindBox(const std::vector<Cell>& cells, MotionObject& object) {
    bool found = false;
    for (const Cell cell : cells) {
        if (_limitToMotion && !_longTimes && !_blocks[IndexOf(cell.x, cell.y)].isMotion) continue;
        object.left = found ? std::min(object.left, cell.x) : cell.x;
        object.right = found ? std::max(object.right, cell.x) : cell.x;
        object.top = found ? std::min(object.top, cell.y) : cell.y;
        object.bottom = found ? std::max(object.bottom, cell.y) : cell.y;
        found = true;
    }
    Count(!_limitToMotion ? Rule::boxOfAllUnlimited : _longTimes ? Rule::boxOfAllLong : Rule::boxOfMotion);
    return found;
}

// ------------------------------------------------------------------------------------------------------ small objects

void Model::RemoveSmallObjects(const Zone& zone) {
    if (zone.minObjectWidth == 0.0f && zone.minObjectHeight == 0.0f) {
        Count(Rule::smallNoMinimum);
        return;
    }
    std::size_t lowest = _zoneObjects.size();
    for (std::size_t i = _zoneObjects.size(); i-- > 0;) {
        if (!IsSmall(_zoneObjects[i], zone)) continue;
        for (const Cell cell : _zoneObjects[i].cells) {
            _labels[IndexOf(cell.x, cell.y)] = 0;
            if (_rules.smallClearsResultMap) _results[IndexOf(cell.x, cell.y)] = 0;
        }
        _zoneObjects.erase(_zoneObjects.begin() + static_cast<std::ptrdiff_t>(i));
        lowest = i;
    }
    for (std::size_t i = lowest; i < _zoneObjects.size(); ++i) Count(Rule::smallRenumbered);
    Relabel(_zoneObjects, lowest);
}

bool Model::IsSmall(const MotionObject& object, const Zone& zone) {
    const float minWidth = std::trunc(static_cast<float>(_width) * zone.minObjectWidth);
    const float minHeight = std::trunc(static_cast<float>(_height) * zone.minObjectHeight);
    const float width = static_cast<float>(object.right + 1 - object.left);
    const float height = static_cast<float>(object.bottom + 1 - object.top);
    if (std::isnan(minWidth) || std::isnan(minHeight)) Count(Rule::smallNotANumber);
    if (width == minWidth || height == minHeight) Count(Rule::smallBorder);
    const bool isNarrow = width < minWidth, isLow = height < minHeight;  // never where the minimum is not a number
    Count(isNarrow ? Rule::smallWidth : isLow ? Rule::smallHeight : Rule::smallKept);
    return isNarrow || isLow;
}

void Model::Relabel(const std::vector<MotionObject>& objects, std::size_t firstPosition) {
    for (std::size_t position = firstPosition; position < objects.size(); ++position)
        for (const Cell cell : objects[position].cells)
            _labels[IndexOf(cell.x, cell.y)] = static_cast<std::uint16_t>(position + 1);
}

// -------------------------------------------------------------------------------------------------------------- merge

bool Model::Touch(const MotionObject& a, const MotionObject& b) const {
    if (_rules.mergeKeepsZonesWhole && a.zone == b.zone) return false;
    const int distance = _rules.touchingDistance;
    return b.right + distance >= a.left && b.left - distance <= a.right && b.bottom + distance >= a.top &&
           b.top - distance <= a.bottom;
}

// From the last object to the second: the first earlier one that it touches takes it in. Again until nothing happens.
void Model::Merge() {
    for (bool merged = true, again = false; merged; again = true) {
        merged = false;
        for (std::size_t a = _objects.size(); a-- > 1;) {
            const MotionObject& object = _objects[a];
            const auto self = _objects.begin() + static_cast<std::ptrdiff_t>(a);
            auto taker = self;
            for (auto other = _objects.begin(); other != self; ++other)
                if (Touch(object, *other) && (taker == self || _rules.lastTakerWins)) taker = other;
            if (taker == self) {
                Count(Rule::mergeApart);
                continue;
            }
            Count(Rule::mergeAbsorbed);
            if (taker->zone == object.zone) Count(Rule::mergeSameZone);
            if (again) Count(Rule::mergeSecondSweep);
            taker->cells.insert(taker->cells.end(), object.cells.begin(), object.cells.end());
            taker->left = std::min(taker->left, object.left);
            taker->right = std::max(taker->right, object.right);
            taker->top = std::min(taker->top, object.top);
            taker->bottom = std::max(taker->bottom, object.bottom);
            _objects.erase(self);
            merged = true;
        }
    }
    std::vector<bool> isListed(BlockCount(), false);
    for (const MotionObject& object : _objects)
        for (const Cell cell : object.cells) {
            if (isListed[IndexOf(cell.x, cell.y)]) Count(Rule::mergeSharedBlock);
            isListed[IndexOf(cell.x, cell.y)] = true;
        }
    Relabel(_objects, 0);
}

}  // namespace Reference
