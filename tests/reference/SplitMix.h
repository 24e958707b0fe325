// Where does chance come from?  A small generator whose sequence depends on its seed alone, on every platform.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Reference {

class SplitMix {
public:
    explicit SplitMix(std::uint64_t seed) : _state(seed) {}

    std::uint64_t Next() {
        std::uint64_t z = (_state += 0x9E3779B97F4A7C15u);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }
    // 0 to limit - 1
    int Below(int limit) { return static_cast<int>((Next() >> 32) * static_cast<std::uint64_t>(limit) >> 32); }
    // first to last, both included
    int Between(int first, int last) { return first + Below(last - first + 1); }
    bool OneIn(int cases) { return Below(cases) == 0; }
    template <class T, std::size_t n> const T& Pick(const T (&choices)[n]) { return choices[Below(static_cast<int>(n))]; }

private:
    std::uint64_t _state;
};

} // namespace Reference
