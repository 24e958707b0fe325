// Is every disturbance told in its time, and does nothing that moves pass for one?
#include "conditioning/Disturbances.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

using namespace Host;

namespace {

constexpr int columns = 64, rows = 48, blocks = columns * rows;
constexpr Ticks interval = ticksPerSecond / 6;

// A number that looks like chance, the same everywhere.
std::uint32_t ChanceOf(std::uint32_t a, std::uint32_t b, std::uint32_t c = 0) {
    std::uint32_t value = a * 0x9E3779B1u ^ b * 0x85EBCA77u ^ c * 0xC2B2AE3Du;
    value = (value ^ value >> 15) * 0x2C1B3C6Du;
    value = (value ^ value >> 12) * 0x297A2D39u;
    return value ^ value >> 15;
}

// A street of patches with edges everywhere and a little noise, 6 pictures a second.
class Street {
public:
    Street() : labels(blocks), disturbances(columns, rows) { Paint(); }

    // The picture at the time, before the disturbances look at it.
    void Paint() {
        planes.assign(3 * blocks, 128);
        for (int y = 0; y < rows; ++y)
            for (int x = 0; x < columns; ++x) {
                const int fromX = x + right, fromY = y + down;
                const auto patch = ChanceOf(static_cast<std::uint32_t>(fromX / 5), static_cast<std::uint32_t>(fromY / 4));
                const auto noise = ChanceOf(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y), picture);
                const std::size_t block = static_cast<std::size_t>(y * columns + x);
                planes[block] = static_cast<std::uint8_t>(50 + patch % 120 + noise % 3);
                planes[blocks + block] = static_cast<std::uint8_t>(118 + patch % 7);
                planes[2 * blocks + block] = static_cast<std::uint8_t>(134 + patch % 5);
            }
        std::fill(labels.begin(), labels.end(), std::uint16_t{0});
    }

    void FillBox(int left, int top, int width, int height, int luma, std::uint16_t label = 1) {
        for (int y = std::max(top, 0); y < std::min(top + height, rows); ++y)
            for (int x = std::max(left, 0); x < std::min(left + width, columns); ++x) {
                planes[static_cast<std::size_t>(y * columns + x)] = static_cast<std::uint8_t>(luma + (x + y) % 9);
                labels[static_cast<std::size_t>(y * columns + x)] = label;
            }
    }

    void Light(int percent) {
        for (int i = 0; i < blocks; ++i) {
            auto& luma = planes[static_cast<std::size_t>(i)];
            luma = static_cast<std::uint8_t>(std::min(235, 16 + (luma - 16) * percent / 100));
        }
    }

    void Look() {
        disturbances.Look({.ycbcr = planes.data(), .time = time, .shiftX16 = shift, .labels = labels.data()});
        for (std::size_t k = 0; k < disturbanceCount; ++k) {
            const auto kind = static_cast<Disturbance>(k);
            if (disturbances.Began(kind)) told += "+" + std::string(NameOf(kind)) + " ";
            if (disturbances.Ended(kind)) told += "-" + std::string(NameOf(kind)) + " ";
        }
        suppressed += disturbances.Suppresses();
        ++picture;
        time += interval;
    }

    // So many seconds in which `change` is made to every picture.
    template <class Change>
    void Pass(double seconds, Change&& change) {
        for (int left = static_cast<int>(seconds * 6); left > 0; --left) {
            Paint();
            change();
            Look();
        }
    }
    void Pass(double seconds) {
        Pass(seconds, [] {});
    }

    std::vector<std::uint8_t> planes;   // 3 * [block]
    std::vector<std::uint16_t> labels;  // [block]
    Disturbances disturbances;
    std::uint32_t picture = 0;
    Ticks time = 100 * ticksPerSecond;
    int right = 0, down = 0;  // blocks by which the camera is turned
    int shift = 0;
    std::string told;    // "+covered -covered "
    int suppressed = 0;  // pictures
};

double Seconds(Ticks ticks) { return static_cast<double>(ticks) / ticksPerSecond; }

}  // namespace

TEST(Disturbances, NothingIsToldOfAStillScene) {
    Street street;
    street.Pass(120);
    EXPECT_EQ(street.told, "");
    EXPECT_EQ(street.suppressed, 0);
}

TEST(Disturbances, LightStepIsToldAtOnceAndEndsSoon) {
    for (const int percent : {120, 80}) {
        Street street;
        street.Pass(20);
        const Ticks begin = street.time;
        street.Pass(10, [&] { street.Light(percent); });
        EXPECT_EQ(street.told, "+light -light ") << percent;
        const DisturbanceSpell spell = street.disturbances.Last(Disturbance::Light);
        EXPECT_EQ(spell.begin, begin);
        EXPECT_LT(Seconds(spell.end - begin), 4);
        EXPECT_EQ(street.suppressed, 0) << percent << ": somebody may have switched it";
    }
}

TEST(Disturbances, HuntingExposureIsToldAndSuppressesNothing) {
    Street street;
    street.Pass(20);
    street.Pass(30, [&] { street.Light(street.picture / 6 % 2 == 0 ? 118 : 84); });
    EXPECT_EQ(street.told, "+light ");
    EXPECT_EQ(street.suppressed, 0);
}

TEST(Disturbances, SlowLightIsNone) {
    Street street;
    street.Pass(10);
    int percent = 1000;
    street.Pass(40, [&] { street.Light(percent-- / 10); });
    EXPECT_EQ(street.told, "");
}

TEST(Disturbances, InfraredIsToldWhenColoursGoAndCome) {
    Street street;
    const auto night = [&] {
        std::fill(street.planes.begin() + blocks, street.planes.end(), std::uint8_t{128});
        street.Light(95);
    };
    street.Pass(20);
    const Ticks begin = street.time;
    street.Pass(20, night);
    EXPECT_EQ(street.told, "+infrared -infrared ");
    EXPECT_EQ(street.disturbances.Last(Disturbance::Infrared).begin, begin);
    street.told.clear();
    street.Pass(20);
    EXPECT_EQ(street.told, "+infrared -infrared ");
    EXPECT_GT(street.suppressed, 0);
}

TEST(Disturbances, OneGreyPictureIsNone) {
    Street street;
    street.Pass(20);
    street.Pass(0.17, [&] { std::fill(street.planes.begin() + blocks, street.planes.end(), std::uint8_t{128}); });
    street.Pass(20);
    EXPECT_EQ(street.told, "");
}

TEST(Disturbances, ShakingIsToldByShiftsThatChange) {
    Street street;
    street.Pass(10);
    street.Pass(10, [&] { street.shift = street.picture % 2 == 0 ? 20 : -12; });
    EXPECT_EQ(street.told, "+shaking ");
    EXPECT_TRUE(street.disturbances.Suppresses());
    street.disturbances.Look({.ycbcr = street.planes.data(), .time = street.time, .shiftX16 = 20, .isStabilised = true});
    EXPECT_FALSE(street.disturbances.Suppresses());
    street.Pass(10, [&] { street.shift = 20; });  // another place, but still
    EXPECT_EQ(street.told, "+shaking -shaking ");
}

TEST(Disturbances, SmallShiftsAreNone) {
    Street street;
    street.Pass(20, [&] { street.shift = street.picture % 2 == 0 ? 3 : -4; });
    EXPECT_EQ(street.told, "");
}

TEST(Disturbances, MovedCameraIsToldOnceAndLearned) {
    Street street;
    street.Pass(20);
    const Ticks begin = street.time;
    street.right = 13, street.down = 6;
    street.Pass(30);
    EXPECT_EQ(street.told, "+moved -moved ");
    const DisturbanceSpell spell = street.disturbances.Last(Disturbance::Moved);
    EXPECT_EQ(spell.begin, begin);
    EXPECT_LT(Seconds(spell.end - begin), 8);
    street.told.clear();
    street.right = street.down = 0;  // and back
    street.Pass(30);
    EXPECT_EQ(street.told, "+moved -moved ");
}

TEST(Disturbances, CoveredLensIsToldAsLongAsItIsCovered) {
    Street street;
    street.Pass(20);
    const Ticks begin = street.time;
    street.Pass(60, [&] {
        for (int i = 0; i < blocks; ++i)
            street.planes[static_cast<std::size_t>(i)] =
                static_cast<std::uint8_t>(20 + ChanceOf(static_cast<std::uint32_t>(i), street.picture) % 3);
        std::fill(street.planes.begin() + blocks, street.planes.end(), std::uint8_t{128});
    });
    EXPECT_TRUE(street.disturbances.IsRunning(Disturbance::Covered));
    EXPECT_EQ(street.disturbances.Last(Disturbance::Covered).begin, begin);
    EXPECT_FALSE(street.disturbances.Suppresses());  // not for ever
    street.Pass(20);
    EXPECT_NE(street.told.find("-covered "), std::string::npos);
    EXPECT_EQ(street.told.find("infrared"), std::string::npos);
    EXPECT_EQ(street.told.find("moved"), std::string::npos);
    EXPECT_LE(street.suppressed, 6 * 16);
}

TEST(Disturbances, FrozenIsToldAfterTenSecondsAndSuppressesNothing) {
    Street street;
    street.Pass(5);
    const Ticks begin = street.time - interval;  // the first of the equal pictures
    for (int i = 0; i < 55; ++i) street.Look();
    EXPECT_EQ(street.told, "");
    for (int i = 0; i < 20; ++i) street.Look();
    EXPECT_EQ(street.told, "+frozen ");
    EXPECT_EQ(street.disturbances.Last(Disturbance::Frozen).begin, begin);
    street.Pass(1);
    EXPECT_EQ(street.told, "+frozen -frozen ");
    EXPECT_EQ(street.suppressed, 0);
}

TEST(Disturbances, ManyShortLivedSpecksAreRainAndSuppressNothing) {
    Street street;
    const auto rain = [&] {
        for (std::uint16_t drop = 1; drop <= 40; ++drop)
            street.FillBox(static_cast<int>(ChanceOf(drop, street.picture, 1) % columns),
                           static_cast<int>(ChanceOf(drop, street.picture, 2) % rows), 1, 3, 180, drop);
    };
    street.Pass(10);
    street.Pass(20, rain);
    EXPECT_EQ(street.told, "+rain-like ");
    street.Pass(1, [&] {
        rain();
        street.FillBox(20, 20, 6, 12, 60, 41);
    });
    EXPECT_EQ(street.suppressed, 0);
    EXPECT_TRUE(street.disturbances.IsRunning(Disturbance::Rain));
    street.Pass(20);
    EXPECT_EQ(street.told, "+rain-like -rain-like ");
}

TEST(Disturbances, RainIsToldWhereItIsSeenInFourNinthsOfThePictureButNotInThree) {
    const auto told = [](int columnsWithRain, int rowsWithRain) {
        Street street;
        street.Pass(10);
        street.Pass(20, [&] {
            for (std::uint16_t drop = 1; drop <= 40; ++drop)
                street.FillBox(static_cast<int>(ChanceOf(drop, street.picture, 1) % static_cast<unsigned>(columnsWithRain)),
                               static_cast<int>(ChanceOf(drop, street.picture, 2) % static_cast<unsigned>(rowsWithRain)), 1,
                               1, 180, drop);
        });
        return street.told;
    };
    EXPECT_EQ(told(2 * columns / 3, 2 * rows / 3), "+rain-like ");
    EXPECT_EQ(told(columns / 3, rows), "");
}

TEST(Disturbances, FewShortLivedSpecksAreNoRain) {
    const auto told = [](std::uint16_t specks) {
        Street street;
        street.Pass(10);
        street.Pass(20, [&] {
            for (std::uint16_t speck = 0; speck < specks; ++speck)  // each in a block of its own
                street.FillBox(static_cast<int>(8 * (speck % 8) + ChanceOf(speck, street.picture, 1) % 8),
                               static_cast<int>(12 * (speck / 8) + ChanceOf(speck, street.picture, 2) % 12), 1, 1, 180,
                               static_cast<std::uint16_t>(speck + 1));
        });
        return street.told;
    };
    EXPECT_EQ(told(16), "+rain-like ");
    EXPECT_EQ(told(15), "");
}

TEST(Disturbances, ManySmallThingsThatStayInSightAreNoRain) {
    Street street;
    street.Pass(30, [&] {  // pedestrians seen from far above: a block in two seconds
        for (std::uint16_t one = 1; one <= 40; ++one)
            street.FillBox(static_cast<int>((ChanceOf(one, 1) + street.picture / 12) % columns),
                           static_cast<int>(ChanceOf(one, 2) % rows), 1, 3, 180, one);
    });
    EXPECT_EQ(street.told, "");
}

TEST(Disturbances, BusThatFillsHalfOfThePictureIsNone) {
    for (const int luma : {30, 120, 225}) {
        Street street;
        street.Pass(20);
        int left = -40;
        street.Pass(30, [&] { street.FillBox(left++, 8, 40, 36, luma); });
        street.Pass(20, [&] { street.FillBox(10, 4, 44, 40, luma); });  // and stops before the lens
        street.Pass(20);
        EXPECT_EQ(street.told, "") << luma;
    }
}

TEST(Disturbances, SomebodyCloseToTheLensIsNone) {
    Street street;
    street.Pass(20);
    street.Pass(6, [&] { street.FillBox(4, 2, 52, 46, 60); });
    street.Pass(20);
    EXPECT_EQ(street.told, "");
}

TEST(Disturbances, TrafficAllOverThePictureIsNone) {
    Street street;
    street.Pass(60, [&] {
        for (int car = 0; car < 12; ++car) {
            const int speed = 1 + car % 3, place = static_cast<int>(street.picture) * speed + car * 17;
            street.FillBox(place % (columns + 16) - 8, car * 4, 7, 3, 40 + 15 * car, static_cast<std::uint16_t>(car + 1));
        }
    });
    EXPECT_EQ(street.told, "");
}

TEST(Disturbances, AGapIsNoLightStep) {
    Street street;
    street.Pass(20);
    street.time += 60 * ticksPerSecond;
    street.Pass(20, [&] { street.Light(70); });
    EXPECT_EQ(street.told, "");
}

TEST(Disturbances, AStepBackwardsInTimeStartsAfresh) {
    Street street;
    street.Pass(20);
    street.time = 0;
    street.right = 13;
    street.Pass(20);
    EXPECT_EQ(street.told, "");
    street.right = 0, street.down = 9;
    street.Pass(20);
    EXPECT_EQ(street.told, "+moved -moved ");
}

TEST(Disturbances, TinyGridsAreTakenToo) {
    for (const int size : {1, 2, 7, 8}) {
        Disturbances small(size, size);
        std::vector<std::uint8_t> planes(static_cast<std::size_t>(3 * size * size), 90);
        const std::vector<std::uint16_t> labels(static_cast<std::size_t>(size * size), 65535);
        for (int i = 0; i < 100; ++i) small.Look({.ycbcr = planes.data(), .time = i * interval, .labels = labels.data()});
        EXPECT_TRUE(small.IsRunning(Disturbance::Frozen)) << size;
        EXPECT_FALSE(small.Suppresses()) << size;
    }
}

TEST(DisturbancesDeathTest, GridsOutsideTheirRangeStopTheProcess) {
    EXPECT_DEATH(Disturbances(0, 5), "columns");
    EXPECT_DEATH(Disturbances(5, 10000), "rows");
}
