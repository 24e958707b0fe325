// How are blocks counted sixteen at a time?  See LumaCounts.h.
#include "conditioning/kernels/LumaCounts.h"

#include <algorithm>

#include "kernels/ColumnLoop.h"

namespace Host::Kernels {
namespace {

constexpr std::size_t pieceOfCounts = 240;  // blocks whose count fits a byte

}  // namespace

std::size_t CountBrighter(const std::uint8_t* luma, std::uint8_t level, std::size_t count) {
    std::size_t brighter = 0;
    for (std::size_t first = 0; first < count; first += pieceOfCounts) {
        const std::size_t length = std::min(pieceOfCounts, count - first);
        std::uint8_t ofPiece = 0;
        HOST_INDEPENDENT_COLUMNS
        for (std::size_t i = 0; i < length; ++i)
            ofPiece = static_cast<std::uint8_t>(ofPiece + (luma[first + i] > level ? 1 : 0));
        brighter += ofPiece;
    }
    return brighter;
}

LumaChanges MarkLumaChanges(const std::uint8_t* luma, const std::uint8_t* before, std::uint8_t levels,
                            std::uint8_t* hasChanged, std::size_t count) {
    LumaChanges changes = {};
    for (std::size_t first = 0; first < count; first += pieceOfCounts) {
        const std::size_t length = std::min(pieceOfCounts, count - first);
        std::uint8_t brighter = 0, darker = 0;
        HOST_INDEPENDENT_COLUMNS
        for (std::size_t i = first; i < first + length; ++i) {
            const std::uint8_t now = luma[i], then = before[i];
            const auto more = static_cast<std::uint8_t>(now > then ? now - then : 0);
            const auto less = static_cast<std::uint8_t>(then > now ? then - now : 0);
            const std::uint8_t isBrighter = more >= levels ? 1 : 0, isDarker = less >= levels ? 1 : 0;
            brighter = static_cast<std::uint8_t>(brighter + isBrighter);
            darker = static_cast<std::uint8_t>(darker + isDarker);
            hasChanged[i] = isBrighter | isDarker;
        }
        changes.brighter += brighter;
        changes.darker += darker;
    }
    return changes;
}

void DimLuma(const std::uint8_t* luma, std::uint8_t tenths, std::uint8_t* dimmed, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) dimmed[i] = Dimmed(luma[i], tenths);
}

}  // namespace Host::Kernels
