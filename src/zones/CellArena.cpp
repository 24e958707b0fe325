// Where do the blocks of the detector's objects live?
#include "zones/CellArena.h"

#include <algorithm>
#include <functional>

#include "utils/StandardGaps.h"

namespace MD {

void CellArena::UseUp(std::size_t piece) {
    _piece = piece;
    _next = piece < _pieces.size() ? _pieces[piece].entries.get() : nullptr;
    _left = piece < _pieces.size() ? _pieces[piece].length : 0;
}

// In a later piece, or in a new one.
short* CellArena::TakeElsewhere(std::size_t entries, std::size_t pieceEntries) {
    for (std::size_t piece = _piece + 1; piece < _pieces.size(); ++piece) {
        if (_pieces[piece].length < entries) continue;
        UseUp(piece);
        return TakeNext(entries);
    }
    const std::size_t length = std::max(entries, pieceEntries);
    _pieces.push_back({MakeSharedArray<short>(length), length});
    UseUp(_pieces.size() - 1);
    return TakeNext(entries);
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
    UseUp(0);
}

void CellArena::Free() noexcept {
    _pieces.clear();
    UseUp(0);
}

}  // namespace MD
