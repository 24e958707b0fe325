// How are masks drawn?
#include "MaskPicture.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <utility>

#include "BlockMasks.h"
#include "PictureFile.h"
#include "video/base/Failure.h"
#include "video/files/AtomicFile.h"
#include "video/files/PngFile.h"

namespace Accuracy {

namespace {

using Colour = std::array<std::uint8_t, 3>;  // blue, green, red
constexpr Colour black = {0, 0, 0}, white = {255, 255, 255}, red = {40, 40, 230}, blue = {235, 120, 40}, grey = {90, 90, 90};
constexpr int gap = 4;  // pixels between panels

using ColourAt = std::function<Colour(int x, int y)>;

Video::BgrPicture Drawn(int width, int height, const ColourAt& at) {
    Video::BgrPicture picture{width, height, {}};
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const Colour colour = at(x, y);
            picture.pixels.insert(picture.pixels.end(), colour.begin(), colour.end());
        }
    }
    return picture;
}

Colour ColourOf(Truth truth, bool found) {
    if (truth == Truth::Unknown) return grey;
    if (truth == Truth::Moving) return found ? white : blue;
    return found ? red : black;
}

int WrongBlocks(const std::vector<Truth>& truth, const std::vector<std::uint8_t>& found) {
    int wrong = 0;
    for (std::size_t i = 0; i < truth.size(); ++i) {
        wrong += truth[i] != Truth::Unknown && (truth[i] == Truth::Moving) != (found[i] != 0);
    }
    return wrong;
}

std::optional<std::size_t> WorstPlace(const LabelledFolder& folder, const std::vector<Outcome>& outcomes) {
    std::optional<std::size_t> worst;
    int most = -1;
    for (const auto& [place, found] : outcomes.front().found) {
        const std::size_t here = place;
        const bool all =
            std::all_of(outcomes.begin(), outcomes.end(), [here](const Outcome& o) { return o.found.count(here); });
        const int wrong = all ? WrongBlocks(TruthOf(ReadLabels(folder.pictures[place].labels)), found) : -1;
        if (wrong > most) {
            most = wrong;
            worst = place;
        }
    }
    return worst;
}

}  // namespace

Video::BgrPicture MaskRow(const LabelledFolder& folder, const std::vector<Outcome>& outcomes) {
    const std::optional<std::size_t> place = WorstPlace(folder, outcomes);
    if (!place) {
        return {};
    }
    const LabelledPicture& picture = folder.pictures[*place];
    const GreyPicture labels = ReadLabels(picture.labels);
    const std::vector<Truth> truth = TruthOf(labels);
    const int columns = (labels.width + scoredBlock - 1) / scoredBlock;
    const auto panel = [&](const std::function<Colour(std::size_t block)>& colourOf) {
        return Drawn(labels.width, labels.height, [&](int x, int y) {
            return colourOf(static_cast<std::size_t>(y / scoredBlock * columns + x / scoredBlock));
        });
    };
    std::vector<Video::BgrPicture> panels;
    panels.push_back(panel([&](std::size_t block) { return ColourOf(truth[block], truth[block] == Truth::Moving); }));
    for (const Outcome& outcome : outcomes) {
        const std::vector<std::uint8_t>& found = outcome.found.at(*place);
        panels.push_back(panel([&](std::size_t block) { return ColourOf(truth[block], found[block] != 0); }));
    }
    const int step = labels.width + gap, count = static_cast<int>(panels.size());
    return Drawn(count * step - gap, labels.height, [&](int x, int y) {
        const int column = x % step;
        if (column >= labels.width) return grey;
        const auto pixel = static_cast<std::size_t>(3 * (y * labels.width + column));
        const std::vector<std::uint8_t>& pixels = panels[static_cast<std::size_t>(x / step)].pixels;
        return Colour{pixels[pixel], pixels[pixel + 1], pixels[pixel + 2]};
    });
}

Video::BgrPicture Stacked(const std::vector<Video::BgrPicture>& rows) {
    Video::BgrPicture stacked;
    for (const Video::BgrPicture& row : rows) {
        stacked.width = std::max(stacked.width, row.width);
    }
    for (const Video::BgrPicture& row : rows) {
        stacked.pixels.resize(
            stacked.pixels.size() + static_cast<std::size_t>(stacked.height > 0 ? 3 * gap * stacked.width : 0), grey[0]);
        stacked.height += (stacked.height > 0 ? gap : 0) + row.height;
        for (int y = 0; y < row.height; ++y) {
            const auto* begin = row.pixels.data() + std::ptrdiff_t{3} * y * row.width;
            stacked.pixels.insert(stacked.pixels.end(), begin, begin + std::ptrdiff_t{3} * row.width);
            stacked.pixels.resize(stacked.pixels.size() + static_cast<std::size_t>(3 * (stacked.width - row.width)),
                                  grey[0]);
        }
    }
    return stacked;
}

void WriteMaskPicture(const Video::BgrPicture& picture, const std::string& path) {
    if (picture.pixels.empty()) {
        throw Video::Failure(Video::Concern::Usage, "no picture was answered by every subject: no masks to draw");
    }
    Video::AtomicFile file(path, std::string());
    Video::WritePng(picture, file);
    file.Keep();
}

}  // namespace Accuracy
