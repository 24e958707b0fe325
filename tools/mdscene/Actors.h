// Who crosses the scene, when, and what do they look like?  Persons and cars, one event after another with pauses between.
#pragma once

#include <cstdint>
#include <vector>

#include "SceneShapes.h"

namespace MdScene {

enum class Kind { Person, Car };

// On the ground, in heights of the picture (see Backdrop.h).  The path between two is straight, the speed even.
struct Waypoint {
    double seconds;
    Point ground;
};

struct Actor {
    int id = 0;  // 1, 2, ... in order of appearance
    Kind kind = Kind::Person;
    std::vector<Waypoint> path;  // at least two; outside the picture at both ends
    double pace = 1;             // metres per second where the path begins; persons swing their legs to it
    double size = 1;             // of the usual height
    Colour upper = {};           // jacket, or body of the car
    Colour lower = {};           // trousers
    Colour skin = {};
    Colour hair = {};
    bool isVan = false;

    double Start() const { return path.front().seconds; }
    double End() const { return path.back().seconds; }
};

// A piece of an actor; the colour changes evenly from its top to its bottom.
struct Part {
    Shape shape;
    Colour top;
    Colour bottom;
};

// An actor at one moment, in pixels.
struct Figure {
    std::vector<Part> parts;  // from back to front
    Shape shadow;             // on the ground
    double shadowSoftness;    // pixels
    double ground;            // larger is nearer
};

struct Programme {
    double quietSeconds;  // before the first
    double pauseSeconds;  // at least, between one's end and the next one's start; negative: they meet
    double endSeconds;    // all are gone
    double pictureWidth;  // heights
};

// All actors that come and go within the programme, ordered by their start.
std::vector<Actor> MakeActors(const Programme& programme, std::uint64_t seed);

// seconds: from Start() to End().  pictureHeight: pixels.
Figure FigureOf(const Actor& actor, double seconds, int pictureHeight);

}  // namespace MdScene
