// Where do the blocks of the detector's objects live?  One after another in few large pieces of memory that are reused from
// frame to frame. What was taken stays valid until Reset, or for as long as somebody shares its piece.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "utils/Visibility.h"

namespace MD {

class MD_INTERNAL CellArena {
public:
    // Room for `entries` coordinates, uninitialised. A new piece holds at least `pieceEntries`. Throws std::bad_alloc.
    short* Take(std::size_t entries, std::size_t pieceEntries) {
        return entries <= _left ? TakeNext(entries) : TakeElsewhere(entries, pieceEntries);
    }
    // The piece that holds these cells, null if none does: whoever has it keeps them, whatever becomes of the arena.
    std::shared_ptr<short[]> Share(const short* cells) const noexcept;
    void Reset() noexcept;  // all that was taken may be given out again; the memory stays, but for pieces that are shared
    void Free() noexcept;   // gives the memory back

private:
    struct Piece {
        std::shared_ptr<short[]> entries;
        std::size_t length;
    };
    short* TakeNext(std::size_t entries) {
        short* const taken = _next;
        _next += entries;
        _left -= entries;
        return taken;
    }
    short* TakeElsewhere(std::size_t entries, std::size_t pieceEntries);
    void UseUp(std::size_t piece);

    std::vector<Piece> _pieces;
    std::size_t _piece = 0;  // the one being used up
    short* _next = nullptr;  // its first entry not given out
    std::size_t _left = 0;   // from there on
};

}  // namespace MD
