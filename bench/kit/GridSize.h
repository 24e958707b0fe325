// On how many blocks is something measured?
#pragma once

#include <cstddef>
#include <string>

namespace Bench {

struct GridSize {  // blocks
    int columns;
    int rows;

    constexpr std::size_t Blocks() const { return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows); }
    std::string Name() const { return std::to_string(columns) + "x" + std::to_string(rows); }
    constexpr bool operator==(const GridSize&) const = default;
};

inline constexpr GridSize usualGrid{240, 135};
constexpr bool IsLarge(GridSize grid) { return grid.Blocks() > 1000000; }  // beyond every cache: nothing is ever warm
inline constexpr GridSize gridSizes[] = {{80, 45}, usualGrid, {480, 270}, {1920, 1080}};

}  // namespace Bench
