// How does a broken precondition end the process?  With the C library's assertion message, in every build type.
// Included last, by every source that asserts: <cassert> takes NDEBUG at the moment of its inclusion.
#pragma once

#undef NDEBUG
#include <cassert>

// An assertion whose message names a fixed place: hosts' log filters know these by file, line and function.
#define MD_ASSERT_AT(condition, text, file, line, function) \
    (static_cast<bool>(condition) ? void(0) : __assert_fail(text, file, line, function))

// An assertion of zone processing. Whichever file the condition lives in, the message names the detector's source, and the
// operation that hosts know.
#define MD_DETECTOR_ASSERT(condition, operation) \
    MD_ASSERT_AT(condition, #condition, "MotionDetector.cpp", __LINE__, operation)
