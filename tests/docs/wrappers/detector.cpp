// Where do a few lines of C++ stand?  In a host that has a detector and decodes pictures; for fragments in documentation.
#include <coreMD.hpp>
#include <coreMD/detector/MotionDetector.h>
#include <coreMD/host/BlockReducer.h>
#include <coreMD/host/conditioning/BackgroundMemory.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

using namespace std::chrono_literals;

constexpr int columns = 80, rows = 45;

int Fragment(coremd::Detector& detector, std::vector<std::uint8_t>& planes, coremd::Ticks time);

int Fragment([[maybe_unused]] coremd::Detector& detector, [[maybe_unused]] std::vector<std::uint8_t>& planes,
             [[maybe_unused]] coremd::Ticks time) {
    // clang-format off
BLOCK
    // clang-format on
    return 0;
}

int main() {}
