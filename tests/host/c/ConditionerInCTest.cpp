// Does the conditioner for hosts in C show and answer what the class does, to the bit, and does nothing stop the process?
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <optional>
#include <stdexcept>
#include <vector>

#include "Handles.h"
#include "SeededRandom.h"
#include "conditioning/Conditioner.h"
#include "conditioning/Priming.h"
#include "coreMD-host.h"
#include "coreMD.hpp"

using namespace InC;

namespace {

constexpr int columns = 24, rows = 16, blocks = columns * rows;

// One detector, and everything that it was shown.
struct Watch {
    Watch() {
        detector.AddWholePicture();
        detector.LimitToMotion(false);
    }
    void Show(const std::uint8_t* ycbcr, std::int64_t stamp) {
        shown.insert(shown.end(), ycbcr, ycbcr + 3 * blocks);
        stamps.push_back(stamp);
        detector.Detect({.columns = columns,
                         .rows = rows,
                         .ycbcr = {ycbcr, 3 * blocks},
                         .time = coremd::Ticks(stamp),
                         .fps = 1000,
                         .detectShadow = true,
                         .isIFrame = true});
    }
    static void ShowTo(void* context, std::uint8_t* ycbcr, std::int64_t stamp) {
        static_cast<Watch*>(context)->Show(ycbcr, stamp);
    }
    // Null where the detector is not ready.
    std::optional<coremd::ZoneResult> Answer() {
        for (const coremd::ZoneResult& result : detector.ZoneResults()) return result;
        return std::nullopt;
    }

    coremd::Detector detector;
    Bytes shown;
    std::vector<std::int64_t> stamps;
};

// A textured scene with noise, things that cross it, and from time to time a lamp, a hand before the lens, a turned camera.
Bytes Scene(int picture) {
    Kit::SeededRandom random(static_cast<std::uint64_t>(picture) + 1);
    Bytes planes(3 * blocks, 128);
    const bool isCovered = picture >= 90 && picture < 104;
    const int turned = picture >= 125 ? 5 : 0, light = picture >= 60 && picture < 75 ? 25 : 0;
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < columns; ++x) {
            const int texture = ((x + turned) * 7 + (y + turned) * (y + turned) * 3) % 11 * 9;
            const bool isThing = y >= 5 && y < 9 && x >= picture % 40 - 4 && x < picture % 40;
            const int level = isCovered ? 20 : isThing ? 200 : 70 + light + texture;
            planes[static_cast<std::size_t>(y * columns + x)] = static_cast<std::uint8_t>(level + random.Below(3));
        }
    }
    return planes;
}

TEST(ConditionerInC, ShowsAndAnswersAsTheClassToTheBit) {
    for (const bool isPrimed : {false, true}) {
        Watch theirs, ours;
        Host::Conditioner expected(columns, rows, Host::ColourRange::Limited, Host::Sensitivity::Normal);
        Conditioner conditioner;
        ASSERT_EQ(coreMD_CreateConditioner(columns, rows, 0, COREMD_NORMAL_SENSITIVITY, &conditioner.handle), 0);
        const auto show = [&](const std::uint8_t* ycbcr, Host::Ticks stamp) { theirs.Show(ycbcr, stamp); };
        if (isPrimed) {
            Host::Priming seconds(columns, rows, 10);
            Priming kept;
            ASSERT_EQ(coreMD_CreatePriming(columns, rows, 10, &kept.handle), 0);
            for (int picture = 0; picture < 10; ++picture) {
                seconds.Add(Scene(picture).data());
                ASSERT_EQ(coreMD_KeepPicture(kept, Scene(picture).data(), 3 * blocks), 0);
            }
            Bytes background(3 * blocks);
            seconds.MostFrequent(1, background.data());
            expected.Prime(background, show);
            expected.LearnRestlessness(seconds);
            ASSERT_EQ(coreMD_PrimeConditioner(conditioner, background.data(), 3 * blocks, kept, Watch::ShowTo, &ours), 0);
        }
        int moving = 0, disturbed = 0, notShown = 0;
        for (int picture = 0; picture < 150; ++picture) {
            const Bytes planes = Scene(picture);
            const std::int64_t time = picture * std::int64_t{1'600'000} - 5'000'000;
            const Host::Shift shift{picture % 5, -3};
            expected.OnPicture(planes.data(), shift, time, show);
            Labels theirLabels(blocks), ourLabels(blocks), theirStopped(blocks), ourStopped(blocks);
            const auto theirAnswer = theirs.Answer();
            if (theirAnswer) theirLabels.assign(theirAnswer->Labels().begin(), theirAnswer->Labels().end());
            expected.OnAnswer(theirLabels.data(), theirAnswer ? theirAnswer->States().data() : nullptr, time);
            theirStopped.assign(expected.WithStopped(), expected.WithStopped() + blocks);

            const coreMD_Shift takenBack{shift.dx16, shift.dy16};
            {
                Bytes passing = planes;  // gone before the answer
                ASSERT_EQ(
                    coreMD_ConditionPicture(conditioner, passing.data(), 3 * blocks, &takenBack, time, Watch::ShowTo, &ours),
                    COREMD_HOST_DONE);
            }
            const auto ourAnswer = ours.Answer();
            ASSERT_EQ(coreMD_ConditionAnswer(conditioner, ourAnswer ? ourAnswer->Labels().data() : nullptr,
                                             ourAnswer ? ourAnswer->States().data() : nullptr, ourLabels.data(), blocks),
                      COREMD_HOST_DONE);
            ASSERT_EQ(ourLabels, theirLabels) << picture;
            ASSERT_EQ(coreMD_LabelsWithStopped(conditioner, ourStopped.data(), blocks), COREMD_HOST_DONE);
            ASSERT_EQ(ourStopped, theirStopped) << picture;
            coreMD_PictureState state;
            ASSERT_EQ(coreMD_ConditionerState(conditioner, &state), COREMD_HOST_DONE);
            EXPECT_EQ(state.wasShown, expected.WasShown());
            EXPECT_EQ(state.isDark, expected.IsDark());
            EXPECT_EQ(state.suppresses, expected.Disturbances().Suppresses());
            for (std::int32_t kind = 0; kind <= COREMD_RAIN; ++kind) {
                coreMD_DisturbanceSpell spell;
                ASSERT_EQ(coreMD_Disturbance(conditioner, kind, &spell), COREMD_HOST_DONE);
                const auto which = static_cast<Host::Disturbance>(kind);
                const Host::DisturbanceSpell& last = expected.Disturbances().Last(which);
                EXPECT_EQ(spell.begin, last.begin);
                EXPECT_EQ(spell.end, last.end);
                EXPECT_EQ(spell.isRunning, last.isRunning);
                EXPECT_EQ(spell.hasBegun, expected.Disturbances().Began(which));
                EXPECT_EQ(spell.hasEnded, expected.Disturbances().Ended(which));
                EXPECT_EQ(coreMD_DisturbanceName(kind), Host::NameOf(which));
                disturbed += spell.hasBegun;
            }
            moving += ourLabels != Labels(blocks);
            notShown += !state.wasShown;
        }
        EXPECT_EQ(ours.stamps, theirs.stamps);
        EXPECT_EQ(ours.shown, theirs.shown);
        EXPECT_GT(moving, 20);  // else it proves little
        EXPECT_GT(disturbed, 1);
        EXPECT_GT(notShown, 3);

        coremd::BackgroundPicture dimmed = theirs.detector.Background();
        Bytes bright = dimmed.bgr;
        expected.Brighten(bright.data(), dimmed.known.data());
        ASSERT_EQ(coreMD_BrightenBackground(conditioner, dimmed.bgr.data(), dimmed.known.data(), blocks), COREMD_HOST_DONE);
        EXPECT_EQ(dimmed.bgr, bright);
    }
}

void ShowNobody(void*, std::uint8_t*, std::int64_t) {}
void ShowAndThrow(void* what, std::uint8_t*, std::int64_t) {
    if (what) throw std::bad_alloc();
    throw std::runtime_error("a host");
}

TEST(ConditionerInC, ArgumentsAndOrderBecomeStatuses) {
    coreMD_Conditioner* none = nullptr;
    EXPECT_EQ(coreMD_CreateConditioner(columns, rows, 0, 0, nullptr), COREMD_HOST_NULL);
    for (const std::int32_t bad : {-1, 10000, lowest, highest}) {
        EXPECT_EQ(coreMD_CreateConditioner(bad, rows, 0, 0, &none), COREMD_HOST_OUT_OF_RANGE);
        EXPECT_EQ(coreMD_CreateConditioner(columns, bad, 0, 0, &none), COREMD_HOST_OUT_OF_RANGE);
        EXPECT_EQ(coreMD_CreateConditioner(columns, rows, bad, 0, &none), COREMD_HOST_OUT_OF_RANGE);
        EXPECT_EQ(coreMD_CreateConditioner(columns, rows, 0, bad, &none), COREMD_HOST_OUT_OF_RANGE);
    }
    Conditioner owned;
    ASSERT_EQ(coreMD_CreateConditioner(columns, rows, 0, 0, &owned.handle), COREMD_HOST_DONE);
    coreMD_Conditioner* const it = owned;
    const Bytes planes = Scene(0);
    Labels labels(blocks);
    const auto show = [&](std::int64_t time, std::int64_t size = 3 * blocks) {
        return coreMD_ConditionPicture(it, planes.data(), size, nullptr, time, ShowNobody, nullptr);
    };
    const auto answer = [&] { return coreMD_ConditionAnswer(it, nullptr, nullptr, labels.data(), blocks); };
    coreMD_PictureState state;
    coreMD_DisturbanceSpell spell;
    EXPECT_EQ(answer(), COREMD_HOST_WRONG_ORDER);
    EXPECT_EQ(coreMD_ConditionerState(it, &state), COREMD_HOST_WRONG_ORDER);
    EXPECT_EQ(coreMD_Disturbance(it, 0, &spell), COREMD_HOST_WRONG_ORDER);
    EXPECT_EQ(coreMD_LabelsWithStopped(it, labels.data(), blocks), COREMD_HOST_WRONG_ORDER);

    for (const std::int64_t time : {std::int64_t{1} << 62, -(std::int64_t{1} << 62), std::int64_t{lowest} << 31})
        EXPECT_EQ(show(time), COREMD_HOST_OUT_OF_RANGE);
    for (const coreMD_Shift& shift : {coreMD_Shift{209, 0}, coreMD_Shift{0, -209}, coreMD_Shift{lowest, highest}})
        EXPECT_EQ(coreMD_ConditionPicture(it, planes.data(), 3 * blocks, &shift, 0, ShowNobody, nullptr),
                  COREMD_HOST_OUT_OF_RANGE);
    EXPECT_EQ(show(5, 3 * blocks - 1), COREMD_HOST_NO_ROOM);
    EXPECT_EQ(show(5, -1), COREMD_HOST_NO_ROOM);
    EXPECT_EQ(coreMD_ConditionPicture(nullptr, planes.data(), 3 * blocks, nullptr, 5, ShowNobody, nullptr),
              COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_ConditionPicture(it, nullptr, 3 * blocks, nullptr, 5, ShowNobody, nullptr), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_ConditionPicture(it, planes.data(), 3 * blocks, nullptr, 5, nullptr, nullptr), COREMD_HOST_NULL);

    // What a host throws does not leave the library, and there is no answer to such a picture.
    EXPECT_EQ(coreMD_ConditionPicture(it, planes.data(), 3 * blocks, nullptr, 5, ShowAndThrow, nullptr), COREMD_HOST_FAILED);
    EXPECT_EQ(coreMD_ConditionPicture(it, planes.data(), 3 * blocks, nullptr, 6, ShowAndThrow, it), COREMD_HOST_NO_MEMORY);
    EXPECT_EQ(answer(), COREMD_HOST_WRONG_ORDER);

    EXPECT_EQ(show(7), COREMD_HOST_DONE);
    EXPECT_EQ(show(6), COREMD_HOST_WRONG_ORDER) << "the time steps back";
    const Bytes states(blocks, 9);
    EXPECT_EQ(coreMD_ConditionAnswer(it, labels.data(), nullptr, labels.data(), blocks), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_ConditionAnswer(it, nullptr, states.data(), labels.data(), blocks), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_ConditionAnswer(it, labels.data(), states.data(), nullptr, blocks), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_ConditionAnswer(it, labels.data(), states.data(), labels.data(), blocks - 1), COREMD_HOST_NO_ROOM);
    labels[3] = blocks + 1;
    EXPECT_EQ(coreMD_ConditionAnswer(it, labels.data(), states.data(), labels.data(), blocks), COREMD_HOST_OUT_OF_RANGE);
    labels[3] = blocks;
    EXPECT_EQ(coreMD_ConditionAnswer(it, labels.data(), states.data(), labels.data(), blocks), COREMD_HOST_DONE);
    EXPECT_EQ(answer(), COREMD_HOST_WRONG_ORDER) << "once for each picture";

    for (const std::int32_t kind : {-1, COREMD_RAIN + 1, lowest, highest}) {
        EXPECT_EQ(coreMD_Disturbance(it, kind, &spell), COREMD_HOST_OUT_OF_RANGE);
        EXPECT_STREQ(coreMD_DisturbanceName(kind), "unknown");
    }
    EXPECT_EQ(coreMD_Disturbance(it, 0, nullptr), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_ConditionerState(it, nullptr), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_LabelsWithStopped(it, labels.data(), blocks - 1), COREMD_HOST_NO_ROOM);
    EXPECT_EQ(coreMD_LabelsWithStopped(it, nullptr, blocks), COREMD_HOST_NULL);
    Bytes bgr(3 * blocks);
    const std::vector<std::int32_t> known(blocks);
    EXPECT_EQ(coreMD_BrightenBackground(it, bgr.data(), known.data(), blocks - 1), COREMD_HOST_NO_ROOM);
    EXPECT_EQ(coreMD_BrightenBackground(it, nullptr, known.data(), blocks), COREMD_HOST_NULL);

    Priming other;
    ASSERT_EQ(coreMD_CreatePriming(rows, columns, 1, &other.handle), COREMD_HOST_DONE);
    const auto prime = [&](std::int64_t size, const coreMD_Priming* restless) {
        return coreMD_PrimeConditioner(it, planes.data(), size, restless, ShowNobody, nullptr);
    };
    EXPECT_EQ(prime(3 * blocks, other), COREMD_HOST_OTHER_GRID);
    EXPECT_EQ(prime(3 * blocks - 1, nullptr), COREMD_HOST_NO_ROOM);
    EXPECT_EQ(prime(3 * blocks, nullptr), COREMD_HOST_DONE);
    EXPECT_EQ(coreMD_PrimeConditioner(it, nullptr, 3 * blocks, nullptr, ShowNobody, nullptr), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_PrimeConditioner(it, planes.data(), 3 * blocks, nullptr, nullptr, nullptr), COREMD_HOST_NULL);
}

// A host's function that calls back.
struct Caller {
    coreMD_Conditioner* conditioner;
    std::vector<std::int32_t> statuses;
};
void ShowAndCall(void* context, std::uint8_t* ycbcr, std::int64_t stamp) {
    auto& caller = *static_cast<Caller*>(context);
    Labels labels(blocks);
    caller.statuses.push_back(
        coreMD_ConditionPicture(caller.conditioner, ycbcr, 3 * blocks, nullptr, stamp, ShowNobody, nullptr));
    caller.statuses.push_back(coreMD_PrimeConditioner(caller.conditioner, ycbcr, 3 * blocks, nullptr, ShowNobody, nullptr));
    caller.statuses.push_back(coreMD_ConditionAnswer(caller.conditioner, nullptr, nullptr, labels.data(), blocks));
    coreMD_PictureState state;
    caller.statuses.push_back(coreMD_ConditionerState(caller.conditioner, &state));
    coreMD_DisturbanceSpell spell;
    caller.statuses.push_back(coreMD_Disturbance(caller.conditioner, COREMD_LIGHT, &spell));
    caller.statuses.push_back(coreMD_LabelsWithStopped(caller.conditioner, labels.data(), blocks));
    Bytes bgr(3 * blocks);
    const std::vector<std::int32_t> known(blocks);
    caller.statuses.push_back(coreMD_BrightenBackground(caller.conditioner, bgr.data(), known.data(), blocks));
    coreMD_Conditioner* still = caller.conditioner;
    coreMD_DestroyConditioner(&still);
    caller.statuses.push_back(still == caller.conditioner ? COREMD_HOST_WRONG_ORDER : COREMD_HOST_DONE);
}

TEST(ConditionerInC, AFunctionThatIsCalledMayNotCallBack) {
    Conditioner conditioner;
    ASSERT_EQ(coreMD_CreateConditioner(columns, rows, 0, 0, &conditioner.handle), COREMD_HOST_DONE);
    const Bytes planes = Scene(0);
    Labels labels(blocks);
    Caller first{conditioner, {}};
    EXPECT_EQ(coreMD_ConditionPicture(conditioner, planes.data(), 3 * blocks, nullptr, 0, ShowAndCall, &first), 0);
    EXPECT_EQ(first.statuses, std::vector<std::int32_t>(8, COREMD_HOST_WRONG_ORDER));

    // Where a picture was answered, there would be something to tell.
    ASSERT_EQ(coreMD_ConditionAnswer(conditioner, nullptr, nullptr, labels.data(), blocks), COREMD_HOST_DONE);
    Caller primed{conditioner, {}};
    EXPECT_EQ(coreMD_PrimeConditioner(conditioner, planes.data(), 3 * blocks, nullptr, ShowAndCall, &primed), 0);
    EXPECT_EQ(primed.statuses, std::vector<std::int32_t>(14 * 8, COREMD_HOST_WRONG_ORDER));
    coreMD_PictureState state;
    EXPECT_EQ(coreMD_ConditionerState(conditioner, &state), COREMD_HOST_DONE) << "as before";
}

TEST(ConditionerInC, NothingIsToldBetweenAPictureAndItsAnswer) {
    Conditioner conditioner;
    ASSERT_EQ(coreMD_CreateConditioner(columns, rows, 0, 0, &conditioner.handle), COREMD_HOST_DONE);
    const Bytes planes = Scene(0);
    Labels labels(blocks);
    coreMD_PictureState state;
    coreMD_DisturbanceSpell spell;
    const auto expectAll = [&](std::int32_t status, int picture) {
        EXPECT_EQ(coreMD_ConditionerState(conditioner, &state), status) << picture;
        EXPECT_EQ(coreMD_Disturbance(conditioner, COREMD_LIGHT, &spell), status) << picture;
        EXPECT_EQ(coreMD_LabelsWithStopped(conditioner, labels.data(), blocks), status) << picture;
    };
    const auto condition = [&](int picture, coreMD_Show show) {
        return coreMD_ConditionPicture(conditioner, planes.data(), 3 * blocks, nullptr, picture, show, nullptr);
    };
    for (int picture = 0; picture < 3; ++picture) {
        ASSERT_EQ(condition(picture, ShowNobody), COREMD_HOST_DONE);
        expectAll(COREMD_HOST_WRONG_ORDER, picture);
        ASSERT_EQ(coreMD_ConditionAnswer(conditioner, nullptr, nullptr, labels.data(), blocks), COREMD_HOST_DONE);
        expectAll(COREMD_HOST_DONE, picture);
        EXPECT_EQ(condition(picture - 1, ShowNobody), COREMD_HOST_WRONG_ORDER);
        expectAll(COREMD_HOST_DONE, picture);  // a picture that was refused is none
    }
    EXPECT_EQ(condition(3, ShowAndThrow), COREMD_HOST_FAILED);
    expectAll(COREMD_HOST_WRONG_ORDER, 3);
}

TEST(ConditionerInC, TheEarliestAndTheLatestTimeAreTimes) {
    constexpr std::int64_t limit = std::int64_t{1} << 62;
    for (const bool isPrimed : {false, true}) {
        Conditioner conditioner;
        ASSERT_EQ(coreMD_CreateConditioner(columns, rows, 0, 0, &conditioner.handle), COREMD_HOST_DONE);
        if (isPrimed) {
            ASSERT_EQ(coreMD_PrimeConditioner(conditioner, Scene(0).data(), 3 * blocks, nullptr, ShowNobody, nullptr),
                      COREMD_HOST_DONE);
        }
        int picture = 30;
        for (const std::int64_t time : {1 - limit, 1 - limit, 2 - limit, std::int64_t{0}, limit - 1, limit - 1}) {
            Labels labels(blocks);
            labels[3] = 7;
            const Bytes planes = Scene(picture++), states(blocks, 1);
            ASSERT_EQ(coreMD_ConditionPicture(conditioner, planes.data(), 3 * blocks, nullptr, time, ShowNobody, nullptr),
                      COREMD_HOST_DONE);
            ASSERT_EQ(coreMD_ConditionAnswer(conditioner, labels.data(), states.data(), labels.data(), blocks),
                      COREMD_HOST_DONE);
        }
    }
}

// A host's function that fails where the conditioner shows more than a picture.
struct Failing {
    int failures;   // to come
    int shown = 0;  // of the picture
};
void ShowAndFail(void* context, std::uint8_t*, std::int64_t) {
    auto& failing = *static_cast<Failing*>(context);
    if (++failing.shown == 3 && failing.failures-- > 0) throw std::bad_alloc();
}

TEST(ConditionerInC, ANewSceneIsLearnedAfterAFailureToo) {
    Conditioner conditioner;
    ASSERT_EQ(coreMD_CreateConditioner(columns, rows, 0, COREMD_NORMAL_SENSITIVITY, &conditioner.handle), COREMD_HOST_DONE);
    Failing failing{2};
    int failed = 0, learned = 0;
    for (int picture = 0; picture < 100; ++picture) {
        Bytes planes = Scene(105 + picture % 20);
        if (picture < 40)  // then the camera changes to night mode, for good
            for (std::size_t i = blocks; i < planes.size(); ++i) planes[i] = i % 2 == 0 ? 100 : 150;
        failing.shown = 0;
        const std::int64_t time = picture * std::int64_t{1'600'000};
        const std::int32_t status =
            coreMD_ConditionPicture(conditioner, planes.data(), 3 * blocks, nullptr, time, ShowAndFail, &failing);
        Labels labels(blocks);
        if (status == COREMD_HOST_DONE) {
            ASSERT_EQ(coreMD_ConditionAnswer(conditioner, nullptr, nullptr, labels.data(), blocks), COREMD_HOST_DONE);
        } else {
            ASSERT_EQ(status, COREMD_HOST_NO_MEMORY) << picture;
        }
        failed += status != COREMD_HOST_DONE;
        learned += failing.shown == 15;
    }
    EXPECT_EQ(failed, 2);
    EXPECT_EQ(learned, 1);
}

TEST(OutlinesInC, EveryLabelHasItsBox) {
    const Labels labels = {0, 5, 5, 0,  //
                           0, 0, 5, 2,  //
                           0, 0, 0, 2};
    coreMD_Outline outlines[3] = {};
    std::int64_t count = 0;
    ASSERT_EQ(coreMD_OutlineLabels(labels.data(), 4, 3, outlines, 3, &count), COREMD_HOST_DONE);
    ASSERT_EQ(count, 2);
    const coreMD_Outline two{2, 2, 3, 1, 3, 2}, five{5, 3, 1, 0, 2, 1};
    EXPECT_EQ(std::memcmp(&outlines[0], &two, sizeof two), 0);
    EXPECT_EQ(std::memcmp(&outlines[1], &five, sizeof five), 0);

    coreMD_Outline one[2] = {};
    EXPECT_EQ(coreMD_OutlineLabels(labels.data(), 4, 3, one, 1, &count), COREMD_HOST_NO_ROOM);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(one[0].label, 2);
    EXPECT_EQ(one[1].label, 0) << "nothing is written beyond the room";
    EXPECT_EQ(coreMD_OutlineLabels(labels.data(), 4, 3, nullptr, 0, &count), COREMD_HOST_NO_ROOM);
    EXPECT_EQ(coreMD_OutlineLabels(labels.data(), 4, 3, nullptr, 1, &count), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_OutlineLabels(nullptr, 4, 3, one, 1, &count), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_OutlineLabels(labels.data(), 4, 3, one, 1, nullptr), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_OutlineLabels(labels.data(), 4, 3, one, -1, &count), COREMD_HOST_OUT_OF_RANGE);
    for (const std::int32_t bad : {0, -1, 10000, lowest, highest}) {
        EXPECT_EQ(coreMD_OutlineLabels(labels.data(), bad, 1, one, 1, &count), COREMD_HOST_OUT_OF_RANGE);
        EXPECT_EQ(coreMD_OutlineLabels(labels.data(), 1, bad, one, 1, &count), COREMD_HOST_OUT_OF_RANGE);
    }
}

}  // namespace
