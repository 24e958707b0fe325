// How far is the camera from its place, and what does it see from there?  See CameraMotion.h.
#include "CameraMotion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include "Scene.h"
#include "SceneRandom.h"

namespace MdScene {
namespace {

// Chance of a frame, mean 0, standard deviation 1, within 3.5.
double BellOf(std::uint64_t seed, std::int64_t number) {
    const std::uint64_t chance = Scramble(seed, static_cast<std::uint64_t>(number));
    const auto sum = (chance >> 56) + (chance >> 48 & 255) + (chance >> 40 & 255) + (chance >> 32 & 255);
    return (static_cast<double>(sum) - 510) / 147.8;
}

// Each frame's shift remembers 60 % of the last one's, so it is a sum over the last ones' chances.
double TremorOf(std::uint64_t seed, int number, double amplitude) {
    double shift = 0, weight = 0.5 * amplitude;
    for (int back = 0; back < 16; ++back, weight *= 0.6) shift += weight * BellOf(seed, std::int64_t{number} - back);
    return std::clamp(shift, -amplitude, amplitude);
}

// A pixel of the old picture and its share in a new one.
struct Source {
    int x, y;
    float share;
};

// The up to four pixels that a new one is mixed of.
class Sampler {
public:
    Sampler(const CameraPose& pose, int width, int height) : _pose(pose), _width(width), _height(height) {}

    std::array<Source, 4> At(int x, int y) const {
        const double dx = x - (_width - 1) / 2.0, dy = y - (_height - 1) / 2.0;
        const double fromX = (_width - 1) / 2.0 + _pose.cosine * dx + _pose.sine * dy - _pose.right;
        const double fromY = (_height - 1) / 2.0 - _pose.sine * dx + _pose.cosine * dy - _pose.down;
        const double clampedX = std::clamp(fromX, 0.0, _width - 1.0), clampedY = std::clamp(fromY, 0.0, _height - 1.0);
        const int column = static_cast<int>(clampedX), row = static_cast<int>(clampedY);
        const int right = std::min(column + 1, _width - 1), below = std::min(row + 1, _height - 1);
        const float partX = static_cast<float>(clampedX - column), partY = static_cast<float>(clampedY - row);
        return {Source{column, row, (1 - partX) * (1 - partY)}, Source{right, row, partX * (1 - partY)},
                Source{column, below, (1 - partX) * partY}, Source{right, below, partX * partY}};
    }

private:
    const CameraPose _pose;
    const int _width;
    const int _height;
};

}  // namespace

CameraPose PoseAt(const DisturbancePlan& plan, double seconds, int number, std::uint64_t seed, int pictureHeight) {
    CameraPose pose;
    for (const Disturbance& one : plan) {
        if (!one.IsOn(seconds)) continue;
        if (one.kind == DisturbanceKind::Shake) {
            const double amplitude = 1 + std::floor(4 * (seconds - one.begin) / (one.end - one.begin));  // pixels
            pose.right += TremorOf(Scramble(seed, 'X'), number, amplitude);
            pose.down += TremorOf(Scramble(seed, 'Y'), number, amplitude);
        }
        if (one.kind == DisturbanceKind::Moved) {
            pose.right += pictureHeight / 12.0;
            pose.down += pictureHeight / 30.0;
            pose.sine = 0.052336, pose.cosine = 0.998630;  // of 3 degrees
        }
    }
    return pose;
}

void MoveCamera(const CameraPose& pose, Canvas& canvas, Frame& frame) {
    const Canvas old = canvas;
    const std::vector<std::uint8_t> oldMask = frame.mask;
    const std::vector<Thing> oldThings = frame.things;
    for (Thing& thing : frame.things) thing.box = thing.shadow = {};

    const Sampler sampler(pose, canvas.width, canvas.height);
    for (int y = 0; y < canvas.height; ++y)
        for (int x = 0; x < canvas.width; ++x) {
            Colour mixed = {0, 0, 0};
            std::uint8_t mask = maskEmpty;
            for (const Source& source : sampler.At(x, y)) {
                if (source.share <= 0) continue;
                const std::size_t index = old.IndexOf(source.x, source.y);
                const Colour part = old.pixels[index];
                mixed = {mixed.y + part.y * source.share, mixed.cb + part.cb * source.share,
                         mixed.cr + part.cr * source.share};
                mask = std::max(mask, oldMask[index]);
                for (std::size_t i = 0; i < oldThings.size(); ++i) {
                    if (oldThings[i].box.Contains(source.x, source.y)) frame.things[i].box.Add(x, y);
                    if (oldThings[i].shadow.Contains(source.x, source.y)) frame.things[i].shadow.Add(x, y);
                }
            }
            canvas.pixels[canvas.IndexOf(x, y)] = mixed;
            frame.mask[canvas.IndexOf(x, y)] = mask;
        }
    std::erase_if(frame.things, [](const Thing& thing) { return thing.box.IsEmpty() && thing.shadow.IsEmpty(); });
}

}  // namespace MdScene
