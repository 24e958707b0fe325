// What does the camera see at frame n, and what is really there?  A street scene with exact ground truth, rendered from a
// seed.  Used by the program mdscene and by tests that need footage.
//
//     const MdScene::Scene scene({.width = 640, .height = 360, .frames = 600});
//     MdScene::Frame frame;
//     for (int n = 0; n < 600; ++n) { scene.Render(n, frame); ... frame.y, frame.mask, frame.things ... }
//
// Every frame is a function of the settings and its number alone: the same bytes on every machine and compiler that keeps
// to IEEE arithmetic, whatever was rendered before.
#pragma once

#include <cstdint>
#include <vector>

#include "Actors.h"
#include "Backdrop.h"
#include "Disturbance.h"
#include "Foliage.h"
#include "SceneShapes.h"
#include "Water.h"

namespace MdScene {

struct Settings {
    int width = 640;   // pixels, 32..7680
    int height = 360;  // pixels, 32..4320
    double fps = 12;   // frames per second, above 0
    int frames = 720;  // length of the scene; whoever could not leave before its end does not appear
    std::uint64_t seed = 1;
    double quietSeconds = 8;  // nobody is to be seen before, at least 0
    double pauseSeconds = 2;  // least time between one's leaving and the next one's coming; below 0 they meet; -60..10^6
    double noise = 1.5;       // standard deviation of the sensor's noise in grey levels, 0..20
    double wind = 1;          // 0 still air, 1 a light breeze, up to 10
    double foliage = 0;       // share of the picture that leaves cover, 0..0.8
    double water = 0;         // share of the picture's height that is flooded, 0..0.8
    bool isEmpty = false;     // nobody comes
    DisturbancePlan disturbances = {};
};

// What a mask byte says about its pixel.
enum MaskValue : std::uint8_t { maskEmpty = 0, maskShadow = 128, maskThing = 255 };

// One moving thing in a frame.  The boxes hold every pixel that it changes; shared pixels belong to the nearer thing, except
// those that the nearer one covers by less than half.
struct Thing {
    int id = 0;  // the same in all frames, 1, 2, ... in order of appearance
    Kind kind = Kind::Person;
    PixelBox box;     // of the visible thing; empty while only its shadow is in the picture
    PixelBox shadow;  // of its shadow on the ground, also where something stands in front of it; may be empty
};

// A picture in limited range 4:2:0 with its truth.  Chroma planes of odd pictures are rounded up.  Rows without padding.
struct Frame {
    int number = 0;
    double seconds = 0;
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> y;                // width * height
    std::vector<std::uint8_t> cb;               // ((width + 1) / 2) * ((height + 1) / 2)
    std::vector<std::uint8_t> cr;               // as many
    std::vector<std::uint8_t> mask;             // width * height, MaskValue
    std::vector<Thing> things;                  // visible ones, ordered by id
    std::vector<DisturbanceKind> disturbances;  // that are on; a frozen picture's own, too
};

class Scene {
public:
    // Stops the process when a setting is outside its range.
    explicit Scene(const Settings& settings);

    // The same street with a cast of one's own, for instance to have one thing hide another.  quietSeconds and pauseSeconds
    // then mean nothing.  Ids are the caller's, 1..65534, each used once.
    Scene(const Settings& settings, std::vector<Actor> actors);

    // Renders a frame, 0..frames - 1.  Reuses the frame's buffers.  Its truth is that of what it shows: a frozen picture has
    // the things of the moment at which it froze, one behind a cover has none, and what disturbs is never a thing.
    void Render(int number, Frame& frame) const;

    // The same moment, noise and light, but nobody there.
    void RenderEmpty(int number, Frame& frame) const;

    const Settings& Setting() const { return _settings; }
    const std::vector<Actor>& Actors() const { return _actors; }

private:
    void Render(int number, bool withActors, Frame& frame) const;
    int ShownAt(int number) const;
    void Begin(int number, Frame& frame, Canvas& canvas) const;
    void PaintActors(Frame& frame, Canvas& canvas) const;
    void Disturb(Frame& frame, Canvas& canvas) const;
    void Expose(const Canvas& canvas, Frame& frame) const;
    void AddNoise(Frame& frame) const;

    const Settings _settings;
    const Backdrop _backdrop;
    const Water _water;
    const Foliage _foliage;
    const std::vector<Actor> _actors;
};

}  // namespace MdScene
