// Is the truth true?  The pixels that things change lie in their boxes and under the mask, and no box is too large.
#include "Scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "SceneComparison.h"

using namespace MdScene;

namespace {

// Is the pixel, or one that shares its chroma sample, within a box of the truth?
bool IsInTruth(const Pixel& pixel, const std::vector<Thing>& things) {
    const int x = pixel.x & ~1, y = pixel.y & ~1;
    return std::any_of(things.begin(), things.end(), [&](const Thing& thing) {
        for (const int cx : {x, x + 1})
            for (const int cy : {y, y + 1})
                if (thing.box.Contains(cx, cy) || thing.shadow.Contains(cx, cy)) return true;
        return false;
    });
}

std::optional<Pixel> FirstOutsideTruth(const std::vector<Pixel>& changed, const std::vector<Thing>& things) {
    for (const Pixel& pixel : changed)
        if (!IsInTruth(pixel, things)) return pixel;
    return std::nullopt;
}

std::uint8_t MaskAt(const Frame& frame, int x, int y) { return frame.mask[static_cast<std::size_t>(y * frame.width + x)]; }

// Does each of a box's four sides touch a pixel of the thing?
bool IsTight(const Frame& frame, const PixelBox& box) {
    bool left = false, top = false, right = false, bottom = false;
    for (int y = box.top; y < box.bottom; ++y)
        for (int x = box.left; x < box.right; ++x) {
            if (MaskAt(frame, x, y) != maskThing) continue;
            left |= x == box.left;
            top |= y == box.top;
            right |= x == box.right - 1;
            bottom |= y == box.bottom - 1;
        }
    return left && top && right && bottom;
}

bool Overlap(const PixelBox& a, const PixelBox& b) {
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

}  // namespace

TEST(SceneTruth, NobodyIsSeenInTheQuietSeconds) {
    const Scene scene(street);
    Frame frame, empty;
    for (const Actor& actor : scene.Actors()) EXPECT_GE(actor.Start(), street.quietSeconds);
    const int quietFrames = static_cast<int>(street.quietSeconds * street.fps);
    for (int number = 0; number < quietFrames; ++number) {
        scene.Render(number, frame);
        scene.RenderEmpty(number, empty);
        ASSERT_TRUE(frame.things.empty());
        ASSERT_TRUE(std::all_of(frame.mask.begin(), frame.mask.end(), [](std::uint8_t value) { return value == 0; }));
        ASSERT_TRUE(ChangedPixels(frame, empty).empty());
    }
}

TEST(SceneTruth, PersonsAndCarsComeAndGoWithPauses) {
    const Scene scene(street);
    Frame frame;
    std::set<int> persons, cars;
    int busyFrames = 0, pauses = 0;
    bool wasBusy = false;
    for (int number = 0; number < street.frames; ++number) {
        scene.Render(number, frame);
        ASSERT_LE(frame.things.size(), 1u);
        for (const Thing& thing : frame.things) (thing.kind == Kind::Person ? persons : cars).insert(thing.id);
        const bool isBusy = !frame.things.empty();
        busyFrames += isBusy;
        pauses += wasBusy && !isBusy;
        wasBusy = isBusy;
    }
    EXPECT_GE(persons.size(), 2u);
    EXPECT_GE(cars.size(), 2u);
    EXPECT_EQ(persons.size() + cars.size(), scene.Actors().size());
    EXPECT_EQ(pauses, static_cast<int>(scene.Actors().size()));  // one after each
    EXPECT_GT(busyFrames, street.frames / 3);
    EXPECT_FALSE(wasBusy);  // all are gone at the end
}

TEST(SceneTruth, ChangedPixelsLieInTheBoxesOfTheTruth) {
    for (const Settings& settings : {street, crowd}) {
        const Scene scene(settings);
        Frame frame, empty;
        int framesWithChange = 0, framesWhereThingsMeet = 0;
        for (int number = 0; number < settings.frames; number += 3) {
            scene.Render(number, frame);
            scene.RenderEmpty(number, empty);
            const std::vector<Pixel> changed = ChangedPixels(frame, empty);
            const auto outside = FirstOutsideTruth(changed, frame.things);
            ASSERT_FALSE(outside) << "frame " << number << ", pixel " << *outside;
            framesWithChange += !changed.empty();
            for (const Thing& a : frame.things)
                framesWhereThingsMeet += std::any_of(frame.things.begin(), frame.things.end(),
                                                     [&](const Thing& b) { return b.id > a.id && Overlap(a.box, b.box); });
        }
        EXPECT_GT(framesWithChange, 20);
        EXPECT_EQ(framesWhereThingsMeet > 0, settings.pauseSeconds < 0);
    }
}

TEST(SceneTruth, BoxesAreNoLargerThanTheirThings) {
    for (const Settings& settings : {street, crowd}) {
        const Scene scene(settings);
        Frame frame;
        int boxes = 0;
        for (int number = 0; number < settings.frames; number += 3) {
            scene.Render(number, frame);
            for (const Thing& thing : frame.things) {
                if (thing.box.IsEmpty()) continue;
                ++boxes;
                ASSERT_TRUE(IsTight(frame, thing.box)) << "thing " << thing.id << " in frame " << number;
            }
        }
        EXPECT_GT(boxes, 20);
    }
}

TEST(SceneTruth, MaskMarksWhatChanged) {
    const Scene scene(crowd);
    Frame frame, empty;
    int things = 0, shadows = 0;
    for (int number = 0; number < crowd.frames; number += 3) {
        scene.Render(number, frame);
        scene.RenderEmpty(number, empty);
        for (int y = 0; y < frame.height; ++y)
            for (int x = 0; x < frame.width; ++x) {
                const auto index = static_cast<std::size_t>(y * frame.width + x);
                const std::uint8_t mask = frame.mask[index];
                ASSERT_TRUE(mask != maskEmpty || frame.y[index] == empty.y[index]);
                if (mask == maskShadow) {  // shadows only take light away
                    ASSERT_LE(frame.y[index], empty.y[index]);
                    ++shadows;
                }
                things += mask == maskThing;
            }
    }
    EXPECT_GT(things, 1000);
    EXPECT_GT(shadows, 1000);
}

TEST(SceneTruth, ComparisonNoticesAWrongTruth) {
    const Scene scene(street);
    Frame frame, empty;
    int number = 0;
    do scene.Render(++number, frame);
    while (frame.things.empty() || frame.things[0].box.left < 60 || frame.things[0].box.right > street.width - 60);
    scene.RenderEmpty(number, empty);
    const std::vector<Pixel> changed = ChangedPixels(frame, empty);
    ASSERT_FALSE(FirstOutsideTruth(changed, frame.things));
    EXPECT_TRUE(FirstOutsideTruth(changed, {}));

    std::vector<Thing> wrong = frame.things;
    wrong[0].shadow = {};  // it lies beside the thing, too
    EXPECT_TRUE(FirstOutsideTruth(changed, wrong));
    wrong = frame.things;
    wrong[0].box.top += 4;  // above the head there is no shadow
    EXPECT_TRUE(FirstOutsideTruth(changed, wrong));

    EXPECT_TRUE(IsTight(frame, frame.things[0].box));
    const PixelBox box = frame.things[0].box;
    EXPECT_FALSE(IsTight(frame, {box.left - 1, box.top, box.right, box.bottom}));
    EXPECT_FALSE(IsTight(frame, {box.left, box.top - 1, box.right, box.bottom}));
    EXPECT_FALSE(IsTight(frame, {box.left, box.top, box.right + 1, box.bottom}));
    EXPECT_FALSE(IsTight(frame, {box.left, box.top, box.right, box.bottom + 1}));
}

TEST(SceneTruth, ThingsEnterAndLeaveAtTheEdge) {
    const Scene scene(street);
    Frame frame;
    std::vector<PixelBox> firstBox(scene.Actors().size() + 1), lastBox = firstBox;
    for (int number = 0; number < street.frames; ++number) {
        scene.Render(number, frame);
        for (const Thing& thing : frame.things) {
            const auto id = static_cast<std::size_t>(thing.id);
            if (thing.box.IsEmpty()) continue;
            if (firstBox[id].IsEmpty()) firstBox[id] = thing.box;
            lastBox[id] = thing.box;
        }
    }
    const auto isAtEdge = [](const PixelBox& box) {
        return !box.IsEmpty() && (box.left == 0 || box.right == street.width || box.bottom == street.height);
    };
    for (std::size_t id = 1; id < firstBox.size(); ++id) {
        EXPECT_TRUE(isAtEdge(firstBox[id])) << id;
        EXPECT_TRUE(isAtEdge(lastBox[id])) << id;
    }
}

// A thing that popped up within the picture would be motion that no camera sees.
TEST(SceneTruth, PathsBeginAndEndOutsideThePicture) {
    constexpr Settings tiny = {.width = 64, .height = 36};
    for (std::uint64_t seed = 1; seed <= 12; ++seed) {
        const auto actors =
            MakeActors({.quietSeconds = 0, .pauseSeconds = 0, .endSeconds = 60, .pictureWidth = 64.0 / 36}, seed);
        EXPECT_GE(actors.size(), 4u);
        for (Actor actor : actors) {
            const double start = actor.Start(), end = actor.End();
            for (const double atFrameZero : {start, end}) {
                Actor shifted = actor;
                for (Waypoint& waypoint : shifted.path) waypoint.seconds -= atFrameZero;
                Frame frame;
                Scene(tiny, {shifted}).Render(0, frame);
                EXPECT_TRUE(frame.things.empty()) << "seed " << seed << ", actor " << actor.id;
            }
            for (Waypoint& waypoint : actor.path) waypoint.seconds -= (start + end) / 2;
            Frame frame;
            Scene(tiny, {actor}).Render(0, frame);
            EXPECT_EQ(frame.things.size(), 1u);  // and halfway it is there
        }
    }
}

namespace {

// Stands still in the middle of the picture, at a height of the ground.
Actor StandingAt(int id, Kind kind, double ground) {
    const double middle = street.width / 2.0 / street.height;
    Actor actor;
    actor.id = id;
    actor.kind = kind;
    actor.path = {{-1, {middle, ground}}, {100, {middle, ground}}};
    actor.isVan = kind == Kind::Car;
    return actor;
}

Frame FrameOf(const std::vector<Actor>& actors) {
    Frame frame;
    Scene(street, actors).Render(0, frame);
    return frame;
}

}  // namespace

TEST(SceneTruth, WhatIsHiddenHasNoBox) {
    auto person = StandingAt(1, Kind::Person, 0.7);  // no lower: the van has wheels to look between
    person.size = 0.85;
    const auto van = StandingAt(2, Kind::Car, 0.736);
    const auto personInFront = StandingAt(1, Kind::Person, 0.737);
    for (const auto& actors : {std::vector{person, van}, std::vector{van, person}}) {
        const Frame frame = FrameOf(actors);
        for (const Thing& thing : frame.things) EXPECT_EQ(thing.box.IsEmpty(), thing.kind == Kind::Person);
    }
    for (const auto& actors : {std::vector{personInFront, van}, std::vector{van, personInFront}}) {
        const Frame frame = FrameOf(actors);
        ASSERT_EQ(frame.things.size(), 2u);
        for (const Thing& thing : frame.things) EXPECT_FALSE(thing.box.IsEmpty());
    }
}

TEST(SceneTruth, WhatIsHalfHiddenKeepsTheRestOfItsBox) {
    const auto far = StandingAt(1, Kind::Person, 0.52), near = StandingAt(2, Kind::Person, 0.60);
    const Frame farAlone = FrameOf({far}), nearAlone = FrameOf({near}), both = FrameOf({far, near});
    PixelBox visible;  // pixels that only the far one can have
    for (int y = 0; y < both.height; ++y)
        for (int x = 0; x < both.width; ++x)
            if (MaskAt(farAlone, x, y) == maskThing && MaskAt(nearAlone, x, y) != maskThing) visible.Add(x, y);
    ASSERT_GT(visible.bottom, nearAlone.things[0].box.top + 3);  // beside the near one, within its box
    const PixelBox &box = both.things[0].box, &alone = farAlone.things[0].box;
    EXPECT_TRUE(box.Contains(visible.left, visible.top) && box.Contains(visible.right - 1, visible.bottom - 1));
    EXPECT_TRUE(alone.Contains(box.left, box.top) && alone.Contains(box.right - 1, box.bottom - 1));
    // Pixels that the near one covers by less than half stay with the far one.
    EXPECT_NEAR(both.things[1].box.top, nearAlone.things[0].box.top, 1);
    EXPECT_EQ(both.things[1].box.bottom, nearAlone.things[0].box.bottom);
}

TEST(SceneTruth, HoldsInOddAndUnusualSizes) {
    for (const auto& [width, height] : {std::pair{33, 77}, std::pair{101, 33}, std::pair{32, 32}, std::pair{400, 40}}) {
        Settings odd = street;
        odd.width = width;
        odd.height = height;
        const Scene scene(odd);
        Frame frame, empty;
        for (int number = 0; number < odd.frames; number += 20) {
            scene.Render(number, frame);
            scene.RenderEmpty(number, empty);
            ASSERT_EQ(frame.y.size(), static_cast<std::size_t>(width * height));
            ASSERT_EQ(frame.cb.size(), static_cast<std::size_t>((width + 1) / 2 * ((height + 1) / 2)));
            ASSERT_EQ(frame.cr.size(), frame.cb.size());
            ASSERT_FALSE(FirstOutsideTruth(ChangedPixels(frame, empty), frame.things));
        }
    }
}
