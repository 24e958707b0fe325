// Which box do blocks span?
#pragma once

namespace MD {

// Columns and rows, inclusive; empty while left > right.
struct CellBox {
    int left;
    int right;
    int top;
    int bottom;

    friend constexpr bool operator==(const CellBox&, const CellBox&) = default;
};

inline constexpr CellBox emptyCellBox{32767, -32768, 32767, -32768};

constexpr CellBox Union(CellBox a, CellBox b) {
    return {a.left < b.left ? a.left : b.left, a.right > b.right ? a.right : b.right, a.top < b.top ? a.top : b.top,
            a.bottom > b.bottom ? a.bottom : b.bottom};
}

// Overlapping or next to each other, diagonally too.
constexpr bool Touch(CellBox a, CellBox b) {
    const bool columnsMeet = (b.right + 1 >= a.left) & (b.left - 1 <= a.right);  // no branches: outcomes are hard to foresee
    return columnsMeet & (b.bottom + 1 >= a.top) & (b.top - 1 <= a.bottom);
}

// Of no blocks, the empty one.
inline CellBox BoxOfCells(const short* xs, const short* ys, int count) {
    short left = 32767, right = -32768, top = 32767, bottom = -32768;
    for (int i = 0; i < count; ++i) {
        left = xs[i] < left ? xs[i] : left;
        right = xs[i] > right ? xs[i] : right;
        top = ys[i] < top ? ys[i] : top;
        bottom = ys[i] > bottom ? ys[i] : bottom;
    }
    return {left, right, top, bottom};
}

}  // namespace MD
