// Where do the blocks of the detector's objects live?
#include "zones/CellArena.h"

#include <algorithm>
#include <functional>

#include "utils/StandardGaps.h"

namespace MD {

short* CellArena::Take(std::size_t entries, std::size_t pieceEntries) {
    for (; _piece < _pieces.size(); ++_piece, _used = 0) {
        if (_pieces[_piece].length - _used < entries) continue;
        short* const taken = _pieces[_piece].entries.get() + _used;
        _used += entries;
        return taken;
    }
    const std::size_t length = std::max(entries, pieceEntries);
    _pieces.push_back({MakeSharedArray<short>(length), length});
    _piece = _pieces.size() - 1;
    _used = entries;
    return _pieces.back().entries.get();
}

std::shared_ptr<short[]> CellArena::Share(const short* cells) const noexcept {
    const std::less<> isBefore;
    for (const Piece& piece : _pieces) {
        const short* const first = piece.entries.get();
        if (!isBefore(cells, first) && isBefore(cells, first + piece.length)) return piece.entries;
    }
    return nullptr;
}

void CellArena::Reset() noexcept {
    std::erase_if(_pieces, [](const Piece& piece) { return piece.entries.use_count() > 1; });
    _piece = _used = 0;
}

void CellArena::Free() noexcept {
    _pieces.clear();
    _piece = _used = 0;
}

}  // namespace MD
