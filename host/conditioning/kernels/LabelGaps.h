// Where are the gaps between objects in a row of a label map, and which of them hang together?  Runs of blocks of nobody,
// joined from row to row.  Called by HoleFill, which owns every array.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Host::Kernels {

// Blocks first to last - 1 of a row: nobody's, and the next on either side somebody's, or none.
struct LabelGap {
    std::uint32_t row;
    std::uint32_t first;   // column
    std::uint32_t last;    // column, exclusive
    std::uint32_t parent;  // an earlier gap that it hangs together with; itself if it knows of none
};

// Writes the gaps of one row of `columns` labels from gaps[count] on, each its own parent, and returns the new count.
// A row has at most (columns + 1) / 2.
std::size_t AppendGaps(const std::uint16_t* labels, std::size_t row, std::size_t columns, LabelGap* gaps, std::size_t count);

// The first gap of all that this one hangs together with.
std::size_t FirstGap(LabelGap* gaps, std::size_t gap);

// Both hang together from now on.
void JoinGaps(LabelGap* gaps, std::size_t one, std::size_t other);

// Joins gaps above to last - 1 of a row with gaps begin to above - 1 of the row over it, where they have a column in common.
void JoinRows(LabelGap* gaps, std::size_t begin, std::size_t above, std::size_t last);

}  // namespace Host::Kernels
