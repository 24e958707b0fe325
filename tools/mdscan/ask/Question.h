// What is asked of one moment of a video?
#pragma once

#include <array>
#include <optional>

namespace Scan {

struct Question {
    double at = -1;                           // seconds
    std::optional<std::array<int, 2>> block;  // column and row
    std::optional<std::array<int, 2>> pixel;  // instead of it, x and y
    bool json = false;                        // answer in JSON
};

}  // namespace Scan
