// Do disturbances become spells, and is it known from when on what moved does not count?
#include "video/watch/ConditionLog.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <utility>
#include <vector>

#include "conditioning/Disturbances.h"
#include "video/time/TickTime.h"
#include "video/watch/Condition.h"

namespace Video {
namespace {

constexpr int columns = 40, rows = 30;
constexpr std::size_t blocks = std::size_t{columns} * rows;

// Five pictures a second of a patterned wall, or of the inside of a bag.
class Camera {
public:
    // shake: sixteenths of a pixel to and fro, which are taken out.
    void Show(double seconds, bool covered, int shake = 0) {
        for (int i = 0; i < static_cast<int>(5 * seconds); ++i, ++_shown) {
            for (std::size_t block = 0; block < blocks; ++block) {
                const std::size_t column = block % columns, row = block / columns;
                const auto wall = static_cast<int>(60 + 100 * ((column / 3 + row / 4) % 2));
                _planes[block] = static_cast<std::uint8_t>((covered ? 9 : wall) + static_cast<int>(_random() % 3));
            }
            _disturbances->Look({.ycbcr = _planes.data(),
                                 .time = Now(),
                                 .shiftX16 = _shown % 2 == 0 ? shake : -shake,
                                 .isStabilised = true});
            const std::optional<Ticks> from = _log.Add(*_disturbances, Now());
            _void = from ? from : _void;
        }
    }

    // Somebody else looks at the pictures from now on.
    void Replace() { _disturbances.emplace(columns, rows); }

    Ticks Now() const { return _shown * oneSecond / 5; }
    ConditionLog& Log() { return _log; }
    std::optional<Ticks> Void() const { return _void; }

private:
    std::mt19937 _random{3};
    std::vector<std::uint8_t> _planes = std::vector<std::uint8_t>(3 * blocks, 128);
    std::optional<Host::Disturbances> _disturbances{std::in_place, columns, rows};
    ConditionLog _log;
    Ticks _shown = 0;
    std::optional<Ticks> _void;
};

std::optional<Condition> CoveredOf(const std::vector<Condition>& conditions) {
    std::optional<Condition> covered;
    for (const Condition& condition : conditions) {
        if (condition.kind == ConditionKind::Covered) {
            EXPECT_FALSE(covered) << "told twice";
            covered = condition;
        }
    }
    return covered;
}

TEST(ConditionLog, AnUndisturbedPictureTellsNothing) {
    Camera camera;
    camera.Show(60, false);
    camera.Log().Close();
    EXPECT_TRUE(camera.Log().Take().empty());
    EXPECT_FALSE(camera.Void());
}

TEST(ConditionLog, ASpellIsOverWhenSomebodyElseLooksAtThePictures) {
    Camera camera;
    camera.Show(20, false);
    camera.Show(10, true);
    camera.Replace();
    camera.Show(30, false);
    const std::optional<Condition> covered = CoveredOf(camera.Log().Take());
    ASSERT_TRUE(covered);
    EXPECT_NEAR(ToSeconds(covered->start), 20, 1);
    EXPECT_NEAR(ToSeconds(covered->end), 30, 0.3);
}

TEST(ConditionLog, ASpellIsToldOnceWhenItIsOver) {
    Camera camera;
    camera.Show(20, false);
    camera.Show(20, true);
    EXPECT_FALSE(CoveredOf(camera.Log().Take()));
    camera.Show(20, false);
    const std::optional<Condition> covered = CoveredOf(camera.Log().Take());
    ASSERT_TRUE(covered);
    EXPECT_NEAR(ToSeconds(covered->start), 20, 1);
    EXPECT_NEAR(ToSeconds(covered->end), 40, 4);
    EXPECT_TRUE(camera.Log().Take().empty());
}

TEST(ConditionLog, WhatMovedSinceItsBeginDoesNotCount) {
    Camera camera;
    camera.Show(20, false);
    camera.Show(20, true);
    ASSERT_TRUE(camera.Void());
    EXPECT_NEAR(ToSeconds(*camera.Void()), 20, 1);
}

TEST(ConditionLog, NorDoesWhatMovedJustBeforeItWasSeenToShake) {
    Camera camera;
    camera.Show(20, false);
    camera.Show(10, false, 24);
    const std::optional<Ticks> from = camera.Void();
    ASSERT_TRUE(from);
    camera.Log().Close();
    const std::vector<Condition> conditions = camera.Log().Take();
    ASSERT_EQ(conditions.size(), 1U);
    EXPECT_EQ(conditions[0].kind, ConditionKind::Shaking);
    EXPECT_EQ(*from, conditions[0].start - 2 * oneSecond);
    EXPECT_LE(*from, 20 * oneSecond) << "when it began";
}

TEST(ConditionLog, ASpellThatGoesOnEndsWithTheLastPicture) {
    Camera camera;
    camera.Show(20, false);
    camera.Show(20, true);
    const Ticks last = camera.Now() - oneSecond / 5;
    camera.Log().Close();
    const std::optional<Condition> covered = CoveredOf(camera.Log().Take());
    ASSERT_TRUE(covered);
    EXPECT_EQ(covered->end, last);
    camera.Log().Close();
    EXPECT_TRUE(camera.Log().Take().empty());
}

TEST(ConditionLog, WhatGoesOnIsToldWhileItDoes) {
    Camera camera;
    camera.Show(20, false);
    EXPECT_TRUE(camera.Log().Running().empty());
    camera.Show(20, true);
    const std::vector<Condition> running = camera.Log().Running();
    const std::optional<Condition> covered = CoveredOf(running);
    ASSERT_TRUE(covered);
    EXPECT_EQ(covered->end, camera.Now() - oneSecond / 5);
    camera.Log().Close();
    EXPECT_TRUE(camera.Log().Running().empty());
    const std::optional<Condition> over = CoveredOf(camera.Log().Take());
    ASSERT_TRUE(over);
    EXPECT_EQ(covered->start, over->start);
}

TEST(ConditionLog, DarknessGoesOnOnceItHasLasted) {
    ConditionLog log;
    for (int second = 0; second < 8; ++second) {
        EXPECT_EQ(log.Running().size(), second > 5 ? 1U : 0U) << second;
        log.AddDarkness(true, second * oneSecond);
    }
}

std::vector<Condition> AfterDarkness(int seconds, bool closed) {
    ConditionLog log;
    for (int second = 0; second < 10; ++second) {
        log.AddDarkness(false, second * oneSecond);
    }
    for (int second = 10; second < 10 + seconds; ++second) {
        log.AddDarkness(true, second * oneSecond);
    }
    if (closed) {
        log.Close();
    } else {
        log.AddDarkness(false, (10 + seconds) * oneSecond);
    }
    return log.Take();
}

TEST(ConditionLog, DarknessThatLastsIsTold) {
    for (const bool closed : {false, true}) {
        const std::vector<Condition> conditions = AfterDarkness(6, closed);
        ASSERT_EQ(conditions.size(), 1U) << closed;
        EXPECT_EQ(conditions[0].kind, ConditionKind::TooDark);
        EXPECT_EQ(conditions[0].start, 10 * oneSecond);
        EXPECT_EQ(conditions[0].end, 15 * oneSecond);
        EXPECT_TRUE(AfterDarkness(5, closed).empty()) << closed;
    }
}

}  // namespace
}  // namespace Video
