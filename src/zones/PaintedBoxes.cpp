// Which boxes touch an earlier one?
#include "zones/PaintedBoxes.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "utils/StandardGaps.h"

namespace MD {
namespace {

constexpr std::int64_t mostCellsPerBox = 64;          // clearing the plane must not cost more than the boxes do
constexpr std::int64_t mostRowsPerBox = 16;           // on average; nor must painting them
constexpr int wordLength = 8;                         // so many cells are read and written at once
constexpr std::size_t margin = 1;                     // in front of a row, above and below
constexpr std::size_t marginBehind = wordLength - 1;  // of a row: a word may start at its last cell

// The word whose first `count` cells are painted.
constexpr auto firstCells = [] {
    std::array<std::uint64_t, wordLength + 1> words{};
    std::array<std::uint8_t, wordLength> cells{};
    for (std::size_t count = 1; count <= wordLength; ++count) {
        cells[count - 1] = 255;
        words[count] = BitCast<std::uint64_t>(cells);
    }
    return words;
}();

std::uint64_t WordAt(const std::uint8_t* cells) {
    std::uint64_t word;
    std::memcpy(&word, cells, sizeof word);
    return word;
}

std::size_t WidthOf(CellBox box) { return static_cast<std::size_t>(box.right - box.left + 1); }

// work(strip) for strips side by side that make up the box.
template <class Work>
void ForEachStrip(CellBox box, int stripWidth, Work work) {
    for (int left = box.left; left <= box.right; left += stripWidth)
        work(CellBox{left, std::min(left + stripWidth - 1, box.right), box.top, box.bottom});
}

}  // namespace

bool PaintedBoxes::Start(int columns, int rows, int boxCount) {
    if (columns <= 0 || rows <= 0) return false;
    if (static_cast<std::int64_t>(columns) * rows > mostCellsPerBox * boxCount) return false;
    _columns = columns;
    _rows = rows;
    _room = mostRowsPerBox * boxCount;
    _stride = margin + static_cast<std::size_t>(columns) + marginBehind;
    _cells.assign(_stride * (static_cast<std::size_t>(rows) + 2 * margin), 0);
    return true;
}

bool PaintedBoxes::Paint(CellBox box) {
    static_assert(stripWidth == wordLength - 2);
    _room -= RowsOfStrips(box);
    if (box.right - box.left < stripWidth) {  // most boxes
        const bool touches = IsPaintedAround(box);
        PaintStrip(box);
        return touches;
    }
    bool touches = false;
    ForEachStrip(box, stripWidth, [&](CellBox strip) { touches = touches || IsPaintedAround(strip); });
    ForEachStrip(box, stripWidth,
                 [&](CellBox strip) { PaintStrip(strip); });  // afterwards: strips of one box are neighbours
    return touches;
}

// The margin moves every cell by one row and one column.
std::size_t PaintedBoxes::CornerOf(CellBox strip) const {
    return static_cast<std::size_t>(strip.top) * _stride + static_cast<std::size_t>(strip.left);
}

bool PaintedBoxes::IsPaintedAround(CellBox strip) const {
    const std::uint8_t* row = _cells.data() + CornerOf(strip);
    std::uint64_t around = WordAt(row) | WordAt(row + _stride);
    for (int y = strip.top; y <= strip.bottom; ++y, row += _stride) around |= WordAt(row + 2 * _stride);
    return (around & firstCells[WidthOf(strip) + 2]) != 0;
}

void PaintedBoxes::PaintStrip(CellBox strip) {
    std::uint8_t* row = _cells.data() + CornerOf(strip) + margin;
    for (int y = strip.top; y <= strip.bottom; ++y) {
        row += _stride;
        const std::uint64_t word = WordAt(row) | firstCells[WidthOf(strip)];
        std::memcpy(row, &word, sizeof word);
    }
}

}  // namespace MD
