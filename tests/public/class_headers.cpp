// Do the class headers leave a host as it is?  All that are installed, compiled as a host with and as one without NDEBUG,
// never run. None decides about the host's assertions, and what only the library needs does not come along.
#ifdef NDEBUG
#define HOST_IS_SILENT
#endif

#include "every_class_header.h"

#if defined(NDEBUG) != defined(HOST_IS_SILENT)
#error "a header decided about NDEBUG"
#endif
#ifdef MD_ASSERT_AT
#error "utils/Assert.h came along"
#endif

#include <cassert>

#ifdef NDEBUG
void NothingIsAsked() { assert(ThisWasNeverDeclared); }
#endif

template <class T>
concept IsComplete = requires {
    sizeof(T);
};
static_assert(IsComplete<MD::MotionDetector>);
static_assert(!IsComplete<MD::ObjectMerger>);

// What is not exported is not offered: a host that could name these would not link.
template <class T>
concept OffersHalfAnUpdate = requires(T& statistics) {
    statistics.BeginUpdate(false);
}
|| requires(T& statistics) { statistics.StepStandard(MD::BlockRange{0, 1}); };
static_assert(!OffersHalfAnUpdate<MD::FrameStatistics>);
