// How are the steps of two pictures added up?  See EdgeComparison.h.
#include "conditioning/kernels/EdgeComparison.h"

#include <cstddef>

#include "kernels/ColumnLoop.h"

namespace Host::Kernels {

void EdgeCounts::Add(const EdgeCounts& more) {
    structured += more.structured;
    another += more.another;
    structuredNow += more.structuredNow;
}

EdgeCounts CompareEdges(const std::uint8_t* luma, const std::uint8_t* reference, int columns, BlockBox box) {
    EdgeCounts counts;
    for (int row = box.top; row < box.bottom; ++row) {
        const std::size_t first = static_cast<std::size_t>(row) * static_cast<std::size_t>(columns);
        int structured = 0, another = 0, structuredNow = 0;
        for (int column = box.left; column < box.right; ++column) {
            const std::size_t block = first + static_cast<std::size_t>(column);
            const LumaStep step = StepAt(luma + block, columns), known = StepAt(reference + block, columns);
            const bool isStructured = IsStructured(known), isAnother = IsAnother(step, known);
            structured += isStructured;
            another += isStructured & isAnother;
            structuredNow += IsStructured(step);
        }
        counts.structured += structured;
        counts.another += another;
        counts.structuredNow += structuredNow;
    }
    return counts;
}

namespace {

struct RowPowers {
    int product = 0, power = 0, reference = 0;  // below 2^31
};

// Steps of 16 bits, of which two products at a time are added up.
constexpr std::int16_t Step(std::uint8_t from, std::uint8_t to) { return static_cast<std::int16_t>(to - from); }

RowPowers PowersOfRow(const std::uint8_t* luma, const std::uint8_t* reference, std::size_t columns, std::size_t count) {
    int product = 0, power = 0, known = 0;
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        const std::int16_t right = Step(luma[i], luma[i + 1]), knownRight = Step(reference[i], reference[i + 1]);
        product += right * knownRight;
        power += right * right;
        known += knownRight * knownRight;
    }
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        const std::int16_t down = Step(luma[i], luma[i + columns]), knownDown = Step(reference[i], reference[i + columns]);
        product += down * knownDown;
        power += down * down;
        known += knownDown * knownDown;
    }
    return {product, power, known};
}

}  // namespace

StepPowers CompareSteps(const std::uint8_t* luma, const std::uint8_t* reference, int columns, BlockBox box) {
    StepPowers sum;
    if (box.right <= box.left) return sum;
    for (int row = box.top; row < box.bottom; ++row) {
        const std::size_t first =
            static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) + static_cast<std::size_t>(box.left);
        const RowPowers powers = PowersOfRow(luma + first, reference + first, static_cast<std::size_t>(columns),
                                             static_cast<std::size_t>(box.right - box.left));
        sum.product += powers.product;
        sum.power += powers.power;
        sum.reference += powers.reference;
    }
    return sum;
}

}  // namespace Host::Kernels
