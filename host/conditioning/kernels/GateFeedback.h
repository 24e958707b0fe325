// How tolerant is a block, and how fast does it learn?  Both follow from how well its matches fit: a restless block gets a
// wider limit, a moving one learns more slowly.  Called by MotionGate, which owns every array.
//
// Fixed point throughout: distances and limits in 1/256 levels of luma, intervals in 1/256 pictures, 16 bits each.  No
// kernel writes outside the elements it is told to write.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Host::Kernels {

// value * share / 65536, rounded down: one instruction for eight blocks.
constexpr std::uint16_t PartOf(std::uint16_t value, std::uint16_t share) {
    return static_cast<std::uint16_t>(static_cast<std::uint32_t>(value) * share >> 16);
}
constexpr std::uint16_t shareOfOneIn(std::uint32_t parts) {  // at least 2 parts
    return static_cast<std::uint16_t>((65536 + parts / 2) / parts);
}
inline constexpr std::uint16_t shareOfStep = shareOfOneIn(20);  // limits grow and shrink by 5 %
inline constexpr std::uint16_t shareOfFifth = shareOfOneIn(5);

// The model that this follows counts the sum of three channel differences, and limits in 5/8 of it; here a third of the sum
// counts.  So its limits times 8/15 are ours, and our levels times 15/8 its distances.
constexpr std::uint16_t LevelsOf(std::uint32_t limit) { return static_cast<std::uint16_t>((limit * 256 * 8 + 7) / 15); }
inline constexpr std::uint16_t smallestLimit = LevelsOf(18);  // 1/256 levels; of every block at first
inline constexpr std::uint16_t calmLimit = LevelsOf(25);      // below it, a place is not restless
inline constexpr std::uint16_t largestLimit = 255 * 256;      // then all but the opposite matches
inline constexpr std::uint16_t largestGrowing = 62170;        // and a step more stays below that
static_assert(smallestLimit == 2458 && calmLimit == 3413);
static_assert(largestGrowing + PartOf(largestGrowing, shareOfStep) <= largestLimit);

inline constexpr std::uint16_t firstInterval = 18 * 256;     // 1/256 pictures between two updates
inline constexpr std::uint16_t shortestInterval = 2 * 256;   // not reached
inline constexpr std::uint16_t longestInterval = 200 * 256;  // not reached
inline constexpr std::uint16_t longerStep = 13;              // 1/256: intervals grow by .05 of what they shrink by

// One block: do its matches lie `distance` apart on average, up to 1/256 levels: 1/256 of the largest step of its interval.
inline constexpr int wholeStep = 256 * 8;
constexpr int PartsOfStep(int distance) { return 8 + distance * 15 / 256; }  // 256 / (1 + 15/8 levels)
constexpr std::uint16_t IntervalStep(std::uint32_t distance) {
    const int parts = PartsOfStep(static_cast<int>(distance));
    return static_cast<std::uint16_t>((wholeStep + parts / 2) / parts);
}
inline constexpr int stepCount = 1024;  // 64 levels in sixteenths: what lies further learns as slowly

// One block: is it its turn?  draw: 0..255, each as likely; about one in `interval` (1/256 pictures) says yes.
constexpr bool IsTurn(std::uint8_t draw, std::uint16_t interval) { return PartOf(draw, interval) == 0; }

// One block: the average with one more value, which counts by its share.
constexpr std::uint16_t Averaged(std::uint16_t average, std::uint8_t value, std::uint16_t share) {
    const std::uint16_t fixed = static_cast<std::uint16_t>(value << 8);
    return static_cast<std::uint16_t>(average - PartOf(average, share) + PartOf(fixed, share));
}

// One block: its limit grows while it is less than five times the distance of its matches.
constexpr std::uint16_t NextLimit(std::uint16_t limit, std::uint16_t distance) {
    const std::uint16_t step = PartOf(limit, shareOfStep);
    const std::uint16_t bounded = limit < largestGrowing ? limit : largestGrowing;
    const std::uint16_t larger = static_cast<std::uint16_t>(bounded + PartOf(bounded, shareOfStep));
    const std::uint16_t smaller = static_cast<std::uint16_t>(limit - step);
    const std::uint16_t next = PartOf(limit, shareOfFifth) < distance ? larger : smaller;
    return next > smallestLimit ? next : smallestLimit;
}

// One block: whole levels of luma; distances below it are below the limit.
constexpr std::uint8_t WholeLimit(std::uint16_t limit) { return static_cast<std::uint8_t>((limit + 255) >> 8); }

// One block: a still one is updated sooner, by `step`; a moving one later, by a twentieth of it, whose fraction the draw
// rounds.  Steps to the bounds or beyond are not made.
constexpr std::uint16_t NextInterval(std::uint16_t interval, bool isMoving, std::uint16_t step, std::uint8_t draw) {
    const std::uint16_t sooner = static_cast<std::uint16_t>(interval - step);
    const std::uint16_t later = static_cast<std::uint16_t>(interval + ((step * longerStep + draw) >> 8));
    const std::uint16_t next = isMoving ? later : sooner;
    const bool isBetween = (next > shortestInterval) & (next < longestInterval);
    return isBetween ? next : interval;
}

// isTaken[i] = not isMoving[i], and IsTurn(draw[i], interval[i]) ? 255 : 0, i < count.
void DrawTurns(const std::uint8_t* isMoving, const std::uint8_t* draw, const std::uint16_t* interval, std::uint8_t* isTaken,
               std::size_t count);

// distance[i] = isTaken[i] ? Averaged(distance[i], nearest[i], share) : distance[i], i < count.
void AverageTaken(const std::uint8_t* isTaken, const std::uint8_t* nearest, std::uint16_t share, std::uint16_t* distance,
                  std::size_t count);

// i < count: limit[i] = NextLimit of it, whole[i] = WholeLimit of that, isCalm[i] = that is below calmLimit ? 255 : 0.
void AdjustLimits(const std::uint16_t* distance, std::uint16_t* limit, std::uint8_t* whole, std::uint8_t* isCalm,
                  std::size_t count);

// interval[i] = NextInterval(interval[i], isMoving[i], step[i], draw[i]), i < count.
void AdjustIntervals(const std::uint8_t* isMoving, const std::uint16_t* step, const std::uint8_t* draw,
                     std::uint16_t* interval, std::size_t count);

// step[i] = IntervalStep(distance[i]), in sixteenths of a level up to 64 levels, i < count.
void FindSteps(const std::uint16_t* distance, std::uint16_t* step, std::size_t count);

}  // namespace Host::Kernels
