// How do loops over blocks ask for matches?  See GateSamples.h.
#include "conditioning/kernels/GateSamples.h"

#include "kernels/ColumnLoop.h"

namespace Host::Kernels {

void MatchSample(BlockColours picture, BlockColours sample, const std::uint8_t* limit, std::uint8_t* found,
                 std::uint8_t* nearest, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint8_t distance =
            ColourDistance(picture.y[i], picture.cb[i], picture.cr[i], sample.y[i], sample.cb[i], sample.cr[i]);
        const Matches matches = WithSample({found[i], nearest[i]}, distance, limit[i]);
        found[i] = matches.found;
        nearest[i] = matches.nearest;
    }
}

bool AllMatched(const std::uint8_t* found, std::size_t count) {
    std::uint8_t fewest = wantedMatches;
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) fewest = found[i] < fewest ? found[i] : fewest;
    return fewest == wantedMatches;
}

void MarkMoving(const std::uint8_t* found, std::uint8_t* isMoving, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) isMoving[i] = found[i] == wantedMatches ? 0 : 255;
}

void ReplaceTaken(const std::uint8_t* isTaken, const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint8_t now = from[i], before = to[i];
        to[i] = isTaken[i] ? now : before;
    }
}

}  // namespace Host::Kernels
