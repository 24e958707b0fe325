// How do tens of thousands of objects fit into memory, each with the capacity of a whole grid?
#include "zones/LeanObjects.h"

#include <cstddef>

#include "utils/Assert.h"
#include "utils/Buffers.h"

namespace MD {
namespace {

constexpr std::size_t pieceLength = std::size_t{1} << 16;  // coordinates: 32768 blocks, untouched memory costs nothing

}  // namespace

void LeanObjects::Add(MotionObjectPool& pool, const short* xs, const short* ys, int blockCount, int length) {
    Add(pool, xs, ys, blockCount, length, BoxOfCells(xs, ys, blockCount));
}

void LeanObjects::Add(MotionObjectPool& pool, const short* xs, const short* ys, int blockCount, int length, CellBox box) {
    assert(blockCount > 0);
    pool.Fill(Take(pool, length, blockCount), xs, ys, blockCount, box);
}

void LeanObjects::Copy(MotionObjectPool& pool, const MotionObject& src) {
    pool.FillFrom(Take(pool, src._realBufferLenght, src.objectPixelsCount), src);
}

void LeanObjects::MakeRoom(MotionObjectPool& pool, MotionObject& object, int blockCount, int length) {
    if (!object._lender) {
        if (blockCount > object._storedLength || length > object._realBufferLenght) object.OwnCells(length);
    } else if (blockCount > object._storedLength) {
        short* const cells = TakeCells(pool, blockCount);
        Utils::CopyBuff(object.motionX, cells, object.objectPixelsCount);
        Utils::CopyBuff(object.motionY, cells + blockCount, object.objectPixelsCount);
        object.Borrow(pool._cells, blockCount, cells);
    }
    object._realBufferLenght = length;
}

MotionObject* LeanObjects::Take(MotionObjectPool& pool, int length, int blockCount) {
    if (pool._freeList._first) return pool.TakeFree(blockCount);
    short* const cells = TakeCells(pool, blockCount);
    MotionObject* const object = pool.TakeSpare(length);
    object->Borrow(pool._cells, blockCount, cells);
    return object;
}

short* LeanObjects::TakeCells(MotionObjectPool& pool, int blockCount) {
    return pool._cells.Take(2 * static_cast<std::size_t>(blockCount), pieceLength);
}

}  // namespace MD
