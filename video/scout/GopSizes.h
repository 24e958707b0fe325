// In which GOP may something have come and gone, by what is stored of it?  Asked for GOPs in whose keyframes nothing moves:
// an encoder that keeps its quality spends bytes on whatever moves. One that keeps its rate does not tell, and then no GOP
// stands out.
//
// Pure: sizes in, decision out.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace Video {

class GopSizes {
public:
    // Of all GOPs, one in so many at most.
    static constexpr std::int64_t share = 20;

    // Does the next one stand out?
    //   burst   bytes of its most expensive half of a second
    //   gops    that there are, as far as is known
    bool StandsOut(std::int64_t burst, std::int64_t gops) {
        const bool mayTake = share * (_taken + 1) <= gops;
        const bool standsOut = mayTake && _known.size() >= fewest && burst > 2 * Usual();
        _known.push_back(burst);
        if (_known.size() > most) {
            _known.pop_front();
        }
        _taken += standsOut ? 1 : 0;
        return standsOut;
    }

private:
    static constexpr std::size_t fewest = 5;  // GOPs that tell what is usual
    static constexpr std::size_t most = 31;   // a minute or so: weather and light change it

    // The median.
    std::int64_t Usual() const {
        std::vector<std::int64_t> sorted(_known.begin(), _known.end());
        const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
        std::nth_element(sorted.begin(), middle, sorted.end());
        return *middle;
    }

    std::deque<std::int64_t> _known;  // bytes, of the newest GOPs
    std::int64_t _taken = 0;
};

}  // namespace Video
