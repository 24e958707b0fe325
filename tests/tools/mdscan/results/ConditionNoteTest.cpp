// Does the note say what happened, each kind once, and nothing where nothing happened?
#include "results/ConditionNote.h"

#include <gtest/gtest.h>

#include <vector>

#include "results/Records.h"
#include "video/time/TickTime.h"
#include "video/watch/Condition.h"

namespace Scan {
namespace {

using Video::ConditionKind;

ConditionNote NoteOf(const std::vector<Record>& records) {
    ConditionNote note;
    for (const Record& record : records) {
        note.Take(record);
    }
    return note;
}

Record During(ConditionKind kind, Video::Ticks start, Video::Ticks end) {
    return ConditionRecord{.kind = kind, .start = start, .end = end};
}

TEST(ConditionNote, SaysNothingOfWhatIsNoCondition) {
    const ConditionNote note = NoteOf({EventRecord{}, FrameRecord{}, GapRecord{.end = Video::oneSecond}});
    EXPECT_EQ(note.Text(), "");
    EXPECT_FALSE(note.HidesMotion());
}

TEST(ConditionNote, EachKindIsSaidOnceWithItsSum) {
    const ConditionNote note =
        NoteOf({During(ConditionKind::Covered, 100'000'000, 401'000'000), During(ConditionKind::Shaking, 0, 50'000'000),
                EventRecord{}, During(ConditionKind::Shaking, 500'000'000, 570'000'000)});
    EXPECT_EQ(note.Text(), "shaking for 12.0 s, covered for 30.1 s");
    EXPECT_TRUE(note.HidesMotion());
}

TEST(ConditionNote, WhatIsAMomentHasNoLength) {
    EXPECT_EQ(NoteOf({During(ConditionKind::Moved, 123'400'000, 200'000'000)}).Text(), "moved at 12.3 s");
    EXPECT_EQ(NoteOf({During(ConditionKind::Moved, 0, 1), During(ConditionKind::Moved, 2, 3)}).Text(), "moved 2 times");
    EXPECT_EQ(NoteOf({During(ConditionKind::TooShort, 0, 3'000'000)}).Text(), "too short");
}

TEST(ConditionNote, LightAndRainHideNothing) {
    EXPECT_FALSE(NoteOf({During(ConditionKind::Light, 0, 1), During(ConditionKind::Rain, 0, 1)}).HidesMotion());
    EXPECT_TRUE(NoteOf({During(ConditionKind::Light, 0, 1), During(ConditionKind::TooDark, 0, 1)}).HidesMotion());
}

}  // namespace
}  // namespace Scan
