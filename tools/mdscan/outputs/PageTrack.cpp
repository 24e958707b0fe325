// Which points of a track are kept, and how are they written?
#include "outputs/PageTrack.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "video/base/Box.h"

namespace Scan {

namespace {

constexpr double leastTolerance = 4;  // pixels: nobody sees less
constexpr double partOfBox = 0.25;

std::array<double, 4> SidesOf(const Video::Box& box) {
    return {static_cast<double>(box.x), static_cast<double>(box.y), static_cast<double>(box.width),
            static_cast<double>(box.height)};
}

// Is the point where a straight way from one to the other has it?
bool IsBetween(const Video::TrackPoint& from, const Video::TrackPoint& point, const Video::TrackPoint& to) {
    const double part = static_cast<double>(point.time - from.time) / static_cast<double>(to.time - from.time);
    const double tolerance = std::max(leastTolerance, partOfBox * std::min(point.box.width, point.box.height));
    const std::array<double, 4> begin = SidesOf(from.box), here = SidesOf(point.box), end = SidesOf(to.box);
    for (std::size_t i = 0; i < here.size(); ++i) {
        if (std::abs(begin[i] + part * (end[i] - begin[i]) - here[i]) > tolerance) {
            return false;
        }
    }
    return true;
}

// From each point that is kept as far as all between allow.
std::vector<Video::TrackPoint> Thinned(const std::vector<Video::TrackPoint>& track) {
    std::vector<Video::TrackPoint> kept;
    for (std::size_t from = 0; from < track.size();) {
        kept.push_back(track[from]);
        std::size_t to = from + 1;
        const auto reaches = [&](std::size_t last) {
            return std::all_of(track.begin() + static_cast<std::ptrdiff_t>(from) + 1,
                               track.begin() + static_cast<std::ptrdiff_t>(last),
                               [&](const Video::TrackPoint& point) { return IsBetween(track[from], point, track[last]); });
        };
        while (to + 1 < track.size() && reaches(to + 1)) {
            ++to;
        }
        from = to;
    }
    return kept;
}

using Numbers = std::array<std::int64_t, 5>;

Numbers NumbersOf(const Video::TrackPoint& point, Video::Ticks start) {
    const auto hundredths = std::llround(100 * Video::ToSeconds(point.time - start));
    return {hundredths, point.box.x, point.box.y, point.box.width, point.box.height};
}

}  // namespace

std::string PageTrack(const std::vector<Video::TrackPoint>& track, Video::Ticks start) {
    std::string text;
    Numbers before = {};
    for (const Video::TrackPoint& point : Thinned(track)) {
        const Numbers numbers = NumbersOf(point, start);
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            text += (text.empty() ? "" : " ") + std::to_string(numbers[i] - before[i]);
        }
        before = numbers;
    }
    return text;
}

}  // namespace Scan
