// Is it worth going on to look at keyframes?  Weighs what they cost against what was not decoded, in pictures, so that an
// input gives the same results on every machine.
//
// Pure: counts in, decision out.
#pragma once

#include <algorithm>
#include <cstdint>

namespace Video {

class ScoutingGain {
public:
    // promised: pictures of the whole input, 0: not known.
    explicit ScoutingGain(std::int64_t promised) : _patience(std::max(leastPatience, promised / lossShare)) {}

    // A keyframe costs more than another picture, as much more as is stored of it, up to ten times.
    //   keyBytes, otherBytes: of the first picture of a GOP, and of all others
    static std::int64_t PriceOf(std::int64_t keyBytes, std::int64_t otherBytes, int pictures) {
        const std::int64_t mean = std::max<std::int64_t>(1, otherBytes / std::max(1, pictures - 1));
        return std::clamp<std::int64_t>(keyBytes / mean, 1, highestPrice);
    }

    // Pictures were decoded to look at them alone, or were not decoded at all because of that.
    void Spend(std::int64_t pictures) { _loss += pictures; }
    void Save(std::int64_t pictures) { _loss -= pictures; }

    // So much more was spent than saved that an input of that length will hardly make up for it.
    bool IsLost() const { return _loss > _patience; }

private:
    static constexpr std::int64_t highestPrice = 10;
    static constexpr std::int64_t leastPatience = 40;  // pictures: an input of unknown length may be long
    static constexpr std::int64_t lossShare = 50;      // of an input's pictures, one in so many

    const std::int64_t _patience;  // pictures
    std::int64_t _loss = 0;        // pictures
};

}  // namespace Video
