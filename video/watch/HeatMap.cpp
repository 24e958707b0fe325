// How do counts add up, and how are they painted?
#include "video/watch/HeatMap.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <utility>

#include "video/base/BgrPicture.h"
#include "video/base/PictureGrid.h"

namespace Video {

namespace {

using Colour = std::array<float, 3>;  // blue, green, red; 0 to 255

// Dark violet over red and orange to a pale yellow: brighter at every step, for those who see no colours, too.
constexpr std::array<Colour, 5> warmth = {{{170, 30, 90}, {92, 30, 150}, {45, 60, 222}, {20, 150, 250}, {140, 240, 255}}};
constexpr std::array<std::uint8_t, 3> unknownGrey = {40, 40, 40};
constexpr Colour unknownGround = {40, 40, 40};
constexpr float dimmed = 0.55f;     // of a background's brightness
constexpr float leastCover = 0.7f;  // of the colour where anything moved
constexpr float mostCover = 0.9f;

Colour WarmthOf(float level) {
    const float place = level * static_cast<float>(warmth.size() - 1);
    const auto below = std::min(static_cast<std::size_t>(place), warmth.size() - 2);
    const float part = place - static_cast<float>(below);
    Colour colour{};
    for (std::size_t i = 0; i < colour.size(); ++i) {
        colour[i] = warmth[below][i] + (warmth[below + 1][i] - warmth[below][i]) * part;
    }
    return colour;
}

// Between which two blocks does a pixel lie, and how far from the first?
struct Place {
    int first;
    int second;
    float part;
};

Place PlaceOf(float pixel, float blockSize, int blocks) {
    const float place = std::clamp((pixel + 0.5f) / blockSize - 0.5f, 0.0f, static_cast<float>(blocks - 1));
    const int first = std::min(static_cast<int>(place), blocks - 1);
    return {first, std::min(first + 1, blocks - 1), place - static_cast<float>(first)};
}

// What lies between the four blocks around a pixel. at(column, row): a block's value.
template <typename At>
float Between(const Place& across, const Place& down, const At& at) {
    const float above = at(across.first, down.first) * (1 - across.part) + at(across.second, down.first) * across.part;
    const float below = at(across.first, down.second) * (1 - across.part) + at(across.second, down.second) * across.part;
    return above * (1 - down.part) + below * down.part;
}

// Where the centre of a block lies on another grid.
int TheirBlock(int column, int row, const PictureGrid& grid, int theirColumns, int theirRows) {
    const int theirColumn = (2 * column + 1) * theirColumns / (2 * grid.columns);
    const int theirRow = (2 * row + 1) * theirRows / (2 * grid.rows);
    return theirRow * theirColumns + theirColumn;
}

bool IsUnknown(const std::uint8_t* pixel) { return pixel[0] == 255 && pixel[1] == 0 && pixel[2] == 255; }

// [block] dimmed colours, half way to grey so that the warm ones stand out.
std::vector<Colour> Ground(const BgrPicture& background, const PictureGrid& grid) {
    std::vector<Colour> ground(static_cast<std::size_t>(grid.columns) * static_cast<std::size_t>(grid.rows), unknownGround);
    if (background.pixels.empty()) {
        return ground;
    }
    for (int row = 0; row < grid.rows; ++row) {
        for (int column = 0; column < grid.columns; ++column) {
            const int place = TheirBlock(column, row, grid, background.width, background.height);
            const std::uint8_t* pixel = background.pixels.data() + 3 * std::ptrdiff_t{place};
            if (!IsUnknown(pixel)) {
                Colour& colour = ground[static_cast<std::size_t>(row * grid.columns + column)];
                const float grey = 0.114f * pixel[0] + 0.587f * pixel[1] + 0.299f * pixel[2];
                for (std::size_t i = 0; i < 3; ++i) {
                    colour[i] = dimmed * (grey + pixel[i]) / 2;
                }
            }
        }
    }
    return ground;
}

struct Warmth {
    float level;  // as HeatScale has it, 0 where nothing moved
    float cover;  // 0: nothing moved; 1: something did
};

std::vector<Warmth> WarmthOfBlocks(const HeatMap& map) {
    const HeatScale scale(map);
    std::vector<Warmth> blocks;
    blocks.reserve(map.counts.size());
    for (const std::uint32_t count : map.counts) {
        blocks.push_back(count > 0 ? Warmth{scale.LevelOf(count), 1} : Warmth{0, 0});
    }
    return blocks;
}

}  // namespace

HeatScale::HeatScale(const HeatMap& map) {
    std::vector<std::uint32_t> moved;
    std::copy_if(map.counts.begin(), map.counts.end(), std::back_inserter(moved),
                 [](std::uint32_t count) { return count > 0; });
    std::sort(moved.begin(), moved.end());
    for (std::size_t i = 0; i < moved.size(); ++i) {
        if (i == 0 || moved[i] != moved[i - 1]) {
            _steps.push_back({moved[i], i});
        }
    }
}

float HeatScale::LevelOf(std::uint32_t count) const {
    const Step least = _steps.front(), most = _steps.back();
    if (least.count == most.count) {
        return 1;
    }
    const auto step =
        std::lower_bound(_steps.begin(), _steps.end(), count, [](const Step& a, std::uint32_t b) { return a.count < b; });
    const double time =
        std::log(static_cast<double>(count) / least.count) / std::log(static_cast<double>(most.count) / least.count);
    const double rank = static_cast<double>(step->fewer) / static_cast<double>(most.fewer);
    return static_cast<float>((time + rank) / 2);
}

std::uint32_t HeatScale::CountFrom(float level) const {
    for (const Step& step : _steps) {
        if (LevelOf(step.count) >= level) {
            return step.count;
        }
    }
    return 0;
}

std::vector<HeatColour> HeatLegend(const HeatMap& map) {
    const HeatScale scale(map);
    std::vector<HeatColour> legend;
    std::uint32_t before = 0;
    for (std::size_t i = 0; i < warmth.size(); ++i) {
        const std::uint32_t count = scale.CountFrom(static_cast<float>(i) / static_cast<float>(warmth.size() - 1));
        if (count == 0) {
            break;
        }
        if (count == before) {  // nothing is as cold as that
            legend.pop_back();
        }
        const auto byte = [&](std::size_t channel) { return static_cast<std::uint8_t>(warmth[i][channel]); };
        const double frames = std::max(static_cast<double>(map.frames), static_cast<double>(count));
        legend.push_back({{byte(0), byte(1), byte(2)}, count / frames});
        before = count;
    }
    return legend;
}

void HeatMap::Add(const HeatMap& other) {
    if (counts.empty()) {
        *this = other;
        return;
    }
    if (other.counts.empty()) {
        return;
    }
    frames += other.frames;
    for (int row = 0; row < grid.rows; ++row) {
        for (int column = 0; column < grid.columns; ++column) {
            std::uint32_t& count = counts[static_cast<std::size_t>(row * grid.columns + column)];
            const int place = TheirBlock(column, row, grid, other.grid.columns, other.grid.rows);
            const std::uint32_t more = other.counts[static_cast<std::size_t>(place)];
            count += std::min(more, std::numeric_limits<std::uint32_t>::max() - count);
        }
    }
}

BgrPicture HeatPicture(const HeatMap& map, const BgrPicture& background, int shrink) {
    const PictureGrid& grid = map.grid;
    BgrPicture picture{std::max(1, grid.pictureWidth / shrink), std::max(1, grid.pictureHeight / shrink), {}};
    picture.pixels.reserve(3 * static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height));
    const std::vector<Colour> ground = Ground(background, grid);
    const std::vector<Warmth> blocks = WarmthOfBlocks(map);
    const auto index = [&](int column, int row) { return static_cast<std::size_t>(row * grid.columns + column); };
    const float blockSize = static_cast<float>(grid.blockSize) / static_cast<float>(shrink);
    std::vector<Place> across;
    across.reserve(static_cast<std::size_t>(picture.width));
    for (int x = 0; x < picture.width; ++x) {
        across.push_back(PlaceOf(static_cast<float>(x), blockSize, grid.columns));
    }
    for (int y = 0; y < picture.height; ++y) {
        const Place down = PlaceOf(static_cast<float>(y), blockSize, grid.rows);
        for (const Place& place : across) {
            const float level = Between(place, down, [&](int column, int row) { return blocks[index(column, row)].level; });
            const float part = Between(place, down, [&](int column, int row) { return blocks[index(column, row)].cover; });
            const float cover = part * (leastCover + (mostCover - leastCover) * level);
            const Colour colour = WarmthOf(level);
            for (std::size_t i = 0; i < 3; ++i) {
                const float below = Between(place, down, [&](int column, int row) { return ground[index(column, row)][i]; });
                picture.pixels.push_back(static_cast<std::uint8_t>(std::lround(below + (colour[i] - below) * cover)));
            }
        }
    }
    return picture;
}

void UpdateBackground(BgrPicture& older, const BgrPicture& newer) {
    if (older.width != newer.width || older.height != newer.height) {
        older = newer;
        return;
    }
    for (std::size_t i = 0; i + 2 < newer.pixels.size(); i += 3) {
        if (!IsUnknown(newer.pixels.data() + i)) {
            std::copy_n(newer.pixels.begin() + static_cast<std::ptrdiff_t>(i), 3,
                        older.pixels.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
}

BgrPicture GreyWhereUnknown(BgrPicture background) {
    for (std::size_t i = 0; i + 2 < background.pixels.size(); i += 3) {
        if (IsUnknown(background.pixels.data() + i)) {
            std::copy(unknownGrey.begin(), unknownGrey.end(), background.pixels.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
    return background;
}

}  // namespace Video
