// How do tens of thousands of objects fit into memory, each with the capacity of a whole grid?  Lean: with room for their
// blocks alone, one after another in the pool's arena. Whatever grows a lean object gives it memory of its own, for its
// whole capacity. The detector makes and merges its objects this way; a host's have all that their length promises.
#pragma once

#include "zones/MotionObject.h"

namespace MD {

class LeanObjects {
public:
    // As the pool's Add and Copy, but a new object is lean.
    static void Add(MotionObjectPool& pool, const short* xs, const short* ys, int blockCount, int length);
    static void Add(MotionObjectPool& pool, const short* xs, const short* ys, int blockCount, int length, CellBox box);
    static void Copy(MotionObjectPool& pool, const MotionObject& src);

    // A busy object gets room for `blockCount` blocks in all and the capacity `length`; its blocks and its box stay. One
    // that is not lean stays so.
    static void MakeRoom(MotionObjectPool& pool, MotionObject& object, int blockCount, int length);

private:
    static MotionObject* Take(MotionObjectPool& pool, int length, int blockCount);
    static short* TakeCells(MotionObjectPool& pool, int blockCount);
};

}  // namespace MD
