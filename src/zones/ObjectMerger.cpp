// Which objects of a pool are one thing?
#include "zones/ObjectMerger.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <new>

namespace MD {
namespace {

constexpr int none = -1;
constexpr int fewObjects = 24;       // below, looking at all boxes is cheaper than keeping buckets
constexpr int smallestBucketShift = 2;
constexpr int mostBucketsOfSmallBox = 8;

constexpr CellBox Around(CellBox box) { return {box.left - 1, box.right + 1, box.top - 1, box.bottom + 1}; }

void SetBit(std::vector<std::uint64_t>& bits, int i) {
    bits[static_cast<std::size_t>(i) / 64] |= std::uint64_t{1} << (static_cast<unsigned>(i) % 64);
}

void ClearBit(std::vector<std::uint64_t>& bits, int i) {
    bits[static_cast<std::size_t>(i) / 64] &= ~(std::uint64_t{1} << (static_cast<unsigned>(i) % 64));
}

// visit(position of a bit that is set), from the lowest on, until it says true.
template <class Visit>
void ForEachBit(const std::vector<std::uint64_t>& bits, Visit visit) {
    for (std::size_t word = 0; word < bits.size(); ++word)
        for (std::uint64_t left = bits[word]; left != 0; left &= left - 1)
            if (visit(static_cast<int>(word * 64) + std::countr_zero(left))) return;
}

}  // namespace

void ObjectMerger::Merge(MotionObjectPool& pool) {
    if (pool._busyList._objectsCount < 2) return;
    CollectNodes(pool);
    const std::size_t words = _nodes.size() / 64 + 1;
    _large.assign(words, 0);
    ChooseBuckets();
    _dueNow.assign(words, 0);
    _dueNext.assign(words, 0);
    for (int node = 1; node < static_cast<int>(_nodes.size()); ++node) SetBit(_dueNow, node);
    const auto isEmpty = [](const NodeBits& due) { return std::all_of(due.begin(), due.end(), [](auto word) { return word == 0; }); };
    while (!isEmpty(_dueNow)) {
        Sweep();  // leaves _dueNow empty
        _dueNow.swap(_dueNext);
    }
    MoveBlocks(pool);
}

void ObjectMerger::CollectNodes(const MotionObjectPool& pool) {
    _nodes.clear();
    for (MotionObject* object = pool._busyList._first; object; object = object->next)
        _nodes.push_back({.object = object, .box = object->Box(), .partsBox = emptyCellBox,
                          .blockCount = object->objectPixelsCount, .length = object->_realBufferLenght, .absorber = none,
                          .firstPart = none, .lastPart = none, .nextPart = none});
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

int ObjectMerger::FirstTouching(int node) {
    const CellBox box = _nodes[static_cast<std::size_t>(node)].box;
    const auto touches = [&](int candidate) {
        const Node& other = _nodes[static_cast<std::size_t>(candidate)];
        return other.absorber == none && Touch(box, other.box);
    };
    int first = node;
    ForEachBit(_large, [&](int candidate) {
        if (candidate >= first) return true;
        if (!touches(candidate)) return false;
        first = candidate;
        return true;
    });
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
    ClearBit(_large, part);
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
    const CellBox before = a.box, after = Union(before, added);
    if (absorber > 0) SetBit(_dueNow, absorber);
    if (after.left == before.left && after.right == before.right && after.top == before.top && after.bottom == before.bottom)
        return;
    a.box = after;
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
        pool.MakeRoom(object, static_cast<int>(node.blockCount), node.length);
        for (int part = node.firstPart; part != none;) {
            const Node* p = &_nodes[static_cast<std::size_t>(part)];
            pool.Absorb(object, p->object);
            part = p->firstPart;
            while (part == none && p != &node) {
                part = p->nextPart;
                p = &_nodes[static_cast<std::size_t>(p->absorber)];
            }
        }
        object->SetBox(node.box);
    }
}

void ObjectMerger::ChooseBuckets() {
    const int count = static_cast<int>(_nodes.size());
    bool areBoxes = true;
    _extent = emptyCellBox;
    for (const Node& node : _nodes) {
        areBoxes = areBoxes && node.box.left <= node.box.right && node.box.top <= node.box.bottom;
        _extent = Union(_extent, node.box);
    }
    _bucketColumns = _bucketRows = 0;
    if (!areBoxes || count < fewObjects) return;

    // About as many buckets as objects, whatever the grid: clearing them must not cost more than the objects do.
    for (_bucketShift = smallestBucketShift;; ++_bucketShift) {
        _bucketColumns = ((_extent.right - _extent.left) >> _bucketShift) + 1;
        _bucketRows = ((_extent.bottom - _extent.top) >> _bucketShift) + 1;
        if (static_cast<std::int64_t>(_bucketColumns) * _bucketRows <= 4 * static_cast<std::int64_t>(count)) break;
    }
    _buckets.assign(static_cast<std::size_t>(_bucketColumns) * static_cast<std::size_t>(_bucketRows), none);
    _entries.clear();
    for (int node = 0; node < count; ++node) {
        const BucketRange range = BucketsOf(_nodes[static_cast<std::size_t>(node)].box);
        if (IsLarge(range)) SetBit(_large, node);
        else for (int row = range.top; row <= range.bottom; ++row) Enter(node, row, range.left, range.right);
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

bool ObjectMerger::IsLarge(BucketRange range) { return BucketCount(range) > mostBucketsOfSmallBox; }

void ObjectMerger::Enter(int node, int row, int firstColumn, int lastColumn) {
    for (int column = firstColumn; column <= lastColumn; ++column) {
        int& bucket = _buckets[static_cast<std::size_t>(row) * static_cast<std::size_t>(_bucketColumns) + static_cast<std::size_t>(column)];
        _entries.push_back({node, bucket});
        bucket = static_cast<int>(_entries.size()) - 1;
    }
}

// The buckets of the box that it did not lie in before. A box that becomes large stays where it was entered as well.
void ObjectMerger::EnterGrown(int node, CellBox before, CellBox after) {
    if (_bucketColumns == 0) return;
    const BucketRange old = BucketsOf(before), now = BucketsOf(after);
    if (IsLarge(now)) {
        SetBit(_large, node);
        return;
    }
    for (int row = now.top; row <= now.bottom; ++row) {
        if (row < old.top || row > old.bottom) {
            Enter(node, row, now.left, now.right);
        } else {
            Enter(node, row, now.left, old.left - 1);
            Enter(node, row, old.right + 1, now.right);
        }
    }
}

// visit(node, its box) for every node alive that may lie in the area, some of them twice.
template <class Visit>
void ObjectMerger::ForEachNear(CellBox area, Visit visit) {
    const auto visitAlive = [&](int node) {
        if (_nodes[static_cast<std::size_t>(node)].absorber == none) visit(node, _nodes[static_cast<std::size_t>(node)].box);
        return false;
    };
    if (_bucketColumns == 0) {
        for (int node = 0; node < static_cast<int>(_nodes.size()); ++node) visitAlive(node);
        return;
    }
    ForEachBit(_large, visitAlive);
    ForEachInBuckets(BucketsOf(area), visit);
}

template <class Visit>
void ObjectMerger::ForEachInBuckets(BucketRange range, Visit visit) {
    for (int row = range.top; row <= range.bottom; ++row) {
        for (int column = range.left; column <= range.right; ++column) {
            int* link = &_buckets[static_cast<std::size_t>(row) * static_cast<std::size_t>(_bucketColumns) + static_cast<std::size_t>(column)];
            while (*link != none) {
                BucketEntry& entry = _entries[static_cast<std::size_t>(*link)];
                const Node& node = _nodes[static_cast<std::size_t>(entry.node)];
                if (node.absorber != none) {
                    *link = entry.next;  // absorbed: leaves the bucket for good
                    continue;
                }
                visit(entry.node, node.box);
                link = &entry.next;
            }
        }
    }
}

}  // namespace MD
