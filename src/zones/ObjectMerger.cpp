// Which objects of a pool are one thing?
#include "zones/ObjectMerger.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <new>
#include <utility>

#include "zones/LeanObjects.h"

namespace MD {
namespace {

constexpr int none = -1;
constexpr int fewObjects = 24;  // below, looking at all boxes is cheaper than keeping buckets
constexpr int smallestBucketShift = 2;
constexpr std::size_t mostBucketsOfSmallBox = 8;

constexpr CellBox Around(CellBox box) { return {box.left - 1, box.right + 1, box.top - 1, box.bottom + 1}; }

void SetBit(std::vector<std::uint64_t>& bits, int i) {
    bits[static_cast<std::size_t>(i) / 64] |= std::uint64_t{1} << (static_cast<unsigned>(i) % 64);
}

}  // namespace

bool ObjectMerger::Merge(MotionObjectPool& pool) {
    const int count = pool._busyList._objectsCount;
    if (count < 2 || !FindDue(pool)) return false;
    CollectNodes(pool);
    ChooseBuckets();
    _dueNext.assign(_dueNow.size(), 0);
    const auto isEmpty = [](const NodeBits& due) {
        return std::all_of(due.begin(), due.end(), [](auto word) { return word == 0; });
    };
    while (!isEmpty(_dueNow)) {
        Sweep();  // leaves _dueNow empty
        _dueNow.swap(_dueNext);
    }
    MoveBlocks(pool);
    return pool._busyList._objectsCount < count;
}

// Whose turn has an outcome in the first sweep: who touches an earlier one; where painting cannot tell, all but the first.
bool ObjectMerger::FindDue(const MotionObjectPool& pool) {
    const int count = pool._busyList._objectsCount;
    bool canTell = count >= fewObjects && _painted.Start(pool._width, pool._height, count);
    bool isAnyDue = false;
    int node = 0;
    _dueNow.clear();
    for (const MotionObject* object = pool._busyList._first; object; object = object->next, ++node) {
        if (node % 64 == 0) _dueNow.push_back(0);
        const CellBox box = object->Box();
        canTell = canTell && _painted.IsPaintable(box);
        if (canTell ? !_painted.Paint(box) : node == 0) continue;
        SetBit(_dueNow, node);
        isAnyDue = true;
    }
    return isAnyDue;
}

void ObjectMerger::CollectNodes(const MotionObjectPool& pool) {
    _nodes.clear();
    for (MotionObject* object = pool._busyList._first; object; object = object->next)
        _nodes.push_back({.object = object,
                          .partsBox = emptyCellBox,
                          .blockCount = object->objectPixelsCount,
                          .length = object->_realBufferLenght,
                          .absorber = none,
                          .firstPart = none,
                          .lastPart = none,
                          .nextPart = none});
    _boxes.resize(_nodes.size());
    for (std::size_t node = 0; node < _nodes.size(); ++node) SetBox(static_cast<int>(node), _nodes[node].object->Box());
}

// From the tail to the head. A visit makes earlier nodes due at most: the highest bit is always the next one.
void ObjectMerger::Sweep() {
    for (std::size_t word = _dueNow.size(); word-- > 0;) {
        while (_dueNow[word] != 0) {
            const int bit = 63 - std::countl_zero(_dueNow[word]);
            _dueNow[word] &= ~(std::uint64_t{1} << bit);
            const int node = static_cast<int>(word * 64) + bit;
            if (_nodes[static_cast<std::size_t>(node)].absorber != none) continue;
            const int absorber = FirstTouching(node);
            if (absorber != none) Absorb(absorber, node);
        }
    }
}

CellBox ObjectMerger::BoxOf(int node) const {
    const PackedBox box = _boxes[static_cast<std::size_t>(node)];
    return {box.left, box.right, box.top, box.bottom};
}

void ObjectMerger::SetBox(int node, CellBox box) {
    _boxes[static_cast<std::size_t>(node)] = {static_cast<short>(box.left), static_cast<short>(box.right),
                                              static_cast<short>(box.top), static_cast<short>(box.bottom)};
}

int ObjectMerger::FirstTouching(int node) {
    const CellBox box = BoxOf(node);
    const auto touches = [&](int candidate) {
        return _nodes[static_cast<std::size_t>(candidate)].absorber == none && Touch(box, BoxOf(candidate));
    };
    int first = node;
    for (const int candidate : _large) {
        if (candidate >= first) break;
        if (touches(candidate)) first = candidate;
    }
    const BucketRange range = _bucketColumns == 0 ? BucketRange{} : BucketsOf(Around(box));
    if (_bucketColumns == 0 || BucketCount(range) > first) {  // fewer nodes than buckets to look at
        for (int candidate = 0; candidate < first; ++candidate)
            if (touches(candidate)) return candidate;
    } else {
        ForEachInBuckets(range, [&](int candidate, CellBox candidateBox) {
            if (candidate < first && Touch(box, candidateBox)) first = candidate;
        });
    }
    return first == node ? none : first;
}

void ObjectMerger::Absorb(int absorber, int part) {
    Node& a = _nodes[static_cast<std::size_t>(absorber)];
    Node& p = _nodes[static_cast<std::size_t>(part)];
    p.absorber = absorber;
    SetBox(part, emptyCellBox);
    LeaveLarge(part);
    if (a.lastPart == none) a.firstPart = part;
    else _nodes[static_cast<std::size_t>(a.lastPart)].nextPart = part;
    a.lastPart = part;
    a.blockCount += p.blockCount;
    if (a.blockCount > a.length) {  // growth as in MotionObject::CopyMotionPixels
        if (2 * a.blockCount > std::numeric_limits<int>::max()) throw std::bad_array_new_length();
        a.length = static_cast<int>(2 * a.blockCount);
    }

    // The box widens over the blocks; the part's own box is not asked.
    const CellBox ownBox = BoxOfCells(p.object->motionX, p.object->motionY, p.object->objectPixelsCount);
    const CellBox added = Union(ownBox, p.partsBox);
    a.partsBox = Union(a.partsBox, added);
    const CellBox before = BoxOf(absorber), after = Union(before, added);
    if (absorber > 0) SetBit(_dueNow, absorber);
    if (after == before) return;
    SetBox(absorber, after);
    EnterGrown(absorber, before, after);

    // Later objects near what the box newly reaches: those not yet visited are due in this sweep, the others in the next.
    const CellBox reached = Around(after), known = Around(before);
    const auto makeDue = [&](int node, CellBox box) {
        if (node > absorber && Touch(box, after)) SetBit(node < part ? _dueNow : _dueNext, node);
    };
    if (reached.left < known.left) ForEachNear({reached.left, known.left - 1, reached.top, reached.bottom}, makeDue);
    if (reached.right > known.right) ForEachNear({known.right + 1, reached.right, reached.top, reached.bottom}, makeDue);
    if (reached.top < known.top) ForEachNear({known.left, known.right, reached.top, known.top - 1}, makeDue);
    if (reached.bottom > known.bottom) ForEachNear({known.left, known.right, known.bottom + 1, reached.bottom}, makeDue);
}

// Parts in the order in which they were absorbed, each followed by its own parts.
void ObjectMerger::MoveBlocks(MotionObjectPool& pool) {
    for (std::size_t root = 0; root < _nodes.size(); ++root) {
        const Node& node = _nodes[root];
        if (node.absorber != none || node.firstPart == none) continue;
        MotionObject* const object = node.object;
        LeanObjects::MakeRoom(pool, *object, static_cast<int>(node.blockCount), node.length);
        for (int part = node.firstPart; part != none;) {
            const Node* p = &_nodes[static_cast<std::size_t>(part)];
            pool.Absorb(object, p->object);
            part = p->firstPart;
            while (part == none && p != &node) {
                part = p->nextPart;
                p = &_nodes[static_cast<std::size_t>(p->absorber)];
            }
        }
        object->SetBox(BoxOf(static_cast<int>(root)));
    }
}

void ObjectMerger::ChooseBuckets() {
    const int count = static_cast<int>(_nodes.size());
    bool areBoxes = true;
    _extent = emptyCellBox;
    for (int node = 0; node < count; ++node) {
        const CellBox box = BoxOf(node);
        areBoxes = areBoxes && box.left <= box.right && box.top <= box.bottom;
        _extent = Union(_extent, box);
    }
    _bucketColumns = _bucketRows = 0;
    _large.clear();
    if (!areBoxes || count < fewObjects) return;

    // About as many buckets as objects, whatever the grid: clearing them must not cost more than the objects do.
    for (_bucketShift = smallestBucketShift;; ++_bucketShift) {
        _bucketColumns = ((_extent.right - _extent.left) >> _bucketShift) + 1;
        _bucketRows = ((_extent.bottom - _extent.top) >> _bucketShift) + 1;
        if (static_cast<std::int64_t>(_bucketColumns) * _bucketRows <= 4 * static_cast<std::int64_t>(count)) break;
    }
    FillBuckets();
}

// Small boxes in the order of their buckets: how many lie in each, where each starts, then the nodes.
void ObjectMerger::FillBuckets() {
    const std::size_t buckets = static_cast<std::size_t>(_bucketColumns) * static_cast<std::size_t>(_bucketRows);
    _grownHeads.assign(buckets, none);
    _grown.clear();
    // A small box, grown or not, lies in so many buckets at most: how boxes lie asks for no memory that their number did
    // not.
    const std::size_t mostEntries = mostBucketsOfSmallBox * _nodes.size();
    _grown.reserve(mostEntries);
    _bucketNodes.reserve(mostEntries);
    _large.reserve(_nodes.size());
    _bucketEnds.assign(buckets + 1, 0);  // one more than there are, in front: the first starts where nothing ends
    const int count = static_cast<int>(_nodes.size());
    const auto forEachBucket = [&](BucketRange range, auto visit) {
        for (int row = range.top; row <= range.bottom; ++row)
            for (int column = range.left; column <= range.right; ++column)
                visit(_bucketEnds[static_cast<std::size_t>(BucketIndex(row, column)) + 1]);
    };
    for (int node = 0; node < count; ++node) {
        const BucketRange range = BucketsOf(BoxOf(node));
        if (IsLarge(range)) _large.push_back(node);
        else forEachBucket(range, [](int& nodesInBucket) { ++nodesInBucket; });
    }
    int start = 0;
    for (int& end : _bucketEnds)
        end = std::exchange(start, start + end);  // start of the bucket; its nodes move it to the end
    _bucketNodes.resize(static_cast<std::size_t>(start));
    for (int node = 0; node < count; ++node) {
        const BucketRange range = BucketsOf(BoxOf(node));
        if (!IsLarge(range)) forEachBucket(range, [&](int& end) { _bucketNodes[static_cast<std::size_t>(end++)] = node; });
    }
}

// Clipped to the buckets that there are; nothing lies beyond them.
ObjectMerger::BucketRange ObjectMerger::BucketsOf(CellBox area) const {
    const auto bucket = [this](int place, int origin, int buckets) {
        return std::clamp((place - origin) >> _bucketShift, 0, buckets - 1);
    };
    return {bucket(area.left, _extent.left, _bucketColumns), bucket(area.right, _extent.left, _bucketColumns),
            bucket(area.top, _extent.top, _bucketRows), bucket(area.bottom, _extent.top, _bucketRows)};
}

std::int64_t ObjectMerger::BucketCount(BucketRange range) {
    return static_cast<std::int64_t>(range.right - range.left + 1) * (range.bottom - range.top + 1);
}

bool ObjectMerger::IsLarge(BucketRange range) {
    return BucketCount(range) > static_cast<std::int64_t>(mostBucketsOfSmallBox);
}

void ObjectMerger::EnterLarge(int node) {
    const auto place = std::lower_bound(_large.begin(), _large.end(), node);
    if (place == _large.end() || *place != node) _large.insert(place, node);
}

void ObjectMerger::LeaveLarge(int node) {
    const auto place = std::lower_bound(_large.begin(), _large.end(), node);
    if (place != _large.end() && *place == node) _large.erase(place);
}

void ObjectMerger::EnterGrown(int node, int row, int firstColumn, int lastColumn) {
    for (int column = firstColumn; column <= lastColumn; ++column) {
        int& head = _grownHeads[static_cast<std::size_t>(BucketIndex(row, column))];
        _grown.push_back({node, head});
        head = static_cast<int>(_grown.size()) - 1;
    }
}

// The buckets of the box that it did not lie in before. A box that becomes large stays where it was entered as well.
void ObjectMerger::EnterGrown(int node, CellBox before, CellBox after) {
    if (_bucketColumns == 0) return;
    const BucketRange old = BucketsOf(before), now = BucketsOf(after);
    if (IsLarge(now)) {
        EnterLarge(node);
        return;
    }
    for (int row = now.top; row <= now.bottom; ++row) {
        if (row < old.top || row > old.bottom) {
            EnterGrown(node, row, now.left, now.right);
        } else {
            EnterGrown(node, row, now.left, old.left - 1);
            EnterGrown(node, row, old.right + 1, now.right);
        }
    }
}

// visit(node, its box) for every node alive that may lie in the area, some of them twice.
template <class Visit>
void ObjectMerger::ForEachNear(CellBox area, Visit visit) {
    const auto visitAlive = [&](int node) {
        if (_nodes[static_cast<std::size_t>(node)].absorber == none) visit(node, BoxOf(node));
    };
    if (_bucketColumns == 0) {
        for (int node = 0; node < static_cast<int>(_nodes.size()); ++node) visitAlive(node);
        return;
    }
    for (const int node : _large) visitAlive(node);
    ForEachInBuckets(BucketsOf(area), visit);
}

// visit(node, its box), absorbed ones with an empty box. The buckets of a row lie side by side.
template <class Visit>
void ObjectMerger::ForEachInBuckets(BucketRange range, Visit visit) {
    for (int row = range.top; row <= range.bottom; ++row) {
        const std::size_t first = static_cast<std::size_t>(BucketIndex(row, range.left));
        const std::size_t last = static_cast<std::size_t>(BucketIndex(row, range.right));
        for (int i = _bucketEnds[first]; i < _bucketEnds[last + 1]; ++i) {
            const int node = _bucketNodes[static_cast<std::size_t>(i)];
            visit(node, BoxOf(node));
        }
        if (_grown.empty()) continue;
        for (std::size_t bucket = first; bucket <= last; ++bucket) {
            int* link = &_grownHeads[bucket];
            while (*link != none) {
                GrownEntry& entry = _grown[static_cast<std::size_t>(*link)];
                if (_nodes[static_cast<std::size_t>(entry.node)].absorber != none) {
                    *link = entry.next;  // absorbed: leaves the bucket for good
                    continue;
                }
                visit(entry.node, BoxOf(entry.node));
                link = &entry.next;
            }
        }
    }
}

}  // namespace MD
