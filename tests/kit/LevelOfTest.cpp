// Which loops does this test program run?  COREMD_TEST_LEVEL=plain: those for every processor; otherwise the best that the
// processor runs. See run_on_plain_level() in cmake/AddRoomTest.cmake.
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "utils/Levels.h"

namespace {

[[maybe_unused]] const bool isChosen = [] {
    const char* const asked = std::getenv("COREMD_TEST_LEVEL");
    if (!asked) return false;
    if (std::string_view(asked) == "plain" && MD::UseLevel(MD::Level::Plain)) return true;
    std::fprintf(stderr, "COREMD_TEST_LEVEL=%s: plain is the one that can be asked for\n", asked);
    std::exit(1);
}();

}  // namespace
