// Where do the blocks of a pool's objects live?
#include "zones/CellArena.h"

#include <algorithm>

namespace MD {

short* CellArena::Take(std::size_t entries, std::size_t pieceEntries) {
    for (; _piece < _pieces.size(); ++_piece, _used = 0) {
        if (_pieces[_piece].length - _used < entries) continue;
        short* const taken = _pieces[_piece].entries.get() + _used;
        _used += entries;
        return taken;
    }
    const std::size_t length = std::max(entries, pieceEntries);
    _pieces.push_back({std::unique_ptr<short[]>(new short[length]), length});
    _piece = _pieces.size() - 1;
    _used = entries;
    return _pieces.back().entries.get();
}

void CellArena::Reset() noexcept { _piece = _used = 0; }

void CellArena::Free() noexcept {
    _pieces.clear();
    Reset();
}

}  // namespace MD
