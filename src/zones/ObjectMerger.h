// Which objects of a pool are one thing?  Those whose boxes touch, until none do.
// Called once per frame by the detector; keeps its memory from frame to frame.
#pragma once

#include <cstdint>
#include <vector>

#include "utils/CellBox.h"
#include "zones/MotionObject.h"
#include "zones/PaintedBoxes.h"

namespace MD {

// The rule: sweeps over the busy list, from its tail to its head. An object whose box touches that of an earlier one is
// absorbed by the earliest such: blocks appended, box widened over them. Sweeps repeat until one absorbs nothing.
//
// Merge follows the rule to the letter, at a cost that grows with the number of objects, not with its square: who touches
// an earlier one at all is found by painting the boxes, small boxes are looked up in buckets of a coarse grid, a sweep
// visits only objects whose turn may have a new outcome because a box near them grew, and blocks move once, at the end.
// Large boxes, of which a grid has room for few, are compared one by one.
class ObjectMerger {
public:
    bool Merge(MotionObjectPool& pool);  // true: some were absorbed

private:
    // One object of the list; the order of nodes is the order of the list. No node: -1.
    struct Node {
        MotionObject* object;
        CellBox partsBox;         // around the blocks of all parts absorbed so far
        std::int64_t blockCount;  // with all parts
        int length;               // capacity
        int absorber;
        int firstPart;
        int lastPart;
        int nextPart;  // of the same absorber
    };

    // A node's box as the rule compares it, small enough to compare many. An absorbed node's is empty and touches no box of
    // a grid.
    struct PackedBox {
        short left, right, top, bottom;
    };

    using NodeBits = std::vector<std::uint64_t>;  // one bit per node

    bool FindDue(const MotionObjectPool& pool);
    void CollectNodes(const MotionObjectPool& pool);
    void Sweep();
    int FirstTouching(int node);
    void Absorb(int absorber, int node);
    void MoveBlocks(MotionObjectPool& pool);

    // Boxes by place: small ones in the buckets that they lie in, large ones in no particular. Without buckets (few objects,
    // or boxes that are none) every node is near everything. A bucket lists the nodes that lay in it from the first, one
    // bucket after another, and those that grew into it.
    struct BucketRange {
        int left, right, top, bottom;
    };
    struct GrownEntry {
        int node;
        int next;
    };
    void ChooseBuckets();
    void FillBuckets();
    int BucketIndex(int row, int column) const { return row * _bucketColumns + column; }
    BucketRange BucketsOf(CellBox area) const;
    static std::int64_t BucketCount(BucketRange range);
    static bool IsLarge(BucketRange range);
    void EnterLarge(int node);
    void LeaveLarge(int node);
    void EnterGrown(int node, int row, int firstColumn, int lastColumn);
    void EnterGrown(int node, CellBox before, CellBox after);
    CellBox BoxOf(int node) const;
    void SetBox(int node, CellBox box);
    template <class Visit>
    void ForEachInBuckets(BucketRange range, Visit visit);
    template <class Visit>
    void ForEachNear(CellBox area, Visit visit);

    PaintedBoxes _painted;
    std::vector<Node> _nodes;
    NodeBits _dueNow;               // to be visited in this sweep, from the highest to the lowest
    NodeBits _dueNext;              // in the next one
    std::vector<int> _large;        // nodes whose boxes lie in many buckets, ascending
    std::vector<PackedBox> _boxes;  // [node]
    std::vector<int> _bucketEnds;   // [bucket] end of its nodes in _bucketNodes; they start at the end before
    std::vector<int> _bucketNodes;
    std::vector<int> _grownHeads;  // [bucket] first entry of nodes that grew into it
    std::vector<GrownEntry> _grown;
    CellBox _extent = emptyCellBox;  // around all boxes
    int _bucketShift = 0;            // a bucket is 1 << _bucketShift blocks wide and high
    int _bucketColumns = 0;          // 0: no buckets
    int _bucketRows = 0;
};

}  // namespace MD
