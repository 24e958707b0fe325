// Is this event the square of this scene?  Called by the tests of the built program through ScanFixture.h.

#include <algorithm>
#include <optional>

#include "ScanFixture.h"
#include "video/base/Box.h"

namespace Scan {

void ExpectTheSquare(const nlohmann::json& event, const Video::SquareScene& scene, double offset) {
    constexpr double tolerance = 0.7;  // seconds: a few analysed frames
    const double start = event["start"], end = event["end"], peak = event["peak"];
    EXPECT_NEAR(start, offset + scene.from, tolerance);
    EXPECT_NEAR(end, offset + scene.until, tolerance);
    EXPECT_LE(start, peak);
    EXPECT_LE(peak, end);
    const std::optional<Video::Box> square = scene.SquareAt(peak - offset);
    ASSERT_TRUE(square) << event;
    ASSERT_FALSE(event["boxes"].empty());
    const nlohmann::json& box = event["boxes"][0];
    const int x = box["x"], y = box["y"], w = box["w"], h = box["h"];
    const int left = std::max(x, square->x), right = std::min(x + w, square->x + square->width);
    const int top = std::max(y, square->y), bottom = std::min(y + h, square->y + square->height);
    const int visible = std::min(scene.width, square->x + square->width) - std::max(0, square->x);
    EXPECT_GE((right - left) * (bottom - top) * 10, visible * square->height * 8) << "box misses the square: " << event;
    EXPECT_LE(h, square->height + scene.height / 10) << "box is far too high: " << event;
    EXPECT_LE(w, 2 * square->width) << "box is far too wide: " << event;
}

}  // namespace Scan
