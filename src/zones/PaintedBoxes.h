// Which boxes touch an earlier one?  Boxes are painted onto a plane of cells, one after another; a box that touches one
// painted before finds a painted cell in or next to itself. Exact, at a cost that grows with what the boxes cover.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "utils/CellBox.h"

namespace MD {

class PaintedBoxes {
public:
    // Nothing is painted on these columns and rows. False, and nothing may be painted: so few boxes are not worth such a
    // plane.
    bool Start(int columns, int rows, int boxCount);

    // One cell at least, all on the plane, and not more in all than is worth painting.
    bool IsPaintable(CellBox box) const {
        return box.left >= 0 && box.left <= box.right && box.right < _columns && box.top >= 0 && box.top <= box.bottom &&
               box.bottom < _rows && RowsOfStrips(box) <= _room;
    }

    // Does the box, which is paintable, touch one painted before? Paints it.
    bool Paint(CellBox box);

private:
    static constexpr int stripWidth = 6;  // what is next to a strip, on both sides, fits into a word of eight cells

    static std::int64_t RowsOfStrips(CellBox box) {
        const int width = box.right - box.left + 1;
        return static_cast<std::int64_t>(box.bottom - box.top + 1) *
               (width <= stripWidth ? 1 : (width + stripWidth - 1) / stripWidth);
    }
    bool IsPaintedAround(CellBox strip) const;
    void PaintStrip(CellBox strip);
    std::size_t CornerOf(CellBox strip) const;  // the cell above and left of it

    std::vector<std::uint8_t> _cells;  // {0,255}; a margin around, so that what is next to a box needs no clipping
    std::size_t _stride = 0;           // from row to row
    int _columns = 0;
    int _rows = 0;
    std::int64_t _room = 0;  // rows of strips that may still be painted
};

}  // namespace MD
