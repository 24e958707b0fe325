// Where does chance come from in a rendered scene?  From the seed alone: the same on every machine and compiler.  Only
// additions, products and exact functions are used, no library distribution and no trigonometry.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace MdScene {

// A value whose bits depend on all bits of the argument.
constexpr std::uint64_t Scramble(std::uint64_t value) {
    value += 0x9E3779B97F4A7C15;  // 2^64 / golden ratio: neighbours end up far apart
    value = (value ^ (value >> 32)) * 0xD6E8FEB86659FD93;
    value = (value ^ (value >> 29)) * 0xA0761D6478BD642F;
    return value ^ (value >> 32);
}

constexpr std::uint64_t Scramble(std::uint64_t value, std::uint64_t salt) { return Scramble(Scramble(value) ^ salt); }

// A sequence of chance.
class Random {
public:
    explicit constexpr Random(std::uint64_t seed) : _state(Scramble(seed)) {}

    constexpr std::uint64_t Next() { return Scramble(_state++); }
    constexpr double Unit() { return static_cast<double>(Next() >> 11) * 0x1p-53; }  // 0 <= value < 1
    constexpr double Between(double low, double high) { return low + (high - low) * Unit(); }
    constexpr std::size_t Below(std::size_t count) { return static_cast<std::size_t>(Next() % count); }

private:
    std::uint64_t _state;
};

// A fixed landscape over the plane, 0..1, with hills about one unit wide.
inline double Landscape(std::uint64_t seed, double x, double y) {
    const double column = std::floor(x), row = std::floor(y);
    const auto corner = [&](int dx, int dy) {
        const auto cx = static_cast<std::uint64_t>(static_cast<std::int64_t>(column) + dx);
        const auto cy = static_cast<std::uint64_t>(static_cast<std::int64_t>(row) + dy);
        return static_cast<double>(Scramble(cx ^ (cy << 32), seed) >> 40) * 0x1p-24;
    };
    const auto ease = [](double t) { return t * t * (3 - 2 * t); };
    const double tx = ease(x - column), ty = ease(y - row);
    const double top = corner(0, 0) + (corner(1, 0) - corner(0, 0)) * tx;
    const double bottom = corner(0, 1) + (corner(1, 1) - corner(0, 1)) * tx;
    return top + (bottom - top) * ty;
}

// A smooth swing between -1 and 1 with period 1: two parabolas, near enough to a sine.
inline double Swing(double cycles) {
    const double part = cycles - std::floor(cycles);
    return part < 0.5 ? 16 * part * (0.5 - part) : -16 * (part - 0.5) * (1 - part);
}

}  // namespace MdScene
