// Which objects of a pool are one thing?  Those whose boxes touch, until none do.
// Called once per frame by the detector; keeps its memory from frame to frame.
#pragma once

#include <cstdint>
#include <vector>

#include "zones/CellBox.h"
#include "zones/MotionObject.h"

namespace MD {

// The rule: sweeps over the busy list, from its tail to its head. An object whose box touches that of an earlier one is
// absorbed by the earliest such: blocks appended, box widened over them. Sweeps repeat until one absorbs nothing.
//
// Merge follows the rule to the letter, at a cost that grows with the number of objects, not with its square: small boxes
// are looked up in buckets of a coarse grid, a sweep visits only objects whose turn may have a new outcome because a box
// near them grew, and blocks move once, at the end. Large boxes, of which a grid has room for few, are compared one by one.
class ObjectMerger {
public:
    void Merge(MotionObjectPool& pool);

private:
    // One object of the list; the order of nodes is the order of the list. No node: -1.
    struct Node {
        MotionObject* object;
        CellBox       box;         // as the rule compares it
        CellBox       partsBox;    // around the blocks of all parts absorbed so far
        std::int64_t  blockCount;  // with all parts
        int           length;      // capacity
        int           absorber;
        int           firstPart;
        int           lastPart;
        int           nextPart;    // of the same absorber
    };

    using NodeBits = std::vector<std::uint64_t>;  // one bit per node

    void CollectNodes(const MotionObjectPool& pool);
    void Sweep();
    int  FirstTouching(int node);
    void Absorb(int absorber, int node);
    void MoveBlocks(MotionObjectPool& pool);

    // Boxes by place: small ones in the buckets that they lie in, large ones in no particular. Without buckets (few objects,
    // or boxes that are none) every node is near everything.
    struct BucketRange {
        int left, right, top, bottom;
    };
    struct BucketEntry {
        int node;
        int next;
    };
    void ChooseBuckets();
    BucketRange BucketsOf(CellBox area) const;
    static std::int64_t BucketCount(BucketRange range);
    static bool IsLarge(BucketRange range);
    void Enter(int node, int row, int firstColumn, int lastColumn);
    void EnterGrown(int node, CellBox before, CellBox after);
    template <class Visit>
    void ForEachInBuckets(BucketRange range, Visit visit);
    template <class Visit>
    void ForEachNear(CellBox area, Visit visit);

    std::vector<Node>        _nodes;
    NodeBits                 _dueNow;   // to be visited in this sweep, from the highest to the lowest
    NodeBits                 _dueNext;  // in the next one
    NodeBits                 _large;    // boxes that lie in many buckets
    std::vector<int>         _buckets;  // first entry of each
    std::vector<BucketEntry> _entries;
    CellBox                  _extent = emptyCellBox;  // around all boxes
    int                      _bucketShift = 0;        // a bucket is 1 << _bucketShift blocks wide and high
    int                      _bucketColumns = 0;      // 0: no buckets
    int                      _bucketRows = 0;
};

}  // namespace MD
