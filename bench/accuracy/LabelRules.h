// What do the labels of a block of pixels say?  The rules of scoring, for values of pixels and for counts of them.
#pragma once

#include <cstdint>

namespace Accuracy {

inline constexpr int scoredBlock = 8;  // pixels; whatever the blocks of analysis are

// Of one block of a label picture.
enum class Truth : std::uint8_t { Still, Moving, Unknown };

// What a label picture's pixels mean, as the change detection benchmarks publish them.
enum class Label : std::uint8_t { Still = 0, Shadow = 50, Outside = 85, Unknown = 170, Moving = 255 };

// The label nearest to the value, the lower of two: what was stored with losses is off by some levels.
constexpr Label LabelOf(int value) {
    if (value <= 25) return Label::Still;
    if (value <= 67) return Label::Shadow;
    if (value <= 127) return Label::Outside;
    return value <= 212 ? Label::Unknown : Label::Moving;
}

constexpr bool IsKnown(Label label) { return label != Label::Outside && label != Label::Unknown; }

// Unknown: fewer than half of its pixels are known. Moving: at least a quarter of those are.
constexpr Truth TruthOfBlock(int pixels, int known, int moving) {
    if (2 * known < pixels) return Truth::Unknown;
    return moving > 0 && 4 * moving >= known ? Truth::Moving : Truth::Still;
}

}  // namespace Accuracy
