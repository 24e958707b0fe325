// How is the median of a mask counted?  See MaskMedian.h.
#include "conditioning/kernels/MaskMedian.h"

#include "kernels/ColumnLoop.h"

namespace Host::Kernels {

void CountSet(const std::array<const std::uint8_t*, medianRows>& rows, std::uint8_t* sum, std::size_t count) {
    const std::uint8_t* const a = rows[0];
    const std::uint8_t* const b = rows[1];
    const std::uint8_t* const c = rows[2];
    const std::uint8_t* const d = rows[3];
    const std::uint8_t* const e = rows[4];
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i)
        sum[i] = static_cast<std::uint8_t>((a[i] & 1) + (b[i] & 1) + (c[i] & 1) + (d[i] & 1) + (e[i] & 1));
}

void MarkMedian(const std::uint8_t* sum, std::uint8_t* mask, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint8_t all = static_cast<std::uint8_t>(sum[i] + sum[i + 1] + sum[i + 2] + sum[i + 3] + sum[i + 4]);
        mask[i] = all >= mostOfMedian ? 255 : 0;
    }
}

}  // namespace Host::Kernels
