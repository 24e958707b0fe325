// How is the legend of a heat map laid out?
#include "video/pictures/HeatSheet.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "video/base/BgrPicture.h"
#include "video/pictures/LabelFont.h"
#include "video/watch/HeatMap.h"

namespace Video {

namespace {

constexpr std::array<std::uint8_t, 3> sheetInk = {235, 235, 235}, sheetPaper = {24, 24, 24};
constexpr int swatch = letterRows;         // dots, wide and high
constexpr int sheetGap = 4;                // dots between an entry and the next
constexpr int sheetRows = letterRows + 4;  // dots of the strip
constexpr int sheetDivisor = 240;          // a dot is picture height / this wide and high
constexpr std::size_t leastEntries = 2;    // the coldest and the warmest

void FillSquare(BgrPicture& picture, int x, int y, int size, const std::array<std::uint8_t, 3>& bgr) {
    for (int row = std::max(0, y); row < std::min(y + size, picture.height); ++row) {
        for (int column = std::max(0, x); column < std::min(x + size, picture.width); ++column) {
            std::copy(bgr.begin(), bgr.end(), picture.pixels.begin() + 3 * (std::ptrdiff_t{row} * picture.width + column));
        }
    }
}

// Dots that an entry is wide.
int WidthOf(const std::string& text) { return swatch + 2 + static_cast<int>(text.size()) * (letterColumns + 1) + sheetGap; }

}  // namespace

std::string ShareText(double share) {
    const double percent = 100 * share;
    if (percent < 0.01) {
        return "<0.01%";
    }
    std::array<char, 32> text = {};
    std::snprintf(text.data(), text.size(), percent < 0.1 ? "%.2f%%" : percent < 9.95 ? "%.1f%%" : "%.0f%%", percent);
    return text.data();
}

BgrPicture HeatSheet(const HeatMap& map, const BgrPicture& background) {
    BgrPicture picture = HeatPicture(map, background);
    std::vector<HeatColour> legend = HeatLegend(map);
    if (legend.empty()) {
        return picture;
    }
    const int dot = std::max(1, (picture.height + sheetDivisor / 2) / sheetDivisor);
    const auto fits = [&] {
        int dots = sheetGap;
        for (const HeatColour& entry : legend) {
            dots += WidthOf(ShareText(entry.share));
        }
        return dots * dot <= picture.width;
    };
    while (legend.size() > leastEntries && !fits()) {  // those in between go
        legend.erase(legend.begin() + static_cast<std::ptrdiff_t>(legend.size() / 2));
    }
    const int top = picture.height;
    picture.height += sheetRows * dot;
    for (std::size_t pixels = static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(sheetRows * dot);
         pixels > 0; --pixels) {
        picture.pixels.insert(picture.pixels.end(), sheetPaper.begin(), sheetPaper.end());
    }
    int left = sheetGap;  // dots
    for (const HeatColour& entry : legend) {
        const std::string text = ShareText(entry.share);
        FillSquare(picture, left * dot, top + 2 * dot, swatch * dot, entry.bgr);
        for (std::size_t i = 0; i < text.size(); ++i) {
            const int begin = left + swatch + 2 + static_cast<int>(i) * (letterColumns + 1);
            for (int row = 0; row < letterRows; ++row) {
                for (int column = 0; column < letterColumns; ++column) {
                    if (HasDot(text[i], column, row)) {
                        FillSquare(picture, (begin + column) * dot, top + (2 + row) * dot, dot, sheetInk);
                    }
                }
            }
        }
        left += WidthOf(text);
    }
    return picture;
}

}  // namespace Video
