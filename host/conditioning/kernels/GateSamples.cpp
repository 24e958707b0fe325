// How do loops over blocks ask for matches?  See GateSamples.h.
#include "conditioning/kernels/GateSamples.h"

#include <algorithm>
#include <array>

#include "kernels/ColumnLoop.h"

namespace Host::Kernels {
namespace {

// Blocks that look for matches together: they stop at the sample after which all have enough, usually the third, where
// nothing moves.  Shorter parts stop sooner, longer ones ask less often.
constexpr std::size_t partLength = 32;

// How many matches of a part were found, and how near.
struct Part {
    std::array<std::uint8_t, partLength> found, nearest;
};

void MatchSample(BlockColours picture, BlockColours sample, const std::uint8_t* limit, Part& part, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint8_t distance =
            ColourDistance(picture.y[i], picture.cb[i], picture.cr[i], sample.y[i], sample.cb[i], sample.cr[i]);
        const Matches matches = WithSample({part.found[i], part.nearest[i]}, distance, limit[i]);
        part.found[i] = matches.found;
        part.nearest[i] = matches.nearest;
    }
}

bool AllMatched(const Part& part, std::size_t count) {
    std::uint8_t fewest = wantedMatches;
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) fewest = part.found[i] < fewest ? part.found[i] : fewest;
    return fewest == wantedMatches;
}

void FindPart(BlockColours picture, BlockSamples samples, std::size_t first, const std::uint8_t* limit,
              std::uint8_t* nearest, std::uint8_t* isMoving, std::size_t count) {
    Part part;
    part.found.fill(0);
    part.nearest.fill(255);
    for (std::size_t sample = 0; sample < samples.count; ++sample) {
        MatchSample(picture.From(first), samples.Of(sample).From(first), limit + first, part, count);
        if (AllMatched(part, count)) break;
    }
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        nearest[first + i] = part.nearest[i];
        isMoving[first + i] = part.found[i] == wantedMatches ? 0 : 255;
    }
}

}  // namespace

void FindMatches(BlockColours picture, BlockSamples samples, const std::uint8_t* limit, std::uint8_t* nearest,
                 std::uint8_t* isMoving, std::size_t count) {
    for (std::size_t first = 0; first < count; first += partLength)
        FindPart(picture, samples, first, limit, nearest, isMoving, std::min(partLength, count - first));
}

void ReplaceTaken(const std::uint8_t* isTaken, const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint8_t now = from[i], before = to[i];
        to[i] = isTaken[i] ? now : before;
    }
}

}  // namespace Host::Kernels
