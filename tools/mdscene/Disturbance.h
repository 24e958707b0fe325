// What can be wrong with a picture in which nothing happens, and when is it?  The kinds, their names, and their times.  How
// each looks: DisturbedLight.h, Weather.h, LensObstacles.h, CameraMotion.h; Scene.cpp freezes the picture.
#pragma once

#include <array>
#include <optional>
#include <string_view>
#include <vector>

namespace MdScene {

enum class DisturbanceKind {
    Light,       // a step: a fifth brighter, from half of its time on a fifth darker
    Ramp,        // slowly down to 60 % of the light, and back
    Infrared,    // the camera's night mode: grey, and another tone curve
    Exposure,    // the exposure hunts: 6 of every 10 seconds it swings by 15 %
    Banding,     // bars of 8 % more and less light that wander over the picture
    Headlights,  // a cone of light sweeps over the ground every 8 seconds
    Shake,       // the camera trembles, by up to 1, 2, 3 and 4 pixels
    Moved,       // the camera points elsewhere
    Rain,        // streaks, new ones in every picture
    Snow,        // flakes that fall slowly
    Insects,     // large bright blobs near the lens
    Web,         // a thread that swings near the lens
    Covered,     // nothing but a dim structure
    Frozen       // the same picture again and again
};

struct Disturbance {
    bool IsOn(double seconds) const { return seconds >= begin && seconds < end; }

    DisturbanceKind kind = DisturbanceKind::Light;
    double begin = 0;  // seconds, at least 0
    double end = 0;    // seconds, exclusive
};

// Those of a scene.  What ends where it begins is none.
inline constexpr std::size_t mostDisturbances = 16;
using DisturbancePlan = std::array<Disturbance, mostDisturbances>;

// Kinds that are on at a moment, each once, in the order of their declaration.
std::vector<DisturbanceKind> KindsAt(const DisturbancePlan& plan, double seconds);

bool IsOn(const DisturbancePlan& plan, DisturbanceKind kind, double seconds);

// "light", "ramp", ...: as the command line and the truth have it.
std::string_view NameOf(DisturbanceKind kind);

// All names, separated by commas.
std::string_view NamesOfDisturbances();

// "rain@30-50": seconds from 30 to 50.  "rain@30" goes on to the end of the scene; "rain" begins after a fifth of the scene,
// after 20 seconds at most.  Nothing when it is no such thing.
std::optional<Disturbance> ReadDisturbance(std::string_view text, double sceneSeconds);

}  // namespace MdScene
