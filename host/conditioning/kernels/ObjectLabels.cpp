// How are label maps read?  See ObjectLabels.h.
#include "conditioning/kernels/ObjectLabels.h"

#include "kernels/ColumnLoop.h"

namespace Host::Kernels {

std::uint16_t LargestPlace(const std::uint16_t* labels, std::size_t count) {
    std::uint16_t largest = 0;
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) largest = labels[i] > largest ? labels[i] : largest;
    return largest;
}

void MarkLabelled(const std::uint16_t* labels, std::uint8_t* isLabelled, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) isLabelled[i] = labels[i] != 0 ? 1 : 0;
}

void CountConfirmed(const std::uint16_t* labels, const std::uint8_t* isMoving, const std::uint8_t* isCalm,
                    std::uint32_t* blocks, std::uint32_t* confirmed, std::size_t count) {
    ForEachLabelled(labels, count, [&](std::size_t i) {
        ++blocks[labels[i]];
        confirmed[labels[i]] += (isMoving[i] | isCalm[i]) != 0 ? 1 : 0;
    });
}

}  // namespace Host::Kernels
