// Did a block change lately, and when did an object last?  Luma against three earlier pictures; the latest time of all
// blocks of an object.  Called by ObjectHold, which owns every array.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

namespace Host::Kernels {

// Come before every time: of a place that no block has; of a block or an object that is not told, as none changed lately.
inline constexpr std::int64_t noObject = std::numeric_limits<std::int64_t>::min();
inline constexpr std::int64_t noChange = noObject + 1;

inline constexpr int heldDifference = 8;  // levels of luma; a camera's noise stays within it

// One block: did its luma change?
constexpr bool IsChange(std::uint8_t luma, std::uint8_t earlier) {
    const std::uint8_t difference = static_cast<std::uint8_t>(luma > earlier ? luma - earlier : earlier - luma);
    return difference > heldDifference;
}

// isChanged[i] = IsChange from any of the three earlier pictures ? 255 : 0, i < count.  These may be one and the same.
struct EarlierLuma {
    const std::uint8_t* one;   // [block] a picture before
    const std::uint8_t* two;   // [block] two pictures before
    const std::uint8_t* four;  // [block] four pictures before
};
void MarkChanges(const std::uint8_t* luma, EarlierLuma earlier, std::uint8_t* isChanged, std::size_t count);

// latest[labels[i]] = the latest of what it was and of block i's time, i < count: `time` if it changed, else lastChange[i].
// Blocks of nobody are left out.
void CollectChanges(const std::uint16_t* labels, const std::uint8_t* isChanged, const std::int64_t* lastChange,
                    std::int64_t time, std::int64_t* latest, std::size_t count);

// lastChange[i] = latest[labels[i]], and where that is noChange, labels[i] = 0, i < count.  latest[0] is noChange.
void SpreadChanges(std::uint16_t* labels, const std::int64_t* latest, std::int64_t* lastChange, std::size_t count);

}  // namespace Host::Kernels
