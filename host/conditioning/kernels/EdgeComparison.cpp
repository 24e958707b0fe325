// How are the steps of two pictures added up?  See EdgeComparison.h.
#include "conditioning/kernels/EdgeComparison.h"

#include <cstddef>

namespace Host::Kernels {

void EdgeCounts::Add(const EdgeCounts& more) {
    structured += more.structured;
    another += more.another;
    structuredNow += more.structuredNow;
    product += more.product;
    power += more.power;
    referencePower += more.referencePower;
}

EdgeCounts CompareEdges(const std::uint8_t* luma, const std::uint8_t* reference, int columns, BlockBox box) {
    EdgeCounts counts;
    for (int row = box.top; row < box.bottom; ++row) {
        const std::size_t first = static_cast<std::size_t>(row) * static_cast<std::size_t>(columns);
        int structured = 0, another = 0, structuredNow = 0;
        int product = 0, power = 0, referencePower = 0;  // of a row: below 2^31
        for (int column = box.left; column < box.right; ++column) {
            const std::size_t block = first + static_cast<std::size_t>(column);
            const LumaStep step = StepAt(luma + block, columns), known = StepAt(reference + block, columns);
            const bool isStructured = IsStructured(known), isAnother = IsAnother(step, known);
            structured += isStructured;
            another += isStructured & isAnother;
            structuredNow += IsStructured(step);
            product += step.right * known.right + step.down * known.down;
            power += step.right * step.right + step.down * step.down;
            referencePower += known.right * known.right + known.down * known.down;
        }
        counts.structured += structured;
        counts.another += another;
        counts.structuredNow += structuredNow;
        counts.product += product;
        counts.power += power;
        counts.referencePower += referencePower;
    }
    return counts;
}

}  // namespace Host::Kernels
