// Where do the numbers of a test come from?  A small generator (splitmix64) that gives every compiler and library the same
// sequence for the same seed, which the standard's distributions do not promise.  Used by scenes, by kernel tests and by
// the streams that library and model are compared on.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Kit {

class SeededRandom {
public:
    explicit SeededRandom(std::uint64_t seed) : _state(seed) {}

    std::uint64_t Next() {
        _state += 0x9E3779B97F4A7C15u;
        std::uint64_t mixed = _state;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9u;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
        return mixed ^ (mixed >> 31);
    }

    // first to last, both included.
    int Between(int first, int last) {
        const auto choices = static_cast<std::uint64_t>(static_cast<std::int64_t>(last) - first + 1);
        return static_cast<int>(first + static_cast<std::int64_t>((Next() >> 33) % choices));
    }
    int Below(int limit) { return Between(0, limit - 1); }
    bool OneIn(int cases) { return Between(1, cases) == 1; }
    std::uint8_t Byte() { return static_cast<std::uint8_t>(Next() >> 40); }

    template <class T, std::size_t n>
    const T& Pick(const T (&choices)[n]) {
        return choices[static_cast<std::size_t>(Below(static_cast<int>(n)))];
    }

private:
    std::uint64_t _state;
};

}  // namespace Kit
