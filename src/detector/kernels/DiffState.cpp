// How restless was a block over the whole ring?
#include "detector/kernels/DiffState.h"

MD_LEVEL_BEGIN
namespace MD::Kernels::MD_LEVEL {

RowVariation VariationOfRow(const std::uint8_t* const (&lumaOfAge)[framesOfRing], const std::uint8_t* isSelected,
                            std::ptrdiff_t first, std::ptrdiff_t last) {
    RowVariation row{0, 0};
    for (std::ptrdiff_t i = first; i < last; ++i) {
        if (!isSelected[i]) continue;
        ++row.count;
        for (int age = 0; age + 1 < framesOfRing; ++age) {
            const int difference = lumaOfAge[age][i] - lumaOfAge[age + 1][i];
            row.sum += difference < 0 ? -difference : difference;
        }
    }
    return row;
}

}  // namespace MD::Kernels::MD_LEVEL
MD_LEVEL_END

namespace MD::Kernels {

MD_DEFINE_LOOP(VariationOfRow);

}  // namespace MD::Kernels
