// How does a source say what must hold?  Assertions with the C library's message, alive in every build type.
// Included last, by every source that asserts: it replaces what <cassert> made of `assert`.
#pragma once

#undef NDEBUG
#include <cassert>

#include "utils/BrokenCondition.h"

#undef assert
#define assert(condition) MD_ASSERT_AT(condition, #condition, __FILE__, __LINE__, __extension__ __PRETTY_FUNCTION__)

// An assertion whose message names a fixed place: hosts' log filters know these by file, line and function.
#define MD_ASSERT_AT(condition, text, file, line, function) \
    (static_cast<bool>(condition) ? void(0) : ::MD::EndProcess({text, file, line, function}))

// The file that messages of zone processing name, wherever the condition lives, beside the operation that hosts know.
#define MD_DETECTOR_SOURCE                       "MotionDetector.cpp"
#define MD_DETECTOR_ASSERT(condition, operation) MD_ASSERT_AT(condition, #condition, MD_DETECTOR_SOURCE, __LINE__, operation)

// In a function that returns the first of several conditions that does not hold: the next one. Calls ensure them, and checks
// that are to come before a call ask for them: the one place where a condition is written.
#define MD_UNLESS_IN(file, condition, operation)                        \
    do {                                                                \
        if (!static_cast<bool>(condition)) [[unlikely]]                 \
            return ::MD::Broken{#condition, file, __LINE__, operation}; \
    } while (false)
#define MD_UNLESS(condition, operation) MD_UNLESS_IN(__FILE__, condition, operation)
