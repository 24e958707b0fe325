// Where do the blocks of a pool's objects live?  One after another in few large pieces of memory that are reused from
// frame to frame. Called by MotionObjectPool; what was taken stays valid until Reset.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "utils/Visibility.h"

namespace MD {

class MD_INTERNAL CellArena {
public:
    // Room for `entries` coordinates, uninitialised. A new piece holds at least `pieceEntries`. Throws std::bad_alloc.
    short* Take(std::size_t entries, std::size_t pieceEntries);
    void Reset() noexcept;  // all that was taken may be given out again; the memory stays
    void Free() noexcept;   // gives the memory back

private:
    struct Piece {
        std::unique_ptr<short[]> entries;
        std::size_t length;
    };
    std::vector<Piece> _pieces;
    std::size_t _piece = 0;  // the one being used up
    std::size_t _used = 0;   // its entries given out
};

}  // namespace MD
