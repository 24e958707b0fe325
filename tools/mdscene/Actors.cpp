// How are persons and cars scheduled and drawn?  See Actors.h.
#include "Actors.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <utility>

#include "Backdrop.h"
#include "SceneRandom.h"

namespace MdScene {
namespace {

// The camera hangs this high above the street and sees the horizon at the picture's top: a metre on the ground at height y
// of the picture is y / cameraHeight long.
constexpr double cameraHeight = 6.5;  // metres

double MetreAt(double ground) { return ground / cameraHeight; }

// The sun: what stands a metre high shades the ground this far to the right and towards the camera.
constexpr double shadowRight = 0.5, shadowDown = 0.17;

constexpr double outside = 0.5;  // heights beyond the picture's edge, enough for the longest car with its shadow

constexpr Colour jackets[] = {ColourOfRgb(38, 52, 92),    ColourOfRgb(140, 40, 36), ColourOfRgb(40, 44, 42),
                              ColourOfRgb(206, 198, 176), ColourOfRgb(44, 96, 66),  ColourOfRgb(196, 152, 44)};
constexpr Colour trousers[] = {ColourOfRgb(34, 38, 52), ColourOfRgb(62, 58, 54), ColourOfRgb(44, 62, 96),
                               ColourOfRgb(24, 24, 26)};
constexpr Colour skins[] = {ColourOfRgb(208, 160, 132), ColourOfRgb(168, 118, 90), ColourOfRgb(104, 72, 56)};
constexpr Colour hairs[] = {ColourOfRgb(36, 28, 24), ColourOfRgb(96, 66, 40), ColourOfRgb(150, 140, 130)};
constexpr Colour bodies[] = {ColourOfRgb(168, 30, 32), ColourOfRgb(206, 208, 210), ColourOfRgb(34, 54, 104),
                             ColourOfRgb(40, 42, 46),  ColourOfRgb(116, 126, 130), ColourOfRgb(40, 88, 62)};
constexpr Colour glassOfCars = ColourOfRgb(36, 44, 52), tyre = ColourOfRgb(24, 24, 25), hub = ColourOfRgb(142, 144, 146);

template <std::size_t count>
Colour AnyOf(const Colour (&colours)[count], Random& random) {
    return colours[random.Below(count)];
}

double Length(Point from, Point to) {
    const double dx = to.x - from.x, dy = to.y - from.y;
    return std::sqrt(dx * dx + dy * dy);
}

// A path through the corners from `start` on, at an even speed in heights per second.
std::vector<Waypoint> PathThrough(std::initializer_list<Point> corners, double start, double speed) {
    std::vector<Waypoint> path;
    for (const Point corner : corners) {
        if (!path.empty()) start += Length(path.back().ground, corner) / speed;
        path.push_back({start, corner});
    }
    return path;
}

Actor MakePerson(double start, double pictureWidth, bool leftwards, bool crossesTheRoad, Random& random) {
    Actor person;
    person.kind = Kind::Person;
    person.size = random.Between(0.94, 1.06);
    person.upper = AnyOf(jackets, random);
    person.lower = AnyOf(trousers, random);
    person.skin = AnyOf(skins, random);
    person.hair = AnyOf(hairs, random);
    const double pavement = random.Between(farPavementTop + 0.045, farPavementBottom - 0.03);
    person.pace = random.Between(1.45, 1.75);
    const double speed = person.pace * MetreAt(pavement);
    const auto mirrored = [&](double x) { return leftwards ? pictureWidth - x : x; };
    const Point entry = {mirrored(-outside * 0.4), pavement};
    if (crossesTheRoad) {
        const double turn = pictureWidth * random.Between(0.35, 0.5);
        const Point goal = {mirrored(turn + 0.3), 1.5};  // below the picture, head and all
        person.path = PathThrough({entry, {mirrored(turn), pavement}, goal}, start, speed);
    } else {
        person.path = PathThrough({entry, {mirrored(pictureWidth + outside * 0.4), pavement}}, start, speed);
    }
    return person;
}

Actor MakeCar(double start, double pictureWidth, bool leftwards, Random& random) {
    Actor car;
    car.kind = Kind::Car;
    car.size = random.Between(0.95, 1.05);
    car.upper = AnyOf(bodies, random);
    car.isVan = random.Below(3) == 0;
    const double lane = leftwards ? 0.735 : 0.895;  // right-hand traffic
    car.pace = random.Between(5.0, 8.0);
    const double speed = car.pace * MetreAt(lane);
    const double left = -outside, right = pictureWidth + outside;
    car.path = PathThrough({{leftwards ? right : left, lane}, {leftwards ? left : right, lane}}, start, speed);
    return car;
}

struct Stance {
    Point ground;      // heights
    double direction;  // 1 to the right, -1 to the left
};

Stance StanceOf(const Actor& actor, double seconds) {
    std::size_t next = 1;
    while (next + 1 < actor.path.size() && seconds > actor.path[next].seconds) ++next;
    const Waypoint &from = actor.path[next - 1], &to = actor.path[next];
    const double share = (seconds - from.seconds) / (to.seconds - from.seconds);
    const double dx = to.ground.x - from.ground.x, dy = to.ground.y - from.ground.y;
    return {{from.ground.x + dx * share, from.ground.y + dy * share}, dx < 0 ? -1.0 : 1.0};
}

// Turns metres right and up of a point on the ground into pixels; mirrored for those who go to the left.
struct Body {
    Point Pixel(double right, double up) const { return {origin.x + direction * right * metre, origin.y - up * metre}; }

    Shape Outline(std::initializer_list<Point> metres, double radius) const {
        Shape shape;
        for (const Point point : metres) shape.corners.push_back(Pixel(point.x, point.y));
        shape.radius = radius * metre;
        return shape;
    }

    Point origin;      // pixels
    double metre;      // pixels
    double direction;  // 1 or -1
};

// What stands between left and right, `up` metres high, shades this: a bar on the ground and its copy further on.
Shape ShadowOf(const Body& body, double left, double right, double up, double radius) {
    const double dx = up * shadowRight * body.metre, dy = up * shadowDown * body.metre;
    const Point a = body.Pixel(left, 0.05), b = body.Pixel(right, 0.05);
    return {.corners = {a, b, {b.x + dx, b.y + dy}, {a.x + dx, a.y + dy}}, .radius = radius * body.metre};
}

void AddLimb(Figure& figure, const Body& body, Point from, Point joint, Point to, double radius, Colour colour) {
    figure.parts.push_back({body.Outline({from, joint}, radius), colour, colour});
    figure.parts.push_back({body.Outline({joint, to}, radius * 0.85), colour, colour});
}

void DrawPerson(Figure& figure, const Body& body, const Actor& person, double metresWalked) {
    constexpr double stride = 1.45;  // metres of a double step
    const double cycle = metresWalked / stride, swing = Swing(cycle), rise = 0.02 * Swing(2 * cycle + 0.25);
    const Point hip = {0, 0.86 + rise}, shoulder = {0.02, 1.42 + rise}, head = {0.05, 1.62 + rise};
    const Colour shoe = ColourOfRgb(26, 24, 24), farSide = Scaled(person.lower, 0.75f), farArm = Scaled(person.upper, 0.7f);
    const auto leg = [&](double phase, Colour colour) {
        const double forward = Swing(phase), lift = std::max(0.0, 0.10 * Swing(phase + 0.25));
        const Point foot = {0.30 * forward, 0.07 + lift}, knee = {0.15 * forward + 0.06, 0.46 + lift / 2};
        AddLimb(figure, body, hip, knee, foot, 0.085, colour);
        figure.parts.push_back({body.Outline({foot, {foot.x + 0.15, foot.y - 0.02}}, 0.05), shoe, shoe});
    };
    const auto arm = [&](double forward, Colour colour) {
        const Point hand = {0.24 * forward + 0.05, 0.86 + rise}, elbow = {0.10 * forward - 0.02, 1.14 + rise};
        AddLimb(figure, body, shoulder, elbow, hand, 0.055, colour);
        figure.parts.push_back({body.Outline({hand}, 0.05), person.skin, person.skin});
    };
    arm(swing, farArm);
    leg(cycle + 0.5, farSide);
    leg(cycle, person.lower);
    const double belt = 0.9 + rise, collar = 1.42 + rise;
    figure.parts.push_back({body.Outline({{-0.03, belt}, {0.04, belt}, {0.07, collar}, {-0.05, collar}}, 0.10),
                            Scaled(person.upper, 1.12f), Scaled(person.upper, 0.9f)});
    figure.parts.push_back({body.Outline({{0.03, 1.5 + rise}, head}, 0.055), person.skin, person.skin});
    figure.parts.push_back({body.Outline({head}, 0.115), person.skin, Scaled(person.skin, 0.9f)});
    figure.parts.push_back({body.Outline({{0.0, 1.68 + rise}, {-0.04, 1.62 + rise}}, 0.085), person.hair, person.hair});
    arm(-swing, person.upper);
    figure.shadow = ShadowOf(body, -0.05, 0.05, 1.7, 0.14);
}

void DrawCar(Figure& figure, const Body& body, const Actor& car) {
    const Colour light = Scaled(car.upper, 1.18f), dark = Scaled(car.upper, 0.72f), black = Scaled(tyre, 0.8f);
    const auto add = [&](std::initializer_list<Point> metres, double radius, Colour top, Colour bottom) {
        figure.parts.push_back({body.Outline(metres, radius), top, bottom});
    };
    // Side view around the middle; the front is on the right.
    add({{-1.85, 0.22}, {1.85, 0.22}, {1.85, 0.36}, {-1.85, 0.36}}, 0.04, black, black);
    if (car.isVan) {
        add({{-2.05, 0.42}, {2.05, 0.42}, {2.08, 0.80}, {1.25, 1.75}, {1.1, 1.82}, {-2.05, 1.82}}, 0.08, light, dark);
        add({{0.72, 1.1}, {1.62, 1.1}, {1.18, 1.66}, {0.72, 1.66}}, 0.03, Scaled(glassOfCars, 1.5f), glassOfCars);
    } else {
        add({{-1.5, 0.85}, {0.95, 0.82}, {0.3, 1.38}, {-1.0, 1.4}}, 0.06, light, Scaled(car.upper, 0.95f));
        add({{-1.2, 0.93}, {-0.42, 0.93}, {-0.42, 1.31}, {-0.92, 1.31}}, 0.02, Scaled(glassOfCars, 1.6f), glassOfCars);
        add({{-0.33, 0.93}, {0.68, 0.9}, {0.22, 1.3}, {-0.33, 1.31}}, 0.02, Scaled(glassOfCars, 1.6f), glassOfCars);
        add({{-2.0, 0.42}, {2.02, 0.42}, {2.05, 0.62}, {1.85, 0.78}, {0.9, 0.88}, {-1.9, 0.92}, {-2.05, 0.65}}, 0.06, light,
            dark);
    }
    for (const double axle : {-1.28, 1.3}) {
        add({{axle, 0.36}}, 0.38, black, black);
        add({{axle, 0.32}}, 0.31, tyre, tyre);
        add({{axle, 0.32}}, 0.18, hub, Scaled(hub, 0.8f));
    }
    add({{1.95, 0.68}, {2.05, 0.64}}, 0.06, ColourOfRgb(236, 234, 214), ColourOfRgb(216, 214, 196));
    add({{-2.04, 0.72}, {-2.0, 0.8}}, 0.055, ColourOfRgb(176, 24, 22), ColourOfRgb(140, 20, 20));
    figure.shadow = ShadowOf(body, -1.95, 1.95, car.isVan ? 1.6 : 1.15, 0.1);
}

}  // namespace

std::vector<Actor> MakeActors(const Programme& programme, std::uint64_t seed) {
    std::vector<Actor> actors;
    Random random(Scramble(seed, 'A'));
    double start = programme.quietSeconds;
    for (int turn = 0; start < programme.endSeconds; ++turn) {
        const bool leftwards = random.Below(2) != 0;
        const bool crossesTheRoad = turn % 4 == 2;  // persons and cars in turn; every other person takes the road
        Actor actor = turn % 2 == 0 ? MakePerson(start, programme.pictureWidth, leftwards, crossesTheRoad, random)
                                    : MakeCar(start, programme.pictureWidth, leftwards, random);
        const double pause = programme.pauseSeconds + random.Between(0, 1.5);
        start = std::max(start + 0.5, actor.End() + pause);
        if (actor.End() >= programme.endSeconds) continue;
        actor.id = static_cast<int>(actors.size()) + 1;
        actors.push_back(std::move(actor));
    }
    return actors;
}

Figure FigureOf(const Actor& actor, double seconds, int pictureHeight) {
    const Stance stance = StanceOf(actor, seconds);
    const Body body = {{stance.ground.x * pictureHeight, stance.ground.y * pictureHeight},
                       MetreAt(stance.ground.y) * pictureHeight * actor.size,
                       stance.direction};
    Figure figure = {};
    figure.ground = stance.ground.y;
    figure.shadowSoftness = std::max(1.5, 0.16 * body.metre);
    if (actor.kind == Kind::Person) {
        DrawPerson(figure, body, actor, actor.pace * (seconds - actor.Start()));
    } else {
        DrawCar(figure, body, actor);
    }
    return figure;
}

}  // namespace MdScene
