// Can a page tell where an object was, from little text?
#include "outputs/PageTrack.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "video/time/TickTime.h"
#include "video/watch/Events.h"

namespace Scan {
namespace {

using Track = std::vector<Video::TrackPoint>;

constexpr Video::Ticks step = 2'000'000;  // 0.2 s

// As the page reads it: time in seconds since the start, x, y, width, height.
std::vector<std::vector<double>> Read(const std::string& text) {
    std::istringstream numbers(text);
    std::vector<std::vector<double>> points;
    std::vector<double> sum(5);
    for (double number = 0; numbers >> number;) {
        sum[0] += number / 100;
        for (std::size_t i = 1; i < 5; ++i) {
            numbers >> number;
            sum[i] += number;
        }
        points.push_back(sum);
    }
    return points;
}

TEST(PageTrack, IsShort) {
    EXPECT_EQ(PageTrack({}, 0), "");
    EXPECT_EQ(PageTrack({{12 * step, {8, 16, 24, 32}}}, 10 * step), "40 8 16 24 32");
    EXPECT_EQ(PageTrack({{12 * step, {8, 16, 24, 32}}, {13 * step, {16, 8, 24, 40}}}, 10 * step),
              "40 8 16 24 32 20 8 -8 0 8");
}

TEST(PageTrack, AStraightWayIsItsEnds) {
    Track track;
    for (int i = 0; i < 50; ++i) {
        track.push_back({i * step, {i * 10 + i % 3, 40 - i % 2, 64, 64}});  // within 4 pixels of a straight one
    }
    EXPECT_EQ(Read(PageTrack(track, 0)).size(), 2u);
    track[25].box.y += 20;
    EXPECT_GT(Read(PageTrack(track, 0)).size(), 2u);
}

TEST(PageTrack, NoPointIsFurtherOffThanAllowed) {
    std::srand(1);
    for (int round = 0; round < 200; ++round) {
        Track track;
        Video::Box box{500, 300, 40, 100};
        for (int i = 0; i < 60; ++i) {
            const auto jump = [](int width) { return std::rand() % (2 * width + 1) - width; };
            box = {box.x + jump(20) / 2, box.y + jump(6), 40 + jump(12), 100 + jump(12)};
            track.push_back({(i + (i > 30 ? 7 : 0)) * step, box});
        }
        const auto points = Read(PageTrack(track, 0));
        ASSERT_LE(points.size(), track.size());
        std::size_t next = 1;
        for (const auto& [time, there] : track) {
            const double seconds = Video::ToSeconds(time);
            while (points[next][0] < seconds - 0.001) {
                ++next;
            }
            const auto &from = points[next - 1], &to = points[next];
            const double part = (seconds - from[0]) / (to[0] - from[0]);
            const double tolerance = std::max(4.0, std::min(there.width, there.height) / 4.0) + 1e-6;
            const double sides[] = {0, double(there.x), double(there.y), double(there.width), double(there.height)};
            for (std::size_t i = 1; i < 5; ++i) {
                ASSERT_NEAR(from[i] + part * (to[i] - from[i]), sides[i], tolerance) << "round " << round << ", " << seconds;
            }
        }
    }
}

}  // namespace
}  // namespace Scan
