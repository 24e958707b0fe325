// How are gaps found and joined?  See LabelGaps.h.
#include "conditioning/kernels/LabelGaps.h"

#include <cstring>

namespace Host::Kernels {
namespace {

// The first column that is somebody's, from `column` on: four at a time are passed over.
std::size_t EndOfGap(const std::uint16_t* labels, std::size_t column, std::size_t columns) {
    constexpr std::size_t together = 4;
    for (; columns - column >= together; column += together) {
        std::uint64_t four;
        std::memcpy(&four, labels + column, sizeof four);
        if (four != 0) break;
    }
    while (column < columns && labels[column] == 0) ++column;
    return column;
}

}  // namespace

std::size_t AppendGaps(const std::uint16_t* labels, std::size_t row, std::size_t columns, LabelGap* gaps,
                       std::size_t count) {
    std::size_t column = 0;
    while (column < columns) {
        while (column < columns && labels[column] != 0) ++column;
        const std::size_t first = column;
        column = EndOfGap(labels, first, columns);
        if (column == first) break;
        gaps[count] = {static_cast<std::uint32_t>(row), static_cast<std::uint32_t>(first),
                       static_cast<std::uint32_t>(column), static_cast<std::uint32_t>(count)};
        ++count;
    }
    return count;
}

std::size_t FirstGap(LabelGap* gaps, std::size_t gap) {
    while (gaps[gap].parent != gap) {
        gaps[gap].parent = gaps[gaps[gap].parent].parent;  // halves the way for whoever asks next
        gap = gaps[gap].parent;
    }
    return gap;
}

void JoinGaps(LabelGap* gaps, std::size_t one, std::size_t other) {
    const std::size_t a = FirstGap(gaps, one), b = FirstGap(gaps, other);
    if (a < b) gaps[b].parent = static_cast<std::uint32_t>(a);
    else gaps[a].parent = static_cast<std::uint32_t>(b);
}

void JoinRows(LabelGap* gaps, std::size_t begin, std::size_t above, std::size_t last) {
    std::size_t upper = begin, lower = above;
    while (upper < above && lower < last) {
        if (gaps[upper].first < gaps[lower].last && gaps[lower].first < gaps[upper].last) JoinGaps(gaps, upper, lower);
        if (gaps[upper].last < gaps[lower].last) ++upper;
        else ++lower;
    }
}

}  // namespace Host::Kernels
