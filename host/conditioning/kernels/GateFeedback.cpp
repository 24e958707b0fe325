// How do loops over blocks adjust limits and intervals?  See GateFeedback.h.
#include "conditioning/kernels/GateFeedback.h"

#include "kernels/ColumnLoop.h"

namespace Host::Kernels {

void DrawTurns(const std::uint8_t* isMoving, const std::uint8_t* draw, const std::uint16_t* interval, std::uint8_t* isTaken,
               std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        const bool isStill = isMoving[i] == 0;
        const bool isTurn = isStill & IsTurn(draw[i], interval[i]);
        isTaken[i] = isTurn ? 255 : 0;
    }
}

void AverageTaken(const std::uint8_t* isTaken, const std::uint8_t* nearest, std::uint16_t share, std::uint16_t* distance,
                  std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint16_t before = distance[i], after = Averaged(before, nearest[i], share);
        distance[i] = isTaken[i] ? after : before;
    }
}

void AdjustLimits(const std::uint16_t* distance, std::uint16_t* limit, std::uint8_t* whole, std::uint8_t* isCalm,
                  std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint16_t next = NextLimit(limit[i], distance[i]);
        limit[i] = next;
        whole[i] = WholeLimit(next);
        isCalm[i] = next < calmLimit ? 255 : 0;
    }
}

void AdjustIntervals(const std::uint8_t* isMoving, const std::uint16_t* step, const std::uint8_t* draw,
                     std::uint16_t* interval, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) interval[i] = NextInterval(interval[i], isMoving[i] != 0, step[i], draw[i]);
}

// The quotient of whole numbers that small, cut off, is exact: what is left to the next one is 1 / parts at least.
void FindSteps(const std::uint16_t* distance, std::uint16_t* step, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        const int place = distance[i] / 16, known = place < stepCount ? place : stepCount - 1;
        const int parts = PartsOfStep(known * 16);
        const auto quotient = static_cast<float>(wholeStep + parts / 2) / static_cast<float>(parts);
        step[i] = static_cast<std::uint16_t>(static_cast<int>(quotient));
    }
}

}  // namespace Host::Kernels
