// Which values does a fuzzed host hand over?  Times, rates, flags and zones with all their extremes, chosen by a few bytes.
// Used by DetectFuzz.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <vector>

#include "ByteSource.h"
#include "coreMD.h"

namespace Fuzz {

inline constexpr std::int64_t oneSecond = 10000000;  // ticks
inline constexpr std::int64_t earliest = std::numeric_limits<std::int64_t>::min();
inline constexpr std::int64_t latest = std::numeric_limits<std::int64_t>::max();

inline std::int64_t ChooseStep(ByteSource& bytes) {  // ticks between two frames
    static constexpr std::int64_t steps[] = {400000,         2000000,       oneSecond, 0,        1, 3 * oneSecond,
                                             61 * oneSecond, oneSecond / 2, latest,    earliest, -1};
    const std::uint8_t code = bytes.Byte();
    return code < 240 ? steps[code % std::size(steps)] : bytes.Int64();
}

inline std::int64_t ChooseTime(ByteSource& bytes) {  // ticks
    static constexpr std::int64_t times[] = {0, earliest, latest, earliest + 1, latest - 1, -1, 637000000000000000};
    const std::uint8_t code = bytes.Byte();
    return code < 128 ? times[code % std::size(times)] : bytes.Int64();
}

inline double ChooseRate(ByteSource& bytes) {  // frames per second
    static constexpr double infinity = std::numeric_limits<double>::infinity();
    static constexpr double rates[] = {
        25, 5, 1, 0, -0.0, -25, 1e-300, 1e300, infinity, -infinity, std::numeric_limits<double>::quiet_NaN()};
    const std::uint8_t code = bytes.Byte();
    return code < 200 ? rates[code % std::size(rates)] : bytes.Double();
}

inline void ChooseFlags(ByteSource& bytes, DetectionInfo& info) {
    info.isIFrame = bytes.Flag();
    info.detectShadow = bytes.Flag();
    info.isMPEG4 = bytes.Flag();
    info.isH264Partly = bytes.Flag();
    info.isH264PartlyIFrame = bytes.Flag();
    const std::uint8_t others = bytes.Byte();
    info.passThroughFlag = others & 3;
    info.extraFlag1 = others >> 2 & 3;
    info.extraFlag2 = others >> 4 & 3;
    info.reserved = others;
}

// A zone with its mask.
struct ChosenZone {
    explicit ChosenZone(ByteSource& bytes);

    std::vector<std::uint8_t> mask;
    MDZoneInfo info{};  // points to the mask

    // A least size beyond the grid: the process ends, by contract, where one object fills the grid.  Such a zone leaves the
    // right half of a grid of two columns or more free.
    bool isLimited = false;
};

inline ChosenZone::ChosenZone(ByteSource& bytes) {
    static constexpr float infinity = std::numeric_limits<float>::infinity();
    static constexpr float fractions[] = {
        0, 0.03f, 0.25f, 0.5f, 1, -1, 1e-30f, -0.0f, std::numeric_limits<float>::quiet_NaN(), -infinity};
    static constexpr float beyond[] = {1.5f, 3, 1e30f, infinity};
    const int width = bytes.Between(0, 20), height = bytes.Between(0, 12);
    const std::size_t cells = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    mask.assign(std::max<std::size_t>(cells, 1), 1);  // of no cells, too, a host has an address
    switch (bytes.Byte() % 4) {
        case 0: break;
        case 1: std::fill(mask.begin(), mask.end(), bytes.Byte()); break;
        case 2:
            for (std::size_t i = 0; i < cells; i += 2) mask[i] = 0;
            break;
        case 3: bytes.Fill(mask); break;
    }
    info = {mask.data(), width, height, bytes.Float(), bytes.Pick(fractions), bytes.Pick(fractions)};
    isLimited = bytes.Byte() % 8 == 7;
    if (!isLimited) return;
    mask = {1, 0};
    info = {mask.data(), 2, 1, 0, bytes.Pick(beyond), bytes.Pick(beyond)};
}

}  // namespace Fuzz
